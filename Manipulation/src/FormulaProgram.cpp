#include "FormulaProgram.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include <rix/rules/RuleSupport.h>

namespace rix::manipulation {

namespace {

using formulas::FormulaInstruction;
using formulas::FormulaOperation;

/// So many rows of intermediate results still lie in the second-level cache.
constexpr std::size_t mostRegisters = 64;

struct NamedFunction {
    std::string_view name;
    MathFunction function;
};
constexpr NamedFunction functions[] = {
    {"abs", MathFunction::Absolute},    {"sqrt", MathFunction::SquareRoot},   {"exp", MathFunction::Exponential},
    {"log", MathFunction::Logarithm},   {"sin", MathFunction::Sine},          {"cos", MathFunction::Cosine},
    {"tan", MathFunction::Tangent},     {"asin", MathFunction::ArcSine},      {"acos", MathFunction::ArcCosine},
    {"atan", MathFunction::ArcTangent}, {"log10", MathFunction::Logarithm10}, {"cbrt", MathFunction::CubeRoot},
};

BinaryOperation operationOf(std::string_view function) {
    return function == "min"   ? BinaryOperation::Minimum
           : function == "max" ? BinaryOperation::Maximum
                               : BinaryOperation::ArcTangent2;
}

BinaryOperation operationOf(FormulaOperation operation) {
    switch (operation) {
        case FormulaOperation::Add: return BinaryOperation::Add;
        case FormulaOperation::Subtract: return BinaryOperation::Subtract;
        case FormulaOperation::Multiply: return BinaryOperation::Multiply;
        case FormulaOperation::Divide: return BinaryOperation::Divide;
        case FormulaOperation::Less: return BinaryOperation::Less;
        case FormulaOperation::LessOrEqual: return BinaryOperation::LessOrEqual;
        case FormulaOperation::Greater: return BinaryOperation::Greater;
        case FormulaOperation::GreaterOrEqual: return BinaryOperation::GreaterOrEqual;
        case FormulaOperation::Equal: return BinaryOperation::Equal;
        case FormulaOperation::NotEqual: return BinaryOperation::NotEqual;
        case FormulaOperation::And: return BinaryOperation::And;
        case FormulaOperation::Or: return BinaryOperation::Or;
        default: return BinaryOperation::Power;
    }
}

template <class Enumeration>
std::uint8_t codeOf(Enumeration value) {
    return static_cast<std::uint8_t>(value);
}

}  // namespace

FormulaProgram::FormulaProgram(const formulas::FormulaItem& item)
    : m_isTruth(formulas::isTruth(item.code.back().operation)) {
    for (const FormulaInstruction& instruction : item.code) {
        take(instruction);
    }
}

void FormulaProgram::take(const FormulaInstruction& instruction) {
    switch (instruction.operation) {
        case FormulaOperation::Number: m_stack.push_back(number(instruction.number)); return;
        case FormulaOperation::Value: {
            const String& name = instruction.name;
            if (name.size() != 1 || name[0] < 'a' || name[0] > 'd') {
                rules::refuse("There is no image \"" + name + "\".",
                              "The images are a, b, c and d; functions are " + formulas::formulaFunctionNames() + '.');
            }
            const auto image = static_cast<std::size_t>(name[0] - 'a');
            m_named[image] = true;
            m_stack.push_back({Kind::Image, image});
            return;
        }
        case FormulaOperation::Negate: join(StepKind::Unary, codeOf(UnaryOperation::Negate)); return;
        case FormulaOperation::Not: join(StepKind::Unary, codeOf(UnaryOperation::Not)); return;
        case FormulaOperation::Function: {
            const std::string_view name = instruction.function->name;
            const auto* const found = std::find_if(std::begin(functions), std::end(functions),
                                                   [&](const NamedFunction& each) { return each.name == name; });
            if (found != std::end(functions)) {
                join(StepKind::Function, codeOf(found->function));
            } else {
                join(StepKind::Binary, codeOf(operationOf(name)));
            }
            return;
        }
        default: join(StepKind::Binary, codeOf(operationOf(instruction.operation))); return;
    }
}

/// Numbers are folded, and what is left is a step. Operands leave in the order in which a stack has them, so that the
/// intermediate rows in use are the first ones.
void FormulaProgram::join(StepKind kind, std::uint8_t operation) {
    const Operand last = pop();
    const Operand first = kind == StepKind::Binary ? pop() : last;
    Step step{kind, operation, first, last, 0};
    if (first.kind == Kind::Number && last.kind == Kind::Number) {
        m_stack.push_back(number(fold(step)));
        return;
    }
    step.target = static_cast<std::size_t>(std::count_if(
        m_stack.begin(), m_stack.end(), [](const Operand& operand) { return operand.kind == Kind::Register; }));
    m_registers = std::max(m_registers, step.target + 1);
    if (m_registers > mostRegisters) {
        rules::refuse("The formula has more than " + std::to_string(mostRegisters) +
                      " intermediate results at a time.");
    }
    m_steps.push_back(step);
    m_nanoseconds += costOf(step);
    m_stack.push_back({Kind::Register, step.target});
}

FormulaProgram::Operand FormulaProgram::number(double value) {
    m_numbers.push_back(value);
    return {Kind::Number, m_numbers.size() - 1};
}

FormulaProgram::Operand FormulaProgram::pop() {
    const Operand operand = m_stack.back();
    m_stack.pop_back();
    return operand;
}

double FormulaProgram::fold(const Step& step) const {
    const double first = m_numbers[step.left.index];
    const double last = m_numbers[step.right.index];
    double result = 0.0;
    switch (step.kind) {
        case StepKind::Unary:
            unaryRow<double>(static_cast<UnaryOperation>(step.operation), SCALAR)(&first, &result, 1);
            break;
        case StepKind::Function:
            mathRow<double>(static_cast<MathFunction>(step.operation), SCALAR)(&first, &result, 1);
            break;
        case StepKind::Binary:
            binaryRow<double>(static_cast<BinaryOperation>(step.operation), RowOperands::Both, SCALAR)(&first, &last,
                                                                                                       &result, 1);
            break;
    }
    return result;
}

double FormulaProgram::costOf(const Step& step) {
    constexpr double simple = 0.15;
    constexpr double difficult = 15.0;
    if (step.kind == StepKind::Function) {
        return nanosecondsOf(static_cast<MathFunction>(step.operation));
    }
    const bool isDifficult = step.kind == StepKind::Binary && (step.operation == codeOf(BinaryOperation::Power) ||
                                                               step.operation == codeOf(BinaryOperation::ArcTangent2));
    return isDifficult ? difficult : simple;
}

template <class T>
BoundProgram<T>::BoundProgram(const FormulaProgram& program, OptimLevelType level, bool streams) : m_program(program) {
    using Kind = FormulaProgram::Kind;
    using StepKind = FormulaProgram::StepKind;
    for (const double number : program.m_numbers) {
        m_numbers.push_back(static_cast<T>(number));
    }
    for (const FormulaProgram::Step& step : program.m_steps) {
        BoundStep bound;
        switch (step.kind) {
            case StepKind::Unary: bound.unary = unaryRow<T>(static_cast<UnaryOperation>(step.operation), level); break;
            case StepKind::Function: bound.unary = mathRow<T>(static_cast<MathFunction>(step.operation), level); break;
            case StepKind::Binary: {
                const RowOperands rows = step.left.kind == Kind::Number    ? RowOperands::Right
                                         : step.right.kind == Kind::Number ? RowOperands::Left
                                                                           : RowOperands::Both;
                const auto operation = static_cast<BinaryOperation>(step.operation);
                const bool isLast = &step == &program.m_steps.back();
                const BinaryRow<T> streaming =
                    streams && isLast ? streamingBinaryRow<T>(operation, rows, level) : nullptr;
                m_streams = streaming != nullptr;
                bound.binary = m_streams ? streaming : binaryRow<T>(operation, rows, level);
                break;
            }
        }
        m_steps.push_back(bound);
    }
}

template <class T>
void BoundProgram<T>::run(std::span<const ConstRawData> images, T* registers, std::size_t capacity, T* out,
                          std::size_t count) const {
    using Kind = FormulaProgram::Kind;
    const auto rowOf = [&](const FormulaProgram::Operand& operand) -> const T* {
        switch (operand.kind) {
            case Kind::Image: return reinterpret_cast<const T*>(images[operand.index]);
            case Kind::Number: return &m_numbers[operand.index];
            default: return registers + operand.index * capacity;
        }
    };
    for (std::size_t i = 0; i < m_steps.size(); ++i) {
        const FormulaProgram::Step& step = m_program.m_steps[i];
        T* const target = i + 1 == m_steps.size() ? out : registers + step.target * capacity;
        if (m_steps[i].binary != nullptr) {
            m_steps[i].binary(rowOf(step.left), rowOf(step.right), target, count);
        } else {
            m_steps[i].unary(rowOf(step.left), target, count);
        }
    }
    const FormulaProgram::Operand& result = m_program.m_stack.front();
    if (result.kind == Kind::Image) {
        std::memmove(out, rowOf(result), count * sizeof(T));
    } else if (result.kind == Kind::Number) {
        std::fill_n(out, count, m_numbers[result.index]);
    }
}

template class BoundProgram<float>;
template class BoundProgram<double>;

}  // namespace rix::manipulation
