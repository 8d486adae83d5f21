// usage: bench_labeling_memory [PICTURE...]
// Working memory of the labeling in bytes a voxel, beside the images: on generated images and on photographs, which are
// cut at a threshold found for them and repeated, mirrored, to the size of the generated ones. Each figure is the
// growth of a process of its own, as the system counts it, so that it holds buffers rounded up to huge pages too.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

#include <rix/Library.h>
#include <rix/io/ImageFile.h>
#include <rix/segmentation/AutoThresholdingBright.h>
#include <rix/segmentation/Labeling2d.h>
#include <rix/segmentation/Labeling3d.h>
#include <rix/settings/Settings.h>

#include "LabelingImages.h"

namespace rix::bench {
namespace {

/// A figure of the process's status, in bytes.
double statusBytes(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(name)) {
            return 1024.0 * std::strtod(line.c_str() + name.size(), nullptr);
        }
    }
    std::abort();
}

template <class Labeling>
void label(const io::MemoryImage& input, int neighborhood, int threads) {
    io::MemoryImage output;
    Labeling algorithm;
    algorithm.settings().setMaximumNumberOfThreads(threads);
    algorithm.setInputObjectImage(&input);
    algorithm.setOutputLabelImage(&output);
    algorithm.setLabelType(Labeling::LABEL_32_BIT);
    algorithm.setNeighborhood(static_cast<decltype(algorithm.getNeighborhood())>(neighborhood));
    // The output's pages exist before, and the limit of the process starts anew.
    if (!output.reserve(RIX_UINT32, input.getNumOf(COLUMNS), input.getNumOf(ROWS), input.getNumOf(PLANS), 1, 1)) {
        std::abort();
    }
    const std::size_t voxels = input.getNumOf(COLUMNS) * input.getNumOf(ROWS) * input.getNumOf(PLANS);
    std::fill_n(output.getInternalBuffer(), 4 * voxels, std::uint8_t{1});
    std::ofstream("/proc/self/clear_refs") << "5" << std::flush;
    const double before = statusBytes("VmRSS:");
    algorithm.run();
    const double grown = statusBytes("VmHWM:") - before;
    std::printf("  %6.3f", grown / static_cast<double>(voxels));
    std::fflush(stdout);
}

void measure(const std::string& name, const io::MemoryImage& image) {
    const bool in3d = image.getNumOf(PLANS) > 1;
    std::printf("%-12s %s", name.c_str(), in3d ? "6 18 26" : "4 8    ");
    std::fflush(stdout);
    for (int neighborhood = 0; neighborhood < (in3d ? 3 : 2); ++neighborhood) {
        const pid_t child = ::fork();
        if (child == 0) {
            init();
            in3d ? label<segmentation::Labeling3d>(image, neighborhood, 2)
                 : label<segmentation::Labeling2d>(image, neighborhood, 2);
            std::_Exit(0);
        }
        int status = 0;
        if (child < 0 || ::waitpid(child, &status, 0) != child || status != 0) {
            std::printf("  failed");
        }
    }
    std::printf("\n");
}

/// The bright objects of a picture, repeated and mirrored.
io::MemoryImage objectsOf(const std::filesystem::path& path) {
    const auto picture = io::readImage(path);
    io::MemoryImage mask;
    analysis::AutoThresholdingMsr found;
    segmentation::AutoThresholdingBright threshold;
    threshold.settings().setMaximumNumberOfThreads(1);
    threshold.setInputGrayImage(picture.get());
    threshold.setOutputBinaryImage(&mask);
    threshold.setOutputMeasurement(&found);
    threshold.run();
    io::MemoryImage image;
    if (mask.getVoxelType() != RIX_UINT8 || !image.reserve(RIX_UINT8, labelingSide, labelingSide, 1, 1, 1)) {
        std::abort();
    }
    const auto mirrored = [](std::size_t i, std::size_t n) { return i / n % 2 == 0 ? i % n : n - 1 - i % n; };
    const std::size_t columns = mask.getNumOf(COLUMNS);
    for (std::size_t y = 0; y < labelingSide; ++y) {
        for (std::size_t x = 0; x < labelingSide; ++x) {
            image.getInternalBuffer()[y * labelingSide + x] =
                mask.getInternalBuffer()[mirrored(y, mask.getNumOf(ROWS)) * columns + mirrored(x, columns)];
        }
    }
    return image;
}

}  // namespace
}  // namespace rix::bench

int main(int argc, char** argv) {
    using namespace rix::bench;
    std::printf("image        neighbours, bytes a voxel for each\n");
    for (int i = 1; i < argc; ++i) {
        measure(std::filesystem::path(argv[i]).stem().string(), objectsOf(argv[i]));
    }
    for (const char* name : {"blobs", "cells", "texture", "r1", "r10", "r25", "r50", "r75", "r90", "r99",
                             "comb",  "dots",  "blobs3",  "v1", "v10", "v25", "v50", "v75", "v90", "v99"}) {
        measure(name, imageNamed(name));
    }
    return 0;
}
