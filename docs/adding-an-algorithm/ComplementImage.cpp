#include "ComplementImage.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "ComplementImage.cpp"
#include <rix/simd/KernelTargets.h>

#include <limits>

#include <hwy/highway.h>

#include <rix/access/PointFilters.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/Definition.h>

HWY_BEFORE_NAMESPACE();
namespace rix::point_operations::HWY_NAMESPACE {

template <class T>
void complement(const T* in, T* out, std::size_t count, T largest) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = static_cast<T>(largest - in[i]);
    }
}

}  // namespace rix::point_operations::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::point_operations {

namespace {

/// Rough cost of the scalar kernels, for deciding whether threads pay.
constexpr double nanosecondsPerVoxel = 0.1;

void declare(ComplementImage& algorithm, algorithms::Properties& properties) {
    properties.input(algorithm.inputImage, "The image whose voxels are complemented.",
                     AddRulesForImageOf({RIX_UINT8, RIX_UINT16, RIX_UINT32}));
    properties.output(algorithm.outputImage, "The complements.", AddRuleAssertNotNull(),
                      AddRuleInPlaceOrDisjoint(algorithm.inputImage), AddRuleEnforceLike(algorithm.inputImage));
}

void process(ComplementImage& algorithm, OptimLevelType level) {
    const ImageModel& input = *algorithm.getInputImage();
    access::dispatch(access::UnsignedIntegers{}, input.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const T largest = input.getInterpretation() == RIX_BINARY ? T{1} : std::numeric_limits<T>::max();
        const auto row = RIX_SELECT_KERNELS(level, complement<T>);
        access::transformRows<T, T>(algorithm.executionContext(), input, *algorithm.getOutputImage(),
                                    nanosecondsPerVoxel,
                                    [=](const T* in, T* out, std::size_t count) { row(in, out, count, largest); });
    });
}

constexpr algorithms::Definition<ComplementImage> definition{
    .summary = "Replaces every voxel by its complement, the largest value that it can have minus its own.",
    .kind = AlgorithmKind::Point,
    .declare = &declare,
    .process = &process,
};

}  // namespace

RIX_DEFINE_ALGORITHM(ComplementImage, definition)

}  // namespace rix::point_operations
#endif
