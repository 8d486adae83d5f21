#include <rix/image/ImageModelSizeProxyBase.h>

namespace rix {

ImageModelSizeProxyBase::ImageModelSizeProxyBase(ImageModel* real) : m_realImage(real) {}
ImageModelSizeProxyBase::ImageModelSizeProxyBase(const ImageModel* real) : m_realImage(const_cast<ImageModel*>(real)) {}
ImageModelSizeProxyBase::~ImageModelSizeProxyBase() = default;

String ImageModelSizeProxyBase::getImageId() const {
    return m_realImage->getImageId();
}

VoxelTypes ImageModelSizeProxyBase::getVoxelType() const {
    return m_realImage->getVoxelType();
}

ElementTypes ImageModelSizeProxyBase::getElementType() const {
    return m_realImage->getElementType();
}

bool ImageModelSizeProxyBase::setOriginOf(const Components& component, double origin) {
    return m_realImage->setOriginOf(component, origin);
}

double ImageModelSizeProxyBase::getOriginOf(const Components& component) const {
    return m_realImage->getOriginOf(component);
}

bool ImageModelSizeProxyBase::setSpacingOf(const Components& component, double spacing) {
    return m_realImage->setSpacingOf(component, spacing);
}

double ImageModelSizeProxyBase::getSpacingOf(const Components& component) const {
    return m_realImage->getSpacingOf(component);
}

bool ImageModelSizeProxyBase::setSpatialUnitName(const String& name) {
    return m_realImage->setSpatialUnitName(name);
}

String ImageModelSizeProxyBase::getSpatialUnitName() const {
    return m_realImage->getSpatialUnitName();
}

bool ImageModelSizeProxyBase::setSpatialDirections(const vessel::SpatialDirections& directions) {
    return m_realImage->setSpatialDirections(directions);
}

vessel::SpatialDirections ImageModelSizeProxyBase::getSpatialDirections() const {
    return m_realImage->getSpatialDirections();
}

bool ImageModelSizeProxyBase::setSequenceUnitName(const String& name) {
    return m_realImage->setSequenceUnitName(name);
}

String ImageModelSizeProxyBase::getSequenceUnitName() const {
    return m_realImage->getSequenceUnitName();
}

Interpretations ImageModelSizeProxyBase::getInterpretation() const {
    return m_realImage->getInterpretation();
}

bool ImageModelSizeProxyBase::setInterpretation(const Interpretations& interpretation) {
    return m_realImage->setInterpretation(interpretation);
}

ColorInterpretation ImageModelSizeProxyBase::getColorInterpretation() const {
    return m_realImage->getColorInterpretation();
}

bool ImageModelSizeProxyBase::setColorInterpretation(ColorInterpretation interpretation) {
    return m_realImage->setColorInterpretation(interpretation);
}

std::optional<SpatialFrame> ImageModelSizeProxyBase::getSpatialFrame() const {
    return helper::getSpatialFrame(*m_realImage);
}

bool ImageModelSizeProxyBase::setSpatialFrame(const std::optional<SpatialFrame>& frame) {
    return helper::setSpatialFrame(*m_realImage, frame);
}

LabelScope ImageModelSizeProxyBase::getLabelScope() const {
    return helper::getLabelScope(*m_realImage);
}

bool ImageModelSizeProxyBase::setLabelScope(LabelScope scope) {
    return helper::setLabelScope(*m_realImage, scope);
}

bool ImageModelSizeProxyBase::getPreferedSize(std::size_t& columns, std::size_t& rows, std::size_t& planes,
                                              std::size_t& sequence, std::size_t& spectral) {
    return m_realImage->getPreferedSize(columns, rows, planes, sequence, spectral);
}

bool ImageModelSizeProxyBase::isOnDisk() const {
    return m_realImage->isOnDisk();
}

bool ImageModelSizeProxyBase::isOnGpu() const {
    return m_realImage->isOnGpu();
}

bool ImageModelSizeProxyBase::reserve(const VoxelTypes&, std::size_t, std::size_t, std::size_t, std::size_t,
                                      std::size_t) {
    return false;
}

bool ImageModelSizeProxyBase::reserve(const ElementTypes&, const VoxelTypes&, std::size_t, std::size_t, std::size_t,
                                      std::size_t, std::size_t) {
    return false;
}

ConstRawData ImageModelSizeProxyBase::getImageBuffer() const {
    return nullptr;
}

RawData ImageModelSizeProxyBase::getImageBuffer() {
    return nullptr;
}

ImageModel* ImageModelSizeProxyBase::realImage() {
    return m_realImage;
}

const ImageModel* ImageModelSizeProxyBase::realImageReadOnly() const {
    return m_realImage;
}

}  // namespace rix
