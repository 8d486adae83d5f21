#include "PassResults.h"

#include <algorithm>
#include <utility>

#include <rix/exceptions/Exception.h>
#include <rix/measurement/PropertyMeasurement.h>

namespace rix::algorithms {

namespace {

using measurement::MeasurementArray;

/// Calls `use` with the array as what it is.
template <class Use>
void withArray(const measurement::BaseMeasurementArray& array, const Use& use) {
    const auto tryType = [&]<class T>(const MeasurementArray<T>* typed) {
        if (typed != nullptr) {
            use(*typed);
        }
    };
    tryType(dynamic_cast<const MeasurementArray<double>*>(&array));
    tryType(dynamic_cast<const MeasurementArray<std::int64_t>*>(&array));
    tryType(dynamic_cast<const MeasurementArray<String>*>(&array));
}

}  // namespace

PassResults::PassResults(const std::vector<const MeasurementSlot*>& slots, bool onSequence, bool onSpectral)
    : m_onSequence(onSequence), m_onSpectral(onSpectral) {
    for (const MeasurementSlot* const slot : slots) {
        if (slot->getObject() == nullptr) {
            continue;
        }
        slot->getObject()->setPasses({});
        if (onSequence || onSpectral) {
            m_tables.push_back({slot->getObject(), {}, {}});
        }
    }
}

void PassResults::take(std::size_t sequence, std::size_t spectral) {
    for (Table& table : m_tables) {
        measurement::MeasurementObject::Pass pass;
        if (m_onSequence) {
            pass.frame = sequence;
        }
        if (m_onSpectral) {
            pass.channel = spectral;
        }
        const std::size_t count = table.object->getNumOfArrays();
        if (table.passes.empty()) {
            table.arrays.resize(count);
        }
        bool fits = count == table.arrays.size();
        for (std::size_t i = 0; i < count && fits; ++i) {
            const measurement::BaseMeasurementArray& array = table.object->getArray(i);
            pass.rows = i == 0 ? array.size() : pass.rows;
            withArray(array, [&]<class T>(const MeasurementArray<T>& values) {
                if (table.passes.empty()) {
                    table.arrays[i] = std::vector<T>();
                }
                auto* const kept = std::get_if<std::vector<T>>(&table.arrays[i]);
                fits = kept != nullptr;
                if (!fits) {
                    return;
                }
                const auto first = kept->insert(kept->end(), values.begin(), values.end());
                if constexpr (std::is_same_v<T, std::int64_t>) {
                    // A pass sees one frame, and counts it from 0.
                    if (m_onSequence && values.getName() == "Frame") {
                        std::for_each(first, kept->end(),
                                      [&](std::int64_t& frame) { frame += static_cast<std::int64_t>(sequence); });
                    }
                }
            });
        }
        if (!fits) {
            throw ProcessingException("The passes of the run leave different arrays in a " +
                                      table.object->getClassInfo().getClassName() + ", which can't be joined.");
        }
        table.passes.push_back(pass);
    }
}

void PassResults::join() {
    for (Table& table : m_tables) {
        for (std::size_t i = 0; i < table.arrays.size(); ++i) {
            withArray(table.object->getArray(i), [&]<class T>(const MeasurementArray<T>& array) {
                // The object is the caller's, and not constant: only the list of its arrays is.
                auto& target = const_cast<MeasurementArray<T>&>(array);
                auto& values = std::get<std::vector<T>>(table.arrays[i]);
                target.reset(values.size());
                for (std::size_t row = 0; row < values.size(); ++row) {
                    target[row] = std::move(values[row]);
                }
            });
        }
        table.object->setPasses(std::move(table.passes));
    }
    m_tables.clear();
}

}  // namespace rix::algorithms
