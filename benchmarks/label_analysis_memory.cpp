// A million objects in an image of 16384 by 16384: time of the analysis and the memory that it takes beside the images,
// with its table. Each figure of memory is the growth of a process of its own in its first run; the time is the best of
// three.

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

#include <rix/Library.h>
#include <rix/individual_analysis/LabelAnalysis.h>
#include <rix/settings/Settings.h>

#include "LabelDiscs.h"

namespace rix::bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t side = 16384;

/// A figure of the process's status, in MiB.
double statusMebibytes(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(name)) {
            return std::strtod(line.c_str() + name.size(), nullptr) / 1024.0;
        }
    }
    std::abort();
}

void measure(const io::MemoryImage& labels, const io::MemoryImage& grey, const char* measures, int threads) {
    individual_analysis::LabelAnalysis algorithm;
    algorithm.settings().setMaximumNumberOfThreads(threads);
    algorithm.setInputLabelImage(&labels);
    algorithm.setInputIntensityImage(&grey);
    algorithm.setMeasures(measures);
    double grown = 0.0;
    double best = 1e9;
    for (int run = 0; run < 3; ++run) {
        std::ofstream("/proc/self/clear_refs") << "5" << std::flush;
        const double before = statusMebibytes("VmRSS:");
        const auto start = Clock::now();
        algorithm.run();
        best = std::min(best, std::chrono::duration<double, std::milli>(Clock::now() - start).count());
        grown = run == 0 ? statusMebibytes("VmHWM:") - before : grown;
    }
    const auto& table = algorithm.getOutputMeasurement()->getTable();
    std::printf("%-6s %7d %9zu %8zu %9.0f %9.0f\n", measures, threads, table.getRowCount(), table.getColumnCount(),
                best, grown);
}

}  // namespace
}  // namespace rix::bench

int main() {
    using namespace rix::bench;
    const rix::io::MemoryImage labels = labelledDiscs(side, 16);
    rix::io::MemoryImage grey;
    if (!grey.reserve(rix::RIX_UINT8, side, side, 1, 1, 1)) {
        return 1;
    }
    for (std::size_t i = 0; i < side * side; ++i) {
        grey.getInternalBuffer()[i] = static_cast<std::uint8_t>(i * 0x9E3779B97F4A7C15ULL >> 56);
    }
    std::printf("list   threads   objects  columns  ms       MiB\n");
    int failed = 0;
    for (const char* const measures : {"Basic", "All"}) {
        for (const int threads : {1, 2}) {
            std::fflush(stdout);
            const pid_t child = ::fork();
            if (child == 0) {
                rix::init();
                measure(labels, grey, measures, threads);
                std::fflush(stdout);
                std::_Exit(0);
            }
            int status = 0;
            failed += child < 0 || ::waitpid(child, &status, 0) != child || status != 0 ? 1 : 0;
        }
    }
    return failed;
}
