#include <cmath>

#include <rix/formulas/Formula.h>

namespace rix::formulas {

namespace {

using Units = FormulaFunction::Units;

constexpr FormulaFunction functions[] = {
    {"sqrt", 1, Units::Root, [](double a, double) { return std::sqrt(a); }, 1.0 / 2.0},
    {"cbrt", 1, Units::Root, [](double a, double) { return std::cbrt(a); }, 1.0 / 3.0},
    {"abs", 1, Units::Same, [](double a, double) { return std::abs(a); }},
    {"min", 2, Units::Same, [](double a, double b) { return b < a ? b : a; }},
    {"max", 2, Units::Same, [](double a, double b) { return b > a ? b : a; }},
    {"exp", 1, Units::Plain, [](double a, double) { return std::exp(a); }},
    {"log", 1, Units::Plain, [](double a, double) { return std::log(a); }},
    {"log10", 1, Units::Plain, [](double a, double) { return std::log10(a); }},
    {"sin", 1, Units::Plain, [](double a, double) { return std::sin(a); }},
    {"cos", 1, Units::Plain, [](double a, double) { return std::cos(a); }},
    {"tan", 1, Units::Plain, [](double a, double) { return std::tan(a); }},
    {"asin", 1, Units::Plain, [](double a, double) { return std::asin(a); }},
    {"acos", 1, Units::Plain, [](double a, double) { return std::acos(a); }},
    {"atan", 1, Units::Plain, [](double a, double) { return std::atan(a); }},
    {"atan2", 2, Units::Ratio, [](double a, double b) { return std::atan2(a, b); }},
};

}  // namespace

const FormulaFunction* findFormulaFunction(const String& name) {
    for (const FormulaFunction& function : functions) {
        if (name == function.name) {
            return &function;
        }
    }
    return nullptr;
}

String formulaFunctionNames() {
    String names;
    for (const FormulaFunction& function : functions) {
        names += (names.empty() ? "" : ", ") + String(function.name);
    }
    return names;
}

bool isFormulaWord(const String& name) {
    return name == "pi" || name == "and" || name == "or" || name == "not" || findFormulaFunction(name) != nullptr;
}

}  // namespace rix::formulas
