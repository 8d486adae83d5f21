#include "LocalSums.h"

#include <rix/access/Pieces.h>
#include <rix/access/Run.h>
#include <rix/access/SampleCast.h>
#include <rix/access/StreamKernels.h>
#include <rix/access/VoxelTypeLists.h>

#include "BoxAhead.h"
#include "BoxIntegerBody.h"
#include "BoxNeeds.h"

namespace rix::filtering::smoothing {

namespace {

/// How `BoxIntegerBody` sums samples and their squares at a time.
template <class Twin>
class TwinArithmetic {
public:
    using T = typename Twin::Sample;
    using Sum = typename Twin::Sum;
    using Row = BoxDealt<Sum, 1>;

    TwinArithmetic(OptimLevelType level, access::Stores stores, const BoxJob& job, const LocalResult& result)
        : m_kernels(localStatisticsKernels<Twin>(level, stores)),
          m_origin(static_cast<T>(job.origin)),
          m_result(result) {}

    void add(const T* const* in, std::size_t rows, const Row& sums, std::size_t count) const {
        for (std::size_t row = 0; row < rows; ++row) {
            m_kernels.addSamples(in[row], m_origin, sums.lane[0], count);
        }
    }
    void add(const Row* in, std::size_t rows, const Row& sums, std::size_t count) const {
        for (std::size_t row = 0; row < rows; ++row) {
            m_kernels.addSums(in[row].lane[0], sums.lane[0], count);
        }
    }
    void slide(const T* in, const T* out, const Row& sums, std::size_t count) const {
        m_kernels.slideSamples(in, out, m_origin, sums.lane[0], count);
    }
    void slide(const Row& in, const Row& out, const Row& sums, std::size_t count) const {
        m_kernels.slideSums(in.lane[0], out.lane[0], sums.lane[0], count);
    }
    void reflect(const Row& row, std::size_t first, std::size_t count, std::size_t mirror) const {
        for (std::size_t e = first; e < first + count; ++e) {
            row[e] = row[mirror - e];
        }
    }
    Sum sum(const Row& row, std::size_t count) const {
        Sum sum;
        for (std::size_t i = 0; i < count; ++i) {
            sum = sum + row[i];
        }
        return sum;
    }
    void total(const Row& columns, std::size_t count, std::size_t window, const Sum& first, float* out,
               const BoxAhead& /*ahead*/) const {
        m_kernels.total(columns.lane[0], count, window, first, out, m_result);
    }

private:
    LocalStatisticsKernels<Twin> m_kernels;
    T m_origin;
    LocalResult m_result;
};

/// The largest difference of two samples.
double largestDifference(VoxelTypes type) {
    return static_cast<double>((std::uint64_t{1} << (8 * helper::getSizeOf(type))) - 1);
}

/// Whether 32 bits hold all sums.
bool areNarrow(const BoxJob& job, VoxelTypes type) {
    const double largest = largestDifference(type);
    return helper::getSizeOf(type) == 1 && static_cast<double>(job.voxels) * largest * largest < 0x1p32;
}

template <class Twin>
void tell(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, const BoxJob& job,
          const LocalResult& result, OptimLevelType level) {
    using Arithmetic = TwinArithmetic<Twin>;
    const access::Stores stores = access::storesFor(output);
    const Arithmetic arithmetic(level, stores, job, result);
    const access::Plan plan = access::cutBoxes({&input}, {&output}, boxNeeds(input, job));
    access::run(context, plan, [&](const access::Block& block, access::BlockProgress& progress) {
        BoxIntegerBody<typename Twin::Sample, float, Arithmetic>(input, output, job, arithmetic, block).run(progress);
        if (stores == access::Stores::Streaming) {
            access::finishStreaming();
        }
    });
}

}  // namespace

void prepareForIntegers(BoxJob& job, VoxelTypes type) {
    access::dispatch(access::Integers{}, type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        job.origin = access::castSample<T>(job.origin);
        job.bytesOfSum =
            areNarrow(job, type) ? sizeof(typename TwinOf<T, true>::Sum) : sizeof(typename TwinOf<T, false>::Sum);
    });
}

void tellOfIntegers(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, const BoxJob& job,
                    LocalStatistic statistic, OptimLevelType level) {
    const VoxelTypes type = input.getVoxelType();
    const double ofWindow = static_cast<double>(job.voxels) * largestDifference(type);
    const LocalResult result{statistic, static_cast<std::int64_t>(job.voxels), static_cast<std::int64_t>(job.origin),
                             ofWindow * ofWindow < 0x1p53};
    access::dispatch(access::Integers{}, type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        if constexpr (sizeof(T) == 1) {
            if (areNarrow(job, type)) {
                tell<TwinOf<T, true>>(context, input, output, job, result, level);
                return;
            }
        }
        tell<TwinOf<T, false>>(context, input, output, job, result, level);
    });
}

}  // namespace rix::filtering::smoothing
