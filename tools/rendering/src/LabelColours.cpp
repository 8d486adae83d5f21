#include <rix/rendering/LabelColours.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>

namespace rix::rendering {
namespace {

constexpr std::size_t numOfColours = 256;
using Palette = std::array<Colour, numOfColours>;

/// Colours that are seen on black and on white: bright, and no greys.
std::vector<Colour> candidateColours() {
    constexpr int step = 15;
    constexpr int brightest = 150;  // of the channels, at least
    constexpr int spread = 60;      // between the channels, at least
    std::vector<Colour> colours;
    for (int red = 0; red <= 255; red += step) {
        for (int green = 0; green <= 255; green += step) {
            for (int blue = 0; blue <= 255; blue += step) {
                const auto [low, high] = std::minmax({red, green, blue});
                if (high >= brightest && high - low >= spread) {
                    colours.push_back({static_cast<std::uint8_t>(red), static_cast<std::uint8_t>(green),
                                       static_cast<std::uint8_t>(blue)});
                }
            }
        }
    }
    return colours;
}

/// Each colour is the candidate that is farthest from all before it.
Palette makePalette() {
    const std::vector<Colour> candidates = candidateColours();
    std::vector<int> distances(candidates.size(), std::numeric_limits<int>::max());
    Palette palette{};
    palette[0] = {240, 60, 45};
    for (std::size_t i = 1; i < palette.size(); ++i) {
        for (std::size_t k = 0; k < candidates.size(); ++k) {
            distances[k] = std::min(distances[k], colourDistance(candidates[k], palette[i - 1]));
        }
        palette[i] = candidates[static_cast<std::size_t>(
            std::distance(distances.begin(), std::max_element(distances.begin(), distances.end())))];
    }
    return palette;
}

const Palette& palette() {
    static const Palette colours = makePalette();
    return colours;
}

std::size_t ownPlace(std::uint32_t label) {
    return (label - 1) % numOfColours;
}

using Pair = std::pair<std::uint32_t, std::uint32_t>;

void sortUnique(std::vector<Pair>& pairs) {
    std::sort(pairs.begin(), pairs.end());
    pairs.erase(std::unique(pairs.begin(), pairs.end()), pairs.end());
}

/// Every two labels that are neighbours, in both orders, sorted.
std::vector<Pair> neighboursIn(const LabelSlice& slice) {
    constexpr std::size_t reach = 64;
    constexpr std::size_t manyPairs = std::size_t{1} << 22;  // of a noisy image, most of them found again and again
    std::vector<Pair> pairs;
    const auto add = [&](std::uint32_t a, std::uint32_t b) {
        if (a != 0 && b != 0 && a != b) {
            pairs.emplace_back(a, b);
            pairs.emplace_back(b, a);
        }
    };
    struct Seen {
        std::uint32_t label = 0;
        std::size_t at = 0;
    };
    const auto meet = [&](Seen& seen, std::uint32_t label, std::size_t at) {
        if (label != 0) {
            add(at - seen.at <= reach ? seen.label : 0, label);
            seen = {label, at};
        }
    };
    std::vector<Seen> above(slice.width);
    std::size_t kept = 0;
    for (std::size_t y = 0; y < slice.height; ++y) {
        Seen left;
        for (std::size_t x = 0; x < slice.width; ++x) {
            meet(left, slice.at(x, y), x);
            meet(above[x], slice.at(x, y), y);
            if (x > 0 && y > 0) {
                add(slice.at(x - 1, y - 1), slice.at(x, y));
                add(slice.at(x, y - 1), slice.at(x - 1, y));
            }
        }
        if (pairs.size() > kept + manyPairs) {
            sortUnique(pairs);
            kept = pairs.size();
        }
    }
    sortUnique(pairs);
    return pairs;
}

/// Every label of the slice but the background, ascending.
std::vector<std::uint32_t> labelsIn(const LabelSlice& slice) {
    std::vector<std::uint32_t> labels;
    std::uint32_t last = 0;
    for (const std::uint32_t label : slice.labels) {
        if (label != 0 && label != last) {
            labels.push_back(label);
        }
        last = label;
    }
    std::sort(labels.begin(), labels.end());
    labels.erase(std::unique(labels.begin(), labels.end()), labels.end());
    return labels;
}

/// The first place from the label's own on that is free and far from the colours of all neighbours, or the free one
/// that comes nearest to that.
std::size_t choosePlace(std::uint32_t label, const std::vector<std::size_t>& neighbours,
                        const std::array<bool, numOfColours>& taken) {
    constexpr int farApart = 120;
    std::optional<std::size_t> best;
    int bestDistance = -1;
    for (std::size_t i = 0; i < numOfColours && bestDistance < farApart; ++i) {
        const std::size_t place = (ownPlace(label) + i) % numOfColours;
        int distance = std::numeric_limits<int>::max();
        for (const std::size_t other : neighbours) {
            distance = std::min(distance, colourDistance(palette()[place], palette()[other]));
        }
        if (!taken[place] && distance > bestDistance) {
            best = place;
            bestDistance = distance;
        }
    }
    return best.value_or(ownPlace(label));
}

}  // namespace

// Weights by the amount of red: "redmean", Thiadmer Riemersma, www.compuphase.com/cmetric.htm. In whole numbers, so
// that the palette is the same everywhere.
int colourDistance(const Colour& a, const Colour& b) {
    const int red = a.red - b.red;
    const int green = a.green - b.green;
    const int blue = a.blue - b.blue;
    const int mean = (a.red + b.red) / 2;
    const int squared = (((512 + mean) * red * red) >> 8) + 4 * green * green + (((767 - mean) * blue * blue) >> 8);
    return static_cast<int>(std::sqrt(static_cast<double>(squared)));
}

Colour labelColour(std::uint32_t label) {
    constexpr Colour transparent{0, 0, 0, 0};
    return label == 0 ? transparent : palette()[ownPlace(label)];
}

LabelColours::LabelColours(const LabelSlice& slice) {
    const std::vector<Pair> pairs = neighboursIn(slice);
    constexpr std::size_t notChosen = numOfColours;
    std::vector<std::size_t> firstPair;
    for (const std::uint32_t label : labelsIn(slice)) {
        firstPair.push_back(
            static_cast<std::size_t>(std::lower_bound(pairs.begin(), pairs.end(), Pair(label, 0)) - pairs.begin()));
        m_places.emplace_back(label, notChosen);
    }
    firstPair.push_back(pairs.size());
    // Labels with many neighbours choose first; the others then have few to heed.
    std::vector<std::size_t> order(m_places.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return firstPair[a + 1] - firstPair[a] > firstPair[b + 1] - firstPair[b];
    });
    std::array<bool, numOfColours> taken{};  // where there are enough colours, each is used once
    std::vector<std::size_t> neighbours;
    for (const std::size_t index : order) {
        neighbours.clear();
        for (std::size_t i = firstPair[index]; i < firstPair[index + 1]; ++i) {
            const auto other =
                std::lower_bound(m_places.begin(), m_places.end(), std::pair(pairs[i].second, std::size_t{0}));
            if (other->second != notChosen) {
                neighbours.push_back(other->second);
            }
        }
        const std::size_t place = choosePlace(m_places[index].first, neighbours, taken);
        m_places[index].second = place;
        taken[place] = m_places.size() <= numOfColours;
    }
}

Colour LabelColours::operator()(std::uint32_t label) const {
    const auto found = std::lower_bound(m_places.begin(), m_places.end(), std::pair(label, std::size_t{0}));
    return found != m_places.end() && found->first == label ? palette()[found->second] : labelColour(label);
}

}  // namespace rix::rendering
