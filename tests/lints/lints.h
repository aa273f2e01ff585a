// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_TESTS_LINTS_LINTS_H
#define SELVANE_TESTS_LINTS_LINTS_H

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// Rules of the project that a compiler does not check. Each returns one line per fault, none when all is
/// well.
namespace lints {

/// The table of layers.txt.
struct Layers {
    /// Pattern of a file and its layer, the first match counts.
    std::vector<std::pair<std::string, std::string>> files;
    /// For each layer what it may include in headers, itself included, closed under "may include".
    std::map<std::string, std::set<std::string>> headers;
    /// The same for its sources.
    std::map<std::string, std::set<std::string>> sources;
    /// Pattern of another library's header and the layers that may include it.
    std::vector<std::pair<std::string, std::set<std::string>>> external;

    /// The layer of a file named as in an include, "Math/cGrid.h"; empty when no line matches.
    std::string layerOf(const std::string& file) const;
};

/// Does the text match the pattern, in which * stands for any characters?
bool matches(const std::string& pattern, const std::string& text);

/// @throws std::runtime_error for a line of no known form or a layer without files
Layers parseLayers(const std::string& table);

/// Includes of root/Libraries and root/app, those of tests left out, that go against the layers: a layer
/// above, a header that does not exist, another library's header where it may not stand; and files without a
/// layer.
std::vector<std::string> layerFaults(const std::filesystem::path& root, const Layers& layers);

/// Sources and headers whose first line is not the licence line.
std::vector<std::string> licenceFaults(const std::filesystem::path& root);

/// Files x_test.cpp that no CMakeLists.txt names, so that they never run, and names of such files that do not
/// exist.
std::vector<std::string> testListFaults(const std::filesystem::path& root);

} // namespace lints

#endif
