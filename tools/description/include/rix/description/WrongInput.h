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
    explicit WrongInput(const std::string& message, std::vector<std::string> suggestions = {})
        : std::invalid_argument(message), m_suggestions(std::move(suggestions)) {}

    const std::vector<std::string>& suggestions() const noexcept { return m_suggestions; }

private:
    std::vector<std::string> m_suggestions;
};

}  // namespace rix::description
