#include "Subject.h"

#include <array>
#include <charconv>
#include <sstream>
#include <typeinfo>

#include <rix/measurement/PropertyMeasurement.h>
#include <vessel/DataFrameView.h>

#include "Properties.h"
#include "Tally.h"

namespace rix::test {

namespace {

/// Exactly, and fast: tables have millions of values.
template <typename Number, typename... Format>
void append(String& text, Number number, Format... format) {
    std::array<char, 32> digits;
    const auto end = std::to_chars(digits.begin(), digits.end(), number, format...).ptr;
    text += ' ';
    text.append(digits.begin(), end);
}

String textOf(const vessel::DataFrameView& table) {
    String text;
    for (std::size_t c = 0; c < table.getColumnCount(); ++c) {
        const vessel::ColumnInfo& info = table.getColumnInfo(c);
        text += info.name + " [" + info.unit + "]:";
        switch (table.getColumnType(c)) {
            case vessel::ColumnType::REAL:
                for (const double value : table.getReals(c)) {
                    append(text, value, std::chars_format::hex);
                }
                break;
            case vessel::ColumnType::INTEGER:
                for (const auto value : table.getIntegers(c)) {
                    append(text, value);
                }
                break;
            case vessel::ColumnType::TEXT:
                for (const String& value : table.getTexts(c)) {
                    text += ' ' + value;
                }
                break;
        }
        text += '\n';
    }
    return text;
}

/// A result object for a property that takes one; null for other properties.
std::shared_ptr<void> giveObject(BaseProperty* property) {
    if (auto* const slot = dynamic_cast<MeasurementSlot*>(property)) {
        auto object = slot->createObject();
        slot->setObject(object.get());
        return object;
    }
    return nullptr;
}

std::optional<String> textOfObject(const BaseProperty* property) {
    if (const auto* const slot = dynamic_cast<const MeasurementSlot*>(property)) {
        return slot->getObject() != nullptr ? textOf(slot->getObject()->toDataFrame()) : String("unset");
    }
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

namespace {

/// Kernels are small, whatever they are laid on.
Extents extentsOfKernel(const Extents& extents) {
    constexpr Extents largest{5, 4, 3, 1, 1};
    Extents kernel{};
    std::transform(extents.begin(), extents.end(), largest.begin(), kernel.begin(),
                   [](std::size_t extent, std::size_t most) { return std::min(extent, most); });
    return kernel;
}

/// What gives the extents of an image that is made without one to be like.
constexpr std::array<const char*, RIX_COMPONENTS_SIZE> sizeNames{"sizeX", "sizeY", "sizeZ", "sizeT", "sizeC"};

bool makesItsOwnExtents(const Example& example) {
    const auto algorithm = example.info->createInstance(nullptr);
    return example.images.empty() && std::all_of(sizeNames.begin(), sizeNames.end(), [&](const char* name) {
               return algorithm->getPropertyfromName(name) != nullptr;
           });
}

}  // namespace

bool isExtent(const String& property) {
    return std::find(sizeNames.begin(), sizeNames.end(), property) != sizeNames.end();
}

Example Example::withExtents(const Extents& extents) const {
    Example other = *this;
    if (makesItsOwnExtents(*this)) {
        for (std::size_t axis = 0; axis < extents.size(); ++axis) {
            other.numbers[sizeNames[axis]] = static_cast<double>(extents[axis]);
        }
    }
    const std::unique_ptr<BaseAlgorithm> algorithm = info->createInstance(nullptr);
    std::size_t next = 0;
    for (BaseProperty* const property : inputsOf(*algorithm)) {
        if (!holdsImage(property)) {
            continue;
        }
        if (ImageRecipe& image = other.images.at(next++); image.has_value()) {
            const bool isKernel = property->getName().find("Kernel") != String::npos;
            image->extents = isKernel ? extentsOfKernel(extents) : extents;
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
    Extents extents{0, 0, 0, 0, 0};
    for (std::size_t axis = 0; axis < extents.size() && images.empty(); ++axis) {
        const auto size = numbers.find(sizeNames[axis]);
        extents[axis] = size != numbers.end() ? static_cast<std::size_t>(size->second) : 0;
    }
    return extents;
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

::testing::AssertionResult resultsEqual(const Results& expected, const Results& actual, std::uint64_t complexUnits) {
    tally("results_compared");
    for (const auto& [name, image] : expected.images) {
        const auto found = actual.images.find(name);
        if (found == actual.images.end()) {
            return ::testing::AssertionFailure() << name << " is missing";
        }
        const VoxelTypes type = image.getVoxelType();
        ComparisonOptions options;
        options.unitsInTheLastPlace = type == RIX_COMPLEX_FLOAT32 || type == RIX_COMPLEX_FLOAT64 ? complexUnits : 0;
        if (auto equal = imagesEqual(image, found->second, options); !equal) {
            return ::testing::AssertionFailure() << name << ": " << equal.message();
        }
    }
    for (const auto& [name, text] : expected.texts) {
        const auto found = actual.texts.find(name);
        if (found == actual.texts.end() || found->second != text) {
            return ::testing::AssertionFailure()
                   << name << " is\n"
                   << (found == actual.texts.end() ? "" : found->second) << "\nand should be\n"
                   << text;
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
        spoil(blank, 0xa7);
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

void Subject::spoilOutputs(std::uint8_t value) {
    for (const StoredImage& output : m_outputs) {
        spoil(output.image(), value);
    }
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
}  // namespace rix::test
