#include "Recipe.h"

#include <algorithm>
#include <fstream>
#include <initializer_list>
#include <set>
#include <string_view>

#include <nlohmann/json.hpp>

#include <rix/description/Suggestions.h>
#include <rix/description/Text.h>

#include "../Failure.h"
#include "../Output.h"

namespace rix::cli {
namespace {

// The order of the file is kept: properties are set in it.
using Json = nlohmann::ordered_json;

[[noreturn]] void refuse(const std::string& where, const std::string& complaint,
                         std::vector<std::string> suggestions = {}) {
    throw Failure(WRONG_USAGE, "the recipe is wrong at " + where + ": " + complaint, std::move(suggestions));
}

/// Far more than anybody writes; a wrong file must not cost all memory.
constexpr std::size_t longestRecipe = std::size_t{16} << 20;

/// Goes through a file before it is kept: what is nested deep takes memory, and finding a name among many takes time.
/// It stops at a mistake, which the parser then tells.
class Bounds : public nlohmann::json_sax<Json> {
public:
    explicit Bounds(const std::filesystem::path& path) : m_path(path) {}

    bool null() override { return true; }
    bool boolean(bool /*value*/) override { return true; }
    bool number_integer(number_integer_t /*value*/) override { return true; }
    bool number_unsigned(number_unsigned_t /*value*/) override { return true; }
    bool number_float(number_float_t /*value*/, const string_t& /*text*/) override { return true; }
    bool string(string_t& /*text*/) override { return true; }
    bool binary(binary_t& /*bytes*/) override { return true; }
    bool start_object(std::size_t /*size*/) override { return open(); }
    bool key(string_t& /*name*/) override {
        constexpr std::size_t mostNames = 200;
        if (++m_names.back() > mostNames) {
            refuse("has an object of more than " + std::to_string(mostNames) + " names");
        }
        return true;
    }
    bool end_object() override { return close(); }
    bool start_array(std::size_t /*size*/) override { return open(); }
    bool end_array() override { return close(); }
    bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                     const Json::exception& /*error*/) override {
        return false;
    }

private:
    bool open() {
        constexpr std::size_t deepest = 32;
        m_names.push_back(0);
        if (m_names.size() > deepest) {
            refuse("nests more than " + std::to_string(deepest) + " lists and objects");
        }
        return true;
    }
    bool close() {
        m_names.pop_back();
        return true;
    }
    [[noreturn]] void refuse(const std::string& what) const {
        throw Failure(WRONG_USAGE, "the recipe " + description::inQuotes(m_path.string()) + ' ' + what);
    }

    const std::filesystem::path& m_path;
    std::vector<std::size_t> m_names;  ///< of the lists and objects that are open
};

Json parseFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::string text(longestRecipe + 1, '\0');
    if (!file || !file.read(text.data(), static_cast<std::streamsize>(text.size())).eof()) {
        if (file.good()) {
            throw Failure(UNREADABLE_INPUT, "the recipe " + description::inQuotes(path.string()) + " is longer than " +
                                                std::to_string(longestRecipe) + " bytes");
        }
        throw Failure(UNREADABLE_INPUT, "the recipe " + description::inQuotes(path.string()) + " can't be read");
    }
    text.resize(static_cast<std::size_t>(file.gcount()));
    if (text.empty()) {
        throw Failure(UNREADABLE_INPUT, "the recipe " + description::inQuotes(path.string()) + " is empty");
    }
    Bounds bounds(path);
    static_cast<void>(Json::sax_parse(text, &bounds));
    try {
        return Json::parse(text);
    } catch (const Json::exception& error) {  // of the syntax, or of a number that no type holds
        throw Failure(WRONG_USAGE,
                      "the recipe " + description::inQuotes(path.string()) + " is no JSON: " + error.what());
    }
}

/// The objects of the file, with the checks that every one of them needs.
class Object {
public:
    Object(const Json& json, std::string where, const std::vector<std::string>& known)
        : m_json(json), m_where(std::move(where)) {
        if (!json.is_object()) {
            refuse(m_where, "an object is expected");
        }
        for (const auto& [key, value] : json.items()) {
            if (std::find(known.begin(), known.end(), key) == known.end()) {
                refuse(m_where, description::inQuotes(key) + " means nothing here", description::suggest(key, known));
            }
        }
    }

    bool has(const char* key) const { return m_json.contains(key); }
    std::string placeOf(const std::string& key) const { return m_where + '/' + key; }

    const Json& at(const char* key) const {
        if (!has(key)) {
            refuse(m_where, std::string("\"") + key + "\" is missing");
        }
        return m_json.at(key);
    }

    std::string text(const char* key) const {
        if (!at(key).is_string()) {
            refuse(placeOf(key), "a text is expected");
        }
        return at(key).get<std::string>();
    }

private:
    const Json& m_json;
    std::string m_where;
};

/// Puts the parameters into texts.
class Parameters {
public:
    Parameters(const Object& recipe, const std::vector<Assignment>& given) {
        if (recipe.has("parameters")) {
            if (!recipe.at("parameters").is_object()) {
                refuse("/parameters", "an object is expected");
            }
            for (const auto& [name, value] : recipe.at("parameters").items()) {
                m_values[name] = plainText(value, "/parameters/" + name);
            }
        }
        for (const auto& [name, text] : given) {
            if (!m_values.contains(name)) {
                std::vector<std::string> names;
                for (const auto& [known, value] : m_values) {
                    names.push_back(known);
                }
                throw Failure(WRONG_USAGE, "the recipe has no parameter " + description::inQuotes(name),
                              description::suggest(name, names));
            }
            m_values[name] = text;
        }
    }

    /// A text, number or boolean of the file as the text that a property reads.
    std::string valueOf(const Json& json, const std::string& where) const {
        return json.is_string() ? fill(json.get<std::string>(), where) : plainText(json, where);
    }

    std::string fill(const std::string& text, const std::string& where) const {
        std::string result;
        std::size_t at = 0;
        for (std::size_t begin = text.find("${"); begin != std::string::npos; begin = text.find("${", at)) {
            const std::size_t end = text.find('}', begin);
            if (end == std::string::npos) {
                refuse(where, "\"${\" is not closed");
            }
            const std::string name = text.substr(begin + 2, end - begin - 2);
            const auto value = m_values.find(name);
            if (value == m_values.end()) {
                refuse(where, "there is no parameter " + description::inQuotes(name));
            }
            m_left -= std::min(m_left, value->second.size());
            if (m_left == 0) {
                refuse(where,
                       "with its parameters, the recipe is longer than " + std::to_string(longestRecipe) + " bytes");
            }
            result.append(text, at, begin - at).append(value->second);
            at = end + 1;
        }
        return result.append(text, at);
    }

    const std::map<std::string, std::string>& values() const { return m_values; }

private:
    static std::string plainText(const Json& json, const std::string& where) {
        if (json.is_string()) {
            return json.get<std::string>();
        }
        if (json.is_number() || json.is_array()) {
            return json.dump();  // an array: a value of several components
        }
        if (json.is_boolean()) {
            return json.get<bool>() ? "true" : "false";
        }
        refuse(where, "a text, a number, true or false, or a list of numbers is expected");
    }

    std::map<std::string, std::string> m_values;
    mutable std::size_t m_left = longestRecipe;  ///< bytes that parameters may still take
};

Recipe::View readView(const Json& json, const std::string& where, const Parameters& parameters) {
    if (json.is_string()) {
        return {parameters.fill(json.get<std::string>(), where)};
    }
    const Object view(json, where, {"image", "over", "numbers"});
    Recipe::View result{parameters.fill(view.text("image"), view.placeOf("image"))};
    if (view.has("over")) {
        result.over = parameters.fill(view.text("over"), view.placeOf("over"));
    }
    if (view.has("numbers")) {
        if (!view.at("numbers").is_boolean()) {
            refuse(view.placeOf("numbers"), "true or false is expected");
        }
        result.numbers = view.at("numbers").get<bool>();
    }
    return result;
}

Recipe::Step readStep(const Json& json, const std::string& where, const Parameters& parameters) {
    const Object step(json, where, {"run", "with", "each", "render", "write", "to"});
    if (step.has("run") + step.has("render") + step.has("write") != 1) {
        refuse(where, "a step is one of \"run\", \"render\" and \"write\"");
    }
    Recipe::Step result;
    if (step.has("run")) {
        result.className = step.text("run");
        const Json& with = step.at("with");
        if (!with.is_object() || step.has("to")) {
            refuse(where, R"("run" goes with an object "with" of properties and their values)");
        }
        if (step.has("each")) {
            result.each = eachFromText(parameters.fill(step.text("each"), step.placeOf("each")),
                                       "the recipe is wrong at " + step.placeOf("each") + ": it");
        }
        for (const auto& [name, value] : with.items()) {
            result.assignments.push_back({name, parameters.valueOf(value, where + "/with/" + name)});
        }
        return result;
    }
    if (step.has("with") || step.has("each")) {
        refuse(where, R"("with" and "each" go with "run" only)");
    }
    result.target = parameters.fill(step.text("to"), step.placeOf("to"));
    if (step.has("write")) {
        result.kind = Recipe::Step::Kind::Write;
        result.views.push_back({parameters.fill(step.text("write"), step.placeOf("write"))});
        return result;
    }
    result.kind = Recipe::Step::Kind::Render;
    const Json& views = step.at("render");
    if (!views.is_array()) {
        result.views.push_back(readView(views, step.placeOf("render"), parameters));
    } else if (views.empty()) {
        refuse(step.placeOf("render"), "there is nothing to show");
    } else {
        for (std::size_t i = 0; i < views.size(); ++i) {
            result.views.push_back(readView(views[i], step.placeOf("render") + '/' + std::to_string(i), parameters));
        }
    }
    return result;
}

}  // namespace

std::string memoryName(const std::string& text) {
    return text.starts_with('@') ? text.substr(1) : std::string();
}

Recipe readRecipe(const std::filesystem::path& path, const std::vector<Assignment>& given) {
    const Json json = parseFile(path);
    const Object object(json, "its root", {"description", "parameters", "steps"});
    const Parameters parameters(object, given);
    Recipe recipe;
    recipe.parameters = parameters.values();
    if (object.has("description")) {
        recipe.description = object.text("description");
    }
    const Json& steps = object.at("steps");
    if (!steps.is_array() || steps.empty()) {
        refuse("/steps", "a list of at least one step is expected");
    }
    for (std::size_t i = 0; i < steps.size(); ++i) {
        recipe.steps.push_back(readStep(steps[i], "/steps/" + std::to_string(i), parameters));
    }
    return recipe;
}

}  // namespace rix::cli
