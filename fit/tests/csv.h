// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FIT_TESTS_CSV_H
#define SELVANE_FIT_TESTS_CSV_H

#include <map>
#include <string>
#include <vector>

/// The rows of a table with a head and without quotes, each a text by the name of its column.
/// @throws std::runtime_error for a row that is shorter or longer than the head
std::vector<std::map<std::string, std::string>> csvRows(const std::string& table);

#endif
