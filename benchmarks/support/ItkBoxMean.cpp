#include "ItkBoxMean.h"

#include <algorithm>
#include <cstdint>

#include <itkBoxMeanImageFilter.h>
#include <itkImage.h>

namespace rix::bench {

namespace {

template <unsigned dimensions>
std::function<void()> makeRun(const std::uint8_t* samples, const std::array<std::size_t, 3>& extents, int size,
                              int threads) {
    using Image = itk::Image<std::uint8_t, dimensions>;
    using Filter = itk::BoxMeanImageFilter<Image, Image>;
    typename Image::SizeType imageSize;
    std::copy_n(extents.begin(), dimensions, imageSize.begin());
    auto image = Image::New();
    image->SetRegions(imageSize);
    image->Allocate();
    std::copy_n(samples, image->GetLargestPossibleRegion().GetNumberOfPixels(), image->GetBufferPointer());
    auto filter = Filter::New();
    filter->SetInput(image);
    filter->SetRadius(static_cast<itk::SizeValueType>(size / 2));
    filter->GetMultiThreader()->SetMaximumNumberOfThreads(static_cast<itk::ThreadIdType>(threads));
    filter->SetNumberOfWorkUnits(static_cast<itk::ThreadIdType>(threads));
    return [filter] {
        filter->Modified();
        filter->Update();
    };
}

}  // namespace

std::function<void()> itkBoxMean(const std::uint8_t* samples, const std::array<std::size_t, 3>& extents, int size,
                                 int threads) {
    return extents[2] > 1 ? makeRun<3>(samples, extents, size, threads) : makeRun<2>(samples, extents, size, threads);
}

}  // namespace rix::bench
