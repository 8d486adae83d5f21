#pragma once

// The properties that the library holds compiled. Those that most algorithms use are not compiled again wherever
// Property.h is included, whose last part this header is. To declare the others as well doubles what Property.h costs
// (0.5 s of compile time), so they have a header of their own, RarePropertyInstances.h.

#include <rix/properties/Property.h>  // whichever of the two is included first, the other follows
#include <rix/properties/ValueTypes.h>

// Macros, because an explicit instantiation cannot come out of a template. Each list is compiled by one source file.
#define RIX_FOR_SIMPLE_PROPERTIES(DO) \
    DO(bool)                          \
    DO(int)                           \
    DO(unsigned int)                  \
    DO(long)                          \
    DO(unsigned long)                 \
    DO(double)                        \
    DO(String)                        \
    DO(FilePath)                      \
    DO(Scalar)                        \
    DO(ScalarArray)

#define RIX_FOR_VECTORS_OF(DO, T) \
    DO(math::Vector2<T>)          \
    DO(math::Vector3<T>)          \
    DO(math::Vector4<T>)

#define RIX_FOR_MATRIX_PROPERTIES(DO)    \
    RIX_FOR_VECTORS_OF(DO, int)          \
    RIX_FOR_VECTORS_OF(DO, unsigned int) \
    RIX_FOR_VECTORS_OF(DO, double)       \
    DO(math::Matrix2<float>)             \
    DO(math::Matrix2<double>)            \
    DO(math::Matrix3<float>)             \
    DO(math::Matrix3<double>)            \
    DO(vessel::Matrix<double, 3>)        \
    DO(vessel::Matrix<double, 4>)

#define RIX_FOR_LIST_PROPERTIES(DO)           \
    DO(container::Vector<double>)             \
    DO(container::Vector<int>)                \
    DO(container::Vector<long>)               \
    DO(container::Vector<unsigned char>)      \
    DO(container::Vector<unsigned int>)       \
    DO(container::Vector<unsigned long>)      \
    DO(container::Vector<math::Vector2<int>>) \
    DO(container::Vector<math::Vector3<int>>)

#define RIX_FOR_POINTERS_TO(DO, T) \
    DO(T*)                         \
    DO(const T*)

#define RIX_FOR_POINTERS_TO_LISTS_OF_VECTORS_OF(DO, T)           \
    RIX_FOR_POINTERS_TO(DO, container::Vector<math::Vector2<T>>) \
    RIX_FOR_POINTERS_TO(DO, container::Vector<math::Vector3<T>>) \
    RIX_FOR_POINTERS_TO(DO, container::Vector<math::Vector4<T>>)

#define RIX_FOR_LIST_POINTER_PROPERTIES(DO)                   \
    RIX_FOR_POINTERS_TO(DO, container::Vector<double>)        \
    RIX_FOR_POINTERS_TO(DO, container::Vector<int>)           \
    RIX_FOR_POINTERS_TO(DO, container::Vector<long>)          \
    RIX_FOR_POINTERS_TO(DO, container::Vector<unsigned char>) \
    RIX_FOR_POINTERS_TO(DO, container::Vector<unsigned int>)  \
    RIX_FOR_POINTERS_TO(DO, container::Vector<unsigned long>) \
    RIX_FOR_POINTERS_TO_LISTS_OF_VECTORS_OF(DO, int)          \
    RIX_FOR_POINTERS_TO_LISTS_OF_VECTORS_OF(DO, unsigned int) \
    RIX_FOR_POINTERS_TO_LISTS_OF_VECTORS_OF(DO, double)

#define RIX_FOR_SHARED(DO, T) \
    DO(std::shared_ptr<T>)    \
    DO(std::shared_ptr<const T>)

#define RIX_FOR_IMAGE_PROPERTIES(DO) \
    DO(ImageModel*)                  \
    DO(const ImageModel*)

#define RIX_FOR_OBJECT_PROPERTIES(DO)                            \
    RIX_FOR_SHARED(DO, ReadOnlyImageView)                        \
    RIX_FOR_SHARED(DO, vessel::ImageView)                        \
    RIX_FOR_SHARED(DO, vessel::TensorView)                       \
    RIX_FOR_SHARED(DO, vessel::DataFrameView)                    \
    RIX_FOR_POINTERS_TO(DO, vessel::ArrayX<long>)                \
    RIX_FOR_POINTERS_TO(DO, vessel::ArrayX<double>)              \
    DO(kernel::Kernel2D)                                         \
    DO(kernel::Kernel3D)                                         \
    DO(kernel::RecursiveKernel1D)                                \
    DO(std::shared_ptr<individual_analysis::LabelImageSegments>) \
    DO(std::shared_ptr<individual_analysis::MeasureGroup>)       \
    DO(std::shared_ptr<math::LabelPolygons2d>)

namespace rix {

#define RIX_DECLARE_PROPERTY(...)                       \
    extern template class PropertyPrivate<__VA_ARGS__>; \
    extern template class Property<__VA_ARGS__>;

RIX_FOR_SIMPLE_PROPERTIES(RIX_DECLARE_PROPERTY)
RIX_FOR_IMAGE_PROPERTIES(RIX_DECLARE_PROPERTY)

#undef RIX_DECLARE_PROPERTY

}  // namespace rix
