#include <rix/algorithms/TryRun.h>

#include <new>

#include <rix/algorithms/BaseAlgorithm.h>

namespace rix {

bool RunOutcome::wasCancelled() const {
    return String(m_className) == "UserCancelException";
}

RunOutcome tryRun(BaseAlgorithm& algorithm, InteractionInterface* interaction) {
    // Not everything: a thread that ends inside a callback unwinds through here.
    try {
        algorithm.run(interaction);
        return {};
    } catch (const Exception& failure) {
        return RunOutcome(failure);
    } catch (const std::bad_alloc&) {
        return RunOutcome(MemoryError("There was no memory left to tell what failed."));
    } catch (const std::exception& failure) {
        return RunOutcome(UnexpectedError(failure.what()));
    }
}

}  // namespace rix
