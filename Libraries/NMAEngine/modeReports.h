// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_NMAENGINE_MODEREPORTS_H
#define SELVANE_NMAENGINE_MODEREPORTS_H

#include <cstdio>
#include <string>
#include <vector>

#include <armadillo>

#include "PDB/cPDBAtom.h"

class NormalModeEngine;

// Reports that swing a structure along its modes, linearly and once to and fro: in frame f = 0 .. 99 of mode
// v with the amplitude a, the atoms stand at p + v a sin(2 pi f / 99 - pi). Amplitudes in angstrom
// sqrt(dalton).

/// A movie per mode, one after the other in one PDB file: 100 models each, numbered through from 1.
/// @param amplitudes  one per mode, at least nModes
/// @param nAtoms      how many atoms are written, from the first on
/// @param nModes      how many modes are shown, from the first on
/// @param stream      open for writing, stays open
/// @throws std::length_error   more modes than the engine or `amplitudes` hold, or more atoms than the engine
/// or
///                             `atoms` hold
/// @throws std::runtime_error  the stream reported an error
void printAtomPositions(const arma::Col<double>& amplitudes, const NormalModeEngine& engine, int nAtoms,
                        int nModes, const std::vector<cPDBAtom>& atoms, FILE* stream);

/// Where the modes break covalent bonds: for mode m the file PREFIXm.dat, a row per frame with the number of
/// broken bonds and then by how much each of them exceeds its limit, in angstrom with six decimals, separated
/// by blanks. The list of bonds has each bond twice, and so has the row.
/// @param amplitudes  one per mode to be shown, from the first on
/// @param atoms       all atoms of the engine
/// @param cutoff      of the search for bonds, in angstrom
/// @param prefix      of the files' names, with their folder
/// @throws std::length_error   more amplitudes than modes, or another number of atoms
/// @throws std::runtime_error  a file that can't be opened or written
void printBondBreak(const arma::Col<double>& amplitudes, const NormalModeEngine& engine,
                    const std::vector<cPDBAtom>& atoms, double cutoff, const std::string& prefix);

#endif
