#include <rix/rules/Promotion.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include <rix/exceptions/Exception.h>

namespace rix {

namespace {

bool isComplex(VoxelTypes type) {
    return type == RIX_COMPLEX_FLOAT32 || type == RIX_COMPLEX_FLOAT64;
}

VoxelTypes realBase(VoxelTypes type) {
    return type == RIX_COMPLEX_FLOAT32 ? RIX_FLOAT32 : type == RIX_COMPLEX_FLOAT64 ? RIX_FLOAT64 : type;
}

std::size_t tableIndex(VoxelTypes type) {
    const auto& types = rules::promotionTypes;
    const auto found = std::find(types.begin(), types.end(), realBase(type));
    if (found == types.end()) {
        throw RuleException("The voxel type " + std::to_string(static_cast<int>(type)) + " does not exist.");
    }
    return static_cast<std::size_t>(found - types.begin());
}

template <class Integer>
bool fits(double wholeValue) {
    return wholeValue >= static_cast<double>(std::numeric_limits<Integer>::min()) &&
           wholeValue <= static_cast<double>(std::numeric_limits<Integer>::max());
}

const ImageModel& imageOf(const ImageModel* image) {
    if (image == nullptr) {
        throw InvalidCall("The type of a result cannot be told without its image operand.");
    }
    return *image;
}

}  // namespace

VoxelTypes rules::classifyValue(VoxelTypes imageType, double value) {
    if (std::isfinite(value) && value == std::trunc(value)) {
        if (fits<std::int16_t>(value)) {
            return RIX_INT16;
        }
        if (fits<std::int32_t>(value)) {
            return RIX_INT32;
        }
        if (fits<std::uint32_t>(value)) {
            return RIX_UINT32;
        }
    }
    return realBase(imageType) == RIX_FLOAT32 ? RIX_FLOAT32 : RIX_FLOAT64;
}

VoxelTypes getPromotedType(VoxelTypes first, VoxelTypes second, PromotionTypesRulesType kind) {
    const auto index = static_cast<std::size_t>(kind);  // a negative kind becomes a large index
    if (index >= rules::promotion::tables.size()) {
        throw RuleException("unsupported type of rule");
    }
    const VoxelTypes promoted = rules::promotion::tables[index][tableIndex(first)][tableIndex(second)];
    if (!isComplex(first) && !isComplex(second)) {
        return promoted;
    }
    // A complex operand counts as a floating one, so every table gives a floating type here.
    return promoted == RIX_FLOAT32 ? RIX_COMPLEX_FLOAT32 : RIX_COMPLEX_FLOAT64;
}

VoxelTypes getPromotedType(const ImageModel* first, const ImageModel* second, PromotionTypesRulesType kind) {
    return getPromotedType(imageOf(first).getVoxelType(), imageOf(second).getVoxelType(), kind);
}

VoxelTypes getPromotedType(const ImageModel* image, double value, PromotionTypesRulesType kind) {
    const VoxelTypes type = imageOf(image).getVoxelType();
    return getPromotedType(type, rules::classifyValue(type, value), kind);
}

}  // namespace rix
