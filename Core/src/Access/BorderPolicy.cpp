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

template std::shared_ptr<const BorderCondition<std::uint8_t>> borderOf<std::uint8_t>(BorderPolicy, double);
template std::shared_ptr<const BorderCondition<std::uint16_t>> borderOf<std::uint16_t>(BorderPolicy, double);
template std::shared_ptr<const BorderCondition<std::uint32_t>> borderOf<std::uint32_t>(BorderPolicy, double);
template std::shared_ptr<const BorderCondition<std::int8_t>> borderOf<std::int8_t>(BorderPolicy, double);
template std::shared_ptr<const BorderCondition<std::int16_t>> borderOf<std::int16_t>(BorderPolicy, double);
template std::shared_ptr<const BorderCondition<std::int32_t>> borderOf<std::int32_t>(BorderPolicy, double);
template std::shared_ptr<const BorderCondition<float>> borderOf<float>(BorderPolicy, double);
template std::shared_ptr<const BorderCondition<double>> borderOf<double>(BorderPolicy, double);

}  // namespace rix::access
