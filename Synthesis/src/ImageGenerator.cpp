#include <rix/synthesis/ImageGenerator.h>

#include <array>

#include <unistd.h>

#include <rix/properties/EnumInfo.h>
#include <rix/rules/OutputRules.h>
#include <rix/rules/VectorRules.h>
#include <rix/settings/Settings.h>

#include "Generation.h"

namespace rix::synthesis {

namespace {

std::array<const Property<std::int64_t>*, RIX_COMPONENTS_SIZE> sizesOf(const ImageGenerator& generator) {
    return {&generator.sizeX, &generator.sizeY, &generator.sizeZ, &generator.sizeT, &generator.sizeC};
}

/// The most bytes that a generated image may have.
struct Limit {
    std::size_t bytes;
    const char* what;
};

Limit limitOf(const ImageGenerator& generator) {
    constexpr std::size_t none = std::numeric_limits<std::size_t>::max();
    if (const std::size_t set = globalSettings().getValueAsSize_t("RIX_MAXIMUM_IMAGE_SIZE", 0); set != 0) {
        return {set, "bytes are allowed (RIX_MAXIMUM_IMAGE_SIZE)."};
    }
    if (const ImageModel* const output = generator.getOutputImage(); output != nullptr && output->isOnDisk()) {
        return {none, "bytes can be counted."};
    }
    const long pages = ::sysconf(_SC_PHYS_PAGES);
    const long pageBytes = ::sysconf(_SC_PAGESIZE);
    return {pages > 0 && pageBytes > 0 ? static_cast<std::size_t>(pages) * static_cast<std::size_t>(pageBytes) : none,
            "bytes are the memory of this machine."};
}

/// On the last of the inputs that an image's size follows from: the image can be counted and is within the limit.
class RuleImageFits : public Rules<Property<int>> {
public:
    explicit RuleImageFits(const ImageGenerator& generator) : m_generator(generator) {}

    void apply(Property<int>& property) override {
        std::size_t bytes =
            helper::getSizeOf(algorithms::voxelTypeOf(static_cast<ImageGenerator::OutputType>(property.get())));
        bool counts = true;
        String extents;
        String names;
        for (const Property<std::int64_t>* const size : sizesOf(m_generator)) {
            counts = counts && helper::checkedMultiply(bytes, static_cast<std::size_t>(size->get()), bytes);
            extents += (extents.empty() ? "" : " x ") + std::to_string(size->get());
            names += (names.empty() ? "" : ", ") + size->getName();
        }
        const Limit limit = limitOf(m_generator);
        if (!counts || bytes > limit.bytes) {
            rules::refuse("The image (" + names + ") is too large: " + extents + " voxels take " +
                              (counts ? std::to_string(bytes) : String("more than 2^64")) + " bytes.",
                          std::to_string(limit.bytes) + ' ' + limit.what);
        }
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
