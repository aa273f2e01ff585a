// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_IO_PRINTABLE_H
#define SELVANE_IO_PRINTABLE_H

#include <string>
#include <string_view>

/// The text as one line that a terminal shows and does not obey, for names and contents that come from
/// outside: control characters (below blank, 127, and the second set at U+0080 to U+009F) and bytes that are
/// no UTF-8 become \xNN each, N being an upper-case hexadecimal digit. Everything else, a backslash included,
/// stays as it is.
std::string printable(std::string_view text);

#endif
