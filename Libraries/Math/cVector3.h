// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_MATH_CVECTOR3_H
#define SELVANE_MATH_CVECTOR3_H

#include <cmath>
#include <iosfwd>
#include <limits>
#include <string>
#include <type_traits>

/// Truncates towards zero to a 32-bit integer. Values beyond its range give the nearest end of the range, and
/// what is not a number gives the lowest integer, so that such an index is on no grid.
inline int truncateToInt(double value) {
    constexpr int lowest = std::numeric_limits<int>::lowest();
    constexpr int highest = std::numeric_limits<int>::max();
    if (!(value > lowest)) {
        return lowest;
    }
    return value < highest ? static_cast<int>(value) : highest;
}

/// A vector of three doubles: a position, a displacement, or a triple of per-axis factors. Lengths are in
/// angstrom unless the user says otherwise. The components lie one after the other, as an array of three
/// doubles.
class cVector3 {
public:
    double x, y, z;

    /// Deliberate: leaves the components unset, for large arrays of vectors are filled by their users.
    cVector3() {} // NOLINT(modernize-use-equals-default): a defaulted one would zero the vector in cVector3()
    /// All three components equal to value.
    explicit cVector3(double value) : x(value), y(value), z(value) {}
    cVector3(double xValue, double yValue, double zValue) : x(xValue), y(yValue), z(zValue) {}
    /// Copies three doubles.
    explicit cVector3(const double* values) : x(values[0]), y(values[1]), z(values[2]) {}

    /// Component 0, 1 or 2.
    double& operator[](int axis) { return axis == 0 ? x : axis == 1 ? y : z; }
    const double& operator[](int axis) const { return axis == 0 ? x : axis == 1 ? y : z; }

    void setZero() { x = y = z = 0.0; }

    /// Euclidean length.
    double norm() const { return std::sqrt(norm2()); }
    /// Square of the Euclidean length.
    double norm2() const { return x * x + y * y + z * z; }
    /// Divides by the length. A zero vector becomes not-a-number.
    void normalize() { *this /= norm(); }
    /// A copy divided by its length; not a number for a zero vector.
    cVector3 normalizedVersion() const { return *this / norm(); }

    /// Dot product.
    double operator|(const cVector3& v) const { return x * v.x + y * v.y + z * v.z; }
    /// Cross product.
    cVector3 operator^(const cVector3& v) const {
        return {y * v.z - z * v.y, z * v.x - x * v.z, x * v.y - y * v.x};
    }

    cVector3 operator+(const cVector3& v) const { return {x + v.x, y + v.y, z + v.z}; }
    cVector3 operator-(const cVector3& v) const { return {x - v.x, y - v.y, z - v.z}; }
    cVector3 operator-() const { return {-x, -y, -z}; }
    cVector3& operator+=(const cVector3& v) { return *this = *this + v; }
    cVector3& operator-=(const cVector3& v) { return *this = *this - v; }

    cVector3 operator*(double factor) const { return {x * factor, y * factor, z * factor}; }
    cVector3 operator/(double divisor) const { return {x / divisor, y / divisor, z / divisor}; }
    cVector3& operator*=(double factor) { return *this = *this * factor; }
    cVector3& operator/=(double divisor) { return *this = *this / divisor; }

    /// Component-wise product, not the dot product.
    cVector3 operator*(const cVector3& v) const { return {x * v.x, y * v.y, z * v.z}; }
    /// Component-wise quotient.
    cVector3 operator/(const cVector3& v) const { return {x / v.x, y / v.y, z / v.z}; }
    /// Component-wise product in place.
    void scale(const cVector3& v) { *this = *this * v; }

    /// Exact comparison of all three components.
    bool operator==(const cVector3& v) const { return x == v.x && y == v.y && z == v.z; }
    /// True when a component differs or is not a number.
    bool operator!=(const cVector3& v) const { return !(*this == v); }
    /// True only when all three components are strictly smaller. Not an ordering for sorted containers.
    bool operator<(const cVector3& v) const { return x < v.x && y < v.y && z < v.z; }

    /// Deliberate: floors each component, in spite of its name; the look-up of nodes counts on it. The floor
    /// passes through a 32-bit integer, so larger magnitudes end at the limits of that type.
    void round() {
        x = truncateToInt(std::floor(x));
        y = truncateToInt(std::floor(y));
        z = truncateToInt(std::floor(z));
    }

    /// Widens the range [min, max] of each component to hold this vector. A component that lowers min does
    /// not raise max in the same call, so a first vector must set both.
    void updateMinMax(cVector3& min, cVector3& max) const;

    /// Writes " [x x y x z]" and a line end to standard output.
    void print() const;

    /// Writes the components as text, each followed by one blank, in the precision of the stream.
    void save(std::ofstream& out) const;
    /// Reads what save() wrote. A component that cannot be read is left to the rules of the stream.
    void load(std::ifstream& in);
    /// The same to and from the named file. A file that cannot be opened changes nothing.
    void save(const std::string& fileName) const;
    void load(const std::string& fileName);
};

static_assert(sizeof(cVector3) == 3 * sizeof(double) && std::is_standard_layout_v<cVector3> &&
                  std::is_trivially_copyable_v<cVector3>,
              "arrays of vectors are read as arrays of doubles");

inline cVector3 operator*(double factor, const cVector3& v) {
    return v * factor;
}

/// Writes "x y z".
std::ostream& operator<<(std::ostream& out, const cVector3& v);

#endif
