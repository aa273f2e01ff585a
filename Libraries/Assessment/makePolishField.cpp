// SPDX-License-Identifier: GPL-3.0-or-later
#include "Assessment/makePolishField.h"

#include "Assessment/splineLines.h"

SplineField makePolishField(const DensityMap& contrast, double sigma) {
    DensityMap blurred = contrast;
    blurSpline(blurred.values, blurred.size,
               {sigma / contrast.voxel.x, sigma / contrast.voxel.y, sigma / contrast.voxel.z});
    return SplineField(blurred);
}
