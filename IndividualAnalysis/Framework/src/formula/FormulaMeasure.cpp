#include "FormulaMeasure.h"

#include <cmath>
#include <optional>
#include <utility>

#include <rix/individual_analysis/MeasureSet.h>
#include <rix/rules/RuleSupport.h>

namespace rix::individual_analysis {

namespace {

/// An operand while units are checked.
struct Operand {
    Dimension dimension;
    std::optional<double> constant;  ///< of a number or of what is computed from numbers alone
};

class UnitChecker {
public:
    UnitChecker(const Formula& formula, const String& text, DimensionalMode mode)
        : m_formula(formula), m_text(text), m_mode(mode) {}

    Dimension check() {
        for (const FormulaInstruction& instruction : m_formula.code) {
            step(instruction);
        }
        return m_stack.back().dimension;
    }

private:
    void step(const FormulaInstruction& instruction) {
        using Operation = FormulaOperation;
        switch (instruction.operation) {
            case Operation::Number: m_stack.push_back({{}, instruction.number}); return;
            case Operation::Value: {
                const auto& value = m_formula.values[m_nextValue++];
                m_stack.push_back(
                    {value.measure->getMeasureAttributes(m_mode).components[value.component].dimension, std::nullopt});
                return;
            }
            case Operation::Negate:
                if (m_stack.back().constant) {
                    m_stack.back().constant = -*m_stack.back().constant;
                }
                return;
            case Operation::Function: applyFunction(*instruction.function); return;
            case Operation::Not:
                requirePlain(m_stack.back(), "not");
                m_stack.back().constant.reset();
                return;
            default: break;
        }
        const Operand right = pop();
        const Operand left = pop();
        std::optional<double> constant;
        if (left.constant && right.constant) {
            const double both[] = {*left.constant, *right.constant};
            std::vector<double> stack;
            constant = evaluate({{{Operation::Value}, {Operation::Value}, {instruction.operation}}, {}, {}, false},
                                both, stack);
        }
        m_stack.push_back({join(instruction.operation, left, right), constant});
    }

    Dimension join(FormulaOperation operation, const Operand& left, const Operand& right) const {
        switch (operation) {
            case FormulaOperation::Multiply: return left.dimension.times(right.dimension);
            case FormulaOperation::Divide: return left.dimension.over(right.dimension);
            case FormulaOperation::Power:
                if (!right.dimension.isPlainNumber()) {
                    refuse("an exponent is " + right.dimension.describe() + " instead of a plain number");
                }
                if (!left.dimension.isPlainNumber() && !right.constant) {
                    refuse("the exponent of " + left.dimension.describe() + " is not a constant");
                }
                if (!left.dimension.isPlainNumber() && !std::isfinite(*right.constant)) {
                    refuse("the exponent of " + left.dimension.describe() + " is not finite");
                }
                return left.dimension.toThePower(right.constant.value_or(0.0));
            case FormulaOperation::And:
            case FormulaOperation::Or:
                requirePlain(left, operation == FormulaOperation::And ? "and" : "or");
                requirePlain(right, operation == FormulaOperation::And ? "and" : "or");
                return {};
            default: break;
        }
        if (formulas::isTruth(operation)) {
            // A bare number is in the unit of what it is compared with.
            const bool isBare = (left.constant && left.dimension.isPlainNumber()) ||
                                (right.constant && right.dimension.isPlainNumber());
            if (!isBare && !left.dimension.isSameAs(right.dimension)) {
                refuse(left.dimension.describe() + " is compared with " + right.dimension.describe());
            }
            return {};
        }
        const String verb = operation == FormulaOperation::Add ? "added to " : "subtracted from ";
        if (!left.dimension.isSameAs(right.dimension)) {
            refuse(right.dimension.describe() + " is " + verb + left.dimension.describe());
        }
        return left.dimension;
    }

    void requirePlain(const Operand& operand, const String& word) const {
        if (!operand.dimension.isPlainNumber()) {
            refuse("an operand of " + word + " is " + operand.dimension.describe() + " instead of a plain number");
        }
    }

    void applyFunction(const FormulaFunction& function) {
        const Operand last = pop();
        const Operand first = function.operands == 2 ? pop() : last;
        if (!first.dimension.isSameAs(last.dimension)) {
            refuse(String("the operands of ") + function.name + " are " + first.dimension.describe() + " and " +
                   last.dimension.describe());
        }
        Operand result{last.dimension, std::nullopt};
        switch (function.units) {
            case FormulaFunction::Units::Plain:
                if (!last.dimension.isPlainNumber()) {
                    refuse(String("the operand of ") + function.name + " is " + last.dimension.describe() +
                           " instead of a plain number");
                }
                break;
            case FormulaFunction::Units::Ratio: result.dimension = {}; break;
            case FormulaFunction::Units::Root:
                result.dimension = last.dimension.toThePower(function.rootExponent);
                break;
            case FormulaFunction::Units::Same: break;
        }
        if (first.constant && last.constant) {
            result.constant = function.compute(*first.constant, *last.constant);
        }
        m_stack.push_back(result);
    }

    Operand pop() {
        Operand operand = m_stack.back();
        m_stack.pop_back();
        return operand;
    }

    [[noreturn]] void refuse(const String& reason) const {
        rules::refuse("The units in the formula \"" + m_text + "\" do not fit: " + reason + '.');
    }

    const Formula& m_formula;
    const String& m_text;
    DimensionalMode m_mode;
    std::vector<Operand> m_stack;
    std::size_t m_nextValue = 0;
};

/// A formula within one analysis.
class FormulaMeasure : public BaseMeasure {
public:
    FormulaMeasure(const std::shared_ptr<const FormulaMeasureId>& id,
                   const std::shared_ptr<const MeasureNamesHandler>& namesHandler, const MeasureSet& set)
        : BaseMeasure(id, namesHandler, set), m_id(id) {}

protected:
    void setDependenciesAccessors() override {
        std::vector<const MeasureResults*> results;
        for (const auto& value : m_id->formula().values) {
            results.push_back(getDependency(value.measure)->getResults().get());
        }
        m_values = std::move(results);
    }

    void finalizeDerived(unsigned long sequence, unsigned long first, unsigned long last) override {
        const Formula& formula = m_id->formula();
        MeasureResults& results = *accessResults();
        std::vector<double> operands(m_values.size());
        std::vector<double> stack;
        for (std::size_t index = first; index < last; ++index) {
            for (std::size_t channel = 0; channel < results.getNumSpectralPlanes(); ++channel) {
                for (std::size_t i = 0; i < operands.size(); ++i) {
                    operands[i] = m_values[i]->values(sequence, index, channel)[formula.values[i].component];
                }
                results.values(sequence, index, channel)[0] = evaluate(formula, operands.data(), stack);
            }
        }
    }

    void clearDerived() override { m_values.clear(); }

private:
    std::shared_ptr<const FormulaMeasureId> m_id;
    std::vector<const MeasureResults*> m_values;
};

}  // namespace

Dimension checkUnits(const Formula& formula, const String& text, DimensionalMode mode) {
    return UnitChecker(formula, text, mode).check();
}

double evaluate(const Formula& formula, const double* values, std::vector<double>& stack) {
    stack.clear();
    const auto pop = [&stack] {
        const double top = stack.back();
        stack.pop_back();
        return top;
    };
    for (const FormulaInstruction& instruction : formula.code) {
        switch (instruction.operation) {
            case FormulaOperation::Number: stack.push_back(instruction.number); continue;
            case FormulaOperation::Value: stack.push_back(*values++); continue;
            case FormulaOperation::Negate: stack.back() = -stack.back(); continue;
            case FormulaOperation::Not: stack.back() = stack.back() == 0.0 ? 1.0 : 0.0; continue;
            case FormulaOperation::Function: {
                const double last = pop();
                const double first = instruction.function->operands == 2 ? pop() : last;
                stack.push_back(instruction.function->compute(first, last));
                continue;
            }
            default: break;
        }
        const double right = pop();
        double& left = stack.back();
        const auto truth = [](bool holds) { return holds ? 1.0 : 0.0; };
        switch (instruction.operation) {
            case FormulaOperation::Add: left += right; break;
            case FormulaOperation::Subtract: left -= right; break;
            case FormulaOperation::Multiply: left *= right; break;
            case FormulaOperation::Divide: left /= right; break;
            case FormulaOperation::Less: left = truth(left < right); break;
            case FormulaOperation::LessOrEqual: left = truth(left <= right); break;
            case FormulaOperation::Greater: left = truth(left > right); break;
            case FormulaOperation::GreaterOrEqual: left = truth(left >= right); break;
            case FormulaOperation::Equal: left = truth(left == right); break;
            case FormulaOperation::NotEqual: left = truth(left != right); break;
            case FormulaOperation::And: left = truth(left != 0.0 && right != 0.0); break;
            case FormulaOperation::Or: left = truth(left != 0.0 || right != 0.0); break;
            default: left = std::pow(left, right); break;
        }
    }
    return stack.back();
}

namespace {

String descriptionOf(const Formula& formula, const String& text) {
    return formula.isValue() ? formula.values.front().measure->getMeasureInfo().description
                             : "The formula " + text + ".";
}

}  // namespace

FormulaMeasureId::FormulaMeasureId(const String& nativeName, const String& text, Formula formula, DimensionalMode mode)
    : BaseMeasureUniqueId({nativeName, descriptionOf(formula, text)}), m_formula(std::move(formula)), m_mode(mode) {}

MeasureAttributes FormulaMeasureId::getMeasureAttributes(DimensionalMode /*mode*/) const {
    MeasureAttributes attributes;
    attributes.needsIntensity = m_formula.needsIntensity;
    if (m_formula.isValue()) {
        const MeasureNamesHandler::Value& value = m_formula.values.front();
        attributes.components.push_back(value.measure->getMeasureAttributes(m_mode).components[value.component]);
        attributes.components.front().suffix.clear();
    } else {
        attributes.components.push_back({"", "", m_formula.dimension, "", vessel::ColumnType::REAL});
    }
    return attributes;
}

std::shared_ptr<BaseMeasure> FormulaMeasureId::createMeasure(
    const std::shared_ptr<const MeasureNamesHandler>& namesHandler, const MeasureSet& set) const {
    return std::make_shared<FormulaMeasure>(std::static_pointer_cast<const FormulaMeasureId>(shared_from_this()),
                                            namesHandler, set);
}

void FormulaMeasureId::addDirectDependencies(const MeasureNamesHandler& /*namesHandler*/, DimensionalMode /*mode*/,
                                             DependencyProcessingStep step, MeasureIdSet& dependencies) const {
    if (step != DependencyProcessingStep::Processing) {
        for (const auto& value : m_formula.values) {
            dependencies.insert(value.measure);
        }
    }
}

}  // namespace rix::individual_analysis
