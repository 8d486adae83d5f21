#pragma once

#include <rix/Export.h>
#include <rix/properties/EnumInfo.h>
#include <rix/properties/Property.h>

namespace rix {

/// A property that holds one value of an enumeration.
///
/// `set` takes any integer: whether it is a value of the enumeration is for a rule to check. Text is checked here.
class RIX_EXPORT PropertySingleChoice : public Property<int> {
public:
    /// @param info describes the enumeration and must outlive the property; without one every text is refused.
    explicit PropertySingleChoice(const EnumInfo* info = nullptr);

    const EnumInfo* getEnumInfo() const;

    using Property<int>::operator=;

    /// Accepts a label, else a decimal number that is a value of the enumeration, read as a stream does. The owner is
    /// notified only when the value changes. `normalised` receives `text`, also when it is refused.
    bool read(const String& text, String& normalised) override;
};

}  // namespace rix
