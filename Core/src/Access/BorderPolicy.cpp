#include <rix/access/BorderPolicy.h>

#include <rix/access/BorderConditions.h>
#include <rix/access/SampleCast.h>
#include <rix/properties/EnumInfo.h>

namespace rix::access {

const EnumInfo& getInfoBorderPolicy() {
    static const EnumInfo info("BorderPolicy", "MIRROR = 0, CONTINUE, FIXED");
    return info;
}

template <class T>
std::shared_ptr<const BorderCondition<T>> borderOf(BorderPolicy policy, double value) {
    switch (policy) {
        case BorderPolicy::CONTINUE: return ContinueBorderCondition<T>::New();
        case BorderPolicy::FIXED: return FixedBorderCondition<T>::New(castSample<T>(value));
        case BorderPolicy::MIRROR: break;
    }
    return MirrorBorderCondition<T>::New();
}

template std::shared_ptr<const BorderCondition<float>> borderOf<float>(BorderPolicy, double);
template std::shared_ptr<const BorderCondition<double>> borderOf<double>(BorderPolicy, double);

}  // namespace rix::access
