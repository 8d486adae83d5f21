#pragma once

#include <cstdint>
#include <memory>

#include <rix/Export.h>
#include <rix/access/BorderCondition.h>

namespace rix {
class EnumInfo;
}

namespace rix::access {

/// What filters offer as the choice of what they find beyond the edges of an image. An algorithm makes it a name of its
/// own with `using BorderPolicy = access::BorderPolicy; using enum access::BorderPolicy;`.
enum class BorderPolicy : int {
    MIRROR = 0,  ///< the image reflected, its edge element repeated
    CONTINUE,    ///< the nearest element of the image
    FIXED        ///< one value
};

RIX_EXPORT const EnumInfo& getInfoBorderPolicy();

/// The border condition of a policy for images of a real type.
/// @param value of `FIXED`, converted as samples are
template <class T>
std::shared_ptr<const BorderCondition<T>> borderOf(BorderPolicy policy, double value);

extern template std::shared_ptr<const BorderCondition<std::uint8_t>> borderOf<std::uint8_t>(BorderPolicy, double);
extern template std::shared_ptr<const BorderCondition<std::uint16_t>> borderOf<std::uint16_t>(BorderPolicy, double);
extern template std::shared_ptr<const BorderCondition<std::uint32_t>> borderOf<std::uint32_t>(BorderPolicy, double);
extern template std::shared_ptr<const BorderCondition<std::int8_t>> borderOf<std::int8_t>(BorderPolicy, double);
extern template std::shared_ptr<const BorderCondition<std::int16_t>> borderOf<std::int16_t>(BorderPolicy, double);
extern template std::shared_ptr<const BorderCondition<std::int32_t>> borderOf<std::int32_t>(BorderPolicy, double);
extern template std::shared_ptr<const BorderCondition<float>> borderOf<float>(BorderPolicy, double);
extern template std::shared_ptr<const BorderCondition<double>> borderOf<double>(BorderPolicy, double);

}  // namespace rix::access
