#pragma once

#include <rix/Export.h>
#include <rix/algorithms/OptimLevel.h>

namespace rix {

class BaseAlgorithm;

/// One implementation of an algorithm class at one level of optimisation. A runner has no state: one object serves
/// every algorithm object of its class, also at the same time.
class RIX_EXPORT Runnable {
public:
    virtual ~Runnable();
    /// Processes the data of the algorithm's properties.
    virtual void run(BaseAlgorithm* algorithm) const = 0;
    /// Whether this implementation accepts the algorithm's current data (types, dimensions, interpretations) and can
    /// run on this processor.
    virtual bool isRunnable(BaseAlgorithm* algorithm) const = 0;
    virtual OptimLevelType getOptimType() const = 0;
};

/// Base of the portable implementations.
class RIX_EXPORT ScalarRunnable : public Runnable {
public:
    OptimLevelType getOptimType() const override { return SCALAR; }
};

}  // namespace rix
