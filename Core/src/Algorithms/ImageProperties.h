#pragma once

#include <cstddef>
#include <vector>

#include <rix/image/ImageModel.h>

namespace rix {
class BaseAlgorithm;
class BaseProperty;
class MeasurementSlot;
class Settings;
template <class T>
class Property;

namespace algorithms {

/// The image that a property holds; null when it holds none or is not an image property.
const ImageModel* imageOf(const BaseProperty& property);

/// The images of all properties that hold one, inputs first.
std::vector<const ImageModel*> collectImages(const BaseAlgorithm& algorithm);

/// The properties of an algorithm that every run looks at. An algorithm never loses a property: each is asked once what
/// it is.
class KnownProperties {
public:
    /// Asks the properties that came since the last call.
    void update(const BaseAlgorithm& algorithm);

    /// Images are anybody's objects, while rules and kernels look their types up in tables.
    /// @throws RuleException that names the first input whose types are none of the library's
    void refuseUnknownTypes() const;

    /// Writes what the outputs on disk hold in memory alone, where the setting "RIX_DISKIMAGE_FLUSH" asks for it: a run
    /// that ended is on disk then, and one that cannot be written has failed.
    /// @throws WritingError as `io::DiskImage::flush`
    void flushOutputs(const Settings& settings) const;

    /// The outputs that hold result objects.
    const std::vector<const MeasurementSlot*>& resultSlots() const { return m_resultSlots; }

private:
    std::size_t m_seenInputs = 0;
    std::size_t m_seenOutputs = 0;
    std::vector<const Property<const ImageModel*>*> m_imageInputs;
    std::vector<const Property<ImageModel*>*> m_imageOutputs;
    std::vector<const MeasurementSlot*> m_resultSlots;
};

}  // namespace algorithms
}  // namespace rix
