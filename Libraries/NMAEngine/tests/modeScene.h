// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_NMAENGINE_TESTS_MODESCENE_H
#define SELVANE_NMAENGINE_TESTS_MODESCENE_H

#include <cstddef>
#include <vector>

#include "NMAEngine/NormalModeEngine.h"
#include "PDB/cPDBAtom.h"
#include "blockModel.h"

/// A model with its modes, its atoms as records, and the atoms of its blocks loaded.
struct ModeScene {
    static constexpr unsigned int nModes = 6;

    explicit ModeScene(unsigned seed)
        : model(seed)
        , engine(model.network(), model.positions, model.masses, model.blockIds, nModes, 60.0, nullptr)
        , atoms(model.positions.size()) {
        engine.loadCAlphaId2AtomId(model.blockIds);
        for (std::size_t i = 0; i < atoms.size(); ++i) {
            atoms[i].m_position = cVector3(model.positions[i].data());
            atoms[i].m_mass = static_cast<float>(model.masses[i]);
            atoms[i].m_serial = static_cast<int>(i) + 1;
            atoms[i].m_altLoc[0] = atoms[i].m_iCode[0] = atoms[i].m_chain[0] = ' '; // written as they are
        }
    }

    /// The atoms moved by the linear displacement of the amplitudes.
    std::vector<cPDBAtom> displaced(const arma::Col<double>& amplitudes) const {
        std::vector<cPDBAtom> moved = atoms;
        const arma::Col<double> displacement = engine.getDisplacement(amplitudes);
        for (std::size_t i = 0; i < moved.size(); ++i) {
            moved[i].m_position += cVector3(displacement.memptr() + 3 * i);
        }
        return moved;
    }

    BlockModel model;
    NormalModeEngine engine;
    std::vector<cPDBAtom> atoms;
};

#endif
