// SPDX-License-Identifier: GPL-3.0-or-later
// What does the reading of a map cost, in units of what no reader can do without? For a plain file that is to
// fetch its bytes and copy them into fresh memory, for a gzipped one to inflate its bytes and forget them.
#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <zlib.h>

#include <benchmark/benchmark.h>

#include "Formats/readMap.h"
#include "Formats/writeMap.h"
#include "benchmarks/wallTime.h"

namespace {

constexpr std::size_t headerBytes = 1024;

/// A noisy ball with nothing around, as maps are deposited: half of the voxels compress, half hardly do.
DensityMap ballOf(std::size_t edge) {
    DensityMap map;
    map.size = {edge, edge, edge};
    map.voxel = cVector3(1.1);
    map.origin = cVector3(-50.0, 20.0, 30.0);
    map.values.reserve(edge * edge * edge);
    const double middle = 0.5 * static_cast<double>(edge);
    unsigned int noise = 1;
    for (std::size_t v = 0; v < edge * edge * edge; ++v) {
        const cVector3 off(static_cast<double>(v / edge / edge) - middle,
                           static_cast<double>(v / edge % edge) - middle,
                           static_cast<double>(v % edge) - middle);
        noise = noise * 1664525U + 1013904223U;
        map.values.push_back(off.norm() < middle ? static_cast<float>(noise) * 1e-9F : 0.0F);
    }
    return map;
}

/// A map as a plain and as a gzipped file, gone with the object.
class MapFiles {
public:
    explicit MapFiles(std::size_t edge) : m_map(ballOf(edge)) {
        std::string name = (std::filesystem::temp_directory_path() / "selvane_reading_XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        m_folder = name;
        writeMap(plain(), m_map);
        std::ifstream stream(plain(), std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
        const gzFile packed = gzopen(gzipped().c_str(), "wb6");
        const bool isWritten =
            packed != nullptr && gzwrite(packed, bytes.data(), static_cast<unsigned int>(bytes.size())) > 0;
        if (!isWritten || gzclose(packed) != Z_OK) {
            throw std::runtime_error("no gzipped file");
        }
    }
    ~MapFiles() {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }
    MapFiles(const MapFiles&) = delete;
    MapFiles& operator=(const MapFiles&) = delete;

    std::string plain() const { return (m_folder / "map").string(); }
    std::string gzipped() const { return (m_folder / "map.gz").string(); }
    const DensityMap& map() const { return m_map; }
    std::size_t bytes() const { return headerBytes + m_map.values.size() * sizeof(float); }

private:
    DensityMap m_map;
    std::filesystem::path m_folder;
};

/// Fetches a file by blocks into fresh memory of its length.
void fetch(const std::string& path, std::size_t bytes) {
    constexpr std::size_t blockSize = 1 << 18;
    std::vector<char> block(blockSize);
    std::vector<char> all(bytes);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
    std::size_t used = 0;
    while (const std::size_t got = std::fread(block.data(), 1, block.size(), file.get())) {
        std::copy_n(block.data(), got, all.data() + used);
        used += got;
    }
    benchmark::DoNotOptimize(all.data());
}

/// Inflates a file and forgets it.
void inflateAll(const std::string& path) {
    constexpr unsigned int blockSize = 1 << 18;
    std::vector<char> block(blockSize);
    const gzFile file = gzopen(path.c_str(), "rb");
    gzbuffer(file, blockSize);
    while (gzread(file, block.data(), blockSize) > 0) {
        benchmark::DoNotOptimize(block.data());
    }
    gzclose(file);
}

/// Reads a map and does what its reading is measured by in turn, so that both see the same machine.
template <class Yardstick>
void readBeside(benchmark::State& state, const MapFiles& files, const std::string& path,
                Yardstick&& yardstick) {
    std::vector<double> readings;
    std::vector<double> others;
    bool isRight = true;
    for ([[maybe_unused]] const auto iteration : state) {
        auto start = std::chrono::steady_clock::now();
        yardstick();
        others.push_back(secondsOf(start));
        start = std::chrono::steady_clock::now();
        const MapFile file = readMap(path);
        readings.push_back(secondsOf(start));
        state.SetIterationTime(readings.back());
        isRight = isRight && file.map.values == files.map().values;
    }
    state.counters["read_ms"] = 1e3 * medianOf(readings);
    state.counters["yardstick_ms"] = 1e3 * medianOf(others);
    state.counters["ratio"] = medianOf(readings) / medianOf(others);
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(files.bytes()));
    if (!isRight) {
        state.SkipWithError("the map is not the one that was written");
    }
}

void plainMap(benchmark::State& state) {
    const MapFiles files(static_cast<std::size_t>(state.range(0)));
    readBeside(state, files, files.plain(), [&] { fetch(files.plain(), files.bytes()); });
}

void gzippedMap(benchmark::State& state) {
    const MapFiles files(static_cast<std::size_t>(state.range(0)));
    readBeside(state, files, files.gzipped(), [&] { inflateAll(files.gzipped()); });
}

BENCHMARK(plainMap)->Arg(64)->Arg(256)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(gzippedMap)->Arg(64)->Arg(256)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
