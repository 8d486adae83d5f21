#include <rix/morphology/HitOrMiss2d.h>

#include <algorithm>
#include <bit>
#include <vector>

#include <rix/access/Looks.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/Steps.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/InputMeaning.h>
#include <rix/rules/RuleSupport.h>

#include "bits/BitImage.h"
#include "elements/Element.h"

namespace rix::morphology {

namespace {

constexpr double nanosecondsPerPass = 0.02;

class RulePlane : public Rules<Property<const ImageModel*>> {
public:
    void apply(Property<const ImageModel*>& property) override {
        for (const Components axis : {PLANS, SEQUENCE, SPECTRAL_SERIES}) {
            if (property.get()->getNumOf(axis) != 1) {
                rules::refuse(rules::parameterText(property) + " must be a plane.");
            }
        }
    }
    String describe() const override { return "must be a plane"; }
};

/// On the second element: what asks for nothing is found everywhere.
class RuleAsksForSomething : public Rules<Property<const ImageModel*>> {
public:
    explicit RuleAsksForSomething(const HitOrMiss2d& filter) : m_filter(filter) {}
    void apply(Property<const ImageModel*>& property) override {
        if (!Element::isIn(*m_filter.getInputForegroundElementImage()) && !Element::isIn(*property.get())) {
            rules::refuse(rules::parameterText(property) + " must have a voxel that is not 0 where " +
                          rules::parameterText(m_filter.inputForegroundElementImage) + " has none.");
        }
    }
    String describe() const override { return "one of both elements must have a voxel that is not 0"; }

private:
    const HitOrMiss2d& m_filter;
};

void declare(HitOrMiss2d& filter, algorithms::Properties& properties) {
    properties.input(filter.inputObjectImage, "The objects: what is not 0.", AddRulesForRealImage());
    properties.input(filter.inputForegroundElementImage, "Where objects have to be: what is not 0.",
                     AddRulesForRealImage());
    filter.inputForegroundElementImage.getImpl()->addRule(std::make_shared<RulePlane>());
    properties.input(filter.inputBackgroundElementImage, "Where background has to be: what is not 0.",
                     AddRulesForRealImage());
    filter.inputBackgroundElementImage.getImpl()->addRule(std::make_shared<RulePlane>());
    filter.inputBackgroundElementImage.getImpl()->addRule(std::make_shared<RuleAsksForSomething>(filter));
    properties.output(
        filter.outputBinaryImage, "Where the pattern is found.", AddRuleAssertNotNull(),
        AddRuleDisjointFrom(filter.inputForegroundElementImage),
        AddRuleDisjointFrom(filter.inputBackgroundElementImage),
        AddRuleEnforceLike(filter.inputObjectImage, {.voxelType = RIX_UINT8, .interpretation = RIX_BINARY}));
}

std::size_t passesOf(const std::vector<Chord>& chords) {
    std::size_t passes = 0;
    for (const Chord& chord : chords) {
        passes += static_cast<std::size_t>(std::bit_width(static_cast<std::size_t>(chord.length)));
    }
    return passes;
}

/// Whether an element can lie in a plane, wherever its origin is.
bool fitsPlane(const std::vector<Chord>& chords, const Extents& n) {
    return std::all_of(chords.begin(), chords.end(), [&](const Chord& chord) {
        const auto [x, y, z] = chord.first;
        const auto columns = static_cast<std::int64_t>(n[COLUMNS]);
        return x > -columns && x + chord.length - 1 < columns && std::abs(y) < static_cast<std::int64_t>(n[ROWS]);
    });
}

/// A word of a row moved by some columns, where zeros lie beyond the row.
class MovedRow {
public:
    MovedRow(const std::uint64_t* row, std::size_t words, std::int64_t columns)
        : m_row(row),
          m_words(static_cast<std::int64_t>(words)),
          m_whole(columns >= 0 ? columns / bits : -((-columns + bits - 1) / bits)),
          m_part(static_cast<unsigned>(columns - m_whole * bits)) {}

    std::uint64_t operator()(std::size_t word) const {
        const std::int64_t from = static_cast<std::int64_t>(word) + m_whole;
        return m_part == 0 ? at(from) : at(from) >> m_part | at(from + 1) << (bits - m_part);
    }

private:
    static constexpr std::int64_t bits = BitImage::bitsPerWord;
    std::uint64_t at(std::int64_t word) const { return word >= 0 && word < m_words ? m_row[word] : 0; }

    const std::uint64_t* m_row;
    std::int64_t m_words;
    std::int64_t m_whole;
    unsigned m_part;
};

/// Leaves of a row the voxels from which all voxels of an element are in a set.
/// @param work as many words as a row
/// @return whether there are any
bool leaveWhereAll(const BitImage& set, const std::vector<Chord>& element, std::size_t row, std::uint64_t* found,
                   std::uint64_t* work) {
    const auto rows = static_cast<std::int64_t>(set.extents()[ROWS]);
    const auto y = static_cast<std::int64_t>(row) % rows;
    const std::size_t words = set.words();
    access::Looks looks;
    for (const Chord& chord : element) {
        const std::int64_t other = y + chord.first[1];
        if (other < 0 || other >= rows) {
            std::fill_n(found, words, std::uint64_t{0});
            return false;
        }
        const std::uint64_t* seen = set.row(row - static_cast<std::size_t>(y) + static_cast<std::size_t>(other));
        // Twice as many voxels each time, as long as they are not more than those of the chord.
        std::int64_t reach = 1;
        for (; 2 * reach <= chord.length; reach *= 2) {
            const MovedRow further(seen, words, reach);
            for (std::size_t i = 0; i < words; ++i) {
                work[i] = seen[i] & further(i);
            }
            seen = work;
            looks.add(words / 64 + 1);
        }
        const MovedRow first(seen, words, chord.first[0]);
        const MovedRow last(seen, words, chord.first[0] + chord.length - reach);
        std::uint64_t any = 0;
        for (std::size_t i = 0; i < words; ++i) {
            found[i] &= first(i) & last(i);
            any |= found[i];
        }
        looks.add(words / 64 + 1);
        if (any == 0) {
            return false;
        }
    }
    return true;
}

/// What of a row is not of objects.
void complement(const BitImage& objects, std::size_t row, std::uint64_t* background) {
    const std::size_t columns = objects.extents()[COLUMNS];
    for (std::size_t word = 0; word < objects.words(); ++word) {
        const std::size_t first = word * BitImage::bitsPerWord;
        const std::size_t inside = columns > first ? std::min(columns - first, BitImage::bitsPerWord) : 0;
        const std::uint64_t mask = inside == 0 ? 0 : ~std::uint64_t{0} >> (BitImage::bitsPerWord - inside);
        background[word] = ~objects.row(row)[word] & mask;
    }
}

template <class Use>
void forEachLine(access::ExecutionContext& context, const Extents& extents, double nanosecondsPerVoxel,
                 const Use& use) {
    const access::Plan plan =
        access::cutBands(extents, {.joined = access::JoinedAxes::Lines, .nanosecondsPerVoxel = nanosecondsPerVoxel});
    access::run(context, plan, [&](const access::Block& block, access::BlockProgress& progress) {
        for (std::size_t row = block.rows().begin; row < block.rows().end; ++row) {
            use(row);
            progress.add(extents[COLUMNS]);
        }
    });
}

void process(HitOrMiss2d& filter, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    ImageModel& output = *filter.getOutputBinaryImage();
    algorithms::readAsItWas(filter, [&](const ImageModel& input) {
        const Extents n = helper::getExtents(input);
        const std::vector<Chord> foreground = Element::ofImage(*filter.getInputForegroundElementImage()).chords();
        const std::vector<Chord> background = Element::ofImage(*filter.getInputBackgroundElementImage()).chords();
        const bool isPossible = fitsPlane(foreground, n) && fitsPlane(background, n);
        const access::Steps steps(context, {0.2, 0.1, 0.6, 0.1});
        const BitImage objects(n);
        objects.pack(context, input, level);
        const BitImage others(n);
        forEachLine(context, n, 0.1, [&](std::size_t row) { complement(objects, row, others.row(row)); });
        const BitImage found(n);
        const double cost = static_cast<double>(passesOf(foreground) + passesOf(background)) * nanosecondsPerPass;
        forEachLine(context, n, cost, [&](std::size_t row) {
            std::fill_n(found.row(row), found.words(), isPossible ? ~std::uint64_t{0} : 0);
            if (isPossible) {
                const access::Scratch work(found.words() * sizeof(std::uint64_t));
                auto* const words = work.as<std::uint64_t>();
                if (leaveWhereAll(objects, foreground, row, found.row(row), words)) {
                    leaveWhereAll(others, background, row, found.row(row), words);
                }
            }
        });
        found.unpack(context, output, level);
    });
}

constexpr algorithms::Definition<HitOrMiss2d> definition{
    .summary = "Finds where the objects and the background of each plane have the form of two elements.",
    .kind = AlgorithmKind::Neighbourhood,
    .declare = &declare,
    .process = &process,
    .prepare = &algorithms::rememberMeaning<HitOrMiss2d>,
    .influence =
        [](const HitOrMiss2d& filter) {
            const auto along = [&](Components axis) {
                const std::size_t extent = std::max(filter.getInputForegroundElementImage()->getNumOf(axis),
                                                    filter.getInputBackgroundElementImage()->getNumOf(axis));
                return access::Reach::Axis{extent / 2, extent / 2};
            };
            return access::Reach{along(COLUMNS), along(ROWS), {}};
        },
    .memory =
        [](const HitOrMiss2d& filter) {
            const ImageModel& input = *filter.getInputObjectImage();
            const Extents n = helper::getExtents(input);
            const std::size_t threads = filter.getMaximumThreads();
            const std::size_t work = threads * access::Scratch::held(n[COLUMNS] / 8 + BitImage::columnsPerChunk / 8);
            return BitImage::bytes(n) + std::max(2 * BitImage::bytes(n) + work, BitImage::rowBytes(input, threads));
        },
};

}  // namespace

RIX_DEFINE_ALGORITHM_WITH(HitOrMiss2d, algorithms::InputMeaning, definition)

}  // namespace rix::morphology
