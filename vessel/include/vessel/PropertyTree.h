#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <vessel/Export.h>

namespace vessel {

/// Metadata: a node with a value, or none, and named children in the order in which they were added.
///
/// A value type: copies share nothing. Lookup of a child is linear; metadata is small.
class VESSEL_EXPORT PropertyTree {
public:
    using Value = std::variant<std::monostate, bool, std::int64_t, double, std::string>;

    const Value& getValue() const noexcept { return m_value; }
    void setValue(Value value) { m_value = std::move(value); }
    bool hasValue() const noexcept { return !std::holds_alternative<std::monostate>(m_value); }

    /// The value as text: "true" and "false", the shortest decimal form that reads back to the same number, the text
    /// itself; empty when there is no value.
    std::string getText() const;

    std::size_t getChildCount() const noexcept { return m_children.size(); }
    /// @throws std::out_of_range
    const std::string& getChildName(std::size_t index) const;
    /// @throws std::out_of_range
    const PropertyTree& getChild(std::size_t index) const;

    /// The child of that name, null when there is none. Valid until children are added or removed.
    const PropertyTree* find(std::string_view name) const noexcept;
    PropertyTree* find(std::string_view name) noexcept;

    /// The child of that name, added at the end when there was none.
    PropertyTree& operator[](std::string_view name);

    /// Removes the child of that name; false when there is none.
    bool remove(std::string_view name);

    bool operator==(const PropertyTree& other) const;

private:
    Value m_value;
    std::vector<std::pair<std::string, PropertyTree>> m_children;
};

}  // namespace vessel
