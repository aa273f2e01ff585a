// SPDX-License-Identifier: GPL-3.0-or-later
#include "NMAEngine/blockScrew.h"

#include <cmath>

#include "Math/pi.h"

namespace {

constexpr double fullTurn = 2.0 * pi;

bool isTranslation(double angle, double leastTurn) {
    return angle < leastTurn || angle == 0.0;
}

/// R - 1
cMatrix33 turning(const cVector3& axis, double angle) {
    return cMatrix33::fromAxisAngle(axis, angle) - cMatrix33::identity();
}

} // namespace

BlockScrew BlockScrew::followingVelocity(const cVector3& center, const cVector3& turn, const cVector3& travel,
                                         double leastTurn) {
    const double angle = turn.norm();
    if (isTranslation(angle, leastTurn)) {
        return {center, cMatrix33(), travel};
    }
    const cVector3 axis = turn / angle;
    const double folded = std::fmod(angle, fullTurn);
    const cVector3 along = axis * (travel | axis);
    const cVector3 across = travel - along;
    const double half = std::sin(0.5 * folded);
    const double versine = 2.0 * half * half; // 1 - cos, without its cancellation at small angles
    const cVector3 shift = along + across * (std::sin(folded) / angle) + (axis ^ across) * (versine / angle);
    return {center, turning(axis, folded), shift};
}

BlockScrew BlockScrew::movingCentre(const cVector3& center, const cVector3& turn, const cVector3& travel,
                                    double leastTurn) {
    const double angle = turn.norm();
    if (isTranslation(angle, leastTurn)) {
        return {center, cMatrix33(), travel};
    }
    return {center, turning(turn / angle, std::fmod(angle, fullTurn)), travel};
}
