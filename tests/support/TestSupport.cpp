#include "tests/support/TestSupport.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>

namespace vorela::test {
namespace {

/// Memory where there is plenty: the databases' waits for a busy disk make up nine tenths of a run.
std::filesystem::path ParentFolder() {
    constexpr std::uintmax_t plenty = 2'000'000'000;
    const std::filesystem::path memory = "/dev/shm";
    std::error_code absent;
    const std::filesystem::space_info space = std::filesystem::space(memory, absent);
    const bool isGood = !absent && space.available >= plenty && access(memory.c_str(), W_OK | X_OK) == 0;
    return isGood && std::getenv("TMPDIR") == nullptr ? memory : std::filesystem::temp_directory_path();
}

}  // namespace

TempFolder::TempFolder() {
    std::string pattern = (ParentFolder() / "vorela-test-XXXXXX").string();
    path_ = mkdtemp(pattern.data());
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string ReadAll(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void WriteAll(const std::string& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

CommandResult Run(const std::string& commandLine) {
    const TempFolder folder;
    const std::string redirected =
        "{ " + commandLine + "\n} >'" + folder.File("out") + "' 2>'" + folder.File("err") + "' </dev/null";
    const int status = std::system(redirected.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadAll(folder.File("out")),
            ReadAll(folder.File("err"))};
}

std::vector<float> Noise(std::size_t count, float level, float spread, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> values(level - spread, level + spread);
    std::vector<float> noise(count);
    std::ranges::generate(noise, [&] { return values(random); });
    return noise;
}

RunTimeError ThrownBy(const std::function<void()>& body) {
    try {
        body();
    } catch (const RunTimeError& error) {
        return error;
    }
    return {};
}

void PrintTo(const ShownBox& box, std::ostream* out) {
    *out << "icon " << static_cast<int>(box.icon) << ", " << box.title << ": " << box.text;
}

ScriptedPorts::ScriptedPorts() : before_(CurrentPorts()) {
    CurrentPorts() = {this, this, this, this};
}
ScriptedPorts::~ScriptedPorts() {
    CurrentPorts() = before_;
}

ShownBox ScriptedPorts::TakeBox() {
    EXPECT_EQ(boxes.size(), 1U) << ::testing::PrintToString(boxes);
    ShownBox box = boxes.empty() ? ShownBox{} : boxes.front();
    boxes.clear();
    return box;
}

void ScriptedPorts::Show(MessageIcon icon, const std::string& title, const std::string& text) {
    boxes.push_back({icon, title, text});
}

bool ScriptedPorts::AskYesNo(const std::string& title, const std::string& text) {
    questions.push_back({MessageIcon::information, title, text});
    if (onQuestion)
        onQuestion();
    if (answers.empty()) {
        ADD_FAILURE() << "question without a scripted answer: " << text;
        return false;
    }
    const bool answer = answers.front();
    answers.pop_front();
    return answer;
}

void ScriptedPorts::SetRange(int newMinimum, int newMaximum) {
    minimum = newMinimum;
    maximum = newMaximum;
}

void ScriptedPorts::SetValue(int newValue) {
    value = newValue;
    highestValue = std::max(highestValue, newValue);
}

std::optional<SaveFileChoice> ScriptedPorts::AskSaveFile(const SaveFileRequest& request) {
    saveRequests.push_back(request);
    return saveFileAnswer;
}

}  // namespace vorela::test
