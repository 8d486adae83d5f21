#pragma once

#include <memory>
#include <optional>

#include <rix/Export.h>
#include <rix/String.h>
#include <rix/access/FunctionRef.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/exceptions/Exception.h>

/// For runners that are made of other algorithms.
namespace rix::algorithms {

/// Runs `child` as the next step of `parent`'s run: in its thread, with its settings, its progress and cancellation
/// shared (see `access::Steps` for the part of the progress). What the child throws names it, then the parent.
/// @param level the level that the parent's runner serves: the child is forced to it. A child without a runner of that
///        level, and one for which no level is given, runs on its own best.
RIX_EXPORT void runChild(BaseAlgorithm& parent, BaseAlgorithm& child, std::optional<OptimLevelType> level = {});

/// Runs an algorithm that is known by name only, so that a module need not link the one that has it.
/// @param setUp is given the new child to set its properties (see `propertyOf`)
/// @return the child after its run, for its results
/// @throws InvalidCall when no such class is registered
RIX_EXPORT std::unique_ptr<BaseAlgorithm> runChild(BaseAlgorithm& parent, const String& className,
                                                   access::FunctionRef<void(BaseAlgorithm&)> setUp,
                                                   std::optional<OptimLevelType> level = {});

/// The property of that name. @throws InvalidCall when there is none.
RIX_EXPORT BaseProperty& propertyOf(const BaseAlgorithm& algorithm, const String& name);

/// The property of that name in its type: `propertyOf<const ImageModel*>(child, "inputImage") = &image`. A choice is a
/// `Property<int>`. @throws InvalidCall when there is none, or its values are of another type.
template <class T>
Property<T>& propertyOf(const BaseAlgorithm& algorithm, const String& name) {
    BaseProperty& property = propertyOf(algorithm, name);
    if (auto* const typed = dynamic_cast<Property<T>*>(&property)) {
        return *typed;
    }
    throw InvalidCall("The property " + name + " holds values of the type " + property.getImpl()->describeType() +
                      ", not " + ValueTypeName<T>::get() + '.');
}

}  // namespace rix::algorithms
