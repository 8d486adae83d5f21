#pragma once

#include <string_view>

#include <vessel/ImageView.h>

#include <rix/Export.h>
#include <rix/String.h>

namespace rix {

/// Key of the metadata entry that holds the unique identifier of an image.
inline constexpr const char* LUMORA_UID_FIELD_NAME = "lumora_uid";

namespace helper {

/// Stores a value in the image's metadata, in place of an entry of the same key.
RIX_EXPORT void addMetadata(vessel::ImageView& view, std::string_view key, vessel::PropertyTree::Value value);
/// Reads an entry of the image's metadata; false, and `value` unchanged, when there is none or it has no value.
[[nodiscard]] RIX_EXPORT bool readMetadata(const vessel::ImageView& view, std::string_view key,
                                           vessel::PropertyTree::Value& value);
/// The same as text.
[[nodiscard]] RIX_EXPORT bool readMetadata(const vessel::ImageView& view, std::string_view key, String& text);

/// Stores the name of the image under the key "name".
RIX_EXPORT void setImageName(vessel::ImageView& view, const String& name);
/// The name of the image; empty when it has none.
RIX_EXPORT String getImageName(const vessel::ImageView& view);
/// The unique identifier of the image, from the key `LUMORA_UID_FIELD_NAME`; empty when it has none.
RIX_EXPORT String getImageUid(const vessel::ImageView& view);

/// True when the samples are in memory.
RIX_EXPORT bool isMemoryImage(const vessel::ImageView& view);
/// True when the samples are in a file.
RIX_EXPORT bool isDiskImage(const vessel::ImageView& view);

}  // namespace helper
}  // namespace rix
