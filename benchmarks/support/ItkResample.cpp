#include "ItkResample.h"

#include <algorithm>
#include <cmath>

#include <itkAffineTransform.h>
#include <itkBSplineInterpolateImageFunction.h>
#include <itkImage.h>
#include <itkImageRegionConstIteratorWithIndex.h>
#include <itkLinearInterpolateImageFunction.h>
#include <itkNearestNeighborInterpolateImageFunction.h>
#include <itkResampleImageFilter.h>

namespace rix::bench {

namespace {

template <unsigned axes>
struct Pipeline {
    using Image = itk::Image<float, axes>;
    using Filter = itk::ResampleImageFilter<Image, Image>;
    using Transform = itk::AffineTransform<double, axes>;

    typename Image::Pointer image = Image::New();
    typename Transform::Pointer transform = Transform::New();
    typename Filter::Pointer filter = Filter::New();

    explicit Pipeline(const Resampling& resampling) {
        place(*image, resampling.input);
        image->Allocate();
        std::copy_n(resampling.samples, resampling.input.count(), image->GetBufferPointer());
        itk::Matrix<double, axes, axes> linear;
        itk::Vector<double, axes> shift;
        for (unsigned i = 0; i < axes; ++i) {
            for (unsigned j = 0; j < axes; ++j) {
                linear[i][j] = resampling.matrix[4 * i + j];
            }
            shift[i] = resampling.matrix[4 * i + 3];
        }
        transform->SetMatrix(linear);
        transform->SetOffset(shift);
        auto grid = Image::New();
        place(*grid, resampling.output);
        filter->SetInput(image);
        filter->SetReferenceImage(grid);
        filter->UseReferenceImageOn();
        filter->SetTransform(transform);
        if (resampling.degree == 0) {
            filter->SetInterpolator(itk::NearestNeighborInterpolateImageFunction<Image, double>::New());
        } else if (resampling.degree == 1) {
            filter->SetInterpolator(itk::LinearInterpolateImageFunction<Image, double>::New());
        } else {
            auto spline = itk::BSplineInterpolateImageFunction<Image, double, double>::New();
            spline->SetSplineOrder(static_cast<unsigned>(resampling.degree));
            filter->SetInterpolator(spline);
        }
    }

private:
    static void place(Image& image, const WorldGrid& grid) {
        typename Image::SizeType size;
        typename Image::SpacingType spacing;
        typename Image::PointType origin;
        typename Image::DirectionType direction;
        for (unsigned axis = 0; axis < axes; ++axis) {
            size[axis] = grid.extents[axis];
            spacing[axis] = grid.spacing[axis];
            origin[axis] = grid.origin[axis];
            for (unsigned i = 0; i < axes; ++i) {
                direction[i][axis] = grid.directions[axis][i];
            }
        }
        image.SetRegions(size);
        image.SetSpacing(spacing);
        image.SetOrigin(origin);
        image.SetDirection(direction);
    }
};

template <unsigned axes>
ItkResampled resample(const Resampling& resampling) {
    using Image = typename Pipeline<axes>::Image;
    const Pipeline<axes> pipeline(resampling);
    pipeline.filter->Update();
    const Image& made = *pipeline.filter->GetOutput();
    ItkResampled result;
    for (itk::ImageRegionConstIteratorWithIndex<Image> at(&made, made.GetLargestPossibleRegion()); !at.IsAtEnd();
         ++at) {
        typename Image::PointType point;
        made.TransformIndexToPhysicalPoint(at.GetIndex(), point);
        itk::ContinuousIndex<double, axes> index;
        const bool isInside =
            pipeline.image->TransformPhysicalPointToContinuousIndex(pipeline.transform->TransformPoint(point), index);
        double depth = isInside ? 1e9 : -1.0;
        double tie = 0.5;
        for (unsigned axis = 0; axis < axes; ++axis) {
            const double last = static_cast<double>(resampling.input.extents[axis]) - 1.0;
            depth = std::min({depth, index[axis], last - index[axis]});
            tie = std::min(tie, std::abs(index[axis] - std::floor(index[axis]) - 0.5));
        }
        result.samples.push_back(at.Get());
        result.depths.push_back(depth);
        result.ties.push_back(tie);
    }
    return result;
}

template <unsigned axes>
std::function<void()> makeRun(const Resampling& resampling, int threads) {
    const Pipeline<axes> pipeline(resampling);
    itk::MultiThreaderBase::SetGlobalMaximumNumberOfThreads(static_cast<itk::ThreadIdType>(threads));
    pipeline.filter->SetNumberOfWorkUnits(static_cast<itk::ThreadIdType>(threads));
    return [pipeline, threads] {
        itk::MultiThreaderBase::SetGlobalMaximumNumberOfThreads(static_cast<itk::ThreadIdType>(threads));
        pipeline.image->Modified();  // so that splines are fitted anew
        pipeline.filter->Update();
    };
}

}  // namespace

ItkResampled itkResampled(const Resampling& resampling) {
    return resampling.input.axes() == 3 ? resample<3>(resampling) : resample<2>(resampling);
}

std::function<void()> itkResampling(const Resampling& resampling, int threads) {
    return resampling.input.axes() == 3 ? makeRun<3>(resampling, threads) : makeRun<2>(resampling, threads);
}

}  // namespace rix::bench
