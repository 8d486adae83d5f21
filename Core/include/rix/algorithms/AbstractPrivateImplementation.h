#pragma once

#include <atomic>

#include <rix/Export.h>

namespace rix {

class BaseAlgorithm;

namespace algorithms {

/// Base of the private part of every algorithm: the concrete algorithm derives from it and keeps its properties and
/// results there. It carries the request to cancel, which is why a run attaches it and detaches it at its end.
class RIX_EXPORT AbstractPrivateImplementation {
public:
    AbstractPrivateImplementation() = default;
    virtual ~AbstractPrivateImplementation();
    AbstractPrivateImplementation(const AbstractPrivateImplementation&) = delete;
    AbstractPrivateImplementation& operator=(const AbstractPrivateImplementation&) = delete;

    /// Start of a run: forgets an earlier request to cancel.
    void attach(BaseAlgorithm* algorithm);
    /// End of a run.
    void detach();
    /// The algorithm whose run uses this object; null outside a run.
    BaseAlgorithm* attachedAlgorithm() const { return m_algorithm; }

    void cancel() { m_cancelled.store(true, std::memory_order_relaxed); }
    bool isCancelled() const { return m_cancelled.load(std::memory_order_relaxed); }

private:
    BaseAlgorithm* m_algorithm = nullptr;
    std::atomic<bool> m_cancelled{false};
};

}  // namespace algorithms
}  // namespace rix
