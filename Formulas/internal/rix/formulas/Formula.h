#pragma once

#include <cstddef>
#include <vector>

#include <rix/String.h>

/// Formulas as texts: what measures of objects and images are computed with.
namespace rix::formulas {

/// The operations of formulas, in postfix order: operands come before what joins them.
enum class FormulaOperation {
    Number,  ///< pushes `number`
    Value,   ///< pushes the value that `name` names
    Negate,
    Add,
    Subtract,
    Multiply,
    Divide,
    Power,
    // Comparisons and logic give 1 or 0; whatever differs from 0, NaN as well, counts as true.
    Less,
    LessOrEqual,
    Greater,
    GreaterOrEqual,
    Equal,
    NotEqual,
    And,
    Or,
    Not,
    Function  ///< applies `function` to as many operands as it takes
};

/// A function of plain numbers and, some of them, of values with a unit.
struct FormulaFunction {
    enum class Units {
        Plain,  ///< takes and gives plain numbers
        Same,   ///< operands have one dimension, which is that of the result
        Ratio,  ///< operands have one dimension, the result is a plain number
        Root    ///< the result has the dimension of the operand to `rootExponent`
    };

    const char* name;
    std::size_t operands;
    Units units;
    double (*compute)(double first, double second);
    double rootExponent = 1.0;
};

/// The function of that name, or null.
const FormulaFunction* findFormulaFunction(const String& name);
/// All of them, separated by commas.
String formulaFunctionNames();
/// Whether a name means something in every formula: a function, pi, and, or, not.
bool isFormulaWord(const String& name);

/// True for the operations whose result is 1 or 0.
constexpr bool isTruth(FormulaOperation operation) {
    return operation >= FormulaOperation::Less && operation <= FormulaOperation::Not;
}

struct FormulaInstruction {
    FormulaOperation operation;
    double number = 0.0;
    String name{};
    const FormulaFunction* function = nullptr;
};

/// One item of a request: `expression` or `name = expression`.
struct FormulaItem {
    String name;  ///< empty when none is given
    String text;  ///< of the expression, without blanks
    std::vector<FormulaInstruction> code;

    /// True when the expression is nothing but a name.
    bool isName() const { return code.size() == 1 && code.front().operation == FormulaOperation::Value; }
};

/// Reads a request: items separated by commas. An expression is made of decimal numbers, pi, names (also with a number
/// in parentheses: `Percentile(25)`), and, from the loosest to the tightest:
/// - `or`; `and`; `not`
/// - < <= > >= == !=, one between two sums
/// - + -; * /; signs; ^ (-a^b is -(a^b), a^b^c is a^(b^c))
/// - parentheses and functions: sqrt, cbrt, abs, min, max, exp, log, log10, sin, cos, tan, asin, acos, atan, atan2.
/// Blanks don't matter. Chains of operators may be of any length; parentheses nest 100 deep, signs 1000.
/// @throws RuleException that tells where the text goes wrong
std::vector<FormulaItem> parseFormulas(const String& text);

/// Reads one expression without a name.
/// @throws RuleException that tells where the text goes wrong
FormulaItem parseFormula(const String& text);

}  // namespace rix::formulas
