#pragma once

#include <rix/Export.h>
#include <rix/properties/EnumInfo.h>
#include <rix/properties/Property.h>

namespace rix {

/// Separates the choices in a text.
inline constexpr const char* SEPARATOR_VALUES = "|";

/// A property that holds any number of the values of an enumeration, which are flags, combined bit by bit.
///
/// `set` takes any integer: whether its bits are flags of the enumeration is for a rule to check. Text is checked
/// here.
class RIX_EXPORT PropertyMultipleChoices : public Property<int> {
public:
    /// @param info describes the enumeration and must outlive the property; without one every text is refused.
    explicit PropertyMultipleChoices(const EnumInfo* info = nullptr);

    const EnumInfo* getEnumInfo() const;

    using Property<int>::operator=;

    /// Accepts labels and positive numbers separated by "|"; empty tokens are passed over, but there must be one that
    /// is not. A number must consist of flags of the enumeration alone (`helper::readOneValue`). The owner is notified
    /// only when the value changes. `normalised` receives the labels chosen, or `text` when it is refused.
    bool read(const String& text, String& normalised) override;
};

namespace helper {

/// Finds the labels of a combination of flags.
/// @param text receives the first label of `number` when it is itself a value of `info`, else the first labels of
///        the flags it consists of, in ascending order of value and joined by `separator`; the label of a value 0
///        comes first among them. Unchanged when the result is false.
/// @return false when `number` is below 1 or has a bit that no value covers.
[[nodiscard]] RIX_EXPORT bool readOneValue(const EnumInfo& info, int number, const char* separator, String& text);

}  // namespace helper

}  // namespace rix
