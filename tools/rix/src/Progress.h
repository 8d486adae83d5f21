#pragma once

#include <string>

#include <rix/algorithms/InteractionInterface.h>

namespace rix::cli {

enum class ProgressDisplay { Bar, None };

/// A bar where standard error is a terminal that is not asked to stay quiet, else none.
ProgressDisplay chooseProgressDisplay(bool wanted);

/// "[########            ]  40 %  MESSAGE", at most `width` characters.
std::string progressLine(double progress, const std::string& message, std::size_t width);

/// Connects a run with the terminal: draws its progress on standard error and hands Ctrl-C to it. The line is wiped at
/// the end, so that messages start on a clean one.
class ConsoleInteraction : public InteractionInterface {
public:
    explicit ConsoleInteraction(ProgressDisplay display) : m_display(display) {}
    ~ConsoleInteraction() override;

    void setProgress(double progress) override;
    void setProgressionMessage(const String& message) override;
    bool isCancelRequested() override;
    /// Takes the line away for something else to be written; the next progress draws it again.
    void wipe();

private:
    void draw();

    ProgressDisplay m_display;
    double m_progress = 0;
    std::string m_message;
    std::string m_drawn;
};

}  // namespace rix::cli
