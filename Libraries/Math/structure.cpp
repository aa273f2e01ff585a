// SPDX-License-Identifier: GPL-3.0-or-later
#include "Math/structure.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <unordered_map>

#include "Math/pi.h"

namespace {

using position = std::array<double, 3>;

constexpr double randRange = 2147483647.0;
constexpr double noRotation = 1e-11; // radians

position toPosition(const cVector3& v) {
    return {v.x, v.y, v.z};
}

std::size_t toIndex(int id) {
    return static_cast<std::size_t>(id);
}

const cPDBAtom& atomOf(const cPDBAtom& atom) {
    return atom;
}
const cPDBAtom& atomOf(const cPDBAtom* atom) {
    return *atom;
}

/// The list L of residue numbers, to be searched from a cursor on. It keeps the places of each number, so
/// that a search costs a logarithm where many residues have no Cα.
class ResidueNumbers {
public:
    void append(int resSeq) { m_places[resSeq].push_back(m_size++); }

    /// Moves the cursor to the first place of the number from the cursor on, if there is one. Deliberate: it
    /// never moves back, for chains are told apart by nothing else.
    bool advance(int resSeq, int& cursor) const {
        const auto entry = m_places.find(resSeq);
        if (entry == m_places.end()) {
            return false;
        }
        const std::vector<int>& places = entry->second;
        const auto place = std::lower_bound(places.begin(), places.end(), cursor);
        if (place == places.end()) {
            return false;
        }
        cursor = *place;
        return true;
    }

private:
    std::unordered_map<int, std::vector<int>> m_places; // ascending
    int m_size = 0;
};

template <typename Atoms>
bool mapAtomsToCalpha(const Atoms& atoms, std::vector<int>& ids) {
    ResidueNumbers residues;
    for (const auto& atom : atoms) {
        if (atomOf(atom).isCA()) {
            residues.append(atomOf(atom).m_resSeq);
        }
    }
    ids.resize(atoms.size());
    int cursor = 0;
    bool isComplete = true;
    for (std::size_t i = 0; i < atoms.size(); ++i) {
        const int resSeq = atomOf(atoms[i]).m_resSeq;
        if (residues.advance(resSeq, cursor)) {
            ids[i] = cursor;
        } else {
            residues.append(resSeq);
            // Deliberate: the atom's own index, although it may equal another residue's place in the list.
            ids[i] = static_cast<int>(i);
            isComplete = false;
        }
    }
    return isComplete;
}

/// The elements of the rotation matrix of q, row-major.
std::array<double, 9> rotationElements(const double* q) {
    const double a2 = q[0] * q[0];
    const double x2 = q[1] * q[1];
    const double y2 = q[2] * q[2];
    const double z2 = q[3] * q[3];
    const double xy = q[1] * q[2];
    const double az = q[0] * q[3];
    const double zx = q[3] * q[1];
    const double ay = q[0] * q[2];
    const double yz = q[2] * q[3];
    const double ax = q[0] * q[1];
    return {a2 + x2 - y2 - z2, 2 * (xy + az), 2 * (zx - ay), 2 * (xy - az),    a2 - x2 + y2 - z2,
            2 * (yz + ax),     2 * (zx + ay), 2 * (yz - ax), a2 - x2 - y2 + z2};
}

} // namespace

cMatrix33 getInertiaTensor(const std::vector<cPDBAtom>& atoms, double& totalMass) {
    totalMass = 0.0;
    double xx = 0.0;
    double yy = 0.0;
    double zz = 0.0;
    double xy = 0.0;
    double xz = 0.0;
    double yz = 0.0;
    for (const cPDBAtom& atom : atoms) {
        const cVector3& r = atom.m_position;
        const double m = static_cast<double>(atom.m_mass);
        totalMass += m;
        xx += m * (r.y * r.y + r.z * r.z);
        yy += m * (r.x * r.x + r.z * r.z);
        zz += m * (r.x * r.x + r.y * r.y);
        xy -= m * r.x * r.y;
        xz -= m * r.x * r.z;
        yz -= m * r.y * r.z;
    }
    return {xx, xy, xz, xy, yy, yz, xz, yz, zz};
}

std::array<double, 3> getCenter(const std::array<double, 3>* positions, unsigned long n) {
    position center = {0.0, 0.0, 0.0};
    for (unsigned long i = 0; i < n; ++i) {
        for (std::size_t c = 0; c < 3; ++c) {
            center[c] += positions[i][c];
        }
    }
    for (double& component : center) {
        component /= static_cast<double>(n);
    }
    return center;
}

std::array<double, 3> getCenter(const std::vector<std::array<double, 3>>& positions) {
    return getCenter(positions.data(), positions.size());
}

cVector3 getCenterOfMass(const cPDBAtom* atoms, unsigned long n) {
    cVector3 sum(0.0, 0.0, 0.0);
    double totalMass = 0.0;
    for (unsigned long i = 0; i < n; ++i) {
        const double m = static_cast<double>(atoms[i].m_mass);
        sum += atoms[i].m_position * m;
        totalMass += m;
    }
    return sum / totalMass;
}

void setCenter(std::vector<std::array<double, 3>>& positions, const std::array<double, 3>& c) {
    const position center = c; // c may be one of the positions
    for (position& p : positions) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            p[axis] -= center[axis];
        }
    }
}

void setCenter(arma::Col<double>& coordinates, const std::array<double, 3>& c) {
    const arma::uword n = coordinates.n_elem / 3;
    for (arma::uword i = 0; i < n; ++i) {
        for (arma::uword axis = 0; axis < 3; ++axis) {
            coordinates[3 * i + axis] -= c[axis];
        }
    }
}

bool compareVector3d(const std::array<double, 3>& a, const std::array<double, 3>& b) {
    return 0 > (a[0] - b[0]) + (a[1] - b[1]) + (a[2] - b[2]);
}

double norm(const std::array<double, 3>& p) {
    return std::sqrt(dot(p, p));
}

void normalize(std::array<double, 3>& p) {
    const double length = norm(p);
    for (double& component : p) {
        component /= length;
    }
}

double dot(const std::array<double, 3>& a, const std::array<double, 3>& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

void cross(const std::array<double, 3>& a, const std::array<double, 3>& b, std::array<double, 3>& out) {
    out = {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double distance(const std::array<double, 3>& a, const std::array<double, 3>& b) {
    return norm({a[0] - b[0], a[1] - b[1], a[2] - b[2]});
}

double getRadiusOfGyration(const std::vector<std::array<double, 3>>& positions) {
    const position center = getCenter(positions);
    double sum = 0.0;
    for (const position& p : positions) {
        const position d = {p[0] - center[0], p[1] - center[1], p[2] - center[2]};
        sum += dot(d, d);
    }
    return std::sqrt(sum / static_cast<double>(positions.size()));
}

bool isAlmostNull(const arma::Mat<double>& m, double tol) {
    return std::none_of(m.begin(), m.end(), [tol](double element) { return std::fabs(element) > tol; });
}

double myRand(double a, double b) {
    return a + std::rand() / randRange * (b - a);
}

double** new_qcprotAtoms(unsigned long n) {
    double** rows = new double*[3];
    for (int axis = 0; axis < 3; ++axis) {
        rows[axis] = new double[n];
    }
    return rows;
}

void delete_qcprotAtoms(double** p) {
    if (p == nullptr) {
        return;
    }
    for (int axis = 0; axis < 3; ++axis) {
        delete[] p[axis];
    }
    delete[] p;
}

void std2qcprot(const std::vector<std::array<double, 3>>& positions, const std::list<int>& ids,
                double** out) {
    std::size_t n = 0;
    for (const int id : ids) {
        const position& p = positions.at(toIndex(id));
        for (std::size_t axis = 0; axis < 3; ++axis) {
            out[axis][n] = p[axis];
        }
        ++n;
    }
}

void std2qcprot(const std::vector<cPDBAtom>& atoms, const std::list<int>& ids, double** out) {
    std::size_t n = 0;
    for (const int id : ids) {
        const position p = toPosition(atoms.at(toIndex(id)).m_position);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            out[axis][n] = p[axis];
        }
        ++n;
    }
}

void qcprot2std(const double* const* in, const std::list<int>& ids,
                std::vector<std::array<double, 3>>& positions) {
    std::size_t n = 0;
    for (const int id : ids) {
        positions.at(toIndex(id)) = {in[0][n], in[1][n], in[2][n]};
        ++n;
    }
}

void qcprot2std(const double* const* in, const std::list<int>& ids, std::vector<cPDBAtom>& atoms) {
    std::size_t n = 0;
    for (const int id : ids) {
        atoms.at(toIndex(id)).m_position = cVector3(in[0][n], in[1][n], in[2][n]);
        ++n;
    }
}

void quaternion2AxisAndAngle(const double* q, arma::Col<double>& axis, double& angle) {
    double a = 2 * std::acos(q[0]);
    if (a > pi) {
        // Deliberate: the axis is not turned round with the angle.
        a = 2 * pi - a;
    }
    if (std::fabs(a) < noRotation) {
        angle = 0.0;
        axis = {1.0, 0.0, 0.0};
        return;
    }
    angle = a;
    const double sine = std::sqrt(1 - q[0] * q[0]);
    axis = {q[1] / sine, q[2] / sine, q[3] / sine};
    axis /= arma::norm(axis);
}

void axisAndAngle2Quaternion(const arma::Col<double>& axis, const double& angle, double* q) {
    const double sine = std::sin(angle / 2);
    q[0] = std::cos(angle / 2);
    q[1] = sine * axis[0];
    q[2] = sine * axis[1];
    q[3] = sine * axis[2];
}

void quaternion2RotationMatrix(const double* q, double* rot) {
    const std::array<double, 9> elements = rotationElements(q);
    std::copy(elements.begin(), elements.end(), rot);
}

void quaternion2RotationMatrix(const double* q, arma::Mat<double>& rot) {
    const std::array<double, 9> elements = rotationElements(q);
    rot.set_size(3, 3);
    for (arma::uword row = 0; row < 3; ++row) {
        for (arma::uword column = 0; column < 3; ++column) {
            rot(row, column) = elements[3 * row + column];
        }
    }
}

void computeTensorProductMatrix(const std::array<double, 3>& p, arma::Mat<double>& m) {
    m.set_size(3, 3);
    for (arma::uword row = 0; row < 3; ++row) {
        for (arma::uword column = 0; column < 3; ++column) {
            m(row, column) = p[row] * p[column];
        }
    }
}

void computeCrossProductMatrix(const std::array<double, 3>& p, arma::Mat<double>& m) {
    m = {{0.0, -p[2], p[1]}, {p[2], 0.0, -p[0]}, {-p[1], p[0], 0.0}};
}

void pdbAtoms2Positions(const std::vector<cPDBAtom>& atoms, std::vector<std::array<double, 3>>& out) {
    out.resize(atoms.size());
    for (std::size_t i = 0; i < atoms.size(); ++i) {
        out[i] = toPosition(atoms[i].m_position);
    }
}

std::vector<std::array<double, 3>> pdbAtoms2Positions(const std::vector<cPDBAtom>& atoms) {
    std::vector<position> out;
    pdbAtoms2Positions(atoms, out);
    return out;
}

void pdbAtoms2armavec(const std::vector<cPDBAtom>& atoms, arma::Col<double>& out) {
    out.set_size(3 * atoms.size());
    for (std::size_t i = 0; i < atoms.size(); ++i) {
        out[3 * i] = atoms[i].m_position.x;
        out[3 * i + 1] = atoms[i].m_position.y;
        out[3 * i + 2] = atoms[i].m_position.z;
    }
}

arma::Col<double> pdbAtoms2armavec(const std::vector<cPDBAtom>& atoms) {
    arma::Col<double> out;
    pdbAtoms2armavec(atoms, out);
    return out;
}

void pdbAtoms2IsCA(const std::vector<cPDBAtom>& atoms, std::vector<bool>& out) {
    out.resize(atoms.size());
    for (std::size_t i = 0; i < atoms.size(); ++i) {
        out[i] = atoms[i].isCA();
    }
}

std::vector<bool> pdbAtoms2IsCA(const std::vector<cPDBAtom>& atoms) {
    std::vector<bool> out;
    pdbAtoms2IsCA(atoms, out);
    return out;
}

Eigen::MatrixXd arma2eigen(const arma::Mat<double>& m) {
    Eigen::MatrixXd out(static_cast<Eigen::Index>(m.n_rows), static_cast<Eigen::Index>(m.n_cols));
    for (arma::uword column = 0; column < m.n_cols; ++column) {
        for (arma::uword row = 0; row < m.n_rows; ++row) {
            out(static_cast<Eigen::Index>(row), static_cast<Eigen::Index>(column)) = m(row, column);
        }
    }
    return out;
}

bool loadAtomId2CalphaId(const std::vector<cPDBAtom>& atoms, std::vector<int>& ids) {
    return mapAtomsToCalpha(atoms, ids);
}

bool loadAtomId2CalphaId(const std::vector<const cPDBAtom*>& atoms, std::vector<int>& ids) {
    return mapAtomsToCalpha(atoms, ids);
}

void reorderAtomList(const std::map<unsigned, std::vector<const cPDBAtom*>>& a,
                     const std::map<unsigned, std::vector<const cPDBAtom*>>& b,
                     std::vector<const cPDBAtom*>& out1, std::vector<const cPDBAtom*>& out2) {
    for (const auto& residue : a) {
        const auto other = b.find(residue.first);
        if (other == b.end()) {
            continue;
        }
        for (const cPDBAtom* first : residue.second) {
            for (const cPDBAtom* second : other->second) {
                if (std::strcmp(first->m_name, second->m_name) == 0) {
                    out1.push_back(first);
                    out2.push_back(second);
                }
            }
        }
    }
}
