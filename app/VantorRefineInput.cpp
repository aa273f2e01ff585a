// SPDX-License-Identifier: GPL-3.0-or-later
// The refinement of the input model itself, in place of a scan.
#include <string>

#include "CrossCorrelation/ElectronDensity.h"
#include "CrossCorrelation/fccf.h"
#include "IO/cSequentialTimer.h"
#include "Interface/ConformationOracle.h"
#include "NMAEngine/NormalModeEngine.h"
#include "Optimization/BfgsTrustRegionSolver.h"
#include "PDB/writePDB.h"
#include "app/Vantor.h"

namespace {

constexpr double gradientReduction = 1e-11; ///< of the squared norm
constexpr unsigned long maxSteps = 20000;

} // namespace

void Vantor::refineInputPDB(cSequentialTimer& timer) {
    m_info.printInfo(" Optimizing the input pdb ");
    const cGrid& map = m_edm.m_grid;
    m_structureGrid = std::make_shared<cGrid>(map);
    // Deliberate: the corner is the cell itself, not the map's corner moved by a cell, so that model and map
    // meet in the frame of a map whose first voxel stands one cell above the origin.
    m_structureGrid->m_box.m_min = map.m_cellDim;
    m_structureGrid->m_box.m_max = map.m_cellDim;
    fccf::filterValues(m_edmValues, m_settings.filterSigmas);

    auto density =
        std::make_shared<ElectronDensity>(m_positions.data(), m_sigma, m_positions.size(), m_structureGrid,
                                          *m_nma, m_eta, ElectronDensity::EPSILON);
    const cVector3 center = map.m_box.center();
    density->setRotationCenter(center);
    const std::size_t nDof = m_eta.n_elem + 6;
    const auto oracle = std::make_shared<ConformationOracle>(m_edmValues, density, nDof);
    BfgsTrustRegionSolver solver(oracle, nDof, 1.0);
    solver.m_radius = m_trustNorm[0];
    const arma::Col<double> x = solver.solve(gradientReduction, maxSteps);
    m_info.saveTimeInterval(timer.getTimeInterval());

    m_info.printInfo(" Saving optimized solution ");
    writeRefinedInput(x, center);
}

/// Writes the input with every atom moved to first order, as the density was: tau + theta x (p - centre) + U
/// eta.
void Vantor::writeRefinedInput(const arma::Col<double>& x, const cVector3& center) {
    arma::Col<double> displacement(3 * m_positions.size(), arma::fill::zeros);
    if (x.n_elem > 6) {
        displacement = m_nma->getDisplacement(x.tail(x.n_elem - 6));
    }
    const arma::Col<double> rigid = x.head(6);
    for (std::size_t a = 0; a < m_positions.size(); ++a) {
        displacement.subvec(3 * a, 3 * a + 2) +=
            fccf::getRigidDofMatrix(m_positions[a], {center.x, center.y, center.z}) * rigid;
    }
    const std::string& input = m_settings.modelPath;
    const std::string path =
        m_settings.outputDirectory + "/Refined-" + input.substr(input.find_last_of('/') + 1);
    const bool isOpened = writeResult(path, [&](std::FILE* file) {
        return writePDB(nullptr, m_atoms.data(), static_cast<int>(m_atoms.size()), displacement, file);
    });
    m_incompleteFiles = m_incompleteFiles || !isOpened;
}
