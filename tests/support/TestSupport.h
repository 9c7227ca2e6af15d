// What tests of every room need: the test and standard library, scripted ports that record what was shown,
// and a temporary folder. What it includes its users do not include again.
#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <map>
#include <numbers>
#include <optional>
#include <random>
#include <set>
#include <span>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "general/Ports.h"
#include "general/RunTimeError.h"
#include "general/SettingsFile.h"

namespace vorela {
using testing::_, testing::AllOf, testing::Contains, testing::Each, testing::ElementsAre, testing::FieldsAre,
    testing::FloatNear, testing::HasSubstr, testing::IsSupersetOf, testing::Not, testing::Pointwise;
}

namespace vorela::test {

/// A folder of its own for each test, removed afterwards. All files of a test go here.
class TempFolder {
  public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    const std::filesystem::path& Path() const { return path_; }
    std::string File(const std::string& name) const { return (path_ / name).string(); }

  private:
    std::filesystem::path path_;
};

std::string ReadAll(const std::string& path);
void WriteAll(const std::string& path, const std::string& bytes);

/// Runs a command line in the shell; exit status, standard output and standard error.
struct CommandResult {
    int status = -1;
    std::string out;
    std::string err;
};
CommandResult Run(const std::string& commandLine);

/// Values in level ± spread, the same for the same seed.
std::vector<float> Noise(std::size_t count, float level, float spread, unsigned seed = 7);

/// What the body threw; number 0 when nothing.
RunTimeError ThrownBy(const std::function<void()>& body);

struct ShownBox {
    MessageIcon icon;
    std::string title;
    std::string text;
    bool operator==(const ShownBox&) const = default;
};
void PrintTo(const ShownBox& box, std::ostream* out);

/// Ports that record every box, question, tick and text, and answer questions from a script. In place while
/// it lives; the ports before it come back afterwards. A question without a scripted answer is a test failure
/// (and No).
class ScriptedPorts final : public MessagePort, public ProgressPort, public StatusPort, public SaveFilePort {
  public:
    ScriptedPorts();
    ~ScriptedPorts() override;
    ScriptedPorts(const ScriptedPorts&) = delete;
    ScriptedPorts& operator=(const ScriptedPorts&) = delete;

    /// The only box since the last call; none or several are a test failure. No box is left.
    ShownBox TakeBox();

    void Show(MessageIcon icon, const std::string& title, const std::string& text) override;
    bool AskYesNo(const std::string& title, const std::string& text) override;
    void SetRange(int minimum, int maximum) override;
    int Maximum() const override { return maximum; }
    int Value() const override { return value; }
    void SetValue(int newValue) override;
    void SetText(const std::string& text) override { statusTexts.push_back(text); }
    std::string Text() const override { return statusTexts.empty() ? "" : statusTexts.back(); }
    std::optional<SaveFileChoice> AskSaveFile(const SaveFileRequest& request) override;

    std::deque<bool> answers;                      ///< to come, in order
    std::function<void()> onQuestion;              ///< called, when set, before the answer
    std::optional<SaveFileChoice> saveFileAnswer;  ///< nothing: cancelled
    std::vector<ShownBox> boxes;
    std::vector<ShownBox> questions;
    std::vector<std::string> statusTexts;
    std::vector<SaveFileRequest> saveRequests;
    int minimum = 0;
    int maximum = 0;
    int value = 0;
    int highestValue = 0;

  private:
    Ports before_;
};

/// A folder with the settings file that everything reads and writes, and scripted ports.
class SettingsFixture : public ::testing::Test {
  public:
    TempFolder folder;
    ScriptedPorts ports;

  protected:
    SettingsFixture() { SetSettingsFilePath(folder.File("Vorela.ini")); }
    static std::string Settings() { return ReadAll(SettingsFilePath()); }
    static void WriteSettings(const std::string& text) { WriteAll(SettingsFilePath(), text); }
    /// The file that `write` makes of what `read` took from `text`.
    static std::string RoundTrip(const std::string& text, void (*read)(), void (*write)()) {
        WriteSettings(text);
        read();
        WriteSettings("");
        write();
        return Settings();
    }
};

}  // namespace vorela::test
