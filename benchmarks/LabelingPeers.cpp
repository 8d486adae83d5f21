// C++17, because of VIGRA.
#include "LabelingPeers.h"

#include <array>
#include <memory>
#include <vector>

#ifdef RIX_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif
#ifdef RIX_HAVE_ITK
#include <itkConnectedComponentImageFilter.h>
#include <itkImage.h>
#endif
#ifdef RIX_HAVE_VIGRA
#include <vigra/blockwise_labeling.hxx>
#include <vigra/multi_array.hxx>
#include <vigra/multi_labeling.hxx>
#endif

namespace rix::bench {

namespace {

using Label = std::function<std::uint64_t()>;

[[maybe_unused]] bool is2d(int neighbours) {
    return neighbours == 4 || neighbours == 8;
}

[[maybe_unused]] bool isFullyConnected(int neighbours) {
    return neighbours == 8 || neighbours == 26;
}

#ifdef RIX_HAVE_OPENCV
template <int algorithm>
Label prepareOpenCv(const PeerImage& image, int neighbours, int threads) {
    const cv::Mat source(static_cast<int>(image.rows), static_cast<int>(image.columns), CV_8U,
                         const_cast<std::uint8_t*>(image.voxels));
    return [=, target = cv::Mat(source.size(), CV_32S)]() mutable {
        cv::setNumThreads(threads);
        return static_cast<std::uint64_t>(cv::connectedComponents(source, target, neighbours, CV_32S, algorithm) - 1);
    };
}
#endif

#ifdef RIX_HAVE_ITK
template <unsigned dimensions>
Label prepareItkIn(const PeerImage& image, int neighbours, int threads) {
    using Image = itk::Image<std::uint8_t, dimensions>;
    using Filter = itk::ConnectedComponentImageFilter<Image, itk::Image<std::uint32_t, dimensions>>;
    const std::array<std::size_t, 3> extents{image.columns, image.rows, image.planes};
    typename Image::SizeType size;
    for (unsigned i = 0; i < dimensions; ++i) {
        size[i] = extents[i];
    }
    const auto input = Image::New();
    input->SetRegions(typename Image::RegionType(size));
    input->GetPixelContainer()->SetImportPointer(const_cast<std::uint8_t*>(image.voxels),
                                                 image.columns * image.rows * image.planes);
    const auto filter = Filter::New();
    filter->SetInput(input);
    filter->SetFullyConnected(isFullyConnected(neighbours));
    filter->GetMultiThreader()->SetMaximumNumberOfThreads(static_cast<itk::ThreadIdType>(threads));
    filter->SetNumberOfWorkUnits(static_cast<itk::ThreadIdType>(threads));
    return [filter] {
        filter->Modified();
        filter->Update();
        return static_cast<std::uint64_t>(filter->GetObjectCount());
    };
}

Label prepareItk(const PeerImage& image, int neighbours, int threads) {
    return is2d(neighbours) ? prepareItkIn<2>(image, neighbours, threads) : prepareItkIn<3>(image, neighbours, threads);
}
#endif

#ifdef RIX_HAVE_VIGRA
enum class VigraWay : std::uint8_t { Whole, Blocks };

template <unsigned dimensions, VigraWay way>
Label prepareVigraIn(const PeerImage& image, int neighbours, int threads) {
    struct Images {
        vigra::MultiArrayView<dimensions, std::uint8_t> source;
        vigra::MultiArray<dimensions, std::uint32_t> target;
    };
    const std::array<std::size_t, 3> extents{image.columns, image.rows, image.planes};
    typename vigra::MultiArrayShape<dimensions>::type shape;
    for (unsigned i = 0; i < dimensions; ++i) {
        shape[static_cast<int>(i)] = static_cast<vigra::MultiArrayIndex>(extents[i]);
    }
    const auto images = std::make_shared<Images>(
        Images{vigra::MultiArrayView<dimensions, std::uint8_t>(shape, const_cast<std::uint8_t*>(image.voxels)),
               vigra::MultiArray<dimensions, std::uint32_t>(shape)});
    const vigra::NeighborhoodType neighbourhood =
        isFullyConnected(neighbours) ? vigra::IndirectNeighborhood : vigra::DirectNeighborhood;
    if constexpr (way == VigraWay::Whole) {
        return [=]() -> std::uint64_t {
            return vigra::labelMultiArrayWithBackground(images->source, images->target, neighbourhood);
        };
    } else {
        vigra::BlockwiseLabelOptions options;
        options.neighborhood(neighbourhood).ignoreBackgroundValue(std::uint8_t{0});
        options.numThreads(threads);
        return
            [=]() -> std::uint64_t { return vigra::labelMultiArrayBlockwise(images->source, images->target, options); };
    }
}

template <VigraWay way>
Label prepareVigra(const PeerImage& image, int neighbours, int threads) {
    return is2d(neighbours) ? prepareVigraIn<2, way>(image, neighbours, threads)
                            : prepareVigraIn<3, way>(image, neighbours, threads);
}
#endif

const std::vector<LabelingPeer> peers = {
#ifdef RIX_HAVE_OPENCV
    {"opencv-sauf", [](int neighbours, int) { return is2d(neighbours); }, &prepareOpenCv<cv::CCL_SAUF>},
    {"opencv-bbdt", [](int neighbours, int) { return is2d(neighbours); }, &prepareOpenCv<cv::CCL_BBDT>},
    {"opencv-spaghetti", [](int neighbours, int) { return is2d(neighbours); }, &prepareOpenCv<cv::CCL_SPAGHETTI>},
#endif
#ifdef RIX_HAVE_ITK
    {"itk", [](int neighbours, int) { return neighbours != 18; }, &prepareItk},
#endif
#ifdef RIX_HAVE_VIGRA
    {"vigra", [](int neighbours, int threads) { return neighbours != 18 && threads == 1; },
     &prepareVigra<VigraWay::Whole>},
    {"vigra-blocks", [](int neighbours, int) { return neighbours != 18; }, &prepareVigra<VigraWay::Blocks>},
#endif
};

}  // namespace

const std::vector<LabelingPeer>& labelingPeers() {
    return peers;
}

}  // namespace rix::bench
