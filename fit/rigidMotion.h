// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FIT_RIGIDMOTION_H
#define SELVANE_FIT_RIGIDMOTION_H

#include "Math/RigidMotion.h"
#include "Search/PoseMove.h"

/// The motion of a pose without a change of shape. A pose turns by R and before that by the small rotation w
/// about its centre c, which PoseMove takes to first order, so that it stretches the model; here w is a turn
/// by |w| about its axis:
///   p' = R (exp(w) (p - c) + t + dt) + c.
/// Without w both are the same.
RigidMotion rigidMotion(const PoseMove& move);

#endif
