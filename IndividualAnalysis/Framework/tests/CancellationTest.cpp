// A request to cancel is looked for all along: work on tables and corners, which no image knows of, too.

#include <variant>

#include <rix/access/Looks.h>
#include <rix/access/PlainContext.h>

#include "LabelAnalysisRun.h"
#include "ReferenceObjects.h"
#include "formula/MeasureRequest.h"
#include "gathering/ObjectTable.h"
#include "geometry/HullMeasures.h"

namespace rix::individual_analysis {
namespace {

using namespace test_tools;
using access::Looks;
using test::makeImage;

/// Counts the looks at the request, which comes with one of them.
class CountingContext : public access::PlainContext {
public:
    explicit CountingContext(std::size_t cancelAt = static_cast<std::size_t>(-1))
        : PlainContext(access::serialScheduler()), m_cancelAt(cancelAt) {}
    bool isCancelled() const override {
        ++m_looks;
        m_looksWithRows += rows != nullptr && rows->label.size() > 0 ? 1U : 0U;
        return m_looks >= m_cancelAt;
    }
    std::size_t looks() const { return m_looks; }
    std::size_t looksWithRows() const { return m_looksWithRows; }

    const LabelAnalysisMsr* rows = nullptr;  ///< looks while it has some are counted, too

private:
    std::size_t m_cancelAt;
    mutable std::size_t m_looks = 0;
    mutable std::size_t m_looksWithRows = 0;
};

template <class F>
std::size_t looksOf(const F& work) {
    const CountingContext context;
    const access::RunOfThread run(context);
    work();
    return context.looks();
}

void expectColumnsOfOneLength(const LabelAnalysisMsr& result) {
    const std::size_t rows = result.label.size();
    EXPECT_EQ(result.frame.size(), rows);
    for (const LabelAnalysisMsr::Column& column : result.values) {
        std::visit([&](const auto& values) { EXPECT_EQ(values.size(), rows) << values.getName(); }, column);
    }
}

constexpr const char* measures = "Basic, Shape, Convexity, Intensity, Median";

TEST(LabelAnalysisCancellation, EndsAtEveryLookWithAWholeTable) {
    for (const std::uint32_t sparseness : {1U, 1000U}) {
        const io::MemoryImage labels =
            makeImage({.voxelType = RIX_UINT32, .extents = {300, 200, 1, 2, 1}},
                      [&](std::size_t x, std::size_t y, auto...) { return sparseness * (1 + x / 2 + 150 * (y / 2)); });
        const auto request = readMeasureRequest(measures, DimensionalMode::Mode2d, IntensityUse::Present);
        const auto run = [&](CountingContext& context, LabelAnalysisMsr& result) {
            const access::RunOfThread thread(context);
            analyseLabels(context, SCALAR, labels, &labels, request, result);
        };
        LabelAnalysisMsr result;
        CountingContext whole;
        run(whole, result);
        ASSERT_EQ(result.label.size(), 2U * 150 * 100);
        for (std::size_t look = 1; look <= whole.looks(); look += 1 + whole.looks() / (test::sanitized ? 17 : 97)) {
            SCOPED_TRACE("look " + std::to_string(look) + " of " + std::to_string(whole.looks()));
            CountingContext context(look);
            EXPECT_THROW(run(context, result), ExceptionCancelation);
            EXPECT_EQ(context.looks(), look) << "the work went on";
            expectColumnsOfOneLength(result);
        }
    }
}

TEST(LabelAnalysisCancellation, IsLookedForWhileTheTableIsFilled) {
    const io::MemoryImage labels = makeImage({.voxelType = RIX_UINT32, .extents = {400, 300, 1, 1, 1}},
                                             [&](std::size_t x, std::size_t y, auto...) { return 1 + x + 400 * y; });
    LabelAnalysisMsr result;
    CountingContext context;
    context.rows = &result;
    const access::RunOfThread run(context);
    analyseLabels(context, SCALAR, labels, nullptr,
                  readMeasureRequest("Basic", DimensionalMode::Mode2d, IntensityUse::Absent), result);
    EXPECT_GE(context.looksWithRows(), result.label.size() * result.values.size() / Looks::stepsBetweenLooks);
}

TEST(LabelAnalysisCancellation, IsLookedForWhileLabelsAreNumbered) {
    constexpr std::uint32_t count = 1U << 20;
    for (const std::uint32_t sparseness : {1U, 4000U}) {
        std::vector<BandTable> bands;
        bands.emplace_back(QuantityTable({}));
        for (std::uint32_t i = 0; i < count; ++i) {
            bands.back().slotOf(sparseness * (1 + (i * 40503U) % count));
        }
        bands.back().finish();
        CountingContext context;
        const access::RunOfThread run(context);
        const ObjectTable table(bands, QuantityTable({}), context);
        EXPECT_TRUE(std::is_sorted(table.labels().begin(), table.labels().end()));
        EXPECT_EQ(table.size(), count);
        for (std::uint32_t i = 0; i < count; i += 999) {
            ASSERT_EQ(table.indexOf(table.labels()[i]), i);
        }
        EXPECT_GE(context.looks(), (sparseness == 1 ? 1 : 10) * count / Looks::stepsBetweenLooks);
    }
}

TEST(LabelAnalysisCancellation, IsLookedForInOneHugeObject) {
    constexpr std::uint32_t radius = 1U << 19;
    std::vector<OutlineRow> flat;
    for (std::uint32_t row = 0; row <= 2 * radius; ++row) {
        flat.push_back({0, row, 0, 2 * radius - row, 2 * radius + row + 1});
    }
    EXPECT_GE(looksOf([&] { measureHullInPlane(flat, {1.0, 1.0}); }), 2 * flat.size() / Looks::stepsBetweenLooks);

    std::vector<OutlineRow> ball;
    constexpr int size = 60;
    for (int plane = -size; plane <= size; ++plane) {
        for (int row = -size; row <= size; ++row) {
            const double half = std::sqrt(std::max(0, size * size - plane * plane - row * row));
            const auto reach = static_cast<std::uint32_t>(half);
            ball.push_back({0, static_cast<std::uint32_t>(row + size), static_cast<std::uint32_t>(plane + size),
                            size - reach, size + reach + 1});
        }
    }
    EXPECT_GE(looksOf([&] { measureHullInSpace(ball, {1.0, 1.0, 1.0}); }), 10U);

    for (const VoxelTypes type : {RIX_UINT8, RIX_UINT16, RIX_FLOAT64}) {
        const test::Extents extents{1024, 1024, 1, 1, 1};
        const io::MemoryImage labels = makeImage({.extents = extents}, [](auto...) { return 1; });
        const io::MemoryImage grey = test::makeRandomImage({.voxelType = type, .extents = extents}, 3);
        const auto looks = [&](const char* measure) {
            CountingContext counted;
            const access::RunOfThread run(counted);
            LabelAnalysisMsr result;
            analyseLabels(counted, SCALAR, labels, &grey,
                          readMeasureRequest(measure, DimensionalMode::Mode2d, IntensityUse::Present), result);
            return counted.looks();
        };
        EXPECT_GE(looks("Median"), looks("PixelCount") + 1024 * 1024 / Looks::stepsBetweenLooks);
    }
}

}  // namespace
}  // namespace rix::individual_analysis
