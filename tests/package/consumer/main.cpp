// SPDX-License-Identifier: GPL-3.0-or-later
#include <Math/cBBox.h>
#include <Math/cGrid.h>

int main() {
    cBBox box;
    unsigned int sizes[3] = {4, 5, 6};
    const cGrid grid(box, sizes);
    return grid.indexToFlatIndex(1, 0, 0) == 30 && grid.getTotalSize() == 120 ? 0 : 1;
}
