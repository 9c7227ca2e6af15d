// Unit codes of this process. Each file numbers its own unit texts; a process that has several files open
// needs one numbering over all of them.
#pragma once

#include <cstdint>
#include <string>

namespace dravik::store {

/// The process's code for `text`: 0 for "", a new code for a text not seen before.
std::int32_t ProcessUnitCode(const std::string& text);

/// The text of a code, "" for an unknown one. Lives as long as the library.
const char* ProcessUnitText(std::int32_t code);

}  // namespace dravik::store
