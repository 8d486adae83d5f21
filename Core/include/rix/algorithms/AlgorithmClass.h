#pragma once

#include <memory>

#include <rix/algorithms/AbstractPrivateImplementation.h>
#include <rix/algorithms/AlgoInfo.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/exceptions/Exception.h>
#include <rix/properties/Property.h>

namespace rix::algorithms {

/// The private part that an algorithm was made with, or a new one of the algorithm's own kind.
template <class Private>
AbstractPrivateImplementation* orMake(AbstractPrivateImplementation* given) {
    if (given == nullptr) {
        return new Private();
    }
    if (dynamic_cast<Private*>(given) == nullptr) {
        throw InvalidCall("The private implementation does not belong to this algorithm class.");
    }
    return given;
}

/// The registry record of a class, made with its runners when the class is first used.
template <class Algorithm>
AlgoInfo& classRecord(const char* name, void (*addRunners)(AlgoInfo&),
                      AlgoVisibilityType visibility = AlgoVisibilityType::PUBLIC_ALGORITHM) {
    static AlgoInfo info(
        name, "lumora_rix",
        [](AbstractPrivateImplementation* implementation) -> std::unique_ptr<BaseAlgorithm> {
            return std::make_unique<Algorithm>(implementation);
        },
        visibility, "");
    static const bool filled = (addRunners(info), true);
    static_cast<void>(filled);
    return info;
}

}  // namespace rix::algorithms
