// SPDX-License-Identifier: GPL-3.0-or-later
#include "fit/tests/scratchFolder.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

ScratchFolder::ScratchFolder() {
    std::string name = (fs::temp_directory_path() / "selvane-fit-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no folder for the test");
    }
    m_path = name;
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

void ScratchFolder::write(const std::string& name, const std::string& text) const {
    fs::create_directories((m_path / name).parent_path());
    std::ofstream(m_path / name, std::ios::binary) << text;
}

std::string ScratchFolder::read(const std::string& name) const {
    std::ifstream file(m_path / name, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::set<std::string> ScratchFolder::entries() const {
    std::set<std::string> names;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(m_path)) {
        names.insert(entry.path().lexically_relative(m_path).string());
    }
    return names;
}
