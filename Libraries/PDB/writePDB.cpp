// SPDX-License-Identifier: GPL-3.0-or-later
#include "PDB/writePDB.h"

#include <stdexcept>
#include <string>

#include "IO/ResultFile.h"
#include "Math/cMatrix33.h"

namespace {

/// Writes a copy of each atom at the position that move(i, p) gives for atom i at p.
template <typename Move>
bool writeAtoms(const cPDBAtom* atoms, int n, FILE* file, Move move) {
    bool isWritten = true;
    for (int i = 0; i < n && isWritten; ++i) {
        cPDBAtom copy = atoms[i];
        copy.m_position = move(i, copy.m_position);
        isWritten = writeLinePDB(file, &copy);
    }
    return isWritten;
}

/// The same into a file of that name, complete or not at all, unless there is an open one.
template <typename Move>
bool writeMoved(const char* name, const cPDBAtom* atoms, int n, FILE* file, Move move) {
    if (n < 1) {
        return true;
    }
    if (file != nullptr) {
        return writeAtoms(atoms, n, file, move);
    }
    ResultFile result(name);
    return result.stream() != nullptr && writeAtoms(atoms, n, result.stream(), move) && result.commit();
}

void requireEntries(const arma::Col<double>& displacement, int n) {
    const arma::uword expected = n < 1 ? 0 : 3 * static_cast<arma::uword>(n);
    if (displacement.n_elem < expected) {
        throw std::length_error("writePDB: the displacement of " + std::to_string(n) + " atoms has " +
                                std::to_string(displacement.n_elem) + " entries, expected " +
                                std::to_string(expected));
    }
}

cVector3 displacementOf(const arma::Col<double>& displacement, int i) {
    return cVector3(displacement.memptr() + 3 * static_cast<arma::uword>(i));
}

} // namespace

bool writeLinePDB(FILE* file, const cPDBAtom* atom) {
    return atom->toFile(file);
}

bool writePDB(const char* name, const cPDBAtom* atoms, int n, FILE* file) {
    return writeMoved(name, atoms, n, file, [](int, const cVector3& p) { return p; });
}

bool writePDB(const char* name, const cPDBAtom* atoms, int n, const arma::Col<double>& displacement,
              FILE* file) {
    requireEntries(displacement, n);
    return writeMoved(name, atoms, n, file,
                      [&](int i, const cVector3& p) { return p + displacementOf(displacement, i); });
}

bool writePDB(const char* name, const cPDBAtom* atoms, int n, const cVector3& translation,
              const cMatrix33& rotation, FILE* file) {
    return writeMoved(name, atoms, n, file,
                      [&](int, const cVector3& p) { return rotation * p + translation; });
}

bool writePDB(const char* name, const cPDBAtom* atoms, int n, const arma::Col<double>& displacement,
              const cVector3& translation, const cMatrix33& rotation, FILE* file) {
    requireEntries(displacement, n);
    return writeMoved(name, atoms, n, file, [&](int i, const cVector3& p) {
        return rotation * (p + displacementOf(displacement, i)) + translation;
    });
}
