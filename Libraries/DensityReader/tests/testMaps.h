// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_DENSITYREADER_TESTS_TESTMAPS_H
#define SELVANE_DENSITYREADER_TESTS_TESTMAPS_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

#include <gtest/gtest.h>

#include "DensityReader/cDensityMapCCP4.h"

/// A directory of its own below the temporary one, gone with the object.
class TemporaryDirectory {
public:
    TemporaryDirectory() {
        std::string path = testing::TempDir() + "selvane_map_XXXXXX";
        if (mkdtemp(path.data()) == nullptr) {
            throw std::string("no temporary directory");
        }
        m_path = path;
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    const std::string& path() const { return m_path; }
    std::string file(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

/// Collects what is written to std::cerr while it lives.
class CapturedErrors {
public:
    CapturedErrors() : m_before(std::cerr.rdbuf(m_text.rdbuf())) {}
    CapturedErrors(const CapturedErrors&) = delete;
    CapturedErrors& operator=(const CapturedErrors&) = delete;
    ~CapturedErrors() { std::cerr.rdbuf(m_before); }
    std::string text() const { return m_text.str(); }

private:
    std::ostringstream m_text;
    std::streambuf* m_before;
};

/// The bytes of a map file, word by word; starts as a map of 3 x 4 x 5 voxels of 1 x 2 x 0.5 angstrom.
class MapBytes {
public:
    std::array<int, 3> extent{3, 4, 5};
    int mode = 2;
    std::array<int, 3> start{0, 0, 0};
    std::array<int, 3> sampling{3, 4, 5};
    std::array<float, 3> cell{3.0F, 8.0F, 2.5F};
    std::array<float, 3> angles{90.0F, 90.0F, 90.0F};
    std::array<int, 3> axisOrder{1, 2, 3};
    std::array<float, 3> statistics{-1.0F, 2.0F, 0.5F};
    int symmetryCount = 0;
    std::array<float, 3> originWords{0.0F, 0.0F, 0.0F};
    std::string mapWord = "MAP ";
    std::string symmetryRecords;
    bool reversed = false; ///< write in the byte order that is not the machine's
    std::vector<float> voxels = numbered(60);

    static std::vector<float> numbered(int count) {
        std::vector<float> values;
        for (int n = 0; n < count; ++n) {
            values.push_back(1.0F + static_cast<float>(n));
        }
        return values;
    }

    std::string bytes() const {
        std::string all(1024, '\0');
        const auto put = [&](std::size_t offset, const auto& words) {
            for (const auto word : words) {
                const std::string text = wordBytes(word);
                all.replace(offset, 4, text);
                offset += 4;
            }
        };
        put(0, extent);
        put(12, std::array<int, 1>{mode});
        put(16, start);
        put(28, sampling);
        put(40, cell);
        put(52, angles);
        put(64, axisOrder);
        put(76, statistics);
        put(88, std::array<int, 2>{1, symmetryCount});
        put(196, originWords);
        all.replace(208, mapWord.size(), mapWord);
        all += symmetryRecords;
        for (const float voxel : voxels) {
            all += wordBytes(voxel);
        }
        return all;
    }

private:
    template <class Word>
    std::string wordBytes(Word word) const {
        std::string text(4, '\0');
        std::memcpy(text.data(), &word, 4);
        if (reversed) {
            std::reverse(text.begin(), text.end());
        }
        return text;
    }
};

inline void writeFile(const std::string& name, const std::string& bytes) {
    std::ofstream(name, std::ios::binary) << bytes;
}

inline std::string readFile(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

struct LoadedMap {
    cDensityMapCCP4 map;
    std::string errors; ///< what load wrote to the error stream
};

inline LoadedMap loadBytes(const std::string& bytes) {
    const TemporaryDirectory directory;
    const std::string name = directory.file("test.map");
    writeFile(name, bytes);
    LoadedMap result;
    const CapturedErrors errors;
    result.map.load(name);
    result.errors = errors.text();
    return result;
}

/// A map with the given box and sizes, whose voxel number n, in grid order, is n + 1.
inline cDensityMapCCP4 numberedMap(const cBBox& box, unsigned int nx, unsigned int ny, unsigned int nz) {
    cGrid grid;
    grid.m_box = box;
    grid.setSize(nx, ny, nz);
    std::vector<double> values(grid.getTotalSize());
    for (std::size_t n = 0; n < values.size(); ++n) {
        values[n] = static_cast<double>(n + 1);
    }
    cDensityMapCCP4 map;
    map.loadFromValues(values, grid);
    return map;
}

#endif
