// The algorithm that the documentation teaches: it must work as it is printed there.

#include <gtest/gtest.h>

#include <rix/exceptions/Exception.h>

#include "ComplementImage.h"
#include "ImageComparison.h"
#include "ImageFactories.h"
#include "Levels.h"

namespace rix::point_operations {
namespace {

TEST(Newcomer, TheDocumentedAlgorithmWorksAtEveryLevel) {
    for (const OptimLevelType level : test::runnableLevels()) {
        const test::ImageTraits traits{.voxelType = RIX_UINT16, .extents = {37, 5, 2, 1, 3}};
        using Index = std::size_t;
        io::MemoryImage image = test::makeImage(
            traits, [](Index c, Index y, Index z, Index, Index s) { return c * 1000 + y * 100 + z * 10 + s; });
        const io::MemoryImage expected = test::makeImage(traits, [](Index c, Index y, Index z, Index, Index s) {
            return 65535 - (c * 1000 + y * 100 + z * 10 + s);
        });
        io::MemoryImage complement;
        ComplementImage algorithm;
        algorithm.setAutoCpuDispatch(false);
        algorithm.setOptimLevel(level);
        algorithm.setInputImage(&image);
        algorithm.setOutputImage(&complement);
        algorithm.run();
        EXPECT_EQ(algorithm.getLastRunLevel(), level);
        EXPECT_TRUE(test::imagesEqual(expected, complement));
        algorithm.setOutputImage(&image);
        algorithm.run();
        EXPECT_TRUE(test::imagesEqual(expected, image)) << "in place";
    }
}

TEST(Newcomer, TheComplementOfABinaryImageIsBinary) {
    const auto filled = [](int value) {
        return test::makeImage({.interpretation = RIX_BINARY}, [&](auto...) { return value; });
    };
    for (const auto& [value, expected] : {std::pair(0, 1), std::pair(7, 0)}) {
        const io::MemoryImage image = filled(value);
        io::MemoryImage complement;
        ComplementImage algorithm;
        algorithm.setInputImage(&image);
        algorithm.setOutputImage(&complement);
        algorithm.run();
        EXPECT_TRUE(test::imagesEqual(filled(expected), complement));
    }
}

TEST(Newcomer, ItsRulesRefuseOtherTypes) {
    const io::MemoryImage real = test::makeRandomImage({.voxelType = RIX_FLOAT32, .extents = {3, 3, 1, 1, 1}}, 1);
    io::MemoryImage output;
    ComplementImage algorithm;
    algorithm.setInputImage(&real);
    algorithm.setOutputImage(&output);
    EXPECT_THROW(algorithm.run(), RuleException);
}

}  // namespace
}  // namespace rix::point_operations
