#include "MeasurePeers.h"

#include <itkImage.h>
#include <itkImportImageFilter.h>
#include <itkLabelImageToShapeLabelMapFilter.h>
#include <itkLabelStatisticsImageFilter.h>
#include <itkMultiThreaderBase.h>

namespace rix::bench {

namespace {

using Labels = itk::Image<std::uint32_t, 2>;

template <class Image>
typename Image::Pointer import(const typename Image::PixelType* pixels, const LabelledPicture& picture) {
    using Importer = itk::ImportImageFilter<typename Image::PixelType, 2>;
    const auto importer = Importer::New();
    typename Importer::RegionType region;
    region.SetSize({picture.columns, picture.rows});
    importer->SetRegion(region);
    // Only read from.
    importer->SetImportPointer(const_cast<typename Image::PixelType*>(pixels), picture.columns * picture.rows, false);
    importer->Update();
    return importer->GetOutput();
}

template <class T>
std::size_t statistics(const T* pixels, const LabelledPicture& picture, int threads) {
    using Grey = itk::Image<T, 2>;
    itk::MultiThreaderBase::SetGlobalDefaultNumberOfThreads(static_cast<itk::ThreadIdType>(threads));
    const auto filter = itk::LabelStatisticsImageFilter<Grey, Labels>::New();
    filter->SetInput(import <Grey>(pixels, picture));
    filter->SetLabelInput(import <Labels>(picture.labels, picture));
    filter->Update();
    return filter->GetNumberOfLabels();
}

}  // namespace

std::size_t itkShape(const LabelledPicture& picture, int threads) {
    itk::MultiThreaderBase::SetGlobalDefaultNumberOfThreads(static_cast<itk::ThreadIdType>(threads));
    const auto filter = itk::LabelImageToShapeLabelMapFilter<Labels>::New();
    filter->SetInput(import <Labels>(picture.labels, picture));
    filter->ComputePerimeterOff();
    filter->ComputeFeretDiameterOff();
    filter->Update();
    return filter->GetOutput()->GetNumberOfLabelObjects();
}

std::size_t itkStatisticsOfBytes(const LabelledPicture& picture, int threads) {
    return statistics(picture.bytes, picture, threads);
}

std::size_t itkStatisticsOfReals(const LabelledPicture& picture, int threads) {
    return statistics(picture.reals, picture, threads);
}

}  // namespace rix::bench
