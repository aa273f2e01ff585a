// SPDX-License-Identifier: GPL-3.0-or-later
#include "Formats/MapHeader.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "IO/openInput.h"

namespace {

// Places of the words in the header, counted from 0.
constexpr std::size_t extentWord = 0;
constexpr std::size_t modeWord = 3;
constexpr std::size_t startWord = 4;
constexpr std::size_t samplingWord = 7;
constexpr std::size_t cellWord = 10;
constexpr std::size_t angleWord = 13;
constexpr std::size_t axisWord = 16;
constexpr std::size_t spaceGroupWord = 22;
constexpr std::size_t extendedWord = 23;
constexpr std::size_t originWord = 49;
constexpr std::size_t markByte = 208;
constexpr std::size_t stampByte = 212;

using Triple = std::array<std::int32_t, 3>;

class Words {
public:
    Words(const char* bytes, bool isSwapped) : m_bytes(bytes), m_isSwapped(isSwapped) {}

    bool isSwapped() const { return m_isSwapped; }

    std::int32_t integer(std::size_t word) const { return read<std::int32_t>(word); }

    Triple integers(std::size_t word) const { return {integer(word), integer(word + 1), integer(word + 2)}; }

    std::array<float, 3> floats(std::size_t word) const {
        return {read<float>(word), read<float>(word + 1), read<float>(word + 2)};
    }

private:
    template <class T>
    T read(std::size_t word) const {
        std::uint32_t bits = 0;
        std::memcpy(&bits, m_bytes + 4 * word, sizeof bits);
        if (m_isSwapped) {
            bits = __builtin_bswap32(bits);
        }
        T value;
        static_assert(sizeof value == sizeof bits);
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }

    const char* m_bytes;
    bool m_isSwapped;
};

bool isOfTheFormat(std::int32_t mode) {
    constexpr std::int32_t modes[] = {0, 1, 2, 3, 4, 6, 12, 101};
    return std::find(std::begin(modes), std::end(modes), mode) != std::end(modes);
}

bool isPermutation(const Triple& axes) {
    constexpr Triple straight = {1, 2, 3};
    return std::is_permutation(axes.begin(), axes.end(), straight.begin());
}

/// How many of mode, extents and axes are what a map's may be, 0 to 3. Words of other things seldom are, nor
/// are these in the wrong byte order: an extent below 65536 is none there.
int plausibility(const Words& words) {
    constexpr std::int32_t longestEdge = 0xFFFF;
    const Triple axes = words.integers(axisWord);
    const Triple extents = words.integers(extentWord);
    const bool areExtents = std::all_of(extents.begin(), extents.end(), [](std::int32_t extent) {
        return extent > 0 && extent <= longestEdge;
    });
    const bool areAxes = isPermutation(axes) || axes == Triple{0, 0, 0};
    return (isOfTheFormat(words.integer(modeWord)) ? 1 : 0) + (areExtents ? 1 : 0) + (areAxes ? 1 : 0);
}

/// Whether the stamp tells the other byte order than this machine's.
bool isStampedSwapped(const char* bytes) {
    constexpr char littleEndian = 0x44;
    constexpr char bigEndian = 0x11;
    constexpr std::uint16_t one = 1;
    const bool isLittle = *reinterpret_cast<const char*>(&one) == 1;
    return bytes[stampByte] == (isLittle ? bigEndian : littleEndian);
}

Words wordsOf(const char* bytes, const std::string& path) {
    constexpr int most = 3;
    const Words native(bytes, false);
    const Words swapped(bytes, true);
    const int forNative = plausibility(native);
    const int forSwapped = plausibility(swapped);
    const bool isMarked = std::memcmp(bytes + markByte, "MAP", 3) == 0;
    if (std::max(forNative, forSwapped) < most && !isMarked) {
        throw InputError(path, "not a CCP4 or MRC map: its first 1024 bytes are no header of one", true);
    }
    const bool isSwapped = forNative == forSwapped ? isStampedSwapped(bytes) : forSwapped > forNative;
    return isSwapped ? swapped : native;
}

VoxelMode modeOf(std::int32_t mode, const std::string& path) {
    switch (mode) {
    case 0:
    case 1:
    case 2:
    case 6:
    case 12:
        return static_cast<VoxelMode>(mode);
    case 3:
    case 4:
        throw InputError(path,
                         "mode " + std::to_string(mode) +
                             " holds complex numbers, those of a transform; give the map in real space",
                         true);
    case 101:
        throw InputError(
            path, "mode 101 packs two voxels into a byte; save the map as mode 2 (32-bit floats)", true);
    default:
        throw InputError(path,
                         "the header says mode " + std::to_string(mode) +
                             ", which is none; save the map as mode 2 (32-bit floats)",
                         true);
    }
}

std::array<std::size_t, 3> extentsOf(const Triple& words, const std::string& path) {
    std::array<std::size_t, 3> extents{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (words[axis] < 1) {
            static constexpr const char* names[] = {"columns", "rows", "sections"};
            throw InputError(path,
                             "the header says " + std::to_string(words[axis]) + " " + names[axis] +
                                 ": it is damaged; fetch the file again",
                             true);
        }
        extents[axis] = static_cast<std::size_t>(words[axis]);
    }
    return extents;
}

std::array<int, 3> axesOf(const Triple& words, const std::string& path) {
    if (words == Triple{0, 0, 0}) {
        return {0, 1, 2}; // written before there were such words
    }
    if (!isPermutation(words)) {
        throw InputError(path,
                         "the header gives the axes as " + std::to_string(words[0]) + ", " +
                             std::to_string(words[1]) + ", " + std::to_string(words[2]) +
                             ", which is no order of 1, 2 and 3; correct its words 17 to 19",
                         true);
    }
    return {words[0] - 1, words[1] - 1, words[2] - 1};
}

void checkSpaceGroup(std::int32_t number, const std::string& path) {
    constexpr std::int32_t firstSeries = 401;
    constexpr std::int32_t lastSeries = 630;
    if (number >= firstSeries && number <= lastSeries) {
        throw InputError(path,
                         "space group " + std::to_string(number) +
                             " marks a series of volumes; take one volume out of it and give that",
                         true);
    }
}

} // namespace

std::size_t MapHeader::voxelSize() const {
    switch (mode) {
    case VoxelMode::SignedByte:
        return 1;
    case VoxelMode::Float32:
        return 4;
    default:
        return 2;
    }
}

std::uint64_t MapHeader::voxelBytes() const {
    std::uint64_t bytes = voxelSize();
    for (const std::size_t extent : extents) {
        if (__builtin_mul_overflow(bytes, static_cast<std::uint64_t>(extent), &bytes)) {
            return std::numeric_limits<std::uint64_t>::max();
        }
    }
    return bytes;
}

std::string MapHeader::extentsText() const {
    return std::to_string(extents[0]) + " x " + std::to_string(extents[1]) + " x " +
           std::to_string(extents[2]);
}

MapHeader parseMapHeader(const char* bytes, const std::string& path) {
    const Words words = wordsOf(bytes, path);
    MapHeader header;
    header.isSwapped = words.isSwapped();
    header.mode = modeOf(words.integer(modeWord), path);
    header.extents = extentsOf(words.integers(extentWord), path);
    header.start = words.integers(startWord);
    header.axes = axesOf(words.integers(axisWord), path);
    header.sampling = words.integers(samplingWord);
    header.cell = words.floats(cellWord);
    header.angles = words.floats(angleWord);
    header.origin = words.floats(originWord);
    header.spaceGroup = words.integer(spaceGroupWord);
    header.extendedBytes = words.integer(extendedWord);
    checkSpaceGroup(header.spaceGroup, path);
    return header;
}
