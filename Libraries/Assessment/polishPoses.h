// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_ASSESSMENT_POLISHPOSES_H
#define SELVANE_ASSESSMENT_POLISHPOSES_H

#include <cstddef>
#include <vector>

#include "Assessment/PolishModel.h"
#include "Assessment/SplineField.h"
#include "Assessment/climb.h"
#include "Math/RigidMotion.h"
#include "Search/SearchObserver.h"

/// A field to climb on and what climbs on it; neither is owned.
struct PolishLevel {
    const SplineField& field;
    const PolishModel& model;
    double resolution; ///< of the field, angstrom
};

struct PolishRequest {
    std::size_t keep = 50;   ///< places at most that the second climb takes up
    std::size_t threads = 1; ///< at least 1
};

/// A maximum of the overlap and the starts that led there.
struct PolishedPlace {
    RigidMotion motion;    ///< from the file of the model to the frame of the map
    double value = 0.0;    ///< of the overlap on the fine level
    double gain = 0.0;     ///< over the value there of the best start; below 0 where the levels disagree
    std::size_t hits = 0;  ///< starts that arrived
    std::size_t start = 0; ///< number of the best of them
    PolishEnd end = PolishEnd::Converged; ///< of the climb on the fine level
};

/// Climbs from every start to a maximum on the coarse level, which carries far, and from the best of those on
/// to one on the fine level. After each level poses that came to one place are merged, within a tenth of the
/// resolution on the coarse one and half an angstrom on the fine one, RMSD of the model's points. A start
/// that climbed far away counts where it arrived. A model that fits upon itself in several ways has as many
/// places.
/// @param starts  from the file of the model to the frame of the map, best first
/// @param coarse, fine  of one model: the same middle
/// @return the largest value first, of equal ones that of the better start; the same bits for any number of
///         threads
/// @throws SearchCancelled when the observer asks for it
std::vector<PolishedPlace> polishPoses(const std::vector<RigidMotion>& starts, const PolishLevel& coarse,
                                       const PolishLevel& fine, const PolishRequest& request,
                                       SearchObserver& observer);

#endif
