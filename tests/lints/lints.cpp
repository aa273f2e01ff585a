// SPDX-License-Identifier: GPL-3.0-or-later
#include "lints.h"

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace lints {
namespace {

namespace fs = std::filesystem;

using Graph = std::map<std::string, std::set<std::string>>;

constexpr const char* licence = "// SPDX-License-Identifier: GPL-3.0-or-later";

std::vector<std::string> linesOf(std::istream& in) {
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> linesOfFile(const fs::path& path) {
    std::ifstream in(path);
    return linesOf(in);
}

std::vector<std::string> words(const std::string& text) {
    std::istringstream in(text);
    std::vector<std::string> result;
    for (std::string word; in >> word;) {
        result.push_back(word);
    }
    return result;
}

/// All regular files below some folders of the root, in order, as paths relative to the root.
std::vector<fs::path> filesBelow(const fs::path& root, const std::vector<std::string>& folders) {
    std::vector<fs::path> files;
    for (const std::string& folder : folders) {
        if (!fs::is_directory(root / folder)) {
            continue;
        }
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root / folder)) {
            if (entry.is_regular_file()) {
                files.push_back(entry.path().lexically_relative(root));
            }
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

bool isCode(const fs::path& path) {
    return path.extension() == ".h" || path.extension() == ".cpp";
}

bool isTestFile(const fs::path& path) {
    const std::string name = path.filename().string();
    const std::string ending = "_test.cpp";
    return name.size() > ending.size() &&
           name.compare(name.size() - ending.size(), ending.size(), ending) == 0;
}

bool isBelowTests(const fs::path& path) {
    return std::find(path.begin(), path.end(), fs::path("tests")) != path.end();
}

std::set<std::string> reachable(const Graph& graph, const std::string& from) {
    std::set<std::string> found;
    std::vector<std::string> open = {from};
    while (!open.empty()) {
        const std::string layer = open.back();
        open.pop_back();
        if (found.insert(layer).second && graph.count(layer) > 0) {
            open.insert(open.end(), graph.at(layer).begin(), graph.at(layer).end());
        }
    }
    return found;
}

/// Splits "left SIGN right"; false when the sign does not stand as the second word.
bool split(const std::string& line, const std::string& sign, std::string& left,
           std::vector<std::string>& right) {
    std::vector<std::string> all = words(line);
    if (all.size() < 2 || all[1] != sign) {
        return false;
    }
    left = all[0];
    right.assign(all.begin() + 2, all.end());
    return true;
}

std::string without(const std::string& text, char open, char close) {
    const bool enclosed = text.size() > 2 && text.front() == open && text.back() == close;
    return enclosed ? text.substr(1, text.size() - 2) : text;
}

void parseLine(const std::string& line, Layers& layers, Graph& direct, Graph& forSources) {
    std::string left;
    std::vector<std::string> right;
    if (split(line, "=", left, right)) {
        for (const std::string& pattern : right) {
            layers.files.emplace_back(pattern, left);
        }
    } else if (split(line, "->", left, right)) {
        direct[left];
        for (const std::string& word : right) {
            const std::string layer = without(word, '(', ')');
            (layer == word ? direct : forSources)[left].insert(layer);
        }
    } else if (split(line, ":", left, right)) {
        layers.external.emplace_back(without(left, '<', '>'),
                                     std::set<std::string>(right.begin(), right.end()));
    } else {
        throw std::runtime_error("not a line of a layer table: " + line);
    }
}

void requireFiles(const Layers& layers, const Graph& graph) {
    for (const auto& [layer, uses] : graph) {
        std::set<std::string> names = uses;
        names.insert(layer);
        for (const std::string& name : names) {
            const auto isNamed = [&name](const auto& line) { return line.second == name; };
            if (std::none_of(layers.files.begin(), layers.files.end(), isNamed)) {
                throw std::runtime_error("the layer table has no files for " + name);
            }
        }
    }
}

/// The name by which other files include this one: below Libraries its path from there, otherwise from the
/// root.
std::string includeName(const fs::path& path) {
    return *path.begin() == "Libraries" ? path.lexically_relative("Libraries").generic_string()
                                        : path.generic_string();
}

bool existsAsHeader(const fs::path& root, const std::string& name) {
    return fs::is_regular_file(root / "Libraries" / name) || fs::is_regular_file(root / name);
}

/// Why the include of `header` (between quotes or angle brackets) must not stand in a file of this layer;
/// empty if it may.
std::string objection(const fs::path& root, const Layers& layers, const std::string& layer, bool inSource,
                      const std::string& header, bool quoted) {
    if (!quoted) {
        for (const auto& [pattern, allowed] : layers.external) {
            if (matches(pattern, header) && allowed.count(layer) == 0) {
                return layer + " must not include <" + header + ">";
            }
        }
        return "";
    }
    if (!existsAsHeader(root, header)) {
        return "there is no header \"" + header + "\"";
    }
    const std::string target = layers.layerOf(header);
    const auto& table = inSource ? layers.sources : layers.headers;
    const auto allowed = table.find(layer);
    if (allowed == table.end() || allowed->second.count(target) == 0) {
        return layer + " must not include \"" + header + "\" of " + (target.empty() ? "no layer" : target);
    }
    return "";
}

/// What an include line names, with whether it stands between quotes; an empty name for any other line.
std::pair<std::string, bool> includeOf(const std::string& line) {
    const std::size_t hash = line.find_first_not_of(" \t");
    if (hash == std::string::npos || line[hash] != '#') {
        return {"", false};
    }
    const std::string word = "include";
    const std::size_t directive = line.find_first_not_of(" \t", hash + 1);
    if (directive == std::string::npos || line.compare(directive, word.size(), word) != 0) {
        return {"", false};
    }
    const std::size_t open = line.find_first_not_of(" \t", directive + word.size());
    if (open == std::string::npos || (line[open] != '"' && line[open] != '<')) {
        return {"", false};
    }
    const bool quoted = line[open] == '"';
    const std::size_t close = line.find(quoted ? '"' : '>', open + 1);
    return {line.substr(open + 1, close - open - 1), quoted};
}

void checkIncludes(const fs::path& root, const fs::path& path, const Layers& layers,
                   std::vector<std::string>& faults) {
    const std::string layer = layers.layerOf(includeName(path));
    if (layer.empty()) {
        faults.push_back(path.generic_string() + ": no layer of the table holds this file");
        return;
    }
    int number = 0;
    for (const std::string& line : linesOfFile(root / path)) {
        ++number;
        const auto [header, quoted] = includeOf(line);
        if (header.empty()) {
            continue;
        }
        const std::string reason = objection(root, layers, layer, path.extension() == ".cpp", header, quoted);
        if (!reason.empty()) {
            faults.push_back(path.generic_string() + ":" + std::to_string(number) + ": " + reason);
        }
    }
}

/// The files x_test.cpp that a CMakeLists.txt names, relative to the root.
std::set<fs::path> namedTests(const fs::path& root, const fs::path& cmakeLists) {
    const std::string here = "${CMAKE_CURRENT_SOURCE_DIR}/";
    std::set<fs::path> named;
    for (const std::string& line : linesOfFile(root / cmakeLists)) {
        std::string code = line.substr(0, line.find('#'));
        std::replace_if(
            code.begin(), code.end(), [](char c) { return c == '(' || c == ')'; }, ' ');
        for (const std::string& word : words(code)) {
            const std::string file =
                word.compare(0, here.size(), here) == 0 ? word.substr(here.size()) : word;
            if (isTestFile(file)) {
                named.insert((cmakeLists.parent_path() / file).lexically_normal());
            }
        }
    }
    return named;
}

const std::vector<std::string>& codeFolders() {
    static const std::vector<std::string> folders = {"Libraries",  "app",      "fit",
                                                     "benchmarks", "examples", "tests"};
    return folders;
}

} // namespace

bool matches(const std::string& pattern, const std::string& text) {
    const std::size_t star = pattern.find('*');
    if (star == std::string::npos) {
        return pattern == text;
    }
    if (text.compare(0, star, pattern, 0, star) != 0) {
        return false;
    }
    const std::string rest = pattern.substr(star + 1);
    for (std::size_t i = star; i <= text.size(); ++i) {
        if (matches(rest, text.substr(i))) {
            return true;
        }
    }
    return false;
}

std::string Layers::layerOf(const std::string& file) const {
    for (const auto& [pattern, layer] : files) {
        if (matches(pattern, file)) {
            return layer;
        }
    }
    return "";
}

Layers parseLayers(const std::string& table) {
    Layers layers;
    Graph direct;
    Graph forSources;
    std::istringstream in(table);
    for (const std::string& line : linesOf(in)) {
        if (!words(line).empty() && line.front() != '#') {
            parseLine(line, layers, direct, forSources);
        }
    }
    requireFiles(layers, direct);
    requireFiles(layers, forSources);
    for (const auto& [layer, uses] : direct) {
        layers.headers[layer] = reachable(direct, layer);
        layers.sources[layer] = layers.headers[layer];
        for (const std::string& extra : forSources[layer]) {
            layers.sources[layer].merge(reachable(direct, extra));
        }
    }
    return layers;
}

std::vector<std::string> layerFaults(const fs::path& root, const Layers& layers) {
    std::vector<std::string> faults;
    for (const fs::path& path : filesBelow(root, {"Libraries", "app", "fit"})) {
        if (isCode(path) && !isBelowTests(path)) {
            checkIncludes(root, path, layers, faults);
        }
    }
    return faults;
}

std::vector<std::string> licenceFaults(const fs::path& root) {
    std::vector<std::string> faults;
    for (const fs::path& path : filesBelow(root, codeFolders())) {
        std::ifstream in(root / path);
        std::string first;
        if (isCode(path) && (!std::getline(in, first) || first != licence)) {
            faults.push_back(path.generic_string() + ": the first line must be " + licence);
        }
    }
    return faults;
}

std::vector<std::string> testListFaults(const fs::path& root) {
    std::set<fs::path> named;
    std::set<fs::path> present;
    std::vector<std::string> faults;
    for (const fs::path& path : filesBelow(root, codeFolders())) {
        if (isTestFile(path)) {
            present.insert(path);
        } else if (path.filename() == "CMakeLists.txt") {
            named.merge(namedTests(root, path));
        }
    }
    for (const fs::path& path : present) {
        if (named.count(path) == 0) {
            faults.push_back(path.generic_string() + ": no CMakeLists.txt names this test");
        }
    }
    for (const fs::path& path : named) {
        if (present.count(path) == 0) {
            faults.push_back(path.generic_string() + ": named in a CMakeLists.txt but missing");
        }
    }
    return faults;
}

} // namespace lints
