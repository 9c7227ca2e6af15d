#include "dravik/store/UnitTexts.h"

#include <algorithm>
#include <deque>

namespace dravik::store {
namespace {

/// By code. A deque, because texts that were given out must not move.
std::deque<std::string>& Texts() {
    static std::deque<std::string> texts{""};
    return texts;
}

}  // namespace

std::int32_t ProcessUnitCode(const std::string& text) {
    auto& texts = Texts();
    const auto found = std::find(texts.begin(), texts.end(), text);
    const auto code = static_cast<std::int32_t>(found - texts.begin());
    if (found == texts.end())
        texts.push_back(text);
    return code;
}

const char* ProcessUnitText(std::int32_t code) {
    const auto& texts = Texts();
    return code >= 0 && static_cast<std::size_t>(code) < texts.size()
               ? texts[static_cast<std::size_t>(code)].c_str()
               : "";
}

}  // namespace dravik::store
