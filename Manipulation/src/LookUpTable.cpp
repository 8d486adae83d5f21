#include <rix/manipulation/LookUpTable.h>

#include <cmath>

#include <rix/algorithms/Definition.h>
#include <rix/rules/VectorRules.h>

#include "PointFunction.h"

namespace rix::manipulation {

namespace {

constexpr double nanosecondsPerVoxel = 3.0;

void declare(LookUpTable& algorithm, algorithms::Properties& properties) {
    properties.input(algorithm.inputImage, "The image whose grey values are replaced.", AddRulesForRealImage());
    algorithm.table = container::Vector<double>{0.0, 255.0};
    properties.input(algorithm.table, "What the values 0, 1, 2 ... become; the ends serve all values beyond.",
                     AddRuleAssertContainerNoEmpty(), AddRuleAssertFinite());
    properties.output(algorithm.outputImage, "The entries of the table.", AddRuleAssertNotNull(),
                      AddRuleInPlaceOrDisjoint(algorithm.inputImage),
                      AddRuleEnforceLike(algorithm.inputImage, {.interpretation = RIX_VALUE}));
}

/// The entry at a place, which lies between two where it is no integer.
double entryAt(const container::Vector<double>& table, double place) {
    const auto last = static_cast<double>(table.size() - 1);
    if (!(place > 0.0)) {
        return place == place ? table.front() : place;
    }
    if (place >= last) {
        return table.back();
    }
    const double whole = std::floor(place);
    const auto index = static_cast<std::size_t>(whole);
    const double share = place - whole;
    return share == 0.0 ? table[index] : table[index] * (1.0 - share) + table[index + 1] * share;
}

// Reading a table has no vector form here: every level runs the same code.
void process(LookUpTable& algorithm, OptimLevelType level) {
    const container::Vector<double>& table = algorithm.getTable();
    const auto rows = [&]<class T>(const T* in, T* out, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            out[i] = static_cast<T>(entryAt(table, static_cast<double>(in[i])));
        }
    };
    applyFunction(algorithm, *algorithm.getInputImage(), algorithms::wasBinary(algorithm), *algorithm.getOutputImage(),
                  level, nanosecondsPerVoxel, rows);
}

constexpr algorithms::Definition<LookUpTable> definition{
    .summary = "Replaces grey values by the entries of a table.",
    .kind = AlgorithmKind::Point,
    .declare = &declare,
    .process = &process,
    .prepare = &algorithms::rememberMeaning<LookUpTable>,
    .memory = &pointMemory<LookUpTable>,
};

}  // namespace

RIX_DEFINE_ALGORITHM_WITH(LookUpTable, algorithms::InputMeaning, definition)

}  // namespace rix::manipulation
