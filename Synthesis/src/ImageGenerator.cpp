#include <rix/synthesis/ImageGenerator.h>

#include <array>

#include <rix/properties/EnumInfo.h>
#include <rix/rules/OutputRules.h>
#include <rix/rules/SizeRules.h>
#include <rix/rules/VectorRules.h>

#include "Generation.h"

namespace rix::synthesis {

namespace {

std::array<const Property<std::int64_t>*, RIX_COMPONENTS_SIZE> sizesOf(const ImageGenerator& generator) {
    return {&generator.sizeX, &generator.sizeY, &generator.sizeZ, &generator.sizeT, &generator.sizeC};
}

/// On the last of the inputs that an image's size follows from: the image can be counted and is within the limit.
class RuleImageFits : public Rules<Property<int>> {
public:
    explicit RuleImageFits(const ImageGenerator& generator) : m_generator(generator) {}

    void apply(Property<int>& property) override {
        std::array<std::size_t, RIX_COMPONENTS_SIZE> extents{};
        String names;
        const auto sizes = sizesOf(m_generator);
        for (std::size_t axis = 0; axis < sizes.size(); ++axis) {
            extents[axis] = static_cast<std::size_t>(sizes[axis]->get());
            names += (names.empty() ? "" : ", ") + sizes[axis]->getName();
        }
        const VoxelTypes type = algorithms::voxelTypeOf(static_cast<ImageGenerator::OutputType>(property.get()));
        rules::assertImageFits(extents, type, m_generator.getOutputImage(), names);
    }
    String describe() const override { return "must give an image that memory holds"; }

private:
    const ImageGenerator& m_generator;
};

}  // namespace

ImageGenerator::ImageGenerator(algorithms::AbstractPrivateImplementation* implementation)
    : BaseAlgorithm(implementation) {}

ImageGenerator::~ImageGenerator() = default;

const EnumInfo& getInfoAxis() {
    static const EnumInfo info("Axis", "COLUMNS = 0, ROWS, PLANS");
    return info;
}

ImageHeader headerOf(const ImageGenerator& generator) {
    ImageHeader header;
    header.voxelType = algorithms::voxelTypeOf(generator.getOutputType());
    const auto sizes = sizesOf(generator);
    for (std::size_t axis = 0; axis < sizes.size(); ++axis) {
        header.extents[axis] = static_cast<std::size_t>(sizes[axis]->get());
        header.spacing[axis] = axis < 3 ? generator.getSpacing()[axis] : 1.0;
    }
    return header;
}

void declareShape(ImageGenerator& generator, algorithms::Properties& properties) {
    const auto size = [&](Property<std::int64_t>& property, std::int64_t value, const char* description) {
        property = value;
        properties.input(property, description, AddRuleAssertPositiveOnly());
    };
    size(generator.sizeX, 256, "Columns of the image.");
    size(generator.sizeY, 256, "Rows of the image.");
    size(generator.sizeZ, 1, "Planes of the image.");
    size(generator.sizeT, 1, "Frames of the image.");
    size(generator.sizeC, 1, "Channels of the image.");
    generator.spacing = math::Vector3<double>{1.0, 1.0, 1.0};
    // Wide enough for every unit, and far from where squares of lengths are no numbers.
    properties.input(generator.spacing, "Spacing of columns, rows and planes.",
                     AddRuleInRangeVector<double, math::Vector3<double>>(1e-9, 1e9, Bound::Included, Bound::Included));
    generator.setOutputType(ImageGenerator::FLOAT_32_BIT);
    properties.input(generator.outputType, "The type of the voxels.");
    generator.outputType.getImpl()->addRule(std::make_shared<RuleImageFits>(generator));
}

void declareImage(ImageGenerator& generator, algorithms::Properties& properties, const char* description) {
    properties.output(generator.outputImage, description, AddRuleAssertNotNull(),
                      AddRuleEnforceHeader([&generator] { return headerOf(generator); },
                                           "extents, spacing and data type of the inputs, with the origin 0"));
}

}  // namespace rix::synthesis
