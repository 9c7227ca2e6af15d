#include "dravik/exchange/TextFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "dravik/exchange/ExchangeError.h"

namespace dravik {
namespace {

constexpr std::size_t blockBytes = std::size_t{256} * 1024;

/// What loggers and old systems leave behind a text: zeros of a preallocated file, Ctrl-Z.
bool IsPadding(const char* unit, const Encoding& encoding) {
    const char low = unit[encoding.newlineByte];
    const char high = encoding.unitBytes == 2 ? unit[1 - encoding.newlineByte] : '\0';
    return high == '\0' && (low == '\0' || low == '\x1A');
}

}  // namespace

TextFile::TextFile(std::string path, const std::string& encoding) : path_(std::move(path)) {
    descriptor_ = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat status {};
    if (descriptor_ < 0 || ::fstat(descriptor_, &status) != 0)
        Fail();
    try {
        if (!S_ISREG(status.st_mode))
            throw ExchangeError("it is not a file");
        const auto size = static_cast<std::uint64_t>(status.st_size);
        version_ = {size, status.st_mtim.tv_sec * std::int64_t{1000000000} + status.st_mtim.tv_nsec};
        std::string head(std::min<std::uint64_t>(size, headBytes), '\0');
        head.resize(Read(0, head.data(), head.size()));
        encoding_ =
            encoding.empty() ? DetectEncoding(head, size > head.size()) : NamedEncoding(encoding, head);
        end_ = EndWithoutPadding(size);
        headEnd_ = std::min<std::uint64_t>(end_, headBytes);
        head.resize(std::min<std::size_t>(head.size(), headEnd_));
        if (LooksBinary(head, encoding_))
            throw ExchangeError("it is a binary file, not text");
        if (end_ <= Begin() ||
            head.find_first_not_of(std::string_view(" \t\r\n\0", 5), Begin()) == std::string::npos)
            throw ExchangeError("the file is empty");
        if (head.find('\n') == std::string::npos && head.find('\r') != std::string::npos)
            lineEnd_ = '\r';
    } catch (...) {
        ::close(descriptor_);
        throw;
    }
}

TextFile::~TextFile() {
    ::close(descriptor_);
}

void TextFile::Fail() const {
    throw ExchangeError(std::string("it cannot be read: ") + std::strerror(errno));
}

std::size_t TextFile::Read(std::uint64_t offset, char* bytes, std::size_t count) const {
    std::size_t done = 0;
    while (done < count) {
        const ssize_t got =
            ::pread(descriptor_, bytes + done, count - done, static_cast<off_t>(offset + done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            Fail();
        if (got == 0)
            break;
        done += static_cast<std::size_t>(got);
    }
    return done;
}

std::uint64_t TextFile::EndWithoutPadding(std::uint64_t size) const {
    const std::size_t unit = encoding_.unitBytes;
    std::vector<char> block(static_cast<std::size_t>(std::min<std::uint64_t>(size, blockBytes)));
    std::uint64_t end = size - (size - std::min<std::uint64_t>(size, encoding_.markBytes)) % unit;
    while (end > Begin()) {
        const std::uint64_t from = std::max(Begin(), end > blockBytes ? end - blockBytes : 0);
        const std::uint64_t begin = from + (end - from) % unit;
        std::size_t count = Read(begin, block.data(), static_cast<std::size_t>(end - begin));
        while (count >= unit && IsPadding(block.data() + count - unit, encoding_))
            count -= unit;
        if (count > 0 || begin <= Begin())
            return begin + count;
        end = begin;
    }
    return end;
}

LineReader::LineReader(const TextFile& file)
    : file_(file),
      decoder_(file.TextEncoding()),
      buffer_(static_cast<std::size_t>(std::min<std::uint64_t>(file.End() - file.Begin(), blockBytes))),
      bufferOffset_(file.Begin()) {}

void LineReader::Seek(const Place& place) {
    line_ = place.line;
    if (place.offset >= bufferOffset_ && place.offset <= bufferOffset_ + filled_) {
        at_ = static_cast<std::size_t>(place.offset - bufferOffset_);
        return;
    }
    bufferOffset_ = place.offset;
    filled_ = 0;
    at_ = 0;
    linesEnd_ = 0;
}

bool LineReader::Fill() {
    std::memmove(buffer_.data(), buffer_.data() + at_, filled_ - at_);
    bufferOffset_ += at_;
    filled_ -= at_;
    at_ = 0;
    const std::uint64_t next = bufferOffset_ + filled_;
    const std::uint64_t left = file_.End() > next ? file_.End() - next : 0;
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(left, blockBytes));
    if (buffer_.size() < filled_ + wanted)
        buffer_.resize(filled_ + wanted);
    const std::size_t got = file_.Read(next, buffer_.data() + filled_, wanted);
    filled_ += got;
    const std::string_view held(buffer_.data(), filled_ > 0 ? filled_ - 1 : 0);
    linesEnd_ = held.rfind(file_.LineEnd()) + 1;  // 0 where there is none
    return got > 0;
}

/// Place of the unit that ends the line in the buffer, `filled_` when there is none.
std::size_t LineReader::FindEnd(std::size_t from) const {
    const Encoding& encoding = file_.TextEncoding();
    if (encoding.unitBytes == 1) {
        const void* found = std::memchr(buffer_.data() + from, file_.LineEnd(), filled_ - from);
        return found == nullptr ? filled_
                                : static_cast<std::size_t>(static_cast<const char*>(found) - buffer_.data());
    }
    const std::size_t odd = (from - at_) % 2;
    for (std::size_t unit = from - odd; unit + 1 < filled_; unit += 2) {
        if (buffer_[unit + encoding.newlineByte] == file_.LineEnd() &&
            buffer_[unit + 1 - encoding.newlineByte] == '\0')
            return unit;
    }
    return filled_;
}

bool LineReader::Next(std::string_view& line) {
    std::size_t end = FindEnd(at_);
    while (end == filled_) {
        const std::size_t searched = filled_ - at_;
        if (searched > longestLine || !Fill()) {
            end = filled_;
            break;
        }
        end = FindEnd(searched);
    }
    if (end - at_ > longestLine)
        throw ExchangeError("line " + std::to_string(line_) + " is longer than 1 MiB");
    ended_ = end < filled_;
    if (!ended_ && at_ == filled_)
        return false;
    line = decoder_.Decode({buffer_.data() + at_, end - at_});
    at_ = ended_ ? end + file_.TextEncoding().unitBytes : end;
    ++line_;
    while (!line.empty() && line.back() == '\r')
        line.remove_suffix(1);
    while (!line.empty() && line.front() == '\r')
        line.remove_prefix(1);
    return true;
}

}  // namespace dravik
