#include "PieceRows.h"

#include <algorithm>
#include <vector>

#include <rix/access/RoundingKernels.h>
#include <rix/access/Run.h>
#include <rix/access/Scratch.h>

namespace rix::manipulation {

namespace {

/// The most images that a formula names.
constexpr std::size_t mostInputs = 4;

access::Plan planOf(const PieceWork& work, const ImageModel& output) {
    const ImageModel* images[mostInputs];
    for (std::size_t i = 0; i < mostInputs; ++i) {
        images[i] = i < work.inputs.size() ? &work.inputs[i].image : &output;
    }
    return access::cutLines({images[0], images[1], images[2], images[3], &output}, work.nanosecondsPerVoxel);
}

}  // namespace

void computePieces(access::ExecutionContext& context, const PieceWork& work, ImageModel& output, OptimLevelType level,
                   access::FunctionRef<void(const Piece&)> compute) {
    const access::Plan plan = planOf(work, output);
    const access::Stores stores = access::storesFor(output);
    const bool streams =
        stores == access::Stores::Streaming && !(work.streamsItself && work.computedAs == output.getVoxelType());
    const VoxelTypes outputType = output.getVoxelType();
    const std::size_t outputBytes = helper::getSizeOf(outputType);
    const std::size_t computedBytes = helper::getSizeOf(work.computedAs);
    const access::RoundingRow convert =
        work.computedAs == outputType ? nullptr : access::roundingRow(work.computedAs, outputType, level);
    const access::StreamRow stream = access::streamRow(level);

    std::vector<access::RowConversion> conversions;
    std::size_t largest = std::max(outputBytes, computedBytes);
    for (const access::PieceInput& input : work.inputs) {
        conversions.emplace_back(input, level);
        largest = std::max({largest, conversions.back().sourceBytes(), conversions.back().targetBytes()});
    }
    const std::size_t capacity = access::pieceSamples(largest, stores);

    access::run(context, plan, [&](const access::Block& block) {
        std::vector<access::PieceReader> readers;
        readers.reserve(work.inputs.size());
        for (std::size_t i = 0; i < work.inputs.size(); ++i) {
            readers.emplace_back(work.inputs[i], conversions[i], plan, capacity);
        }
        access::PieceWriter writer(output, plan, stores);
        access::Scratch working;
        if (work.workingBytesPerSample > 0) {
            working = access::Scratch(capacity * work.workingBytesPerSample);
        }
        access::Scratch computed;
        if (convert != nullptr) {
            computed = access::Scratch(capacity * computedBytes);
        }
        access::Scratch streamed;
        if (streams) {
            streamed = access::Scratch(capacity * outputBytes);
        }
        plan.forEachSegment(block, [&](const access::RowSegment& segment) {
            for (access::PieceReader& reader : readers) {
                reader.read(segment);
            }
            writer.open(segment);
            access::forEachPiece(segment.count, capacity, writer, [&](std::size_t first, std::size_t count) {
                ConstRawData in[mostInputs];
                for (std::size_t i = 0; i < readers.size(); ++i) {
                    in[i] = readers[i].piece(first, count);
                }
                const RawData target = writer.piece(first);
                const RawData result = streams ? streamed.data() : target;
                compute({in, convert != nullptr ? computed.data() : result, working.data(), count, capacity});
                if (convert != nullptr) {
                    convert(computed.data(), result, count);
                }
                if (streams) {
                    stream(target, result, count * outputBytes);
                }
            });
            writer.flush();
        });
    });
}

std::size_t piecesMemory(std::size_t inputs, std::size_t workingBytesPerSample, std::size_t threads) {
    const std::size_t buffer = access::pieceSamples(1, access::Stores::Cached) + access::Scratch::granularity;
    const std::size_t working =
        workingBytesPerSample == 0
            ? 0
            : workingBytesPerSample * access::pieceSamples(4, access::Stores::Cached) + access::Scratch::granularity;
    // Of each input the samples as they are, as 0 and 1 and converted; results before conversion and before streaming.
    return threads * ((3 * inputs + 2) * buffer + working);
}

}  // namespace rix::manipulation
