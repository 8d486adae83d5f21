#include "LabelingOracle.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <utility>

namespace rix::segmentation::oracle {

namespace {

struct Offset {
    int x, y, z;
};

/// The neighbours of a voxel; only those that a raster scan meets earlier, when asked for.
std::vector<Offset> neighbours(int axes, bool onlyEarlier) {
    std::vector<Offset> result;
    for (int z = -1; z <= 1; ++z) {
        for (int y = -1; y <= 1; ++y) {
            for (int x = -1; x <= 1; ++x) {
                const int differing = std::abs(x) + std::abs(y) + std::abs(z);
                const bool earlier = z < 0 || (z == 0 && (y < 0 || (y == 0 && x < 0)));
                if (differing > 0 && differing <= axes && (earlier || !onlyEarlier)) {
                    result.push_back({x, y, z});
                }
            }
        }
    }
    return result;
}

/// Part of a volume: [first, last) of the rows or planes.
struct Band {
    std::size_t firstRow, lastRow, firstPlane, lastPlane;

    bool contains(std::ptrdiff_t y, std::ptrdiff_t z) const {
        return y >= static_cast<std::ptrdiff_t>(firstRow) && y < static_cast<std::ptrdiff_t>(lastRow) &&
               z >= static_cast<std::ptrdiff_t>(firstPlane) && z < static_cast<std::ptrdiff_t>(lastPlane);
    }
};

void halve(std::size_t first, std::size_t last, std::size_t largest,
           std::vector<std::pair<std::size_t, std::size_t>>& parts) {
    if (last - first <= largest) {
        parts.emplace_back(first, last);
        return;
    }
    const std::size_t middle = first + (last - first) / 2;
    halve(first, middle, largest, parts);
    halve(middle, last, largest, parts);
}

std::vector<Band> bandsOf(const Volume& volume, std::size_t processors) {
    const bool byPlanes = volume.planes > 1 && volume.planes >= processors;
    const std::size_t extent = byPlanes ? volume.planes : volume.rows;
    std::vector<std::pair<std::size_t, std::size_t>> parts;
    halve(0, extent, extent / processors + 1, parts);
    std::vector<Band> bands;
    for (const auto& [first, last] : parts) {
        bands.push_back(byPlanes ? Band{0, volume.rows, first, last} : Band{first, last, 0, volume.planes});
    }
    return bands;
}

/// A provisional label: final or a root when `band` is -1, else it points to label `label` of a band.
struct Record {
    std::uint64_t label = 0;
    std::ptrdiff_t band = -1;
};

struct Name {
    std::ptrdiff_t band;
    std::uint64_t label;
    bool operator==(const Name&) const = default;
    auto operator<=>(const Name&) const = default;
};

/// One attempt with one type.
class Attempt {
public:
    Attempt(const Volume& volume, int axes, const std::vector<Band>& bands)
        : m_volume(volume), m_axes(axes), m_bands(bands), m_tables(bands.size()), m_output(volume.voxels.size()) {}

    void scan(std::size_t index) {
        const Band& band = m_bands[index];
        for (std::size_t z = band.firstPlane; z < band.lastPlane; ++z) {
            for (std::size_t y = band.firstRow; y < band.lastRow; ++y) {
                for (std::size_t x = 0; x < m_volume.columns; ++x) {
                    if (m_volume.voxels[m_volume.indexOf(x, y, z)] != 0) {
                        scanForeground(index, x, y, z);
                    }
                }
            }
        }
    }

    void join() {
        const auto all = neighbours(m_axes, false);
        for (std::size_t i = 0; i < m_bands.size(); ++i) {
            forEachOf(m_bands[i], [&](std::size_t x, std::size_t y, std::size_t z) {
                for (const Offset& offset : all) {
                    const std::ptrdiff_t other = at(x, y, z, offset);
                    if (other < 0 || m_output[static_cast<std::size_t>(other)] == 0 ||
                        bandOf(static_cast<std::size_t>(other)) <= i) {
                        continue;
                    }
                    const Name a = root({static_cast<std::ptrdiff_t>(i), m_output[m_volume.indexOf(x, y, z)]});
                    const Name b = root({static_cast<std::ptrdiff_t>(bandOf(static_cast<std::size_t>(other))),
                                         m_output[static_cast<std::size_t>(other)]});
                    if (a != b) {
                        record(std::max(a, b)) = {std::min(a, b).label, std::min(a, b).band};
                    }
                }
            });
        }
    }

    std::uint64_t number() {
        std::uint64_t count = 0;
        for (auto& table : m_tables) {
            for (Record& r : table) {
                if (r.label == 0) {
                    r.label = ++count;
                }
            }
        }
        return count;
    }

    std::vector<std::uint32_t> relabel() {
        std::vector<std::uint32_t> labels(m_output.size());
        for (std::size_t i = 0; i < m_bands.size(); ++i) {
            forEachOf(m_bands[i], [&](std::size_t x, std::size_t y, std::size_t z) {
                const std::size_t index = m_volume.indexOf(x, y, z);
                labels[index] =
                    static_cast<std::uint32_t>(record(root({static_cast<std::ptrdiff_t>(i), m_output[index]})).label);
            });
        }
        return labels;
    }

    std::vector<std::size_t> provisional() const {
        std::vector<std::size_t> counts;
        for (const auto& table : m_tables) {
            counts.push_back(table.size());
        }
        return counts;
    }

private:
    template <class F>
    void forEachOf(const Band& band, const F& use) {
        for (std::size_t z = band.firstPlane; z < band.lastPlane; ++z) {
            for (std::size_t y = band.firstRow; y < band.lastRow; ++y) {
                for (std::size_t x = 0; x < m_volume.columns; ++x) {
                    if (m_output[m_volume.indexOf(x, y, z)] != 0) {
                        use(x, y, z);
                    }
                }
            }
        }
    }

    void scanForeground(std::size_t band, std::size_t x, std::size_t y, std::size_t z) {
        static const std::array<std::vector<Offset>, 4> earlier{neighbours(0, true), neighbours(1, true),
                                                                neighbours(2, true), neighbours(3, true)};
        std::vector<std::uint64_t> found;
        for (const Offset& offset : earlier[static_cast<std::size_t>(m_axes)]) {
            const std::ptrdiff_t other = at(x, y, z, offset);
            if (other >= 0 && m_bands[band].contains(static_cast<std::ptrdiff_t>(y) + offset.y,
                                                     static_cast<std::ptrdiff_t>(z) + offset.z) &&
                m_output[static_cast<std::size_t>(other)] != 0) {
                found.push_back(m_output[static_cast<std::size_t>(other)]);
            }
        }
        std::uint64_t& written = m_output[m_volume.indexOf(x, y, z)];
        auto& table = m_tables[band];
        const auto own = static_cast<std::ptrdiff_t>(band);
        if (found.empty()) {
            table.push_back({});
            written = table.size();
            return;
        }
        std::uint64_t smallest = root({own, found[0]}).label;
        for (const std::uint64_t label : found) {
            smallest = std::min(smallest, root({own, label}).label);
        }
        written = smallest;
        for (const std::uint64_t label : found) {
            if (label == smallest) {
                continue;
            }
            const Name top = root({own, label});
            if (top.label != smallest) {
                record(top) = {smallest, own};
            }
            record({own, label}) = {smallest, own};
        }
    }

    /// The index of a neighbour, or -1 outside the volume.
    std::ptrdiff_t at(std::size_t x, std::size_t y, std::size_t z, const Offset& offset) const {
        const auto nx = static_cast<std::ptrdiff_t>(x) + offset.x;
        const auto ny = static_cast<std::ptrdiff_t>(y) + offset.y;
        const auto nz = static_cast<std::ptrdiff_t>(z) + offset.z;
        if (nx < 0 || ny < 0 || nz < 0 || nx >= static_cast<std::ptrdiff_t>(m_volume.columns) ||
            ny >= static_cast<std::ptrdiff_t>(m_volume.rows) || nz >= static_cast<std::ptrdiff_t>(m_volume.planes)) {
            return -1;
        }
        return static_cast<std::ptrdiff_t>(
            m_volume.indexOf(static_cast<std::size_t>(nx), static_cast<std::size_t>(ny), static_cast<std::size_t>(nz)));
    }

    std::size_t bandOf(std::size_t index) const {
        const auto y = static_cast<std::ptrdiff_t>(index / m_volume.columns % m_volume.rows);
        const auto z = static_cast<std::ptrdiff_t>(index / m_volume.columns / m_volume.rows);
        for (std::size_t i = 0; i < m_bands.size(); ++i) {
            if (m_bands[i].contains(y, z)) {
                return i;
            }
        }
        std::abort();
    }

    Record& record(const Name& name) { return m_tables[static_cast<std::size_t>(name.band)][name.label - 1]; }

    Name root(Name name) {
        while (record(name).band >= 0) {
            const Record parent = record(name);
            name = {parent.band, parent.label};
        }
        return name;
    }

    const Volume& m_volume;
    int m_axes;
    const std::vector<Band>& m_bands;
    std::vector<std::vector<Record>> m_tables;
    std::vector<std::uint64_t> m_output;
};

}  // namespace

ReferenceLabels referenceFloodFill(const Volume& volume, int axes) {
    const auto all = neighbours(axes, false);
    ReferenceLabels result;
    result.labels.assign(volume.voxels.size(), 0);
    std::vector<std::array<std::size_t, 3>> open;
    for (std::size_t first = 0; first < volume.voxels.size(); ++first) {
        if (volume.voxels[first] == 0 || result.labels[first] != 0) {
            continue;
        }
        result.labels[first] = ++result.count;
        open.push_back({first % volume.columns, first / volume.columns % volume.rows,
                        first / volume.columns / volume.rows});
        while (!open.empty()) {
            const auto [x, y, z] = open.back();
            open.pop_back();
            for (const Offset& offset : all) {
                // Below 0 becomes huge: one test a side.
                const std::size_t nx = x + static_cast<std::size_t>(offset.x);
                const std::size_t ny = y + static_cast<std::size_t>(offset.y);
                const std::size_t nz = z + static_cast<std::size_t>(offset.z);
                if (nx >= volume.columns || ny >= volume.rows || nz >= volume.planes) {
                    continue;
                }
                const std::size_t index = volume.indexOf(nx, ny, nz);
                if (volume.voxels[index] != 0 && result.labels[index] == 0) {
                    result.labels[index] = result.count;
                    open.push_back({nx, ny, nz});
                }
            }
        }
    }
    return result;
}

ReferenceScan referenceScan(const Volume& volume, int axes, int labelType, std::size_t processors,
                            std::uint64_t largest32) {
    const std::vector<Band> bands = bandsOf(volume, processors);
    ReferenceScan result;
    result.labelType = labelType;
    for (;;) {
        const std::uint64_t largest =
            result.labelType == 0 ? 0xFF : result.labelType == 1 ? 0xFFFF : largest32;
        Attempt attempt(volume, axes, bands);
        for (std::size_t i = 0; i < bands.size(); ++i) {
            attempt.scan(i);
        }
        result.provisional = attempt.provisional();
        const bool overflows = std::any_of(result.provisional.begin(), result.provisional.end(),
                                           [largest](std::size_t count) { return count > largest; });
        attempt.join();
        if (!overflows && attempt.number() <= largest) {
            result.labels = attempt.relabel();
            return result;
        }
        if (result.labelType == 2) {
            result.failed = true;
            return result;
        }
        ++result.labelType;
    }
}

}  // namespace rix::segmentation::oracle
