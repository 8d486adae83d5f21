#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <string_view>
#include <vector>

#include "../InputFile.h"
#include "../Metadata.h"
#include "../StoredSamples.h"

namespace rix::io {

/// The lines of an NRRD header: fields ("sizes: 3 4") and keys of programs ("key:=value").
class NrrdFields {
public:
    /// @param file an NRRD file from its beginning
    /// @throws LoadingError for a line that is neither
    explicit NrrdFields(InputFile& file);

    /// What stands behind a name, given in small letters without blanks; null when the header has no such field.
    const String* field(const char* name) const;

    /// @throws LoadingError when the header has no such field
    const String& required(const char* name) const;

    const MetadataKeys& keys() const { return m_keys; }

    /// Where the header ends.
    std::uint64_t end() const { return m_end; }

    /// Whether a blank line ends it, after which samples may follow.
    bool isAttached() const { return m_attached; }

private:
    std::map<String, String, std::less<>> m_fields;
    MetadataKeys m_keys;
    std::uint64_t m_end = 0;
    bool m_attached = false;
};

/// @throws LoadingError for what is no type of samples
StoredType nrrdTypeOf(const String& name);

/// A vector in parentheses at the beginning of a text, which loses it.
/// @param field its name, for errors
std::array<double, 3> nrrdVector(std::string_view& text, const char* field);

/// Texts in quotes.
std::vector<String> quotedTexts(std::string_view text);

}  // namespace rix::io
