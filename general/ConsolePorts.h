// The ports of a program without a window: boxes go to standard error, questions get one fixed answer,
// progress is shown on a terminal only.
#pragma once

#include <string>
#include <vector>

#include "general/Ports.h"

namespace vorela {

class ConsolePorts final : public MessagePort, public ProgressPort, public StatusPort, public SaveFilePort {
  public:
    /// `answer` is given to every yes/no question (which is written out too).
    explicit ConsolePorts(bool answer);
    ~ConsolePorts() override;

    void Show(MessageIcon icon, const std::string& title, const std::string& text) override;
    bool AskYesNo(const std::string& title, const std::string& text) override;
    void SetRange(int minimum, int maximum) override;
    int Maximum() const override { return maximum_; }
    int Value() const override { return value_; }
    void SetValue(int value) override;
    void SetText(const std::string& text) override;
    std::string Text() const override { return status_; }
    std::optional<SaveFileChoice> AskSaveFile(const SaveFileRequest& request) override;

    /// Boxes with the critical or exclamation icon shown so far.
    int Complaints() const { return complaints_; }
    /// Texts of all boxes shown so far.
    const std::vector<std::string>& Told() const { return told_; }

    /// These ports as the set in use.
    Ports AsPorts() { return {this, this, this, this}; }

  private:
    void Draw();
    void Wipe();

    bool answer_;
    bool terminal_;
    bool drawn_ = false;
    int maximum_ = 0;
    int value_ = 0;
    int complaints_ = 0;
    std::vector<std::string> told_;
    std::string status_;
};

}  // namespace vorela
