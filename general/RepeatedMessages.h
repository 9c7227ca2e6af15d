// What has been said once is not said again at every redraw, tab click and timer tick.
#pragma once

#include <set>
#include <string>

#include "general/Ports.h"

namespace vorela {

/// Texts of the boxes shown since the data changed.
class RepeatedMessages {
  public:
    /// The data changed: everything may be said again.
    void Forget() { shown_.clear(); }
    /// True the first time. Two reports of one run-time error that differ in the step only have one cause.
    bool IsNew(const std::string& text) { return shown_.insert(CauseOf(text)).second; }

  private:
    static std::string CauseOf(const std::string& text) {
        const std::size_t step = text.find('\r');
        const bool runTimeError = text.starts_with("Error #") && !text.starts_with("Error #0 ");
        const std::size_t description = step == std::string::npos ? step : text.find(": ", step);
        return runTimeError && description != std::string::npos
                   ? text.substr(0, step) + text.substr(description)
                   : text;
    }

    std::set<std::string> shown_;
};

/// While it lives, a box whose text was shown before is not shown again but kept for the status bar.
class OnceOnly final : public MessagePort {
  public:
    enum class Repeats { kept, shown };
    /// Repeats::shown: the user's own action, which is answered each time; what it says is not said again by
    /// the refresh that follows.
    explicit OnceOnly(RepeatedMessages& repeated, Repeats repeats = Repeats::kept)
        : repeated_(repeated), messages_(CurrentPorts().messages), repeats_(repeats) {
        CurrentPorts().messages = this;
    }
    ~OnceOnly() override { CurrentPorts().messages = messages_; }
    OnceOnly(const OnceOnly&) = delete;
    OnceOnly& operator=(const OnceOnly&) = delete;

    void Show(MessageIcon icon, const std::string& title, const std::string& text) override {
        if (repeated_.IsNew(text) || repeats_ == Repeats::shown)
            messages_->Show(icon, title, text);
        else
            standing_ = text;
    }
    bool AskYesNo(const std::string& title, const std::string& text) override {
        return messages_->AskYesNo(title, text);
    }

    /// The last of the texts that were not shown again; empty when nothing that was said still holds.
    const std::string& Standing() const { return standing_; }

  private:
    RepeatedMessages& repeated_;
    MessagePort* messages_;
    Repeats repeats_;
    std::string standing_;
};

}  // namespace vorela
