#include <gtest/gtest.h>
#include <tbb/global_control.h>

#include <rix/settings/Settings.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    // So that no bad size of an image is a good one on a machine with much memory.
    rix::globalSettings().setValueAsSize_t("RIX_MAXIMUM_IMAGE_SIZE", std::size_t{1} << 30);
    // So that images on disk are on disk.
    rix::globalSettings().setValueAsSize_t("RIX_DISK_CACHE_SIZE", std::size_t{1} << 16);
    // More threads than processors: what depends on their number shows on every machine.
    const tbb::global_control threads(tbb::global_control::max_allowed_parallelism, 7);
    return RUN_ALL_TESTS();
}
