#include "Failure.h"

#include <new>
#include <utility>

#include <nlohmann/json.hpp>

#include <rix/description/WrongInput.h>
#include <rix/rendering/NotDrawable.h>

#include "Interrupts.h"

namespace rix::cli {
namespace {

/// Names and numbers of a hostile file may be as long as the file.
std::string cut(std::string text) {
    constexpr std::size_t most = 10000;
    if (text.size() > most) {
        text.resize(most);
        text += "...";
    }
    return text;
}

std::vector<std::string> levelsOf(const Exception& exception) {
    std::vector<std::string> levels;
    for (const auto& level : exception.getLevels()) {
        levels.push_back(cut(level.message));
    }
    if (levels.empty()) {
        levels.emplace_back(exception.getClassName());
    }
    return levels;
}

}  // namespace

Failure::Failure(int exitCode, std::string message, std::vector<std::string> suggestions)
    : m_exitCode(exitCode), m_levels{cut(std::move(message))}, m_suggestions(std::move(suggestions)) {}

Failure::Failure(int exitCode, const Exception& cause) : m_exitCode(exitCode), m_levels(levelsOf(cause)) {}

Failure Failure::within(const std::string& place) const {
    Failure outer = *this;
    outer.m_levels.push_back(cut(place));
    return outer;
}

Failure failureOfCurrentException() {
    try {
        throw;
    } catch (const Failure& failure) {
        return failure;
    } catch (const description::WrongInput& input) {
        const Failure failure(WRONG_USAGE, input.what(), input.suggestions());
        return input.choices().empty() ? failure : failure.within(input.choices());
    } catch (const rendering::NotDrawable& refusal) {
        return Failure(WRONG_USAGE, refusal.what());
    } catch (const RuleException& exception) {
        return Failure(exception.isOutOfMemory() ? RUN_FAILED : REFUSED_BY_RULE, exception);
    } catch (const UserCancelException& exception) {
        return Failure(Interrupts::requested() ? Interrupts::exitCode() : INTERRUPTED, exception);
    } catch (const Exception& exception) {
        return Failure(RUN_FAILED, exception);
    } catch (const std::bad_alloc&) {
        return Failure(RUN_FAILED, "not enough memory");
    } catch (const std::exception& exception) {
        return Failure(RUN_FAILED, exception.what());
    } catch (...) {
        return Failure(RUN_FAILED, "unknown failure");
    }
}

const char* exitCodeToString(int exitCode) {
    switch (exitCode) {
        case DONE: return "done";
        case WRONG_USAGE: return "wrong usage";
        case REFUSED_BY_RULE: return "refused by a rule";
        case UNREADABLE_INPUT: return "unreadable input";
        case UNWRITABLE_OUTPUT: return "unwritable output";
        case RUN_FAILED: return "run failed";
        default: return "interrupted";
    }
}

nlohmann::json toJson(const Failure& failure) {
    return {{"error",
             {{"code", failure.exitCode()},
              {"kind", exitCodeToString(failure.exitCode())},
              {"message", failure.levels().front()},
              {"levels", failure.levels()},
              {"suggestions", failure.suggestions()}}}};
}

std::string toText(const Failure& failure) {
    std::string text = "rix: " + failure.levels().front() + '\n';
    const auto& suggestions = failure.suggestions();
    for (std::size_t i = 0; i < suggestions.size(); ++i) {
        text += (i == 0 ? "  did you mean " : i + 1 == suggestions.size() ? " or " : ", ") + suggestions[i];
    }
    text += suggestions.empty() ? "" : "?\n";
    for (std::size_t i = 1; i < failure.levels().size(); ++i) {
        text += "  " + failure.levels()[i] + '\n';
    }
    return text;
}

}  // namespace rix::cli
