// SPDX-License-Identifier: GPL-3.0-or-later
// The stages that read the map and the model.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>

#include "CrossCorrelation/ElectronDensity.h"
#include "IO/openInput.h"
#include "IO/resources.h"
#include "Math/structure.h"
#include "PDB/cClassicalParserPDB.h"
#include "PDB/loadFromPDB.h"
#include "app/Vantor.h"
#include "app/fail.h"

namespace {

std::string describeAtom(const cPDBAtom& atom) {
    return "atom " + std::to_string(atom.m_serial) + " (" + atom.m_name + " of " + atom.m_resName + " " +
           std::to_string(atom.m_resSeq) + ", chain '" + atom.m_chain + "')";
}

std::string toText(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

/// Voxels whose map and flat array this machine or its control group can hold.
std::int64_t voxelsInMemory() {
    constexpr double bytesPerVoxel = 16.0;
    constexpr double most = 9.0e18; // of the result's type
    return static_cast<std::int64_t>(std::min(resources::memory().total / bytesPerVoxel, most));
}

bool looksLikeModel(const std::string& path) {
    constexpr std::size_t probeSize = 1 << 20; // bytes; headers of models are shorter
    std::string text(probeSize, '\0');
    try {
        std::ifstream file = openInput(path);
        file.read(text.data(), static_cast<std::streamsize>(text.size()));
        text.resize(static_cast<std::size_t>(file.gcount()));
    } catch (const InputError&) {
        return false;
    }
    return cClassicalParserPDB::contentOf(text) != cClassicalParserPDB::Content::UNKNOWN;
}

} // namespace

void Vantor::loadEdm() {
    m_info.printInfo(" Reading input EDM file ");
    const std::string& path = m_settings.mapPath;
    m_info.printInfo(" Input EDM file ", path, nullptr);
    m_edm.m_largestVoxelCount = std::min(m_edm.m_largestVoxelCount, voxelsInMemory());
    m_edm.load(path);
    m_settings.resolve(m_edm.m_grid);
    checkMap();
    tellFrameShift();
    m_sigma = m_settings.sigma.value();
    m_edmValues = m_edm.getValue();
}

void Vantor::checkMap() const {
    const std::string path = m_settings.mapPath;
    const std::string defect = m_edm.getDefect();
    if (!defect.empty()) {
        if (looksLikeModel(path)) {
            warn(path + " looks like a model and not like a map. " +
                 (cDensityMapCCP4::looksLikeMap(m_settings.modelPath)
                      ? "The inputs look swapped: give the map to --iedm and the model to --ipdb."
                      : "Give a CCP4 map to --iedm."));
        }
        fail(path + ": " + defect +
             ". It must be a CCP4 map of 32-bit floats (mode 2) with at least two voxels "
             "an axis, a finite cell and finite voxels, whose header agrees with its length.");
    }
    const double sigma = m_settings.sigma.value();
    if (!risesAboveCut(sigma)) {
        fail(path + ": its voxels are so large that the default sigma of " + std::to_string(sigma) +
             " angstrom leaves no density above the cut. Give --sigma.");
    }
}

void Vantor::tellFrameShift() const {
    const cVector3 skew = m_edm.m_grid.m_cellDim - m_edm.m_delta;
    constexpr double skewTolerance = 1.0e-3;
    if (skew.norm() > skewTolerance * m_edm.m_delta.norm()) {
        warn(m_settings.mapPath + ": its cell is not right-angled, and the map is treated as an "
                                  "axis-parallel lattice. Resample it onto a right-angled cell.");
    }
    const cVector3 shift = m_edm.getFrameShiftFromOriginWords();
    constexpr double noticeable = 1.0e-3;
    if (!(shift.norm() > noticeable)) {
        return;
    }
    char text[256];
    std::snprintf(
        text, sizeof text,
        ": its ORIGIN words place the map elsewhere than its start words, which alone count here. Add "
        "(%.3f, %.3f, %.3f) angstrom to the results (and to edm.map) to reach the frame of ORIGIN.",
        shift.x, shift.y, shift.z);
    warn(m_settings.mapPath + text);
}

void Vantor::loadPdb() {
    m_info.printInfo(" Reading input PDB file ");
    const std::string& path = m_settings.modelPath;
    m_info.printInfo(" Input PDB file ", path, nullptr);
    loadFromPDB(path.c_str(), m_atoms, m_masses, m_blockIds);
    m_totalMass = 0.0;
    for (const double mass : m_masses) {
        m_totalMass += mass;
    }
    m_info.printInfo(" Number of atoms ", static_cast<int>(m_atoms.size()), " ");
    m_info.printInfo(" Total mass ", m_totalMass, " ");
    m_positions = pdbAtoms2Positions(m_atoms);
    checkModel();
    m_settings.resolve(m_positions);
    checkTrustRadius();
}

/// A trust region without bounds would let the solvers step anywhere.
void Vantor::checkTrustRadius() const {
    const double maxRmsd = m_settings.maxRmsd;
    if (!std::isfinite(maxRmsd * maxRmsd * m_totalMass)) {
        fail(m_settings.modelPath + ": --maxrmsd " + toText(maxRmsd) +
             " squared times the mass of the model is beyond the range of numbers. Use a smaller one.");
    }
}

void Vantor::checkModel() const {
    const std::string path = m_settings.modelPath;
    if (m_atoms.empty()) {
        if (cDensityMapCCP4::looksLikeMap(path)) {
            // Swapped inputs have ended the run at the map already.
            warn(path + " looks like a CCP4 map and not like a model. Give a PDB model to --ipdb.");
        }
        fail(path +
             ": no atoms were kept. It must hold ATOM or HETATM records of a model; waters, hydrogens and "
             "alternate locations above A are left out.");
    }
    for (const cPDBAtom& atom : m_atoms) {
        const cVector3& p = atom.m_position;
        if (!(std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z))) {
            fail(path + ": " + describeAtom(atom) + " has a coordinate that is not a finite number.");
        }
    }
}
