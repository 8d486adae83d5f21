#include "Progress.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include <sys/ioctl.h>
#include <unistd.h>

#include "Interrupts.h"
#include "Output.h"

namespace rix::cli {
namespace {

// Back to the first column and wipe the line.
constexpr const char* clearLine = "\r\x1b[K";

std::size_t terminalWidth() {
    constexpr std::size_t usualWidth = 80;
    winsize size{};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usualWidth;
}

}  // namespace

ProgressDisplay chooseProgressDisplay(bool wanted) {
    return wanted && isatty(STDERR_FILENO) != 0 ? ProgressDisplay::Bar : ProgressDisplay::None;
}

std::string progressLine(double progress, const std::string& message, std::size_t width) {
    constexpr std::size_t cells = 30;
    const double part = std::isfinite(progress) ? std::clamp(progress, 0.0, 1.0) : 0.0;
    const auto filled = static_cast<std::size_t>(part * cells);
    std::array<char, 16> percent{};
    // Rounded down: 100 % means that it is over.
    std::snprintf(percent.data(), percent.size(), "] %3d %%", static_cast<int>(part * 100));
    std::string line = '[' + std::string(filled, '#') + std::string(cells - filled, ' ') + percent.data();
    if (!message.empty()) {
        line += "  " + message;
    }
    return line.substr(0, width);
}

ConsoleInteraction::~ConsoleInteraction() {
    wipe();
}

void ConsoleInteraction::wipe() {
    if (!m_drawn.empty()) {
        writeMessage(clearLine);
        m_drawn.clear();
    }
}

void ConsoleInteraction::setProgress(double progress) {
    m_progress = progress;
    draw();
}

void ConsoleInteraction::setProgressionMessage(const String& message) {
    m_message = message;
    draw();
}

bool ConsoleInteraction::isCancelRequested() {
    return Interrupts::requested();
}

void ConsoleInteraction::draw() {
    if (m_display == ProgressDisplay::None) {
        return;
    }
    // One column stays free: a full line would wrap on some terminals.
    auto line = progressLine(m_progress, m_message, terminalWidth() - 1);
    if (line != m_drawn) {
        writeMessage(clearLine + line);
        m_drawn = std::move(line);
    }
}

}  // namespace rix::cli
