// What a refresh has said once is not said again at every tab click and timer tick.
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
    /// True the first time.
    bool IsNew(const std::string& text) { return shown_.insert(text).second; }

  private:
    std::set<std::string> shown_;
};

/// While it lives, a box whose text was shown before is not shown again but kept for the status bar.
class OnceOnly final : public MessagePort {
  public:
    explicit OnceOnly(RepeatedMessages& repeated) : repeated_(repeated), messages_(CurrentPorts().messages) {
        CurrentPorts().messages = this;
    }
    ~OnceOnly() override { CurrentPorts().messages = messages_; }
    OnceOnly(const OnceOnly&) = delete;
    OnceOnly& operator=(const OnceOnly&) = delete;

    void Show(MessageIcon icon, const std::string& title, const std::string& text) override {
        if (repeated_.IsNew(text))
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
    std::string standing_;
};

}  // namespace vorela
