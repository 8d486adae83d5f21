#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include <rix/rendering/Picture.h>
#include <rix/rendering/Slice.h>

namespace rix::rendering {

/// The colour of a label that has no neighbours; transparent for 0, the background. Hues walk around the circle by the
/// golden ratio, so that any few consecutive labels, which often lie side by side, are far apart; none is dark.
Colour labelColour(std::uint32_t label);

/// The colours of a slice's labels: those of `labelColour`, except where a neighbour would look alike. Neighbours are
/// labels that touch or face each other along a row or a column with nothing between them but a little background.
class LabelColours {
public:
    explicit LabelColours(const LabelSlice& slice);
    Colour operator()(std::uint32_t label) const;

private:
    std::vector<std::pair<std::uint32_t, double>> m_hues;  ///< of the labels that have neighbours, ascending
};

}  // namespace rix::rendering
