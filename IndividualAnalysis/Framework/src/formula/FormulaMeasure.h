#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include <rix/formulas/Formula.h>
#include <rix/individual_analysis/BaseMeasure.h>
#include <rix/individual_analysis/BaseMeasureUniqueId.h>
#include <rix/individual_analysis/MeasureNamesHandler.h>

namespace rix::individual_analysis {

using formulas::FormulaFunction;
using formulas::FormulaInstruction;
using formulas::FormulaItem;
using formulas::FormulaOperation;

/// A formula whose names are resolved and whose units are checked.
struct Formula {
    std::vector<FormulaInstruction> code;  ///< the n-th `Value` stands for `values[n]`
    std::vector<MeasureNamesHandler::Value> values;
    Dimension dimension;
    bool needsIntensity = false;

    /// Nothing but a value of a measure: it keeps its type and what is known of it.
    bool isValue() const { return code.size() == 1 && code.front().operation == FormulaOperation::Value; }
};

/// Finds the dimension of a formula of which `code` and `values` are set.
/// @throws RuleException when values are joined whose dimensions do not allow it
Dimension checkUnits(const Formula& formula, const String& text, DimensionalMode mode);

/// The value of a formula, given those of its `Value`s in order. The stack is working memory.
double evaluate(const Formula& formula, const double* values, std::vector<double>& stack);

/// Identifies a measure that is a formula over other measures; for objects of one dimension.
class FormulaMeasureId : public BaseMeasureUniqueId {
public:
    FormulaMeasureId(const String& nativeName, const String& text, Formula formula, DimensionalMode mode);

    const Formula& formula() const { return m_formula; }

    bool supports(DimensionalMode mode) const override { return mode == m_mode; }
    MeasureAttributes getMeasureAttributes(DimensionalMode mode) const override;
    std::shared_ptr<BaseMeasure> createMeasure(const std::shared_ptr<const MeasureNamesHandler>& namesHandler,
                                               const MeasureSet& set) const override;
    void addDirectDependencies(const MeasureNamesHandler& namesHandler, DimensionalMode mode,
                               DependencyProcessingStep step, MeasureIdSet& dependencies) const override;

private:
    Formula m_formula;
    DimensionalMode m_mode;
};

}  // namespace rix::individual_analysis
