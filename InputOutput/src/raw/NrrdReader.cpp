#include "NrrdReader.h"

#include <algorithm>
#include <cmath>

#include <rix/exceptions/Exception.h>

#include "../Metadata.h"
#include "HeaderText.h"
#include "NrrdFields.h"
#include "World.h"

namespace rix::io {
namespace {

/// The axes of the file, fastest first, as the fields tell of them one after the other.
struct NrrdAxis {
    std::size_t extent = 1;
    String kind{};
    std::optional<std::array<double, 3>> step{};
    std::optional<double> spacing{};
    std::optional<double> minimum{};
    String unit{};
    std::optional<Components> meaning{};
};

class NrrdLayout {
public:
    NrrdLayout(InputFile& file, const ReadOptions& options) : m_file(file), m_options(options), m_fields(file) {
        m_layout.position = m_fields.end();
    }

    RawLayout read() {
        readType();
        readAxes();
        readWorld();
        readUnits();
        applyOwnKeys(m_fields.keys(), m_layout.info);
        readPlace();
        m_layout.info.format = "NRRD";
        checkRaw(m_file, m_options, m_layout);
        return m_layout;
    }

private:
    void readType() {
        m_layout.stored = nrrdTypeOf(m_fields.required("type"));
        const String encoding = lowered(m_fields.required("encoding"));
        m_layout.compressed = encoding == "gzip" || encoding == "gz";
        if (!m_layout.compressed && encoding != "raw") {
            throw LoadingError("The samples are encoded as '" + escapeText(encoding) +
                               "'. Supported are raw and gzip.");
        }
        if (bytesOf(m_layout.stored) > 1) {
            const String endian = lowered(m_fields.required("endian"));
            if (endian != "little" && endian != "big") {
                failField("endian", endian);
            }
            m_layout.bigEndian = endian == "big";
        }
    }

    void readAxes() {
        const std::size_t count = countsOf(m_fields.required("dimension"), 1, "dimension").front();
        constexpr std::size_t most = 16;
        if (count == 0 || count > most) {
            failField("dimension", m_fields.required("dimension"));
        }
        m_axes.resize(count);
        const auto sizes = countsOf(m_fields.required("sizes"), count, "sizes");
        for (std::size_t i = 0; i < count; ++i) {
            m_axes[i].extent = sizes[i];
        }
        if (const String* kinds = m_fields.field("kinds")) {
            const auto words = wordsOf(*kinds);
            if (words.size() != count) {
                failField("kinds", *kinds);
            }
            for (std::size_t i = 0; i < count; ++i) {
                m_axes[i].kind = lowered(words[i]);
            }
        }
        readSteps();
        takeMeanings();
        m_layout.axes.clear();
        m_layout.info.extents = {1, 1, 1, 1, 1};
        for (const NrrdAxis& axis : m_axes) {
            if (axis.meaning) {
                m_layout.info.extents[static_cast<std::size_t>(*axis.meaning)] = axis.extent;
                m_layout.axes.push_back(*axis.meaning);
            }
        }
        if (m_layout.axes.empty()) {
            m_layout.axes.push_back(COLUMNS);
        }
    }

    /// The vectors of "(1,0,0) (0,1,0) none".
    void readSteps() {
        const String* directions = m_fields.field("spacedirections");
        if (directions == nullptr) {
            return;
        }
        std::string_view rest = *directions;
        for (NrrdAxis& axis : m_axes) {
            rest.remove_prefix(std::min(rest.find_first_not_of(" \t"), rest.size()));
            if (rest.starts_with("none")) {
                rest.remove_prefix(4);
            } else {
                axis.step = nrrdVector(rest, "space directions");
            }
        }
        if (!trimmed(rest).empty()) {
            failField("space directions", *directions);
        }
    }

    static bool isSpatial(const NrrdAxis& axis) {
        return axis.step.has_value() || axis.kind == "domain" || axis.kind == "space";
    }

    static bool isChannels(const NrrdAxis& axis) {
        return !axis.kind.empty() && axis.kind != "???" && axis.kind != "none" && axis.kind != "time" &&
               axis.kind != "domain" && axis.kind != "space";
    }

    void takeMeanings() {
        NrrdAxis& first = m_axes.front();
        if (first.kind == "complex" && first.extent == 2 &&
            (m_layout.stored == StoredType::Float32 || m_layout.stored == StoredType::Float64)) {
            m_layout.stored =
                m_layout.stored == StoredType::Float32 ? StoredType::ComplexFloat32 : StoredType::ComplexFloat64;
            m_axes.erase(m_axes.begin());
        }
        const bool told = std::any_of(m_axes.begin(), m_axes.end(), [](const NrrdAxis& axis) {
            return isSpatial(axis) || isChannels(axis) || axis.kind == "time";
        });
        std::size_t spatial = 0;
        std::size_t untold = 0;
        std::array<bool, RIX_COMPONENTS_SIZE> taken{};
        for (NrrdAxis& axis : m_axes) {
            std::optional<Components> meaning;
            if (isSpatial(axis) || (!told && spatial < 3)) {
                meaning = spatial < 3 ? std::optional(static_cast<Components>(spatial)) : std::nullopt;
                ++spatial;
            } else if (axis.kind == "time") {
                meaning = SEQUENCE;
            } else if (isChannels(axis)) {
                meaning = SPECTRAL_SERIES;
            }
            if (!meaning && axis.extent == 1) {
                continue;
            }
            if (!meaning) {
                meaning = !taken[SEQUENCE] && (!told || spatial >= 3) ? SEQUENCE : SPECTRAL_SERIES;
                ++untold;
            }
            const auto index = static_cast<std::size_t>(*meaning);
            if (taken[index]) {
                throw LoadingError("The image has two axes of the kind " + helper::componentToString(*meaning) +
                                   "; images have one.");
            }
            taken[index] = true;
            axis.meaning = meaning;
            if (isChannels(axis) && (axis.kind.starts_with("rgb")) && (axis.extent == 3 || axis.extent == 4)) {
                m_layout.info.colorInterpretation = RGB;
            }
        }
        if (untold > 0 && m_options.selection.axes.empty()) {
            warnOrRefuse(m_options,
                         "The header doesn't tell what all axes are. Those beyond the spatial ones are taken as "
                         "time and channels.");
        }
    }

    void readWorld() {
        ImageFileInfo& info = m_layout.info;
        perAxis("spacings", [](NrrdAxis& axis, double value) { axis.spacing = value; });
        perAxis("axismins", [](NrrdAxis& axis, double value) { axis.minimum = value; });
        std::size_t steps = 0;
        for (const NrrdAxis& axis : m_axes) {
            if (!axis.meaning) {
                continue;
            }
            const auto index = static_cast<std::size_t>(*axis.meaning);
            if (axis.step && index < 3) {
                if (!setStep(info, index, *axis.step)) {
                    throw LoadingError("The header has a direction of no length.");
                }
                ++steps;
            } else if (axis.spacing && isSpacing(std::abs(*axis.spacing))) {
                info.spacing[index] = std::abs(*axis.spacing);
            }
            if (axis.minimum && !m_fields.field("spaceorigin")) {
                info.origin[index] = *axis.minimum;
            }
        }
        if (steps == 2) {
            completeDirections(info);
        }
        if (const String* origin = m_fields.field("spaceorigin")) {
            std::string_view rest = *origin;
            const auto vector = nrrdVector(rest, "space origin");
            std::copy(vector.begin(), vector.end(), info.origin.begin());
        }
        if (const String* space = m_fields.field("space")) {
            const String name = lowered(*space);
            const bool right = name == "right-anterior-superior" || name == "ras";
            const bool left = name == "left-anterior-superior" || name == "las";
            flipWorld(info, right, right || left);
        }
    }

    template <class Take>
    void perAxis(const char* name, Take take) {
        const String* text = m_fields.field(name);
        if (text == nullptr) {
            return;
        }
        const auto words = wordsOf(*text);
        // An axis of complex parts has been taken off.
        if (words.size() != countsOf(m_fields.required("dimension"), 1, "dimension").front()) {
            failField(name, *text);
        }
        const std::size_t taken = words.size() - m_axes.size();
        for (std::size_t i = 0; i < m_axes.size(); ++i) {
            const String word = lowered(words[i + taken]);
            if (const auto number = parseNumber(word)) {
                take(m_axes[i], *number);
            } else if (word != "nan" && word != "???") {
                failField(name, *text);
            }
        }
    }

    void readUnits() {
        std::array<String, 3> units{};
        if (const String* text = m_fields.field("units")) {
            const auto words = quotedTexts(*text);
            const std::size_t taken = words.size() > m_axes.size() ? words.size() - m_axes.size() : 0;
            for (std::size_t i = 0; i < m_axes.size() && i + taken < words.size(); ++i) {
                if (m_axes[i].meaning && *m_axes[i].meaning <= PLANS) {
                    units[static_cast<std::size_t>(*m_axes[i].meaning)] = words[i + taken];
                } else if (m_axes[i].meaning && *m_axes[i].meaning == SEQUENCE) {
                    m_layout.info.sequenceUnitName = words[i + taken];
                }
            }
        }
        if (const String* text = m_fields.field("spaceunits")) {
            const auto words = quotedTexts(*text);
            std::copy_n(words.begin(), std::min<std::size_t>(words.size(), 3), units.begin());
        }
        setSpatialUnits(m_layout.info, units);
    }

    void readPlace() {
        for (const char* name : {"datafile", "lineskip", "byteskip"}) {
            const String* value = m_fields.field(name);
            if (value == nullptr) {
                continue;
            }
            if (name != String("datafile")) {
                const auto number = parseCount(*value);
                if (!number || (name == String("lineskip") && *number != 0)) {
                    failField(name, *value);
                }
                m_skipped = *number;
            } else if (value->starts_with("LIST") || value->find('%') != String::npos) {
                throw LoadingError("The samples are in several files. Supported are files with all samples in one.");
            } else {
                m_layout.data = dataPath(m_file, *value);
                m_layout.position = 0;
            }
        }
        if (!m_fields.isAttached() && m_layout.data.empty()) {
            throw LoadingError("The header has no end: no blank line, and no file of samples (truncated?).");
        }
        if (m_layout.compressed) {
            m_layout.skipped = m_skipped;
        } else if (m_skipped > ~std::uint64_t{0} - m_layout.position) {
            failField("byteskip", std::to_string(m_skipped));
        } else {
            m_layout.position += m_skipped;
        }
    }

    InputFile& m_file;
    const ReadOptions& m_options;
    const NrrdFields m_fields;
    std::vector<NrrdAxis> m_axes;
    RawLayout m_layout;
    std::uint64_t m_skipped = 0;
};

}  // namespace

RawLayout readNrrdHeader(InputFile& file, const ReadOptions& options) {
    return NrrdLayout(file, options).read();
}

}  // namespace rix::io
