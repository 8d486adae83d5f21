#pragma once

#include <set>
#include <vector>

#include <rix/image/MemoryImage.h>

namespace rix::test {

/// An image that notes every call that could change it, and refuses those that it is told to.
class RecordingImage : public io::MemoryImage {
public:
    std::vector<String> m_calls;
    std::set<String> m_refused;
    bool m_refusesAll = false;

    bool setOriginOf(const Components& axis, double value) override {
        return take("origin " + helper::componentToString(axis)) && MemoryImage::setOriginOf(axis, value);
    }
    bool setSpacingOf(const Components& axis, double value) override {
        return take("spacing " + helper::componentToString(axis)) && MemoryImage::setSpacingOf(axis, value);
    }
    bool setSpatialUnitName(const String& name) override {
        return take("spatial unit") && MemoryImage::setSpatialUnitName(name);
    }
    bool setSpatialDirections(const vessel::SpatialDirections& directions) override {
        return take("directions") && MemoryImage::setSpatialDirections(directions);
    }
    bool setSequenceUnitName(const String& name) override {
        return take("sequence unit") && MemoryImage::setSequenceUnitName(name);
    }
    bool setInterpretation(const Interpretations& interpretation) override {
        return take("interpretation") && MemoryImage::setInterpretation(interpretation);
    }
    bool setColorInterpretation(ColorInterpretation interpretation) override {
        return take("color") && MemoryImage::setColorInterpretation(interpretation);
    }
    bool reserve(const VoxelTypes& type, std::size_t x, std::size_t y, std::size_t z, std::size_t t,
                 std::size_t s) override {
        return take("reserve " + helper::voxelTypesToString(type)) && MemoryImage::reserve(SINGLE, type, x, y, z, t, s);
    }
    bool reserve(const ElementTypes& element, const VoxelTypes& type, std::size_t x, std::size_t y, std::size_t z,
                 std::size_t t, std::size_t s) override {
        return take("reserve elements") && MemoryImage::reserve(element, type, x, y, z, t, s);
    }

private:
    bool take(const String& call) {
        m_calls.push_back(call);
        return !m_refusesAll && !m_refused.contains(call);
    }
};

}  // namespace rix::test
