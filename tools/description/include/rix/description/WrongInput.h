#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace rix::description {

/// A name that nothing has or a value that a property doesn't take, as a user gave it, and what else could have been
/// meant, best first.
class WrongInput : public std::invalid_argument {
public:
    /// @param choices all that could be given, in words that go behind the suggestions; may be empty
    explicit WrongInput(const std::string& message, std::vector<std::string> suggestions = {}, std::string choices = {})
        : std::invalid_argument(message), m_suggestions(std::move(suggestions)), m_choices(std::move(choices)) {}

    const std::vector<std::string>& suggestions() const noexcept { return m_suggestions; }
    const std::string& choices() const noexcept { return m_choices; }

private:
    std::vector<std::string> m_suggestions;
    std::string m_choices;
};

}  // namespace rix::description
