#pragma once

#include <rix/filtering/smoothing/BoxFilter2d.h>
#include <rix/filtering/smoothing/BoxFilter3d.h>

#include "Testing.h"

namespace rix::test {

enum class Dimension { Two, Three };
enum class Result { Sum, Mean };

struct BoxCase {
    std::array<std::size_t, 3> size{1, 1, 1};
    Result result = Result::Mean;
    Dimension dimension = Dimension::Two;
};

inline std::ostream& operator<<(std::ostream& out, const BoxCase& c) {
    return out << (c.result == Result::Mean ? "mean of " : "sum of ") << c.size[0] << " x " << c.size[1] << " x "
               << c.size[2] << (c.dimension == Dimension::Two ? ", 2D" : ", 3D");
}

template <class Algorithm>
void setSizes(Algorithm& algorithm, const BoxCase& c) {
    algorithm.setKernelSizeX(static_cast<std::int32_t>(c.size[0]));
    algorithm.setKernelSizeY(static_cast<std::int32_t>(c.size[1]));
    algorithm.setAutoScale(c.result == Result::Mean ? Algorithm::YES : Algorithm::NO);
    if constexpr (requires { algorithm.setKernelSizeZ(1); }) {
        algorithm.setKernelSizeZ(static_cast<std::int32_t>(c.size[2]));
    }
}

struct RunOptions {
    OptimLevelType level = SCALAR;
    int threads = 1;
    std::shared_ptr<access::BlockScheduler> scheduler = nullptr;
};

template <class Algorithm>
void runWith(const ImageModel& input, ImageModel& output, const BoxCase& c, const RunOptions& options) {
    Algorithm algorithm;
    algorithm.settings().setMaximumNumberOfThreads(options.threads);
    algorithm.setAutoCpuDispatch(false);
    algorithm.setOptimLevel(options.level);
    algorithm.setBlockScheduler(options.scheduler);
    setSizes(algorithm, c);
    algorithm.setInputImage(&input);
    algorithm.setOutputImage(&output);
    algorithm.run();
    EXPECT_EQ(algorithm.getLastRunLevel(), options.level);
}

inline void runBox(const ImageModel& input, ImageModel& output, const BoxCase& c, const RunOptions& options = {}) {
    if (c.dimension == Dimension::Two) {
        runWith<filtering::smoothing::BoxFilter2d>(input, output, c, options);
    } else {
        runWith<filtering::smoothing::BoxFilter3d>(input, output, c, options);
    }
}

inline io::MemoryImage runBox(const ImageModel& input, const BoxCase& c, const RunOptions& options = {}) {
    io::MemoryImage output;
    runBox(input, output, c, options);
    return output;
}

}  // namespace rix::test
