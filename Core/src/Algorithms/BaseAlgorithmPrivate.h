#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include <rix/access/BlockScheduler.h>
#include <rix/access/ExecutionContext.h>
#include <rix/access/MemoryAccount.h>
#include <rix/algorithms/AbstractPrivateImplementation.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/settings/Settings.h>

#include "ImageProperties.h"
#include "Process/FloatingPoint.h"
#include "Progression.h"

namespace rix::algorithms {

/// State of an algorithm object and the procedure of its run.
class BaseAlgorithmPrivate final : public access::ExecutionContext {
public:
    BaseAlgorithmPrivate(BaseAlgorithm& algorithm, std::unique_ptr<AbstractPrivateImplementation> implementation);

    void run(InteractionInterface* interaction);
    bool isRunCancelled() const;
    /// True between the begin and the end of `run`, in the process that called it.
    bool isInUse() const;
    void setMessage(const String& message);
    void setData(const String& name, const String& value);

    // access::ExecutionContext
    bool isCancelled() const override { return isRunCancelled(); }
    void blockDone(double work) override;
    void startStep(double work) override { m_progression.startStep(work); }
    access::BlockScheduler& scheduler() const override;
    std::size_t maximumThreads() const override { return m_threads; }

    BaseAlgorithm& m_algorithm;
    std::unique_ptr<AbstractPrivateImplementation> m_implementation;
    std::vector<BaseProperty*> m_inputs;
    std::vector<BaseProperty*> m_outputs;
    Settings m_settings;
    OptimLevelType m_forcedLevel = SCALAR;
    bool m_autoDispatch = true;
    bool m_iterateSpectral = false;
    bool m_iterateSequence = false;
    std::size_t m_frame = 0;             ///< that the present pass of an iterated run shows, or 0
    std::size_t m_channel = 0;           ///< likewise
    std::atomic<bool> m_entered{false};  ///< keeps a second call of `run` out
    std::atomic<bool> m_running{false};  ///< what others see of it
    std::atomic<bool> m_internalRunStarted{false};
    BaseAlgorithm* m_parent = nullptr;
    Progression m_progression;
    mutable std::mutex m_textMutex;  ///< guards the message and the data
    String m_message;
    String m_dataName;
    String m_dataValue;
    std::shared_ptr<access::BlockScheduler> m_scheduler;
    std::shared_ptr<access::MemoryAccount> m_account;  ///< of the run, or of the last one
    std::optional<OptimLevelType> m_lastRunLevel;

private:
    void openSteps(std::size_t count, std::span<const double> weights) override {
        m_progression.openSteps(count, weights);
    }
    void closeSteps() noexcept override { m_progression.closeSteps(); }

    class RunGuard;
    enum class Outcome { NoRunner, NotRunnable, Success };

    /// Runs; whatever is thrown leaves as an exception of the library, or as `std::bad_alloc`.
    void runInFamily(InteractionInterface* interaction);
    void runGuarded(InteractionInterface* interaction);
    void openAccount(const BaseAlgorithmPrivate* parent);
    void refuseTooMuchMemory() const;
    bool runsInCallersThread() const;
    void internalRun();
    void dispatchLevels();
    Outcome tryLevel(int level);
    String runLabel() const;
    BaseAlgorithmPrivate* parentPrivate() const;

    /// Hands progress to the person who waits and takes the request to cancel from them.
    void talk(InteractionInterface& interaction);
    /// The part of it that asks nothing: how far the run is.
    void report(InteractionInterface& interaction) const;
    void talkFromCallersThread();

    KnownProperties m_known;
    std::size_t m_threads = 1;
    unsigned m_generation = 0;                                       ///< of the process that runs, or ran
    const process::DefaultFloatingPoint* m_floatingPoint = nullptr;  ///< of the run
    /// Set while the run is in the caller's thread, which then has to talk between blocks.
    InteractionInterface* m_interaction = nullptr;
    std::thread::id m_callersThread;
    std::chrono::steady_clock::time_point m_lastTalk;
};

}  // namespace rix::algorithms
