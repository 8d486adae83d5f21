#include <cctype>
#include <charconv>
#include <functional>
#include <numbers>
#include <string_view>
#include <utility>

#include <boost/spirit/home/x3.hpp>

#include <rix/formulas/Formula.h>
#include <rix/rules/RuleSupport.h>

namespace rix::formulas {

namespace {

namespace x3 = boost::spirit::x3;
// Its own classes of characters take bytes from 128 on for a mistake of the program and end it.
namespace ascii = x3::ascii;

/// A hostile text must not exhaust the stack of the recursive descent, of which parentheses take ten times as much as
/// signs, powers and `not`.
constexpr std::size_t deepestNesting = 1000;
constexpr std::size_t ofParentheses = 10;
constexpr std::size_t ofSign = 1;
constexpr std::size_t longestText = 100000;

bool isLetter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

/// One blank stays where two words would become one.
String withoutBlanks(std::string_view text) {
    String result;
    bool isApart = false;
    for (const char c : text) {
        if (std::isspace(static_cast<unsigned char>(c)) != 0) {
            isApart = true;
            continue;
        }
        if (isApart && !result.empty() && isLetter(result.back()) && isLetter(c)) {
            result += ' ';
        }
        result += c;
        isApart = false;
    }
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
    void enter(std::size_t nesting) {
        m_nesting += nesting;
        if (m_nesting > deepestNesting) {
            rules::refuse("The formula is nested too deeply.");
        }
    }
    void leave(std::size_t nesting) { m_nesting -= nesting; }
    void operation(FormulaOperation operation) { m_item.code.push_back({operation}); }
    void startCall(String name) {
        enter(ofParentheses);
        m_calls.push_back({std::move(name), m_item.code.size(), 0});
    }
    void argument() { ++m_calls.back().arguments; }
    void endCall() {
        leave(ofParentheses);
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
    std::size_t m_nesting = 0;
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

const auto enter = [](std::size_t nesting) {
    return x3::eps[([nesting](const auto& context) { builder(context).enter(nesting); })];
};
const auto leave = [](std::size_t nesting) {
    return x3::eps[([nesting](const auto& context) { builder(context).leave(nesting); })];
};

const x3::rule<class ExpressionRule> expression = "an expression";
const x3::rule<class ConjunctionRule> conjunction = "an operand";
const x3::rule<class NegationRule> negation = "an operand";
const x3::rule<class SumRule> sum = "an operand";
const x3::rule<class TermRule> term = "an operand";
const x3::rule<class UnaryRule> unary = "an operand";
const x3::rule<class PowerRule> power = "an operand";
const x3::rule<class PrimaryRule> primary = "a number, a name or \"(\"";

const auto letter = ascii::alnum | ascii::char_('_');
const auto word = [](const char* text) { return x3::lexeme[x3::lit(text) >> !letter]; };
const auto reserved = word("and") | word("or") | word("not");
const auto identifier = !reserved >> x3::raw[x3::lexeme[(ascii::alpha | ascii::char_('_')) >> *letter]];
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

const auto comparison = [](const char* text, FormulaOperation operation) {
    return (x3::lit(text) > sum)[emit(operation)];
};

const auto expression_def = conjunction >> *(word("or") > conjunction)[emit(FormulaOperation::Or)];
const auto conjunction_def = negation >> *(word("and") > negation)[emit(FormulaOperation::And)];
const auto negation_def =
    ((word("not") >> enter(ofSign)) > negation > leave(ofSign))[emit(FormulaOperation::Not)] |
    (sum >> -(comparison("<=", FormulaOperation::LessOrEqual) | comparison(">=", FormulaOperation::GreaterOrEqual) |
              comparison("==", FormulaOperation::Equal) | comparison("!=", FormulaOperation::NotEqual) |
              comparison("<", FormulaOperation::Less) | comparison(">", FormulaOperation::Greater)));
const auto sum_def = term >> *((x3::lit('+') > term)[emit(FormulaOperation::Add)] |
                               (x3::lit('-') > term)[emit(FormulaOperation::Subtract)]);
const auto term_def = unary >> *((x3::lit('*') > unary)[emit(FormulaOperation::Multiply)] |
                                 (x3::lit('/') > unary)[emit(FormulaOperation::Divide)]);
const auto unary_def = ((x3::lit('-') >> enter(ofSign)) > unary > leave(ofSign))[emit(FormulaOperation::Negate)] |
                       ((x3::lit('+') >> enter(ofSign)) > unary > leave(ofSign)) | power;
const auto power_def = primary >>
                       -((x3::lit('^') >> enter(ofSign)) > unary > leave(ofSign))[emit(FormulaOperation::Power)];
const auto primary_def = number[takeNumber] | call | identifier[takeValue] |
                         ((x3::lit('(') >> enter(ofParentheses)) > expression > x3::lit(')') > leave(ofParentheses));

BOOST_SPIRIT_DEFINE(expression, conjunction, negation, sum, term, unary, power, primary)

const x3::rule<class ItemRule> item = "a measure";
const auto item_def =
    -(identifier >> x3::omit[x3::lit('=') >> !x3::lit('=')])[startItem] >> x3::raw[expression][endItem];

BOOST_SPIRIT_DEFINE(item)

[[noreturn]] void refuseAt(const String& what, const String& text, String::const_iterator where,
                           const String& expected) {
    const auto position = where - text.begin();
    rules::refuse(
        what + " \"" + text + "\" cannot be read: " + expected + " is expected at position " +
        std::to_string(position + 1) +
        (where == text.end() ? ", where the text ends." : String(", before \"") + String(where, text.end()) + "\"."));
}

/// @param what names the text in messages, `first` what it begins with, `next` what may follow a part of it
template <class Grammar>
std::vector<FormulaItem> parse(const String& text, const Grammar& items, const String& what, const String& first,
                               const String& next) {
    if (text.size() > longestText) {
        rules::refuse(what + " cannot be read: the text is longer than " + std::to_string(longestText) +
                      " characters.");
    }
    FormulaBuilder result;
    const auto grammar = x3::with<BuilderTag>(std::ref(result))[items];
    auto position = text.begin();
    try {
        const bool read = x3::phrase_parse(position, text.end(), grammar, ascii::space);
        if (!read || position != text.end()) {
            refuseAt(what, text, position, read ? next : first);
        }
    } catch (const x3::expectation_failure<String::const_iterator>& failure) {
        refuseAt(what, text, failure.where(), failure.which());
    }
    return std::move(result.items);
}

}  // namespace

std::vector<FormulaItem> parseFormulas(const String& text) {
    return parse(text, item >> *(',' > item), "The measures", "a measure", "\",\" or an operator");
}

FormulaItem parseFormula(const String& text) {
    return parse(text, x3::raw[expression][endItem], "The formula", "an expression", "an operator").front();
}

}  // namespace rix::formulas
