// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PDB_CTRAJECTORY_H
#define SELVANE_PDB_CTRAJECTORY_H

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

#include <armadillo>

#include "PDB/cPDBAtom.h"

/// Frames of one model: the same atoms at different positions, in ångström. The frames are kept as they come,
/// not superposed on each other.
///
/// The first frame fixes the number of atoms, at least one. The atoms themselves, with their names and
/// masses, come with the first model appended as atoms; a trajectory of bare positions has none.
class cTrajectory {
public:
    /// A position per atom.
    using Frame = std::vector<std::array<double, 3>>;

    /// @throws std::invalid_argument  a first frame without atoms
    /// @throws std::length_error      another number of atoms than in the first frame
    void appendFrame(Frame frame);
    /// Appends the positions of the atoms. The first call keeps the atoms, too.
    /// @throws as appendFrame
    void appendModel(const std::vector<cPDBAtom>& atoms);

    std::size_t getFrameCount() const { return m_frames.size(); }
    std::size_t getAtomCount() const { return m_frames.empty() ? 0 : m_frames.front().size(); }
    /// @throws std::out_of_range  a frame that isn't there
    const Frame& getFrame(std::size_t frame) const;
    /// The atoms of the first model, at their positions in it; empty if no model was appended.
    const std::vector<cPDBAtom>& getAtoms() const { return m_atoms; }

    /// Mean position of each atom over the frames.
    /// @throws std::logic_error  without a frame
    Frame getAverageFrame() const;

    /// Covariance of the mass-weighted Cartesian coordinates about the average frame x̄, with F frames,
    ///   C = 1/F sum over frames f of (M^(1/2) (x_f - x̄)) (M^(1/2) (x_f - x̄))^T,
    /// 3N x 3N, index 3a + c, in Da Å², symmetric to the bit.
    ///
    /// The weights are there because normal modes are orthonormal in mass-weighted coordinates: P^T C P with
    /// the columns of P in those coordinates is then the sum of p p^T over the frames projected as
    /// p = P^T M^(1/2) (x_f - x̄) / sqrt(F), so the two ways to the modes of a trajectory give the same modes.
    ///
    /// Takes 72 N² bytes, and 24 N F while it is made. Kept, and made again only if a frame was added or the
    /// masses are others; the matrix that an earlier call returned stays what it was.
    /// @param masses  one per atom, in dalton
    /// @throws std::logic_error   without a frame
    /// @throws std::length_error  another number of masses than of atoms
    std::shared_ptr<const arma::Mat<double>> getCovariance(const std::vector<double>& masses);

private:
    void checkHasFrames() const;

    std::vector<cPDBAtom> m_atoms;
    std::vector<Frame> m_frames;

    std::shared_ptr<const arma::Mat<double>> m_covariance; ///< null if there is none of the present frames
    std::vector<double> m_covarianceMasses;                ///< those of m_covariance
};

#endif
