#pragma once

#include <array>
#include <optional>
#include <string_view>
#include <vector>

#include <rix/io/ImageFile.h>

#include "../StoredSamples.h"

namespace rix::io {

/// Whether a part of a selection tells something of a file without a header.
bool isRawWord(std::string_view name);

/// Takes one of them. @throws SerializationException
void parseRawWord(std::string_view part, std::string_view name, std::string_view value, RawWords& words);

/// Refuses words that leave the type or the sizes open, or tell sizes twice. @throws SerializationException
void checkRawWords(const Selection& selection);

/// The type of that name. Ask `checkRawWords` before.
StoredType storedTypeNamed(std::string_view name);

/// An axis of a file without a header.
struct RawAxis {
    Components axis = COLUMNS;
    std::optional<std::size_t> extent{};  ///< at most one axis has none: the size of the file tells it
};

/// Those that the words tell, the fastest first.
std::vector<RawAxis> axesOfRaw(const Selection& selection);

/// The words that read back samples without a header, in the order of the axes and the byte order of this machine.
String wordsOfRaw(const ImageFileInfo& info);

/// What is known of an image and not told by its words.
ImageFileInfo untoldByWords(const ImageFileInfo& info);

/// Refuses a part of a selection. @throws SerializationException
[[noreturn]] void refuseSelection(std::string_view part, const String& reason);

}  // namespace rix::io
