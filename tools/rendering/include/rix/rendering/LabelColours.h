#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include <rix/rendering/Picture.h>
#include <rix/rendering/Slice.h>

namespace rix::rendering {

/// How different two colours look, from 0 to about 765: the differences of the channels, weighted as the eye does it.
int colourDistance(const Colour& a, const Colour& b);

/// The colour of a label by itself; transparent for 0, the background. 256 colours, no two alike, none dark or pale;
/// the first ones are the most different. Label 257 begins anew.
Colour labelColour(std::uint32_t label);

/// The colours of a slice's labels: those of `labelColour`, except where a neighbour would look alike. As long as the
/// slice has no more than 256 labels, no two have the same colour. Neighbours are labels that touch or face each other
/// along a row or a column with nothing between them but a little background.
class LabelColours {
public:
    explicit LabelColours(const LabelSlice& slice);
    Colour operator()(std::uint32_t label) const;

private:
    std::vector<std::pair<std::uint32_t, std::size_t>> m_places;  ///< in the palette, by labels in ascending order
};

}  // namespace rix::rendering
