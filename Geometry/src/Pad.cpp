#include <rix/geometry/Pad.h>

#include <limits>
#include <string>

#include <rix/access/SampleCast.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/rules/SizeRules.h>
#include <rix/rules/SpacingRules.h>

#include "Mapped.h"

namespace rix::geometry {

namespace {

/// The margins of an axis.
struct Margin {
    const char* beforeText;
    const char* afterText;
    algorithms::BoundProperty<Property<std::int64_t>> Pad::* before;
    algorithms::BoundProperty<Property<std::int64_t>> Pad::* after;
};

constexpr std::array<Margin, 3> margins{{
    {"Columns before the first.", "Columns after the last.", &Pad::beforeColumns, &Pad::afterColumns},
    {"Rows before the first.", "Rows after the last.", &Pad::beforeRows, &Pad::afterRows},
    {"Planes before the first.", "Planes after the last.", &Pad::beforePlanes, &Pad::afterPlanes},
}};

Beyond beyondOf(access::BorderPolicy policy) {
    return policy == Pad::MIRROR ? Beyond::Mirror : policy == Pad::CONTINUE ? Beyond::Continue : Beyond::Value;
}

AxisMaps mapsOf(const Pad& pad) {
    AxisMaps maps = identityMaps(*pad.getInputImage());
    for (std::size_t axis = 0; axis < margins.size(); ++axis) {
        const std::int64_t before = (pad.*margins[axis].before).get();
        const std::int64_t after = (pad.*margins[axis].after).get();
        maps[axis].first = -before;
        // They are below 2^63 each, and the rules refuse a sum that is none.
        maps[axis].extent += static_cast<std::size_t>(before) + static_cast<std::size_t>(after);
        maps[axis].beyond = beyondOf(pad.getBorderPolicy());
    }
    return maps;
}

using Image = Mapped<Pad, &mapsOf>;

/// On the last of the margins: axes that get neighbours have a spacing, and the image can be counted and held.
class RulePaddedImage : public Rules<Property<std::int64_t>> {
public:
    explicit RulePaddedImage(const Pad& pad) : m_pad(pad) {}

    void apply(Property<std::int64_t>& /*property*/) override {
        const ImageModel& input = *m_pad.getInputImage();
        const auto spacing = spacingsOf(helper::headerOf(input));
        auto extents = helper::getExtents(input);
        String names;
        for (std::size_t axis = 0; axis < margins.size(); ++axis) {
            const auto& before = m_pad.*margins[axis].before;
            const auto& after = m_pad.*margins[axis].after;
            names += (names.empty() ? "" : ", ") + before.getName() + ", " + after.getName();
            for (const auto* const margin : {&before, &after}) {
                if (margin->get() > 0 && !rules::isDivisor(spacing[axis])) {
                    rules::refuse(rules::parameterText(*margin) + " must be 0 for an image without spacing there.",
                                  "The spacing on the axis \"" +
                                      helper::componentToString(static_cast<Components>(axis)) + "\" of " +
                                      rules::quotedName(m_pad.inputImage) + " is " + rules::valueToText(spacing[axis]) +
                                      ". " + rules::spacingCure);
                }
                if (__builtin_add_overflow(extents[axis], static_cast<std::size_t>(margin->get()), &extents[axis])) {
                    extents[axis] = std::numeric_limits<std::size_t>::max();
                }
            }
        }
        rules::assertImageFits(extents, input.getVoxelType(), m_pad.getOutputImage(), names);
    }
    String describe() const override { return "must give an image that memory holds"; }

private:
    const Pad& m_pad;
};

void declare(Pad& pad, algorithms::Properties& properties) {
    Image::declareInput(pad, properties, "The image that elements are put around.");
    for (const Margin& margin : margins) {
        properties.input(pad.*margin.before, margin.beforeText,
                         AddRuleLimitedValue<std::int64_t>(0, CHECK_GREATER_OR_EQUAL));
    }
    for (const Margin& margin : margins) {
        properties.input(pad.*margin.after, margin.afterText,
                         AddRuleLimitedValue<std::int64_t>(0, CHECK_GREATER_OR_EQUAL));
    }
    pad.afterPlanes.getImpl()->addRule(std::make_shared<RulePaddedImage>(pad));
    pad.setBorderPolicy(Pad::FIXED);
    properties.border(pad.borderPolicy, pad.borderValue);
    Image::declareOutput(pad, properties, "The image with its margins.");
}

void process(Pad& pad, OptimLevelType level) {
    const ImageModel& input = *pad.getInputImage();
    access::dispatch(access::AllTypes{}, input.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const T value = access::castSample<T>(pad.getBorderValue());
        gather(pad.executionContext(), input, mapsOf(pad), *pad.getOutputImage(), level,
               reinterpret_cast<ConstRawData>(&value));
    });
}

constexpr algorithms::Definition<Pad> definition{
    .summary = "Puts elements around an image.",
    .kind = AlgorithmKind::Geometry,
    .declare = &declare,
    .process = &process,
};

}  // namespace

RIX_DEFINE_ALGORITHM(Pad, definition)

}  // namespace rix::geometry
