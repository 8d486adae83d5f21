// The recursive filter against its formula.

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include <rix/filtering/linear/RecursiveFilter.h>

#include "Failures.h"
#include "ImageSamples.h"

namespace rix::test {
namespace {

using filtering::linear::RecursiveFilter;
using kernel::RecursiveKernel1D;

/// One line, whose ends go on: so far that nothing is left of where the passes began.
std::vector<double> reference(const std::vector<double>& line, const RecursiveKernel1D& kernel) {
    const auto length = static_cast<std::int64_t>(line.size());
    constexpr std::int64_t lead = 3000;
    const auto in = [&](std::int64_t i) {
        return static_cast<long double>(line[static_cast<std::size_t>(std::clamp<std::int64_t>(i, 0, length - 1))]);
    };
    std::vector<double> out(line.size());
    for (const std::int64_t direction : {1, -1}) {
        const std::vector<double>& ofSamples = direction > 0 ? kernel.causal : kernel.anticausal;
        const auto at = [&](std::int64_t step) { return direction > 0 ? step : length - 1 - step; };
        std::vector<long double> results(static_cast<std::size_t>(length + lead));
        for (std::int64_t step = -lead; step < length; ++step) {
            long double sum = 0;
            for (std::size_t k = 0; k < ofSamples.size(); ++k) {
                const auto distance = static_cast<std::int64_t>(k) + (direction > 0 ? 0 : 1);
                sum += ofSamples[k] * in(at(step - distance));
            }
            for (std::size_t k = 1; k <= kernel.feedback.size(); ++k) {
                const std::int64_t before = step - static_cast<std::int64_t>(k);
                sum -=
                    before < -lead ? 0.0L : kernel.feedback[k - 1] * results[static_cast<std::size_t>(before + lead)];
            }
            results[static_cast<std::size_t>(step + lead)] = sum;
            if (step >= 0) {
                out[static_cast<std::size_t>(at(step))] += static_cast<double>(sum);
            }
        }
    }
    return out;
}

io::MemoryImage run(RecursiveFilter& filter, const ImageModel& input) {
    io::MemoryImage output;
    filter.setInputImage(&input);
    filter.setOutputImage(&output);
    filter.run();
    return output;
}

TEST(RecursiveFilter, IsItsFormulaAlongEveryAxis) {
    const RecursiveKernel1D kernels[] = {RecursiveFilter().getKernel(),
                                         {{0.5, -0.25, 0, 0.1}, {0.3, 0, 0.2}, {-1.2, 0.45}},
                                         {{0, 1}, {}, {}},
                                         {{}, {0.25}, {0.5}}};
    const Extents extents{23, 18, 7, 2, 1};
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT32, RIX_FLOAT32, RIX_FLOAT64}) {
        const io::MemoryImage image = makeRandomImage({.voxelType = type, .extents = extents}, 2, Extremes::None);
        const auto in = samplesOf<double>(image);
        for (const std::size_t axis : {0U, 1U, 2U}) {
            for (const RecursiveKernel1D& kernel : kernels) {
                RecursiveFilter filter;
                filter.setKernel(kernel);
                filter.setAxis(static_cast<RecursiveFilter::Axis>(axis));
                const io::MemoryImage output = run(filter, image);
                ASSERT_EQ(output.getVoxelType(), type == RIX_FLOAT64 ? RIX_FLOAT64 : RIX_FLOAT32);
                const auto out = samplesOf<double>(output);
                const std::size_t pitch = axis == 0 ? 1 : axis == 1 ? extents[0] : extents[0] * extents[1];
                for (std::size_t first = 0; first < in.size(); ++first) {
                    if (first / pitch % extents[axis] != 0) {
                        continue;
                    }
                    std::vector<double> line;
                    for (std::size_t i = 0; i < extents[axis]; ++i) {
                        line.push_back(in[first + i * pitch]);
                    }
                    const auto expected = reference(line, kernel);
                    for (std::size_t i = 0; i < line.size(); ++i) {
                        const double last = type == RIX_FLOAT64 ? 1e-12 : 1e-7 * std::abs(expected[i]) + 1e-6;
                        ASSERT_NEAR(out[first + i * pitch], expected[i], type == RIX_INT32 ? last + 1e-4 : last)
                            << "axis " << axis << ", element " << i;
                    }
                }
            }
        }
    }
}

TEST(RecursiveFilter, RefusesKernelsThatAreNone) {
    const io::MemoryImage image = makeRandomImage({.voxelType = RIX_UINT8, .extents = {9, 4, 1, 1, 1}}, 2);
    RecursiveFilter filter;
    filter.setKernel({{}, {}, {0.5}});
    EXPECT_EQ(messageOf<RuleException>([&] { run(filter, image); }),
              "The parameter \"kernel\" must have causal or anticausal coefficients.");
    filter.setKernel({{1}, {}, {std::numeric_limits<double>::quiet_NaN()}});
    EXPECT_EQ(messageOf<RuleException>([&] { run(filter, image); }),
              "The parameter \"kernel\" must have finite coefficients.");
}

}  // namespace
}  // namespace rix::test
