// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_EXAMPLES_VERDICT_H
#define SELVANE_EXAMPLES_VERDICT_H

#include <string>
#include <vector>

#include "examples/pdb.h"

namespace example {

/// How the poses of a solution file stand to the known one.
struct Verdict {
    bool pass;
    std::string report;
};

/// Passes when the first pose, the one of the highest score, is within maxRmsd angstrom of the truth. The
/// report names this pose and the one nearest to the truth with rank, score and RMSD, and ends in PASS or
/// FAIL.
/// @throws std::runtime_error when there is no pose or a pose does not have the truth's atoms in the truth's
/// order
Verdict judge(const std::vector<Pose>& poses, const Model& truth, double maxRmsd);

} // namespace example

#endif
