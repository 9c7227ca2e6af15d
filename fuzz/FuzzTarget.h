// What a fuzz target offers and uses. The same source is linked with libFuzzer (preset fuzz) and with
// Replay.cpp, which runs the kept corpus and a few thousand mutations of it as a plain test.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace vorela::fuzz {

/// A claim about the code under test; a broken one ends the process so that the fuzzer keeps the input.
inline void Require(bool claim, const char* what) {
    if (claim)
        return;
    std::fprintf(stderr, "broken claim: %s\n", what);
    std::abort();
}

/// Cuts the text up to the next NUL off the front of `rest`.
inline std::string_view TakeText(std::string_view& rest) {
    const std::size_t end = rest.find('\0');
    const std::string_view text = rest.substr(0, end);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    return text;
}

/// A folder of this process in memory, for targets that take a file.
class Scratch {
  public:
    Scratch() {
        const std::filesystem::path memory = "/dev/shm";
        const auto parent = std::filesystem::exists(memory) ? memory : std::filesystem::temp_directory_path();
        std::string pattern = (parent / "vorela-fuzz-XXXXXX").string();
        folder_ = mkdtemp(pattern.data());
    }
    ~Scratch() {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    std::string File(const std::string& name) const { return (folder_ / name).string(); }
    std::string Put(const std::string& name, std::string_view bytes) const {
        std::ofstream file(File(name), std::ios::binary | std::ios::trunc);
        file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        return File(name);
    }

  private:
    std::filesystem::path folder_;
};

}  // namespace vorela::fuzz
