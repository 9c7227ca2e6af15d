#include "general/ConsolePorts.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "general/TerminalText.h"

namespace vorela {
namespace {

/// A box's text as lines: its carriage returns break lines, empty lines are left out.
std::string AsLines(const std::string& text) {
    std::string result;
    for (const char c : text) {
        const char mapped = c == '\r' ? '\n' : c;
        if (mapped == '\n' && (result.empty() || result.back() == '\n'))
            continue;
        result += mapped;
    }
    while (!result.empty() && result.back() == '\n')
        result.pop_back();
    return TerminalLines(result);
}

}  // namespace

ConsolePorts::ConsolePorts(bool answer) : answer_(answer), terminal_(isatty(STDERR_FILENO) == 1) {}
ConsolePorts::~ConsolePorts() {
    Wipe();
}

void ConsolePorts::Show(MessageIcon icon, const std::string& title, const std::string& text) {
    Wipe();
    if (icon != MessageIcon::information)
        ++complaints_;
    told_.push_back(title + ": " + text);
    std::fprintf(stderr, "%s: %s\n", title.c_str(), AsLines(text).c_str());
}

bool ConsolePorts::AskYesNo(const std::string& title, const std::string& text) {
    Wipe();
    std::fprintf(stderr, "%s: %s %s\n", title.c_str(), AsLines(text).c_str(), answer_ ? "Yes" : "No");
    return answer_;
}

void ConsolePorts::SetRange(int, int maximum) {
    maximum_ = maximum;
}

void ConsolePorts::SetValue(int value) {
    if (value_ == value)
        return;
    value_ = value;
    Draw();
}

void ConsolePorts::SetText(const std::string& text) {
    status_ = text;
}

std::optional<SaveFileChoice> ConsolePorts::AskSaveFile(const SaveFileRequest&) {
    return std::nullopt;
}

void ConsolePorts::Draw() {
    if (!terminal_)
        return;
    if (value_ <= 0) {
        Wipe();
        return;
    }
    const std::string done(static_cast<std::size_t>(std::max(value_, 0)), '#');
    std::fprintf(stderr, "\r[%-*s] %.60s\033[K", std::max(maximum_, 0), done.c_str(),
                 TerminalText(status_).c_str());
    std::fflush(stderr);
    drawn_ = true;
}

void ConsolePorts::Wipe() {
    if (!drawn_)
        return;
    std::fprintf(stderr, "\r\033[K");
    drawn_ = false;
}

}  // namespace vorela
