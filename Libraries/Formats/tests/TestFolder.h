// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_TESTS_TESTFOLDER_H
#define SELVANE_FORMATS_TESTS_TESTFOLDER_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <system_error>

/// A folder of one test, gone with it.
class TestFolder {
public:
    TestFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "selvane_formats_XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        m_path = name;
    }
    ~TestFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    std::string path(const std::string& name) const { return (m_path / name).string(); }

    std::string write(const std::string& name, const std::string& bytes) const {
        const std::string file = path(name);
        std::ofstream(file, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        return file;
    }

private:
    std::filesystem::path m_path;
};

#endif
