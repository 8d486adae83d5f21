// Structuring elements as images.

#include <algorithm>

#include <rix/access/Blocks.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/image/ImageHeader.h>
#include <rix/morphology/StructuringElement2d.h>
#include <rix/morphology/StructuringElement3d.h>
#include <rix/rules/VectorRules.h>

#include "ElementProperties.h"

namespace rix::morphology {

namespace {

/// Just large enough with the origin at half of each extent.
template <class Owner>
ImageHeader headerOf(const Owner& owner) {
    const access::Reach reach = elementOf(owner, spacingOf(owner)).reach();
    const auto extent = [](const access::Reach::Axis& axis) { return std::max(2 * axis.before, 2 * axis.after + 1); };
    ImageHeader header{.extents = {extent(reach.columns), extent(reach.rows), extent(reach.planes), 1, 1},
                       .interpretation = RIX_BINARY};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        header.spacing[axis] = owner.getSpacing()[axis];
    }
    return header;
}

template <class Owner>
void declare(Owner& owner, algorithms::Properties& properties) {
    declareElement(owner, properties);
    owner.spacing = math::Vector3<double>{1.0, 1.0, 1.0};
    properties.input(owner.spacing, "Spacing of columns, rows and planes.",
                     AddRuleInRangeVector<double, math::Vector3<double>>(1e-9, 1e9, Bound::Included, Bound::Included));
    addRadiusRule(owner, spacingOf(owner));
    properties.output(owner.outputImage, "The element.", AddRuleAssertNotNull(),
                      AddRuleEnforceHeader([&owner] { return headerOf(owner); }, "extents that hold the element"));
}

template <class Owner>
void process(Owner& owner, OptimLevelType /*level*/) {
    ImageModel& output = *owner.getOutputImage();
    const auto extents = helper::getExtents(output);
    const std::vector<Chord> chords = elementOfRun(owner, spacingOf(owner)).chords();
    access::Plan plan(extents, access::JoinedAxes::None);
    auto chord = chords.begin();
    access::run(owner.executionContext(), plan, [&](const access::Block& block, access::BlockProgress& progress) {
        access::RowWriter<std::uint8_t> writer(output);
        const auto at = [&](std::size_t index, std::size_t axis) {
            return static_cast<std::int64_t>(index) - static_cast<std::int64_t>(extents[axis] / 2);
        };
        block.forEachRow([&](const access::Position& position) {
            std::uint8_t* const row = writer.open({position, extents[COLUMNS]});
            std::fill_n(row, extents[COLUMNS], std::uint8_t{0});
            const auto isHere = [&] {
                return chord != chords.end() && chord->first[1] == at(position.row, ROWS) &&
                       chord->first[2] == at(position.plane, PLANS);
            };
            for (; isHere(); ++chord) {
                std::fill_n(row + chord->first[0] + static_cast<std::int64_t>(extents[COLUMNS] / 2), chord->length,
                            std::uint8_t{1});
            }
            writer.flush();
            progress.add(extents[COLUMNS]);
        });
    });
}

template <class Owner>
constexpr algorithms::Definition<Owner> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Reduction,  // no part of the image can be made by itself
        .declare = &declare<Owner>,
        .process = &process<Owner>,
        .prepare = &rememberElement<Owner>,
    };
}

constexpr auto inPlanes = definitionOf<StructuringElement2d>("Draws a structuring element of planes.");
constexpr auto inVolumes = definitionOf<StructuringElement3d>("Draws a structuring element of volumes.");

}  // namespace

RIX_DEFINE_ALGORITHM_ON(ElementOwner2d, StructuringElement2d, ElementState, inPlanes)
RIX_DEFINE_ALGORITHM_ON(ElementOwner3d, StructuringElement3d, ElementState, inVolumes)

}  // namespace rix::morphology
