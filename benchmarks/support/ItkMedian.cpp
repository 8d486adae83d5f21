#include "ItkMedian.h"

#include <algorithm>

#include <itkImage.h>
#include <itkMedianImageFilter.h>

namespace rix::bench {

std::function<void()> itkMedian3d(const std::uint8_t* samples, std::size_t side, int threads) {
    using Image = itk::Image<std::uint8_t, 3>;
    using Filter = itk::MedianImageFilter<Image, Image>;
    Image::SizeType size;
    size.Fill(side);
    auto image = Image::New();
    image->SetRegions(size);
    image->Allocate();
    std::copy_n(samples, side * side * side, image->GetBufferPointer());
    auto filter = Filter::New();
    filter->SetInput(image);
    filter->SetRadius(1);
    filter->GetMultiThreader()->SetMaximumNumberOfThreads(static_cast<itk::ThreadIdType>(threads));
    filter->SetNumberOfWorkUnits(static_cast<itk::ThreadIdType>(threads));
    return [filter] {
        filter->Modified();
        filter->Update();
    };
}

}  // namespace rix::bench
