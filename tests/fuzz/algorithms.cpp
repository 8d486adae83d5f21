// Any algorithm of the registry on any image: the same results for every cut, order, number of threads and level.

#include <chrono>
#include <map>
#include <optional>

#include "Checks.h"
#include "ExampleFinder.h"
#include "FuzzTarget.h"
#include "Properties.h"

namespace {

using namespace rix;
using namespace rix::test;

/// Whether it runs, and soon enough for the hundreds of runs of a comparison, some of which share the processor: what
/// takes longer is left to the tests, whose images are as small as they like.
bool isForComparing(const Example& example) {
    constexpr std::chrono::milliseconds longest{20};
    const auto begin = std::chrono::steady_clock::now();
    return isAccepted(example) && std::chrono::steady_clock::now() - begin < longest;
}

/// With what an algorithm runs; searched for once.
const std::optional<Example>& exampleOf(std::size_t index) {
    static std::map<std::size_t, std::optional<Example>> examples;
    const auto found = examples.find(index);
    return found != examples.end()
               ? found->second
               : examples.emplace(index, findExample(AlgoInfo::getAlgorithmsInfoByIndex(index))).first->second;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr VoxelTypes types[] = {RIX_UINT8,           RIX_UINT16,         RIX_UINT32,  RIX_INT8,
                                    RIX_INT16,           RIX_INT32,          RIX_FLOAT32, RIX_FLOAT64,
                                    RIX_COMPLEX_FLOAT32, RIX_COMPLEX_FLOAT64};
    fuzz::Bytes bytes(data, size);
    const std::optional<Example>& found = exampleOf(bytes.below(AlgoInfo::getNumOfAlgorithm()));
    if (!found.has_value()) {
        return fuzz::accepted;
    }
    // Extents around vectors and blocks, and images of nothing but edges. Rows and planes are few: an input is run
    // hundreds of times, and wide search windows or structuring elements of the image's size take seconds a run on
    // larger ones.
    const Extents extents{1 + bytes.below(100), 1 + bytes.below(7), 1 + bytes.below(2), 1 + bytes.below(2),
                          1 + bytes.below(2)};
    Example example = found->withExtents(extents);
    if (const std::size_t type = bytes.below(std::size(types) + 4); type < std::size(types)) {
        example = example.withVoxelType(types[type]);
    }
    const auto algorithm = example.info->createInstance(nullptr);
    for (BaseProperty* const property : inputsOf(*algorithm)) {
        if (const EnumInfo* const enumeration = enumerationOf(property)) {
            const std::vector<int> values = valuesOf(*enumeration);
            example = example.withNumber(property->getName(), values[bytes.below(values.size())]);
        } else if (holdsNumber(property) && bytes.below(2) != 0) {
            const int sign = bytes.below(8) == 0 ? -1 : 1;
            example = example.withNumber(property->getName(),
                                         sign * static_cast<double>(bytes.below(16)) / (bytes.below(4) == 0 ? 4 : 1));
        }
    }
    if (isForComparing(example)) {
        const bool shares = bytes.below(4) == 0;
        const auto holds = shares ? isSafeOnSharedSamples(example) : isSameHoweverCut(example);
        rix::fuzz::require(static_cast<bool>(holds),
                           shares ? "shared samples are refused or safe" : "the same results however the work is done",
                           static_cast<bool>(holds) ? "" : holds.message());
    }
    return fuzz::accepted;
}
