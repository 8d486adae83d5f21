#pragma once

#include <cstddef>
#include <memory>
#include <type_traits>

#include <rix/Export.h>
#include <rix/String.h>

namespace rix {

struct EnumInfoPrivate;

/// Describes an enumeration: its labels and their values.
///
/// A declaration reads like the enumeration's source, "RED = 0, GREEN, BLUE": labels separated by commas, each one
/// more than the one before it unless it gives its value as a decimal number or as a label declared earlier (an
/// alias). Counting starts at 0 and goes on from the value of an alias. Several labels may share a value; a label
/// that is declared twice keeps its last value. Blanks mean nothing, also inside a label.
///
/// Accessors by label index walk the labels in their lexicographic order, accessors by value index the values in
/// ascending order; neither is the order of declaration. All accessors throw `InvalidCall`, naming what was asked for
/// and the enumeration, when there is no such label, value or index.
class RIX_EXPORT EnumInfo {
public:
    /// @throws RuntimeError when a value is neither a number nor a label declared earlier, when a label is empty, and
    ///         when counting leaves the range of `int`.
    EnumInfo(const char* name, const char* declaration);
    EnumInfo(const EnumInfo& other);
    EnumInfo& operator=(const EnumInfo& other);
    ~EnumInfo();

    const String& getEnumName() const;
    std::size_t getNumOfLabels() const;
    /// The number of different values.
    std::size_t getNumOfValues() const;
    std::size_t getNumOfLabelsAtValue(int value) const;

    bool exists(int value) const;
    bool exists(const String& label) const;

    int getValueFromLabel(const String& label) const;
    /// The label of `value` that was declared as the number `index` among its labels.
    const String& getLabelFromValue(int value, std::size_t index = 0) const;

    const String& getLabelFromlabelIndex(std::size_t labelIndex) const;
    int getValueFromLabelIndex(std::size_t labelIndex) const;
    /// The index of the lexicographically first label of `value`.
    std::size_t getLabelIndexFromValue(int value) const;
    int getValueFromValueIndex(std::size_t valueIndex) const;
    /// As `getLabelFromValue` of the value at `valueIndex`.
    const String& getLabelFromValueIndex(std::size_t valueIndex, std::size_t labelIndex) const;

private:
    std::unique_ptr<EnumInfoPrivate> m_private;
};

/// Gives the description of the enumeration `E`, by a static `get()`. Specialised beside an enumeration that is to be
/// checked by `checkEnumCompatible`.
template <class E>
struct EnumInfoOf;

/// Verifies that `info` describes the enumeration that `expected` describes: the same name, labels and values.
/// @throws InvalidCall, naming both enumerations, when it does not, or when there is none.
RIX_EXPORT void checkEnumCompatible(const EnumInfo* info, const EnumInfo& expected);

/// Verifies that `info` describes the enumeration type `E`, which a property expects.
template <class E>
    requires std::is_enum_v<E>
void checkEnumCompatible(const EnumInfo* info) {
    checkEnumCompatible(info, EnumInfoOf<E>::get());
}

}  // namespace rix
