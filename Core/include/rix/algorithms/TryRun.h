#pragma once

#include <optional>

#include <rix/Export.h>
#include <rix/exceptions/Exception.h>

namespace rix {

class BaseAlgorithm;
class InteractionInterface;

/// How a run ended.
class RIX_EXPORT RunOutcome {
public:
    RunOutcome() = default;
    explicit RunOutcome(const Exception& failure)
        : m_failure(failure), m_className(failure.getClassName()), m_isOutOfMemory(failure.isOutOfMemory()) {}

    /// Whether the outputs hold the result.
    explicit operator bool() const { return !m_failure.has_value(); }
    /// Whether somebody asked the run to stop.
    bool wasCancelled() const;
    /// Whether there was not enough memory.
    bool wasOutOfMemory() const { return m_isOutOfMemory; }
    /// The class of the exception that `run` would have thrown, for example "RuleException"; empty after a success.
    const char* className() const { return m_className; }
    /// The cause of the failure; empty after a success.
    String message() const { return m_failure.has_value() ? m_failure->getMessage() : String(); }
    /// All levels of the failure, what was being done first and the cause last, a line each; empty after a success.
    String info() const { return m_failure.has_value() ? m_failure->getInfo() : String(); }

private:
    std::optional<Exception> m_failure;
    const char* m_className = "";
    bool m_isOutOfMemory = false;
};

/// Runs an algorithm and returns how that went instead of throwing, for programs that are built without exceptions
/// (`-fno-exceptions`), or that prefer results. Costs nothing where nothing fails.
///
///     if (const rix::RunOutcome outcome = rix::tryRun(filter); !outcome) {
///         log(outcome.message());
///     }
RIX_EXPORT RunOutcome tryRun(BaseAlgorithm& algorithm, InteractionInterface* interaction = nullptr);

}  // namespace rix
