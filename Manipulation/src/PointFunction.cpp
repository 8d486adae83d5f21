#include "PointFunction.h"

#include <cstdint>
#include <limits>
#include <type_traits>

#include <rix/access/MemoryAccount.h>
#include <rix/access/RoundingKernels.h>
#include <rix/access/VoxelTypeLists.h>

#include "LookUpKernels.h"
#include "PieceRows.h"

namespace rix::manipulation {

namespace {

constexpr double nanosecondsPerLookUp = 0.3;
constexpr std::size_t largestTable = std::size_t{65536} * sizeof(double);

using SmallTypes = access::TypeList<std::uint8_t, std::int8_t, std::uint16_t, std::int16_t>;

/// Whether a table of all values of a small type is made faster than the image is computed.
bool paysForTable(const ImageModel& input, const PointFunction& function) {
    std::size_t voxels = 0;
    if (!access::contains(SmallTypes{}, input.getVoxelType()) || !helper::getElementCount(input, voxels)) {
        return false;
    }
    constexpr double slow = 1.0;  // what a look-up in a large table takes
    const std::size_t values = std::size_t{1} << (8 * helper::getSizeOf(input.getVoxelType()));
    return voxels / 4 >= values && (values == 256 || function.nanosecondsPerVoxel >= slow);
}

/// The results of all values of a type, in the order of their bits.
template <class Sample>
access::CountedVector<std::uint8_t> tableOf(const PointFunction& function, VoxelTypes type, OptimLevelType level) {
    constexpr std::size_t values = std::size_t{1} << (8 * sizeof(Sample));
    constexpr std::size_t part = 256;
    const access::RoundingRow round = access::roundingRow(RIX_FLOAT64, type, level);
    const std::size_t bytes = helper::getSizeOf(type);
    access::CountedVector<std::uint8_t> table(values * bytes);
    double reals[part];
    for (std::size_t first = 0; first < values; first += part) {
        for (std::size_t i = 0; i < part; ++i) {
            reals[i] = static_cast<Sample>(static_cast<std::make_unsigned_t<Sample>>(first + i));
        }
        function.ofDoubles(reals, reals, part);
        round(reals, table.data() + first * bytes, part);
    }
    return table;
}

}  // namespace

void applyFunction(BaseAlgorithm& algorithm, const ImageModel& input, bool inputIsBinary, ImageModel& output,
                   OptimLevelType level, const PointFunction& function) {
    access::ExecutionContext& context = algorithm.executionContext();
    const VoxelTypes type = input.getVoxelType();
    if (paysForTable(input, function)) {
        const access::PieceInput inputs[] = {{input, type, inputIsBinary}};
        const LookUpRow row = lookUpRow(helper::getSizeOf(type), helper::getElementSize(output), level);
        access::CountedVector<std::uint8_t> table;
        access::dispatch(SmallTypes{}, type, [&](auto tag) {
            table = tableOf<typename decltype(tag)::type>(function, output.getVoxelType(), level);
        });
        const PieceWork work{
            .inputs = inputs, .computedAs = output.getVoxelType(), .nanosecondsPerVoxel = nanosecondsPerLookUp};
        computePieces(context, work, output, level,
                      [&](const Piece& piece) { row(piece.in[0], table.data(), piece.out, piece.count); });
        return;
    }
    const VoxelTypes outputType = output.getVoxelType();
    const bool fitsFloats = outputType == RIX_FLOAT32 || access::contains(SmallTypes{}, outputType);
    const VoxelTypes computedAs = type == RIX_FLOAT32 && fitsFloats ? RIX_FLOAT32 : RIX_FLOAT64;
    const access::PieceInput inputs[] = {{input, computedAs, inputIsBinary}};
    const PieceWork work{
        .inputs = inputs, .computedAs = computedAs, .nanosecondsPerVoxel = function.nanosecondsPerVoxel};
    computePieces(context, work, output, level, [&](const Piece& piece) {
        if (computedAs == RIX_FLOAT32) {
            function.ofFloats(reinterpret_cast<const float*>(piece.in[0]), reinterpret_cast<float*>(piece.out),
                              piece.count);
        } else {
            function.ofDoubles(reinterpret_cast<const double*>(piece.in[0]), reinterpret_cast<double*>(piece.out),
                               piece.count);
        }
    });
}

std::size_t functionMemory(std::size_t threads) {
    return piecesMemory(1, 0, threads) + largestTable;
}

}  // namespace rix::manipulation
