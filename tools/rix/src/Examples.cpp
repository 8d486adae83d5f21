#include "Examples.h"

#include <algorithm>
#include <cctype>
#include <deque>
#include <map>
#include <string_view>
#include <system_error>

#include <rix/description/Algorithms.h>
#include <rix/description/Text.h>
#include <rix/description/Values.h>
#include <rix/description/WrongInput.h>
#include <rix/exceptions/Exception.h>
#include <rix/properties/Property.h>

#include "Failure.h"
#include "ImageFiles.h"
#include "Results.h"

namespace rix::cli {
namespace {

namespace fs = std::filesystem;
using description::ImageRole;

/// As people name it: by the way from the present folder when it lies below, else by the whole way.
fs::path shortened(const fs::path& path) {
    std::error_code error;
    const fs::path relative = fs::proximate(path, error);
    return error || relative.empty() || *relative.begin() == ".." ? path : relative;
}

/// What an image property wants by its name: "inputLabelImage" labels, "inputObjectImage" objects.
Interpretations wantedInterpretation(const std::string& name) {
    constexpr std::pair<const char*, Interpretations> words[] = {{"Label", RIX_LABEL},
                                                                 {"Marker", RIX_LABEL},
                                                                 {"Binary", RIX_BINARY},
                                                                 {"Object", RIX_BINARY},
                                                                 {"Mask", RIX_BINARY}};
    for (const auto& [word, interpretation] : words) {
        if (name.find(word) != std::string::npos) {
            return interpretation;
        }
    }
    return RIX_VALUE;
}

/// A word as a shell reads it.
std::string shellWord(const std::string& word) {
    const auto isPlain = [](char letter) {
        return std::isalnum(static_cast<unsigned char>(letter)) != 0 ||
               std::string_view("_-+./:=@,%").find(letter) != std::string_view::npos;
    };
    if (std::all_of(word.begin(), word.end(), isPlain)) {
        return word;
    }
    std::string text = "'";
    for (const char letter : word) {
        text += letter == '\'' ? "'\\''" : std::string(1, letter);
    }
    return text + '\'';
}

/// The search for images and values that the rules of an algorithm accept.
class ExampleSearch {
public:
    ExampleSearch(const AlgoInfo& info, const std::vector<SampleImage>& images)
        : m_images(images), m_algorithm(description::createAlgorithm(info)) {
        for (BaseProperty* const property : description::listProperties(*m_algorithm)) {
            const ImageRole role = description::imageRoleOf(*property);
            if (role == ImageRole::Output) {
                dynamic_cast<Property<ImageModel*>&>(*property).set(&m_headers.emplace_back());
            } else if (role != ImageRole::None) {
                m_read.push_back(property);
            } else if (!property->isOutput() && description::isRequired(*property) && !chooseValue(*property)) {
                m_texts[property] = "VALUE";
            }
        }
        m_results.create(*m_algorithm);
        m_found = chooseImages(0);
    }

    std::string command() const {
        std::string before;
        std::string line = "rix run " + m_algorithm->getClassInfo().getName();
        for (BaseProperty* const property : description::listProperties(*m_algorithm)) {
            const std::string& name = property->getName();
            const ImageRole role = description::imageRoleOf(*property);
            const auto chosen = m_chosen.find(property);
            std::string text;
            if (role == ImageRole::None) {
                const auto known = m_texts.find(property);
                text = property->isOutput()     ? ""
                       : known != m_texts.end() ? known->second
                                                : description::valueToText(*property).value_or("");
            } else if (role == ImageRole::Output || !m_found) {
                text = name + ".tif";
            } else if (chosen == m_chosen.end()) {
                continue;  // an image that the rules accept unset only
            } else if (role == ImageRole::InPlace) {
                // The sample stays as it is.
                text = name + chosen->second->path.extension().string();
                before += "cp " + shellWord(shortened(chosen->second->path).string()) + ' ' + shellWord(text) + " && ";
            } else {
                text = shortened(chosen->second->path).string();
            }
            line += text.empty() ? "" : ' ' + shellWord(name + '=' + text);
        }
        return before + line;
    }

private:
    /// A value that the rules accept, where they refuse the default.
    static bool chooseValue(BaseProperty& property) {
        std::vector<std::string> texts{"3", "1", "0.5", "@v2:3_3", "@v3:3_3_3"};
        if (const EnumInfo* const enumeration = description::enumerationOf(property)) {
            texts = description::labelsOf(*enumeration);
        }
        for (const std::string& text : texts) {
            try {
                description::setValue(property, text);
            } catch (const description::WrongInput&) {
                continue;  // no text of this type
            }
            if (!description::isRequired(property)) {
                return true;
            }
        }
        return false;
    }

    bool accepts() const {
        try {
            m_algorithm->applyAllRules();
            return true;
        } catch (const Exception&) {
            return false;
        }
    }

    void set(BaseProperty& property, const SampleImage* sample) {
        HeaderImage* image = sample == nullptr ? nullptr : &m_headers.emplace_back(sample->header);
        if (description::imageRoleOf(property) == ImageRole::Input) {
            dynamic_cast<Property<const ImageModel*>&>(property).set(image);
        } else {
            dynamic_cast<Property<ImageModel*>&>(property).set(image);
        }
        if (sample == nullptr) {
            m_chosen.erase(&property);
        } else {
            m_chosen[&property] = sample;
        }
    }

    /// Gives an image to each property from that one on; what fits the name is tried first, none at all last.
    bool chooseImages(std::size_t place) {
        if (place == m_read.size()) {
            return accepts();
        }
        std::vector<const SampleImage*> candidates;
        for (const SampleImage& image : m_images) {
            candidates.push_back(&image);
        }
        const Interpretations wanted = wantedInterpretation(m_read[place]->getName());
        std::stable_partition(candidates.begin(), candidates.end(),
                              [wanted](const SampleImage* image) { return image->header.interpretation == wanted; });
        candidates.push_back(nullptr);
        return std::any_of(candidates.begin(), candidates.end(), [&](const SampleImage* candidate) {
            set(*m_read[place], candidate);
            return chooseImages(place + 1);
        });
    }

    const std::vector<SampleImage>& m_images;
    std::deque<HeaderImage> m_headers;  ///< what properties point to
    std::unique_ptr<BaseAlgorithm> m_algorithm;
    ResultObjects m_results;
    std::vector<BaseProperty*> m_read;  ///< images, in the order of declaration
    std::map<const BaseProperty*, const SampleImage*> m_chosen;
    std::map<const BaseProperty*, std::string> m_texts;
    bool m_found = false;
};

}  // namespace

fs::path findExample(const char* name) {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    for (fs::path folder = program.parent_path(); !error; folder = folder.parent_path()) {
        for (const char* place : {"examples", "share/lumora_rix/examples"}) {
            if (fs::exists(folder / place / name, error)) {
                return folder / place / name;
            }
        }
        if (folder == folder.root_path()) {
            break;
        }
    }
    throw Failure(UNREADABLE_INPUT,
                  "the example " + description::inQuotes(name) + " can't be found beside the program");
}

std::vector<SampleImage> sampleImages() {
    std::vector<SampleImage> images;
    try {
        for (const char* name :
             {"images/coins.png", "images/coins-binary.tif", "images/coins-labels.tif", "images/coins-colours.png"}) {
            const fs::path path = findExample(name);
            images.push_back({path, readHeader(path)->header()});
        }
    } catch (const Failure&) {
        images.clear();
    }
    return images;
}

std::string exampleCommand(const AlgoInfo& info, const std::vector<SampleImage>& images) {
    return ExampleSearch(info, images).command();
}

}  // namespace rix::cli
