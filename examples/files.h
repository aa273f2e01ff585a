// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_EXAMPLES_FILES_H
#define SELVANE_EXAMPLES_FILES_H

#include <string>

namespace example {

/// @throws std::runtime_error when the file cannot be opened
std::string readFile(const std::string& path);

/// @throws std::runtime_error when the file cannot be written completely
void writeFile(const std::string& path, const std::string& bytes);

} // namespace example

#endif
