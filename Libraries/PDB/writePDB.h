// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PDB_WRITEPDB_H
#define SELVANE_PDB_WRITEPDB_H

#include <cstdio>

#include <armadillo>

#include "PDB/cPDBAtom.h"

class cMatrix33;

/// One ATOM line, see cPDBAtom::toFile.
/// @return false if the stream reported an error
bool writeLinePDB(FILE* file, const cPDBAtom* atom);

/// Writes n atoms as ATOM lines. Deliberate: no header, no TER, no END. The atoms themselves are not changed.
/// @param name  written as a ResultFile if `file` is null, else ignored: what stood there before stays unless
///              every line could be written
/// @param file  written to and left open, if not null
/// @return true when every line was written, and the file put in its place, without an error; with n < 1
///         nothing is opened or written and the result is true
bool writePDB(const char* name, const cPDBAtom* atoms, int n, FILE* file = nullptr);

/// The same with atom i moved by the entries 3i, 3i + 1, 3i + 2 of `displacement`.
/// @throws std::length_error if `displacement` has fewer than 3n entries
bool writePDB(const char* name, const cPDBAtom* atoms, int n, const arma::Col<double>& displacement,
              FILE* file = nullptr);

/// The same with each position p replaced by rotation * p + translation.
bool writePDB(const char* name, const cPDBAtom* atoms, int n, const cVector3& translation,
              const cMatrix33& rotation, FILE* file = nullptr);

/// Displaced first, then moved rigidly: rotation * (p + d) + translation.
bool writePDB(const char* name, const cPDBAtom* atoms, int n, const arma::Col<double>& displacement,
              const cVector3& translation, const cMatrix33& rotation, FILE* file = nullptr);

#endif
