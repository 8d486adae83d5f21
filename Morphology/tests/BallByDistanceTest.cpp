#include <rix/access/BlockSize.h>
#include <rix/algorithms/AlgoInfo.h>
#include <rix/algorithms/Children.h>

#include "Testing.h"

namespace rix::test {
namespace {

/// Balls of binary images from distances, where the settings ask for it: discs of fractional radii, in the world, of
/// one voxel, and elements that are no balls all the same.
TEST(BallByDistance, GivesTheSameErosionsAndDilations) {
    const access::ScopedBlockBytes manyBlocks(4096);
    int measured = 0;  // runs that held distances
    for (const char* const name :
         {"Erosion2d", "Dilation2d", "Opening2d", "BlackTopHat2d", "Erosion3d", "Dilation3d"}) {
        const bool flat = String(name).back() == 'd' && String(name).find('2') != String::npos;
        for (const double share : {0.08, 0.97}) {
            io::MemoryImage image = makeImage(
                {.voxelType = RIX_UINT16, .extents = {41, 33, flat ? 2U : 12U, 1, 1}, .interpretation = RIX_BINARY},
                [&](std::size_t x, std::size_t y, std::size_t z, auto...) {
                    const std::uint64_t hash = (x * 7919 + y * 104729 + z * 1299709 + 7) * 2654435761U;
                    return static_cast<double>(hash >> 7 & 1023U) < share * 1024 ? 1 : 0;
                });
            for (const double radius : {0.0, 0.9, 1.0, 2.3, 3.0, 7.5, 60.0}) {
                for (const int shape : {1, 2}) {
                    for (const bool inWorld : {false, true}) {
                        image.setSpacingOf(ROWS, inWorld && radius > 3 ? 1.3 : 0.7);
                        image.setSpacingOf(COLUMNS, 0.7);
                        image.setSpacingOf(PLANS, 0.7);
                        io::MemoryImage results[2];
                        std::size_t before = 0;
                        for (const bool isForced : {false, true}) {
                            const auto algorithm = AlgoInfo::fromName(name).createInstance(nullptr);
                            algorithm->settings().setValue("RIX_MORPHO_FORCE_USE_DISTANCE_MAP", isForced ? "1" : "0");
                            algorithms::propertyOf<const ImageModel*>(*algorithm, "inputImage") = &image;
                            algorithms::propertyOf<int>(*algorithm, "structuringElement") = shape;
                            algorithms::propertyOf<double>(*algorithm, "radius") = radius;
                            algorithms::propertyOf<int>(*algorithm, "lengthUnit") = inWorld ? 1 : 0;
                            algorithms::propertyOf<ImageModel*>(*algorithm, "outputImage") = &results[isForced ? 1 : 0];
                            const std::size_t stated = algorithm->describe().extraMemory;
                            algorithm->run();
                            EXPECT_LE(algorithm->getPeakExtraMemory(), stated);
                            measured += isForced && algorithm->getPeakExtraMemory() > before ? 1 : 0;
                            before = algorithm->getPeakExtraMemory();
                        }
                        ASSERT_TRUE(imagesEqual(results[0], results[1]))
                            << name << " radius " << radius << " shape " << shape;
                    }
                }
            }
        }
    }
    EXPECT_GT(measured, 20);
}

}  // namespace
}  // namespace rix::test
