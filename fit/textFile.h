// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FIT_TEXTFILE_H
#define SELVANE_FIT_TEXTFILE_H

#include <string>

/// Writes a file that appears under its name only when it is complete.
/// @throws std::runtime_error with the path and the reason when it cannot be written
void writeTextFile(const std::string& path, const std::string& text);

#endif
