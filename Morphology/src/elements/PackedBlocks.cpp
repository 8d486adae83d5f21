#include "PackedBlocks.h"

#include <algorithm>
#include <bit>
#include <map>

#include <rix/access/BlockSize.h>
#include <rix/access/PackedRows.h>

#include "CheapestBlocks.h"

namespace rix::morphology {

namespace {

using access::wordsOf;

/// Rows of words that are met for a row of the results.
double meetingsOf(const Element& element) {
    const access::Reach reach = element.reach();
    return element.isBox() ? static_cast<double>(std::bit_width(reach.rows.sum()) + std::bit_width(reach.planes.sum()))
                           : static_cast<double>(element.chordCount());
}

}  // namespace

std::vector<Pattern> patternsOf(const Element& element) {
    std::map<std::pair<std::size_t, std::int64_t>, Pattern> found;
    for (const Chord& chord : element.chords()) {  // plane after plane
        const auto length = static_cast<std::size_t>(chord.length);
        Pattern& pattern = found[{length, chord.first[0]}];
        pattern.first = chord.first[0];
        pattern.length = length;
        if (pattern.planes.empty() || pattern.planes.back().first != chord.first[2]) {
            pattern.planes.emplace_back(chord.first[2], std::vector<std::int64_t>());
        }
        pattern.planes.back().second.push_back(chord.first[1]);
    }
    std::vector<Pattern> patterns;
    patterns.reserve(found.size());
    for (auto& [key, pattern] : found) {
        patterns.push_back(std::move(pattern));
    }
    return patterns;
}

PackedBlock packedBlockOf(const std::array<std::size_t, 3>& voxels, const Element& element) {
    const access::Reach reach = element.reach();
    const auto longest = element.isBox() ? reach.columns.sum() + 1 : static_cast<std::size_t>(element.longestChord());
    PackedBlock block;
    block.before = wordsOf(reach.columns.before);
    block.row = block.before + wordsOf(voxels[0]) + wordsOf(reach.columns.after);
    block.seenRows = voxels[1] + reach.rows.sum();
    block.margin = block.row + wordsOf(longest) + 1;
    // Of a box all that it sees is kept, of chords the results.
    block.keptRows = element.isBox() ? block.seenRows : voxels[1];
    block.keptPlanes = voxels[2] + (element.isBox() ? reach.planes.sum() : 0);
    return block;
}

access::Plan planPacked(const ImageModel& image, const Element& element, const std::vector<Pattern>& patterns) {
    const access::Reach reach = element.reach();
    const bool deep = reach.planes.sum() > 0;
    const double meetings = meetingsOf(element);
    const auto taken = static_cast<double>(patterns.size());
    const auto doublings = static_cast<double>(std::bit_width(patterns.back().length));
    constexpr double perWord = 8;       // to load 64 voxels and to write them: nanoseconds
    constexpr double perShift = 0.5;    // of words
    constexpr double perMeeting = 0.2;  // of words
    access::Plan plan = cutIntoCheapest(
        helper::getExtents(image), {{512, 16, 1}, {16384, 1024, deep ? 64U : 1U}, 64},
        [&](const std::array<std::size_t, 3>& voxels) {
            const PackedBlock block = packedBlockOf(voxels, element);
            const auto results = static_cast<double>(wordsOf(voxels[0]) * voxels[1] * voxels[2]);
            const auto seenPlanes = static_cast<double>(voxels[2] + reach.planes.sum());
            const double words = seenPlanes * static_cast<double>(block.planeWords());
            const double bytes = 8 * static_cast<double>(block.tableWords() + block.planeWords() + block.keptWords());
            const double excess = std::max(1.0, bytes / static_cast<double>(access::blockBytes()));
            const double shifts = words * (perWord + (doublings + taken) * perShift * excess);
            const double rowStarts = seenPlanes * static_cast<double>(block.seenRows) * perRowStart;
            const double met = static_cast<double>(block.row * voxels[1] * voxels[2]) * meetings * perMeeting * excess;
            return BlockCost{(shifts + rowStarts + met) / results, voxels[0] * voxels[1] * voxels[2] > mostBlockVoxels};
        });
    plan.setSmall(static_cast<double>(plan.voxelCount()) / 64 * (perWord + taken * perShift + meetings * perMeeting) <
                  access::smallWorkNanoseconds());
    return plan;
}

}  // namespace rix::morphology
