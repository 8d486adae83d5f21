#include "Conversion.h"

#include <algorithm>
#include <utility>

#include <rix/description/Suggestions.h>
#include <rix/description/Text.h>
#include <rix/image/ImageHeader.h>
#include <rix/image/MemoryImage.h>
#include <rix/point_operations/ConvertImage.h>
#include <rix/settings/Settings.h>

#include "../Failure.h"
#include "../ImageFiles.h"
#include "../Interrupts.h"
#include "../Streams.h"

namespace rix::cli {
namespace {

using point_operations::ConvertImage;

const std::vector<std::pair<std::string, ConvertImage::OutputType>>& types() {
    static const std::vector<std::pair<std::string, ConvertImage::OutputType>> all{
        {"uint8", ConvertImage::UNSIGNED_INTEGER_8_BIT},
        {"int8", ConvertImage::SIGNED_INTEGER_8_BIT},
        {"uint16", ConvertImage::UNSIGNED_INTEGER_16_BIT},
        {"int16", ConvertImage::SIGNED_INTEGER_16_BIT},
        {"uint32", ConvertImage::UNSIGNED_INTEGER_32_BIT},
        {"int32", ConvertImage::SIGNED_INTEGER_32_BIT},
        {"float32", ConvertImage::FLOAT_32_BIT},
        {"float64", ConvertImage::FLOAT_64_BIT},
        {"complex-float32", ConvertImage::COMPLEX_FLOAT_32_BIT},
        {"complex-float64", ConvertImage::COMPLEX_FLOAT_64_BIT},
        {"binary", ConvertImage::BINARY},
        {"label8", ConvertImage::LABEL_8_BIT},
        {"label16", ConvertImage::LABEL_16_BIT},
        {"label32", ConvertImage::LABEL_32_BIT}};
    return all;
}

void prepare(ConvertImage& convert, int type, const ImageModel& from, ImageModel& to) {
    convert.setInputImage(&from);
    convert.setOutputType(static_cast<ConvertImage::OutputType>(type));
    convert.setOutputImage(&to);
}

}  // namespace

std::vector<std::string> conversionTypes() {
    std::vector<std::string> names;
    for (const auto& [name, type] : types()) {
        names.push_back(name);
    }
    return names;
}

int conversionTypeFromText(const std::string& text) {
    for (const auto& [name, type] : types()) {
        if (name == text) {
            return type;
        }
    }
    throw Failure(
        WRONG_USAGE,
        "--type can't be " + description::inQuotes(text) + ": it takes " + description::join(conversionTypes()),
        description::suggest(text, conversionTypes()));
}

Conversion::Conversion(ConversionRequest request) : m_request(std::move(request)) {
    checkCanWrite(m_request.output);
}

void Conversion::announce(Targets& targets) const {
    targets.addInput(m_request.input);
    targets.addOutput("OUT", m_request.output, Targets::Kind::Image);
}

void Conversion::checkOutputFits() const {
    HeaderImage header;
    if (!helper::applyHeader(readInfo(m_request.input, false), header)) {
        return;  // reading tells what is wrong with it
    }
    if (!m_request.type) {
        checkFits(m_request.output, header);
        return;
    }
    HeaderImage converted;
    ConvertImage convert;
    prepare(convert, *m_request.type, header, converted);
    convert.applyAllRules();
    checkFits(m_request.output, converted);
}

std::string Conversion::run(InteractionInterface& interaction) const {
    checkOutputFits();
    std::unique_ptr<ImageModel> image = openOrLoadImage(m_request.input);
    if (m_request.type) {
        auto converted = makeImage(m_request.output);
        ConvertImage convert;
        if (m_request.threads) {
            convert.settings().setMaximumNumberOfThreads(*m_request.threads);
        }
        prepare(convert, *m_request.type, *image, *converted);
        convert.run(&interaction);
        image = std::move(converted);
    }
    Interrupts::throwIfRequested();
    const std::string described = helper::describeImage(*image);
    saveImage(m_request.output, *image);
    return "written to " + (isStandardStream(m_request.output) ? "standard output" : m_request.output.string()) + ' ' +
           described + '\n';
}

}  // namespace rix::cli
