#include "BaseAlgorithmPrivate.h"

#include <algorithm>
#include <exception>
#include <new>
#include <utility>

#include <cxxabi.h>

#include <rix/access/Looks.h>
#include <rix/algorithms/AlgoInfo.h>
#include <rix/devices/Cpu.h>
#include <rix/exceptions/Exception.h>
#include <rix/properties/BaseProperty.h>

#include "GenericIterator.h"
#include "ImageProperties.h"
#include "PassResults.h"
#include "Process/Forks.h"
#include "ThreadLimiter.h"
#include "ThreadPriority.h"
#include "Worker.h"

namespace rix::algorithms {

namespace {

/// How often progress is handed on. It never delays the end of a run.
constexpr std::chrono::milliseconds talkPeriod{100};

/// Made while there is memory, for when there is none even to tell of it. Never destroyed: runs may be as late.
const UnexpectedError& exhaustedMemory() {
    static const auto* const error = [] {
        auto* const made = new UnexpectedError("Memory is exhausted: an allocation during the run failed.");
        made->setOutOfMemory();
        return made;
    }();
    return *error;
}

}  // namespace

/// Whatever happens, a run leaves the algorithm unlocked, not running and ready for the next run.
class BaseAlgorithmPrivate::RunGuard {
public:
    explicit RunGuard(BaseAlgorithmPrivate& run) : m_run(run) {
        m_run.m_implementation->attach(&m_run.m_algorithm);
        m_run.m_lastRunLevel.reset();
        BaseAlgorithmPrivate* const parent = m_run.parentPrivate();
        m_run.m_progression.reset(parent != nullptr ? &parent->m_progression : nullptr);
        m_run.setMessage(String());
        // Last: who sees the run may cancel it, and no request after that is forgotten.
        m_run.m_running = true;
    }
    ~RunGuard() {
        m_run.m_interaction = nullptr;
        m_run.m_implementation->detach();
        m_run.m_algorithm.lockAllProperties(false);
        m_run.m_internalRunStarted = false;
        m_run.m_running = false;
        m_run.m_entered = false;
    }
    RunGuard(const RunGuard&) = delete;
    RunGuard& operator=(const RunGuard&) = delete;

private:
    BaseAlgorithmPrivate& m_run;
};

BaseAlgorithmPrivate::BaseAlgorithmPrivate(BaseAlgorithm& algorithm,
                                           std::unique_ptr<AbstractPrivateImplementation> implementation)
    : m_algorithm(algorithm), m_implementation(std::move(implementation)), m_settings(globalSettings()) {
    exhaustedMemory();
}

BaseAlgorithmPrivate* BaseAlgorithmPrivate::parentPrivate() const {
    return m_parent != nullptr ? m_parent->m_private.get() : nullptr;
}

void BaseAlgorithmPrivate::run(InteractionInterface* interaction) {
    if (m_entered.exchange(true)) {
        return;
    }
    m_generation = process::generation();
    const process::ActiveRun active;
    const process::DefaultFloatingPoint floatingPoint;
    m_floatingPoint = &floatingPoint;
    try {
        runInFamily(interaction);
    } catch (const std::bad_alloc&) {
        throw exhaustedMemory();
    }
}

bool BaseAlgorithmPrivate::isInUse() const {
    // In a child process the threads of its parent run nothing.
    return m_entered && m_generation == process::generation();
}

void BaseAlgorithmPrivate::runInFamily(InteractionInterface* interaction) {
    try {
        const process::DefaultFloatingPoint& floatingPoint = *m_floatingPoint;
        {
            const RunGuard guard(*this);
            runGuarded(interaction);
        }
        if (interaction != nullptr) {
            const process::DefaultFloatingPoint::Outside outside(floatingPoint);
            report(*interaction);  // progress 1
        }
    } catch (const abi::__forced_unwind&) {
        throw;  // the thread is being ended: nobody may catch it
    } catch (Exception& exception) {
        try {
            exception.addInfoLevel(runLabel());
        } catch (const std::bad_alloc&) {
            // The cause matters more than the label.
        }
        throw;
    } catch (const ExceptionCancelation& cancelation) {
        UserCancelException exception(cancelation.what());
        exception.addInfoLevel(runLabel());
        throw exception;
    } catch (const std::bad_alloc&) {
        UnexpectedError exception(exhaustedMemory());
        exception.addInfoLevel(runLabel());
        throw exception;
    } catch (const std::exception& other) {
        UnexpectedError exception(other.what());
        exception.addInfoLevel(runLabel());
        throw exception;
    } catch (...) {
        UnexpectedError exception("undefined exception");
        exception.addInfoLevel(runLabel());
        throw exception;
    }
}

String BaseAlgorithmPrivate::runLabel() const {
    const AlgoInfo& info = m_algorithm.getClassInfo();
    return "Error in algorithm " + info.getName() + " of library " + info.getLibName();
}

void BaseAlgorithmPrivate::runGuarded(InteractionInterface* interaction) {
    const BaseAlgorithmPrivate* const parent = parentPrivate();
    const int limit = m_settings.getMaximumNumberOfThreads();
    // A child with its parent's limit is inside its parent's arena already.
    const bool limitIsParents = parent != nullptr && limit == parent->m_settings.getMaximumNumberOfThreads();
    const int priority = parent == nullptr ? m_settings.getThreadPriority() : 0;
    const ThreadLimiter limiter(limitIsParents ? -1 : limit, priority);

    m_algorithm.lockAllProperties(true);
    m_known.update(m_algorithm);
    m_known.refuseUnknownTypes();
    m_algorithm.applyAllRules();
    openAccount(parent);

    bool hasWorker = true;
    const auto work = [&] {
        const ThreadPriority threadPriority(priority);
        limiter.execute([&] {
            const access::MemoryAccount::Scope scope(m_account);
            const access::RunOfThread runOfThread(*this);
            // Asked here: without a limit it depends on the arena, and the worker is not in that of the caller.
            m_threads = limitIsParents ? parent->m_threads : hasWorker ? limiter.threads() : 1;
            internalRun();
            if (parent == nullptr) {
                m_known.flushOutputs(m_settings);
            }
        });
    };
    if (!runsInCallersThread()) {
        hasWorker = runInWorker(
            work, talkPeriod,
            [&] {
                if (interaction != nullptr) {
                    talk(*interaction);
                }
            },
            [&] { m_algorithm.cancelExecution(); });
        if (hasWorker) {
            return;
        }
    }
    if (parent == nullptr) {
        m_interaction = interaction;
        m_callersThread = std::this_thread::get_id();
        m_lastTalk = std::chrono::steady_clock::now();
    }
    work();
}

void BaseAlgorithmPrivate::openAccount(const BaseAlgorithmPrivate* parent) {
    if (parent != nullptr && parent->m_running) {
        m_account = parent->m_account;
    } else {
        m_account =
            std::make_shared<access::MemoryAccount>(m_algorithm.getMaximumExtraMemoryUsageInBytes(), &m_settings);
    }
}

void BaseAlgorithmPrivate::refuseTooMuchMemory() const {
    const std::size_t limit = m_account->limit();
    if (limit == 0) {
        return;
    }
    const AlgorithmDescription description = m_algorithm.describe();
    const std::size_t available = limit - std::min(limit, m_account->used());
    if (description.extraMemoryIsExact && description.extraMemory > available) {
        const std::size_t used = limit - available;
        throw MemoryError("The run needs " + std::to_string(description.extraMemory) + " bytes of extra memory" +
                          (used > 0 ? " beside the " + std::to_string(used) + " in use" : "") + "; the limit is " +
                          std::to_string(limit) + " bytes.");
    }
}

bool BaseAlgorithmPrivate::runsInCallersThread() const {
    return m_parent != nullptr || process::staysInCallersThread() || m_settings.getMaximumNumberOfThreads() == 1 ||
           devices::Cpu::logicalProcessors() == 1;
}

void BaseAlgorithmPrivate::internalRun() {
    m_internalRunStarted = true;
    PassResults results(m_known.resultSlots(), m_iterateSequence, m_iterateSpectral);
    m_frame = 0;
    m_channel = 0;
    bool iterated = false;
    if (m_iterateSequence || m_iterateSpectral) {
        GenericIterator iterator(m_algorithm, m_iterateSequence, m_iterateSpectral);
        iterated = iterator.run(*this, [&](const GenericIterator::Pass& pass) {
            m_progression.startPass(pass.number, pass.count);
            m_frame = pass.sequence;
            m_channel = pass.spectral;
            dispatchLevels();
            results.take(pass.sequence, pass.spectral);
        });
    }
    if (!iterated) {
        dispatchLevels();
        results.take(0, 0);
    }
    results.join();
    m_progression.finish();
}

void BaseAlgorithmPrivate::dispatchLevels() {
    refuseTooMuchMemory();  // here, where an iterated run shows the images of one pass
    Outcome outcome = Outcome::NoRunner;
    // The setting is anybody's text; levels beyond the last have no runners.
    const int maximum = std::min<int>(m_algorithm.getMaxOptimLevel(), GPU);
    if (m_autoDispatch) {
        for (int level = maximum; level >= 0 && outcome != Outcome::Success; --level) {
            outcome = tryLevel(level);
        }
    } else if (m_forcedLevel <= maximum) {
        outcome = tryLevel(m_forcedLevel);
    } else {
        throw UnexpectedError("forced optim level higher than max optim level");
    }
    if (outcome == Outcome::NoRunner) {
        throw RunForException("no runner found for algorithm");
    }
    if (outcome == Outcome::NotRunnable) {
        throw RunForException("no runner runnable with associated data");
    }
}

BaseAlgorithmPrivate::Outcome BaseAlgorithmPrivate::tryLevel(int level) {
    Outcome outcome = Outcome::NoRunner;
    for (const std::shared_ptr<Runnable>& runner : m_algorithm.getClassInfo().getRunners()) {
        if (runner->getOptimType() != level) {
            continue;
        }
        if (runner->isRunnable(&m_algorithm)) {
            runner->run(&m_algorithm);
            throwIfCancelled();
            m_lastRunLevel = static_cast<OptimLevelType>(level);
            return Outcome::Success;
        }
        outcome = Outcome::NotRunnable;
    }
    return outcome;
}

bool BaseAlgorithmPrivate::isRunCancelled() const {
    const BaseAlgorithmPrivate* const parent = parentPrivate();
    return m_implementation->isCancelled() || (parent != nullptr && parent->isRunCancelled());
}

void BaseAlgorithmPrivate::blockDone(double work) {
    m_progression.add(work);
    BaseAlgorithmPrivate* root = this;
    while (root->m_parent != nullptr) {
        root = root->parentPrivate();
    }
    root->talkFromCallersThread();
}

void BaseAlgorithmPrivate::talkFromCallersThread() {
    if (m_interaction == nullptr || std::this_thread::get_id() != m_callersThread) {
        return;
    }
    const auto now = std::chrono::steady_clock::now();
    if (now - m_lastTalk >= talkPeriod) {
        m_lastTalk = now;
        talk(*m_interaction);
    }
}

void BaseAlgorithmPrivate::talk(InteractionInterface& interaction) {
    const process::DefaultFloatingPoint::Outside outside(*m_floatingPoint);
    report(interaction);
    if (interaction.isCancelRequested()) {
        m_algorithm.cancelExecution();
    }
}

void BaseAlgorithmPrivate::report(InteractionInterface& interaction) const {
    interaction.setProgress(m_progression.value());
    interaction.setProgressionMessage(m_algorithm.getProgressionMessage());
    String name;
    String value;
    m_algorithm.getProgressionData(name, value);
    interaction.setProgressionData(name, value);
}

void BaseAlgorithmPrivate::setMessage(const String& message) {
    {
        const std::lock_guard lock(m_textMutex);
        m_message = message;
    }
    if (BaseAlgorithmPrivate* const parent = parentPrivate(); parent != nullptr && !message.empty()) {
        parent->setMessage(message);
    }
}

void BaseAlgorithmPrivate::setData(const String& name, const String& value) {
    {
        const std::lock_guard lock(m_textMutex);
        m_dataName = name;
        m_dataValue = value;
    }
    if (BaseAlgorithmPrivate* const parent = parentPrivate(); parent != nullptr) {
        parent->setData(name, value);
    }
}

access::BlockScheduler& BaseAlgorithmPrivate::scheduler() const {
    for (const BaseAlgorithmPrivate* run = this; run != nullptr; run = run->parentPrivate()) {
        if (run->m_scheduler != nullptr) {
            return *run->m_scheduler;
        }
    }
    return m_threads == 1 ? access::serialScheduler() : access::parallelScheduler();
}

}  // namespace rix::algorithms
