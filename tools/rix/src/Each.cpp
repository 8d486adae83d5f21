#include "Each.h"

#include <sstream>

#include <rix/description/Suggestions.h>
#include <rix/description/Text.h>

#include "Failure.h"

namespace rix::cli {

Each eachFromText(const std::string& text, const std::string& where) {
    Each each;
    std::istringstream words(text);
    for (std::string word; std::getline(words, word, ',');) {
        bool& axis = word == "channel" ? each.channel : each.frame;
        if (axis || (word != "frame" && word != "channel")) {
            throw Failure(
                WRONG_USAGE,
                where + " can't be " + description::inQuotes(text) + ": it takes frame, channel or frame,channel",
                description::suggest(word, {"frame", "channel"}));
        }
        axis = true;
    }
    return each;
}

}  // namespace rix::cli
