// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sampler/rotationAngles.h"

#include <algorithm>

#include "Sampler/cAngularSampler.h"

std::array<double, 3> rotationAngles(const cMatrix33& rotation) {
    double m[3][3];
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            m[row][column] = rotation(row, column);
        }
    }
    m[0][2] = std::clamp(m[0][2], -1.0, 1.0); // rounding must not leave the domain of the arc sine
    std::array<double, 3> angles{};
    cAngularSampler::ToEulerAnglesXYZ(angles[0], angles[1], angles[2], m);
    return angles;
}
