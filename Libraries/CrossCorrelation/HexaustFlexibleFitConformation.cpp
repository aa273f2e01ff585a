// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/HexaustFlexibleFitConformation.h"

bool HexaustFlexibleFitConformation::solveConvexSubProblem(double radius) {
    return maximizeLocalModel(m_gradient, m_hessian, radius);
}
