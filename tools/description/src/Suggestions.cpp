#include <rix/description/Suggestions.h>

#include <algorithm>
#include <iterator>
#include <numeric>
#include <utility>

#include <rix/description/Synonyms.h>
#include <rix/description/Text.h>

namespace rix::description {
namespace {

std::string lower(std::string_view text) {
    std::string result(text);
    std::transform(text.begin(), text.end(), result.begin(), lowerCase);
    return result;
}

/// Those of the candidates that a word of the field means, of a class the ones for planes and for volumes, in whichever
/// spelling the front end has.
std::vector<std::string> meantBy(std::string_view word, const std::vector<std::string>& candidates) {
    std::vector<std::string> meant;
    for (const std::string& name : namesOf(word)) {
        for (const char* const dimensions : {"", "2d", "3d"}) {
            const std::string plain = plainWord(name + dimensions);
            std::ranges::copy_if(candidates, std::back_inserter(meant),
                                 [&](const std::string& candidate) { return plainWord(candidate) == plain; });
        }
    }
    return meant;
}

}  // namespace

std::size_t editDistance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> beforeLast(b.size() + 1);
    std::vector<std::size_t> last(b.size() + 1);
    std::vector<std::size_t> current(b.size() + 1);
    std::iota(last.begin(), last.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        current[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const auto equal = [&](std::size_t p, std::size_t q) { return lowerCase(a[p - 1]) == lowerCase(b[q - 1]); };
            current[j] = std::min({last[j] + 1, current[j - 1] + 1, last[j - 1] + (equal(i, j) ? 0 : 1)});
            if (i > 1 && j > 1 && equal(i, j - 1) && equal(i - 1, j)) {
                current[j] = std::min(current[j], beforeLast[j - 2] + 1);
            }
        }
        std::swap(beforeLast, last);
        std::swap(last, current);
    }
    return last[b.size()];
}

std::vector<std::string> suggest(std::string_view name, const std::vector<std::string>& candidates, std::size_t limit) {
    // A part of a name is a rough guess: it comes after what is nearly the name.
    constexpr std::size_t rankOfParts = 1000;
    constexpr std::size_t shortestPart = 3;
    constexpr std::size_t longestName = 200;  // the distance to what nobody has typed costs time
    if (name.size() > longestName) {
        return {};
    }
    std::vector<std::pair<std::size_t, std::string>> ranked;
    const std::string wanted = lower(name);
    for (const auto& candidate : candidates) {
        const std::string offered = lower(candidate);
        const std::size_t distance = editDistance(wanted, offered);
        const bool isPart = (wanted.size() >= shortestPart && offered.find(wanted) != std::string::npos) ||
                            (offered.size() >= shortestPart && wanted.find(offered) != std::string::npos);
        if (distance <= std::max<std::size_t>(1, std::max(wanted.size(), offered.size()) / 3)) {
            ranked.emplace_back(distance, candidate);
        } else if (isPart) {
            ranked.emplace_back(rankOfParts + distance, candidate);
        }
    }
    std::stable_sort(ranked.begin(), ranked.end(),
                     [](const auto& left, const auto& right) { return left.first < right.first; });
    std::vector<std::string> names = meantBy(name, candidates);
    if (!ranked.empty() && ranked.front().first == 0) {
        names.clear();
        limit = 1;  // wrong in its capitals only: nothing else was meant
    }
    for (auto& [rank, candidate] : ranked) {
        if (std::ranges::find(names, candidate) == names.end()) {
            names.push_back(std::move(candidate));
        }
    }
    names.resize(std::min(limit, names.size()));
    return names;
}

}  // namespace rix::description
