// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SEARCH_MAPFRAME_H
#define SELVANE_SEARCH_MAPFRAME_H

#include "Math/cBBox.h"
#include "Math/cVector3.h"
#include "Search/PoseMove.h"
#include "Search/PoseRecord.h"

class cGrid;

/// How the frames of map, model and correlation lie to each other, and with it what a pose means: the one
/// place of that formula.
///
/// The correlation counts translations between the low corners of two grids, that of the map (o_M) and that
/// of the grid around the model (o_S), whose lattices agree. A pose with the rotation R and the node's
/// translation tau shifts the model by
///   t = tau + o_M - o_S, moved by a period per axis to where R puts the model's centre into the map's box,
/// and turns it about the pivot c:
///   p' = R ((p - c) + t) + R (dTau + w x (p - c) + u) + c        (PoseMove).
///
/// Three places are one cell off, and only together they are right. The reader of a map puts node (0, 0, 0)
/// one cell d above its true place o, so that o_M = o + d. The node's translation counts (n - 1 - i) d, one
/// cell short of the shift that undoes a translation by i nodes. And the pivot is the middle of the box less
/// one cell: the true middle of the map, about which the scan turned it. The first two undo each other in t.
class MapFrame {
public:
    /// @param map              grid of the map, unpadded
    /// @param structureOrigin  low corner of the grid around the model
    /// @param modelCenter      mean of the model's positions
    MapFrame(const cGrid& map, const cVector3& structureOrigin, const cVector3& modelCenter);

    /// The map in its box, whose middle the map and small rotations of the model turn about.
    const cBBox& box() const { return m_box; }
    /// c, which written poses turn about.
    const cVector3& pivot() const { return m_pivot; }
    const cVector3& modelCenter() const { return m_modelCenter; }
    /// The middle of the box, which small rotations of the model's density turn about.
    cVector3 rotationCenter() const;

    /// Where the model of a pose stands: from the model's frame to the map's. Of the local increments only
    /// those of the record take part, so a refined record gives the refined place.
    PoseMove place(const PoseRecord& pose) const;

    /// o_M - o_S, from the translation of a node to that of the model.
    const cVector3& offset() const { return m_offset; }

    /// A translation of the model, offset included, in the period that keeps the model in the map: t.
    /// @param period  of the correlation's grid, per axis
    cVector3 shiftOf(const cVector3& tau, const cMatrix33& rotation, const cVector3& period) const;

    /// The rigid placement x' = R x + p that the shift t means: p = R (t - c) + c.
    cVector3 translationOf(const cVector3& shift, const cMatrix33& rotation) const;

private:
    cBBox m_box;
    cVector3 m_offset; ///< o_M - o_S
    cVector3 m_pivot;
    cVector3 m_modelCenter;
};

#endif
