// SPDX-License-Identifier: GPL-3.0-or-later
// Evaluations at the nodes that the model reaches, and nowhere else.
#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "CrossCorrelation/AtomGaussian.h"
#include "CrossCorrelation/DensityRow.h"
#include "CrossCorrelation/ElectronDensity.h"
#include "Math/cGrid.h"
#include "Math/multiversion.h"

namespace {

/// The atoms that reach each row of nodes along z of a box, ascending.
class RowAtoms {
public:
    RowAtoms(const std::vector<AtomGaussian>& gaussians, const NodeBox& box)
        : m_offsets(box.extent(0) * box.extent(1) + 1, 0) {
        forEachContact(gaussians, box, [&](std::size_t row, std::size_t) { ++m_offsets[row + 1]; });
        for (std::size_t row = 1; row < m_offsets.size(); ++row) {
            m_offsets[row] += m_offsets[row - 1];
        }
        m_atoms.resize(m_offsets.back());
        std::vector<std::size_t> cursor(m_offsets.begin(), m_offsets.end() - 1);
        forEachContact(gaussians, box, [&](std::size_t row, std::size_t atom) {
            m_atoms[cursor[row]++] = static_cast<std::uint32_t>(atom);
        });
    }

    const std::uint32_t* begin(std::size_t row) const { return m_atoms.data() + m_offsets[row]; }
    const std::uint32_t* end(std::size_t row) const { return m_atoms.data() + m_offsets[row + 1]; }

private:
    template <class Visit>
    static void forEachContact(const std::vector<AtomGaussian>& gaussians, const NodeBox& box,
                               Visit&& visit) {
        for (std::size_t atom = 0; atom < gaussians.size(); ++atom) {
            const NodeBox& reach = gaussians[atom].reach;
            for (int i = reach.low[0]; i <= reach.high[0] && !reach.isEmpty(); ++i) {
                for (int j = reach.low[1]; j <= reach.high[1]; ++j) {
                    visit(static_cast<std::size_t>(i - box.low[0]) * box.extent(1) +
                              static_cast<std::size_t>(j - box.low[1]),
                          atom);
                }
            }
        }
    }

    std::vector<std::size_t> m_offsets;
    std::vector<std::uint32_t> m_atoms;
};

/// Which nodes of the reached box have an atom that reaches them, as 0 or 1.
std::vector<char> reachedNodes(const ElectronDensity& density, const NodeBox& box) {
    std::vector<char> reached(box.size(), 0);
    for (std::size_t atom = 0; atom < density.atomCount(); ++atom) {
        const NodeBox reach = density.reachOf(atom);
        for (int i = reach.low[0]; i <= reach.high[0] && !reach.isEmpty(); ++i) {
            for (int j = reach.low[1]; j <= reach.high[1]; ++j) {
                std::fill_n(reached.data() + box.index(i, j, reach.low[2]), reach.extent(2), char{1});
            }
        }
    }
    return reached;
}

/// Moments of a field under the Gaussian of one atom: sums over the nodes of f, f d_a and f d_a d_b, d being
/// the distance from the atom.
struct Moments {
    double zeroth = 0.0;
    std::array<double, 3> first{0.0, 0.0, 0.0};
    std::array<std::array<double, 3>, 3> second{}; ///< lower triangle only
};

/// Sums along y of one slice of nodes, for every k: field, field dy and field dy^2 under the factors of y.
SELVANE_MULTIVERSION
void sumAlongY(const double* slice, std::size_t rowStride, const double* factors, const double* distances,
               std::size_t ny, std::size_t nz, double* zeroth, double* first, double* second) {
    std::fill_n(zeroth, nz, 0.0);
    std::fill_n(first, nz, 0.0);
    std::fill_n(second, nz, 0.0);
    for (std::size_t j = 0; j < ny; ++j, slice += rowStride) {
        const double w0 = factors[j];
        const double w1 = w0 * distances[j];
        const double w2 = w1 * distances[j];
        for (std::size_t k = 0; k < nz; ++k) {
            zeroth[k] += w0 * slice[k];
            first[k] += w1 * slice[k];
            second[k] += w2 * slice[k];
        }
    }
}

/// The moments of fields on a box, summed along y, then z, then x.
class GaussianMoments {
public:
    explicit GaussianMoments(const NodeBox& box) : m_box(box) {}

    Moments of(const std::vector<double>& field, const AtomGaussian& gaussian, double height) {
        const std::vector<double>& ez = gaussian.factors[2];
        const std::vector<double>& dz = gaussian.distances[2];
        m_zeroth.resize(ez.size());
        m_first.resize(ez.size());
        m_second.resize(ez.size());
        Moments moments;
        for (std::size_t i = 0; i < gaussian.factors[0].size(); ++i) {
            sumAlongY(field.data() + m_box.index(gaussian.reach.low[0] + static_cast<int>(i),
                                                 gaussian.reach.low[1], gaussian.reach.low[2]),
                      m_box.extent(2), gaussian.factors[1].data(), gaussian.distances[1].data(),
                      gaussian.factors[1].size(), ez.size(), m_zeroth.data(), m_first.data(),
                      m_second.data());
            addSlice(gaussian.factors[0][i] * height, gaussian.distances[0][i], ez, dz, moments);
        }
        return moments;
    }

private:
    void addSlice(double f, double dx, const std::vector<double>& ez, const std::vector<double>& dz,
                  Moments& moments) const {
        double s0 = 0.0;
        double sy = 0.0;
        double sz = 0.0;
        double syy = 0.0;
        double syz = 0.0;
        double szz = 0.0;
        for (std::size_t k = 0; k < ez.size(); ++k) {
            const double e1 = ez[k] * dz[k];
            s0 += m_zeroth[k] * ez[k];
            sy += m_first[k] * ez[k];
            sz += m_zeroth[k] * e1;
            syy += m_second[k] * ez[k];
            syz += m_first[k] * e1;
            szz += m_zeroth[k] * e1 * dz[k];
        }
        moments.zeroth += f * s0;
        moments.first[0] += f * dx * s0;
        moments.first[1] += f * sy;
        moments.first[2] += f * sz;
        moments.second[0][0] += f * dx * dx * s0;
        moments.second[1][0] += f * dx * sy;
        moments.second[1][1] += f * syy;
        moments.second[2][0] += f * dx * sz;
        moments.second[2][1] += f * syz;
        moments.second[2][2] += f * szz;
    }

    NodeBox m_box;
    std::vector<double> m_zeroth;
    std::vector<double> m_first;
    std::vector<double> m_second;
};

/// Adds J^T m / s2 and, for the upper triangle, J^T (M / s2^2 - m0 / s2) J to the sums, s2 = sigma^2.
void addDerivatives(const Moments& moments, const double* jacobian, std::size_t nDof, double invSigma2,
                    bool withHessian, double* sums) {
    for (std::size_t r = 0; r < nDof; ++r) {
        sums[r] += invSigma2 * (jacobian[r] * moments.first[0] + jacobian[nDof + r] * moments.first[1] +
                                jacobian[2 * nDof + r] * moments.first[2]);
    }
    if (!withHessian) {
        return;
    }
    std::array<std::array<double, 3>, 3> curvature{};
    for (std::size_t a = 0; a < 3; ++a) {
        for (std::size_t b = 0; b <= a; ++b) {
            curvature[a][b] = invSigma2 * invSigma2 * moments.second[a][b];
            curvature[b][a] = curvature[a][b];
        }
        curvature[a][a] -= invSigma2 * moments.zeroth;
    }
    double* second = sums + nDof;
    for (std::size_t r = 0; r < nDof; ++r) {
        std::array<double, 3> bent{0.0, 0.0, 0.0};
        for (std::size_t a = 0; a < 3; ++a) {
            for (std::size_t b = 0; b < 3; ++b) {
                bent[a] += curvature[a][b] * jacobian[b * nDof + r];
            }
        }
        for (std::size_t s = r; s < nDof; ++s) {
            *second++ +=
                bent[0] * jacobian[s] + bent[1] * jacobian[nDof + s] + bent[2] * jacobian[2 * nDof + s];
        }
    }
}

} // namespace

std::vector<double> ElectronDensity::weighDerivatives(const std::vector<std::vector<double>>& fields,
                                                      bool withHessian) const {
    const NodeBox box = reachedBox();
    for (const auto& field : fields) {
        if (field.size() != box.size()) {
            throw std::length_error("field size must be " + std::to_string(box.size()) + ".");
        }
    }
    const std::size_t columns = DensityTable::derivativeColumns(m_nDof, withHessian);
    std::vector<double> sums(fields.size() * columns, 0.0);
    GaussianMoments moments(box);
    AtomGaussian gaussian;
    for (std::size_t atom = 0; atom < m_positions.size(); ++atom) {
        place(atom, gaussian);
        if (gaussian.reach.isEmpty()) {
            continue;
        }
        const double height = m_gaussianNorm * m_atomWeights[atom];
        const double* jacobian = m_atomDofMatrix->data() + 3 * m_nDof * atom;
        for (std::size_t p = 0; p < fields.size(); ++p) {
            addDerivatives(moments.of(fields[p], gaussian, height), jacobian, m_nDof, m_invSigma2,
                           withHessian, sums.data() + p * columns);
        }
    }
    return sums;
}

/// Calls visit(i, j, row) for every row of nodes along z in the reached box, i and j counted from its corner;
/// the row holds the columns up to the order asked for.
template <class Visit>
void ElectronDensity::forEachRow(DensityOrder order, Visit&& visit) const {
    std::vector<AtomGaussian> gaussians(m_positions.size());
    for (std::size_t atom = 0; atom < gaussians.size(); ++atom) {
        place(atom, gaussians[atom]);
    }
    const NodeBox box = reachedBox();
    const RowAtoms rowAtoms(gaussians, box);
    DensityRow row(m_nDof, m_invSigma2, order, box.extent(2));
    const auto add = [&](std::size_t atom, std::size_t i, std::size_t j) {
        const NodeBox& reach = gaussians[atom].reach;
        const auto offset = [&](std::size_t axis) {
            return static_cast<std::size_t>(reach.low[axis] - box.low[axis]);
        };
        row.add(gaussians[atom], i - offset(0), j - offset(1), offset(2),
                m_gaussianNorm * m_atomWeights[atom], m_atomDofMatrix->data() + 3 * m_nDof * atom);
    };
    for (std::size_t i = 0; i < box.extent(0); ++i) {
        for (std::size_t j = 0; j < box.extent(1); ++j) {
            const std::size_t r = i * box.extent(1) + j;
            row.clear();
            std::for_each(rowAtoms.begin(r), rowAtoms.end(r), [&](std::size_t atom) { add(atom, i, j); });
            visit(i, j, row);
        }
    }
}

/// Fills whole grids, both triangles of the Hessian if there is one.
void ElectronDensity::evalColumns(std::vector<double>& values, std::vector<std::vector<double>>& gradient,
                                  std::vector<std::vector<double>>* hessian) const {
    std::vector<double*> fields{values.data()};
    for (auto& field : gradient) {
        fields.push_back(field.data());
    }
    for (std::size_t r = 0; r < m_nDof && hessian != nullptr; ++r) {
        for (std::size_t s = r; s < m_nDof; ++s) {
            fields.push_back((*hessian)[r * m_nDof + s].data());
        }
    }
    for (double* field : fields) {
        std::fill_n(field, values.size(), 0.0);
    }
    const NodeBox box = reachedBox();
    forEachRow(hessian != nullptr ? DensityOrder::Hessian : DensityOrder::Gradient,
               [&](std::size_t i, std::size_t j, const DensityRow& row) {
                   const std::size_t start = m_grid->indexToFlatIndex(
                       box.low[0] + static_cast<int>(i), box.low[1] + static_cast<int>(j), box.low[2]);
                   for (std::size_t q = 0; q < fields.size(); ++q) {
                       std::copy_n(row.column(q), box.extent(2), fields[q] + start);
                   }
               });
    for (std::size_t r = 0; r < m_nDof && hessian != nullptr; ++r) {
        for (std::size_t s = 0; s < r; ++s) {
            (*hessian)[r * m_nDof + s] = (*hessian)[s * m_nDof + r];
        }
    }
}

std::vector<double> ElectronDensity::gradientOnBox() const {
    const NodeBox box = reachedBox();
    std::vector<double> gradient(m_nDof * box.size());
    forEachRow(DensityOrder::Gradient, [&](std::size_t i, std::size_t j, const DensityRow& row) {
        const std::size_t start = (i * box.extent(1) + j) * box.extent(2);
        for (std::size_t r = 0; r < m_nDof; ++r) {
            std::copy_n(row.column(1 + r), box.extent(2), gradient.data() + r * box.size() + start);
        }
    });
    return gradient;
}

DensityTable ElectronDensity::tabulate(bool withHessian) const {
    DensityTable table;
    table.nDof = m_nDof;
    table.hasHessian = withHessian;
    const NodeBox box = reachedBox();
    const std::vector<char> reached = reachedNodes(*this, box);
    const auto count = static_cast<std::size_t>(std::count(reached.begin(), reached.end(), char{1}));
    table.nodes.reserve(count);
    table.rows.reserve(count * table.columns());
    forEachRow(withHessian ? DensityOrder::Hessian : DensityOrder::Gradient,
               [&](std::size_t i, std::size_t j, const DensityRow& row) {
                   const char* reachedRow = reached.data() + (i * box.extent(1) + j) * box.extent(2);
                   const unsigned int start = m_grid->indexToFlatIndex(
                       box.low[0] + static_cast<int>(i), box.low[1] + static_cast<int>(j), box.low[2]);
                   for (unsigned int k = 0; k < box.extent(2); ++k) {
                       if (reachedRow[k] != 0) {
                           table.nodes.push_back(start + k);
                           row.appendNode(k, table.rows);
                       }
                   }
               });
    return table;
}
