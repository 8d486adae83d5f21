// Both convolutions: that of planes has no third axis.

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include <rix/access/AllFinite.h>
#include <rix/access/PointFilters.h>
#include <rix/access/RoundingKernels.h>
#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/Children.h>
#include <rix/algorithms/Definition.h>
#include <rix/algorithms/InputMeaning.h>
#include <rix/filtering/frequency/FourierConvolution2d.h>
#include <rix/filtering/frequency/FourierConvolution3d.h>
#include <rix/filtering/linear/Convolution2d.h>
#include <rix/filtering/linear/Convolution3d.h>
#include <rix/image/ImageHeader.h>
#include <rix/rules/When.h>
#include <rix/settings/Settings.h>

#include "KernelRules.h"
#include "TapSums.h"

namespace rix::filtering::linear {

namespace {

/// From so many products a voxel on the Fourier transform is faster, in planes and in volumes.
constexpr std::size_t mostProductsInPlanes = 180;
constexpr std::size_t mostProductsInVolumes = 125;

constexpr double nanosecondsPerCheck = 0.3;
constexpr double nanosecondsPerRounding = 1.0;

template <class Filter>
constexpr bool ofVolumes = std::is_same_v<Filter, Convolution3d>;

template <class Filter>
using FourierConvolution =
    std::conditional_t<ofVolumes<Filter>, frequency::FourierConvolution3d, frequency::FourierConvolution2d>;

template <class Filter>
using KernelOf = std::conditional_t<ofVolumes<Filter>, kernel::Kernel3D, kernel::Kernel2D>;

template <class Filter>
VoxelTypes outputType(const Filter& filter) {
    return algorithms::voxelTypeOf(filter.getOutputType(), filter.getInputImage()->getVoxelType());
}

/// Binomial coefficients along each axis, divided by their sum.
template <class Filter>
KernelOf<Filter> defaultKernel() {
    constexpr std::array<double, 3> weights{0.25, 0.5, 0.25};
    std::vector<double> values;
    for (const double ofPlane : ofVolumes<Filter> ? std::vector(weights.begin(), weights.end()) : std::vector{1.0}) {
        for (const double ofRow : weights) {
            for (const double ofColumn : weights) {
                values.push_back(ofPlane * ofRow * ofColumn);
            }
        }
    }
    if constexpr (ofVolumes<Filter>) {
        return {3, 3, 3, std::move(values)};
    } else {
        return {3, 3, std::move(values)};
    }
}

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    constexpr ImageDimension dimension = ofVolumes<Filter> ? ImageDimension::Any : ImageDimension::Only2d;
    properties.input(filter.inputImage, "The image that is convolved.", AddRulesForRealImage());
    filter.kernel = defaultKernel<Filter>();
    properties.input(filter.kernel, "The coefficients; their origin is the element at half of each extent.",
                     AddRuleKernel<KernelOf<Filter>>());
    properties.input(filter.inputKernelImage, "The coefficients as an image, in place of the kernel.",
                     AddRuleWhenSet(AddRuleAssertSingleElement()), AddRuleWhenSet(AddRuleAssertIntegerOrFloating()),
                     AddRuleWhenSet(AddRuleAssertImageNotEmpty()),
                     AddRuleWhenSet(AddRuleAssertDimension(dimension, AxisUse::Refused, AxisUse::Refused)),
                     AddRuleKernelImage<KernelOf<Filter>>(filter.kernel));
    properties.input(filter.mode, "CONVOLUTION: the kernel is turned over. CORRELATION: it is laid on as it is.");
    properties.input(filter.autoScale, "YES: the coefficients are divided by their sum, unless that is 0.");
    properties.border(filter.borderPolicy, filter.borderValue);
    filter.setOutputType(Filter::FLOAT_32_BIT);
    properties.input(filter.outputType, "The type of the result.");
    properties.output(filter.outputImage, "The convolved image.", AddRuleAssertNotNull(),
                      AddRuleWhenSet(filter.inputKernelImage, AddRuleDisjointFrom(filter.inputKernelImage)),
                      AddRuleEnforceLike(filter.inputImage, {.interpretation = RIX_VALUE,
                                                             .chosenType = [&filter] { return outputType(filter); }}));
}

template <class Filter>
LaidKernel laidKernel(const Filter& filter) {
    if (const ImageModel* const image = filter.getInputKernelImage()) {
        const auto extents = helper::getExtents(*image);
        return {{extents[COLUMNS], extents[ROWS], extents[PLANS]}, weightsOf(*image), filter.getMode()};
    }
    const auto& kernel = filter.kernel.get();
    KernelExtents extents{kernel.getSizeX(), kernel.getSizeY(), 1};
    if constexpr (ofVolumes<Filter>) {
        extents[PLANS] = kernel.getSizeZ();
    }
    return {extents, kernel.getValues(), filter.getMode()};
}

template <class Filter>
ConvolutionJob jobOf(const Filter& filter) {
    ConvolutionJob job(laidKernel(filter), filter.getAutoScale());
    job.border = filter.getBorderPolicy();
    job.borderValue = filter.getBorderValue();
    return job;
}

/// Whether the Fourier transform serves, if the image is finite.
template <class Filter>
bool isForFourier(const Filter& filter, const ConvolutionJob& job) {
    const std::size_t most = job.kernel.extents[PLANS] > 1 ? mostProductsInVolumes : mostProductsInPlanes;
    const VoxelTypes type = outputType(filter);
    return job.products > most && job.fitsFloat && type != RIX_INT32 && type != RIX_UINT32 &&
           (job.border != access::BorderPolicy::FIXED || std::isfinite(job.borderValue));
}

/// The extents of an image whose kernel, turned over around its middle, is a laid one: where that lies before its
/// middle, with a 0 behind it.
std::array<std::size_t, 3> extentsForFourier(const LaidKernel& kernel) {
    std::array<std::size_t, 3> extents = kernel.extents;
    for (std::size_t axis = 0; axis < extents.size(); ++axis) {
        extents[axis] += kernel.before[axis] == extents[axis] - 1 - extents[axis] / 2 ? 0U : 1U;
    }
    return extents;
}

ImageHeader headerForFourier(const LaidKernel& kernel) {
    const auto [columns, rows, planes] = extentsForFourier(kernel);
    ImageHeader header;
    header.voxelType = RIX_FLOAT64;
    header.extents = {columns, rows, planes, 1, 1};
    return header;
}

void fillForFourier(const LaidKernel& kernel, io::MemoryImage& image) {
    const auto extents = extentsForFourier(kernel);
    const std::size_t count = extents[0] * extents[1] * extents[2];
    auto* const samples = reinterpret_cast<double*>(image.getInternalBuffer());
    std::fill_n(samples, count, 0.0);
    for (std::size_t z = 0; z < kernel.extents[2]; ++z) {
        for (std::size_t y = 0; y < kernel.extents[1]; ++y) {
            for (std::size_t x = 0; x < kernel.extents[0]; ++x) {
                samples[count - 1 - ((z * extents[1] + y) * extents[0] + x)] = kernel.at(x, y, z);
            }
        }
    }
}

template <class Filter>
VoxelTypes typeOfFourier(const Filter& filter) {
    return filter.getInputImage()->getVoxelType() == RIX_FLOAT64 ? RIX_FLOAT64 : RIX_FLOAT32;
}

template <class Filter>
void configure(const Filter& filter, const ImageModel& input, const ImageModel& kernel,
               FourierConvolution<Filter>& child) {
    child.setInputImage(&input);
    child.setInputKernelImage(&kernel);
    child.setBorderPolicy(filter.getBorderPolicy());
    child.setBorderValue(filter.getBorderValue());
}

/// A step of the run.
bool isFinite(access::ExecutionContext& context, const ImageModel& image) {
    std::atomic<bool> finite{true};
    access::dispatch(access::Reals{}, image.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const access::Plan plan = access::cutLines({&image}, nanosecondsPerCheck);
        access::run(context, plan, [&](const access::Block& block) {
            access::RowReader<T> reader(image, plan);
            plan.forEachSegment(block, [&](const access::RowSegment& segment) {
                if (finite && !access::allFinite(reader.read(segment), segment.count)) {
                    finite = false;
                }
            });
        });
    });
    return finite;
}

void roundInto(access::ExecutionContext& context, const ImageModel& sums, ImageModel& output, OptimLevelType level) {
    const access::RoundingRow round = access::roundingRow(sums.getVoxelType(), output.getVoxelType(), level);
    access::dispatch(
        access::Floatings{}, sums.getVoxelType(), access::Reals{}, output.getVoxelType(), [&](auto tagT, auto tagOut) {
            using T = typename decltype(tagT)::type;
            using Out = typename decltype(tagOut)::type;
            access::transformRows<T, Out>(context, sums, output, nanosecondsPerRounding,
                                          [round](const T* in, Out* out, std::size_t count) { round(in, out, count); });
        });
}

template <class Filter>
void transform(Filter& filter, const ImageModel& input, const ConvolutionJob& job, OptimLevelType level) {
    access::TemporaryMemory kernel(HeaderImage(headerForFourier(job.kernel)));
    fillForFourier(job.kernel, kernel.image());
    ImageModel& output = *filter.getOutputImage();
    FourierConvolution<Filter> child;
    configure(filter, input, kernel.image(), child);
    if (output.getVoxelType() == typeOfFourier(filter)) {
        child.setOutputImage(&output);
        algorithms::runChild(filter, child, level);
        return;
    }
    const access::Steps steps(filter.executionContext(), {10.0, 1.0});
    access::TemporaryImage sums(output, typeOfFourier(filter));
    child.setOutputImage(&sums.image());
    algorithms::runChild(filter, child, level);
    roundInto(filter.executionContext(), sums.image(), output, level);
}

template <class Filter>
void sum(Filter& filter, const ImageModel& input, const ConvolutionJob& job, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    ImageModel& output = *filter.getOutputImage();
    if (job.hasPassAlongPlanes()) {
        sumTaps(context, input, output, job, level);
        return;
    }
    access::writeApart(context, input, output,
                       [&](ImageModel& target) { sumTaps(context, input, target, job, level); });
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    const ConvolutionJob job = jobOf(filter);
    algorithms::readAsItWas(filter, [&](const ImageModel& input) {
        if (!isForFourier(filter, job)) {
            sum(filter, input, job, level);
            return;
        }
        const access::Steps steps(filter.executionContext(), {1.0, 20.0});
        if (isFinite(filter.executionContext(), input)) {
            transform(filter, input, job, level);
        } else {
            sum(filter, input, job, level);
        }
    });
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ConvolutionJob job = jobOf(filter);
    const ImageModel& input = *filter.getInputImage();
    const VoxelTypes type = outputType(filter);
    const std::size_t ofSums =
        tapSumBytes(input, type, job, filter.getMaximumThreads()) +
        (job.hasPassAlongPlanes() ? 0 : access::writeApartMemory(input, filter.getOutputImage(), type));
    if (!isForFourier(filter, job)) {
        return ofSums;
    }
    const HeaderImage kernel(headerForFourier(job.kernel));
    FourierConvolution<Filter> child;
    child.settings() = filter.settings();
    configure(filter, input, kernel, child);
    const bool rounds = type != typeOfFourier(filter);
    child.setOutputImage(rounds ? nullptr : filter.getOutputImage());
    const std::size_t ofTransforms = access::TemporaryMemory::bytes(kernel, RIX_FLOAT64) + child.describe().extraMemory +
                                     (rounds ? access::TemporaryImage::bytes(input, typeOfFourier(filter)) : 0);
    // Integers are finite.
    return access::contains(access::Integers{}, input.getVoxelType()) ? ofTransforms : std::max(ofSums, ofTransforms);
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Neighbourhood,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .prepare = &algorithms::rememberMeaning<Filter>,
        .influence = [](const Filter& filter) { return laidKernel(filter).reach(); },
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto inPlanes = definitionOf<Convolution2d>("Sums the neighbours in each plane, weighted by a kernel.");
constexpr auto inVolumes = definitionOf<Convolution3d>("Sums the neighbours in each volume, weighted by a kernel.");

}  // namespace

RIX_DEFINE_ALGORITHM_WITH(Convolution2d, algorithms::InputMeaning, inPlanes)
RIX_DEFINE_ALGORITHM_WITH(Convolution3d, algorithms::InputMeaning, inVolumes)

}  // namespace rix::filtering::linear
