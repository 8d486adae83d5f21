#pragma once

#include <memory>
#include <utility>

#include <rix/Export.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/algorithms/BoundProperty.h>
#include <rix/image/ImageModel.h>

/// What the public header of an algorithm is made of. A class names its properties, each with its documentation:
///
///     class RIX_EXPORT Smooth : public BaseAlgorithm {
///         RIX_ALGORITHM(Smooth)
///
///         RIX_INPUT(const ImageModel*, InputImage, inputImage)
///         /// In voxels; default 1.
///         RIX_INPUT(std::int32_t, Radius, radius)
///         /// Default `MIRROR`.
///         RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
///         RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
///     };
///
/// and has of each a setter, a getter and the property itself: `setRadius(3)`, `getRadius()`, `radius`. Descriptions,
/// rules and work are given in the source file; see `Definition.h`.

/// The members that every algorithm class has: `New()` makes an object with shared ownership, `getInfo()` is the record
/// of the class in the registry. The constructor takes ownership of a private part that was made for the class; without
/// one it makes its own.
#define RIX_ALGORITHM(Class)                                                           \
public:                                                                                \
    static std::shared_ptr<Class> New();                                               \
    static ::rix::AlgoInfo& getInfo();                                                 \
    explicit Class(::rix::algorithms::AbstractPrivateImplementation* given = nullptr); \
    ::rix::AlgoInfo& getClassInfo() const override;                                    \
    ::rix::AlgorithmDescription describe() const override;                             \
    void applyAllRules() override;

/// An input of a type: `setName(value)`, `getName()`, and the property `name`. A header with an input of a vector or a list
/// includes <rix/properties/RarePropertyInstances.h>, so that the code of such properties is taken from the library.
#define RIX_INPUT(Type, Name, name)        \
    void set##Name(Type const& newValue) { \
        (name) = newValue;                 \
    }                                      \
    Type get##Name() const {               \
        return (name).get();               \
    }                                      \
    ::rix::algorithms::BoundProperty<::rix::Property<Type>> name{#name};

/// An output of a type, as `RIX_INPUT`.
#define RIX_OUTPUT(Type, Name, name) RIX_INPUT(Type, Name, name)

/// A choice between the values of the enumeration `Type`, which the function `info` describes.
#define RIX_CHOICE(Type, Name, name, info)      \
    void set##Name(Type newValue) {             \
        (name) = static_cast<int>(newValue);    \
    }                                           \
    Type get##Name() const {                    \
        return static_cast<Type>((name).get()); \
    }                                           \
    ::rix::algorithms::BoundProperty<::rix::PropertySingleChoice> name{#name, &info()};

/// An output that is a result object of the class `Result`.
#define RIX_RESULT(Result, Name, name) \
    void set##Name(Result* newValue) { \
        (name) = newValue;             \
    }                                  \
    Result* get##Name() const {        \
        return (name).get();           \
    }                                  \
    ::rix::algorithms::BoundProperty<::rix::PropertyMeasurement<Result>> name{#name};
