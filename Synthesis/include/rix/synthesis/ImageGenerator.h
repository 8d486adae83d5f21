#pragma once

#include <cstdint>

#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/math/Vector.h>
#include <rix/properties/RarePropertyInstances.h>

namespace rix {
class EnumInfo;
}

namespace rix::synthesis {

/// The axis of space along which an image changes. A class makes the names its own: `using enum synthesis::Axis;`.
enum class Axis : int { COLUMNS = 0, ROWS, PLANS };
RIX_EXPORT const EnumInfo& getInfoAxis();

/// What all algorithms have in common that make an image without one to begin with: its extents, spacing and type.
///
/// The image has the origin 0 and no unit; element i of an axis lies at i times the spacing. Values that are computed
/// as reals are rounded to nearest (ties to even) and clamped where the type is an integer; complex types are left out.
///
/// @throws RuleException from `run` for an extent below 1, a spacing that is not within 1e-9 and 1e9, and an image of
///         more bytes than `RIX_MAXIMUM_IMAGE_SIZE` allows or, without that setting, than the machine has memory.
class RIX_EXPORT ImageGenerator : public BaseAlgorithm {
public:
    /// The type of the result.
    using OutputType = algorithms::RealOutputType;
    using enum algorithms::RealOutputType;

    ~ImageGenerator() override;

    /// Columns; default 256.
    RIX_INPUT(std::int64_t, SizeX, sizeX)
    /// Rows; default 256.
    RIX_INPUT(std::int64_t, SizeY, sizeY)
    /// Planes; default 1.
    RIX_INPUT(std::int64_t, SizeZ, sizeZ)
    /// Frames; default 1.
    RIX_INPUT(std::int64_t, SizeT, sizeT)
    /// Channels; default 1.
    RIX_INPUT(std::int64_t, SizeC, sizeC)
    /// Of columns, rows and planes; default 1.
    RIX_INPUT(math::Vector3<double>, Spacing, spacing)
    /// Default `FLOAT_32_BIT`.
    RIX_CHOICE(OutputType, OutputType, outputType, algorithms::getInfoRealOutputType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)

protected:
    explicit ImageGenerator(algorithms::AbstractPrivateImplementation* implementation);
};

}  // namespace rix::synthesis
