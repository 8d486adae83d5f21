#include <rix/rendering/LabelColours.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

namespace rix::rendering {
namespace {

constexpr double goldenRatio = 0.61803398874989484820;

/// In turns around the circle of hues.
double hueOf(std::uint32_t label) {
    const double turns = label * goldenRatio;
    return turns - std::floor(turns);
}

Colour colourOfHue(double hue) {
    constexpr double saturation = 0.75;
    constexpr double brightness = 0.95;
    constexpr double sectors = 6;
    // A channel is full for a third of the circle and rises and falls over a sixth on either side.
    constexpr std::array<double, 3> rotation{5, 3, 1};
    std::array<std::uint8_t, 3> channels{};
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const double k = std::fmod(rotation[i] + hue * sectors, sectors);
        const double missing = std::fmax(0, std::fmin(std::fmin(k, 4 - k), 1));
        channels[i] = static_cast<std::uint8_t>(std::lround(255 * brightness * (1 - saturation * missing)));
    }
    return {channels[0], channels[1], channels[2]};
}

double distanceOfHues(double a, double b) {
    const double distance = std::abs(a - b);
    return std::min(distance, 1 - distance);
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

/// The first of the hues after a label's own that is far from all given ones, or the one that comes nearest to that.
double chooseHue(std::uint32_t label, const std::vector<double>& taken) {
    constexpr double farApart = 0.1;
    double best = 0;
    double bestDistance = -1;
    double hue = hueOf(label);
    for (std::size_t i = 0; i < 64 + taken.size() && bestDistance < farApart; ++i) {
        double distance = 1;
        for (const double other : taken) {
            distance = std::min(distance, distanceOfHues(hue, other));
        }
        if (distance > bestDistance) {
            best = hue;
            bestDistance = distance;
        }
        hue = hue + goldenRatio < 1 ? hue + goldenRatio : hue + goldenRatio - 1;
    }
    return best;
}

}  // namespace

Colour labelColour(std::uint32_t label) {
    constexpr Colour transparent{0, 0, 0, 0};
    return label == 0 ? transparent : colourOfHue(hueOf(label));
}

LabelColours::LabelColours(const LabelSlice& slice) {
    const std::vector<Pair> pairs = neighboursIn(slice);
    std::vector<std::size_t> firstPair;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        if (i == 0 || pairs[i].first != pairs[i - 1].first) {
            firstPair.push_back(i);
            m_hues.emplace_back(pairs[i].first, -1);
        }
    }
    firstPair.push_back(pairs.size());
    // Labels with many neighbours choose first; the others then have few to heed.
    std::vector<std::size_t> order(m_hues.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return firstPair[a + 1] - firstPair[a] > firstPair[b + 1] - firstPair[b];
    });
    std::vector<double> taken;
    for (const std::size_t index : order) {
        taken.clear();
        for (std::size_t i = firstPair[index]; i < firstPair[index + 1]; ++i) {
            const auto other = std::lower_bound(m_hues.begin(), m_hues.end(), std::pair(pairs[i].second, -1.0));
            if (other->second >= 0) {
                taken.push_back(other->second);
            }
        }
        m_hues[index].second = chooseHue(m_hues[index].first, taken);
    }
}

Colour LabelColours::operator()(std::uint32_t label) const {
    const auto found = std::lower_bound(m_hues.begin(), m_hues.end(), std::pair(label, -1.0));
    return found != m_hues.end() && found->first == label ? colourOfHue(found->second) : labelColour(label);
}

}  // namespace rix::rendering
