// Inputs that are declared to have an effect with some values of a choice alone have none with the others, and a run
// that sets them nevertheless says so.

#include <algorithm>

#include <rix/properties/PropertySingleChoice.h>

#include "GenericTest.h"
#include "Properties.h"

namespace rix::test {
namespace {

class IdleInputs : public GenericTest {
protected:
    /// The example with other values of an input that is idle in it, as far as they are accepted.
    static std::vector<Example> withOtherValues(const Example& idle, const String& name) {
        const auto fresh = idle.info->createInstance(nullptr);
        BaseProperty* const property = fresh->getPropertyfromName(name);
        const auto usual = exactText(property);
        const bool isChoice = enumerationOf(property) != nullptr;
        std::vector<Example> others;
        for (const double number : {0.125, 1.0, 5.0}) {
            const Example other = idle.withNumber(name, number);
            const bool fits = isChoice ? number == 1.0 : setNumber(property, number) && exactText(property) != usual;
            if (fits && isAccepted(other)) {
                others.push_back(other);
            }
        }
        return others;
    }

    static bool isTold(const Example& example, const String& name) {
        Subject subject(example);
        const auto notes = example.info->notesOn(subject.algorithm());
        return std::any_of(notes.begin(), notes.end(), [&](const String& note) {
            return note.find(name) != String::npos && note.find("no effect with ") != String::npos;
        });
    }
};

TEST_P(IdleInputs, HaveNoEffectAndAreTold) {
    const std::unique_ptr<BaseAlgorithm> algorithm = example().info->createInstance(nullptr);
    for (BaseProperty* const property : inputsOf(*algorithm)) {
        const Relevance& relevance = property->getImpl()->m_relevance;
        if (relevance.choice == nullptr || (!holdsNumber(property) && enumerationOf(property) == nullptr)) {
            continue;
        }
        std::size_t compared = 0;
        for (const int value : valuesOf(*relevance.choice->getEnumInfo())) {
            const Example idle = example().withNumber(relevance.choice->getName(), value);
            if (std::find(relevance.values.begin(), relevance.values.end(), value) != relevance.values.end() ||
                !isAccepted(idle)) {
                continue;
            }
            const Results expected = referenceResults(idle);
            for (const Example& other : withOtherValues(idle, property->getName())) {
                SCOPED_TRACE(other.toText());
                EXPECT_TRUE(resultsEqual(expected, referenceResults(other)));
                EXPECT_TRUE(isTold(other, property->getName()));
                ++compared;
            }
        }
        EXPECT_GT(compared, 0) << property->getName() << " is never idle";
    }
}

RIX_FOR_EVERY_ALGORITHM(IdleInputs);

}  // namespace
}  // namespace rix::test
