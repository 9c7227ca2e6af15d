// Text from files on its way to a terminal.
#pragma once

#include <string>
#include <string_view>

namespace vorela {

/// The text with every control character (C0, DEL, C1) and every byte that is not UTF-8 as "\xNN": a name out
/// of a file cannot move the cursor, colour the screen or answer in the user's place. For what people read;
/// CSV, JSON and LAS have rules of their own.
std::string TerminalText(std::string_view text);

/// The same for a text of several lines: line feeds stay.
std::string TerminalLines(std::string_view text);

}  // namespace vorela
