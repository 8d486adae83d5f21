#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <rix/algorithms/InteractionInterface.h>

#include "../Targets.h"

namespace rix::cli {

/// What a command line asks of one conversion of a file.
struct ConversionRequest {
    std::string input;
    std::filesystem::path output;
    std::optional<int> type;  ///< of `ConvertImage::OutputType`; nothing to keep that of the file
    std::optional<int> threads;
};

/// Names of types that files can be converted to.
std::vector<std::string> conversionTypes();
/// The output type of a name. @throws Failure (wrong usage)
int conversionTypeFromText(const std::string& text);

/// Reads an image file, or what is selected of it, and writes it in another format or type.
class Conversion {
public:
    /// Looks at the place of the output; nothing is read.
    /// @throws Failure (unwritable output)
    explicit Conversion(ConversionRequest request);

    void announce(Targets& targets) const;
    /// What the output can't hold is refused before samples are read.
    /// @return what was written, as a sentence
    /// @throws Failure: unreadable input, unwritable output; what `ConvertImage` throws
    std::string run(InteractionInterface& interaction) const;

private:
    void checkOutputFits() const;

    ConversionRequest m_request;
};

}  // namespace rix::cli
