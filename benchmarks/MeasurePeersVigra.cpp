#include "MeasurePeers.h"

#include <vigra/accumulator.hxx>
#include <vigra/multi_array.hxx>

namespace rix {
namespace bench {

namespace {

namespace acc = vigra::acc;

template <class T>
vigra::MultiArrayView<2, T> view(const T* pixels, const LabelledPicture& picture) {
    // Only read from.
    return {vigra::Shape2(static_cast<long>(picture.columns), static_cast<long>(picture.rows)), const_cast<T*>(pixels)};
}

template <class T>
std::size_t statistics(const T* pixels, const LabelledPicture& picture) {
    acc::AccumulatorChainArray<vigra::CoupledArrays<2, T, std::uint32_t>,
                               acc::Select<acc::DataArg<1>, acc::LabelArg<2>, acc::Count, acc::Coord<acc::Range>,
                                           acc::RegionCenter, acc::Minimum, acc::Maximum, acc::Mean, acc::StdDev>>
        chain;
    chain.ignoreLabel(0);
    acc::extractFeatures(view(pixels, picture), view(picture.labels, picture), chain);
    return static_cast<std::size_t>(chain.maxRegionLabel());
}

}  // namespace

std::size_t vigraShape(const LabelledPicture& picture) {
    acc::AccumulatorChainArray<vigra::CoupledArrays<2, std::uint32_t>,
                               acc::Select<acc::LabelArg<1>, acc::Count, acc::Coord<acc::Range>, acc::RegionCenter>>
        chain;
    chain.ignoreLabel(0);
    acc::extractFeatures(view(picture.labels, picture), chain);
    return static_cast<std::size_t>(chain.maxRegionLabel());
}

std::size_t vigraStatisticsOfBytes(const LabelledPicture& picture) {
    return statistics(picture.bytes, picture);
}

std::size_t vigraStatisticsOfReals(const LabelledPicture& picture) {
    return statistics(picture.reals, picture);
}

}  // namespace bench
}  // namespace rix
