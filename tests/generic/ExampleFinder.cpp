#include "ExampleFinder.h"

#include <algorithm>
#include <set>
#include <sstream>
#include <typeinfo>

#include <rix/exceptions/Exception.h>
#include <rix/settings/Settings.h>
#include <vessel/DataFrameView.h>
#if __has_include(<rix/measurement/PropertyMeasurement.h>)
#include <rix/measurement/PropertyMeasurement.h>
#define RIX_HAS_MEASUREMENTS
#endif

#include "ImageComparison.h"
#include "Properties.h"

namespace rix::test {

namespace {

constexpr VoxelTypes allVoxelTypes[] = {RIX_UINT8, RIX_UINT16, RIX_UINT32,  RIX_INT8,    RIX_INT16,
                                        RIX_INT32, RIX_FLOAT32, RIX_FLOAT64, RIX_COMPLEX_FLOAT32,
                                        RIX_COMPLEX_FLOAT64};

/// Input images worth trying, likeliest first. Their extents are those of the search.
const ImageRecipe candidateImages[] = {
    ImageSpec{.voxelType = RIX_UINT8},
    ImageSpec{.voxelType = RIX_UINT8, .interpretation = RIX_BINARY},
    ImageSpec{.voxelType = RIX_UINT16, .interpretation = RIX_LABEL},
    ImageSpec{.voxelType = RIX_FLOAT32},
    ImageSpec{.voxelType = RIX_COMPLEX_FLOAT32},
    std::nullopt,
};

/// For all numbers of an algorithm at once; none leaves the defaults.
const std::optional<double> candidateNumbers[] = {std::nullopt, 3.0, 1.0, 0.5};

/// Uneven, so that vectors have remainders; volumes first, for algorithms that take nothing less.
const Extents candidateExtents[] = {{37, 21, 5, 1, 1}, {37, 21, 1, 1, 1}};

/// One of each kind of shape, in growing order: the first whose work is cut is taken.
std::vector<Extents> largeExtents(const Extents& small) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr std::ptrdiff_t steps = 2;
#else
    constexpr std::ptrdiff_t steps = 3;
#endif
    const Extents planar[] = {{401, 301, 1, 1, 1}, {1201, 1001, 1, 1, 1}, {2401, 2003, 1, 1, 1}};
    const Extents spatial[] = {{201, 101, 6, 1, 1}, {601, 401, 5, 1, 1}, {1201, 801, 5, 1, 1}};
    const auto* const sizes = small[PLANS] == 1 ? planar : spatial;
    return {sizes, sizes + steps};
}

#ifdef RIX_HAS_MEASUREMENTS
String textOf(const vessel::DataFrameView& table) {
    std::ostringstream text;
    text << std::hexfloat;
    for (std::size_t c = 0; c < table.getColumnCount(); ++c) {
        const vessel::ColumnInfo& info = table.getColumnInfo(c);
        text << info.name << " [" << info.unit << "]:";
        for (std::size_t r = 0; r < table.getRowCount(); ++r) {
            switch (table.getColumnType(c)) {
                case vessel::ColumnType::REAL: text << ' ' << table.getReals(c)[r]; break;
                case vessel::ColumnType::INTEGER: text << ' ' << table.getIntegers(c)[r]; break;
                case vessel::ColumnType::TEXT: text << ' ' << table.getTexts(c)[r]; break;
            }
        }
        text << '\n';
    }
    return text.str();
}
#endif

/// A result object for a property that takes one; null for other properties.
std::shared_ptr<void> giveObject([[maybe_unused]] BaseProperty* property) {
#ifdef RIX_HAS_MEASUREMENTS
    if (auto* const slot = dynamic_cast<MeasurementSlot*>(property)) {
        auto object = slot->createObject();
        slot->setObject(object.get());
        return object;
    }
#endif
    return nullptr;
}

std::optional<String> textOfObject([[maybe_unused]] const BaseProperty* property) {
#ifdef RIX_HAS_MEASUREMENTS
    if (const auto* const slot = dynamic_cast<const MeasurementSlot*>(property)) {
        return slot->getObject() != nullptr ? textOf(slot->getObject()->toDataFrame()) : String("unset");
    }
#endif
    return std::nullopt;
}

String textOf(const ImageRecipe& recipe) {
    if (!recipe.has_value()) {
        return "unset";
    }
    std::ostringstream text;
    for (const std::size_t extent : recipe->extents) {
        text << extent << ' ';
    }
    text << helper::voxelTypesToString(recipe->voxelType) << ' '
         << helper::interpretationsToString(recipe->interpretation);
    if (recipe->elementType != SINGLE) {
        text << ' ' << helper::elementTypesToString(recipe->elementType);
    }
    return text.str();
}

}  // namespace

// Example -------------------------------------------------------------------------------------------------------------

Example Example::withExtents(const Extents& extents) const {
    Example other = *this;
    for (ImageRecipe& image : other.images) {
        if (image.has_value()) {
            image->extents = extents;
        }
    }
    return other;
}

Example Example::withVoxelType(VoxelTypes type) const {
    Example other = *this;
    for (ImageRecipe& image : other.images) {
        if (image.has_value() && image->interpretation == RIX_VALUE) {
            image->voxelType = type;
        }
    }
    return other;
}

Example Example::withNumber(const String& property, double value) const {
    Example other = *this;
    other.numbers[property] = value;
    return other;
}

Extents Example::extents() const {
    for (const ImageRecipe& image : images) {
        if (image.has_value()) {
            return image->extents;
        }
    }
    return {0, 0, 0, 0, 0};
}

String Example::toText() const {
    String text = info->getName() + "(";
    for (const ImageRecipe& image : images) {
        text += textOf(image) + "; ";
    }
    for (const auto& [name, value] : numbers) {
        text += name + " = " + std::to_string(value) + "; ";
    }
    return text + ")";
}

InputImages makeInputs(const Example& example) {
    InputImages images;
    std::uint64_t seed = 7;
    for (const ImageRecipe& recipe : example.images) {
        if (!recipe.has_value()) {
            images.push_back(nullptr);
            continue;
        }
        auto image = std::make_shared<io::MemoryImage>(makeRandomImage(*recipe, seed++));
        setDistinctCalibration(*image);
        images.push_back(std::move(image));
    }
    return images;
}

// Results -------------------------------------------------------------------------------------------------------------

::testing::AssertionResult resultsEqual(const Results& expected, const Results& actual) {
    for (const auto& [name, image] : expected.images) {
        const auto found = actual.images.find(name);
        if (found == actual.images.end()) {
            return ::testing::AssertionFailure() << name << " is missing";
        }
        const VoxelTypes type = image.getVoxelType();
        ComparisonOptions options;
        options.unitsInTheLastPlace = type == RIX_COMPLEX_FLOAT32 || type == RIX_COMPLEX_FLOAT64 ? 2 : 0;
        if (auto equal = imagesEqual(image, found->second, options); !equal) {
            return ::testing::AssertionFailure() << name << ": " << equal.message();
        }
    }
    for (const auto& [name, text] : expected.texts) {
        const auto found = actual.texts.find(name);
        if (found == actual.texts.end() || found->second != text) {
            return ::testing::AssertionFailure() << name << " is\n" << (found == actual.texts.end() ? "" : found->second)
                                                 << "\nand should be\n" << text;
        }
    }
    return ::testing::AssertionSuccess();
}

// Subject -------------------------------------------------------------------------------------------------------------

Subject::Subject(const Example& example, const InputImages& images)
    : m_example(example), m_contents(images), m_algorithm(example.info->createInstance(nullptr)) {
    renewOutputs();
}

Subject::Subject(const Example& example, Storage inputs) : Subject(example, makeInputs(example)) {
    if (!storeInputs(inputs)) {
        throw std::runtime_error("the inputs of an example cannot be stored as asked for");
    }
    restore();
}

std::unique_ptr<Subject> Subject::make(const Example& example, const InputImages& images, Storage inputs) {
    std::unique_ptr<Subject> subject(new Subject(example, images));
    if (!subject->storeInputs(inputs)) {
        return nullptr;
    }
    subject->restore();
    return subject;
}

bool Subject::storeInputs(Storage storage) {
    for (const auto& content : m_contents) {
        if (content == nullptr) {
            m_inputSlots.push_back(nullptr);
            continue;
        }
        auto stored = StoredImage::make(*content, storage);
        if (!stored.has_value()) {
            return false;
        }
        m_inputs.push_back(std::move(*stored));
        m_inputSlots.push_back(&m_inputs.back().image());
    }
    return true;
}

void Subject::restore() {
    std::size_t image = 0;
    const std::unique_ptr<BaseAlgorithm> fresh = m_example.info->createInstance(nullptr);
    const auto defaults = inputsOf(*fresh);
    const auto inputs = inputsOf(*m_algorithm);
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        if (holdsImage(inputs[i])) {
            setImage(inputs[i], m_inputSlots.at(image++));
        } else if (const auto number = m_example.numbers.find(inputs[i]->getName());
                   number != m_example.numbers.end()) {
            setNumber(inputs[i], number->second);
        } else {
            inputs[i]->setFromBase(defaults[i]);
        }
    }
    image = 0;
    for (BaseProperty* const property : outputsOf(*m_algorithm)) {
        if (holdsImage(property)) {
            setImage(property, m_outputSlots.at(image++));
        } else if (auto object = giveObject(property)) {
            m_objects.push_back(std::move(object));
        }
    }
}

bool Subject::storeOutputs(const Results& shapes, Storage storage) {
    std::size_t image = 0;
    for (BaseProperty* const property : outputsOf(*m_algorithm)) {
        if (!holdsImage(property)) {
            continue;
        }
        io::MemoryImage blank(shapes.images.at(property->getName()));
        std::size_t count = 0;
        if (helper::getElementCount(blank, count) && count > 0) {
            std::fill_n(blank.getInternalBuffer(), count * helper::getElementSize(blank), std::uint8_t{0xa7});
        }
        auto stored = StoredImage::make(blank, storage);
        if (!stored.has_value()) {
            return false;
        }
        m_outputs.at(image) = std::move(*stored);
        m_outputSlots.at(image) = &m_outputs.at(image).image();
        setImage(property, m_outputSlots.at(image++));
    }
    return true;
}

void Subject::renewOutputs() {
    m_outputs.clear();
    m_outputSlots.clear();
    for (BaseProperty* const property : outputsOf(*m_algorithm)) {
        if (holdsImage(property)) {
            m_outputs.push_back(*StoredImage::make(io::MemoryImage(), Storage::Memory));
            m_outputSlots.push_back(&m_outputs.back().image());
            setImage(property, m_outputSlots.back());
        }
    }
}

void Subject::gateRows(const RowGate& gate) {
    for (auto* const slots : {&m_inputSlots, &m_outputSlots}) {
        for (ImageModel*& slot : *slots) {
            if (slot != nullptr) {
                m_gates.push_back(std::make_unique<OpaqueImage>(slot, gate));
                slot = m_gates.back().get();
            }
        }
    }
    restore();
}

Results Subject::results() const {
    Results results;
    std::size_t image = 0;
    for (BaseProperty* const property : outputsOf(*m_algorithm)) {
        if (holdsImage(property)) {
            results.images.emplace(property->getName(), copyOf(m_outputs.at(image++).image()));
        } else if (const auto table = textOfObject(property)) {
            results.texts[property->getName()] = *table;
        } else if (const auto text = exactText(property)) {
            results.texts[property->getName()] = *text;
        }
    }
    return results;
}

bool Subject::outputsAreReadable() const {
    return std::all_of(m_outputs.begin(), m_outputs.end(),
                       [](const StoredImage& output) { return isReadable(output.image()); });
}

bool Subject::surroundingsAreUntouched() const {
    const auto untouched = [](const StoredImage& stored) { return stored.surroundingsAreUntouched(); };
    return std::all_of(m_inputs.begin(), m_inputs.end(), untouched) &&
           std::all_of(m_outputs.begin(), m_outputs.end(), untouched);
}

::testing::AssertionResult Subject::inputsAreUntouched() const {
    std::size_t stored = 0;
    for (const auto& content : m_contents) {
        if (content != nullptr) {
            if (auto equal = imagesEqual(*content, m_inputs.at(stored++).image()); !equal) {
                return ::testing::AssertionFailure() << "an input was changed: " << equal.message();
            }
        }
    }
    return ::testing::AssertionSuccess();
}

// Runs ----------------------------------------------------------------------------------------------------------------

String Outcome::text() const {
    String text = succeeded ? "success" : exceptionClass;
    for (auto level = levels.rbegin(); level != levels.rend(); ++level) {
        text += "\n  " + *level;
    }
    return text;
}

bool Outcome::names(const String& word) const {
    return std::any_of(levels.begin(), levels.end(),
                       [&](const String& level) { return level.find(word) != String::npos; });
}

Outcome runOnce(BaseAlgorithm& algorithm, InteractionInterface* interaction) {
    Outcome outcome;
    try {
        algorithm.run(interaction);
        outcome.succeeded = true;
    } catch (const Exception& exception) {
        outcome.isOfTheFamily = true;
        outcome.exceptionClass = exception.getClassName();
        for (const auto& level : exception.getLevels()) {
            outcome.levels.push_back(level.message);
        }
    } catch (const std::exception& exception) {
        outcome.exceptionClass = typeid(exception).name();
        outcome.levels.push_back(exception.what());
    } catch (...) {
        outcome.exceptionClass = "no exception class at all";
    }
    return outcome;
}

::testing::AssertionResult isReady(const BaseAlgorithm& algorithm) {
    if (algorithm.running()) {
        return ::testing::AssertionFailure() << "the algorithm is still running";
    }
    for (const auto& list : {inputsOf(algorithm), outputsOf(algorithm)}) {
        for (const BaseProperty* const property : list) {
            if (property->isLocked()) {
                return ::testing::AssertionFailure() << property->getName() << " is still locked";
            }
        }
    }
    return ::testing::AssertionSuccess();
}

// Schedulers ----------------------------------------------------------------------------------------------------------

namespace {

/// A partial result that tells of each of its parts.
class WatchedBody : public access::ReductionBody {
public:
    WatchedBody(access::ReductionBody& body, access::FunctionRef<void()> beforePart)
        : m_body(&body), m_beforePart(beforePart) {}
    WatchedBody(std::unique_ptr<access::ReductionBody> body, access::FunctionRef<void()> beforePart)
        : m_owned(std::move(body)), m_body(m_owned.get()), m_beforePart(beforePart) {}

    std::unique_ptr<access::ReductionBody> split() const override {
        return std::make_unique<WatchedBody>(m_body->split(), m_beforePart);
    }
    void process(std::size_t first, std::size_t last) override {
        m_beforePart();
        m_body->process(first, last);
    }
    void join(access::ReductionBody& right) override { m_body->join(*static_cast<WatchedBody&>(right).m_body); }

private:
    std::unique_ptr<access::ReductionBody> m_owned;
    access::ReductionBody* m_body;
    access::FunctionRef<void()> m_beforePart;
};

}  // namespace

WatchedScheduler::WatchedScheduler(std::shared_ptr<access::BlockScheduler> inner,
                                   std::function<void(std::size_t)> beforeBlock)
    : m_inner(std::move(inner)), m_beforeBlock(std::move(beforeBlock)) {}

void WatchedScheduler::next() {
    const std::size_t number = ++m_blocks;
    if (m_beforeBlock) {
        m_beforeBlock(number);
    }
}

void WatchedScheduler::forEach(std::size_t count, access::FunctionRef<void(std::size_t)> block) {
    m_inner->forEach(count, [&](std::size_t i) {
        next();
        block(i);
    });
}

void WatchedScheduler::reduce(std::size_t count, std::size_t grain, access::ReductionBody& body) {
    const auto beforePart = [this] { next(); };
    WatchedBody watched(body, beforePart);
    m_inner->reduce(count, grain, watched);
}

std::shared_ptr<access::BlockScheduler> sharedParallelScheduler() {
    return {std::shared_ptr<void>(), &access::parallelScheduler()};
}

std::shared_ptr<access::BlockScheduler> sharedSerialScheduler() {
    return {std::shared_ptr<void>(), &access::serialScheduler()};
}

// The search ----------------------------------------------------------------------------------------------------------

std::vector<std::string> registeredNames() {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < AlgoInfo::getNumOfAlgorithm(); ++i) {
        names.push_back(AlgoInfo::getAlgorithmsInfoByIndex(i).getName());
    }
    return names;
}

bool isAccepted(const Example& example) {
    return runOnce(Subject(example).algorithm()).succeeded;
}

std::optional<Example> findExample(const String& className) {
    Example example;
    example.info = &AlgoInfo::fromName(className);
    const std::unique_ptr<BaseAlgorithm> algorithm = example.info->createInstance(nullptr);
    std::vector<String> numberNames;
    std::size_t imageCount = 0;
    for (BaseProperty* const property : inputsOf(*algorithm)) {
        imageCount += holdsImage(property) ? 1U : 0U;
        if (holdsNumber(property)) {
            numberNames.push_back(property->getName());
        }
    }

    // All images of one kind first, then all combinations.
    const std::size_t kinds = std::size(candidateImages);
    std::vector<std::vector<std::size_t>> combinations;
    std::size_t count = 1;
    for (std::size_t i = 0; i < imageCount; ++i) {
        count *= kinds;
    }
    for (std::size_t kind = 0; kind < kinds; ++kind) {
        combinations.emplace_back(imageCount, kind);
    }
    for (std::size_t code = 0; code < count; ++code) {
        std::vector<std::size_t> combination;
        for (std::size_t rest = code, i = 0; i < imageCount; ++i, rest /= kinds) {
            combination.push_back(rest % kinds);
        }
        combinations.push_back(combination);
    }

    std::set<String> refusals;
    for (const std::optional<double>& number : candidateNumbers) {
        example.numbers.clear();
        for (const String& name : numberNames) {
            if (number.has_value()) {
                example.numbers[name] = *number;
            }
        }
        for (const auto& combination : combinations) {
            example.images.clear();
            for (const std::size_t kind : combination) {
                example.images.push_back(candidateImages[kind]);
            }
            for (const Extents& extents : candidateExtents) {
                const Example tried = example.withExtents(extents);
                const Outcome outcome = runOnce(Subject(tried).algorithm());
                if (outcome.succeeded) {
                    return tried;
                }
                refusals.insert(outcome.text());
            }
        }
    }
    String reasons;
    for (const String& refusal : refusals) {
        reasons += "\n" + refusal;
    }
    ADD_FAILURE() << "No values were found with which " << className << " runs. It takes what the search does not "
                  << "try: teach the search (candidateImages, candidateNumbers, or a kind of property). Its answers "
                  << "were:" << reasons;
    return std::nullopt;
}

Example largeExample(const Example& example) {
    Example large = example;
    for (const Extents& extents : largeExtents(example.extents())) {
        const Example tried = example.withExtents(extents);
        Subject subject(tried);
        const auto watched = std::make_shared<WatchedScheduler>(sharedSerialScheduler(), nullptr);
        subject.algorithm().setBlockScheduler(watched);
        if (!runOnce(subject.algorithm()).succeeded) {
            break;
        }
        large = tried;
        if (watched->blocks() > 1) {
            break;
        }
    }
    return large;
}

std::vector<Example> variantsOf(const Example& example) {
    std::vector<Example> variants{example};
    const auto add = [&](const Example& variant) {
        if (isAccepted(variant)) {
            variants.push_back(variant);
        }
    };
    for (const VoxelTypes type : allVoxelTypes) {
        add(example.withVoxelType(type));
    }
    const std::unique_ptr<BaseAlgorithm> algorithm = example.info->createInstance(nullptr);
    for (BaseProperty* const property : inputsOf(*algorithm)) {
        if (const EnumInfo* const enumeration = enumerationOf(property)) {
            for (const int value : valuesOf(*enumeration)) {
                add(example.withNumber(property->getName(), value));
            }
        }
    }
    return variants;
}

}  // namespace rix::test
