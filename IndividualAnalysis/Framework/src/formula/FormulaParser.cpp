#include <algorithm>
#include <charconv>
#include <functional>
#include <locale>
#include <numbers>
#include <sstream>
#include <string_view>
#include <utility>

#include <boost/spirit/home/x3.hpp>

#include <rix/rules/RuleSupport.h>

#include "FormulaSyntax.h"

namespace rix::individual_analysis {

namespace {

namespace x3 = boost::spirit::x3;
// Its own classes of characters take bytes from 128 on for a mistake of the program and end it.
namespace ascii = x3::ascii;

/// A hostile text must not exhaust the stack of the recursive descent.
constexpr std::size_t deepestNesting = 100;
constexpr std::size_t longestRequest = 100000;

String withoutBlanks(std::string_view text) {
    String result;
    std::copy_if(text.begin(), text.end(), std::back_inserter(result),
                 [](unsigned char c) { return std::isspace(c) == 0; });
    return result;
}

/// Takes what the grammar recognises, in postfix order.
class FormulaBuilder {
public:
    std::vector<FormulaItem> items;

    void startItem(String name) { m_item.name = std::move(name); }
    void endItem(std::string_view text) {
        m_item.text = withoutBlanks(text);
        items.push_back(std::exchange(m_item, FormulaItem{}));
    }
    void number(std::string_view text) {
        double value = 0.0;
        if (std::from_chars(text.data(), text.data() + text.size(), value).ec != std::errc()) {
            rules::refuse("The number " + String(text) + " is beyond the range of 64-bit reals.");
        }
        m_item.code.push_back({FormulaOperation::Number, value});
    }
    void value(String name) {
        if (name == "pi") {
            m_item.code.push_back({FormulaOperation::Number, std::numbers::pi});
        } else {
            m_item.code.push_back({FormulaOperation::Value, 0.0, std::move(name)});
        }
    }
    void operation(FormulaOperation operation) { m_item.code.push_back({operation}); }
    void startCall(String name) { m_calls.push_back({std::move(name), m_item.code.size(), 0}); }
    void argument() { ++m_calls.back().arguments; }
    void endCall() {
        const Call call = std::move(m_calls.back());
        m_calls.pop_back();
        if (const FormulaFunction* const function = findFormulaFunction(call.name); function != nullptr) {
            if (call.arguments != function->operands) {
                rules::refuse("The function \"" + call.name + "\" takes " + std::to_string(function->operands) +
                              " operands, not " + std::to_string(call.arguments) + '.');
            }
            m_item.code.push_back({FormulaOperation::Function, 0.0, {}, function});
            return;
        }
        // No function: a measure with a parameter in its name.
        if (m_item.code.size() != call.firstInstruction + 1 ||
            m_item.code.back().operation != FormulaOperation::Number) {
            rules::refuse("There is no function \"" + call.name + "\".",
                          "Functions are " + formulaFunctionNames() + '.');
        }
        const String parameter = rules::numberToText(m_item.code.back().number);
        m_item.code.back() = {FormulaOperation::Value, 0.0, call.name + '(' + parameter + ')'};
    }

private:
    struct Call {
        String name;
        std::size_t firstInstruction;
        std::size_t arguments;
    };

    FormulaItem m_item;
    std::vector<Call> m_calls;
};

struct BuilderTag;

template <class Context>
FormulaBuilder& builder(const Context& context) {
    return x3::get<BuilderTag>(context).get();
}

template <class Context>
String textOf(const Context& context) {
    const auto& range = x3::_attr(context);
    return {range.begin(), range.end()};
}

const auto emit = [](FormulaOperation operation) {
    return [operation](const auto& context) { builder(context).operation(operation); };
};

const x3::rule<class ExpressionRule> expression = "an expression";
const x3::rule<class TermRule> term = "an operand";
const x3::rule<class UnaryRule> unary = "an operand";
const x3::rule<class PowerRule> power = "an operand";
const x3::rule<class PrimaryRule> primary = "a number, a name or \"(\"";

const auto identifier = x3::raw[x3::lexeme[(ascii::alpha | ascii::char_('_')) >> *(ascii::alnum | ascii::char_('_'))]];
const auto mantissa = (+ascii::digit >> -(ascii::char_('.') >> *ascii::digit)) | (ascii::char_('.') >> +ascii::digit);
const auto exponent = ascii::char_("eE") >> -ascii::char_("+-") >> +ascii::digit;
const auto number = x3::raw[x3::lexeme[mantissa >> -exponent]];

const auto takeNumber = [](const auto& context) { builder(context).number(textOf(context)); };
const auto takeValue = [](const auto& context) { builder(context).value(textOf(context)); };
const auto startCall = [](const auto& context) { builder(context).startCall(textOf(context)); };
const auto takeArgument = [](const auto& context) { builder(context).argument(); };
const auto endCall = [](const auto& context) { builder(context).endCall(); };
const auto startItem = [](const auto& context) { builder(context).startItem(textOf(context)); };
const auto endItem = [](const auto& context) { builder(context).endItem(textOf(context)); };

const auto argument = expression >> x3::eps[takeArgument];
const auto call = (identifier >> x3::omit[x3::lit('(')])[startCall] > (argument % ',') > ')' > x3::eps[endCall];

const auto expression_def = term >> *((x3::lit('+') > term)[emit(FormulaOperation::Add)] |
                                      (x3::lit('-') > term)[emit(FormulaOperation::Subtract)]);
const auto term_def = unary >> *((x3::lit('*') > unary)[emit(FormulaOperation::Multiply)] |
                                 (x3::lit('/') > unary)[emit(FormulaOperation::Divide)]);
const auto unary_def = (x3::lit('-') > unary)[emit(FormulaOperation::Negate)] | (x3::lit('+') > unary) | power;
const auto power_def = primary >> -(x3::lit('^') > unary)[emit(FormulaOperation::Power)];
const auto primary_def = number[takeNumber] | call | identifier[takeValue] | (x3::lit('(') > expression > x3::lit(')'));

BOOST_SPIRIT_DEFINE(expression, term, unary, power, primary)

const x3::rule<class ItemRule> item = "a measure";
const auto item_def = -(identifier >> x3::omit[x3::lit('=')])[startItem] >> x3::raw[expression][endItem];

BOOST_SPIRIT_DEFINE(item)

void refuseNesting(const String& text) {
    std::size_t depth = 0;
    std::size_t signs = 0;  // "----a" nests as well
    for (const char c : text) {
        depth += c == '(' ? 1 : 0;
        depth -= c == ')' && depth > 0 ? 1 : 0;
        signs = c == '-' || c == '+' || c == '^' ? signs + 1 : c == ',' ? 0 : signs;
        if (depth > deepestNesting || signs > 10 * deepestNesting) {
            rules::refuse("The formula is nested too deeply.");
        }
    }
}

[[noreturn]] void refuseAt(const String& text, String::const_iterator where, const String& expected) {
    const auto position = where - text.begin();
    rules::refuse(
        "The measures \"" + text + "\" cannot be read: " + expected + " is expected at position " +
        std::to_string(position + 1) +
        (where == text.end() ? ", where the text ends." : String(", before \"") + String(where, text.end()) + "\"."));
}

}  // namespace

std::vector<FormulaItem> parseFormulas(const String& text) {
    if (text.size() > longestRequest) {
        rules::refuse("The request of measures is longer than " + std::to_string(longestRequest) + " characters.");
    }
    refuseNesting(text);
    FormulaBuilder result;
    const auto grammar = x3::with<BuilderTag>(std::ref(result))[item >> *(',' > item)];
    auto position = text.begin();
    try {
        const bool read = x3::phrase_parse(position, text.end(), grammar, ascii::space);
        if (!read || position != text.end()) {
            refuseAt(text, position, read ? "\",\" or an operator" : "a measure");
        }
    } catch (const x3::expectation_failure<String::const_iterator>& failure) {
        refuseAt(text, failure.where(), failure.which());
    }
    return std::move(result.items);
}

}  // namespace rix::individual_analysis
