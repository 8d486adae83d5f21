// Runs over the sequence and spectral axes through views.

#include "TestAlgorithms.h"

namespace rix::test {
namespace {

using testing::ElementsAre;

io::MemoryImage numbered(std::size_t columns, std::size_t rows, std::size_t planes, std::size_t sequence,
                         std::size_t spectral) {
    io::MemoryImage image;
    EXPECT_TRUE(image.reserve(RIX_UINT8, columns, rows, planes, sequence, spectral));
    std::iota(image.getInternalBuffer(), image.getInternalBuffer() + columns * rows * planes * sequence * spectral,
              std::uint8_t{0});
    return image;
}

struct Pass {
    std::size_t planes;
    std::size_t sequence;
    std::size_t spectral;
    int firstValue;
    bool operator==(const Pass&) const = default;
};

/// The shapes that the runner sees, pass by pass; each pass writes its number into the output's first element.
std::vector<Pass> passesOf(ScriptedAlgorithm& algorithm) {
    std::vector<Pass> passes;
    algorithm.withRunner(SCALAR, [&](BaseAlgorithm&) {
        const ImageModel& image = *algorithm.inputImage().get();
        std::uint8_t first = 0;
        EXPECT_TRUE(image.readRowAt(1, &first, 0, 0, 0, 0, 0) || image.getNumOf(SEQUENCE) == 0);
        passes.push_back({image.getNumOf(PLANS), image.getNumOf(SEQUENCE), image.getNumOf(SPECTRAL_SERIES), first});
        if (ImageModel* const out = algorithm.outputImage().get(); out != nullptr) {
            const auto number = static_cast<std::uint8_t>(100 + passes.size());
            EXPECT_TRUE(out->writeRowAt(1, &number, 0, 0, 0, 0, 0));
        }
    });
    algorithm.run();
    return passes;
}

TEST(Iteration, TakesTheAxesThatAreAskedForAndThere) {
    const io::MemoryImage movie = numbered(1, 1, 2, 3, 2);
    const io::MemoryImage single = numbered(3, 1, 2, 1, 1);
    // Over no index of an empty axis, the run would succeed without having done anything.
    const io::MemoryImage empty = numbered(1, 1, 1, 0, 3);
    const auto passes = [](const io::MemoryImage& image, bool sequence, bool spectral) {
        ScriptedAlgorithm algorithm;
        algorithm.inputImage() = &image;
        algorithm.enableIterationOnSequenceAxis(sequence);
        algorithm.enableIterationOnSpectralAxis(spectral);
        return passesOf(algorithm);
    };
    EXPECT_THAT(passes(movie, false, false), ElementsAre(Pass{2, 3, 2, 0}));
    EXPECT_THAT(passes(movie, true, false), ElementsAre(Pass{2, 1, 2, 0}, Pass{2, 1, 2, 2}, Pass{2, 1, 2, 4}));
    EXPECT_THAT(passes(single, false, true), ElementsAre(Pass{2, 1, 1, 0}));
    EXPECT_THAT(passes(empty, true, true), ElementsAre(Pass{1, 0, 3, 0}));
}

TEST(Iteration, VisitsEveryIndexInRasterOrderAndPutsTheImagesBack) {
    const io::MemoryImage image = numbered(2, 2, 1, 2, 2);
    io::MemoryImage output = numbered(2, 2, 1, 2, 2);
    ScriptedAlgorithm algorithm;
    algorithm.inputImage() = &image;
    algorithm.outputImage() = &output;
    algorithm.enableIterationOnSequenceAxis(true);
    algorithm.enableIterationOnSpectralAxis(true);
    EXPECT_THAT(passesOf(algorithm),
                ElementsAre(Pass{1, 1, 1, 0}, Pass{1, 1, 1, 4}, Pass{1, 1, 1, 8}, Pass{1, 1, 1, 12}));
    EXPECT_EQ(algorithm.inputImage().get(), &image);
    EXPECT_EQ(algorithm.outputImage().get(), &output);
    EXPECT_EQ(algorithm.getProgress(), 1.0);
    for (const int i : {0, 1, 2, 3}) {
        EXPECT_EQ(output.getInternalBuffer()[4 * i], 101 + i);
    }
}

TEST(Iteration, SharesAnImageWithOneIndexAndRefusesDisagreement) {
    const io::MemoryImage image = numbered(1, 1, 1, 3, 1);
    io::MemoryImage single = numbered(1, 1, 1, 1, 1);
    ScriptedAlgorithm algorithm;
    algorithm.inputImage() = &image;
    algorithm.outputImage() = &single;
    algorithm.enableIterationOnSequenceAxis(true);
    EXPECT_EQ(passesOf(algorithm).size(), 3U);
    EXPECT_EQ(single.getInternalBuffer()[0], 103) << "every pass wrote the one element";

    io::MemoryImage other = numbered(1, 1, 1, 2, 1);
    algorithm.outputImage() = &other;
    EXPECT_THROW(algorithm.run(), ProcessingException);
    EXPECT_EQ(algorithm.inputImage().get(), &image);
    EXPECT_FALSE(algorithm.inputImage().isLocked());
}

}  // namespace
}  // namespace rix::test
