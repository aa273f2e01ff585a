// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_DENSITYREADER_CDENSITYMAPINTERFACE_H
#define SELVANE_DENSITYREADER_CDENSITYMAPINTERFACE_H

#include <array>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "Decompositions/cDecomposition.h"
#include "DensityReader/VoxelArray.h"
#include "Math/cBBox.h"
#include "Math/cGrid.h"
#include "Math/cVector3.h"

/// A density map: a field stored voxel by voxel, voxel (i, j, k) along x, y, z at node (i, j, k) of m_grid.
///
/// Two geometries stand side by side. The crystal frame (m_origin, m_delta, the axes) is exact for a skew
/// cell; mapToWorld, worldToMap and getAverageValue use it. m_grid is axis-parallel; getValue and everything
/// outside these classes use it. For a right-angled cell they agree.
///
/// The members are a plain record. A copy shares the voxels of its original: loadFromValues and a reader's
/// load give a map voxels of its own, while the operations that change voxels in place (regularizeEMDensity,
/// chooseType, meanDensity) change them for every copy.
class cDensityMapInterface : public cDecomposition {
public:
    static constexpr int histogramBins = 128;

    bool m_histogramReady = false;                   ///< set by computeHistogram
    std::shared_ptr<VoxelArray<double>> m_data;      ///< the voxels; null while the map is empty
    std::shared_ptr<VoxelArray<float>> m_typedData;  ///< optional, m_nTypes values per voxel
    std::shared_ptr<VoxelArray<short>> m_typeCounts; ///< optional counts that go with m_typedData
    int m_nTypes = 0;                                ///< number of values per voxel in m_typedData
    cVector3 m_delta{0.0};                           ///< voxel edge lengths, angstrom
    cVector3 m_origin{0.0};                          ///< world position of voxel (0, 0, 0), angstrom
    cVector3 m_xAxis{1.0, 0.0, 0.0};                 ///< unit vectors of the crystal axes
    cVector3 m_yAxis{0.0, 1.0, 0.0};
    cVector3 m_zAxis{0.0, 0.0, 1.0};
    std::array<float, histogramBins> m_histogram{}; ///< scaled so that the fullest bin is 1
    float m_minDensity = 0.0F; ///< statistics; a reader takes them from the file's header
    float m_maxDensity = 0.0F;
    float m_meanDensity = 0.0F;
    float m_peakValue = 0.0F;     ///< density of the fullest bin
    float m_peakValueCopy = 0.0F; ///< equal to m_peakValue
    int m_peakBin = 0;            ///< index of the fullest bin

    using cDecomposition::getValue;

    /// The voxel whose node is at or below the position in m_grid, by cGrid::vectorToIndex; not interpolated.
    /// 0 where the box does not strictly contain the position or there is no such voxel.
    double getValue(const cVector3& position) const override;
    double getValue(double x, double y, double z) const override;
    /// Trilinear interpolation in the crystal frame; 0 where no eight voxels surround the position.
    double getAverageValue(const cVector3& position) const override;

    /// Reads, writes a file in the format of the derived class.
    virtual void load(const std::string& name) = 0;
    /// @return whether the file was written completely
    virtual bool save(const std::string& name) = 0;
    /// The file name extensions of the format, without the dot.
    virtual const std::set<std::string>& supportedExtension() const = 0;

    /// The flat array of the map, m_grid.getTotalSize() values in cGrid order: each node's position
    /// i d + min looked up through the virtual getValue(position). Not the plain voxels: the nodes of the low
    /// faces, and of the high faces where rounding does not put them inside, read 0; and where (i d + min -
    /// min) / d falls below i by rounding, a node takes the value of its lower neighbour.
    virtual std::vector<double> getValue() const;
    /// The same through the virtual getAverageValue(position).
    virtual std::vector<double> getAverageValue() const;

    /// Voxel (i, j, k). @throws std::out_of_range when the map has no such voxel
    double getDensity(int i, int j, int k) const;

    /// Makes this the field of the given values on the given grid; a file's header fields and the mean stay.
    /// @param values  in cGrid order; what exceeds the grid's total size is not read
    /// @throws std::invalid_argument when there are fewer values than nodes
    void loadFromValues(const std::vector<double>& values, const cGrid& grid);
    /// The same with the values that the source interpolates at the nodes of its grid. The extremes are those
    /// of its getMinMaxValues. Deliberate: a source without getCoef, such as a density map, ends the process.
    void loadFromDecomposition(const cDecomposition& source);

    /// The voxel at or below a position in the crystal frame. It may lie off the map; what does not fit an
    /// int ends at the limits of that type.
    void worldToMap(const cVector3& position, int& i, int& j, int& k) const;
    /// m_origin + (i dx) m_xAxis + (j dy) m_yAxis + (k dz) m_zAxis.
    void mapToWorld(int i, int j, int k, cVector3& out) const;
    /// Sum of rho * mapToWorld over sum of rho, over all voxels; not finite when the densities cancel.
    cVector3 getWeightedCenter() const;

    bool isEmpty() const { return !m_data || m_data->voxelCount() == 0; }
    /// Why no fit can use this map: it is empty, an axis has one voxel, the cell or the place of the grid is
    /// not finite and positive, a voxel is not finite. An empty string for a map that can be used.
    std::string getDefect() const;

    /// Minimum, maximum, mean of the voxels. The extremes start at 0, so the minimum is never above 0 and the
    /// maximum never below.
    void computeAvMaxMinDensity();
    /// Minimum and maximum, true ones within +-1e10. The mean stays.
    void analyzeDensity();
    /// Histogram of the voxels between the stored extremes, and its peak. The lowest 1/128 of the range is
    /// left out.
    void computeHistogram();
    /// Sets m_peakBin from m_peakValue and the stored extremes.
    void updateBin();
    /// Sets the voxels below a noise floor near the stored mean to 0.
    void regularizeEMDensity();
    /// Each voxel becomes its typed value number type.
    /// @throws std::out_of_range when there are no such values
    void chooseType(int type);
    /// Each voxel becomes -T log(sum of exp(-u / T) over its typed values u), terms from exp(100) on left
    /// out.
    /// @throws std::out_of_range when there are no m_nTypes typed values per voxel
    void meanDensity(float temperature);
    /// Divides the typed values of each voxel by (total - its type count) where that is positive.
    /// @throws std::out_of_range when typed values or counts do not match the voxels
    void normalize(int total);
    /// The box around the nodes whose voxel is above the threshold; the default box when there is none.
    cBBox getCropBBox(double threshold) const;

protected:
    /// No voxels, no nodes.
    void clearVoxels();
    /// What getValue() gives with getValue(position) of this class, by a table per axis: ten times as fast.
    std::vector<double> lookUpNodes() const;

private:
    cVector3 toMapFrame(const cVector3& position, const cVector3& origin) const;
    std::array<std::vector<long>, 3> makeLookUpTables() const;
    void requireTypedData(int type) const;
    template <class Field>
    std::vector<double> sampleNodes(const Field& field) const;
};

#endif
