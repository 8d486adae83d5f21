#include "Measures.h"

#include "quantities/ContactsQuantity.h"
#include "quantities/EulerQuantity.h"

namespace rix::individual_analysis {

// Of the union of the closed pixels (Serra 1982): parts connect through corners (8 neighbours in the plane, 26 in
// space), holes only through sides. One pixel: 1; a ring: 0; an empty ball: 2. Exact; independent of the spacing. Discs
// and balls: 1, without bias.
const MeasureDefinition eulerNumberDefinition{
    .name = "EulerNumber",
    .description = "Number of connected parts minus holes; in space parts minus tunnels plus cavities.",
    .quantities = {&ContactsQuantity::info, &EulerQuantity::info},
    .values = {{"", "", {}, vessel::ColumnType::INTEGER}},
    .compute =
        [](const ObjectView& object, std::span<double> values) {
            values[0] =
                static_cast<double>(static_cast<std::int64_t>(object.shape().runs) +
                                    object.gathered<ContactsQuantity>().touches + object.gathered<EulerQuantity>());
        },
};

}  // namespace rix::individual_analysis
