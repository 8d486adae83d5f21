#include <rix/segmentation/LabelOverlap.h>

#include <algorithm>
#include <cmath>

#include <rix/access/Joins.h>
#include <rix/access/KeyTable.h>
#include <rix/access/OrderedKeys.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/Definition.h>
#include <rix/rules/InputRules.h>

#include "LabelRows.h"

namespace rix::segmentation {

namespace {

using access::CountedVector;
using access::KeyTable;

void declare(LabelOverlap& overlap, algorithms::Properties& properties) {
    properties.input(overlap.inputLabelImage1, "The labels that are compared.", AddRulesForIntegerImage());
    properties.input(overlap.inputLabelImage2, "Those that they are compared with.", AddRulesForIntegerImage());
    for (const Components axis : {COLUMNS, ROWS, PLANS, SEQUENCE, SPECTRAL_SERIES}) {
        addRules(overlap.inputLabelImage2, AddRuleAssertDimensionImage(axis, overlap.inputLabelImage1));
    }
    properties.output(overlap.outputMeasurement, "A row for each pair of labels that have voxels in common.",
                      AddRuleCreateMeasurement());
}

/// A label as bits that distinguish all labels of all types, and back.
template <class T>
std::uint32_t bitsOf(T label) {
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(label));
}
std::int64_t labelOf(std::uint32_t bits, bool isSigned) {
    return isSigned ? static_cast<std::int64_t>(static_cast<std::int32_t>(bits)) : std::int64_t{bits};
}

/// Counts the voxels of each pair but that of the two backgrounds: the first label in the upper half of the keys.
template <class T1, class T2>
KeyTable countPairs(access::ExecutionContext& context, const ImageModel& image1, const ImageModel& image2) {
    access::Accumulators<KeyTable> tables;
    const access::Plan plan = access::cutLines({&image1, &image2}, 1.0);
    access::run(context, plan, [&](const access::Block& block) {
        auto table = tables.take([] { return std::make_unique<KeyTable>(); });
        access::RowReader<T1> reader1(image1, plan);
        access::RowReader<T2> reader2(image2, plan);
        access::Looks looks;
        plan.forEachSegment(block, [&](const access::RowSegment& segment) {
            const T1* const row1 = reader1.read(segment);
            const T2* const row2 = reader2.read(segment);
            forEachStretch(
                segment.count, [&](std::size_t x) { return row1[x] == row1[x - 1] && row2[x] == row2[x - 1]; },
                [&](std::size_t first, std::size_t end) {
                    const std::uint64_t key = std::uint64_t{bitsOf(row1[first])} << 32 | bitsOf(row2[first]);
                    if (key != 0) {
                        (*table)[key] += end - first;
                    }
                    looks.add(1);
                });
            looks.add(segment.count / 64);
        });
        tables.give(std::move(table));
    });
    return access::joined(tables.all());
}

bool isSigned(const ImageModel& image) {
    const VoxelTypes type = image.getVoxelType();
    return type == RIX_INT8 || type == RIX_INT16 || type == RIX_INT32;
}

/// All pairs in the order of their labels.
CountedVector<KeyTable::Entry> inOrder(const KeyTable& table, bool isSigned1, bool isSigned2) {
    CountedVector<KeyTable::Entry> pairs;
    pairs.reserve(table.size());
    table.forEach([&](const KeyTable::Entry& entry) { pairs.push_back(entry); });
    const std::uint64_t signs = (isSigned1 ? std::uint64_t{1} << 63 : 0) | (isSigned2 ? std::uint64_t{1} << 31 : 0);
    access::Looks looks;
    std::sort(pairs.begin(), pairs.end(), [&](const KeyTable::Entry& a, const KeyTable::Entry& b) {
        looks.add(1);
        return (a.key ^ signs) < (b.key ^ signs);
    });
    return pairs;
}

constexpr std::uint64_t secondOf(std::uint64_t key) {
    return key & 0xffffffffU;
}

bool areLabels(std::uint64_t key) {
    return key >> 32 != 0 && secondOf(key) != 0;
}

void fillTable(LabelOverlapMsr& result, const CountedVector<KeyTable::Entry>& pairs, bool isSigned1, bool isSigned2) {
    access::Looks looks;
    KeyTable sizes2;
    std::size_t rows = 0;
    for (const KeyTable::Entry& pair : pairs) {
        looks.add(1);
        if (secondOf(pair.key) != 0) {
            sizes2[secondOf(pair.key)] += pair.value;
        }
        rows += areLabels(pair.key) ? 1U : 0U;
    }
    result.reset(rows);
    std::size_t row = 0;
    for (std::size_t first = 0, end = 0; first < pairs.size(); first = end) {
        std::uint64_t size1 = 0;
        for (end = first; end < pairs.size() && pairs[end].key >> 32 == pairs[first].key >> 32; ++end) {
            size1 += pairs[end].value;
            looks.add(1);
        }
        for (std::size_t i = first; i < end; ++i) {
            looks.add(1);
            const auto [key, common] = pairs[i];
            if (!areLabels(key)) {
                continue;
            }
            const auto both = static_cast<double>(common);
            const auto sum = static_cast<double>(size1 + sizes2.find(secondOf(key)));
            result.label1[row] = labelOf(static_cast<std::uint32_t>(key >> 32), isSigned1);
            result.label2[row] = labelOf(static_cast<std::uint32_t>(key), isSigned2);
            result.intersection[row] = static_cast<std::int64_t>(common);
            result.jaccard[row] = both / (sum - both);
            result.dice[row] = 2.0 * both / sum;
            ++row;
        }
    }
}

void process(LabelOverlap& overlap, OptimLevelType /*level*/) {
    const ImageModel& image1 = *overlap.getInputLabelImage1();
    const ImageModel& image2 = *overlap.getInputLabelImage2();
    const bool isSigned1 = isSigned(image1);
    const bool isSigned2 = isSigned(image2);
    CountedVector<KeyTable::Entry> pairs;
    access::dispatch(access::Integers{}, image1.getVoxelType(), [&](auto tag1) {
        access::dispatch(access::Integers{}, image2.getVoxelType(), [&](auto tag2) {
            using T1 = typename decltype(tag1)::type;
            using T2 = typename decltype(tag2)::type;
            pairs = inOrder(countPairs<T1, T2>(overlap.executionContext(), image1, image2), isSigned1, isSigned2);
        });
    });
    fillTable(*overlap.getOutputMeasurement(), pairs, isSigned1, isSigned2);
}

std::size_t memoryOf(const LabelOverlap& overlap) {
    const ImageModel& image1 = *overlap.getInputLabelImage1();
    const ImageModel& image2 = *overlap.getInputLabelImage2();
    double voxels = 1;
    for (const std::size_t extent : helper::getExtents(image1)) {
        voxels *= static_cast<double>(extent);
    }
    const double bits =
        8.0 * static_cast<double>(helper::getSizeOf(image1.getVoxelType()) + helper::getSizeOf(image2.getVoxelType()));
    const double pairs = std::min(voxels, std::exp2(bits));
    // Tables of all threads; then one of all pairs, or of all second labels, beside the pairs in order.
    const double sorted = KeyTable::bytesFor(pairs) + sizeof(KeyTable::Entry) * pairs;
    const double most = std::max(sorted, static_cast<double>(overlap.getMaximumThreads()) * KeyTable::bytesFor(pairs));
    return access::boundOf(most + rowBytesOf(image1, overlap.getMaximumThreads()) +
                           rowBytesOf(image2, overlap.getMaximumThreads()));
}

constexpr algorithms::Definition<LabelOverlap> definition{
    .summary = "Tells which labels of two images lie on each other, and how well they agree.",
    .kind = AlgorithmKind::Reduction,
    .declare = &declare,
    .process = &process,
    .memory = &memoryOf,
    .memoryIsExact = false,  // it depends on the number of pairs
};

}  // namespace

RIX_DEFINE_ALGORITHM(LabelOverlap, definition)

}  // namespace rix::segmentation
