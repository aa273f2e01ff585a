// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_NMAENGINE_NORMALMODEENGINE_H
#define SELVANE_NMAENGINE_NORMALMODEENGINE_H

#include <array>
#include <list>
#include <memory>
#include <set>
#include <vector>

#include <armadillo>

#include "Math/cVector3.h"

class System;
class cInfo;
class cPDBAtom;
class cTrajectory;

/// The lowest normal modes of an elastic network whose residues move as rigid bodies (rotation-translation
/// blocks: F. Tama et al., 2000).
///
/// With P the orthonormal basis of the blocks' rigid motions, the engine solves P^T H P u = e u for the
/// smallest eigenvalues, H being the mass-weighted network, leaves out the rigid motions of the whole, and
/// keeps the modes as Cartesian displacements v = M^(-1/2) P u. They are orthonormal under the masses,
/// v_m^T M v_n = delta_mn, so that amplitudes eta move the atoms by u = m_modes eta with
/// sum_a m_a |u_a|^2 = |eta|^2. Coordinates are ordered atom by atom: index 3a + c.
///
/// Construction is the whole computation; the engine is read-only afterwards.
class NormalModeEngine {
public:
    /// Modes of the network with the given blocks.
    /// @param positions    N, in angstrom
    /// @param masses       N, in dalton
    /// @param blockIds     N, the block of each atom, 0 .. B - 1; an index that no atom has is an empty block
    /// @param nModes       modes wanted, cut down to 3N
    /// @param thermalScale kept, used by nothing
    /// @param info         sink of the reports; not owned, may be null
    /// @throws std::length_error   if the three vectors don't have one length, that of the system
    /// @throws std::out_of_range   for a negative block index; and, with the text "Mat::operator(): index out
    ///                             of bounds", if so many eigenvalues are near zero that too few modes remain
    /// @throws std::logic_error, std::runtime_error  as diagonalize()
    NormalModeEngine(std::shared_ptr<const System> network,
                     const std::vector<std::array<double, 3>>& positions, const std::vector<double>& masses,
                     const std::vector<int>& blockIds, unsigned int nModes, double thermalScale, cInfo* info);

    /// Holds a number of modes and nothing else.
    explicit NormalModeEngine(unsigned int nModes);

    /// Modes without blocks: P is the identity.
    NormalModeEngine(std::shared_ptr<const System> network, unsigned int nModes, double thermalScale);

    /// Modes in the space of the columns of P, which are orthonormal or zero. A third of the number of zero
    /// columns, rounded up, is added to m_nRigidModes.
    /// @param prolongation  P, 3N rows
    NormalModeEngine(std::shared_ptr<const System> network, unsigned int nModes,
                     const arma::SpMat<double>& prolongation, double thermalScale);

    /// Builds P of rigid blocks, 3N x 6B: for block b with mass M_b, centre c_b and L_b the inverse square
    /// root of its inertia tensor, atom a has
    ///   P[3a + k][6b + k]     = sqrt(m_a / M_b)
    ///   P[3a + .][6b + 3 + i] = sqrt(m_a) (row i of L_b) x (x_a - c_b)
    /// A block of one atom has zero rotation columns. A block on a line can't turn about that line: its L_b
    /// is zero there.
    void buildRTBProlongationMatrix(const std::vector<std::array<double, 3>>& positions,
                                    const std::vector<double>& masses, const std::vector<int>& blockIds,
                                    cInfo* info);

    /// Builds P of blocks that only translate, 3N x 3B: P[3a + c][3b + c] = sqrt(m_a / M_b).
    void buildCAProlongationMatrix(const std::vector<double>& masses, const std::vector<int>& blockIds);

    /// Diagonalises, leaves out the near-zero eigenpairs, and fills modes, eigenvalues and block motions.
    ///
    /// In a system without a network the eigenvalues are those of a covariance, nothing is left out, and
    /// m_eigenvalues are their inverses. The system's covariance gives its largest eigenvalues first, and so
    /// do projected frames if the system has no covariance; if it has one, the largest that they give come
    /// in ascending order. Beside a network, eigenvalues of projected frames are kept as they are.
    /// @throws std::out_of_range  "Mat::operator(): index out of bounds", if fewer than m_nModes pairs remain
    void performNMA();

    /// Eigenpairs of the reduced problem, each eigenvalue reported to m_info.
    /// - Of projected frames (m_projections), those of their covariance sum_k p_k p_k^T: the m_nModes
    ///   largest, or as many of them as converge, descending. The covariance isn't formed: SymEigsSolver
    ///   works on 2 m_nModes dimensions, from a start vector of the matrix library's random generator. No
    ///   system is needed.
    /// - Otherwise of the system's network, P^T H P: the m_nModes + m_nRigidModes of smallest magnitude,
    ///   ascending, to a relative tolerance of 0.01.
    /// - Otherwise of the system's covariance, P^T C P: all, ascending.
    /// @param eigenvectors  cols() rows, a column per eigenvalue
    /// @throws std::invalid_argument  for projected frames and no modes or 2 m_nModes > cols(), as
    ///                                SymEigsSolver
    /// @throws std::length_error      if a projected frame hasn't cols() entries
    /// @throws std::logic_error       if a projected frame isn't finite; without a system; for a system with
    ///                                neither a network nor a covariance; "eigs_sym(): n_eigvals + 1 must be
    ///                                less than the number of rows in the matrix"
    /// @throws std::runtime_error     "eigs_sym(): failed to converge"
    void diagonalize(arma::Col<double>& eigenvalues, arma::Mat<double>& eigenvectors) const;

    /// @return 3 x m_nModes, the displacement of one atom per unit amplitude of each mode
    /// @throws std::out_of_range  for an atom that the modes don't cover
    arma::Mat<double> getModesMatrix(int atom) const;

    /// @return m_modes * amplitudes, 3N
    arma::Col<double> getDisplacement(const arma::Col<double>& amplitudes) const;

    /// Dimension of the reduced problem, the number of columns of P.
    arma::uword rows() const { return m_prolongation.n_cols; }
    arma::uword cols() const { return m_prolongation.n_cols; }

    // Finite deformations: where the linear displacement shrinks and shears a block, these move it as a rigid
    // body. `atoms` are all atoms of the engine, `out` receives their positions; an array `out` has room for
    // as many, a vector `out` becomes a copy of `atoms` at the new positions and may be `atoms` itself; an
    // atom that is not written stays where `out` had it, or `atoms` if `out` held another number of them. The
    // blocks' atoms are those of m_blockAtoms. Amplitudes below 1e-11 (one of them, or the norm of several)
    // copy the positions. Otherwise only listed atoms are written: with a mode outside 0 .. m_nModes - 1, or
    // without m_blockAtoms, none. A block that turns by less than 1e-11 rad per unit amplitude (in all, for
    // the large form of several modes) only translates. All throw std::out_of_range for a listed atom outside
    // `atoms`.

    /// Each block follows its velocity field, a (t + w x (x - c)), exactly: a screw, whose axis need not go
    /// through the centre c of the block. To first order in the amplitude a the result is x + a v.
    void applyNonLinearTransformation(int mode, double amplitude, cVector3* out,
                                      const std::vector<cPDBAtom>& atoms) const;
    void applyNonLinearTransformation(int mode, double amplitude, std::vector<cPDBAtom>& out,
                                      const std::vector<cPDBAtom>& atoms) const;
    /// The same with the fields of several modes added up first.
    /// @param amplitudes  of the modes 0, 1, ...; entries beyond m_nModes move nothing
    void applyNonLinearTransformation(const std::vector<double>& amplitudes, cVector3* out,
                                      const std::vector<cPDBAtom>& atoms) const;
    void applyNonLinearTransformation(const std::vector<double>& amplitudes, std::vector<cPDBAtom>& out,
                                      const std::vector<cPDBAtom>& atoms) const;

    /// A form that works from m_modes alone, without the blocks' stored motions: each block is superposed on
    /// a copy of it that the linear displacement d moved by a small step, and the turn and the travel of its
    /// centre of mass that this gives are scaled up to |d|.
    /// @throws std::logic_error   if `amplitudes` doesn't have m_nModes entries
    /// @throws std::length_error  if `atoms` are not as many as those of m_modes
    void applyNonLinearTransformation(const arma::Col<double>& amplitudes, std::vector<cPDBAtom>& out,
                                      const std::vector<cPDBAtom>& atoms) const;

    /// Each block turns by a w about an axis for which its centre of mass travels by exactly a t, whatever
    /// the angle. (In the other transformation the centre goes on an arc.) At whole turns such an axis is at
    /// infinity, and the block is where the translation by a t brings it.
    void applyLargeNonLinearTransformation(int mode, double amplitude, cVector3* out,
                                           const std::vector<cPDBAtom>& atoms) const;
    void applyLargeNonLinearTransformation(const std::vector<double>& amplitudes, std::vector<cPDBAtom>& out,
                                           const std::vector<cPDBAtom>& atoms) const;

    /// The amplitudes that bring one structure nearest to another of the same atoms, by mass-weighted least
    /// squares along the linear modes. They are not superposed first. Writes a line to the standard output:
    /// the two deviations and the amplitudes, each as "%12.6f".
    /// @param nModes      how many modes take part, from the first on; all if there are fewer
    /// @param amplitudes  overwritten, one per mode that takes part
    /// @param rmsdBefore, rmsdAfter  mass-weighted root mean square deviation of the atoms that take part, in
    ///                    angstrom, without and with the amplitudes
    /// @param atomList    the atoms that take part; null for all. If they are too few to tell all amplitudes,
    ///                    the amplitudes of smallest norm are taken. With an empty list all values are 0.
    /// @throws std::length_error  if `from` or `to` are not as many as the atoms of m_modes
    /// @throws std::out_of_range  for a listed atom that isn't there
    void computeBestAmplitudes(int nModes, const std::vector<cPDBAtom>& from, const std::vector<cPDBAtom>& to,
                               std::vector<double>& amplitudes, double& rmsdBefore, double& rmsdAfter,
                               std::vector<unsigned int>* atomList) const;

    /// Fills m_projections with the frames of a trajectory as they are seen in the space of the columns of P,
    /// p = P^T M^(1/2) (x - reference) / sqrt(number of frames), and m_frameAverage with the reference in the
    /// same measure. The sum of p p^T over the frames is the reduced covariance about the reference. Earlier
    /// projections are replaced.
    /// @throws std::invalid_argument  without a trajectory
    /// @throws std::logic_error   without frames
    /// @throws std::length_error  if a frame or the reference has another number of atoms than the engine
    void projectTrajectory(const cTrajectory* trajectory,
                           const std::vector<std::array<double, 3>>& reference);
    /// About one of the frames. What is given as reference beside the frame is not used.
    /// @throws std::out_of_range  a frame that isn't there
    void projectTrajectory(const cTrajectory* trajectory, const std::vector<std::array<double, 3>>& reference,
                           int frame);
    void projectTrajectory(const cTrajectory* trajectory, int frame);
    /// About the average of the frames. What is given as reference is not used.
    void projectAvTrajectory(const cTrajectory* trajectory,
                             const std::vector<std::array<double, 3>>& reference);

    /// The range, 0 included, of a mode's share in the projected frames:
    ///   a = sum_b (sqrt(M_b) p_t . t_b + (L_b p_w) . w_b) / sum_b (|t_b|^2 + |w_b|^2),
    /// p_t and p_w being the translation and rotation parts of a projection for block b. With alpha the
    /// amplitude of the mode in a frame and F the number of frames, the mode's own motion gives
    ///   a = alpha / sqrt(F) * sum_b (M_b |t_b|^2 + |w_b|^2) / sum_b (|t_b|^2 + |w_b|^2),
    /// a multiple of alpha and not alpha itself.
    /// @param trajectory  not used; may be null
    /// @param minMax      two doubles, overwritten; both 0 for a mode outside 0 .. m_nModes - 1
    void computeMinMaxAmplitudes(const cTrajectory* trajectory, int mode, double* minMax) const;

    /// The covariance of the projected frames applied to a vector: out = sum_k (p_k . in) p_k.
    /// @param in, out  cols() doubles each; not owned
    void perform_op(const double* in, double* out) const;

    /// Masses of the listed atoms, in the list's order.
    void getBlockMasses(const std::list<int>& atoms, std::vector<double>& masses) const;

    /// Fills m_blockAtoms from the block of each atom; the indices of a block are ascending.
    void loadCAlphaId2AtomId(const std::vector<int>& blockIds);

    /// Makes room in m_modes for atoms that the modes were computed without: inserts three rows of zeros for
    /// each atom, which end up at the atom's index in the full model.
    void shiftIndices(const std::set<int>& atoms);

    static constexpr int rigidMotions = 6; ///< of a body that nothing holds

    cInfo* m_info = nullptr; ///< not owned, may be null
    std::shared_ptr<const System> m_system;
    const unsigned int m_nModes;            ///< modes kept
    unsigned int m_firstMode = 0;           ///< leading eigenpairs left out
    const double m_thermalScale = 0.0;      ///< used by nothing
    arma::Mat<double> m_modes;              ///< 3N x m_nModes, Cartesian displacements, a mode per column
    arma::Col<double> m_eigenvalues;        ///< m_nModes, of the columns of m_modes
    const int m_nRigidModes = rigidMotions; ///< eigenpairs asked for beyond m_nModes

    // The motion of block b in mode m, indexed [b][m]: an atom at x moves by t + w x (x - centre).
    // Zero where P doesn't come from rigid blocks.
    std::vector<std::vector<cVector3>> m_blockRotations;    ///< w
    std::vector<std::vector<cVector3>> m_blockTranslations; ///< t

    std::vector<arma::Col<double>> m_projections; ///< projected frames of a trajectory, cols() entries each
    arma::Mat<double> m_frameAverage;             ///< the projected reference, see projectTrajectory
    arma::SpMat<double> m_prolongation;           ///< P
    std::vector<std::list<int>> m_blockAtoms;     ///< atoms of each block, see loadCAlphaId2AtomId

    std::vector<std::array<double, 3>> m_blockCenters;    ///< centres of mass; not numbers for an empty block
    std::vector<arma::Mat<double>> m_blockInvSqrtInertia; ///< 3 x 3, L of each block
    std::vector<double> m_blockMasses;                    ///< total mass of each block

private:
    const System& system() const;
    void solveProjections(arma::Col<double>& eigenvalues, arma::Mat<double>& eigenvectors) const;
    void solveNetwork(arma::Col<double>& eigenvalues, arma::Mat<double>& eigenvectors) const;
    void solveCovariance(arma::Col<double>& eigenvalues, arma::Mat<double>& eigenvectors) const;
    void setBlockMotions(const arma::Mat<double>& eigenvectors, const arma::uvec& columns);
};

#endif
