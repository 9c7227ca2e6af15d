#include "dravik/store/Seals.h"

#include <algorithm>
#include <cstring>

#include "dravik/store/Crc32c.h"

namespace dravik::store {
namespace {

template <typename Value>
void Put(Bytes& bytes, Value value) {
    const std::size_t at = bytes.size();
    bytes.resize(at + sizeof value);
    std::memcpy(bytes.data() + at, &value, sizeof value);
}

/// Takes values from the front; false when there are not as many bytes.
class Taker {
  public:
    explicit Taker(std::span<const unsigned char> bytes) : bytes_(bytes) {}
    template <typename Value>
    bool Take(Value& value) {
        if (bytes_.size() < sizeof value)
            return false;
        std::memcpy(&value, bytes_.data(), sizeof value);
        bytes_ = bytes_.subspan(sizeof value);
        return true;
    }
    bool Take(std::string& text, std::size_t length) {
        if (bytes_.size() < length)
            return false;
        text.assign(reinterpret_cast<const char*>(bytes_.data()), length);
        bytes_ = bytes_.subspan(length);
        return true;
    }
    std::size_t Left() const { return bytes_.size(); }

  private:
    std::span<const unsigned char> bytes_;
};

bool IsBelow(const ChunkSums::Line& line, std::int64_t chunk) {
    return line.chunk < chunk;
}

}  // namespace

Bytes EncodeEntries(const Entries& entries) {
    Bytes bytes;
    for (const Entry& entry : entries) {
        Put(bytes, entry.number);
        Put(bytes, entry.seal);
        Put(bytes, static_cast<std::uint16_t>(entry.name.size()));
        bytes.insert(bytes.end(), entry.name.begin(), entry.name.end());
    }
    return bytes;
}

std::optional<Entries> DecodeEntries(std::span<const unsigned char> bytes) {
    Entries entries;
    for (Taker taker(bytes); taker.Left() > 0;) {
        Entry entry;
        std::uint16_t length = 0;
        if (!taker.Take(entry.number) || !taker.Take(entry.seal) || !taker.Take(length) ||
            !taker.Take(entry.name, length))
            return std::nullopt;
        entries.push_back(std::move(entry));
    }
    return entries;
}

Entry* FindByName(Entries& entries, std::string_view name) {
    const auto found =
        std::find_if(entries.begin(), entries.end(), [&](const Entry& entry) { return entry.name == name; });
    return found != entries.end() ? &*found : nullptr;
}

const Entry* FindByNumber(const Entries& entries, std::int64_t number) {
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [&](const Entry& entry) { return entry.number == number; });
    return found != entries.end() ? &*found : nullptr;
}

std::optional<std::uint32_t> ChunkSums::Find(std::int64_t chunk) const {
    const auto found = std::lower_bound(lines_.begin(), lines_.end(), chunk, IsBelow);
    return found != lines_.end() && found->chunk == chunk ? std::optional(found->sum) : std::nullopt;
}

void ChunkSums::Set(std::int64_t chunk, std::uint32_t sum) {
    const auto found = std::lower_bound(lines_.begin(), lines_.end(), chunk, IsBelow);
    if (found != lines_.end() && found->chunk == chunk)
        found->sum = sum;
    else
        lines_.insert(found, {static_cast<std::uint32_t>(chunk), sum});
}

Bytes ChunkSums::Encode() const {
    Bytes bytes;
    for (std::size_t begin = 0; begin < lines_.size();) {
        std::size_t end = begin + 1;
        while (end < lines_.size() && lines_[end].chunk == lines_[end - 1].chunk + 1)
            ++end;
        Put(bytes, lines_[begin].chunk);
        Put(bytes, static_cast<std::uint32_t>(end - begin));
        for (; begin < end; ++begin)
            Put(bytes, lines_[begin].sum);
    }
    return bytes;
}

std::optional<ChunkSums> ChunkSums::Decode(std::span<const unsigned char> bytes) {
    ChunkSums sums;
    sums.lines_.reserve(bytes.size() / sizeof(std::uint32_t));
    std::int64_t next = 0;
    for (Taker taker(bytes); taker.Left() > 0;) {
        std::uint32_t chunk = 0;
        std::uint32_t count = 0;
        if (!taker.Take(chunk) || !taker.Take(count) || chunk < next || count > UINT32_MAX - chunk)
            return std::nullopt;
        next = std::int64_t{chunk} + count;
        for (std::uint32_t sum = 0; chunk < next; ++chunk) {
            if (!taker.Take(sum))
                return std::nullopt;
            sums.lines_.push_back({chunk, sum});
        }
    }
    return sums;
}

RowSum::RowSum(char kind, std::int64_t number) : crc_(Crc32c(&kind, 1)) {
    Add(number);
}

RowSum& RowSum::Add(std::int64_t value) {
    crc_ = Crc32c(&value, sizeof value, crc_);
    return *this;
}

RowSum& RowSum::Add(std::span<const unsigned char> bytes) {
    Add(static_cast<std::int64_t>(bytes.size()));
    crc_ = Crc32c(bytes.data(), bytes.size(), crc_);
    return *this;
}

RowSum& RowSum::Add(std::string_view text) {
    return Add(std::span(reinterpret_cast<const unsigned char*>(text.data()), text.size()));
}

}  // namespace dravik::store
