// SPDX-License-Identifier: GPL-3.0-or-later
#include "fit/tests/csv.h"

#include <sstream>
#include <stdexcept>

namespace {

std::vector<std::string> fieldsOf(const std::string& line) {
    std::vector<std::string> fields;
    std::istringstream in(line + ",");
    for (std::string field; std::getline(in, field, ',');) {
        fields.push_back(field);
    }
    return fields;
}

} // namespace

std::vector<std::map<std::string, std::string>> csvRows(const std::string& table) {
    std::istringstream lines(table);
    std::string line;
    std::getline(lines, line);
    const std::vector<std::string> head = fieldsOf(line);
    std::vector<std::map<std::string, std::string>> rows;
    while (std::getline(lines, line)) {
        const std::vector<std::string> fields = fieldsOf(line);
        if (fields.size() != head.size()) {
            throw std::runtime_error("the head and this row differ in length: " + line);
        }
        rows.emplace_back();
        for (std::size_t i = 0; i < head.size(); ++i) {
            rows.back()[head[i]] = fields[i];
        }
    }
    return rows;
}
