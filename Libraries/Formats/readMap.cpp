// SPDX-License-Identifier: GPL-3.0-or-later
#include "Formats/readMap.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <utility>

#include "Formats/InputBytes.h"
#include "Formats/MapHeader.h"
#include "Formats/VoxelLattice.h"
#include "Formats/readVoxels.h"
#include "Formats/resampleSkew.h"
#include "IO/openInput.h"

namespace {

/// A stream of deflate stores a byte in no less than a 1032nd of one.
constexpr std::uint64_t mostFolded = 1100;

MapHeader readHeader(InputBytes& bytes) {
    std::array<char, MapHeader::length> words{};
    const std::size_t got = bytes.read(words.data(), words.size());
    if (got < words.size()) {
        throw InputError(bytes.path(),
                         "not a CCP4 or MRC map: it has " + std::to_string(got) +
                             " bytes, and the header alone takes 1024",
                         true);
    }
    return parseMapHeader(words.data(), bytes.path());
}

/// Bytes from the beginning to the end of the voxels; the highest number where they are more than it.
std::uint64_t endOfVoxels(const MapHeader& header, std::uint64_t begin) {
    std::uint64_t end = 0;
    return __builtin_add_overflow(begin, header.voxelBytes(), &end)
               ? std::numeric_limits<std::uint64_t>::max()
               : end;
}

[[noreturn]] void failTruncated(const MapHeader& header, std::uint64_t length, std::uint64_t end,
                                const std::string& path) {
    if (end == std::numeric_limits<std::uint64_t>::max()) {
        throw InputError(path,
                         "the header tells of " + header.extentsText() +
                             " voxels, which no file holds: it is damaged; fetch the file again",
                         true);
    }
    throw InputError(path,
                     "truncated: " + header.extentsText() + " voxels end at byte " + std::to_string(end) +
                         ", the file at " + std::to_string(length) + ", so " + std::to_string(end - length) +
                         " bytes are missing; fetch the file again",
                     true);
}

std::uint64_t statedBegin(const MapHeader& header) {
    return MapHeader::length + static_cast<std::uint64_t>(header.extendedBytes);
}

/// Where the voxels of a file of the given length begin. The length has the last word where the header's
/// does not go with it.
std::uint64_t beginOfVoxels(const MapHeader& header, std::uint64_t length, const std::string& path) {
    const bool isStated = header.extendedBytes >= 0;
    if (isStated && endOfVoxels(header, statedBegin(header)) <= length) {
        return statedBegin(header);
    }
    const std::uint64_t least = endOfVoxels(header, MapHeader::length);
    if (least == length) {
        return MapHeader::length; // exactly the voxels and nothing else
    }
    if (length < least) {
        failTruncated(header, length, least, path);
    }
    if (isStated && statedBegin(header) <= length) {
        failTruncated(header, length, endOfVoxels(header, statedBegin(header)), path);
    }
    throw InputError(path,
                     "the header says that " + std::to_string(header.extendedBytes) +
                         " bytes lie between it and the voxels, the file's length leaves " +
                         std::to_string(length - least) + "; correct its word 24",
                     true);
}

/// A map in a gzipped file cannot be longer than the compression reaches.
void checkFolding(const MapHeader& header, const InputBytes& bytes) {
    const std::uint64_t end = endOfVoxels(header, MapHeader::length);
    if (end / mostFolded > bytes.storedSize()) {
        throw InputError(bytes.path(),
                         "the header tells of " + header.extentsText() +
                             " voxels, which no gzipped file of " + std::to_string(bytes.storedSize()) +
                             " bytes holds; fetch the file again",
                         true);
    }
}

/// Voxels and where they began.
struct Body {
    Voxels voxels;
    std::uint64_t begin;
};

Body readPlainBody(InputBytes& bytes, const MapHeader& header) {
    const std::uint64_t begin = beginOfVoxels(header, bytes.storedSize(), bytes.path());
    bytes.skip(begin - bytes.position());
    Body body{readVoxels(bytes, header), begin};
    if (!body.voxels.isComplete) {
        failTruncated(header, bytes.position(), endOfVoxels(header, begin), bytes.path());
    }
    return body;
}

/// The length of what a gzipped file holds is known at its end alone, so the header is believed until the
/// end comes too early.
Body readGzippedBody(InputBytes& bytes, const MapHeader& header) {
    checkFolding(header, bytes);
    if (header.extendedBytes >= 0) {
        const std::uint64_t begin = statedBegin(header);
        bytes.skip(begin - bytes.position());
        Body body{readVoxels(bytes, header), begin};
        if (body.voxels.isComplete) {
            return body;
        }
    }
    bytes.skip(std::numeric_limits<std::uint64_t>::max());
    const std::uint64_t begin = beginOfVoxels(header, bytes.position(), bytes.path());
    bytes = InputBytes(bytes.path());
    bytes.skip(begin);
    Body body{readVoxels(bytes, header), begin};
    if (!body.voxels.isComplete) {
        failTruncated(header, bytes.position(), endOfVoxels(header, begin), bytes.path());
    }
    return body;
}

/// Remarks on what the file has besides the voxels. Reads on: the check of a gzip stream comes at its end.
void remarkRest(InputBytes& bytes, const MapHeader& header, const Body& body,
                std::vector<std::string>& remarks) {
    if (header.extendedBytes < 0 || body.begin != statedBegin(header)) {
        remarks.push_back("The header says that " + std::to_string(header.extendedBytes) +
                          " bytes lie between it and the voxels; by the file's length there are " +
                          std::to_string(body.begin - MapHeader::length) + ".");
    }
    char next = 0;
    if (bytes.read(&next, 1) == 0) {
        return;
    }
    const std::string count =
        bytes.isGzipped() ? "Some" : std::to_string(bytes.storedSize() - endOfVoxels(header, body.begin));
    remarks.push_back(count + " bytes behind the last voxel were ignored.");
}

/// A crystal's map may hold a part that symmetry repeats.
void remarkSymmetry(const MapHeader& header, std::vector<std::string>& remarks) {
    constexpr std::int32_t lastGroup = 230;
    if (header.spaceGroup < 2 || header.spaceGroup > lastGroup) {
        return;
    }
    const std::array<std::size_t, 3> size = sizeOf(header);
    bool isPart = false;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::int32_t intervals = header.sampling[axis];
        isPart = isPart || (intervals > 0 && size[axis] < static_cast<std::size_t>(intervals));
    }
    if (isPart) {
        remarks.push_back("The map covers a part of its cell, which the symmetry of space group " +
                          std::to_string(header.spaceGroup) +
                          " would fill; only the part that is there is searched.");
    }
}

DensityMap straightMap(std::vector<float> values, const MapHeader& header, const VoxelLattice& lattice) {
    DensityMap map;
    map.size = sizeOf(header);
    map.origin = lattice.origin;
    map.voxel = lattice.voxel();
    map.values = std::move(values);
    return map;
}

DensityMap orthogonalMap(std::vector<float> values, const MapHeader& header, const VoxelLattice& lattice,
                         std::vector<std::string>& remarks) {
    if (!lattice.isSkew) {
        return straightMap(std::move(values), header, lattice);
    }
    DensityMap map = resampleSkew(std::move(values), sizeOf(header), lattice);
    char angles[96];
    std::snprintf(angles, sizeof angles, "%.4g, %.4g and %.4g", static_cast<double>(header.angles[0]),
                  static_cast<double>(header.angles[1]), static_cast<double>(header.angles[2]));
    remarks.push_back("The cell has angles of " + std::string(angles) +
                      " degrees; the map was resampled onto a right-angled lattice of " +
                      std::to_string(map.size[0]) + " x " + std::to_string(map.size[1]) + " x " +
                      std::to_string(map.size[2]) + " voxels.");
    return map;
}

/// A cell so skew, or a map so thin in it, that the lattice around it would be mostly empty.
void checkGrowth(const MapHeader& header, const VoxelLattice& lattice, const std::string& path) {
    constexpr double mostGrowth = 8.0;
    if (lattice.isSkew && growthOfResampling(sizeOf(header), lattice) > mostGrowth) {
        throw InputError(
            path,
            "the cell is so skew that a right-angled lattice around the map would have more than "
            "8 times its voxels; resample the map onto a right-angled cell",
            true);
    }
}

} // namespace

MapFile readMap(const std::string& path) {
    InputBytes bytes(path);
    const MapHeader header = readHeader(bytes);
    MapFile file;
    const VoxelLattice lattice = latticeOf(header, file.remarks);
    checkGrowth(header, lattice, path);
    Body body = bytes.isGzipped() ? readGzippedBody(bytes, header) : readPlainBody(bytes, header);
    remarkRest(bytes, header, body, file.remarks);
    remarkSymmetry(header, file.remarks);
    if (body.voxels.notFinite > 0) {
        file.remarks.push_back(std::to_string(body.voxels.notFinite) +
                               " voxels are no finite numbers and count as 0.");
    }
    file.map = orthogonalMap(std::move(body.voxels.values), header, lattice, file.remarks);
    return file;
}
