#include <rix/image/ImageMetadata.h>

#include <utility>

namespace rix::helper {

namespace {

constexpr const char* nameKey = "name";

String readText(const vessel::ImageView& view, std::string_view key) {
    String text;
    static_cast<void>(readMetadata(view, key, text));  // empty when there is none
    return text;
}

}  // namespace

void addMetadata(vessel::ImageView& view, std::string_view key, vessel::PropertyTree::Value value) {
    view.metadata()[key].setValue(std::move(value));
}

bool readMetadata(const vessel::ImageView& view, std::string_view key, vessel::PropertyTree::Value& value) {
    const vessel::PropertyTree* const entry = view.metadata().find(key);
    if (entry == nullptr || !entry->hasValue()) {
        return false;
    }
    value = entry->getValue();
    return true;
}

bool readMetadata(const vessel::ImageView& view, std::string_view key, String& text) {
    const vessel::PropertyTree* const entry = view.metadata().find(key);
    if (entry == nullptr || !entry->hasValue()) {
        return false;
    }
    text = entry->getText();
    return true;
}

void setImageName(vessel::ImageView& view, const String& name) {
    addMetadata(view, nameKey, name);
}

String getImageName(const vessel::ImageView& view) {
    return readText(view, nameKey);
}

String getImageUid(const vessel::ImageView& view) {
    return readText(view, LUMORA_UID_FIELD_NAME);
}

bool isMemoryImage(const vessel::ImageView& view) {
    return view.has(vessel::Capability::IN_MEMORY);
}

bool isDiskImage(const vessel::ImageView& view) {
    return view.has(vessel::Capability::ON_DISK);
}

}  // namespace rix::helper
