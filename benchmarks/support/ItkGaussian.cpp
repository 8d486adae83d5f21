#include "ItkGaussian.h"

#include <algorithm>

#include <itkImage.h>
#include <itkSmoothingRecursiveGaussianImageFilter.h>

namespace rix::bench {

namespace {

template <unsigned dimensions>
std::function<void()> makeRun(const float* samples, const std::array<std::size_t, 3>& extents, double deviation,
                              int threads) {
    using Image = itk::Image<float, dimensions>;
    using Filter = itk::SmoothingRecursiveGaussianImageFilter<Image, Image>;
    typename Image::SizeType imageSize;
    std::copy_n(extents.begin(), dimensions, imageSize.begin());
    auto image = Image::New();
    image->SetRegions(imageSize);
    image->Allocate();
    std::copy_n(samples, image->GetLargestPossibleRegion().GetNumberOfPixels(), image->GetBufferPointer());
    auto filter = Filter::New();
    filter->SetInput(image);
    filter->SetSigma(deviation);
    itk::MultiThreaderBase::SetGlobalMaximumNumberOfThreads(static_cast<itk::ThreadIdType>(threads));
    filter->SetNumberOfWorkUnits(static_cast<itk::ThreadIdType>(threads));
    return [filter, threads] {
        itk::MultiThreaderBase::SetGlobalMaximumNumberOfThreads(static_cast<itk::ThreadIdType>(threads));
        filter->Modified();
        filter->Update();
    };
}

}  // namespace

std::function<void()> itkGaussian(const float* samples, const std::array<std::size_t, 3>& extents, double deviation,
                                  int threads) {
    return extents[2] > 1 ? makeRun<3>(samples, extents, deviation, threads)
                          : makeRun<2>(samples, extents, deviation, threads);
}

}  // namespace rix::bench
