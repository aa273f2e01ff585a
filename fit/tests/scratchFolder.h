// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FIT_TESTS_SCRATCHFOLDER_H
#define SELVANE_FIT_TESTS_SCRATCHFOLDER_H

#include <filesystem>
#include <set>
#include <string>

/// A folder of its own for a test, which goes away with this object.
class ScratchFolder {
public:
    ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder();

    std::string of(const std::string& name) const { return (m_path / name).string(); }
    void write(const std::string& name, const std::string& text) const;
    std::string read(const std::string& name) const;
    bool has(const std::string& name) const { return std::filesystem::exists(m_path / name); }
    /// Files and folders below it at any depth, as paths relative to it.
    std::set<std::string> entries() const;

private:
    std::filesystem::path m_path;
};

#endif
