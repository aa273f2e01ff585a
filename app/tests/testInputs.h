// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_TESTS_TESTINPUTS_H
#define SELVANE_APP_TESTS_TESTINPUTS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// Small models and maps for whole runs, with writers of their own: nothing here shares code with the
/// program.

using Vec = std::array<double, 3>;
using Mat = std::array<Vec, 3>; ///< rows

Vec operator+(const Vec& a, const Vec& b);
Vec operator-(const Vec& a, const Vec& b);
Vec operator*(const Mat& m, const Vec& v);
Vec cross(const Vec& a, const Vec& b);
double squaredNorm(const Vec& v);
Mat transposed(const Mat& m);

/// Rx(a) Ry(b) Rz(c), multiplied out from the three rotations; radians.
Mat rotationXYZ(double a, double b, double c);

struct TestAtom {
    std::string name;
    char element;
    std::string residue;
    char chain;
    int number;
    Vec position; ///< angstrom, with three decimals
};

/// Two helices of 12 and 8 residues, one along x, one along z: 100 atoms around `middle`, without any
/// symmetry.
std::vector<TestAtom> makeModel(const Vec& middle);

/// A chain of three helices of 14 residues along x, y and z, one behind the other: 210 atoms around `middle`,
/// which bend easily where two helices meet.
std::vector<TestAtom> makeBentChain(const Vec& middle);

/// The model turned by `rotation` about `centre` and then shifted; positions with three decimals.
std::vector<TestAtom> moved(std::vector<TestAtom> atoms, const Mat& rotation, const Vec& centre,
                            const Vec& shift);

std::string pdbText(const std::vector<TestAtom>& atoms);

/// The line that a run writes for an atom: coordinates at offset 30, the element at offset 76.
std::string writtenLine(const std::vector<TestAtom>& atoms, std::size_t index);

/// Mass in dalton as the single-precision tables hold it.
double massOf(const TestAtom& atom);
double totalMass(const std::vector<TestAtom>& atoms);

/// Root mean square distance of two lists of positions.
double rmsd(const std::vector<Vec>& a, const std::vector<Vec>& b);
std::vector<Vec> positionsOf(const std::vector<TestAtom>& atoms);
double radiusOfGyration(const std::vector<Vec>& positions);

/// A map with a right-angled cell. Voxel (i, j, k) stands at (start + (i, j, k)) * voxel.
///
/// Edges and starts are chosen so that all nodes are exact in double precision: edges are binary fractions,
/// and the starts fall from x to z, so that what the cosine of 90 degrees adds is lost in rounding. Elsewhere
/// a node may be looked up one plane lower, which moves the density and not only its last digits.
struct TestMap {
    std::array<int, 3> size{20, 24, 18}; ///< along x, y, z
    std::array<int, 3> start{-8, 4, 1};
    Vec voxel{2.5, 2.5, 2.5};              ///< angstrom
    std::vector<double> values;            ///< z fastest
    std::array<int, 3> axisOrder{1, 2, 3}; ///< the axis (1 = x) of column, row and section
    std::array<float, 3> originWords{0, 0, 0};
    bool oppositeByteOrder = false;
    int symmetryBytes = 0; ///< of the symmetry block in front of the voxels

    std::size_t index(int i, int j, int k) const;
    Vec position(int i, int j, int k) const;
    Vec centre() const; ///< half way between the first and the last voxel
    double largestVoxel() const;
};

/// The sum of a Gaussian of height 1 per atom, plus `background`, at every voxel.
TestMap simulate(TestMap map, const std::vector<TestAtom>& atoms, double sigma, double background = 0.0);

/// The map as a CCP4 file of mode 2.
std::string ccp4Bytes(const TestMap& map);

/// A word of a CCP4 file in this machine's byte order.
std::int32_t intAt(const std::string& bytes, std::size_t offset);
float floatAt(const std::string& bytes, std::size_t offset);
void setIntAt(std::string& bytes, std::size_t offset, std::int32_t value);
void setFloatAt(std::string& bytes, std::size_t offset, float value);

#endif
