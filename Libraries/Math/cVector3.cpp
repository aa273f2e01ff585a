// SPDX-License-Identifier: GPL-3.0-or-later
#include "Math/cVector3.h"

#include <fstream>
#include <iostream>

namespace {

void updateRange(double value, double& min, double& max) {
    // Deliberate: a value that lowers min is not compared with max.
    if (min > value) {
        min = value;
    } else if (value > max) {
        max = value;
    }
}

} // namespace

void cVector3::updateMinMax(cVector3& min, cVector3& max) const {
    updateRange(x, min.x, max.x);
    updateRange(y, min.y, max.y);
    updateRange(z, min.z, max.z);
}

void cVector3::print() const {
    std::cout << " [" << x << " x " << y << " x " << z << "]" << std::endl;
}

void cVector3::save(std::ofstream& out) const {
    out << x << ' ' << y << ' ' << z << ' ';
}

void cVector3::load(std::ifstream& in) {
    in >> x >> y >> z;
}

void cVector3::save(const std::string& fileName) const {
    std::ofstream out(fileName);
    save(out);
}

void cVector3::load(const std::string& fileName) {
    std::ifstream in(fileName);
    if (in.is_open()) {
        load(in);
    }
}

std::ostream& operator<<(std::ostream& out, const cVector3& v) {
    return out << v.x << ' ' << v.y << ' ' << v.z;
}
