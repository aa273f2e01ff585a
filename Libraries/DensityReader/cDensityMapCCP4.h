// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_DENSITYREADER_CDENSITYMAPCCP4_H
#define SELVANE_DENSITYREADER_CDENSITYMAPCCP4_H

#include <array>
#include <cstdint>
#include <cstdio>
#include <iosfwd>
#include <limits>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "DensityReader/cDensityMapInterface.h"

/// A density map in the CCP4 format: a header of 1024 bytes, an optional block of symmetry records, then
/// 32-bit floats, columns fastest, then rows, then sections. The members are the header as read.
///
/// A reader of a hostile file never leaves its arrays and sizes none by a number that the file's length does
/// not bear out. Where load gives up it says so on the standard error stream and leaves the map empty; see
/// isEmpty and getDefect.
class cDensityMapCCP4 : public cDensityMapInterface {
public:
    std::array<int, 3> m_extent{};        ///< NC, NR, NS: columns, rows, sections
    int m_mode = 0;                       ///< data type; 2 is 32-bit floats
    std::array<int, 3> m_start{};         ///< NCSTART, NRSTART, NSSTART
    std::array<int, 3> m_sampling{};      ///< NX, NY, NZ: intervals along the cell edges
    std::array<int, 3> m_axisOrder{};     ///< MAPC, MAPR, MAPS: the axis (1 = x) of column, row, section
    std::array<float, 3> m_cellLengths{}; ///< a, b, c, angstrom
    std::array<float, 3> m_cellAngles{};  ///< alpha, beta, gamma, degrees
    std::set<std::string> m_extensions{"ccp4"};
    /// Of the maps that load takes: no more than a grid can have nodes, and fewer where memory is scarce.
    std::int64_t m_largestVoxelCount = std::numeric_limits<std::int32_t>::max();
    std::array<float, 3> m_originWords{};   ///< the ORIGIN words. Deliberate: they place nothing
    cVector3 m_firstVoxelByStartWords{0.0}; ///< place of the first voxel by the start words, angstrom

    using cDensityMapInterface::getValue;
    std::vector<double> getValue() const override;

    /// Reads a map. m_origin is one voxel above the place that the start words tell, along each axis: the
    /// poses of a fit count on it. AMIN, AMAX, AMEAN become the statistics as they stand in the file, in its
    /// byte order even where that is the opposite one.
    ///
    /// An unreadable data type, a file that is too short or far too long, extents below one or an axis order
    /// that is no permutation leave the map empty, with a message on the standard error stream; so is a
    /// missing "MAP" word told, which stops nothing.
    /// @throws std::string when the file can't be opened; the map is then as it was
    void load(const std::string& name) override;
    /// Writes m_extent voxels under the header as it stands, with mode 2 (stored into m_mode), space group 1
    /// and no symmetry records, in native byte order. Of a larger voxel array it writes the corner at (0, 0,
    /// 0). Silent: nothing is written, an older file included, when the voxel array is smaller than m_extent
    /// or the axis order is no permutation.
    /// It is a ResultFile: what stood there before stays unless the map could be written completely.
    /// @return whether it was
    bool save(const std::string& name) override;
    /// The same to a file that is open already and stays so; what its buffer holds is the caller's to flush.
    bool write(std::FILE* file);
    const std::set<std::string>& supportedExtension() const override { return m_extensions; }

    /// Whether a file looks like a CCP4 map, of any data type: by the word "MAP " in its place, or by
    /// extents, mode and axis order that only a map has. False for what is no regular file or can't be read.
    static bool looksLikeMap(const std::string& name);

    /// By how much the place that the ORIGIN words give to the first voxel differs from that of the start
    /// words, the one used here; angstrom. Zero for an empty map and when the ORIGIN words are all zero or
    /// not finite, and on an axis where the two agree within a thousandth of a voxel.
    cVector3 getFrameShiftFromOriginWords() const;

private:
    class Header;

    bool hasExtent() const;
    bool isWritable() const;
    void readFields(const Header& header);
    std::optional<bool> settleByteOrder(const Header& header, const std::string& name);
    void reverseFields();
    void applyDefaults();
    bool readVoxels(std::istream& file, bool reversed, const std::array<int, 3>& xyz2crs);
    void setGeometry(const std::array<int, 3>& xyz2crs);
};

#endif
