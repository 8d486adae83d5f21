#include <rix/algorithms/Children.h>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/AlgoInfo.h>

namespace rix::algorithms {

namespace {

std::unique_ptr<BaseAlgorithm> createChild(const BaseAlgorithm& parent, const String& className) {
    try {
        return AlgoInfo::fromName(className).createInstance(nullptr);
    } catch (InvalidCall& exception) {
        exception.addInfoLevel(parent.getClassInfo().getName() + " needs the algorithm " + className +
                               ", which no module of this library and no plug-in brings.");
        throw;
    }
}

}  // namespace

void runChild(BaseAlgorithm& parent, BaseAlgorithm& child, std::optional<OptimLevelType> level) {
    parent.executionContext().startStep(1.0);
    child.setParent(&parent);
    const bool isForced = level.has_value() && child.isOptimLevelSupported(*level);
    child.setAutoCpuDispatch(!isForced);
    if (isForced) {
        child.setOptimLevel(*level);
    }
    child.run();
}

std::unique_ptr<BaseAlgorithm> runChild(BaseAlgorithm& parent, const String& className,
                                        access::FunctionRef<void(BaseAlgorithm&)> setUp,
                                        std::optional<OptimLevelType> level) {
    std::unique_ptr<BaseAlgorithm> child = createChild(parent, className);
    setUp(*child);
    runChild(parent, *child, level);
    return child;
}

BaseProperty& propertyOf(const BaseAlgorithm& algorithm, const String& name) {
    if (BaseProperty* const property = algorithm.getPropertyfromName(name)) {
        return *property;
    }
    throw InvalidCall("The algorithm " + algorithm.getClassInfo().getName() + " has no property named " + name + '.');
}

}  // namespace rix::algorithms
