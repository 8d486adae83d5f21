#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include <rix/Export.h>
#include <rix/String.h>
#include <rix/algorithms/Runnable.h>

namespace rix {

class BaseAlgorithm;
struct AlgoInfoPrivate;

namespace access {
class ExecutionContext;
}
namespace algorithms {
class AbstractPrivateImplementation;
}

/// Whether an algorithm class is offered to users.
enum class AlgoVisibilityType : int {
    PUBLIC_ALGORITHM = 0,  ///< listed and documented
    HIDDEN_ALGORITHM = 1,  ///< found by name, not listed: a helper of other algorithms
};

/// The registry record of one algorithm class.
///
/// Each class has exactly one record, made when the class is first used; the registry lists the records of the
/// library in a fixed order. Runners are added and removed only while no algorithm of the class runs.
class RIX_EXPORT AlgoInfo {
public:
    /// Creates an instance around a private implementation; null makes the default one. Ownership is taken.
    using Factory = std::unique_ptr<BaseAlgorithm> (*)(algorithms::AbstractPrivateImplementation*);

    /// @param deprecationVersion empty when the class is not deprecated
    AlgoInfo(const String& name, const String& libraryName, Factory factory, AlgoVisibilityType visibility,
             const String& deprecationVersion);
    ~AlgoInfo();
    AlgoInfo(const AlgoInfo&) = delete;
    AlgoInfo& operator=(const AlgoInfo&) = delete;

    String getName() const;
    String getLibName() const;
    /// The field of the library that the class belongs to, as its namespace names it: "segmentation". For a class of
    /// others what it was registered with; the name of their library when that was nothing.
    String getArea() const;
    AlgoVisibilityType getAlgoVisibility() const;
    String getDeprecationVersion() const;

    std::unique_ptr<BaseAlgorithm> createInstance(algorithms::AbstractPrivateImplementation* implementation) const;

    /// Appends a runner and takes shared ownership of it. Of the runners of a level the first in this order that
    /// accepts the data is run.
    void addRunner(Runnable* runner);
    void addRunner(std::shared_ptr<Runnable> runner);
    /// The same in front of a runner that is there, so that `runner` is asked first.
    /// @throws InvalidCall when `existing` is no runner of this class.
    void insertRunnerBefore(const Runnable& existing, std::shared_ptr<Runnable> runner);
    /// The same in front of all others of its level; appended when it is the only one of it.
    void insertRunnerFirst(std::shared_ptr<Runnable> runner);
    /// Removes the first entry that holds `runner`; nothing when there is none.
    void removeRunner(Runnable* runner);
    const std::vector<std::shared_ptr<Runnable>>& getRunners() const;

    /// Counts, from the inputs that an instance has now, the voxels of its output whose exact values are integers that
    /// the output's type does not hold.
    using WrapCounter = std::function<std::uint64_t(const BaseAlgorithm& algorithm, access::ExecutionContext& context)>;
    /// None, which is the default, says that no voxel of the class's outputs ever wraps.
    void setWrapCounter(WrapCounter counter);
    /// How many voxels of the output will wrap when `algorithm`, an instance of this class, runs on its present inputs;
    /// 0 where the run will refuse them. To be asked before the run, which may overwrite its inputs. Costs nothing when
    /// the types alone tell that no voxel can wrap, else a pass over the inputs. Throws `ExceptionCancelation` when the
    /// context is cancelled.
    std::uint64_t countWrapped(const BaseAlgorithm& algorithm, access::ExecutionContext& context) const;

    /// What a user may not expect of a run of an instance on its present inputs, a sentence each, told from properties
    /// and headers alone: "The labels of ...". Front ends say it at every run.
    using Notes = std::function<std::vector<String>(const BaseAlgorithm& algorithm)>;
    /// None, which is the default, has nothing to say.
    void setNotes(Notes notes);
    /// The notes on a run of `algorithm`, an instance of this class, on its present inputs: of the class, nothing where
    /// the run will refuse them; before them a sentence for inputs that are set to something else than their defaults
    /// and have no effect with what is chosen ("radius has no effect with windowShape=RECTANGLE, only with
    /// windowShape=DISK"). To be asked before the run, which may change its inputs.
    std::vector<String> notesOn(const BaseAlgorithm& algorithm) const;

    /// Number of algorithm classes in the registry.
    static std::size_t getNumOfAlgorithm();
    /// @throws BadIndex when `index` is not below the number of classes.
    static AlgoInfo& getAlgorithmsInfoByIndex(std::size_t index);
    /// The class with exactly this name. @throws InvalidCall when there is none.
    static AlgoInfo& fromName(const String& name);

    /// Appends a class of another library (a plug-in, an application) to the registry, or takes it out again. The
    /// record must stay alive as long as it is registered.
    /// @param area what `getArea` says from then on
    static void registerClass(AlgoInfo& info, const String& area = "");
    static void unregisterClass(AlgoInfo& info);

private:
    class RIX_LOCAL Registry;

    RIX_LOCAL const std::map<String, String>& valuesOfNewObjects() const;

    std::unique_ptr<AlgoInfoPrivate> m_private;
};

}  // namespace rix
