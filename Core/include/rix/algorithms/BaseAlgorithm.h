#pragma once

#include <cstddef>
#include <memory>
#include <optional>

#include <rix/Export.h>
#include <rix/String.h>
#include <rix/algorithms/AlgorithmDescription.h>
#include <rix/algorithms/InteractionInterface.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/properties/Property.h>

namespace rix {

class AlgoInfo;
class Settings;

namespace access {
class BlockScheduler;
class ExecutionContext;
}  // namespace access

namespace algorithms {
class AbstractPrivateImplementation;
class BaseAlgorithmPrivate;
class Properties;
class StateAccess;
}  // namespace algorithms

/// Base of every operation of the library.
///
/// An algorithm object owns input and output properties. `run` checks them with their rules, lets the rules shape the
/// outputs, and hands the work to the best implementation (runner) that the processor, the settings and the data
/// allow. An object runs any number of times, one run at a time; after a failure or a cancellation it is ready to run
/// again. Images are given as pointers that the caller owns and keeps alive until the run is over.
///
/// A run happens in the caller's thread when the algorithm is a child of another, when the processor has one logical
/// processor or when the settings allow one thread; otherwise in a worker thread, while the caller's thread polls
/// progress and cancellation and hands them to the interaction interface.
class RIX_EXPORT BaseAlgorithm {
public:
    /// Takes ownership of `implementation`, made by the concrete algorithm.
    explicit BaseAlgorithm(algorithms::AbstractPrivateImplementation* implementation);
    BaseAlgorithm(const BaseAlgorithm&) = delete;
    BaseAlgorithm& operator=(const BaseAlgorithm&) = delete;

    virtual AlgoInfo& getClassInfo() const = 0;
    /// Not while it runs: the program then ends with a message that says so.
    virtual ~BaseAlgorithm();

    /// True when properties appear or vanish with the values of others.
    virtual bool hasDynamicProperties() const;
    /// Called when a property of this algorithm changed.
    virtual void onPropertyChanged(BaseProperty* property);
    /// Applies the rules of every input, then of every output, in the order of declaration.
    /// @throws RuleException of the first rule that fails; later rules do not run.
    virtual void applyAllRules();

    // Properties ----------------------------------------------------------------------------------------------------

    std::size_t getNumOfProperties() const;
    std::size_t getNumOfInputProperties() const;
    std::size_t getNumOfOutputProperties() const;
    /// @throws BadIndex when there is no such property.
    BaseProperty* getInputProperty(std::size_t index) const;
    BaseProperty* getOutputProperty(std::size_t index) const;
    bool isOutput(const BaseProperty* property) const;
    /// The first input of that name, else the first output, else null.
    BaseProperty* getPropertyfromName(const String& name) const;
    /// Locks or unlocks every property. Returns true.
    bool lockAllProperties(bool locked);

    // Execution -----------------------------------------------------------------------------------------------------

    /// Runs the algorithm; returns at once when it is running already.
    /// @throws Exception of the class that names the failure: `RuleException` for refused properties,
    ///         `UserCancelException` after a cancellation, `RunForException` when no runner can serve,
    ///         `UnexpectedError` for what the library does not know. The outermost level names the algorithm.
    void run(InteractionInterface* interaction = nullptr);
    bool running() const;
    /// Asks the run to stop: at the next end of a block it ends with `UserCancelException`. Safe from any thread.
    void cancelExecution();
    bool isExecutionCancelled() const;
    /// From 0 to 1; safe from any thread, like the message and the data.
    double getProgress() const;
    String getProgressionMessage() const;
    void getProgressionData(String& name, String& value) const;
    void setProgressionMessage(const String& message);
    void setProgressionData(const String& name, const String& value);

    // Optimisation --------------------------------------------------------------------------------------------------

    /// The level that runs are forced to when automatic dispatch is off.
    void setOptimLevel(OptimLevelType level);
    OptimLevelType getOptimLevel() const;
    /// The highest level tried: the setting "RIX_MAX_OPTIM_LEVEL", by default the last level.
    OptimLevelType getMaxOptimLevel() const;
    void setMaxOptimLevel(OptimLevelType level);
    /// True when a runner of that level is registered for the class.
    bool isOptimLevelSupported(OptimLevelType level) const;
    OptimLevelType getMostPerformantAvailableOptimLevel() const;
    /// On (the default): the levels from the highest down are tried until one accepts the data. Off: only the forced
    /// level is tried.
    void setAutoCpuDispatch(bool enabled);
    bool getAutoCpuDispatch() const;
    /// The level of the runner that served the last run; none before the first and after a failed one.
    std::optional<OptimLevelType> getLastRunLevel() const;

    // Capabilities --------------------------------------------------------------------------------------------------

    virtual bool supports2D() const;
    virtual bool supports3D() const;
    virtual bool supportsDiskImages() const;
    /// True when an image property holds an image that lies on disk.
    bool hasPropertyImageOnDisk() const;
    /// True when every image property that is set holds an image of the same extents.
    bool hasUniformSizeImages() const;
    /// Runs the algorithm once for every index of the axis, on views, instead of once on the whole images.
    void enableIterationOnSequenceAxis(bool enabled);
    bool isIterationOnSequenceAxisEnabled() const;
    void enableIterationOnSpectralAxis(bool enabled);
    bool isIterationOnSpectralAxisEnabled() const;
    /// Limit of the extra memory of a run, in MiB; 0 means no limit (the setting "RIX_MAXIMUM_EXTRA_MEMORY_USAGE").
    /// A run that needs more ends with `MemoryError`: before any pixel is read where its description states the need
    /// exactly, else when it comes to it. Children are within the limit of their parent.
    int getMaximumExtraMemoryUsage() const;
    void setMaximumExtraMemoryUsage(int mebibytes);
    std::size_t getMaximumExtraMemoryUsageInBytes() const;
    /// The most bytes beyond inputs and outputs that the last run had in use at the same time; for a child, what its
    /// parent's run had.
    std::size_t getPeakExtraMemory() const;
    /// The largest number of threads that a run may have with the present settings.
    std::size_t getMaximumThreads() const;
    /// Version of the algorithm's interface.
    virtual int getVersion() const;
    /// The settings of this object: a copy of the global ones made when it was created.
    Settings& settings();
    const Settings& settings() const;

    /// What can be said of a run before it starts, from the properties and the images' headers alone.
    virtual AlgorithmDescription describe() const;

    // For algorithms and tests --------------------------------------------------------------------------------------

    /// Makes this algorithm a child: it runs in its parent's thread and limits, its progress is part of its parent's
    /// current step, and a cancellation of the parent reaches it. @throws InvalidCall when that makes a circle.
    void setParent(BaseAlgorithm* parent);
    BaseAlgorithm* getParent() const;
    /// What bodies use to run blocks, report progress and see a cancellation. Valid during a run.
    access::ExecutionContext& executionContext();
    /// Replaces the scheduler of blocks (tests shuffle blocks this way); null restores the parallel one.
    void setBlockScheduler(std::shared_ptr<access::BlockScheduler> scheduler);

protected:
    /// Declares a property; the order of the calls is the index order. The property stays owned by the caller,
    /// usually a member of the private implementation.
    void addInput(BaseProperty& property, const String& name, const String& description);
    void addOutput(BaseProperty& property, const String& name, const String& description);

    /// The private part that this object was made with.
    algorithms::AbstractPrivateImplementation* implementation() const;

private:
    friend class algorithms::BaseAlgorithmPrivate;
    friend class algorithms::Properties;
    friend class algorithms::StateAccess;
    std::unique_ptr<algorithms::BaseAlgorithmPrivate> m_private;
};

}  // namespace rix
