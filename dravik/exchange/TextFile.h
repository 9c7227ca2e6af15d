// A text file of any size, line by line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "dravik/exchange/Encoding.h"

namespace dravik {

inline constexpr std::size_t headBytes = std::size_t{256} * 1024;
inline constexpr std::size_t longestLine = std::size_t{1024} * 1024;

/// What tells whether a file is still the one that was read.
struct FileVersion {
    std::uint64_t size = 0;
    std::int64_t changed = 0;  ///< ns

    bool operator==(const FileVersion&) const = default;
};

/// An open file: its encoding, where its text begins and ends, how its lines end. Throws ExchangeError for a
/// file that cannot be read, is not a regular file, is empty or is not text.
class TextFile {
  public:
    /// `encoding`: iconv's name; empty: found from the head.
    TextFile(std::string path, const std::string& encoding);
    ~TextFile();
    TextFile(const TextFile&) = delete;
    TextFile& operator=(const TextFile&) = delete;

    const std::string& Path() const { return path_; }
    const dravik::Encoding& TextEncoding() const { return encoding_; }
    char LineEnd() const { return lineEnd_; }
    const FileVersion& Version() const { return version_; }
    /// Bytes from the mark's end to the last one before trailing NULs and Ctrl-Zs.
    std::uint64_t Begin() const { return encoding_.markBytes; }
    std::uint64_t End() const { return end_; }
    std::uint64_t HeadEnd() const { return headEnd_; }

    /// Reads up to `count` bytes; fewer only at the file's end.
    std::size_t Read(std::uint64_t offset, char* bytes, std::size_t count) const;

  private:
    std::uint64_t EndWithoutPadding(std::uint64_t size) const;
    [[noreturn]] void Fail() const;

    std::string path_;
    int descriptor_ = -1;
    FileVersion version_;
    dravik::Encoding encoding_;
    char lineEnd_ = '\n';
    std::uint64_t end_ = 0;
    std::uint64_t headEnd_ = 0;
};

/// Where a line begins.
struct Place {
    std::uint64_t offset = 0;
    std::size_t line = 1;  ///< its number, from 1
};

/// Lines in UTF-8 without their ends. Memory: one block and one line.
class LineReader {
  public:
    explicit LineReader(const TextFile& file);
    /// The line stays valid until the next call. Throws ExchangeError for one over 1 MiB.
    bool Next(std::string_view& line);
    /// Of the line that Next gives next.
    Place Here() const { return {bufferOffset_ + at_, line_}; }
    void Seek(const Place& place);
    /// The whole lines held from the next one on, with their ends, but for the text's last; valid until the
    /// next call.
    std::string_view HeldLines() const {
        return at_ < linesEnd_ ? std::string_view(buffer_.data() + at_, linesEnd_ - at_) : std::string_view();
    }
    /// Behind one line of the held text, `bytes` with its end.
    void SkipLine(std::size_t bytes) {
        at_ += bytes;
        ++line_;
    }
    /// Whether the line given last was closed by a line end.
    bool LineWasEnded() const { return ended_; }

  private:
    bool Fill();
    std::size_t FindEnd(std::size_t from) const;

    const TextFile& file_;
    Decoder decoder_;
    std::vector<char> buffer_;
    std::size_t filled_ = 0;
    std::size_t at_ = 0;
    std::size_t linesEnd_ = 0;  ///< behind the last line end with something behind it
    std::uint64_t bufferOffset_ = 0;
    std::size_t line_ = 1;
    bool ended_ = true;
};

}  // namespace dravik
