// SPDX-License-Identifier: GPL-3.0-or-later
// Construction and the eigenvalue problem.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

#include "IO/cInfo.h"
#include "Math/cMatrix33.h"
#include "Mechanics/System.h"
#include "NMAEngine/NormalModeEngine.h"
#include "NMAEngine/SymEigsSolver.h"

namespace {

using Vector = arma::Col<double>;
using Matrix = arma::Mat<double>;
using SparseMatrix = arma::SpMat<double>;

constexpr double eigenTolerance = 0.01; // relative
constexpr double nearZero = 0.0001;     // of an eigenvalue, and of the ratio that makes a gap

/// The number of leading eigenvalues in front of a gap: a null space of rigid motions, of whatever
/// dimension the solver found. A ratio that isn't a number ends the search.
unsigned int countBeforeGap(const Vector& eigenvalues) {
    if (eigenvalues.is_empty() || !(std::abs(eigenvalues[0]) < nearZero)) {
        return 0;
    }
    arma::uword i = 0;
    while (i + 1 < eigenvalues.n_elem && std::abs(eigenvalues[i] / eigenvalues[i + 1]) >= nearZero) {
        ++i;
    }
    return static_cast<unsigned int>(i + 1);
}

/// How many eigenvectors of zero columns are asked for beside the rigid motions: a third of the columns,
/// rounded up.
int nullVectorsOf(const SparseMatrix& prolongation) {
    const double squares = arma::accu(arma::square(prolongation)); // the trace of P^T P
    const double zeroColumns = static_cast<double>(prolongation.n_cols) - squares;
    return zeroColumns > 0.0 ? static_cast<int>(std::ceil(zeroColumns / 3.0)) : 0;
}

cVector3 subVector(const Matrix& m, arma::uword row, arma::uword column) {
    return {m(row, column), m(row + 1, column), m(row + 2, column)};
}

cMatrix33 toMatrix33(const Matrix& m) {
    return {subVector(m, 0, 0), subVector(m, 0, 1), subVector(m, 0, 2)};
}

} // namespace

NormalModeEngine::NormalModeEngine(std::shared_ptr<const System> network,
                                   const std::vector<std::array<double, 3>>& positions,
                                   const std::vector<double>& masses, const std::vector<int>& blockIds,
                                   unsigned int nModes, double thermalScale, cInfo* info)
    : m_info(info)
    , m_system(std::move(network))
    , m_nModes(std::min(nModes, system().m_nDof))
    , m_thermalScale(thermalScale) {
    buildRTBProlongationMatrix(positions, masses, blockIds, info);
    performNMA();
}

NormalModeEngine::NormalModeEngine(unsigned int nModes) : m_nModes(nModes) {}

NormalModeEngine::NormalModeEngine(std::shared_ptr<const System> network, unsigned int nModes,
                                   double thermalScale)
    : m_system(std::move(network))
    , m_nModes(std::min(nModes, system().m_nDof))
    , m_thermalScale(thermalScale)
    , m_prolongation(arma::speye<SparseMatrix>(m_system->m_nDof, m_system->m_nDof)) {
    performNMA();
}

NormalModeEngine::NormalModeEngine(std::shared_ptr<const System> network, unsigned int nModes,
                                   const arma::SpMat<double>& prolongation, double thermalScale)
    : m_system(std::move(network))
    , m_nModes(std::min(nModes, system().m_nDof))
    , m_thermalScale(thermalScale)
    , m_nRigidModes(rigidMotions + nullVectorsOf(prolongation))
    , m_prolongation(prolongation) {
    performNMA();
}

const System& NormalModeEngine::system() const {
    if (!m_system) {
        throw std::logic_error("NormalModeEngine: there is no system");
    }
    return *m_system;
}

void NormalModeEngine::performNMA() {
    if (m_prolongation.n_rows != system().m_nDof) {
        throw std::length_error("NormalModeEngine: " + std::to_string(m_prolongation.n_rows) +
                                " coordinates, but the system has " + std::to_string(system().m_nDof));
    }
    Vector eigenvalues;
    Matrix eigenvectors;
    diagonalize(eigenvalues, eigenvectors);

    const bool isNetwork = m_system->m_hessian != nullptr;
    // Deliberate: a covariance in the system reverses the pairs of projected frames too, which come largest
    // first and end smallest first.
    const bool reversed = !isNetwork && m_system->m_covariance;
    // Deliberate: a gap is looked for, not the six rigid motions; without one everything is left out.
    m_firstMode = isNetwork ? countBeforeGap(eigenvalues) : 0;
    if (m_nModes > 0 && m_firstMode + m_nModes > eigenvalues.n_elem) {
        throw std::out_of_range("Mat::operator(): index out of bounds");
    }
    arma::uvec columns(m_nModes);
    for (arma::uword mode = 0; mode < m_nModes; ++mode) {
        columns[mode] = reversed ? eigenvectors.n_cols - 1 - mode : m_firstMode + mode;
    }

    setBlockMotions(eigenvectors, columns);
    m_modes = m_prolongation * Matrix(eigenvectors.cols(columns));
    m_modes.each_col([this](Vector& mode) { mode %= m_system->m_isqrtMass; });
    m_eigenvalues = eigenvalues(columns);
    // Deliberate: beside a network also those of projected frames are kept as they are.
    if (!isNetwork) {
        m_eigenvalues = 1.0 / m_eigenvalues;
    }
}

/// Block translations and angular velocities in the given eigenvectors.
void NormalModeEngine::setBlockMotions(const arma::Mat<double>& eigenvectors, const arma::uvec& columns) {
    const std::size_t nBlocks = eigenvectors.n_rows / 6;
    const std::vector<cVector3> still(columns.n_elem, cVector3(0.0));
    m_blockRotations.assign(nBlocks, still);
    m_blockTranslations.assign(nBlocks, still);
    if (m_blockInvSqrtInertia.size() != nBlocks) {
        return;
    }
    for (std::size_t b = 0; b < nBlocks; ++b) {
        const cMatrix33 invSqrtInertia = toMatrix33(m_blockInvSqrtInertia[b]);
        const double rootMass = std::sqrt(m_blockMasses[b]);
        for (std::size_t m = 0; m < columns.n_elem; ++m) {
            m_blockRotations[b][m] = invSqrtInertia * subVector(eigenvectors, 6 * b + 3, columns[m]);
            m_blockTranslations[b][m] = subVector(eigenvectors, 6 * b, columns[m]) / rootMass;
        }
    }
}

void NormalModeEngine::diagonalize(arma::Col<double>& eigenvalues, arma::Mat<double>& eigenvectors) const {
    if (!m_projections.empty()) {
        solveProjections(eigenvalues, eigenvectors);
    } else if (system().m_hessian) {
        solveNetwork(eigenvalues, eigenvectors);
    } else {
        solveCovariance(eigenvalues, eigenvectors);
    }

    if (!m_info) {
        return;
    }
    for (arma::uword i = 0; i < eigenvalues.n_elem; ++i) {
        const std::string label = " Eigenvalue " + std::to_string(i) + " ";
        m_info->printInfo(label.c_str(), eigenvalues[i], nullptr);
    }
}

/// The largest pairs of the covariance of the projected frames, which is never formed.
void NormalModeEngine::solveProjections(arma::Col<double>& eigenvalues,
                                        arma::Mat<double>& eigenvectors) const {
    for (const Vector& projection : m_projections) {
        if (projection.n_elem != cols()) {
            throw std::length_error("NormalModeEngine: a projected frame has " +
                                    std::to_string(projection.n_elem) + " entries, expected " +
                                    std::to_string(cols()));
        }
    }
    constexpr unsigned int most = std::numeric_limits<int>::max() / 2; // far above what the solver takes
    const int nev = static_cast<int>(std::min(m_nModes, most));
    SymEigsSolver<double, 3, NormalModeEngine> solver(this, nev, 2 * nev);
    const Vector start = arma::randu<Vector>(cols()) - 0.5;
    solver.init(start.memptr());
    solver.compute();
    eigenvalues = solver.eigenvalues();
    eigenvectors = solver.eigenvectors(nev);
}

/// The lowest pairs of P^T H P, ascending.
void NormalModeEngine::solveNetwork(arma::Col<double>& eigenvalues, arma::Mat<double>& eigenvectors) const {
    // Deliberate: without modes the rigid pairs are still solved for and reported.
    const arma::uword nPairs = m_nModes + static_cast<arma::uword>(m_nRigidModes);
    if (nPairs + 1 >= cols()) {
        throw std::logic_error(
            "eigs_sym(): n_eigvals + 1 must be less than the number of rows in the matrix");
    }
    const SparseMatrix product = m_prolongation.t() * (*m_system->m_hessian * m_prolongation);
    const SparseMatrix reduced = 0.5 * (product + product.t()); // symmetric but for rounding before

    arma::eigs_opts options;
    options.tol = eigenTolerance;
    // The solver can also come back with some of the pairs only.
    if (!arma::eigs_sym(eigenvalues, eigenvectors, reduced, nPairs, "sm", options) ||
        eigenvalues.n_elem < nPairs || !eigenvalues.is_finite()) {
        eigenvalues.reset();
        throw std::runtime_error("eigs_sym(): failed to converge");
    }
    const arma::uvec order = arma::stable_sort_index(eigenvalues);
    eigenvalues = Vector(eigenvalues(order));
    eigenvectors = Matrix(eigenvectors.cols(order));
}

/// All pairs of P^T C P, ascending.
void NormalModeEngine::solveCovariance(arma::Col<double>& eigenvalues,
                                       arma::Mat<double>& eigenvectors) const {
    if (!m_system->m_covariance) {
        throw std::logic_error("NormalModeEngine: the system holds neither a network nor a covariance");
    }
    const Matrix product = m_prolongation.t() * Matrix(*m_system->m_covariance * m_prolongation);
    if (!arma::eig_sym(eigenvalues, eigenvectors, arma::symmatu(product))) {
        throw std::runtime_error("eig_sym(): decomposition failed");
    }
}
