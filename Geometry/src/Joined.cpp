#include "Joined.h"

#include <string>
#include <vector>

#include <rix/access/Steps.h>
#include <rix/image/ImageModelSizeProxy.h>
#include <rix/rules/SpacingRules.h>

namespace rix::geometry {

namespace {

/// Calls `use` with each image that is set.
template <class Use>
void forEachSet(std::span<const ImageProperty* const> images, const Use& use) {
    for (const ImageProperty* const property : images) {
        if (property->get() != nullptr) {
            use(*property);
        }
    }
}

String axisText(std::size_t axis) {
    return "the axis \"" + helper::componentToString(static_cast<Components>(axis)) + '"';
}

}  // namespace

void assertJoinable(std::span<const ImageProperty* const> images, Components axis) {
    const ImageProperty& first = *images.front();
    const auto extents = helper::getExtents(*first.get());
    std::size_t length = 0;
    std::size_t count = 0;
    forEachSet(images, [&](const ImageProperty& image) {
        ++count;
        const auto others = helper::getExtents(*image.get());
        for (std::size_t i = 0; i < others.size(); ++i) {
            if (i != static_cast<std::size_t>(axis) && others[i] != extents[i]) {
                rules::refuse(rules::parameterText(image) + " must have as many elements as " +
                                  rules::quotedName(first) + " on " + axisText(i) + ", across which they lie.",
                              rules::describeOperand({*image.get(), image}) + "; " +
                                  rules::describeOperand({*first.get(), first}) + ".");
            }
        }
        if (__builtin_add_overflow(length, others[axis], &length)) {
            rules::refuse(rules::parameterText(image) + " makes the image longer than 64 bits can count.");
        }
    });
    const double spacing = spacingsOf(helper::headerOf(*first.get()))[axis];
    if (axis <= PLANS && count > 1 && !rules::isDivisor(spacing)) {
        rules::refuse(rules::parameterText(first) + " must have a spacing on " + axisText(axis) +
                          ", along which others are to follow.",
                      "It is " + rules::valueToText(spacing) + ". " + rules::spacingCure);
    }
}

ImageHeader joinedHeader(const BaseAlgorithm& algorithm, std::span<const ImageProperty* const> images,
                         Components axis) {
    const ImageModel& first = *images.front()->get();
    AxisMaps maps = identityMaps(first);
    maps[axis].extent = 0;
    forEachSet(images, [&](const ImageProperty& image) { maps[axis].extent += image.get()->getNumOf(axis); });
    return headerOfRun(algorithm, first, maps);
}

void join(access::ExecutionContext& context, std::span<const ImageProperty* const> images, Components axis,
          ImageModel& output, OptimLevelType level) {
    std::vector<double> lengths;
    forEachSet(images, [&](const ImageProperty& image) {
        lengths.push_back(static_cast<double>(image.get()->getNumOf(axis)));
    });
    const access::Steps steps(context, lengths);
    std::vector<std::size_t> first(RIX_COMPONENTS_SIZE, 0);
    forEachSet(images, [&](const ImageProperty& image) {
        const ImageModel& input = *image.get();
        const auto extents = helper::getExtents(input);
        ImageModelSizeProxy place(&output, first, {extents.begin(), extents.end()});
        gather(context, input, identityMaps(input), place, level);
        first[axis] += extents[axis];
    });
}

}  // namespace rix::geometry
