#include "dravik/exchange/Numbers.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <system_error>

#include "dravik/exchange/Cells.h"
#include "general/SmallNumber.h"

namespace dravik {
namespace {

constexpr std::size_t longestNumber = 64;

/// A number's text with a point and without groups.
class PlainText {
  public:
    PlainText(std::string_view cell, const NumberFormat& format) : text_(cell) {
        if (!text_.empty() && text_.front() == '+')
            text_.remove_prefix(1);
        if (!text_.empty() && text_.front() == '+')
            text_ = {};
        if (format.decimal != '.' || format.group != '\0')
            Rewrite(format);
    }
    std::string_view View() const { return text_; }

  private:
    void Rewrite(const NumberFormat& format) {
        NumberShape shape;
        if (text_.size() > longestNumber || !ShapeOfNumber(text_, shape) || !Agrees(shape, format)) {
            text_ = {};
            return;
        }
        std::size_t length = 0;
        for (const char c : text_) {
            if (c != format.group)
                buffer_[length++] = c == format.decimal ? '.' : c;
        }
        text_ = {buffer_.data(), length};
    }
    static bool Agrees(const NumberShape& shape, const NumberFormat& format) {
        const std::size_t decimals = format.decimal == '.' ? shape.points : shape.commas;
        const std::size_t others = format.decimal == '.' ? shape.commas : shape.points;
        if (others == 0)
            return decimals <= 1;
        return format.group != '\0' && decimals <= 1 && shape.groupsOfThree &&
               (decimals == 0 || shape.lastMark == format.decimal);
    }

    std::string_view text_;
    std::array<char, longestNumber> buffer_{};
};

template <typename Real>
bool FromChars(std::string_view text, Real& value) {
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ptr != text.data() + text.size() || text.empty() || result.ec == std::errc::invalid_argument)
        return false;
    if (result.ec == std::errc::result_out_of_range) {
        // Too small is as good as its nearest neighbour; only too large is lost.
        const std::optional<double> small = vorela::TooSmallNumber(std::string(text));
        value = small ? static_cast<Real>(*small) : std::numeric_limits<Real>::infinity();
        return true;
    }
    return std::isfinite(value);
}

constexpr std::ptrdiff_t exactDigits = 15;
constexpr std::ptrdiff_t mostScannedDigits = 19;

}  // namespace

bool ReadNumber(std::string_view cell, const NumberFormat& format, double& value) {
    return ReadPlain(cell, format.decimal, exactDigits, value) ||
           FromChars(PlainText(cell, format).View(), value);
}

bool ReadSingle(std::string_view cell, const NumberFormat& format, double& value) {
    if (!ReadNumber(cell, format, value))
        return false;
    const bool isSubnormal = std::abs(value) < static_cast<double>(std::numeric_limits<float>::min());
    if (!isSubnormal && !IsMidwayBetweenSingles(value) &&
        std::abs(value) < static_cast<double>(std::numeric_limits<float>::max()))
        return true;
    float single = 0.0F;
    FromChars(PlainText(cell, format).View(), single);
    value = static_cast<double>(single);
    return true;
}

bool ScanNumber(std::string_view cell, const NumberFormat& format, double& value) {
    return ReadPlain(cell, format.decimal, mostScannedDigits, value) || ReadNumber(cell, format, value);
}

}  // namespace dravik
