// Makes text that others wrote safe for a terminal or a log.

#pragma once

#include <string>
#include <string_view>

// The text with a "?" in place of every character that could move the cursor, forge a line or turn
// the reading direction: the control characters (C0, newline included, DEL and C1), the marks and
// overrides for bidirectional text, and each byte that is not UTF-8. Everything else stays, in any
// script and of any width.
std::string printable(std::string_view text);
