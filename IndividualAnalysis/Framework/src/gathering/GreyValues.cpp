#include "GreyValues.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <functional>
#include <limits>
#include <span>

#include <rix/access/Looks.h>
#include <rix/access/Run.h>
#include <rix/access/Scratch.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/exceptions/Exception.h>

#include "BandPlan.h"
#include "Lines.h"

namespace rix::individual_analysis {

namespace {

/// The values at `place` and the one after it, in the order of the values.
struct Neighbours {
    double lower;
    double upper;
};

/// By counting: the cost does not depend on how the values are arranged.
Neighbours selectByCounting(std::span<const std::uint8_t> values, std::size_t place) {
    std::size_t counts[256] = {};
    access::Looks looks;
    for (const std::uint8_t value : values) {
        ++counts[value];
        looks.add(1);
    }
    const auto at = [&counts](std::size_t wanted) {
        std::size_t value = 0;
        for (std::size_t below = counts[0]; below <= wanted; below += counts[value]) {
            ++value;
        }
        return static_cast<double>(value);
    };
    return {at(place), at(std::min(place + 1, values.size() - 1))};
}

template <class T>
Neighbours selectBySorting(std::span<T> values, std::size_t place) {
    const auto nth = values.begin() + static_cast<std::ptrdiff_t>(place);
    const auto select = [&](const auto& isLess) -> Neighbours {
        std::nth_element(values.begin(), nth, values.end(), isLess);
        const double lower = static_cast<double>(*nth);
        return {lower, nth + 1 == values.end() ? lower
                                               : static_cast<double>(*std::min_element(nth + 1, values.end(), isLess))};
    };
    if (values.size() < access::Looks::stepsBetweenLooks) {
        return select(std::less<T>());
    }
    access::Looks looks;
    return select([&looks](T a, T b) {
        looks.add(1);
        return a < b;
    });
}

template <class T>
double percentileOf(std::span<T> values, double percentage) {
    if constexpr (std::is_floating_point_v<T>) {
        access::Looks looks;
        const auto end = std::partition(values.begin(), values.end(), [&looks](T value) {
            looks.add(1);
            return !std::isnan(value);
        });
        values = values.first(static_cast<std::size_t>(end - values.begin()));
    }
    if (values.empty()) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    const double position = percentage / 100.0 * static_cast<double>(values.size() - 1);
    const double whole = std::floor(position);
    const auto place = static_cast<std::size_t>(whole);
    Neighbours found{};
    if constexpr (std::is_same_v<T, std::uint8_t>) {
        found = values.size() > 512 ? selectByCounting(values, place) : selectBySorting(values, place);
    } else {
        found = selectBySorting(values, place);
    }
    const double fraction = position - whole;
    // Without the tests infinities would make NaN: equal ones beside each other, and one below a finite value, to which
    // every share of the way is infinite.
    const bool isLower =
        fraction == 0.0 || found.lower == found.upper || (std::isinf(found.lower) && std::isfinite(found.upper));
    return isLower ? found.lower : found.lower + fraction * (found.upper - found.lower);
}

}  // namespace

GreyValues::GreyValues(VoxelTypes type, std::size_t channels, const ObjectTable& objects)
    : m_type(type), m_objects(objects.size()) {
    access::resizeWithLooks(m_next, m_objects * channels);
    m_first.reserve(m_objects + 1);
    access::Looks looks;
    const ShapeQuantity& shape = objects.shape();
    for (std::size_t index = 0; index < m_objects; ++index) {
        m_first.push_back(m_count);
        m_count += shape.of(index).count;
        looks.add(1);
    }
    m_first.push_back(m_count);
    std::size_t bytes = 0;
    if (!helper::checkedMultiply(m_count, channels * helper::getSizeOf(type), bytes)) {
        throw MemoryError("The grey values of the objects take more bytes than 64 bits can count.");
    }
    m_data = access::Scratch(bytes);
}

RawData GreyValues::take(std::size_t index, std::size_t channel, std::size_t count) {
    const std::atomic_ref<std::uint64_t> next(m_next[channel * m_objects + index]);
    const std::size_t taken = next.fetch_add(count, std::memory_order_relaxed);
    return m_data.data() + (place(index, channel) + taken) * helper::getSizeOf(m_type);
}

double GreyValues::percentile(std::size_t index, std::size_t channel, double percentage) const {
    const std::size_t count = m_first[index + 1] - m_first[index];
    double result = 0.0;
    access::dispatch(access::Reals{}, m_type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        T* const values = reinterpret_cast<T*>(m_data.data()) + place(index, channel);
        result = percentileOf(std::span<T>(values, count), percentage);
    });
    return result;
}

std::vector<std::unique_ptr<GreyValues>> gatherGreyValues(access::ExecutionContext& context, OptimLevelType level,
                                                          const ImageModel& labels, const ImageModel& intensity,
                                                          const std::vector<ObjectTable>& objects) {
    const std::size_t channels = intensity.getNumOf(SPECTRAL_SERIES);
    std::vector<std::unique_ptr<GreyValues>> frames;
    for (const ObjectTable& frame : objects) {
        frames.push_back(std::make_unique<GreyValues>(intensity.getVoxelType(), channels, frame));
    }
    const BandPlan plan(labels, false);
    access::run(context, plan.plan, [&](const access::Block& band, access::BlockProgress& progress) {
        const std::size_t frame = band.sequence();
        const auto labelLines = makeLabelLines(labels, level);
        const auto greyLines = makeIntensityLines(intensity, level);
        const access::Scratch buffer(plan.columns * sizeof(Run));
        Run* const runs = buffer.as<Run>();
        access::Looks looks;
        for (std::size_t line = band.rows().begin; line < band.rows().end; ++line) {
            const std::size_t count = labelLines->findRuns(plan.segment(frame, line), runs);
            for (std::size_t channel = 0; count > 0 && channel < channels; ++channel) {
                greyLines->read(plan.segment(frame, line, channel));
                looks.add(count);
                for (std::size_t i = 0; i < count; ++i) {
                    const std::size_t index = objects[frame].indexOf(runs[i].label);
                    greyLines->copy(runs[i], frames[frame]->take(index, channel, runs[i].end - runs[i].begin));
                }
            }
            progress.add(plan.columns);
        }
    });
    return frames;
}

}  // namespace rix::individual_analysis
