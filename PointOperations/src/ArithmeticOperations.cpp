#include <algorithm>
#include <complex>
#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>

#include <rix/access/SampleCast.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/Definition.h>
#include <rix/point_operations/ArithmeticOperationWithImage.h>
#include <rix/point_operations/ArithmeticOperationWithValue.h>
#include <rix/rules/CompareRules.h>
#include <rix/rules/Promotion.h>
#include <rix/rules/When.h>
#include <rix/simd/VectorMath.h>

#include "ArithmeticKernels.h"
#include "GenericPointOperation.h"
#include "ImagePairToImageFilter3d.h"
#include "PointRows.h"
#include "PointWork.h"
#include "Wrapping.h"

namespace rix::point_operations {

namespace {

// As the inputs were before the rules: in place, the rules re-interpret them.
struct WithImageState : algorithms::AbstractPrivateImplementation {
    bool isBinary1 = false;
    bool isBinary2 = false;
};

/// The promotion table of an operator. @throws RuleException
PromotionTypesRulesType promotionOf(int arithmeticOperator) {
    switch (arithmeticOperator) {
        case ArithmeticOperators::ADD:
        case ArithmeticOperators::SUBTRACT:
        case ArithmeticOperators::DIVIDE: return PROMOTION_ADDITIVE;
        case ArithmeticOperators::MULTIPLY: return PROMOTION_MULTIPLICATIVE;
        case ArithmeticOperators::MINIMUM: return PROMOTION_MINIMUM;
        case ArithmeticOperators::MAXIMUM: return PROMOTION_MAXIMUM;
        default: break;
    }
    throw RuleException("The provided arithmeticOperator is unknow (value=" + std::to_string(arithmeticOperator) +
                        ").");
}

/// Whether the operator compares its operands.
bool needsOrder(PromotionTypesRulesType kind) {
    return kind == PROMOTION_MINIMUM || kind == PROMOTION_MAXIMUM;
}

constexpr const char* operatorText = "How the operands are combined.";

PromotionTypesRulesType promotionOf(const ArithmeticOperationWithImage& algorithm) {
    return promotionOf(algorithm.getArithmeticOperator());
}

PromotionTypesRulesType promotionOf(const ArithmeticOperationWithValue& algorithm) {
    return promotionOf(algorithm.getArithmeticOperator());
}

VoxelTypes resultType(const ArithmeticOperationWithImage& algorithm) {
    return getPromotedType(algorithm.getInputImage1(), algorithm.getInputImage2(), promotionOf(algorithm));
}

VoxelTypes resultType(const ArithmeticOperationWithValue& algorithm) {
    return getPromotedType(algorithm.getInputImage(), algorithm.getValue(), promotionOf(algorithm));
}

/// Complex numbers have no order.
template <class Algorithm>
auto realForExtrema(const Algorithm& algorithm) {
    return AddRuleWhen(
        "for a minimum or a maximum", [&algorithm] { return needsOrder(promotionOf(algorithm)); },
        AddRuleAssertIntegerOrFloating());
}

/// An input may be the output only when it has the output's type.
template <class Algorithm>
auto notOfAnotherType(const Algorithm& algorithm, const Property<const ImageModel*>& input) {
    return AddRuleWhen(
        "when the types differ", [&algorithm, &input] { return input.get()->getVoxelType() != resultType(algorithm); },
        AddRuleCompare(CompareRelation::NotEqual, input));
}

template <class Algorithm>
auto shapeOf(const Algorithm& algorithm, const Property<const ImageModel*>& first) {
    return AddRuleEnforceLike(
        first, {.interpretation = RIX_VALUE, .chosenType = [&algorithm] { return resultType(algorithm); }});
}

void declareWithImage(ArithmeticOperationWithImage& algorithm, algorithms::Properties& properties) {
    properties.input(algorithm.inputImage1, "The first operand.", AddRulesForScalarImage(), realForExtrema(algorithm));
    properties.input(algorithm.inputImage2, "The second operand.", AddRuleAssertNotNull(), AddRuleAssertSingleElement(),
                     AddRuleAssertSameSize(algorithm.inputImage1), realForExtrema(algorithm));
    properties.input(algorithm.arithmeticOperator, operatorText);
    properties.output(algorithm.outputImage,
                      "The first operand combined with the second, voxel by voxel, in a type that follows from both "
                      "types and the operator (uint8 and uint8 add to int16). Integers wrap, nothing is clamped.",
                      AddRuleAssertNotNull(), AddRuleInPlaceOrDisjoint(algorithm.inputImage1),
                      AddRuleInPlaceOrDisjoint(algorithm.inputImage2),
                      notOfAnotherType(algorithm, algorithm.inputImage1),
                      notOfAnotherType(algorithm, algorithm.inputImage2), shapeOf(algorithm, algorithm.inputImage1));
}

void declareWithValue(ArithmeticOperationWithValue& algorithm, algorithms::Properties& properties) {
    properties.input(algorithm.inputImage, "The first operand.", AddRulesForScalarImage(), realForExtrema(algorithm));
    properties.input(algorithm.value, "The second operand of every voxel.");
    properties.input(algorithm.arithmeticOperator, operatorText);
    properties.output(
        algorithm.outputImage,
        "The image combined with the value, voxel by voxel, in a type that follows from those of the image "
        "and the value and from the operator. Integers wrap, nothing is clamped.",
        AddRuleAssertNotNull(), AddRuleInPlaceOrDisjoint(algorithm.inputImage),
        notOfAnotherType(algorithm, algorithm.inputImage), shapeOf(algorithm, algorithm.inputImage));
}

/// An unknown operator is refused before anything else.
void prepareWithImage(ArithmeticOperationWithImage& algorithm) {
    static_cast<void>(promotionOf(algorithm));
    auto& state = algorithms::stateOf<WithImageState>(algorithm);
    state.isBinary1 = isBinary(algorithm.getInputImage1());
    state.isBinary2 = isBinary(algorithm.getInputImage2());
}

void prepareWithValue(ArithmeticOperationWithValue& algorithm) {
    static_cast<void>(promotionOf(algorithm));
    algorithms::rememberMeaning(algorithm);
}

using Operator = ArithmeticOperators::ArithmeticOperatorType;

bool isComplex(VoxelTypes type) {
    return access::contains(access::Complexes{}, type);
}

double costOf(Operator op, VoxelTypes type, std::size_t bytesPerVoxel) {
    const double memory = nanosecondsPerByte * static_cast<double>(bytesPerVoxel);
    const bool hard = op == ArithmeticOperators::DIVIDE || op == ArithmeticOperators::MULTIPLY;
    if (isComplex(type) && hard) {
        return 5.0 + memory;
    }
    return memory + (op == ArithmeticOperators::DIVIDE ? 0.3 : 0.0);
}

template <class T, simd::VectorOperation operation>
void vectorMathRow(const void* first, const void* second, void* out, std::size_t count) {
    static const simd::VectorRow<T> row = simd::vectorRow<T>(operation);
    row(static_cast<const T*>(first), static_cast<const T*>(second), static_cast<T*>(out), count);
}

/// The library knows no policy of stores: its results are streamed from pieces in the first-level cache.
template <class T, simd::VectorOperation operation>
void streamedVectorMathRow(const void* first, const void* second, void* out, std::size_t count) {
    static const access::StreamRow stream = access::streamRow(SCALAR);
    constexpr std::size_t piece = access::streamedPieceBytes / sizeof(T);
    alignas(access::lineBytes) std::byte results[piece * sizeof(T)];
    const auto* const a = static_cast<const T*>(first);
    const auto* const b = static_cast<const T*>(second);
    auto* const target = static_cast<RawData>(out);
    const std::size_t head = access::samplesBeforeLine(out, sizeof(T), count);
    std::size_t length = head != 0 && head < piece ? head : piece;
    for (std::size_t i = 0; i < count; i += length, length = piece) {
        length = std::min(length, count - i);
        vectorMathRow<T, operation>(a + i, b + i, results, length);
        stream(target + i * sizeof(T), reinterpret_cast<ConstRawData>(results), length * sizeof(T));
    }
}

/// The row of the vector-math library under the signature of our own rows, or null where the library has none.
template <class T>
PairRow vectorMathRowOf(Operator op, access::Stores stores) {
    using simd::VectorOperation;
    struct Candidate {
        VectorOperation operation;
        PairRow cached;
        PairRow streamed;
    };
    constexpr Candidate candidates[] = {
        {VectorOperation::Add, &vectorMathRow<T, VectorOperation::Add>,
         &streamedVectorMathRow<T, VectorOperation::Add>},
        {VectorOperation::Subtract, &vectorMathRow<T, VectorOperation::Subtract>,
         &streamedVectorMathRow<T, VectorOperation::Subtract>},
        {VectorOperation::Multiply, &vectorMathRow<T, VectorOperation::Multiply>,
         &streamedVectorMathRow<T, VectorOperation::Multiply>},
        {VectorOperation::Divide, &vectorMathRow<T, VectorOperation::Divide>,
         &streamedVectorMathRow<T, VectorOperation::Divide>},
    };
    if (op > ArithmeticOperators::DIVIDE) {
        return nullptr;
    }
    const Candidate& candidate = candidates[op];
    const PairRow row = stores == access::Stores::Streaming ? candidate.streamed : candidate.cached;
    return simd::vectorRow<T>(candidate.operation) != nullptr ? row : nullptr;
}

/// Two images of one floating or complex type go through the vector-math library at the scalar level; at the others
/// our own rows are as fast or faster.
PairRow pairRowOf(Operator op, VoxelTypes type, access::Stores stores, OptimLevelType level) {
    PairRow row = nullptr;
    if (level == SCALAR) {
        access::dispatch(access::AllTypes{}, type, [&](auto tag) {
            using T = typename decltype(tag)::type;
            if constexpr (!std::is_integral_v<T>) {
                row = vectorMathRowOf<T>(op, stores);
            }
        });
    }
    return row != nullptr ? row : arithmeticRows(type, stores, level).pair[op];
}

void processImages(ArithmeticOperationWithImage& algorithm, OptimLevelType level) {
    const auto& state = algorithms::stateOf<WithImageState>(algorithm);
    const Operator op = algorithm.getArithmeticOperator();
    const ImageModel& first = *algorithm.getInputImage1();
    const ImageModel& second = *algorithm.getInputImage2();
    ImageModel& output = *algorithm.getOutputImage();
    const VoxelTypes type = output.getVoxelType();
    const VoxelTypes operandType = first.getVoxelType();
    const access::Stores stores = access::storesFor(output);

    const ArithmeticRows* const widening =
        second.getVoxelType() == operandType ? wideningArithmeticRows(operandType, type, stores, level) : nullptr;
    PairRow row = widening != nullptr ? widening->pair[op] : nullptr;
    const VoxelTypes readAs = row != nullptr ? operandType : type;
    if (row == nullptr) {
        row = pairRowOf(op, type, stores, level);
    }
    const ImagePairToImageFilter3d filter({first, readAs, state.isBinary1}, {second, readAs, state.isBinary2}, output,
                                          level);
    const std::size_t bytes =
        helper::getElementSize(first) + helper::getElementSize(second) + helper::getElementSize(output);
    filter.run(algorithm.executionContext(), costOf(op, type, bytes), stores, row);
}

/// Combines rows of a complex type with a row that holds one value everywhere.
class WithConstantRow {
public:
    template <class T>
    WithConstantRow(PairRow row, T value) : m_row(row), m_sampleBytes(sizeof(T)) {
        for (std::size_t i = 0; i < length; ++i) {
            std::memcpy(m_values + i * sizeof(T), &value, sizeof(T));
        }
    }

    void operator()(const void* in, void* out, std::size_t count) const {
        for (std::size_t begin = 0; begin < count; begin += length) {
            m_row(static_cast<const std::byte*>(in) + begin * m_sampleBytes, m_values,
                  static_cast<std::byte*>(out) + begin * m_sampleBytes, std::min(length, count - begin));
        }
    }

private:
    static constexpr std::size_t length = 256;
    PairRow m_row;
    std::size_t m_sampleBytes;
    alignas(64) std::byte m_values[length * sizeof(std::complex<double>)];
};

void processValue(ArithmeticOperationWithValue& algorithm, OptimLevelType level) {
    const Operator op = algorithm.getArithmeticOperator();
    const GenericPointOperationImageToImageInfo info{*algorithm.getInputImage(), algorithms::wasBinary(algorithm),
                                                     *algorithm.getOutputImage(), algorithm};
    const VoxelTypes type = info.output.getVoxelType();
    const VoxelTypes imageType = info.input.getVoxelType();
    const double cost = costOf(op, type, helper::getElementSize(info.input) + helper::getElementSize(info.output));
    const access::Stores stores = access::storesFor(info.output);

    access::dispatch(access::AllTypes{}, type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        const T value = access::castSample<T>(algorithm.getValue());
        if constexpr (access::isComplex<T>) {
            const WithConstantRow functor(arithmeticRows(type, stores, level).pair[op], value);
            const GenericPointOperationImageToImageScalarOneTypeBody body(info, functor, stores, level);
            runGenericPointOperation(info, body, cost);
        } else {
            const ArithmeticRows* const widening = wideningArithmeticRows(imageType, type, stores, level);
            const ValueRow widened = widening != nullptr ? widening->value[op] : nullptr;
            const ValueRow row = widened != nullptr ? widened : arithmeticRows(type, stores, level).value[op];
            const auto functor = [row, &value](const void* in, void* out, std::size_t count) {
                row(in, &value, out, count);
            };
            if (widened != nullptr) {
                const GenericPointOperationImageToImageScalarTwoTypesBody body(info, functor, stores, level);
                runGenericPointOperation(info, body, cost);
            } else {
                const GenericPointOperationImageToImageScalarOneTypeBody body(info, functor, stores, level);
                runGenericPointOperation(info, body, cost);
            }
        }
    });
}

std::uint64_t countWrappedOfImages(const ArithmeticOperationWithImage& algorithm, access::ExecutionContext& context) {
    return countWrapped(context, *algorithm.getInputImage1(), *algorithm.getInputImage2(),
                        algorithm.getArithmeticOperator(), resultType(algorithm));
}

std::uint64_t countWrappedOfValue(const ArithmeticOperationWithValue& algorithm, access::ExecutionContext& context) {
    return countWrapped(context, *algorithm.getInputImage(), algorithm.getValue(), algorithm.getArithmeticOperator(),
                        resultType(algorithm));
}

constexpr algorithms::Definition<ArithmeticOperationWithImage> withImage{
    .summary = "Adds, subtracts, multiplies, divides or compares two images voxel by voxel.",
    .kind = AlgorithmKind::Point,
    .declare = &declareWithImage,
    .process = &processImages,
    .prepare = &prepareWithImage,
    .memory = &passMemory,
    .wrapped = &countWrappedOfImages,
};

constexpr algorithms::Definition<ArithmeticOperationWithValue> withValue{
    .summary = "Adds a value to every voxel, or subtracts, multiplies, divides or compares with it.",
    .kind = AlgorithmKind::Point,
    .declare = &declareWithValue,
    .process = &processValue,
    .prepare = &prepareWithValue,
    .memory = &passMemory,
    .wrapped = &countWrappedOfValue,
};

}  // namespace

RIX_DEFINE_ALGORITHM_WITH(ArithmeticOperationWithImage, WithImageState, withImage)
RIX_DEFINE_ALGORITHM_WITH(ArithmeticOperationWithValue, algorithms::InputMeaning, withValue)

}  // namespace rix::point_operations
