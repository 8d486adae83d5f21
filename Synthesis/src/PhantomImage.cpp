#include <rix/synthesis/PhantomImage.h>

#include <optional>

#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/algorithms/Children.h>
#include <rix/filtering/smoothing/GaussianFilter2d.h>
#include <rix/filtering/smoothing/GaussianFilter3d.h>
#include <rix/properties/EnumInfo.h>
#include <rix/rules/CompareRules.h>
#include <rix/settings/Settings.h>

#include "Noise.h"
#include "Placement.h"
#include "ShapeImages.h"

namespace rix::synthesis {

namespace {

using filtering::smoothing::GaussianFilter2d;
using filtering::smoothing::GaussianFilter3d;

constexpr double greatestBlur = 100.0;  ///< in voxels

class RuleBlur : public Rules<Property<double>> {
public:
    explicit RuleBlur(const PhantomImage& phantom) : m_phantom(phantom) {}
    void apply(Property<double>& property) override {
        RuleInRange<double>(0.0, 1e12, Bound::Included, Bound::Included).apply(property);
        const auto [x, y, z] = m_phantom.getSpacing();
        if (property.get() > greatestBlur * std::min({x, y, z})) {
            rules::refuse(rules::parameterText(property) + " must be at most 100 voxels.",
                          "The value is " + rules::valueToText(property.get()) + ", the spacing " +
                              rules::valueToText(m_phantom.getSpacing()) + '.');
        }
    }
    String describe() const override { return "must be a length from 0 to 100 voxels"; }

private:
    const PhantomImage& m_phantom;
};

void declare(PhantomImage& phantom, algorithms::Properties& properties) {
    declareShape(phantom, properties);
    const auto number = [&](auto& property, auto value, const char* description, const auto&... adders) {
        property = value;
        properties.input(property, description, adders...);
    };
    const AddRuleInRange<double> radii(0.0, 1e12, Bound::Excluded, Bound::Included);
    properties.input(phantom.kind, "What the objects are.");
    properties.input(phantom.seed, "Which of many such pictures is made.");
    number(phantom.numberOfObjects, std::int64_t{50}, "The number of objects; fewer where there is no room.",
           AddRuleInRange<std::int64_t>(1, 1'000'000, Bound::Included, Bound::Included));
    number(phantom.minimumRadius, 4.0, "The least radius, in world units.", radii);
    number(phantom.maximumRadius, 10.0, "The greatest radius, in world units.", radii,
           AddRuleCompare(CompareRelation::GreaterOrEqual, phantom.minimumRadius));
    number(phantom.overlap, 0.0, "How far objects may lie in each other: 0 not at all, 1 anyhow.",
           AddRuleInRange<double>(0.0, 1.0, Bound::Included, Bound::Included));
    number(phantom.background, 100.0, "The value where no object is.", AddRuleAssertFinite());
    number(phantom.contrast, 80.0, "How much brighter objects are; pores are darker.", AddRuleAssertFinite());
    properties.input(phantom.blurStandardDeviation, "Width of the Gaussian that smooths, in world units.");
    phantom.blurStandardDeviation.getImpl()->addRule(std::make_shared<RuleBlur>(phantom));
    properties.input(phantom.noiseStandardDeviation, "Standard deviation of the noise.",
                     AddRuleInRange<double>(0.0, 1e30, Bound::Included, Bound::Included));
    declareImage(phantom, properties, "The picture.");
    declareLabels(phantom, properties, [&phantom] { return static_cast<std::size_t>(phantom.getNumberOfObjects()); });
}

/// One volume of the picture, which is all that is smoothed: frames and channels show the same objects.
ImageHeader volumeOf(const PhantomImage& phantom) {
    ImageHeader header = headerOf(phantom);
    header.extents[SEQUENCE] = header.extents[SPECTRAL_SERIES] = 1;
    header.voxelType = RIX_FLOAT32;
    return header;
}

/// Calls `use(filter)` with the filter that smooths one image to another.
template <class F>
auto withBlur(const PhantomImage& phantom, const ImageModel& from, ImageModel& to, const F& use) {
    const auto setUp = [&](auto& filter) {
        filter.setInputImage(&from);
        filter.setStandardDeviationX(phantom.getBlurStandardDeviation());
        filter.setStandardDeviationY(phantom.getBlurStandardDeviation());
        filter.setLengthUnit(std::decay_t<decltype(filter)>::LengthUnit::WORLD);
        filter.setOutputImage(&to);
    };
    if (from.getNumOf(PLANS) == 1) {
        GaussianFilter2d filter;
        setUp(filter);
        return use(filter);
    }
    GaussianFilter3d filter;
    setUp(filter);
    filter.setStandardDeviationZ(phantom.getBlurStandardDeviation());
    return use(filter);
}

/// Both images of the smoothing and what the filter takes.
std::size_t blurMemory(const PhantomImage& phantom) {
    const HeaderImage image(volumeOf(phantom));
    HeaderImage result;
    return 2 * access::TemporaryMemory::bytes(image, RIX_FLOAT32) + withBlur(phantom, image, result, [&](auto& filter) {
               filter.settings() = phantom.settings();
               return filter.describe().extraMemory;
           });
}

std::size_t memoryOf(const PhantomImage& phantom) {
    const ImageHeader header = headerOf(phantom);
    const std::size_t painter = ShapePainter::bytes(header, placeObjects(phantom, header));
    return painter + (phantom.getBlurStandardDeviation() > 0 ? blurMemory(phantom) : 0);
}

/// The objects, smoothed.
class Blurred {
public:
    Blurred(PhantomImage& phantom, const ShapePainter& painter, OptimLevelType level) {
        const HeaderImage like(volumeOf(phantom));
        m_image.emplace(like);
        access::TemporaryMemory sharp(like);
        for (access::TemporaryMemory* const image : {&*m_image, &sharp}) {
            if (!helper::applyHeader(like.header(), image->image())) {
                throw ResizeImageError("A temporary image of a phantom cannot be calibrated.");
            }
        }
        const double background = phantom.getBackground();
        generate(phantom, sharp.image(), paintCost, [&](const access::Position& at, double* row, std::size_t count) {
            std::fill_n(row, count, background);
            painter.paint(at, row, count);
        });
        withBlur(phantom, sharp.image(), m_image->image(),
                 [&](auto& filter) { algorithms::runChild(phantom, filter, level); });
    }
    void read(const access::Position& at, double* values, std::size_t count) const {
        const io::MemoryImage& image = m_image->image();
        const auto* const samples = reinterpret_cast<const float*>(image.getInternalBuffer());
        const std::size_t row = at.plane * image.getNumOf(ROWS) + at.row;
        std::copy_n(samples + row * image.getNumOf(COLUMNS) + at.column, count, values);
    }

private:
    std::optional<access::TemporaryMemory> m_image;
};

void process(PhantomImage& phantom, OptimLevelType level) {
    const ImageHeader header = headerOf(phantom);
    const std::vector<Shape> shapes = placeObjects(phantom, header);
    const ShapePainter painter(header, shapes);
    const double background = phantom.getBackground();
    const bool blurs = phantom.getBlurStandardDeviation() > 0;
    const double deviation = phantom.getNoiseStandardDeviation();
    const access::Steps steps(phantom.executionContext(), {blurs ? 1.0 : 0.0, blurs ? 1.0 : 0.0, 1.0,
                                                           phantom.getOutputLabelImage() != nullptr ? 1.0 : 0.0});
    std::optional<Blurred> blurred;
    if (blurs) {
        blurred.emplace(phantom, painter, level);
    }
    const Noise noise({.kind = NoiseKind::Gaussian,
                       .seed = phantom.getSeed(),
                       .mean = 0.0,
                       .standardDeviation = deviation,
                       .density = 0.0,
                       .pepper = 0.0,
                       .salt = 0.0},
                      level);
    generate(phantom, *phantom.getOutputImage(), paintCost,
             [&](const access::Position& at, double* row, std::size_t count) {
                 if (blurred.has_value()) {
                     blurred->read(at, row, count);
                 } else {
                     std::fill_n(row, count, background);
                     painter.paint(at, row, count);
                 }
                 if (deviation > 0) {
                     noise.apply(at, row, count);
                 }
             });
    drawLabels(phantom, painter);
    tellShapes(shapes, header.extents[PLANS] > 1, *phantom.getOutputMeasurement());
}

constexpr algorithms::Definition<PhantomImage> definition{
    .summary = "Makes a picture of discs, nuclei, fibres, pores or vessels, with labels and true sizes.",
    .kind = AlgorithmKind::Composite,
    .declare = &declare,
    .process = &process,
    .memory = &memoryOf,
};

}  // namespace

const EnumInfo& PhantomImage::getInfoKind() {
    static const EnumInfo info("Kind", "DISCS = 0, NUCLEI, FIBRES, PORES, VESSELS");
    return info;
}

RIX_DEFINE_ALGORITHM_ON(ImageGenerator, PhantomImage, algorithms::NoState, definition)

}  // namespace rix::synthesis
