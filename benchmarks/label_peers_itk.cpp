#include "label_peers.h"

#include <itkImage.h>
#include <itkImportImageFilter.h>
#include <itkLabelImageToShapeLabelMapFilter.h>
#include <itkLabelStatisticsImageFilter.h>
#include <itkMultiThreaderBase.h>

namespace rix::bench {

namespace {

using Labels = itk::Image<std::uint32_t, 2>;
using Bytes = itk::Image<std::uint8_t, 2>;

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

}  // namespace

std::size_t itkShape(const LabelledPicture& picture, int threads) {
    itk::MultiThreaderBase::SetGlobalDefaultNumberOfThreads(static_cast<itk::ThreadIdType>(threads));
    const auto filter = itk::LabelImageToShapeLabelMapFilter<Labels>::New();
    filter->SetInput(import<Labels>(picture.labels, picture));
    filter->ComputePerimeterOff();
    filter->ComputeFeretDiameterOff();
    filter->Update();
    return filter->GetOutput()->GetNumberOfLabelObjects();
}

std::size_t itkStatistics(const LabelledPicture& picture, int threads) {
    itk::MultiThreaderBase::SetGlobalDefaultNumberOfThreads(static_cast<itk::ThreadIdType>(threads));
    const auto filter = itk::LabelStatisticsImageFilter<Bytes, Labels>::New();
    filter->SetInput(import<Bytes>(picture.bytes, picture));
    filter->SetLabelInput(import<Labels>(picture.labels, picture));
    filter->Update();
    return filter->GetNumberOfLabels();
}

}  // namespace rix::bench
