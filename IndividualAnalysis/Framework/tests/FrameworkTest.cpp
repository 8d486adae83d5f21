// The life of measures: statuses, dependencies, failures, with measures that only record what happens to them.

#include <rix/individual_analysis/MeasureSet.h>

#include "Testing.h"

namespace rix::individual_analysis {
namespace {

using Status = MeasureProcessingStatus;
using Step = DependencyProcessingStep;
using testing::ElementsAre;

using Log = std::vector<std::string>;

/// What a recording measure is made of.
struct Recipe {
    std::string name;
    std::vector<std::string> forProcessing{};
    std::vector<std::string> forFinalization{};
    MeasureProcessingType type = MeasureProcessingType::None;
};

class RecordingMeasure : public BaseMeasure {
public:
    RecordingMeasure(const std::shared_ptr<const BaseMeasureUniqueId>& id,
                     const std::shared_ptr<const MeasureNamesHandler>& names, const MeasureSet& set, Log& log)
        : BaseMeasure(id, names, set), m_log(log) {}

    bool failsInInit = false;

protected:
    void initDerived() override {
        record("init");
        if (failsInInit) {
            throw RuntimeError("no memory");
        }
    }
    void setDependenciesAccessors() override { record("accessors"); }
    void startParallelProcessingDerived() override { record("start"); }
    void endParallelProcessingDerived() override { record("end"); }
    void startFinalizationDerived() override { record("startFinal"); }
    void finalizeDerived(unsigned long a, unsigned long b, unsigned long c) override {
        record("final" + std::to_string(a) + std::to_string(b) + std::to_string(c));
    }
    void endFinalizationDerived() override { record("endFinal"); }
    void clearDerived() override { record("clear"); }

private:
    void record(const std::string& what) {
        m_log.push_back(getMeasureInfo().nativeName + ':' + what + '@' +
                        std::to_string(static_cast<int>(getProcessingStatus())));
    }

    Log& m_log;
};

class RecordingId : public BaseMeasureUniqueId {
public:
    RecordingId(const Recipe& recipe, Log& log)
        : BaseMeasureUniqueId({recipe.name, ""}), m_recipe(recipe), m_log(log) {}

    bool supports(DimensionalMode) const override { return true; }
    MeasureAttributes getMeasureAttributes(DimensionalMode) const override {
        MeasureAttributes attributes;
        attributes.processingType = m_recipe.type;
        attributes.components.resize(2);
        return attributes;
    }
    std::shared_ptr<BaseMeasure> createMeasure(const std::shared_ptr<const MeasureNamesHandler>& names,
                                               const MeasureSet& set) const override {
        return std::make_shared<RecordingMeasure>(shared_from_this(), names, set, m_log);
    }
    void addDirectDependencies(const MeasureNamesHandler& names, DimensionalMode, Step step,
                               MeasureIdSet& dependencies) const override {
        const auto add = [&](const std::vector<std::string>& list) {
            for (const std::string& name : list) {
                dependencies.insert(names.findMeasure(name));
            }
        };
        if (step != Step::Finalization) {
            add(m_recipe.forProcessing);
        }
        if (step != Step::Processing) {
            add(m_recipe.forFinalization);
        }
    }

private:
    Recipe m_recipe;
    Log& m_log;
};

/// A group that forgets what its measures depend on.
class ForgetfulGroup : public MeasureGroup {
public:
    using MeasureGroup::MeasureGroup;
    void collectNeededMeasureIds(DimensionalMode, MeasureIdSet& needed) const override {
        needed.insert(getMeasures().begin(), getMeasures().end());
    }
};

class Framework : public testing::Test {
protected:
    /// A set of which all measures of the recipes are known and those named are asked for.
    template <class Group = MeasureGroup>
    std::unique_ptr<MeasureSet> makeSet(const std::vector<Recipe>& recipes, const std::vector<std::string>& asked) {
        auto names = std::make_shared<MeasureNamesHandler>();
        for (const Recipe& recipe : recipes) {
            names->add(std::make_shared<const RecordingId>(recipe, log));
        }
        auto group = std::make_shared<Group>(names);
        for (const std::string& name : asked) {
            group->add(names->findMeasure(name));
        }
        LabelImageInfo info;
        info.numLabels = {3, 0, 2};
        info.labelSizes = {7, 0, 2};
        info.numSpectralPlanes = 2;
        info.dimensionalMode = DimensionalMode::Mode3d;
        return std::make_unique<MeasureSet>(group, info);
    }

    static std::shared_ptr<BaseMeasure> find(const MeasureSet& set, const std::string& name) {
        return set.findMeasure(set.getMeasureGroup()->getNamesHandler()->findMeasure(name));
    }

    /// The exception that a call throws, as class and message.
    static std::string failure(const std::function<void()>& call) {
        try {
            call();
        } catch (const Exception& exception) {
            return std::string(exception.getClassName()) + ": " + exception.getMessage();
        }
        return "none";
    }

    static void finalizeAll(BaseMeasure& measure) {
        measure.startFinalization();
        measure.endFinalization();
    }

    Log log;
};

TEST_F(Framework, ClosesTheRequestAndTellsOfTheImage) {
    const auto set = makeSet({{"B", {"D"}, {"A"}}, {"A"}, {"C"}, {"D", {}, {"A"}}}, {"B", "B"});
    set->setupDependencies();
    std::vector<std::string> names;
    for (const auto& [id, measure] : set->getMeasures()) {
        names.push_back(id->getMeasureInfo().nativeName);
        EXPECT_EQ(measure->getProcessingStatus(), Status::Created);
        EXPECT_EQ(measure->getMeasureUniqueId(), id);
    }
    EXPECT_THAT(names, ElementsAre("A", "B", "D")) << "what is needed, in the order of the names";
    EXPECT_EQ(find(*set, "B")->getDependencies().size(), 2U);
    EXPECT_EQ(find(*set, "B")->getDirectDependenciesIds(Step::Processing).size(), 1U);
    EXPECT_EQ(find(*set, "B")->getDirectDependenciesIds(Step::Finalization).size(), 1U);
    EXPECT_EQ(find(*set, "B")->getDirectDependenciesIds(Step::All).size(), 2U);

    EXPECT_EQ(set->getNumSequencePlanes(), 3U);
    EXPECT_EQ(set->getNumSpectralPlanes(), 2U);
    EXPECT_EQ(set->getNumLabels(2), 2U);
    EXPECT_EQ(set->getLabelSize(0), 7U);
    EXPECT_EQ(set->getDimensionalMode(), DimensionalMode::Mode3d);
    EXPECT_EQ(failure([&] { static_cast<void>(set->getNumLabels(3)); }), "BadIndex: index <3> must be less than 3");
}

TEST_F(Framework, InitialisesInTheOrderOfDependencies) {
    const auto set = makeSet({{"A", {}, {"B"}}, {"B", {"C"}, {}}, {"C"}}, {"A"});
    set->setupDependencies();
    EXPECT_EQ(failure([&] { find(*set, "A")->init(); }),
              "InvalidCall: Can't initialize measure, all dependencies have not yet been initialized");
    set->initMeasures();
    EXPECT_THAT(log,
                ElementsAre("C:init@2", "B:init@2", "A:init@2", "A:accessors@2", "B:accessors@2", "C:accessors@2"));
    EXPECT_EQ(set->getNumMeasures(Status::ReadyForFinalization), 3U) << "no measure needs the image";
    const auto results = find(*set, "A")->getResults();
    EXPECT_EQ(find(*set, "A")->getResultsArraySize(), 2U);
    EXPECT_EQ(results->getNumSequencePlanes(), 3U);
    EXPECT_EQ(results->values(2, 1).size(), 2U);

    // Finalised in the order of dependencies: A waits for B.
    EXPECT_FALSE(find(*set, "A")->canBeFinalized());
    EXPECT_THROW(find(*set, "A")->startFinalization(), InvalidCall);
    EXPECT_TRUE(find(*set, "B")->canBeFinalized()) << "C is needed for processing only";
    finalizeAll(*find(*set, "C"));
    finalizeAll(*find(*set, "B"));
    EXPECT_TRUE(find(*set, "A")->canBeFinalized());
    finalizeAll(*find(*set, "A"));
    EXPECT_EQ(set->getNumMeasures(Status::Done), 3U);
}

TEST_F(Framework, RunsThroughAllStatusesWithTheirSlots) {
    const auto set =
        makeSet({{"A", {"B"}, {}, MeasureProcessingType::Runs}, {"B", {}, {}, MeasureProcessingType::Values}}, {"A"});
    set->setupDependencies();
    set->initMeasures();
    BaseMeasure& a = *find(*set, "A");
    BaseMeasure& b = *find(*set, "B");
    EXPECT_EQ(a.getProcessingStatus(), Status::ReadyForProcessing);
    EXPECT_FALSE(a.canStartParallelProcessing());
    EXPECT_FALSE(set->hasMeasuresReadyForProcessing(MeasureProcessingType::Runs)) << "A waits for B";
    EXPECT_TRUE(set->hasMeasuresReadyForProcessing(MeasureProcessingType::Values));
    EXPECT_EQ(failure([&] { a.startParallelProcessing(); }),
              "InvalidCall: Measure processing cannot yet be started (check measure dependencies status)");
    EXPECT_EQ(a.getProcessingStatus(), Status::ReadyForProcessing);

    log.clear();
    b.startParallelProcessing();
    EXPECT_EQ(b.getProcessingStatus(), Status::Processing);
    EXPECT_FALSE(set->hasMeasuresReadyForProcessing(MeasureProcessingType::Values));
    b.endParallelProcessing();
    EXPECT_FALSE(a.canStartParallelProcessing()) << "B is not done before its finalization";
    b.startFinalization();
    b.finalize(1, 2, 3);
    b.endFinalization();
    EXPECT_THAT(log, ElementsAre("B:start@3", "B:end@4", "B:startFinal@5", "B:final123@6", "B:endFinal@6"));
    EXPECT_TRUE(set->hasMeasuresReadyForProcessing(MeasureProcessingType::Runs));
    a.startParallelProcessing();
    a.endParallelProcessing();
    finalizeAll(a);
    EXPECT_EQ(set->getNumMeasures(Status::Done), 2U);

    log.clear();
    a.clear();
    EXPECT_THAT(log, ElementsAre("A:clear@7"));
    EXPECT_EQ(a.getProcessingStatus(), Status::Created);
    a.clear();
    EXPECT_EQ(log.size(), 1U) << "nothing to clear";
}

TEST_F(Framework, RefusesCallsOutOfOrderAndChangesNothing) {
    using Call = std::function<void(BaseMeasure&)>;
    const std::string init = "Can't initialize measure, invalid measure status";
    const std::string start = "Can't start measure processing, invalid measure status";
    const std::string final = "Can't finalize measure, invalid measure status for finalization";
    // Calls with what they say of a measure that is in another status than the one given.
    const std::tuple<Call, std::string, Status> calls[] = {
        {[](BaseMeasure& m) { m.setDependencies({}); }, "Can't set measure dependencies, invalid measure status",
         Status::Undefined},
        {[](BaseMeasure& m) { m.init(); }, init, Status::Created},
        {[](BaseMeasure& m) { m.dependencyResultsCreated(); }, start, Status::Initialized},
        {[](BaseMeasure& m) { m.startParallelProcessing(); }, start, Status::ReadyForProcessing},
        {[](BaseMeasure& m) { m.endParallelProcessing(); }, "Can't end measure processing, invalid measure status",
         Status::Processing},
        {[](BaseMeasure& m) { m.startFinalization(); }, final, Status::ReadyForFinalization},
        {[](BaseMeasure& m) { m.endFinalization(); }, final, Status::Finalizing},
        {[](BaseMeasure& m) { m.finalize(0, 0, 0); }, final, Status::Finalizing},
        {[](BaseMeasure& m) { static_cast<void>(m.canBeInitialized()); }, init, Status::Created},
        {[](BaseMeasure& m) { static_cast<void>(m.canStartParallelProcessing()); }, start, Status::ReadyForProcessing},
        {[](BaseMeasure& m) { static_cast<void>(m.canBeFinalized()); }, final, Status::ReadyForFinalization},
    };
    const auto set = makeSet({{"A", {}, {}, MeasureProcessingType::Runs}}, {"A"});
    const auto id = set->getMeasureGroup()->getMeasures().front();
    const auto measure = id->createMeasure(set->getMeasureGroup()->getNamesHandler(), *set);
    for (int status = 0; status <= 7; ++status) {
        ASSERT_EQ(measure->getProcessingStatus(), static_cast<Status>(status));
        for (const auto& [call, text, allowed] : calls) {
            if (allowed != static_cast<Status>(status)) {
                EXPECT_EQ(failure([&, &given = call] { given(*measure); }), "InvalidCall: " + text)
                    << "status " << status;
                EXPECT_EQ(measure->getProcessingStatus(), static_cast<Status>(status));
            }
        }
        if (status < 7) {
            std::get<0>(calls[status])(*measure);  // the first ones are the life of a measure
        }
    }
}

TEST_F(Framework, AFailedInitLeavesNoTrace) {
    const auto set = makeSet({{"A"}}, {"A"});
    set->setupDependencies();
    auto& a = dynamic_cast<RecordingMeasure&>(*find(*set, "A"));
    a.failsInInit = true;
    EXPECT_EQ(failure([&] { a.init(); }), "RuntimeError: no memory");
    EXPECT_EQ(a.getProcessingStatus(), Status::Created);
    EXPECT_EQ(a.getResults(), nullptr);
    EXPECT_EQ(a.getResultsArraySize(), 0U);
    a.failsInInit = false;
    EXPECT_EQ(failure([&] { a.init(); }), "none");
}

TEST_F(Framework, NamesAMissingDependency) {
    const auto set = makeSet<ForgetfulGroup>({{"Roundness", {"Area"}, {}}, {"Area"}}, {"Roundness"});
    EXPECT_EQ(failure([&] { set->setupDependencies(); }),
              "RuntimeError: Measure dependency Area for measure Roundness has not been found in measure list");
    EXPECT_TRUE(set->getMeasures().empty()) << "a failed call changes nothing";

    // The same measure with an object missing where the dependency should be.
    const auto id = set->getMeasureGroup()->getMeasures().front();
    const auto area = set->getMeasureGroup()->getNamesHandler()->findMeasure("Area");
    for (const MeasureDependencies& dependencies : {MeasureDependencies{}, MeasureDependencies{{area, nullptr}}}) {
        const auto measure = id->createMeasure(set->getMeasureGroup()->getNamesHandler(), *set);
        measure->setDependencies(dependencies);
        EXPECT_EQ(failure([&] { measure->init(); }),
                  "RuntimeError: [Internal error] : null shared to measure dependency");
    }
}

TEST_F(Framework, FindsCircles) {
    for (const auto& recipes :
         {std::vector<Recipe>{{"A", {"B"}, {"C"}}, {"B", {}, {"A"}}, {"C"}}, std::vector<Recipe>{{"A", {}, {"A"}}}}) {
        const auto set = makeSet(recipes, {"A"});
        set->setupDependencies();
        EXPECT_EQ(failure([&] { set->initMeasures(); }),
                  "UnexpectedError: Invalid measure set, cyclic measures dependencies detected");
        EXPECT_EQ(set->getNumMeasures(Status::Created), set->getMeasures().size()) << "C is taken back";
        const std::weak_ptr<BaseMeasure> first = set->getMeasures().begin()->second;
        set->setupDependencies();
        EXPECT_TRUE(first.expired()) << "a circle keeps itself alive";
    }
}

TEST_F(Framework, AddressesResultsByFrameLabelAndChannel) {
    for (const SpectralUse use : {SpectralUse::PerPlane, SpectralUse::Shared}) {
        MeasureResults results(use);
        results.initialize({2, 0, 3}, 4, 3);
        const std::size_t planes = results.getNumSpectralPlanes();
        EXPECT_EQ(planes, use == SpectralUse::Shared ? 1U : 4U);
        const double* next = results.values(0, 0).data();
        for (const auto& [sequence, label] : {std::pair{0U, 0U}, {0U, 1U}, {2U, 0U}, {2U, 1U}, {2U, 2U}}) {
            for (std::size_t plane = 0; plane < planes; ++plane, next += 3) {
                EXPECT_EQ(results.values(sequence, label, plane).data(), next) << "one after the other";
                EXPECT_THAT(results.values(sequence, label, plane), ElementsAre(0.0, 0.0, 0.0));
            }
        }
    }
    MeasureResults tooMany;
    EXPECT_THROW(tooMany.initialize({std::size_t{1} << 40}, std::size_t{1} << 20, 16), MemoryError);
}

TEST_F(Framework, NamesFindMeasuresTheirValuesAndFamilies) {
    MeasureNamesHandler names;
    const auto id = std::make_shared<const RecordingId>(Recipe{"A"}, log);
    names.add(id);
    EXPECT_THROW(names.add(std::make_shared<const RecordingId>(Recipe{"A"}, log)), InvalidCall);
    EXPECT_EQ(names.findMeasure("A"), id);
    EXPECT_EQ(names.findMeasure("a"), nullptr);
    names.addFamily("P", [](double parameter) -> std::shared_ptr<const BaseMeasureUniqueId> {
        static Log unused;
        return parameter > 100 ? nullptr
                               : std::make_shared<const RecordingId>(Recipe{"P" + std::to_string(parameter)}, unused);
    });
    EXPECT_NE(names.findMeasure("P(2.5)"), nullptr);
    for (const char* bad : {"P", "P()", "P(101)", "P(2", "P(x)", "P(2 )", "Q(2)", "()", ")", ""}) {
        EXPECT_EQ(names.findMeasure(bad), nullptr) << bad;
    }
    EXPECT_THAT(names.getNames(), ElementsAre("A", "P(p)"));
}

}  // namespace
}  // namespace rix::individual_analysis
