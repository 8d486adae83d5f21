#include <rix/image/ImageHeader.h>

#include <cstdint>

namespace rix {

namespace {

constexpr std::size_t indexOf(Components component) {
    return static_cast<std::size_t>(component);
}

constexpr bool isAxis(Components component) {
    return component >= RIX_COMPONENTS_FIRST && component < RIX_COMPONENTS_SIZE;
}

constexpr std::array<Components, RIX_COMPONENTS_SIZE> allAxes{COLUMNS, ROWS, PLANS, SEQUENCE, SPECTRAL_SERIES};

}  // namespace

namespace helper {

ImageHeader headerOf(const ImageModel& image) {
    ImageHeader header;
    header.extents = getExtents(image);
    header.voxelType = image.getVoxelType();
    header.elementType = image.getElementType();
    header.interpretation = image.getInterpretation();
    header.colorInterpretation = image.getColorInterpretation();
    for (const Components axis : allAxes) {
        header.spacing[indexOf(axis)] = image.getSpacingOf(axis);
        header.origin[indexOf(axis)] = image.getOriginOf(axis);
    }
    header.spatialUnitName = image.getSpatialUnitName();
    header.sequenceUnitName = image.getSequenceUnitName();
    header.spatialDirections = image.getSpatialDirections();
    header.spatialFrame = getSpatialFrame(image);
    header.labelScope = getLabelScope(image);
    return header;
}

bool applyHeader(const ImageHeader& header, ImageModel& image) {
    const auto& n = header.extents;
    bool done =
        image.reserve(header.elementType, header.voxelType, n[0], n[1], n[2], n[3], n[4]) &&
        image.setInterpretation(header.interpretation) && image.setColorInterpretation(header.colorInterpretation) &&
        image.setSpatialUnitName(header.spatialUnitName) && image.setSequenceUnitName(header.sequenceUnitName) &&
        image.setSpatialDirections(header.spatialDirections);
    for (const Components axis : allAxes) {
        done = done && image.setSpacingOf(axis, header.spacing[indexOf(axis)]) &&
               image.setOriginOf(axis, header.origin[indexOf(axis)]);
    }
    // Not every image has a place for these.
    static_cast<void>(setSpatialFrame(image, header.spatialFrame));
    static_cast<void>(setLabelScope(image, header.labelScope));
    return done;
}

}  // namespace helper

ImageModelWithHeader::ImageModelWithHeader(const ImageHeader& header) : m_header(header) {}
ImageModelWithHeader::~ImageModelWithHeader() = default;

String ImageModelWithHeader::getImageId() const {
    return "Image_" + std::to_string(reinterpret_cast<std::uintptr_t>(this));
}

std::size_t ImageModelWithHeader::getNumOf(const Components& component) const {
    return isAxis(component) ? m_header.extents[indexOf(component)] : 0;
}

VoxelTypes ImageModelWithHeader::getVoxelType() const {
    return m_header.voxelType;
}

ElementTypes ImageModelWithHeader::getElementType() const {
    return m_header.elementType;
}

bool ImageModelWithHeader::setOriginOf(const Components& component, double origin) {
    if (!isAxis(component)) {
        return false;
    }
    m_header.origin[indexOf(component)] = origin;
    return true;
}

double ImageModelWithHeader::getOriginOf(const Components& component) const {
    return isAxis(component) ? m_header.origin[indexOf(component)] : 0.0;
}

bool ImageModelWithHeader::setSpacingOf(const Components& component, double spacing) {
    if (!isAxis(component)) {
        return false;
    }
    m_header.spacing[indexOf(component)] = spacing;
    return true;
}

double ImageModelWithHeader::getSpacingOf(const Components& component) const {
    return isAxis(component) ? m_header.spacing[indexOf(component)] : 0.0;
}

bool ImageModelWithHeader::setSpatialUnitName(const String& name) {
    m_header.spatialUnitName = name;
    return true;
}

String ImageModelWithHeader::getSpatialUnitName() const {
    return m_header.spatialUnitName;
}

bool ImageModelWithHeader::setSpatialDirections(const vessel::SpatialDirections& directions) {
    m_header.spatialDirections = directions;
    return true;
}

vessel::SpatialDirections ImageModelWithHeader::getSpatialDirections() const {
    return m_header.spatialDirections;
}

bool ImageModelWithHeader::setSequenceUnitName(const String& name) {
    m_header.sequenceUnitName = name;
    return true;
}

String ImageModelWithHeader::getSequenceUnitName() const {
    return m_header.sequenceUnitName;
}

Interpretations ImageModelWithHeader::getInterpretation() const {
    return m_header.interpretation;
}

bool ImageModelWithHeader::setInterpretation(const Interpretations& interpretation) {
    m_header.interpretation = interpretation;
    m_header.labelScope = interpretation == RIX_LABEL ? m_header.labelScope : LabelScope::Volume;
    return true;
}

ColorInterpretation ImageModelWithHeader::getColorInterpretation() const {
    return m_header.colorInterpretation;
}

bool ImageModelWithHeader::setColorInterpretation(ColorInterpretation interpretation) {
    m_header.colorInterpretation = interpretation;
    return true;
}

std::optional<SpatialFrame> ImageModelWithHeader::getSpatialFrame() const {
    return m_header.spatialFrame;
}

bool ImageModelWithHeader::setSpatialFrame(const std::optional<SpatialFrame>& frame) {
    m_header.spatialFrame = frame;
    return true;
}

LabelScope ImageModelWithHeader::getLabelScope() const {
    return m_header.labelScope;
}

bool ImageModelWithHeader::setLabelScope(LabelScope scope) {
    m_header.labelScope = scope;
    return true;
}

bool ImageModelWithHeader::getPreferedSize(std::size_t&, std::size_t&, std::size_t&, std::size_t&, std::size_t&) {
    return false;
}

bool ImageModelWithHeader::isOnDisk() const {
    return false;
}

bool ImageModelWithHeader::isOnGpu() const {
    return false;
}

bool ImageModelWithHeader::reserve(const VoxelTypes& voxelType, std::size_t columns, std::size_t rows,
                                   std::size_t planes, std::size_t sequence, std::size_t spectral) {
    return reserve(SINGLE, voxelType, columns, rows, planes, sequence, spectral);
}

HeaderImage::HeaderImage(const ImageHeader& header) : ImageModelWithHeader(header) {}
HeaderImage::~HeaderImage() = default;

bool HeaderImage::readRowAt(std::size_t, RawData, std::size_t, std::size_t, std::size_t, std::size_t,
                            std::size_t) const {
    return false;
}

bool HeaderImage::writeRowAt(std::size_t, ConstRawData, std::size_t, std::size_t, std::size_t, std::size_t,
                             std::size_t) {
    return false;
}

bool HeaderImage::getRowAt(std::size_t, RawData&, std::size_t, std::size_t, std::size_t, std::size_t,
                           std::size_t) const {
    return false;
}

bool HeaderImage::getConstRowAt(std::size_t, ConstRawData&, std::size_t, std::size_t, std::size_t, std::size_t,
                                std::size_t) const {
    return false;
}

bool HeaderImage::reserve(const ElementTypes& elementType, const VoxelTypes& voxelType, std::size_t columns,
                          std::size_t rows, std::size_t planes, std::size_t sequence, std::size_t spectral) {
    const std::size_t elementSize = helper::getSizeOf(voxelType) * helper::getElementNumber(elementType);
    const std::array<std::size_t, RIX_COMPONENTS_SIZE> extents{columns, rows, planes, sequence, spectral};
    std::size_t bytes = 0;
    if (elementSize == 0 || !helper::multiplyExtents(extents, bytes) ||
        !helper::checkedMultiply(bytes, elementSize, bytes)) {
        return false;
    }
    m_header.extents = extents;
    m_header.voxelType = voxelType;
    m_header.elementType = elementType;
    return true;
}

ConstRawData HeaderImage::getImageBuffer() const {
    return nullptr;
}

RawData HeaderImage::getImageBuffer() {
    return nullptr;
}

}  // namespace rix
