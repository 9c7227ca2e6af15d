#include "dravik/exchange/Encoding.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "dravik/exchange/ExchangeError.h"
#include "general/NumberText.h"

namespace dravik {
namespace {

constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view littleMark = "\xFF\xFE";
constexpr std::string_view bigMark = "\xFE\xFF";

Encoding Utf16(bool bigEndian, std::size_t markBytes) {
    return {bigEndian ? "UTF-16BE" : "UTF-16LE", 2, bigEndian ? std::size_t{1} : std::size_t{0}, markBytes};
}

/// Length of the UTF-8 sequence that a byte begins; 0 for a byte that begins none.
std::size_t SequenceLength(unsigned char lead) {
    if (lead < 0x80)
        return 1;
    if (lead >= 0xC2 && lead <= 0xDF)
        return 2;
    if (lead >= 0xE0 && lead <= 0xEF)
        return 3;
    return lead >= 0xF0 && lead <= 0xF4 ? 4 : 0;
}

/// Where the ASCII characters from `at` on end, or a few before that.
std::size_t SkipAscii(std::string_view text, std::size_t at) {
    constexpr std::uint64_t highBits = 0x8080808080808080;
    std::uint64_t bytes = 0;
    for (; at + sizeof bytes <= text.size(); at += sizeof bytes) {
        std::memcpy(&bytes, text.data() + at, sizeof bytes);
        if ((bytes & highBits) != 0)
            break;
    }
    return at;
}

bool IsUtf8(std::string_view text, bool cut) {
    for (std::size_t at = SkipAscii(text, 0); at < text.size(); at = SkipAscii(text, at)) {
        const std::size_t length = SequenceLength(static_cast<unsigned char>(text[at]));
        if (length == 0)
            return false;
        for (std::size_t i = 1; i < length; ++i) {
            if (at + i >= text.size())
                return cut;
            if ((static_cast<unsigned char>(text[at + i]) & 0xC0) != 0x80)
                return false;
        }
        at += length;
    }
    return true;
}

/// Zeros at even and at odd places.
std::array<std::size_t, 2> ZerosBySide(std::string_view text) {
    std::array<std::size_t, 2> zeros{};
    for (std::size_t at = text.find('\0'); at != std::string_view::npos; at = text.find('\0', at + 1))
        ++zeros[at % 2];
    return zeros;
}

bool IsControl(char c) {
    return static_cast<unsigned char>(c) < 0x20 &&
           std::string_view("\t\n\r\f\v\x1A\x1B\x02\x03").find(c) == std::string_view::npos;
}

}  // namespace

Encoding DetectEncoding(std::string_view head, bool cut) {
    if (head.starts_with(utf8Mark))
        return {"UTF-8", 1, 0, utf8Mark.size()};
    if (head.starts_with(littleMark) || head.starts_with(bigMark))
        return Utf16(head.starts_with(bigMark), 2);
    const std::array<std::size_t, 2> zeros = ZerosBySide(head);
    for (const std::size_t side : {std::size_t{0}, std::size_t{1}}) {
        if (zeros[side] * 5 > head.size() && zeros[1 - side] == 0)  // 40 % of one half of the bytes
            return Utf16(side == 0, 0);
    }
    if (IsUtf8(head, cut))
        return {};
    return {"WINDOWS-1252", 1, 0, 0};
}

Encoding NamedEncoding(const std::string& name, std::string_view head) {
    using vorela::EqualIgnoringCase;
    const iconv_t probe = iconv_open("UTF-8", name.c_str());
    // NOLINTNEXTLINE(performance-no-int-to-ptr): what iconv_open is specified to return
    if (probe == reinterpret_cast<iconv_t>(-1))
        throw ChoiceError("--encoding " + name + ": there is no such encoding");
    iconv_close(probe);
    if (EqualIgnoringCase(name, "UTF-8") || EqualIgnoringCase(name, "UTF8"))
        return {"UTF-8", 1, 0, head.starts_with(utf8Mark) ? utf8Mark.size() : 0};
    if (name.size() >= 6 && EqualIgnoringCase(std::string_view(name).substr(0, 6), "UTF-16")) {
        const bool big = EqualIgnoringCase(name, "UTF-16BE") || head.starts_with(bigMark);
        return Utf16(big, head.starts_with(bigMark) || head.starts_with(littleMark) ? 2 : 0);
    }
    return {name, 1, 0, 0};
}

bool LooksBinary(std::string_view head, const Encoding& encoding) {
    for (const std::string_view magic : {"PK\x03\x04", "\x1F\x8B", "SQLite format 3", "\xD0\xCF\x11\xE0",
                                         "%PDF", "\x89PNG", "\177ELF", "7z\xBC\xAF", "MATLAB 5.0 MAT"}) {
        if (head.starts_with(magic))
            return true;
    }
    if (encoding.unitBytes != 1)
        return false;
    const auto controls = static_cast<std::size_t>(std::count_if(head.begin(), head.end(), IsControl));
    return controls * 100 > head.size();
}

Decoder::Decoder(const Encoding& encoding) : unitBytes_(encoding.unitBytes) {
    if (!encoding.IsUtf8())
        converter_ = iconv_open("UTF-8", encoding.name.c_str());
}

Decoder::~Decoder() {
    if (converter_ != nullptr)
        iconv_close(converter_);
}

std::string_view Decoder::Decode(std::string_view line) {
    if (converter_ == nullptr)
        return line;
    const auto isAscii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
    if (unitBytes_ == 1 && std::all_of(line.begin(), line.end(), isAscii))
        return line;
    Convert(line);
    return text_;
}

void Decoder::Convert(std::string_view line) {
    text_.resize(line.size() * 4 + 16);
    iconv(converter_, nullptr, nullptr, nullptr, nullptr);
    char* in = const_cast<char*>(line.data());  // iconv's signature; it does not write there
    std::size_t inLeft = line.size();
    char* out = text_.data();
    std::size_t outLeft = text_.size();
    while (inLeft > 0 && iconv(converter_, &in, &inLeft, &out, &outLeft) == static_cast<std::size_t>(-1)) {
        if (errno == E2BIG || outLeft < 3)
            break;
        for (const char c : std::string_view("\xEF\xBF\xBD"))
            *out++ = c;
        outLeft -= 3;
        const std::size_t skipped = std::min(inLeft, unitBytes_);
        in += skipped;
        inLeft -= skipped;
    }
    text_.resize(static_cast<std::size_t>(out - text_.data()));
}

}  // namespace dravik
