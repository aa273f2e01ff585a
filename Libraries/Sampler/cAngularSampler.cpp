// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sampler/cAngularSampler.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>

#include "Math/pi.h"

namespace {

constexpr double twoPi = 2.0 * pi;
constexpr double halfPi = 0.5 * pi;
constexpr double fullTurn = 360.0;           // degrees
constexpr double squaredFullTurn = 129600.0; // the sphere has this over pi square degrees
constexpr double spiralConstant = 3.6;       // spreads successive windings as far as neighbours
constexpr double largestCount = std::numeric_limits<int>::max();

[[noreturn]] void endEmptyTurn() {
    std::exit(-1);
}

struct Interval {
    double low, high;
    bool contains(double value) const { return low <= value && value <= high; }
};

/// A direction of the sphere, in radians.
struct Direction {
    double phi, theta;
};

/// Number of directions for a step in degrees, one per patch of step^2 square degrees.
int directionCount(double step) {
    const double count = std::ceil(squaredFullTurn / (step * step * pi));
    if (!(step > 0.0) || !std::isfinite(step) || !(count <= largestCount)) {
        throw std::invalid_argument("angular step " + std::to_string(step) +
                                    " degrees: it must be above 0 and large enough to count the rotations");
    }
    return static_cast<int>(count);
}

/// The turns psi in degrees. Deliberate: by repeated addition, whose rounding decides whether the last is in.
std::vector<double> walkTurns(const Interval& bounds, double step) {
    std::vector<double> turns;
    for (double psi = bounds.low; psi <= bounds.high && psi < fullTurn; psi += step) {
        turns.push_back(psi);
    }
    return turns;
}

/// Refuses bounds for which the walk over psi would be endless or too long to count.
void checkBounds(double bounds[3][2], double step) {
    const bool finite = std::all_of(bounds[0], bounds[0] + 6, [](double b) { return std::isfinite(b); });
    const double low = bounds[2][0], high = bounds[2][1];
    if (!finite || low + step == low || (high - low) / step > largestCount) {
        throw std::invalid_argument("angular bounds that are not finite or too far apart for a step of " +
                                    std::to_string(step) + " degrees");
    }
}

/// Visits the accepted directions, from the south pole along the spiral to the north pole.
class Spiral {
public:
    Spiral(double bounds[3][2], double step)
        : m_count(directionCount(step))
        , m_phi(toRadians(bounds[0]))
        , m_theta(toRadians(bounds[1]))
        , m_psiLow(bounds[2][0] * radiansPerDegree)
        , m_polePhi((bounds[0][0] + bounds[0][1]) / 2.0 * radiansPerDegree) {}

    bool acceptsSouthPole() const { return m_theta.contains(remap({m_polePhi, pi}).theta); }

    template <class Visitor>
    void visit(const Visitor& visitor) const {
        // Both poles stand, however few points the step asks for.
        visitPole(pi, visitor);
        double phi =
            0.0; // Deliberate: the running sum starts here, not at the pole's phi, and is not wrapped
        for (int k = 1; k < m_count - 1; ++k) {
            const double h = 2.0 * k / (m_count - 1) - 1.0;
            phi += spiralConstant / std::sqrt((1.0 - h * h) * m_count);
            const Direction point = remap({phi, std::acos(h)});
            if (m_phi.contains(point.phi) && m_theta.contains(point.theta)) {
                visitor(point);
            }
        }
        visitPole(0.0, visitor);
    }

private:
    static Interval toRadians(const double degrees[2]) {
        return {degrees[0] * radiansPerDegree, degrees[1] * radiansPerDegree};
    }

    Direction remap(const Direction& raw) const {
        Direction mapped{};
        double psi = 0.0;
        cAngularSampler::remap_eulers(&mapped.phi, &mapped.theta, &psi, raw.phi, raw.theta, 0.0, m_phi.low,
                                      m_theta.low, m_psiLow);
        return mapped;
    }

    template <class Visitor>
    void visitPole(double theta, const Visitor& visitor) const {
        const Direction pole = remap({m_polePhi, theta});
        if (m_theta.contains(pole.theta)) { // every phi is the same there
            visitor(pole);
        }
    }

    int m_count;
    Interval m_phi, m_theta;
    double m_psiLow, m_polePhi;
};

/// Number of turns per direction as it enters the length of the list.
double turnCount(const Interval& bounds, double step, const std::vector<double>& turns, bool southPole) {
    // Deliberate: without the south pole the count comes from the quotient, not from the walk.
    const double count =
        southPole ? static_cast<double>(turns.size()) : std::ceil((bounds.high - bounds.low) / step);
    if (count < 1.0) {
        endEmptyTurn();
    }
    return count;
}

double wrap(double x, double low) {
    // Deliberate: whole turns below low end at low + 2 pi, not at low.
    const double r = x - low;
    return r >= 0.0 ? low + std::fmod(r, twoPi) : low + (twoPi - std::fmod(-r, twoPi));
}

} // namespace

std::vector<std::array<double, 3>> cAngularSampler::constructRotations(double step) {
    double bounds[3][2] = {{0.0, fullTurn}, {0.0, 180.0}, {0.0, fullTurn}};
    unsigned long count = 0;
    double* angles = nullptr;
    eu_spiral(bounds, step, &count, angles);
    const std::unique_ptr<double[]> owner(angles);
    std::vector<std::array<double, 3>> rotations(count);
    for (std::size_t i = 0; i < rotations.size(); ++i) {
        convertZXZtoXYZ(angles[3 * i], angles[3 * i + 1], angles[3 * i + 2], rotations[i]);
    }
    return rotations;
}

void cAngularSampler::eu_spiral(double bounds[3][2], double step, unsigned long* count, double*& angles) {
    const Spiral spiral(bounds, step);
    checkBounds(bounds, step);
    const Interval psiBounds{bounds[2][0], bounds[2][1]};
    const std::vector<double> turns = walkTurns(psiBounds, step);
    const double perDirection = turnCount(psiBounds, step, turns, spiral.acceptsSouthPole());
    unsigned long directions = 0;
    spiral.visit([&](const Direction&) { ++directions; });
    const double total = static_cast<double>(directions) * perDirection;
    if (total > largestCount) {
        throw std::invalid_argument("angular step " + std::to_string(step) + " degrees gives " +
                                    std::to_string(total) + " rotations");
    }
    // The walk can find one psi more, or fewer, than the quotient told; the list keeps the length told, and
    // what nothing fills is zero.
    const auto length = 3 * static_cast<std::size_t>(total);
    auto list = std::make_unique<double[]>(length);
    std::size_t next = 0;
    spiral.visit([&](const Direction& point) {
        for (std::size_t t = 0; t < turns.size() && next < length; ++t, next += 3) {
            remap_eulers(&list[next], &list[next + 1], &list[next + 2], point.phi, point.theta,
                         turns[t] * radiansPerDegree, 0.0, 0.0, 0.0);
        }
    });
    *count = static_cast<unsigned long>(total);
    angles = list.release();
}

void cAngularSampler::remap_eulers(double* a, double* b, double* c, double a0, double b0, double c0,
                                   double aLow, double bLow, double cLow) {
    *a = wrap(a0, aLow);
    *b = wrap(b0, bLow);
    *c = wrap(c0, cLow);
    if (*b - bLow <= pi) {
        return;
    }
    const double t = wrap(*b, 0.0);
    *b = wrap(*b - 2.0 * t, bLow);
    *a += *a - aLow > pi ? -pi : pi;
    *c += *c - cLow > pi ? -pi : pi;
}

void cAngularSampler::convertZXZtoXYZ(double a, double b, double c, std::array<double, 3>& out) {
    const double sinA = std::sin(a), cosA = std::cos(a);
    const double sinB = std::sin(b), cosB = std::cos(b);
    const double sinC = std::sin(c), cosC = std::cos(c);
    const double m00 = cosA * cosC - sinA * cosB * sinC;
    const double m01 = sinA * cosB * cosC + cosA * sinC;
    const double m10 = -sinA * cosC - cosA * cosB * sinC;
    const double m11 = -sinA * sinC + cosA * cosB * cosC;
    const double m12 = cosA * sinB;
    const double m22 = cosB;

    // Deliberate: the angle from the arcsine, about y, stands first, where the scan takes the one about x.
    const double s = std::asin(sinA * sinB);
    if (s >= halfPi) {
        out = {s, std::atan2(m10, m11), 0.0};
    } else if (s <= -halfPi) {
        out = {s, -std::atan2(m10, m11), 0.0};
    } else {
        out = {s, std::atan2(-m12, m22), std::atan2(-m01, m00)};
    }
}

void cAngularSampler::convertZXZtoXYZ(double a, double b, double c, cVector3& out) {
    std::array<double, 3> triple{};
    convertZXZtoXYZ(a, b, c, triple);
    out = cVector3(triple.data());
}

int cAngularSampler::ToEulerAnglesXYZ(double& x, double& y, double& z, double m[3][3]) {
    y = std::asin(m[0][2]);
    if (y >= halfPi || y <= -halfPi) {
        x = y > 0.0 ? std::atan2(m[1][0], m[1][1]) : -std::atan2(m[1][0], m[1][1]);
        z = 0.0;
        return 0;
    }
    x = std::atan2(-m[1][2], m[2][2]);
    z = std::atan2(-m[0][1], m[0][0]);
    return 1;
}
