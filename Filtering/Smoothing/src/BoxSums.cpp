#include "BoxSums.h"

#include <cstdint>

#include <rix/access/Run.h>
#include <rix/access/VoxelTypeLists.h>

#include "BoxArithmetic.h"
#include "BoxIntegerBody.h"
#include "BoxNeeds.h"
#include "BoxRealBody.h"

namespace rix::filtering::smoothing {

namespace {

__extension__ typedef unsigned __int128 WideUnsigned;

using SmallIntegers = access::TypeList<std::uint8_t, std::uint16_t, std::int8_t, std::int16_t>;
/// The types of sums that 32 bits hold, beside the types of voxels, which means have.
using SmallSums = access::TypeList<std::uint8_t, std::uint16_t, std::int8_t, std::int16_t, std::int32_t, float>;

struct BoxRun {
    access::ExecutionContext& context;
    const ImageModel& input;
    ImageModel& output;
    const BoxJob& job;
    OptimLevelType level;
};

template <class T, class Out, class Arithmetic>
void runIntegers(const BoxRun& run) {
    const Arithmetic arithmetic(run.level, run.job);
    const access::Plan plan = access::cutBoxes({&run.input}, {&run.output}, boxNeeds(run.input, run.job));
    access::run(run.context, plan, [&](const access::Block& block, access::BlockProgress& progress) {
        BoxIntegerBody<T, Out, Arithmetic>(run.input, run.output, run.job, arithmetic, block).run(progress);
    });
}

void run16(const BoxRun& run) {
    if (run.job.mean) {
        runIntegers<std::uint8_t, std::uint8_t, BoxArithmetic16<std::uint8_t>>(run);
    } else {
        runIntegers<std::uint8_t, std::uint16_t, BoxArithmetic16<std::uint16_t>>(run);
    }
}

void run32(const BoxRun& run) {
    access::dispatch(SmallIntegers{}, run.input.getVoxelType(), SmallSums{}, run.output.getVoxelType(),
                     [&](auto tagIn, auto tagOut) {
                         using T = typename decltype(tagIn)::type;
                         using Out = typename decltype(tagOut)::type;
                         runIntegers<T, Out, BoxArithmetic32<T, Out>>(run);
                     });
}

template <class Signed, class Unsigned>
void runWide(const BoxRun& run) {
    access::dispatch(access::Integers{}, run.input.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        if (run.job.mean) {
            runIntegers<T, T, BoxArithmeticWide<T, T, Signed, Unsigned, BoxFilterOperator_Normalize>>(run);
        } else {
            runIntegers<T, float, BoxArithmeticWide<T, float, Signed, Unsigned, BoxFilterOperator_Sum>>(run);
        }
    });
}

template <class T>
void runRealsAs(const BoxRun& run) {
    const access::Plan plan = access::cutBoxes({&run.input}, {&run.output}, boxNeeds(run.input, run.job));
    access::run(run.context, plan, [&](const access::Block& block, access::BlockProgress& progress) {
        BoxRealBody<T>(run.input, run.output, run.job, run.level, block).run(progress);
    });
}

void runReals(const BoxRun& run) {
    access::dispatch(access::Floatings{}, run.input.getVoxelType(),
                     [&](auto tag) { runRealsAs<typename decltype(tag)::type>(run); });
}

}  // namespace

void sumBoxes(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, const BoxJob& job,
              OptimLevelType level) {
    const BoxRun run{context, input, output, job, level};
    switch (chooseSums(input.getVoxelType(), job)) {
        case BoxSums::Bits16: run16(run); return;
        case BoxSums::Bits32: run32(run); return;
        case BoxSums::Bits64: runWide<std::int64_t, std::uint64_t>(run); return;
        case BoxSums::Bits128: runWide<WideInteger, WideUnsigned>(run); return;
        case BoxSums::Real: runReals(run); return;
    }
}

void sumBoxesInDoubles(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                       const BoxJob& job, OptimLevelType level) {
    runRealsAs<double>({context, input, output, job, level});
}

}  // namespace rix::filtering::smoothing
