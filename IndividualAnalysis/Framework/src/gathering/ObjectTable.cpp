#include "ObjectTable.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include <rix/access/Looks.h>
#include <rix/access/Run.h>

namespace rix::individual_analysis {

namespace {

/// Parts of the objects that threads join at the same time; each part looks through the labels of all bands.
constexpr std::size_t partsOfJoin = 8;
constexpr std::size_t objectsThatPay = 20000;
constexpr double nanosecondsPerObject = 50;
constexpr double nanosecondsPerLabel = 4;
/// Objects that are joined between two looks at a request to cancel.
constexpr std::size_t objectsOfStep = 4096;

/// Sorts by bytes, the lowest first; `other` has the same size and holds anything.
void sortByBytes(access::CountedVector<std::uint32_t>& labels, access::CountedVector<std::uint32_t>& other) {
    access::Looks looks;
    for (unsigned shift = 0; shift < 32; shift += 8) {
        std::array<std::size_t, 257> places{};
        for (const std::uint32_t label : labels) {
            ++places[(label >> shift & 0xffU) + 1];
            looks.add(1);
        }
        for (std::size_t byte = 1; byte < places.size(); ++byte) {
            places[byte] += places[byte - 1];
        }
        for (const std::uint32_t label : labels) {
            other[places[label >> shift & 0xffU]++] = label;
            looks.add(1);
        }
        labels.swap(other);
    }
}

}  // namespace

ObjectTable::ObjectTable(std::span<const BandTable> bands, QuantityTable empty, access::ExecutionContext& context)
    : m_quantities(std::move(empty)) {
    numberLabels(bands);
    joinQuantities(bands, context);
}

void ObjectTable::joinQuantities(std::span<const BandTable> bands, access::ExecutionContext& context) {
    std::vector<access::CountedVector<std::uint32_t>> indices(bands.size());
    const double nanosecondsPerBand =
        nanosecondsPerLabel * static_cast<double>(size()) / static_cast<double>(bands.size());
    access::forEachPart(context, bands.size(), nanosecondsPerBand, [&](std::size_t band) {
        indices[band].reserve(bands[band].size());
        for (const std::uint32_t label : bands[band].labels()) {
            indices[band].push_back(indexOf(label));
        }
    });

    const std::vector<QuantityTable::Entry>& entries = m_quantities.entries();
    for (std::size_t q = 0; q < entries.size(); ++q) {
        std::vector<JoinedBand> joined;
        for (std::size_t band = 0; band < bands.size(); ++band) {
            joined.push_back({bands[band].quantities().entries()[q].quantity.get(), indices[band]});
        }
        entries[q].quantity->startJoin(size(), joined);
    }
    const std::size_t parts = size() < objectsThatPay ? 1 : partsOfJoin;
    const double nanosecondsPerPart = nanosecondsPerObject * static_cast<double>(size() / parts);
    access::forEachPart(context, parts, nanosecondsPerPart, [&](std::size_t part) {
        const access::Interval range = access::partOf(size(), parts, part);
        access::CountedVector<JoinedObject> objects;
        for (std::size_t band = 0; band < bands.size(); ++band) {
            objects.clear();
            objects.reserve(std::min(indices[band].size(), range.end - range.begin));
            for (std::uint32_t from = 0; from < indices[band].size(); ++from) {
                const std::uint32_t to = indices[band][from];
                if (to >= range.begin && to < range.end) {
                    objects.push_back({from, to});
                }
            }
            for (std::size_t first = 0; first < objects.size(); first += objectsOfStep) {
                access::throwIfRunCancelled();
                const auto some = std::span(objects).subspan(first, std::min(objectsOfStep, objects.size() - first));
                for (std::size_t q = entries.size(); q-- > 0;) {
                    entries[q].quantity->join(*bands[band].quantities().entries()[q].quantity, some);
                }
            }
        }
    });
    for (const QuantityTable::Entry& entry : entries) {
        context.throwIfCancelled();
        entry.quantity->finishJoin();
    }
}

void ObjectTable::numberLabels(std::span<const BandTable> bands) {
    access::Looks looks;
    std::size_t total = 0;
    std::uint32_t greatest = 0;
    for (const BandTable& band : bands) {
        total += band.size();
        looks.add(band.size());
        for (const std::uint32_t label : band.labels()) {
            greatest = std::max(greatest, label);
        }
    }
    constexpr std::size_t few = 4096;
    constexpr std::size_t sparseness = 8;
    if (greatest > few + sparseness * total) {
        numberSparseLabels(bands);
        return;
    }
    access::resizeWithLooks(m_indices, std::size_t{greatest} + 1);
    std::size_t count = 0;
    for (const BandTable& band : bands) {
        looks.add(band.size());
        for (const std::uint32_t label : band.labels()) {
            count += 1 - std::exchange(m_indices[label], 1);
        }
    }
    m_labels.reserve(count);
    for (std::size_t label = 1; label < m_indices.size(); ++label) {
        looks.add(1);
        if (m_indices[label] != 0) {
            m_indices[label] = static_cast<std::uint32_t>(m_labels.size());
            m_labels.push_back(static_cast<std::uint32_t>(label));
        }
    }
}

void ObjectTable::numberSparseLabels(std::span<const BandTable> bands) {
    access::Looks looks;
    for (const BandTable& band : bands) {
        looks.add(band.size());
        for (const std::uint32_t label : band.labels()) {
            if (m_sparse.find(label) == LabelHash::unknown) {
                m_sparse.insert(label);
                m_labels.push_back(label);
            }
        }
    }
    access::resizeWithLooks(m_order, m_labels.size());
    sortByBytes(m_labels, m_order);
    for (std::uint32_t index = 0; index < m_labels.size(); ++index) {
        looks.add(1);
        m_order[m_sparse.find(m_labels[index])] = index;
    }
}

}  // namespace rix::individual_analysis
