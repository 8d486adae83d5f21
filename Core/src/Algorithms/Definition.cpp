#include <rix/algorithms/Definition.h>
#include <rix/algorithms/InputMeaning.h>

#include <algorithm>

#include <rix/access/BlockSize.h>
#include <rix/access/BorderPolicy.h>
#include <rix/access/Scratch.h>
#include <rix/image/ImageModel.h>
#include <rix/rules/When.h>

namespace rix::algorithms {

NoState::~NoState() = default;
InputMeaning::~InputMeaning() = default;

void Properties::enterInput(BaseProperty& property, const char* description) {
    m_algorithm.addInput(property, property.getName(), description);
}

void Properties::enterOutput(BaseProperty& property, const char* description) {
    m_algorithm.addOutput(property, property.getName(), description);
}

void Properties::input(PropertySingleChoice& property, const char* description) {
    enterInput(property, description);
    addRules(property, AddRuleIsAnEnumOfType(*property.getEnumInfo()));
}

void Properties::border(PropertySingleChoice& policy, Property<double>& value) {
    input(policy, "What lies beyond the edges of the image.");
    input(value, "The value beyond the edges when borderPolicy is FIXED.", AddRuleAssertNotNaN());
    onlyWith(policy, {access::BorderPolicy::FIXED}, value);
}

AbstractPrivateImplementation* StateAccess::implementationOf(const BaseAlgorithm& algorithm) {
    return algorithm.implementation();
}

namespace {

/// Most bytes of the copies in which the rows of binary inputs are made 0 and 1.
std::size_t binaryRowMemory(const BaseAlgorithm& algorithm) {
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < algorithm.getNumOfInputProperties(); ++i) {
        const auto* const input = dynamic_cast<const Property<const ImageModel*>*>(algorithm.getInputProperty(i));
        const ImageModel* const image = input != nullptr ? input->get() : nullptr;
        std::size_t elements = 0;
        if (image == nullptr || image->getInterpretation() != RIX_BINARY ||
            !helper::getElementCount(*image, elements)) {
            continue;
        }
        // A row, or what a block has of an image that is one long row; cut at lines of the cache.
        constexpr std::size_t margin = 64;
        const std::size_t size = helper::getElementSize(*image);
        const std::size_t longest = std::max(access::blockBytes() / size, image->getNumOf(COLUMNS)) + margin;
        bytes += algorithm.getMaximumThreads() * access::Scratch::held(std::min(elements, longest) * size);
    }
    return bytes;
}

/// Whether a rule refuses an output that is an input, or does so under a condition.
bool keepsApart(const Rules<Property<ImageModel*>>& rule) {
    const auto* const conditional = dynamic_cast<const rules::RuleWhen<ImageModel*>*>(&rule);
    return dynamic_cast<const RuleDisjointFrom<ImageModel*>*>(&rule) != nullptr ||
           (conditional != nullptr && keepsApart(conditional->rule()));
}

/// The rule that tells what an output will be; also one for an optional output that is set. Null for other rules.
const rules::ShapesOutput* shapeOf(const Rules<Property<ImageModel*>>& rule, const ImageModel* output) {
    const auto* const conditional = dynamic_cast<const rules::RuleWhen<ImageModel*>*>(&rule);
    return conditional != nullptr && output != nullptr ? shapeOf(conditional->rule(), output)
                                                       : dynamic_cast<const rules::ShapesOutput*>(&rule);
}

}  // namespace

namespace detail {

BorderInfluence influenceOf(const access::Reach& reach) {
    return {{reach.columns.before, reach.rows.before, reach.planes.before},
            {reach.columns.after, reach.rows.after, reach.planes.after}};
}

bool inputsHold(const BaseAlgorithm& algorithm) {
    try {
        for (std::size_t i = 0; i < algorithm.getNumOfInputProperties(); ++i) {
            algorithm.getInputProperty(i)->applyRules(true);
        }
        return true;
    } catch (const RuleException&) {
        return false;
    }
}

AsInRun::AsInRun(const BaseAlgorithm& algorithm)
    : m_account(std::make_shared<access::MemoryAccount>(0, &algorithm.settings())), m_scope(m_account) {}

void describeOutputs(const BaseAlgorithm& algorithm, bool inputsHold, AlgorithmDescription& description) {
    for (std::size_t i = 0; i < algorithm.getNumOfOutputProperties(); ++i) {
        const auto* const output = dynamic_cast<const Property<ImageModel*>*>(algorithm.getOutputProperty(i));
        if (output == nullptr) {
            continue;
        }
        bool inPlace = true;
        for (const auto& rule : output->getImpl()->m_rules) {
            inPlace = inPlace && !keepsApart(*rule);
            const rules::ShapesOutput* const shape = shapeOf(*rule, output->get());
            if (inputsHold && shape != nullptr) {
                const rules::ExpectedShape expected = shape->expected();
                description.outputs.push_back({output->getName(), expected.voxelType, expected.extents});
                inPlace = inPlace && expected.keepsType;
            }
        }
        description.inPlace = description.inPlace || inPlace;
    }
    // What an algorithm states of its memory takes the place of this.
    if (const std::size_t rows = inputsHold ? binaryRowMemory(algorithm) : 0; rows > 0) {
        description.extraMemory = rows;
        description.extraMemoryIsExact = false;
    }
}

}  // namespace detail
}  // namespace rix::algorithms
