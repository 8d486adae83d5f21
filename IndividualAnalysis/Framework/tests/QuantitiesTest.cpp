// Measures that a program adds, with quantities of its own; and that nothing is gathered that no measure needs.

#include <rix/individual_analysis/MeasureDefinition.h>

#include "ReferenceObjects.h"
#include "formula/MeasureRequest.h"
#include "gathering/GatheringNeeds.h"

namespace rix::individual_analysis {
namespace {

using namespace test_tools;
using testing::ElementsAre;
using testing::HasSubstr;

struct CoveredSums {
    double sum = 0.0;
    std::uint64_t pixels = 0;
};

/// Sums the grey values of the pixels that have one of the same object above them, in this plane or in the one before:
/// it asks for everything that a quantity can ask for.
class CoveredQuantity : public ValuesOfObjects<CoveredSums> {
public:
    static const QuantityInfo info;

    explicit CoveredQuantity(QuantityTable& table)
        : ValuesOfObjects(table.image().channels), m_shape(table.use<ShapeQuantity>()) {}

    void add(const RunLine& line) override {
        for (const Run& run : line.runs()) {
            CoveredSums& sums = of(run.slot, line.channel());
            sums.pixels += run.end - run.begin;
            EXPECT_GE(m_shape.of(run.slot).count, sums.pixels) << "what is used is ahead";
            for (const auto above : {line.neighbour(-1, 0), line.neighbour(0, -1)}) {
                for (const Run& other : above) {
                    for (std::uint32_t x = std::max(run.begin, other.begin);
                         other.label == run.label && x < std::min(run.end, other.end); ++x) {
                        sums.sum += line.values()[x];
                    }
                }
            }
        }
    }
    void join(const Quantity& band, std::span<const JoinedObject> objects) override {
        const auto& other = static_cast<const CoveredQuantity&>(band);
        for (const JoinedObject& object : objects) {
            for (std::size_t channel = 0; channel < channels(); ++channel) {
                CoveredSums& sums = of(object.to, channel);
                EXPECT_EQ(m_shape.of(object.to).count, sums.pixels) << "what is used is behind";
                sums.sum += other.of(object.from, channel).sum;
                sums.pixels += other.of(object.from, channel).pixels;
            }
        }
    }

private:
    const ShapeQuantity& m_shape;
};
const QuantityInfo CoveredQuantity::info{.name = "Covered",
                                         .create = &makeQuantity<CoveredQuantity>,
                                         .needsIntensity = true,
                                         .needsNeighbours = true,
                                         .bytesOfObjectAndChannel = sizeof(CoveredSums)};

void computeCovered(const ObjectView& object, std::span<double> values) {
    values[0] = object.gathered<CoveredQuantity>().sum;
    values[1] = values[0] / object.dependency(0);
}

const MeasureDefinition covered{.name = "Covered",
                                .description = "Grey values below pixels of the same object.",
                                .quantities = {&CoveredQuantity::info},
                                .needsIntensity = true,
                                .values = {{"Sum", "", {.intensity = 1}}, {"Part", "", {}}},
                                .neededForFinalization = {"Sum"},
                                .compute = &computeCovered};

TEST(Quantities, OfAProgramAreGatheredLikeThoseOfTheLibrary) {
    registerMeasure(covered);
    for (const test::Extents& extents : {test::Extents{301, test::sanitized ? 403U : 2003U, 1, 1, 2},
                                         test::Extents{61, 83, test::sanitized ? 30U : 120U, 2, 1}}) {
        test::Extents ofLabels = extents;
        ofLabels[SPECTRAL_SERIES] = 1;
        const io::MemoryImage labels = test::makeImage(
            {.voxelType = RIX_UINT16, .extents = ofLabels},
            [](std::size_t x, std::size_t y, std::size_t z, auto...) { return (x / 7 * 3 + y / 40 + z / 50) % 4; });
        const io::MemoryImage grey =
            test::makeImage({.voxelType = RIX_UINT8, .extents = extents},
                            [](std::size_t x, std::size_t y, std::size_t z, std::size_t t, std::size_t s) {
                                return (x + 3 * y + 5 * z + t + 7 * s) % 200 + 1;
                            });
        std::map<Key, std::vector<double>> expected;
        for (const auto& [key, pixels] : collectObjects(labels, &grey)) {
            std::set<std::array<std::int64_t, 3>> all;
            for (const Pixel& pixel : pixels) {
                all.insert(pixel.at);
            }
            std::vector<double>& sums = expected[key];
            sums.resize(extents[SPECTRAL_SERIES]);
            for (const Pixel& pixel : pixels) {
                const double above = (all.contains({pixel.at[0], pixel.at[1] - 1, pixel.at[2]}) ? 1 : 0) +
                                     (all.contains({pixel.at[0], pixel.at[1], pixel.at[2] - 1}) ? 1 : 0);
                for (std::size_t channel = 0; channel < sums.size(); ++channel) {
                    sums[channel] += above * pixel.values[channel];
                }
            }
        }
        for (const int threads : {1, 3}) {
            const auto table = analyse(labels, "Covered, 2 * CoveredPart", &grey, {threads});
            for (std::size_t channel = 0; channel < extents[SPECTRAL_SERIES]; ++channel) {
                const std::string suffix =
                    extents[SPECTRAL_SERIES] > 1 ? '[' + std::to_string(channel) + ']' : std::string();
                std::vector<double> sums;
                for (const auto& [key, values] : expected) {
                    sums.push_back(values[channel]);
                }
                EXPECT_EQ(column(*table, "CoveredSum" + suffix), sums);
                EXPECT_EQ(column(*table, "2*CoveredPart" + suffix).size(), sums.size());
            }
        }
    }
    unregisterMeasure("Covered");
    EXPECT_THROW(unregisterMeasure("Covered"), InvalidCall);
    const io::MemoryImage one = test::makeImage({.extents = {3, 1, 1, 1, 1}}, [](auto...) { return 1; });
    EXPECT_THROW(analyse(one, "CoveredSum", &one), RuleException);
}

TEST(Quantities, AreGatheredWhenAMeasureNeedsThem) {
    const io::MemoryImage image = test::makeImage({.extents = {9, 9, 1, 1, 1}}, [](auto...) { return 1; });
    const auto gathered = [&](const char* request) {
        const auto group = readMeasureRequest(request, DimensionalMode::Mode2d, IntensityUse::Present);
        std::vector<std::string> names;
        for (const QuantityInfo* const info : GatheringNeeds(image, &image, *group).quantities) {
            names.emplace_back(info->name);
        }
        return names;
    };
    EXPECT_THAT(gathered("Area, Barycenter, BoundingBox"), ElementsAre("Shape"));
    EXPECT_THAT(gathered("Mean"), ElementsAre("Shape", "GreyRuns", "GreySum"));
    EXPECT_THAT(gathered("Maximum - Minimum"), ElementsAre("Shape", "GreyRuns", "GreyExtrema"));
    EXPECT_THAT(gathered("StandardDeviation"), ElementsAre("Shape", "GreyRuns", "GreySum", "GreySquares"));
    EXPECT_THAT(gathered("Solidity"), ElementsAre("Shape", "Outline"));
    EXPECT_THAT(gathered("Perimeter"), ElementsAre("Shape", "Contacts"));
    EXPECT_THAT(gathered("Median"), ElementsAre("Shape"));
}

TEST(Quantities, OfMeasuresThatCannotWorkAreRefused) {
    const auto failure = [](const std::function<void(MeasureDefinition&)>& spoil) {
        MeasureDefinition definition = covered;
        spoil(definition);
        return test::messageOf<InvalidCall>([&] { registerMeasure(definition); });
    };
    EXPECT_THAT(failure([](auto& d) { d.name = "Area"; }), HasSubstr("something else"));
    EXPECT_THAT(failure([](auto& d) { d.name = "Fer", d.values = {{"etMinimum", "", {}}}; }),
                HasSubstr("something else"));
    EXPECT_THAT(failure([](auto& d) { d.name = "two words"; }), HasSubstr("letters and digits"));
    EXPECT_THAT(failure([](auto& d) { d.compute = nullptr; }), HasSubstr("no function"));
    EXPECT_THAT(failure([](auto& d) { d.needsIntensity = false; }), HasSubstr("\"Sum\", a measure of grey values"));
    EXPECT_THAT(failure([](auto& d) { d.needsIntensity = false, d.neededForFinalization = {"PixelCount"}; }),
                HasSubstr("gathers \"Covered\" of grey values"));
    EXPECT_THAT(failure([](auto& d) { d.neededForFinalization = {"Nothing"}; }), HasSubstr("does not exist"));
    EXPECT_THAT(failure([](auto& d) { d.neededForFinalization = {"Area"}; }), HasSubstr("for all images"));
}

}  // namespace
}  // namespace rix::individual_analysis
