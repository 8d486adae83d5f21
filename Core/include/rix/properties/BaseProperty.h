#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include <rix/Export.h>
#include <rix/String.h>

namespace rix {

class BaseAlgorithm;
class BaseProperty;
class DataRangeProvider;
class PropertySingleChoice;

/// Whether a property is shown to users of an algorithm.
enum PropertyVisibility : std::int32_t { PROPERTY_PUBLIC = 0, PROPERTY_HIDDEN = 1 };

/// The values of a choice with which alone a property has an effect; without a choice it always has one.
struct Relevance {
    const PropertySingleChoice* choice = nullptr;
    std::vector<int> values;
};

/// State of a property that does not depend on the type of its value.
class RIX_EXPORT BasePropertyPrivate {
public:
    explicit BasePropertyPrivate(BaseProperty* owningProperty);
    virtual ~BasePropertyPrivate();
    BasePropertyPrivate(const BasePropertyPrivate&) = delete;
    BasePropertyPrivate& operator=(const BasePropertyPrivate&) = delete;

    void setOwner(BaseAlgorithm* algorithm) { m_owner = algorithm; }
    void setName(const String& name) { m_name = name; }
    void setDataRangeProvider(std::unique_ptr<DataRangeProvider> provider);
    void lock(bool locked) { m_locked = locked; }
    void enable(bool enabled) { m_enabled = enabled; }
    void disable() { m_enabled = false; }

    /// The type of the value in words, for listings: "double", "image", "choice", ...
    virtual String describeType() const = 0;
    /// The rules attached to the property in words, in the order of application.
    virtual std::vector<String> describeRules() const = 0;

    BaseProperty* m_property;
    BaseAlgorithm* m_owner = nullptr;
    bool m_locked = false;
    bool m_enabled = true;
    std::unique_ptr<DataRangeProvider> m_dataRangeProvider;
    String m_name;
    String m_description;
    PropertyVisibility m_visibility = PROPERTY_PUBLIC;
    bool m_inputOutput = false;
    std::int32_t m_version = 0;  ///< the version times ten
    Relevance m_relevance;
};

/// Gives the range of values that make sense for a property in its present surroundings (a slider's ends, say).
class RIX_EXPORT DataRangeProvider {
public:
    virtual ~DataRangeProvider();
    /// The range for the algorithm's current inputs; false when none is known.
    virtual bool getRange(const BaseProperty& property, double& minimum, double& maximum) const = 0;
};

/// A named, typed slot for a parameter, an input or an output of an algorithm.
///
/// A property belongs to one algorithm object, which names it, orders it and locks it while it runs. Its value can be
/// set in its own type (`Property<T>`) or from text (`read`).
class RIX_EXPORT BaseProperty {
public:
    /// Applies the rules of the property in the order in which they were attached.
    /// @param all false applies only the rules that may be applied on their own.
    /// @throws RuleException of the first rule that fails, with the level "Rule error in property " + name.
    virtual void applyRules(bool all) = 0;
    /// Copies the value of another property of the same type. @throws InvalidCall when the types differ.
    virtual void setFromBase(BaseProperty* other) = 0;
    virtual String getName() const;
    virtual String getDescription() const;
    virtual void setDescription(const String& description);
    /// Parses `text` into the value; `normalised` receives the accepted text.
    /// @return false when the property is locked or the text is refused.
    virtual bool read(const String& text, String& normalised) = 0;
    /// Writes the value as text; false for a type that has no text form.
    virtual bool write(String& text) const = 0;
    /// Marks an input that the algorithm also writes (an image processed in place).
    virtual void setIsInputOutput(bool inputOutput);
    virtual bool isInputOutput() const;
    virtual ~BaseProperty();
    virtual BasePropertyPrivate* getImpl() = 0;
    virtual const BasePropertyPrivate* getImpl() const = 0;

    bool isLocked() const;
    bool isEnable() const;
    /// True when the owner declared the property as one of its outputs.
    bool isOutput() const;
    BaseAlgorithm* getOwner();
    const BaseAlgorithm* getOwner() const;
    /// The choice with some values of which alone the property has an effect, as "mode=EXTENTS or FACTORS"; empty for
    /// one that always has.
    String describeRelevance() const;
    /// Whether it has an effect with the present value of that choice.
    bool isRelevant() const;
    PropertyVisibility getVisibility() const;
    void setVisibility(const PropertyVisibility& visibility);
    /// The version in tenths: after `setVersion(1.25)` it is 12.
    int getVersion() const;
    /// Stores the version times ten, truncated toward zero.
    void setVersion(double version);
    DataRangeProvider* getDataRangeProvider() const;
    /// Tells the owner that the value changed (`BaseAlgorithm::onPropertyChanged`); nothing without an owner.
    void notify();

protected:
    BaseProperty() = default;
    BaseProperty(const BaseProperty&) = delete;
    BaseProperty& operator=(const BaseProperty&) = delete;

    /// Calls what applies rules; a refusal gets a level that names the property. Not in a header, so that programs may
    /// be built without exceptions.
    void applyNamed(const std::function<void()>& rules) const;
};

}  // namespace rix
