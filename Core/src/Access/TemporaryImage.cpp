#include <rix/access/TemporaryImage.h>

#include <limits>

#include <rix/access/ImageModelProxy.h>
#include <rix/access/PointFilters.h>
#include <rix/access/Steps.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/DiskImage.h>
#include <rix/image/MemoryRefusals.h>
#include <rix/image/SampleMemory.h>

namespace rix::access {

namespace {

/// Rough cost of a copy, for deciding whether threads pay.
constexpr double nanosecondsPerCopy = 0.1;

/// An image with the meaning that it had.
class AsMeant final : public ImageModelProxy {
public:
    AsMeant(const ImageModel& image, Interpretations meaning)
        : ImageModelProxy(&image, image.getVoxelType()), m_meaning(meaning) {}

    Interpretations getInterpretation() const override { return m_meaning; }

private:
    Interpretations m_meaning;
};

bool liesOnDisk(TemporaryUse use) {
    const std::shared_ptr<MemoryAccount> account = MemoryAccount::current();
    return account != nullptr && account->keepsImagesOnDisk(use);
}

void shape(ImageModel& image, const ImageModel& like, VoxelTypes voxelType) {
    const auto n = helper::getExtents(like);
    const helper::MemoryRefusals refusals;
    if (!image.reserve(like.getElementType(), voxelType, n[0], n[1], n[2], n[3], n[4])) {
        ResizeImageError error("The temporary image cannot be allocated or resized.");
        refusals.explain(error);
        throw error;
    }
    image.setInterpretation(like.getInterpretation());
}

}  // namespace

TemporaryImage::TemporaryImage(const ImageModel& like, VoxelTypes voxelType, TemporaryUse use) {
    if (liesOnDisk(use)) {
        m_image = std::make_unique<io::DiskImage>();
    } else {
        m_charge = MemoryCharge(TemporaryMemory::bytes(like, voxelType));
        m_image = std::make_unique<io::MemoryImage>();
    }
    shape(*m_image, like, voxelType);
}

std::size_t TemporaryImage::bytes(const ImageModel& like, VoxelTypes voxelType, TemporaryUse use) {
    return liesOnDisk(use) ? 0 : TemporaryMemory::bytes(like, voxelType);
}

TemporaryMemory::TemporaryMemory(const ImageModel& like, VoxelTypes voxelType) : m_charge(bytes(like, voxelType)) {
    shape(m_image, like, voxelType);
}

std::size_t TemporaryMemory::bytes(const ImageModel& like, VoxelTypes voxelType) {
    const std::size_t elementSize = helper::getSizeOf(voxelType) * helper::getElementNumber(like.getElementType());
    std::size_t elements = 0;
    std::size_t size = 0;
    return helper::getElementCount(like, elements) && helper::checkedMultiply(elements, elementSize, size)
               ? size
               : std::numeric_limits<std::size_t>::max();
}

bool isOverwritten(const ImageModel& input, const ImageModel* output) {
    return output != nullptr && helper::mayShareSamples(input, *output);
}

void readAsItWas(const ImageModel& image, Interpretations meaning, FunctionRef<void(const ImageModel&)> use) {
    const bool isBinary = image.getInterpretation() == RIX_BINARY;
    if (isBinary == (meaning == RIX_BINARY)) {
        use(image);
    } else {
        use(AsMeant(image, meaning));
    }
}

void writeThroughTemporary(ExecutionContext& context, ImageModel& output, FunctionRef<void(ImageModel&)> compute) {
    const Steps steps(context, {0.9, 0.1});
    TemporaryImage temporary(output);
    compute(temporary.image());
    dispatch(AllTypes{}, output.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const std::size_t samples = helper::getElementNumber(output.getElementType());
        transformRows<T, T>(context, temporary.image(), output, nanosecondsPerCopy,
                            [samples](const T* in, T* out, std::size_t count) { castRow(in, out, count * samples); });
    });
}

void writeApart(ExecutionContext& context, const ImageModel& input, ImageModel& output,
                FunctionRef<void(ImageModel&)> compute) {
    if (isOverwritten(input, &output)) {
        writeThroughTemporary(context, output, compute);
    } else {
        compute(output);
    }
}

std::size_t writeApartMemory(const ImageModel& input, const ImageModel* output, VoxelTypes outputType) {
    return isOverwritten(input, output) ? TemporaryImage::bytes(input, outputType) : 0;
}

}  // namespace rix::access
