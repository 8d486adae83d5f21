#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <utility>
#include <vector>

#include <rix/access/Blocks.h>
#include <rix/access/ExecutionContext.h>
#include <rix/access/MemoryAccount.h>
#include <rix/algorithms/AbstractPrivateImplementation.h>
#include <rix/algorithms/AlgoInfo.h>
#include <rix/algorithms/AlgorithmDescription.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/algorithms/Runnable.h>
#include <rix/devices/Cpu.h>
#include <rix/exceptions/Exception.h>
#include <rix/properties/PropertySingleChoice.h>
#include <rix/rules/EnumRules.h>
#include <rix/rules/InputRules.h>
#include <rix/rules/OutputRules.h>
#include <rix/rules/OverlapRules.h>
#include <rix/rules/ValueRules.h>

/// What the source file of an algorithm is made of: the definition of the class whose header is made of
/// `Declaration.h`.
///
///     void declare(Smooth& smooth, algorithms::Properties& properties) {
///         properties.input(smooth.inputImage, "The image that is smoothed.", AddRulesForRealImage());
///         ...
///     }
///     void process(Smooth& smooth, OptimLevelType level) { ... }
///
///     constexpr algorithms::Definition<Smooth> definition{
///         .summary = "Smooths.", .kind = AlgorithmKind::Neighbourhood, .declare = &declare, .process = &process};
///
///     RIX_DEFINE_ALGORITHM(Smooth, definition)
///
/// The registry record, the runners of the levels and `describe` come out of it.
namespace rix::algorithms {

/// The private part of an algorithm that keeps nothing from its rules to its work.
struct RIX_EXPORT NoState : AbstractPrivateImplementation {
    ~NoState() override;
};

/// Names the properties of an object to it, in their order.
class RIX_EXPORT Properties {
public:
    explicit Properties(BaseAlgorithm& algorithm) : m_algorithm(algorithm) {}

    /// @param adders the rules, in the order of their application
    template <class T, class... Adders>
    void input(Property<T>& property, const char* description, const Adders&... adders) {
        enterInput(property, description);
        (adders(property), ...);
    }
    /// A choice has the rule that its value is one of the enumeration.
    void input(PropertySingleChoice& property, const char* description);
    /// A choice with rules of its own instead.
    template <class... Adders>
    void choice(PropertySingleChoice& property, const char* description, const Adders&... adders) {
        enterInput(property, description);
        (adders(property), ...);
    }
    /// What a filter finds beyond the edges of an image: the policy, and the value of `FIXED`.
    void border(PropertySingleChoice& policy, Property<double>& value);
    /// Says of inputs that they have an effect with these values of a choice alone. Descriptions tell it, and so does a
    /// run for which one is set to something else than its default beside another value (`AlgoInfo::notesOn`).
    template <class Choice, class... Inputs>
    void onlyWith(const PropertySingleChoice& choice, std::initializer_list<Choice> values, Inputs&... inputs) {
        for (const Choice value : values) {
            (inputs.getImpl()->m_relevance.values.push_back(static_cast<int>(value)), ...);
        }
        ((inputs.getImpl()->m_relevance.choice = &choice), ...);
    }
    template <class T, class... Adders>
    void output(Property<T>& property, const char* description, const Adders&... adders) {
        enterOutput(property, description);
        (adders(property), ...);
    }

private:
    void enterInput(BaseProperty& property, const char* description);
    void enterOutput(BaseProperty& property, const char* description);

    BaseAlgorithm& m_algorithm;
};

/// What most algorithms accept at every level: the rules have refused everything else already.
template <class Algorithm>
bool acceptsAll(const Algorithm& /*algorithm*/) {
    return true;
}

/// What is the same for all objects of a class.
template <class Algorithm>
struct Definition {
    const char* summary;  ///< one line
    AlgorithmKind kind;
    /// Gives the properties of an object descriptions, rules and defaults.
    void (*declare)(Algorithm& algorithm, Properties& properties);
    /// Does the work of a run with the kernels of a level.
    void (*process)(Algorithm& algorithm, OptimLevelType level);
    /// Whether the kernels of the levels take the present data.
    bool (*accepts)(const Algorithm& algorithm) = &acceptsAll<Algorithm>;
    /// Called before the rules of a run are applied: forgets what an earlier run left.
    void (*prepare)(Algorithm& algorithm) = nullptr;
    /// How far the window of a voxel reaches. Like `memory` asked only when the rules of the inputs hold.
    access::Reach (*influence)(const Algorithm& algorithm) = nullptr;
    /// Peak bytes of a run beyond its images.
    std::size_t (*memory)(const Algorithm& algorithm) = nullptr;
    /// False when the need depends on the samples, and `memory` is the most that it can be.
    bool memoryIsExact = true;
    AlgoVisibilityType visibility = AlgoVisibilityType::PUBLIC_ALGORITHM;
    /// How many voxels of the output wrap, counted in the inputs before a run (see `AlgoInfo::countWrapped`); null
    /// where none can. Asked only when the rules of the inputs hold.
    std::uint64_t (*wrapped)(const Algorithm& algorithm, access::ExecutionContext& context) = nullptr;
    /// What a user may not expect of the run (see `AlgoInfo::notesOn`); null where there is nothing. Asked only when
    /// the rules of the inputs hold.
    std::vector<String> (*notes)(const Algorithm& algorithm) = nullptr;
    const char* library = "lumora_rix";  ///< the name of the library or plug-in that has the class
};

/// The private part of an object whose class was defined with that state.
class RIX_EXPORT StateAccess {
public:
    template <class State>
    static State& of(const BaseAlgorithm& algorithm) {
        return static_cast<State&>(*implementationOf(algorithm));
    }

private:
    static AbstractPrivateImplementation* implementationOf(const BaseAlgorithm& algorithm);
};

template <class State>
State& stateOf(const BaseAlgorithm& algorithm) {
    return StateAccess::of<State>(algorithm);
}

namespace detail {

/// The private part that an algorithm was made with, or a new one of the algorithm's own kind.
template <class State>
AbstractPrivateImplementation* orMake(AbstractPrivateImplementation* given) {
    if (given == nullptr) {
        return new State();
    }
    if (dynamic_cast<State*>(given) == nullptr) {
        throw InvalidCall("The private implementation does not belong to this algorithm class.");
    }
    return given;
}

/// The runner of one level of a class.
template <class Algorithm, class Base>
class DefinedRunner final : public Base {
public:
    DefinedRunner(const Definition<Algorithm>& definition, OptimLevelType level)
        : m_definition(definition), m_level(level) {}

    void run(BaseAlgorithm* algorithm) const override {
        m_definition.process(static_cast<Algorithm&>(*algorithm), m_level);
    }
    bool isRunnable(BaseAlgorithm* algorithm) const override {
        return devices::Cpu::supports(m_level) && m_definition.accepts(static_cast<const Algorithm&>(*algorithm));
    }
    OptimLevelType getOptimType() const override { return m_level; }

private:
    const Definition<Algorithm>& m_definition;
    OptimLevelType m_level;
};

template <class Algorithm>
std::unique_ptr<BaseAlgorithm> create(AbstractPrivateImplementation* given) {
    return std::make_unique<Algorithm>(given);
}

/// Whether the rules of the inputs hold.
RIX_EXPORT bool inputsHold(const BaseAlgorithm& algorithm);

/// The record of a class, made when the class is first used.
template <class Algorithm>
AlgoInfo& recordOf(const char* name, const Definition<Algorithm>& definition) {
    static AlgoInfo info(name, definition.library, &create<Algorithm>, definition.visibility, "");
    static const bool filled = [&] {
        info.addRunner(std::make_shared<DefinedRunner<Algorithm, ScalarRunnable>>(definition, SCALAR));
        info.addRunner(std::make_shared<DefinedRunner<Algorithm, Runnable>>(definition, VEC_SSE));
        info.addRunner(std::make_shared<DefinedRunner<Algorithm, Runnable>>(definition, VEC_AVX));
        if (definition.wrapped != nullptr) {
            info.setWrapCounter([&definition](const BaseAlgorithm& algorithm, access::ExecutionContext& context) {
                return inputsHold(algorithm) ? definition.wrapped(static_cast<const Algorithm&>(algorithm), context)
                                             : std::uint64_t{0};
            });
        }
        if (definition.notes != nullptr) {
            info.setNotes([&definition](const BaseAlgorithm& algorithm) {
                return inputsHold(algorithm) ? definition.notes(static_cast<const Algorithm&>(algorithm))
                                             : std::vector<String>();
            });
        }
        return true;
    }();
    static_cast<void>(filled);
    return info;
}

template <class Algorithm>
void declare(Algorithm& algorithm, const Definition<Algorithm>& definition) {
    Properties properties(algorithm);
    definition.declare(algorithm, properties);
}

RIX_EXPORT BorderInfluence influenceOf(const access::Reach& reach);
/// The outputs that rules shape, and whether one of them may be an input.
RIX_EXPORT void describeOutputs(const BaseAlgorithm& algorithm, bool inputsHold, AlgorithmDescription& description);

/// While it lives, temporary images are as in a run of an algorithm: of those on disk no bytes count.
class RIX_EXPORT AsInRun {
public:
    explicit AsInRun(const BaseAlgorithm& algorithm);

private:
    std::shared_ptr<access::MemoryAccount> m_account;
    access::MemoryAccount::Scope m_scope;
};

template <class Algorithm>
AlgorithmDescription describe(const Algorithm& algorithm, const Definition<Algorithm>& definition) {
    AlgorithmDescription description;
    description.summary = definition.summary;
    description.kind = definition.kind;
    description.extraMemoryIsExact = definition.memoryIsExact;
    const bool known = inputsHold(algorithm);
    describeOutputs(algorithm, known, description);
    if (known && definition.influence != nullptr) {
        description.borderInfluence = influenceOf(definition.influence(algorithm));
    }
    if (known && definition.memory != nullptr) {
        const AsInRun asInRun(algorithm);
        description.extraMemory = definition.memory(algorithm);
    }
    return description;
}

template <class Algorithm>
void prepare(Algorithm& algorithm, const Definition<Algorithm>& definition) {
    if (definition.prepare != nullptr) {
        definition.prepare(algorithm);
    }
}

}  // namespace detail
}  // namespace rix::algorithms

/// Defines the members that `RIX_ALGORITHM` declares, for a class on `Base` (whose constructor takes the private part)
/// with a private part of the class `State`. `definition` lives as long as the program.
#define RIX_DEFINE_ALGORITHM_ON(Base, Class, State, definition)                \
    Class::Class(::rix::algorithms::AbstractPrivateImplementation* given)      \
        : Base(::rix::algorithms::detail::orMake<State>(given)) {              \
        ::rix::algorithms::detail::declare<Class>(*this, definition);          \
    }                                                                          \
    std::shared_ptr<Class> Class::New() {                                      \
        return std::make_shared<Class>();                                      \
    }                                                                          \
    ::rix::AlgoInfo& Class::getInfo() {                                        \
        return ::rix::algorithms::detail::recordOf<Class>(#Class, definition); \
    }                                                                          \
    ::rix::AlgoInfo& Class::getClassInfo() const {                             \
        return getInfo();                                                      \
    }                                                                          \
    ::rix::AlgorithmDescription Class::describe() const {                      \
        return ::rix::algorithms::detail::describe<Class>(*this, definition);  \
    }                                                                          \
    void Class::applyAllRules() {                                              \
        ::rix::algorithms::detail::prepare<Class>(*this, definition);          \
        Base::applyAllRules();                                                 \
    }

#define RIX_DEFINE_ALGORITHM_WITH(Class, State, definition) \
    RIX_DEFINE_ALGORITHM_ON(::rix::BaseAlgorithm, Class, State, definition)

#define RIX_DEFINE_ALGORITHM(Class, definition) RIX_DEFINE_ALGORITHM_WITH(Class, ::rix::algorithms::NoState, definition)
