#include "general/SmallNumber.h"

#include <cmath>
#include <locale>
#include <sstream>

namespace vorela {

// The C library's function would take the decimal sign of the desktop's language, which a program with
// windows has set.
std::optional<double> TooSmallNumber(const std::string& number) {
    std::istringstream text(number);
    text.imbue(std::locale::classic());
    double value = 0.0;
    text >> value;
    return text.fail() || std::abs(value) >= 1.0 ? std::nullopt : std::optional(value);
}

}  // namespace vorela
