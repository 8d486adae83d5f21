// What a binary image holds beside 0 counts as 1, whatever algorithm reads it, and binary results are 0 and 1.

#include "GenericTest.h"
#include "Properties.h"

namespace rix::test {
namespace {

/// Examples with one or all images binary, in the types of the variants that the algorithm takes.
std::vector<Example> binaryExamples(const Example& example) {
    std::vector<Example> examples;
    for (const Example& variant : variantsOf(example)) {
        for (std::size_t i = 0; i <= variant.images.size(); ++i) {
            Example binary = variant;
            for (std::size_t k = 0; k < binary.images.size(); ++k) {
                if (binary.images[k].has_value() && (i == binary.images.size() || i == k)) {
                    binary.images[k]->interpretation = RIX_BINARY;
                }
            }
            if (isAccepted(binary)) {
                examples.push_back(std::move(binary));
            }
        }
    }
    return examples;
}

/// The images with other values where binary ones hold 1.
InputImages withOtherOnes(const InputImages& images) {
    InputImages others;
    for (const auto& image : images) {
        if (image == nullptr || image->getInterpretation() != RIX_BINARY) {
            others.push_back(image);
            continue;
        }
        auto other = std::make_shared<io::MemoryImage>(*image);
        std::size_t count = 0;
        EXPECT_TRUE(helper::getElementCount(*other, count));
        access::dispatch(access::AllTypes{}, other->getVoxelType(), [&](auto tag) {
            using T = typename decltype(tag)::type;
            auto* const samples = reinterpret_cast<T*>(other->getInternalBuffer());
            for (std::size_t i = 0; i < count; ++i) {
                const double ones[] = {1.0, 2.0, 4.0, 127.0, -1.0};
                samples[i] = samples[i] == T(0) ? T(0) : access::castSample<T>(ones[i % 5]);
            }
        });
        others.push_back(std::move(other));
    }
    return others;
}

void expectZerosAndOnes(const Results& results) {
    for (const auto& [name, image] : results.images) {
        if (image.getInterpretation() == RIX_BINARY) {
            io::MemoryImage ones = image;
            std::size_t count = 0;
            ASSERT_TRUE(helper::getElementCount(ones, count));
            access::makeZeroOrOne(ones.getVoxelType(), ones.getInternalBuffer(), count);
            EXPECT_EQ(
                std::memcmp(ones.getInternalBuffer(), image.getInternalBuffer(), count * helper::getElementSize(image)),
                0)
                << name << " has other values";
        }
    }
}

/// The first output image put in place of an input, if the algorithm says that it may: what is in the input then.
std::optional<io::MemoryImage> resultInPlace(Subject& subject) {
    for (BaseProperty* const output : outputsOf(subject.algorithm())) {
        for (BaseProperty* const input : inputsOf(subject.algorithm())) {
            if (holdsImage(output) && holdsImage(input) && readImageSlot(input) != nullptr) {
                auto* const image = const_cast<ImageModel*>(readImageSlot(input)->get());
                setImage(output, image);
                return runOnce(subject.algorithm()).succeeded ? std::optional(copyOf(*image)) : std::nullopt;
            }
        }
    }
    return std::nullopt;
}

class BinaryImages : public GenericTest {};

TEST_P(BinaryImages, CountAsZeroAndOneWhateverTheyHold) {
    for (const Example& each : binaryExamples(example())) {
        SCOPED_TRACE(each.toText());
        const InputImages images = makeInputs(each);
        const InputImages others = withOtherOnes(images);
        const Results expected = referenceResults(each);
        for (const Storage storage : {Storage::Memory, Storage::Opaque}) {
            const auto subject = Subject::make(each, others, storage);
            ASSERT_NE(subject, nullptr);
            const std::size_t stated = subject->algorithm().describe().extraMemory;
            const Outcome outcome = runOnce(subject->algorithm());
            ASSERT_TRUE(outcome.succeeded) << outcome.text();
            EXPECT_TRUE(resultsEqual(expected, subject->results()));
            expectZerosAndOnes(subject->results());
            if (storage == Storage::Memory) {
                EXPECT_LE(subject->algorithm().getPeakExtraMemory(), stated);
            }
        }
        const auto plain = resultInPlace(*Subject::make(each, images, Storage::Memory));
        const auto other = resultInPlace(*Subject::make(each, others, Storage::Memory));
        ASSERT_EQ(plain.has_value(), other.has_value());
        if (plain.has_value()) {
            EXPECT_TRUE(resultsEqual({{{"in place", *plain}}, {}}, {{{"in place", *other}}, {}}));
        }
    }
}

RIX_FOR_EVERY_ALGORITHM(BinaryImages);

}  // namespace
}  // namespace rix::test
