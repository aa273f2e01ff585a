// SPDX-License-Identifier: GPL-3.0-or-later
#include "Assessment/climb.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "Assessment/poseOverlap.h"
#include "Assessment/stepInBall.h"
#include "Math/pi.h"
#include "Optimization/trustRegionRule.h"

namespace {

constexpr double smallestShift = 0.001;            // angstrom
constexpr double smallestTurn = 0.01 * pi / 180.0; // radians
constexpr double shortestLever = 1.0;              // angstrom; a single atom has none
constexpr double rounding = 1e-13; // of a sum over a model, in units of the largest that it could be

/// A step as a motion.
struct Motion {
    cVector3 d, w;

    Motion(const std::array<double, 6>& step, double lever)
        : d(step[0], step[1], step[2]), w(cVector3(step[3], step[4], step[5]) / lever) {}

    bool isSmall() const { return d.norm() < smallestShift && w.norm() < smallestTurn; }
};

class Climb {
public:
    Climb(const SplineField& field, const PolishModel& model, const RigidMotion& start, double radius)
        : m_field(field)
        , m_model(model)
        , m_placement{start.rotation, start(model.middle)}
        , m_lever(std::max(shortestLever, model.radiusOfGyration))
        , m_radius(radius)
        , m_here(poseOverlap(field, model, m_placement))
        , m_start(m_here.value) {}

    PolishEnd run(std::size_t iterations) {
        while (m_here.inside > 0) {
            const BallStep step = nextStep();
            const Motion motion(step.step, m_lever);
            if (step.gain <= rounding * m_model.totalWeight * m_field.bound()) {
                return PolishEnd::Converged;
            }
            if (m_trials == iterations) {
                return PolishEnd::Iterations;
            }
            tryStep(step, motion);
            if (motion.isSmall()) {
                return PolishEnd::Converged;
            }
        }
        return PolishEnd::OutOfMap;
    }

    Polished result(PolishEnd end) const {
        Polished polished;
        polished.motion = {m_placement.rotation, m_placement.middle - m_placement.rotation * m_model.middle};
        polished.value = m_here.value;
        polished.gain = m_here.value - m_start;
        polished.evaluations = 1 + m_trials;
        polished.end = end;
        return polished;
    }

private:
    /// With turns as lengths.
    BallStep nextStep() const {
        const auto unit = [this](std::size_t i) { return i < 3 ? 1.0 : 1.0 / m_lever; };
        std::array<double, 6> gradient = m_here.gradient;
        std::array<std::array<double, 6>, 6> hessian = m_here.hessian;
        for (std::size_t i = 0; i < gradient.size(); ++i) {
            gradient[i] *= unit(i);
            for (std::size_t j = 0; j < gradient.size(); ++j) {
                hessian[i][j] *= unit(i) * unit(j);
            }
        }
        return stepInBall(gradient, hessian, m_radius);
    }

    void tryStep(const BallStep& step, const Motion& motion) {
        const Placement placement = moved(m_placement, motion.d, motion.w);
        const PoseOverlap there = poseOverlap(m_field, m_model, placement);
        ++m_trials;
        const double ratio = (there.value - m_here.value) / step.gain;
        if (ratio > trustRegion::acceptRatio) {
            m_placement = placement;
            m_here = there;
        } else {
            m_radius = trustRegion::shrinkFactor * step.length;
        }
        if (ratio > trustRegion::growRatio) {
            m_radius = std::max(m_radius, 2.0 * step.length);
        }
    }

    const SplineField& m_field;
    const PolishModel& m_model;
    Placement m_placement;
    double m_lever;
    double m_radius;
    PoseOverlap m_here;
    double m_start;
    std::size_t m_trials = 0;
};

} // namespace

ClimbLimits ClimbLimits::forResolution(double resolution) {
    ClimbLimits limits;
    limits.firstRadius = 0.25 * resolution;
    return limits;
}

Polished climb(const SplineField& field, const PolishModel& model, const RigidMotion& start,
               const ClimbLimits& limits) {
    Climb climb(field, model, start, limits.firstRadius);
    return climb.result(climb.run(limits.iterations));
}
