// Which encoding a text file is in, and its lines in UTF-8.
#pragma once

#include <iconv.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace dravik {

/// An encoding by its iconv name, with what the search for line ends needs to know.
struct Encoding {
    std::string name = "UTF-8";
    std::size_t unitBytes = 1;    ///< 2 for UTF-16
    std::size_t newlineByte = 0;  ///< which byte of a unit holds an ASCII character
    std::size_t markBytes = 0;    ///< of the byte-order mark that the file begins with

    bool IsUtf8() const { return name == "UTF-8"; }
};

/// By the file's head: UTF-8 with or without mark, UTF-16 with mark or with zeros in only the odd or only the
/// even bytes, else Windows-1252. `cut` tells that the head may end within a character.
Encoding DetectEncoding(std::string_view head, bool cut);

/// The encoding that the user names; the file's mark is still skipped. Throws ChoiceError for a name that
/// iconv does not know.
Encoding NamedEncoding(const std::string& name, std::string_view head);

/// Whether a file with this head is not text at all: archives, databases, pictures, memory images.
bool LooksBinary(std::string_view head, const Encoding& encoding);

/// Turns lines into UTF-8. A byte that means nothing in the encoding becomes U+FFFD.
class Decoder {
  public:
    explicit Decoder(const Encoding& encoding);
    ~Decoder();
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;

    /// `line` itself where it is UTF-8 already, else a text that the next call replaces.
    std::string_view Decode(std::string_view line);

  private:
    void Convert(std::string_view line);

    std::size_t unitBytes_;
    iconv_t converter_ = nullptr;  ///< null: the lines are UTF-8
    std::string text_;
};

}  // namespace dravik
