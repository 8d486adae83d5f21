#include <vessel/PropertyTree.h>

#include <algorithm>
#include <charconv>
#include <type_traits>

namespace vessel {

namespace {

template <class Number>
std::string numberToText(Number number) {
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof(buffer), number);
    return std::string(buffer, result.ptr);
}

}  // namespace

std::string PropertyTree::getText() const {
    return std::visit(
        [](const auto& value) -> std::string {
            using T = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<T, std::monostate>) {
                return {};
            } else if constexpr (std::is_same_v<T, bool>) {
                return value ? "true" : "false";
            } else if constexpr (std::is_same_v<T, std::string>) {
                return value;
            } else {
                return numberToText(value);
            }
        },
        m_value);
}

const std::string& PropertyTree::getChildName(std::size_t index) const {
    return m_children.at(index).first;
}

const PropertyTree& PropertyTree::getChild(std::size_t index) const {
    return m_children.at(index).second;
}

const PropertyTree* PropertyTree::find(std::string_view name) const noexcept {
    const auto child =
        std::find_if(m_children.begin(), m_children.end(), [name](const auto& entry) { return entry.first == name; });
    return child == m_children.end() ? nullptr : &child->second;
}

PropertyTree* PropertyTree::find(std::string_view name) noexcept {
    return const_cast<PropertyTree*>(std::as_const(*this).find(name));
}

PropertyTree& PropertyTree::operator[](std::string_view name) {
    if (PropertyTree* const child = find(name)) {
        return *child;
    }
    return m_children.emplace_back(std::string(name), PropertyTree()).second;
}

bool PropertyTree::remove(std::string_view name) {
    return std::erase_if(m_children, [name](const auto& entry) { return entry.first == name; }) != 0;
}

bool PropertyTree::operator==(const PropertyTree& other) const {
    return m_value == other.m_value && m_children == other.m_children;
}

}  // namespace vessel
