#include <rix/manipulation/ImageFormula.h>

#include <array>
#include <vector>

#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/Definition.h>
#include <rix/rules/CompareRules.h>
#include <rix/rules/When.h>

#include "FormulaProgram.h"
#include "PieceRows.h"
#include "PointFunction.h"

namespace rix::manipulation {

namespace {

constexpr std::size_t mostImages = 4;

struct FormulaState : algorithms::AbstractPrivateImplementation {
    std::array<bool, mostImages> isBinary{};  ///< as they were before the rules, which in place re-interpret an input
};

using ImageProperty = Property<const ImageModel*>;

std::array<const ImageProperty*, mostImages> imagesOf(const ImageFormula& algorithm) {
    return {&algorithm.inputImage1, &algorithm.inputImage2, &algorithm.inputImage3, &algorithm.inputImage4};
}

FormulaProgram programOf(const ImageFormula& algorithm) {
    return FormulaProgram(formulas::parseFormula(algorithm.getFormula()));
}

/// The text is a formula, and the images that it names are set.
class RuleFormula : public Rules<Property<String>> {
public:
    explicit RuleFormula(const ImageFormula& algorithm) : m_algorithm(algorithm) {}
    void apply(Property<String>& /*property*/) override {
        const FormulaProgram program = programOf(m_algorithm);
        const auto images = imagesOf(m_algorithm);
        for (std::size_t i = 0; i < images.size(); ++i) {
            if (program.names(i) && images[i]->get() == nullptr) {
                rules::refuse("The formula names the image " + String(1, static_cast<char>('a' + i)) + ", but " +
                              rules::quotedName(*images[i]) + " is not set.");
            }
        }
    }
    String describe() const override { return "must be a formula of the images a, b, c and d that are set"; }

private:
    const ImageFormula& m_algorithm;
};

VoxelTypes outputTypeOf(const ImageFormula& algorithm) {
    return programOf(algorithm).isTruth()
               ? RIX_UINT8
               : algorithms::voxelTypeOf(algorithm.getOutputType(), algorithm.getInputImage1()->getVoxelType());
}

/// An input may be the output only when it has the output's type.
auto notOfAnotherType(const ImageFormula& algorithm, const ImageProperty& input) {
    const auto differs = [&algorithm, &input] {
        return input.get() != nullptr && input.get()->getVoxelType() != outputTypeOf(algorithm);
    };
    return AddRuleWhen("when the types differ", differs, AddRuleCompare(CompareRelation::NotEqual, input));
}

void declare(ImageFormula& algorithm, algorithms::Properties& properties) {
    properties.input(algorithm.inputImage1, "The image a.", AddRulesForRealImage());
    const auto further = [&](ImageProperty& property, const char* description) {
        properties.input(property, description, AddRuleWhenSet(AddRuleAssertSingleElement()),
                         AddRuleWhenSet(AddRuleAssertIntegerOrFloating()),
                         AddRuleWhenSet(AddRuleAssertSameSize(algorithm.inputImage1)));
    };
    further(algorithm.inputImage2, "Optional: the image b.");
    further(algorithm.inputImage3, "Optional: the image c.");
    further(algorithm.inputImage4, "Optional: the image d.");
    algorithm.formula = String("a");
    properties.input(algorithm.formula, "What is computed of a voxel: \"(a - b) / (a + b)\".");
    algorithm.formula.getImpl()->addRule(std::make_shared<RuleFormula>(algorithm));
    algorithm.outputType = static_cast<int>(algorithms::OutputType::FLOAT_32_BIT);
    properties.input(algorithm.outputType, "The type of the result, unless it is one of truth.");
    const auto inPlace = [](const ImageProperty& input) {
        return AddRuleWhenSet(input, AddRuleInPlaceOrDisjoint(input));
    };
    const auto meaning = [&algorithm] { return programOf(algorithm).isTruth() ? RIX_BINARY : RIX_VALUE; };
    properties.output(
        algorithm.outputImage,
        "The values of the formula; of a comparison, and, or, not a binary image. In integer types they "
        "are rounded and clamped.",
        AddRuleAssertNotNull(), inPlace(algorithm.inputImage1), inPlace(algorithm.inputImage2),
        inPlace(algorithm.inputImage3), inPlace(algorithm.inputImage4),
        notOfAnotherType(algorithm, algorithm.inputImage2), notOfAnotherType(algorithm, algorithm.inputImage3),
        notOfAnotherType(algorithm, algorithm.inputImage4),
        AddRuleEnforceLike(algorithm.inputImage1, {.chosenType = [&algorithm] { return outputTypeOf(algorithm); },
                                                   .chosenInterpretation = meaning}));
}

bool isWide(VoxelTypes type) {
    return helper::getSizeOf(type) == 8 || type == RIX_UINT32 || type == RIX_INT32;
}

void process(ImageFormula& algorithm, OptimLevelType level) {
    const FormulaProgram program = programOf(algorithm);
    ImageModel& output = *algorithm.getOutputImage();
    const auto images = imagesOf(algorithm);
    const auto& isBinaryBefore = algorithms::stateOf<FormulaState>(algorithm).isBinary;
    bool needsDoubles = isWide(output.getVoxelType());
    for (std::size_t i = 0; i < images.size(); ++i) {
        needsDoubles = needsDoubles || (program.names(i) && isWide(images[i]->get()->getVoxelType()));
    }
    const VoxelTypes computedAs = needsDoubles ? RIX_FLOAT64 : RIX_FLOAT32;
    std::vector<access::PieceInput> inputs;
    std::array<std::size_t, mostImages> places{};  // of the images among the inputs
    for (std::size_t i = 0; i < images.size(); ++i) {
        if (program.names(i)) {
            places[i] = inputs.size();
            inputs.push_back({*images[i]->get(), computedAs, isBinaryBefore[i]});
        }
    }
    const auto compute = [&]<class T>(T /*precision*/) {
        const bool streams =
            computedAs == output.getVoxelType() && access::storesFor(output) == access::Stores::Streaming;
        const BoundProgram<T> bound(program, level, streams);
        const PieceWork work{.inputs = inputs,
                             .computedAs = computedAs,
                             .workingBytesPerSample = program.registers() * sizeof(T),
                             .nanosecondsPerVoxel = program.nanoseconds(),
                             .streamsItself = bound.streams()};
        computePieces(algorithm.executionContext(), work, output, level, [&](const Piece& piece) {
            std::array<ConstRawData, mostImages> rows{};
            for (std::size_t i = 0; i < rows.size(); ++i) {
                rows[i] = program.names(i) ? piece.in[places[i]] : nullptr;
            }
            bound.run(rows, reinterpret_cast<T*>(piece.working), piece.capacity, reinterpret_cast<T*>(piece.out),
                      piece.count);
        });
    };
    if (needsDoubles) {
        compute(double());
    } else {
        compute(float());
    }
}

std::size_t memoryOf(const ImageFormula& algorithm) {
    return piecesMemory(mostImages, programOf(algorithm).registers() * sizeof(double), algorithm.getMaximumThreads());
}

constexpr algorithms::Definition<ImageFormula> definition{
    .summary = "Computes a formula of up to four images, voxel by voxel.",
    .kind = AlgorithmKind::Point,
    .declare = &declare,
    .process = &process,
    .prepare =
        [](ImageFormula& algorithm) {
            const auto images = imagesOf(algorithm);
            for (std::size_t i = 0; i < images.size(); ++i) {
                algorithms::stateOf<FormulaState>(algorithm).isBinary[i] = isBinary(images[i]->get());
            }
        },
    .memory = &memoryOf,
};

}  // namespace

RIX_DEFINE_ALGORITHM_WITH(ImageFormula, FormulaState, definition)

}  // namespace rix::manipulation
