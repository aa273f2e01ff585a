// SPDX-License-Identifier: GPL-3.0-or-later
// Feeds files to a fuzz target, those of a directory in the order of their names.
//   replay_TARGET FILE_OR_DIRECTORY...
#include <algorithm>
#include <iterator>
#include <vector>

#include "fuzz/fuzzTarget.h"

namespace fs = std::filesystem;

namespace {

std::vector<fs::path> filesOf(const fs::path& path) {
    if (!fs::is_directory(path)) {
        return {path};
    }
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

int main(int argc, char** argv) {
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        for (const fs::path& file : filesOf(argv[i])) {
            std::printf("%s\n", file.c_str());
            std::fflush(stdout); // names the input that ends the process
            std::ifstream stream(file, std::ios::binary);
            const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
            ++count;
        }
    }
    std::printf("%d inputs\n", count);
    return count > 0 ? 0 : 1;
}
