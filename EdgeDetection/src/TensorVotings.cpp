// Both tensor votings: tokens that vote for lines and surfaces through them.

#include <atomic>
#include <cmath>
#include <deque>
#include <optional>

#include <rix/access/Looks.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/algorithms/Children.h>
#include <rix/edge_detection/TensorVoting2d.h>
#include <rix/edge_detection/TensorVoting3d.h>
#include <rix/filtering/frequency/FourierConvolution2d.h>
#include <rix/filtering/frequency/FourierConvolution3d.h>
#include <rix/properties/EnumInfo.h>
#include <rix/settings/Settings.h>

#include "Tensors.h"
#include "Tokens.h"
#include "VoteField.h"
#include "VoteKernels.h"
#include "VoteResults.h"

namespace rix::edge_detection {

template <>
constexpr std::size_t axesOf<TensorVoting3d> = 3;

namespace {

template <class Filter>
using FourierConvolution = std::conditional_t<ofVolumes<Filter>, filtering::frequency::FourierConvolution3d,
                                              filtering::frequency::FourierConvolution2d>;

template <class Filter>
constexpr double largestScale = ofVolumes<Filter> ? 30.0 : 50.0;

/// Rough costs, for the choice between direct votes and the Fourier transform, and for threads.
template <class Filter>
constexpr double nanosecondsPerTransform = ofVolumes<Filter> ? 20.0 : 7.0;  ///< of a voxel and an entry
template <class Filter>
constexpr double nanosecondsPerBall = ofVolumes<Filter> ? 0.7 : 0.45;
constexpr double nanosecondsPerStick = 0.6;
constexpr double nanosecondsPerPlate = 25.0;
constexpr double nanosecondsPerResult = 60.0;

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputObjectImage, "The tokens: voxels that are not 0.", AddRulesForRealImage());
    filter.inputObjectImage.getImpl()->addRule(std::make_shared<RuleOneChannel>());
    properties.input(filter.inputOrientationImage,
                     ofVolumes<Filter> ? "Optional: directions, three channels; 0 or NaN: a token without."
                                       : "Optional: angles of tangents in radians; NaN: a token without.",
                     AddRuleWhenSet(AddRuleAssertSingleElement()), AddRuleWhenSet(AddRuleAssertIntegerOrFloating()),
                     AddRuleWhenSet(AddRuleAssertImageNotEmpty()));
    filter.inputOrientationImage.getImpl()->addRule(
        std::make_shared<RuleOrientations>(filter.inputObjectImage, ofVolumes<Filter> ? 3 : 1));
    if constexpr (ofVolumes<Filter>) {
        properties.input(filter.orientation, "Whether directions are normals of surfaces or tangents of curves.");
    }
    filter.scale = 5.0;
    properties.input(filter.scale, "How far votes reach, in voxels.",
                     AddRuleInRange<double>(1.0, largestScale<Filter>, Bound::Included, Bound::Included));
    std::vector<const Property<ImageModel*>*> outputs;
    const auto add = [&](Property<ImageModel*>& output, const char* description, std::size_t channels) {
        properties.output(output, description);
        declareDisjoint(output, filter.inputObjectImage, outputs);
        addRules(output, AddRuleWhen(
                             "when there are orientations",
                             [&filter, &output] {
                                 return output.get() != nullptr && filter.getInputOrientationImage() != nullptr;
                             },
                             AddRuleDisjointFrom(filter.inputOrientationImage)));
        addRules(output, AddRuleWhenSet(AddRuleEnforceHeader(
                             [&filter, channels] {
                                 ImageHeader header = helper::headerOf(*filter.getInputObjectImage());
                                 header.extents[SPECTRAL_SERIES] = channels;
                                 header.voxelType = RIX_FLOAT32;
                                 header.interpretation = RIX_VALUE;
                                 header.colorInterpretation = UNKNOWN;
                                 return header;
                             },
                             "extents and calibration of the input, with a channel for each component")));
        outputs.push_back(&output);
    };
    if constexpr (ofVolumes<Filter>) {
        add(filter.outputSurfaceSaliencyImage, "Optional: how much each voxel is on a surface.", 1);
    }
    add(filter.outputCurveSaliencyImage, "Optional: how much each voxel is on a curve.", 1);
    add(filter.outputJunctionSaliencyImage, "Optional: how much each voxel is where votes differ.", 1);
    add(filter.outputOrientationImage,
        ofVolumes<Filter> ? "Optional: the normal of the surface, then the tangent of the curve."
                          : "Optional: the angle of the tangent in radians.",
        ofVolumes<Filter> ? 6 : 1);
}

/// Room behind a row of sums for the end of a vector.
constexpr std::size_t roomForVector = 32;

template <class Filter>
access::BoxNeeds needsOf(double nanosecondsPerVoxel) {
    access::BoxNeeds needs;
    needs.nanosecondsPerVoxel = nanosecondsPerVoxel;
    needs.heldBytesPerVoxel = sizeof(float);
    return needs;
}

/// Tokens up to `reach` beside a block vote as far beyond it.
std::size_t strideOfSums(std::size_t columns, std::size_t reach) {
    return columns + 4 * reach + roomForVector;
}

/// Lets every token vote for the voxels around it: receivers row by row, tokens always in the same order.
template <class Filter>
void voteDirectly(Filter& filter, const Tokens& tokens, const VoteField& field, OptimLevelType level) {
    constexpr std::size_t entries = entriesOf<Filter>;
    const ImageModel& input = *filter.getInputObjectImage();
    const auto extents = helper::getExtents(input);
    const VoteKernels kernels = voteKernels(axesOf<Filter>, level);
    bool arePlates = false;
    if constexpr (ofVolumes<Filter>) {
        arePlates = filter.getOrientation() == TokenOrientation::TANGENT;
    }
    const auto means = arePlates ? std::make_unique<ArcMeans>() : nullptr;
    const VoteOutputs<Filter> outputs(filter);
    const double share =
        static_cast<double>(tokens.count()) / static_cast<double>(extents[COLUMNS] * tokens.rows() + 1);
    const double perVote = arePlates ? nanosecondsPerPlate : nanosecondsPerStick;
    const access::Plan plan = access::cutBoxes(
        {&input}, {}, needsOf<Filter>(nanosecondsPerResult + share * perVote * static_cast<double>(field.size())));
    const auto reach = static_cast<std::ptrdiff_t>(field.reach());
    const std::ptrdiff_t deep = ofVolumes<Filter> ? reach : 0;
    access::run(filter.executionContext(), plan, [&](const access::Block& block) {
        const std::size_t columns = block.columns().length();
        const std::size_t stride = strideOfSums(columns, field.reach());
        const access::Scratch memory(entries * stride * sizeof(float));
        std::array<float*, 6> sums{};
        ResultRows<Filter> results(outputs, columns, level);
        access::Looks looks;
        const auto first = static_cast<std::ptrdiff_t>(block.columns().begin);
        plan.forEachSegment(block, [&](const access::RowSegment& segment) {
            std::fill_n(memory.as<float>(), entries * stride, 0.0F);
            for (std::ptrdiff_t dz = -deep; dz <= deep; ++dz) {
                const std::ptrdiff_t z = static_cast<std::ptrdiff_t>(segment.plane) - dz;
                if (z < 0 || z >= static_cast<std::ptrdiff_t>(extents[PLANS])) {
                    continue;
                }
                for (std::ptrdiff_t dy = -reach; dy <= reach; ++dy) {
                    const std::ptrdiff_t y = static_cast<std::ptrdiff_t>(segment.row) - dy;
                    const VoteRow* const row = field.row(dy, dz);
                    if (y < 0 || y >= static_cast<std::ptrdiff_t>(extents[ROWS]) || row == nullptr) {
                        continue;
                    }
                    const auto voters = tokens.near(
                        tokens.rowOf(static_cast<std::size_t>(y), static_cast<std::size_t>(z), segment.sequence),
                        block.columns(), row->reach);
                    for (const Token& token : voters) {
                        const std::ptrdiff_t begin = static_cast<std::ptrdiff_t>(token.column) - first + 2 * reach -
                                                     static_cast<std::ptrdiff_t>(row->reach);
                        for (std::size_t i = 0; i < entries; ++i) {
                            sums[i] = memory.as<float>() + i * stride + begin;
                        }
                        const auto vote = !token.isOriented() ? kernels.ball
                                          : arePlates         ? kernels.plate
                                                              : kernels.stick;
                        vote(*row, token.direction.data(), static_cast<float>(dy), static_cast<float>(dz),
                             means == nullptr ? nullptr : means->table.data(), sums.data());
                    }
                    looks.add(voters.size() * (row->stride * (arePlates ? 16 : 1) / 64 + 1) + 1);
                }
            }
            std::array<const float*, 6> rows{};
            for (std::size_t i = 0; i < entries; ++i) {
                rows[i] = memory.as<float>() + i * stride + 2 * reach;
            }
            results.write(rows.data(), segment);
        });
    });
}

template <class Filter>
ImageHeader kernelHeader(double scale) {
    const std::size_t extent = 2 * VoteField::reachOf(scale) + 1;
    ImageHeader header;
    header.voxelType = RIX_FLOAT32;
    header.extents = {extent, extent, ofVolumes<Filter> ? extent : 1, 1, 1};
    return header;
}

template <class Filter>
void configure(const ImageModel& input, const ImageModel& kernel, FourierConvolution<Filter>& child) {
    child.setInputImage(&input);
    child.setInputKernelImage(&kernel);
    child.setBorderPolicy(access::BorderPolicy::FIXED);
}

/// Lets tokens without orientation vote: a convolution for each entry.
template <class Filter>
void voteByTransforms(Filter& filter, const VoteField& field, OptimLevelType level) {
    constexpr std::size_t entries = entriesOf<Filter>;
    access::ExecutionContext& context = filter.executionContext();
    const ImageModel& input = *filter.getInputObjectImage();
    const access::Steps steps(context, entries + 2);
    access::TemporaryImage tokens(input, RIX_FLOAT32);
    static_cast<void>(tokens.image().setInterpretation(RIX_VALUE));
    fillTokens(context, input, tokens.image());
    std::deque<access::TemporaryImage> sums;
    {
        access::TemporaryMemory kernel(HeaderImage(kernelHeader<Filter>(filter.getScale())));
        const auto reach = static_cast<std::ptrdiff_t>(field.reach());
        const std::ptrdiff_t deep = ofVolumes<Filter> ? reach : 0;
        for (std::size_t entry = 0; entry < entries; ++entry) {
            auto* to = reinterpret_cast<float*>(kernel.image().getInternalBuffer());
            access::Looks looks;
            for (std::ptrdiff_t z = -deep; z <= deep; ++z) {
                for (std::ptrdiff_t y = -reach; y <= reach; ++y) {
                    for (std::ptrdiff_t x = -reach; x <= reach; ++x) {
                        *to++ = field.ballEntry(entry, {x, y, z});
                    }
                    looks.add(1);
                }
            }
            sums.emplace_back(tokens.image(), RIX_FLOAT32);
            FourierConvolution<Filter> child;
            configure<Filter>(tokens.image(), kernel.image(), child);
            child.setOutputImage(&sums.back().image());
            algorithms::runChild(filter, child, level);
        }
    }
    const VoteOutputs<Filter> outputs(filter);
    const access::Plan plan = access::cutBoxes({&input}, {}, needsOf<Filter>(nanosecondsPerResult));
    access::run(context, plan, [&](const access::Block& block) {
        ResultRows<Filter> results(outputs, block.columns().length(), level);
        std::vector<access::RowReader<float>> readers;
        readers.reserve(entries);
        for (const access::TemporaryImage& each : sums) {
            readers.emplace_back(each.image());
        }
        plan.forEachSegment(block, [&](const access::RowSegment& segment) {
            std::array<const float*, 6> rows{};
            for (std::size_t i = 0; i < entries; ++i) {
                rows[i] = readers[i].read(segment);
            }
            results.write(rows.data(), segment);
        });
    });
}

/// Whether the Fourier transform is cheaper for so many tokens without orientation; in planes only.
template <class Filter>
bool isForFourier(const Filter& filter, std::size_t tokens, std::size_t fieldSize) {
    double voxels = static_cast<double>(entriesOf<Filter>);
    for (const std::size_t extent : helper::getExtents(*filter.getInputObjectImage())) {
        voxels *= static_cast<double>(extent);
    }
    return !ofVolumes<Filter> && filter.getInputOrientationImage() == nullptr &&
           static_cast<double>(tokens) * static_cast<double>(fieldSize) * nanosecondsPerBall<Filter> >
               voxels * nanosecondsPerTransform<Filter>;
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    if (VoteOutputs<Filter>(filter).images.empty()) {
        return;
    }
    const access::Steps steps(filter.executionContext(), {0.1, 5.0});
    const VoteField field(axesOf<Filter>, filter.getScale());
    std::optional<Tokens> tokens(std::in_place, filter.executionContext(), *filter.getInputObjectImage(),
                                 filter.getInputOrientationImage());
    if (isForFourier(filter, tokens->count(), field.size())) {
        tokens.reset();
        voteByTransforms(filter, field, level);
        return;
    }
    tokens->collect(filter.executionContext());
    voteDirectly(filter, *tokens, field, level);
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const std::size_t outputs = VoteOutputs<Filter>(filter).images.size();
    if (outputs == 0) {
        return 0;
    }
    const ImageModel& input = *filter.getInputObjectImage();
    const std::size_t threads = filter.getMaximumThreads();
    const std::size_t columns = input.getNumOf(COLUMNS);
    const std::size_t reach = VoteField::reachOf(filter.getScale());
    const std::size_t results = ResultRows<Filter>::bytes(columns, outputs);
    const std::size_t sums =
        access::Scratch::held(entriesOf<Filter> * strideOfSums(columns, reach) * sizeof(float)) + results;
    std::size_t most = Tokens::bytes(input) + threads * (sums + Tokens::rowBytes(input));
    if (!ofVolumes<Filter> && filter.getInputOrientationImage() == nullptr) {
        ImageHeader header = helper::headerOf(input);
        header.voxelType = RIX_FLOAT32;
        const HeaderImage like(header);
        const HeaderImage kernel(kernelHeader<Filter>(filter.getScale()));
        FourierConvolution<Filter> child;
        child.settings() = filter.settings();
        configure<Filter>(like, kernel, child);
        const std::size_t ofTransforms = (entriesOf<Filter> + 1) * access::TemporaryImage::bytes(like, RIX_FLOAT32) +
                                         access::TemporaryMemory::bytes(kernel, RIX_FLOAT32) +
                                         std::max(child.describe().extraMemory, threads * results);
        most = std::max(most, ofTransforms);
    }
    return VoteField::bytes(axesOf<Filter>, filter.getScale()) + most;
}

template <class Filter>
access::Reach reachOf(const Filter& filter) {
    const std::size_t reach = VoteField::reachOf(filter.getScale());
    const access::Reach::Axis axis{reach, reach};
    return {axis, axis, ofVolumes<Filter> ? axis : access::Reach::Axis{}};
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Neighbourhood,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .influence = &reachOf<Filter>,
        .memory = &memoryOf<Filter>,
        .memoryIsExact = false,
    };
}

constexpr auto ofPlanes = definitionOf<TensorVoting2d>("Lets tokens of planes vote for the lines through them.");
constexpr auto ofSpace =
    definitionOf<TensorVoting3d>("Lets tokens of volumes vote for the surfaces and curves through them.");

}  // namespace

const EnumInfo& getInfoTokenOrientation() {
    static const EnumInfo info("Orientation", "NORMAL = 0, TANGENT");
    return info;
}

RIX_DEFINE_ALGORITHM(TensorVoting2d, ofPlanes)
RIX_DEFINE_ALGORITHM(TensorVoting3d, ofSpace)

}  // namespace rix::edge_detection
