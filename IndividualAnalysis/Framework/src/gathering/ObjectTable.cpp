#include "ObjectTable.h"

#include <algorithm>
#include <numeric>

#include <rix/access/Run.h>
#include <rix/individual_analysis/MeasureInfo.h>

namespace rix::individual_analysis {

namespace {

/// Parts of the objects that threads join at the same time; each part looks through the labels of all bands.
constexpr std::size_t partsOfJoin = 8;
constexpr std::size_t objectsThatPay = 20000;
constexpr double nanosecondsPerObject = 50;

/// Joins the sums of two parts (Chan, Golub and LeVeque 1979): squares about the common mean.
void join(IntensitySums& left, std::uint64_t leftCount, const IntensitySums& right, std::uint64_t rightCount) {
    const auto n = static_cast<double>(leftCount);
    const auto m = static_cast<double>(rightCount);
    if (rightCount == 0) {
        return;
    }
    if (leftCount == 0) {
        left = right;
        return;
    }
    const double difference = right.sum / m - left.sum / n;
    left.squares += right.squares + difference * difference * (n * m / (n + m));
    left.sum += right.sum;
    left.minimum = std::min(left.minimum, right.minimum);
    left.maximum = std::max(left.maximum, right.maximum);
}

void join(ShapeSums& left, const ShapeSums& right) {
    left.count += right.count;
    left.runs += right.runs;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        left.position[axis] += right.position[axis];
        left.lower[axis] = std::min(left.lower[axis], right.lower[axis]);
        left.upper[axis] = std::max(left.upper[axis], right.upper[axis]);
    }
}

void join(SecondMoments& left, const SecondMoments& right) {
    left.xx += right.xx;
    left.yy += right.yy;
    left.zz += right.zz;
    left.xy += right.xy;
    left.xz += right.xz;
    left.yz += right.yz;
}

void join(ContactSums& left, const ContactSums& right) {
    for (std::size_t d = 0; d < directionCount; ++d) {
        left.pairs[d] += right.pairs[d];
    }
    left.euler += right.euler;
}

}  // namespace

ObjectTable::ObjectTable(std::span<const BandTable> bands, access::ExecutionContext& context)
    : m_channels(bands.front().channels()) {
    numberLabels(bands, context);
    const std::size_t count = labels.size();
    const BandTable& any = bands.front();
    shape.resize(count);
    second.resize(any.gathers(GATHER_SECOND_MOMENTS) ? count : 0);
    contacts.resize(any.gathers(GATHER_CONTACTS | GATHER_EULER) ? count : 0);
    intensity.resize(any.gathers(GATHER_INTENSITY) ? count * m_channels : 0);
    weighted.resize(any.gathers(GATHER_WEIGHTED_POSITION) ? count * m_channels : 0);
    outlineBegins.resize(any.gathers(GATHER_OUTLINE) ? count + 1 : 0);
    const std::size_t parts = count < objectsThatPay ? 1 : partsOfJoin;
    const double nanosecondsPerPart = nanosecondsPerObject * static_cast<double>(count / parts);
    access::forEachPart(context, parts, nanosecondsPerPart, [&](std::size_t part) {
        const access::Interval range = access::partOf(count, parts, part);
        for (const BandTable& band : bands) {
            context.throwIfCancelled();
            joinSum(band, range.begin, range.end);
        }
    });
    if (!outlineBegins.empty()) {
        std::partial_sum(outlineBegins.begin(), outlineBegins.end(), outlineBegins.begin());
        outline.resize(outlineBegins.back());
        access::forEachPart(context, parts, nanosecondsPerPart, [&](std::size_t part) {
            const access::Interval range = access::partOf(count, parts, part);
            access::CountedVector<std::size_t> next(outlineBegins.begin() + static_cast<std::ptrdiff_t>(range.begin),
                                                    outlineBegins.begin() + static_cast<std::ptrdiff_t>(range.end));
            for (const BandTable& band : bands) {
                context.throwIfCancelled();
                joinOutline(band, range.begin, range.end, next);
            }
        });
    }
}

void ObjectTable::releaseSums() {
    const auto release = [](auto& table) { std::remove_reference_t<decltype(table)>().swap(table); };
    release(shape);
    release(second);
    release(contacts);
    release(intensity);
    release(weighted);
    release(outline);
    release(outlineBegins);
}

void ObjectTable::numberLabels(std::span<const BandTable> bands, const access::ExecutionContext& context) {
    std::size_t total = 0;
    std::uint32_t greatest = 0;
    for (const BandTable& band : bands) {
        total += band.size();
        for (const std::uint32_t label : band.labels) {
            greatest = std::max(greatest, label);
        }
    }
    constexpr std::size_t few = 4096;
    constexpr std::size_t sparseness = 8;
    if (greatest > few + sparseness * total) {
        numberSparseLabels(bands, context);
        return;
    }
    m_indices.assign(std::size_t{greatest} + 1, 0);
    for (const BandTable& band : bands) {
        context.throwIfCancelled();
        for (const std::uint32_t label : band.labels) {
            m_indices[label] = 1;
        }
    }
    for (std::size_t label = 1; label < m_indices.size(); ++label) {
        if (m_indices[label] != 0) {
            m_indices[label] = static_cast<std::uint32_t>(labels.size());
            labels.push_back(static_cast<std::uint32_t>(label));
        }
    }
}

void ObjectTable::numberSparseLabels(std::span<const BandTable> bands, const access::ExecutionContext& context) {
    for (const BandTable& band : bands) {
        context.throwIfCancelled();
        for (const std::uint32_t label : band.labels) {
            if (m_sparse.find(label) == LabelHash::unknown) {
                m_sparse.insert(label);
                labels.push_back(label);
            }
        }
    }
    std::sort(labels.begin(), labels.end());
    m_order.resize(labels.size());
    for (std::uint32_t index = 0; index < labels.size(); ++index) {
        m_order[m_sparse.find(labels[index])] = index;
    }
}

void ObjectTable::joinSum(const BandTable& band, std::size_t first, std::size_t last) {
    for (std::size_t slot = 0; slot < band.size(); ++slot) {
        const std::size_t index = indexOf(band.labels[slot]);
        if (index < first || index >= last) {
            continue;
        }
        for (std::size_t c = 0; c < m_channels && !intensity.empty(); ++c) {
            join(intensity[index * m_channels + c], shape[index].count, band.intensity[slot * m_channels + c],
                 band.shape[slot].count);
        }
        for (std::size_t c = 0; c < m_channels && !weighted.empty(); ++c) {
            for (std::size_t axis = 0; axis < 3; ++axis) {
                weighted[index * m_channels + c][axis] += band.weighted[slot * m_channels + c][axis];
            }
        }
        join(shape[index], band.shape[slot]);
        if (!second.empty()) {
            join(second[index], band.second[slot]);
        }
        if (!contacts.empty()) {
            join(contacts[index], band.contacts[slot]);
        }
        if (!outlineBegins.empty()) {
            outlineBegins[index + 1] += band.outlineRows[slot];
        }
    }
}

void ObjectTable::joinOutline(const BandTable& band, std::size_t first, std::size_t last,
                              access::CountedVector<std::size_t>& next) {
    access::CountedVector<std::uint32_t> indices(band.size());
    for (std::size_t slot = 0; slot < band.size(); ++slot) {
        indices[slot] = indexOf(band.labels[slot]);
    }
    for (const OutlineRow& row : band.outline) {
        const std::size_t index = indices[row.slot];
        if (index >= first && index < last) {
            outline[next[index - first]++] = row;
        }
    }
}

}  // namespace rix::individual_analysis
