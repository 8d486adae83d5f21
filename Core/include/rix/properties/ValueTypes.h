#pragma once

// The value types that properties are compiled for: the small ones in full, the others by declaration alone. The
// declarations carry the visibility of the definitions, without which the properties would stay inside the library.

#include <memory>

#include <vessel/Export.h>
#include <vessel/Matrix.h>

#include <rix/Export.h>
#include <rix/FilePath.h>
#include <rix/String.h>
#include <rix/container/Vector.h>
#include <rix/kernel/Kernel2D.h>
#include <rix/kernel/Kernel3D.h>
#include <rix/kernel/RecursiveKernel1D.h>
#include <rix/math/Matrix.h>
#include <rix/math/Vector.h>
#include <rix/properties/Scalar.h>
#include <rix/properties/ScalarArray.h>

// A declaration after the definition changes nothing, and g++ says so; which comes first is the includer's choice.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wattributes"

namespace vessel {
template <class T>
class VESSEL_EXPORT ArrayX;
class VESSEL_EXPORT DataFrameView;
class VESSEL_EXPORT ImageView;
class VESSEL_EXPORT TensorView;
}  // namespace vessel

namespace rix {

class RIX_EXPORT ImageModel;
class RIX_EXPORT ReadOnlyImageView;

namespace individual_analysis {
class RIX_EXPORT LabelImageSegments;
class RIX_EXPORT MeasureGroup;
}  // namespace individual_analysis

namespace math {
class RIX_EXPORT LabelPolygons2d;
}

}  // namespace rix

#pragma GCC diagnostic pop
