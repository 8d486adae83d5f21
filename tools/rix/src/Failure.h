#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include <rix/exceptions/Exception.h>

#include "ExitCode.h"

namespace rix::cli {

/// A failure as the program reports it: the exit code, the text of the cause and of the levels around it, and what
/// else could have been meant.
class Failure : public std::exception {
public:
    Failure(int exitCode, std::string message, std::vector<std::string> suggestions = {});
    /// What an exception of the library becomes when the program knows its part in the command.
    Failure(int exitCode, const Exception& cause);

    /// The same failure with a level around it that tells where it happened.
    Failure within(const std::string& place) const;

    int exitCode() const noexcept { return m_exitCode; }
    /// The cause first, then outwards; never empty.
    const std::vector<std::string>& levels() const noexcept { return m_levels; }
    const std::vector<std::string>& suggestions() const noexcept { return m_suggestions; }
    const char* what() const noexcept override { return m_levels.front().c_str(); }

private:
    int m_exitCode;
    std::vector<std::string> m_levels;
    std::vector<std::string> m_suggestions;
};

/// Makes a failure of the exception in flight. What a rule refused, what the user cancelled and a lack of memory are
/// recognised; everything else is a failed run.
Failure failureOfCurrentException();

/// "refused by a rule", ...: the exit code in words.
const char* exitCodeToString(int exitCode);

/// {"error": {"code": 2, "kind": "wrong usage", "message": CAUSE, "levels": [CAUSE, ...], "suggestions": [...]}}
nlohmann::json toJson(const Failure& failure);

/// "rix: CAUSE", below it "did you mean ...?", and where it happened, level by level outwards.
std::string toText(const Failure& failure);

}  // namespace rix::cli
