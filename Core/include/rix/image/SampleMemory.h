#pragma once

#include <rix/Export.h>
#include <rix/image/ImageModel.h>

/// Where the samples of images lie. Views are looked through: what counts is the memory of the image behind them.
namespace rix::helper {

/// The address of the first element when all elements of the image lie one after another in storage order, without
/// gaps; else null. So it is for an image that has a buffer (`getImageBuffer`), and for views, also nested ones, of a
/// frame, a plane, whole planes of one frame or whole rows of one plane. Views that convert samples have none.
/// Cost: a few virtual calls, no allocation but for views of classes that only have `firstElement`.
RIX_EXPORT ConstRawData contiguousSamples(const ImageModel& image);
/// The same for writing; null for a read-only image.
RIX_EXPORT RawData contiguousSamples(ImageModel& image);

/// True when writing one image may change the other: they are one object, or elements of both lie in the same memory,
/// or, for images that have no addresses to give, in the same elements of one image or in images of one identifier.
///
/// The answer is exact for images whose rows lie at regular distances, such as disjoint planes, channels or ranges of
/// columns of one image; in layouts where that would take long, and for rows at irregular addresses, overlapping ranges
/// of addresses count as shared. An empty image shares nothing.
/// Cost: constant; images with rows at irregular addresses are asked for every row.
RIX_EXPORT bool mayShareSamples(const ImageModel& a, const ImageModel& b);

/// True when both images have the same extents and each element of one is stored where the other stores the element of
/// the same position. A point operation may then have one as input and the other as output. For a view that converts
/// samples, what counts is the element of the image behind it.
RIX_EXPORT bool sharesLayout(const ImageModel& a, const ImageModel& b);

}  // namespace rix::helper
