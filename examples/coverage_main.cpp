// SPDX-License-Identifier: GPL-3.0-or-later
// selvane-coverage: how far an orientation can be from the nearest rotation of a scan.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

#include "Math/cMatrix33.h"
#include "Sampler/cAngularSampler.h"
#include "Sampler/evenRotations.h"
#include "examples/Random.h"

namespace {

constexpr const char* usageText =
    "usage: selvane-coverage [--even] STEP...\n"
    "\n"
    "For each STEP of a scan (selvane --dangle or, with --even, selvane-fit --step; degrees), the angle\n"
    "from 40,000 random orientations to the\n"
    "nearest rotation of the scan: the mean, the angle within which 95 % are, and the farthest. The\n"
    "last column is the least that the farthest can be for as many rotations, however placed.\n";

constexpr double pi = 3.141592653589793;
constexpr std::size_t orientations = 40000;
constexpr double leastStep = 2.0; // degrees: 1.8 million rotations, minutes

using Elements = std::array<double, 9>; // of a rotation matrix, by rows

Elements elementsOf(const std::array<double, 3>& angles) {
    const cMatrix33 m = cMatrix33::rotationXYZ(angles[0], angles[1], angles[2]);
    return {m(0, 0), m(0, 1), m(0, 2), m(1, 0), m(1, 1), m(1, 2), m(2, 0), m(2, 1), m(2, 2)};
}

Elements elementsOf(const example::Mat3& m) {
    return {m[0][0], m[0][1], m[0][2], m[1][0], m[1][1], m[1][2], m[2][0], m[2][1], m[2][2]};
}

/// The angle of A^T B follows from its trace, 1 + 2 cos; the largest trace is that of the nearest rotation.
double degreesToNearest(const Elements& orientation, const std::vector<Elements>& rotations) {
    double largest = -1.0;
    for (const Elements& rotation : rotations) {
        double trace = 0.0;
        for (std::size_t e = 0; e < rotation.size(); ++e) {
            trace += orientation[e] * rotation[e];
        }
        largest = std::max(largest, trace);
    }
    return std::acos(std::clamp(0.5 * (largest - 1.0), -1.0, 1.0)) * 180.0 / pi;
}

/// A ball of all rotations within w radians is (w - sin w) / pi of the whole group: n of them must fill it.
double leastFarthestDegrees(std::size_t n) {
    double low = 0.0, high = pi;
    while (high - low > 1e-9) {
        const double middle = 0.5 * (low + high);
        ((middle - std::sin(middle)) * static_cast<double>(n) < pi ? low : high) = middle;
    }
    return high * 180.0 / pi;
}

example::Mat3 product(const example::Mat3& a, const example::Mat3& b) {
    example::Mat3 result{};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            for (std::size_t k = 0; k < 3; ++k) {
                result[row][column] += a[row][k] * b[k][column];
            }
        }
    }
    return result;
}

/// Rotations of the set have distance 0, and a turn by some angle changes no distance by more than that.
void checkDistances(const std::vector<Elements>& rotations, const std::array<double, 3>& someAngles) {
    constexpr double rounding = 1e-5; // degrees: the cosine is flat near 1
    constexpr double turnDegrees = 1.0;
    bool isRight = degreesToNearest(elementsOf(someAngles), rotations) < rounding;
    const double half = 0.5 * turnDegrees * pi / 180.0;
    example::Random random(2);
    for (int trial = 0; trial < 100; ++trial) {
        const example::Mat3 orientation = random.rotation();
        const example::Vec3 axis = random.direction();
        const example::Mat3 turn = example::rotationFromQuaternion(
            std::cos(half), axis.x * std::sin(half), axis.y * std::sin(half), axis.z * std::sin(half));
        const double before = degreesToNearest(elementsOf(orientation), rotations);
        const double after = degreesToNearest(elementsOf(product(turn, orientation)), rotations);
        isRight = isRight && std::abs(after - before) < turnDegrees + rounding;
    }
    if (!isRight) {
        throw std::runtime_error("the distances between rotations are not those of a metric");
    }
}

void printCoverage(double step, bool isEven) {
    const auto angles = isEven ? evenRotations(step) : cAngularSampler::constructRotations(step);
    std::vector<Elements> rotations;
    rotations.reserve(angles.size());
    for (const auto& triple : angles) {
        rotations.push_back(elementsOf(triple));
    }
    checkDistances(rotations, angles[angles.size() / 2]);

    example::Random random(1);
    std::vector<double> degrees(orientations);
    for (double& angle : degrees) {
        angle = degreesToNearest(elementsOf(random.rotation()), rotations);
    }
    std::sort(degrees.begin(), degrees.end());
    const double mean =
        std::accumulate(degrees.begin(), degrees.end(), 0.0) / static_cast<double>(orientations);
    const double least = leastFarthestDegrees(rotations.size());
    if (degrees.back() < least) {
        throw std::runtime_error("the rotations cover more than they can");
    }
    std::printf("%4g %10zu %7.1f %7.1f %9.1f %7.1f\n", step, rotations.size(), mean,
                degrees[orientations * 95 / 100], degrees.back(), least);
}

double stepFrom(const std::string& text) {
    char* end = nullptr;
    const double step = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !(step >= leastStep) || !(step <= 180.0)) {
        throw std::invalid_argument("STEP must be a number from 2 to 180, not '" + text + "'");
    }
    return step;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs(usageText, stderr);
        return EXIT_FAILURE;
    }
    try {
        std::vector<double> steps;
        const bool isEven = std::string(argv[1]) == "--even";
        for (int word = isEven ? 2 : 1; word < argc; ++word) {
            steps.push_back(stepFrom(argv[word]));
        }
        std::printf("step  rotations    mean    95 %%  farthest   least\n");
        for (const double step : steps) {
            printCoverage(step, isEven);
        }
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "selvane-coverage: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
