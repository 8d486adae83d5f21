// Every property, set to every kind of wrong value: refused with a message that names it, or accepted for good.
//
// What is wrong for an algorithm only the algorithm knows. It says so by its rules, in words: what they rule out must
// be refused. What they leave open may be accepted, but then the run must give the same result on every level and
// thread.

#include <chrono>
#include <sstream>

#include <rix/algorithms/InteractionInterface.h>
#include <rix/properties/EnumInfo.h>

#include "GenericTest.h"
#include "Properties.h"

namespace rix::test {
namespace {

/// Ends a run that takes far longer than any run on small images may.
class Deadline : public InteractionInterface {
public:
    bool isCancelRequested() override { return std::chrono::steady_clock::now() > m_end; }

private:
    std::chrono::steady_clock::time_point m_end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
};

bool saysRule(const BaseProperty* property, const String& words) {
    const auto rules = property->getImpl()->describeRules();
    return std::any_of(rules.begin(), rules.end(),
                       [&](const String& rule) { return rule.find(words) != String::npos; });
}

bool saysExactRule(const BaseProperty* property, const String& words) {
    const auto rules = property->getImpl()->describeRules();
    return std::find(rules.begin(), rules.end(), words) != rules.end();
}

class BadProperties : public GenericTest {
protected:
    void SetUp() override {
        GenericTest::SetUp();
        if (IsSkipped() || HasFailure()) {
            return;
        }
        m_subject = std::make_unique<Subject>(example());
        m_expected = referenceResults(example());
    }
    Subject& subject() { return *m_subject; }
    BaseAlgorithm& algorithm() { return m_subject->algorithm(); }

    /// Runs with the values that the properties have now, checks what came of it, puts the example's values back and
    /// runs again.
    /// @param mustRefuse the rules of the property rule the value out
    /// @return whether the values were accepted
    bool runAndRecover(const BaseProperty* property, bool mustRefuse) {
        Deadline deadline;
        const Outcome outcome = runOnce(algorithm(), &deadline);
        EXPECT_TRUE(isReady(algorithm()));
        EXPECT_TRUE(m_subject->outputsAreReadable());
        if (outcome.succeeded) {
            EXPECT_FALSE(mustRefuse) << "accepted, although its rules say otherwise";
            expectSameResultElsewhere();
        } else if (!isRefusedByRunners(algorithm(), outcome)) {
            EXPECT_TRUE(outcome.exceptionClass == "RuleException" || outcome.exceptionClass == "MemoryError")
                << "refused by " << outcome.text();
            EXPECT_TRUE(outcome.names(property->getName())) << "refused without its name by " << outcome.text();
        }
        m_subject->restore();
        const Outcome good = runOnce(algorithm());
        EXPECT_TRUE(good.succeeded) << "with good values again: " << good.text();
        EXPECT_TRUE(resultsEqual(m_expected, m_subject->results())) << "with good values again";
        EXPECT_TRUE(m_subject->inputsAreUntouched());
        return outcome.succeeded;
    }

private:
    /// An accepted value is a good one: the portable level and one thread give the same, whatever outputs held before.
    /// and give it again on outputs that held something else.
    void expectSameResultElsewhere() {
        const Results here = m_subject->results();
        const OptimLevelType level = algorithm().getMaxOptimLevel();
        const int threads = algorithm().settings().getMaximumNumberOfThreads();
        m_subject->spoilOutputs(0x5d);
        algorithm().setMaxOptimLevel(SCALAR);
        algorithm().settings().setMaximumNumberOfThreads(1);
        Deadline deadline;
        const Outcome again = runOnce(algorithm(), &deadline);
        EXPECT_TRUE(again.succeeded) << "accepted first, then: " << again.text();
        EXPECT_TRUE(resultsEqual(m_subject->results(), here)) << "accepted, but the levels differ";
        algorithm().setMaxOptimLevel(level);
        algorithm().settings().setMaximumNumberOfThreads(threads);
    }

    std::unique_ptr<Subject> m_subject;
    Results m_expected;
};

TEST_P(BadProperties, ChoicesOutOfRange) {
    for (BaseProperty* const property : inputsOf(algorithm())) {
        const EnumInfo* const enumeration = enumerationOf(property);
        if (enumeration == nullptr) {
            continue;
        }
        const std::vector<int> values = valuesOf(*enumeration);
        std::vector<int> wrong{-1, values.back() + 1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()};
        for (int value = values.front(); value < values.back() && wrong.size() < 20; ++value) {
            wrong.push_back(value);  // the gaps; what exists is sorted out below
        }
        for (const int value : wrong) {
            if (enumeration->exists(value)) {
                continue;
            }
            SCOPED_TRACE(example().toText() + ": " + property->getName() + " = " + std::to_string(value));
            static_cast<Property<int>*>(property)->set(value);
            // Flags may be combined to values that have no name of their own.
            const bool isCombination = saysRule(property, "a combination of") || saysRule(property, "at least one of");
            const bool accepted = runAndRecover(property, saysRule(property, "one of: ") && !isCombination);
            EXPECT_FALSE(accepted && (!isCombination || value < 0)) << "a value that the enumeration does not have";
        }
    }
}

TEST_P(BadProperties, Texts) {
    for (BaseProperty* const property : inputsOf(algorithm())) {
        if (!refusesSomeTexts(property)) {
            continue;
        }
        const auto before = exactText(property);
        for (const char* const text : {"", " ", "no such value", "--3", "@", "|", "@v2:1", "@v:1#x"}) {
            SCOPED_TRACE(example().toText() + ": " + property->getName() + " from the text \"" + text + "\"");
            String normalised;
            EXPECT_FALSE(property->read(text, normalised));
            EXPECT_EQ(exactText(property), before) << "a refused text changed the value";
        }
    }
}

TEST_P(BadProperties, Numbers) {
    using Limits = std::numeric_limits<double>;
    const double integers[] = {-1.0, 0.0, 2147483647.0, -2147483648.0, 4294967295.0, 9.2e18, -9.2e18, 1.8e19};
    const double reals[] = {
        0.25, 1e300, -1e300, Limits::denorm_min(), Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN()};
    for (BaseProperty* const property : inputsOf(algorithm())) {
        if (!holdsNumber(property)) {
            continue;
        }
        std::vector<double> numbers(std::begin(integers), std::end(integers));
        numbers.insert(numbers.end(), std::begin(reals), std::end(reals));
        for (const double number : numbers) {
            if (!setNumber(property, number)) {
                continue;  // the type holds no such number
            }
            std::ostringstream text;
            text << number;
            SCOPED_TRACE(example().toText() + ": " + property->getName() + " = " + text.str());
            const bool ruledOut = (saysRule(property, "must be finite") && !std::isfinite(number)) ||
                                  (saysRule(property, "must not be NaN") && std::isnan(number)) ||
                                  (saysRule(property, "must be in the range") && std::isnan(number)) ||
                                  (saysRule(property, "must be strictly positive") && !(number > 0.0));
            runAndRecover(property, ruledOut);
        }
    }
}

/// An image that is wrong for most algorithms, and the words of a rule that refuses it.
struct WrongImage {
    String text;
    io::MemoryImage image;
    std::vector<String> ruledOutBy;
};

std::vector<WrongImage> wrongImages(const ImageTraits& good) {
    std::vector<WrongImage> images;
    const auto add = [&](const String& text, const ImageTraits& traits, std::vector<String> ruledOutBy) {
        images.push_back({text, makeRandomImage(traits, 11), std::move(ruledOutBy)});
    };
    images.push_back({"a new image", io::MemoryImage(), {"must not be an empty image"}});
    for (std::size_t axis = 0; axis < RIX_COMPONENTS_SIZE; ++axis) {
        ImageTraits traits = good;
        traits.extents[axis] = 0;
        add("an image with nothing on axis " + std::to_string(axis), traits, {"must not be an empty image"});
        traits.extents[axis] = good.extents[axis] + 3;
        add("an image with more on axis " + std::to_string(axis), traits, {});
    }
    for (const VoxelTypes type : allTypes) {
        const bool complex = type == RIX_COMPLEX_FLOAT32 || type == RIX_COMPLEX_FLOAT64;
        const bool real = type == RIX_FLOAT32 || type == RIX_FLOAT64;
        std::vector<String> ruledOutBy;
        if (complex) {
            ruledOutBy = {"data type must be integer", "data type must be integer or floating"};
        } else if (real) {
            ruledOutBy = {"data type must be integer"};
        }
        for (const Interpretations interpretation : {RIX_BINARY, RIX_LABEL, RIX_VALUE}) {
            ImageTraits traits = good;
            traits.voxelType = type;
            traits.interpretation = interpretation;
            add(helper::interpretationsToString(interpretation) + " image of " + helper::voxelTypesToString(type),
                traits, ruledOutBy);
        }
    }
    for (const ElementTypes type : {VECTOR_2, VECTOR_3, MATRIX_2X2_SYM, MATRIX_3X3_SYM}) {
        ImageTraits traits = good;
        traits.elementType = type;
        add("an image of elements " + helper::elementTypesToString(type), traits, {"must have scalar elements"});
    }
    return images;
}

/// A user's image whose types are none of the library's.
class OfUnknownType : public OpaqueImage {
public:
    OfUnknownType(ImageModel* real, int voxelType, int elementType)
        : OpaqueImage(real),
          m_voxelType(static_cast<VoxelTypes>(voxelType)),
          m_elementType(static_cast<ElementTypes>(elementType)) {}
    VoxelTypes getVoxelType() const override { return m_voxelType; }
    ElementTypes getElementType() const override { return m_elementType; }

private:
    VoxelTypes m_voxelType;
    ElementTypes m_elementType;
};

TEST_P(BadProperties, InputImages) {
    std::size_t slot = 0;
    for (BaseProperty* const property : inputsOf(algorithm())) {
        if (!holdsImage(property)) {
            continue;
        }
        {
            SCOPED_TRACE(example().toText() + ": " + property->getName() + " is unset");
            setImage(property, nullptr);
            runAndRecover(property, saysExactRule(property, "must be set"));
        }
        const ImageTraits good =
            example().images.at(slot++).value_or(ImageTraits{.voxelType = RIX_UINT8, .extents = example().extents()});
        for (WrongImage& wrong : wrongImages(good)) {
            SCOPED_TRACE(example().toText() + ": " + property->getName() + " is " + wrong.text);
            setImage(property, &wrong.image);
            bool ruledOut = false;
            for (const String& words : wrong.ruledOutBy) {
                ruledOut = ruledOut || saysExactRule(property, words);
            }
            const io::MemoryImage before(wrong.image);
            runAndRecover(property, ruledOut);
            EXPECT_TRUE(imagesEqual(before, wrong.image)) << "an input was changed";
        }
        io::MemoryImage real = makeRandomImage(good, 11);
        for (const auto& [voxelType, elementType] :
             {std::pair{3, 0}, {7, 0}, {12, 0}, {-1, 0}, {1 << 30, 0}, {0, 1}, {0, -1}, {0, 1000}}) {
            SCOPED_TRACE(example().toText() + ": " + property->getName() + " has the types " +
                         std::to_string(voxelType) + " and " + std::to_string(elementType));
            OfUnknownType image(&real, voxelType, elementType);
            setImage(property, &image);
            runAndRecover(property, true);
        }
    }
}

TEST_P(BadProperties, UnsetOutputs) {
    for (BaseProperty* const property : outputsOf(algorithm())) {
        if (!holdsImage(property)) {
            continue;
        }
        SCOPED_TRACE(example().toText() + ": " + property->getName() + " is unset");
        setImage(property, nullptr);
        Deadline deadline;
        const Outcome outcome = runOnce(algorithm(), &deadline);
        EXPECT_TRUE(isReady(algorithm()));
        const bool mustRefuse = saysExactRule(property, "must be set");
        EXPECT_FALSE(outcome.succeeded && mustRefuse);
        if (!outcome.succeeded) {
            EXPECT_EQ(outcome.exceptionClass, "RuleException") << outcome.text();
            EXPECT_TRUE(outcome.names(property->getName())) << outcome.text();
        }
        subject().restore();
        EXPECT_TRUE(runOnce(algorithm()).succeeded);
    }
}

RIX_FOR_EVERY_ALGORITHM(BadProperties);

}  // namespace
}  // namespace rix::test
