// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FFTWRAPPER_TESTS_TESTFIELDS_H
#define SELVANE_FFTWRAPPER_TESTS_TESTFIELDS_H

#include <cstddef>
#include <ostream>
#include <random>
#include <vector>

#include "Math/cGrid.h"
#include "Math/pi.h"

/// Fields and direct sums that the tests of the transforms share.
namespace testfields {

struct Shape {
    int n_i;
    int n_j;
    int n_k;

    std::size_t size() const {
        return static_cast<std::size_t>(n_i) * static_cast<std::size_t>(n_j) * static_cast<std::size_t>(n_k);
    }
    std::size_t flat(int i, int j, int k) const { return static_cast<std::size_t>((i * n_j + j) * n_k + k); }
    std::size_t halfSize() const {
        return static_cast<std::size_t>(n_i) * static_cast<std::size_t>(n_j) *
               static_cast<std::size_t>(n_k / 2 + 1);
    }
};

inline std::ostream& operator<<(std::ostream& out, const Shape& shape) {
    return out << shape.n_i << "x" << shape.n_j << "x" << shape.n_k;
}

inline const Shape shapes[] = {{3, 4, 5}, {4, 4, 4}, {5, 3, 7}, {2, 6, 8}};

inline cGrid makeGrid(const Shape& shape) {
    cGrid grid;
    grid.setSize(static_cast<unsigned int>(shape.n_i), static_cast<unsigned int>(shape.n_j),
                 static_cast<unsigned int>(shape.n_k));
    return grid;
}

/// Values in [-1, 1], the same for the same seed.
inline std::vector<double> randomField(const Shape& shape, unsigned int seed) {
    std::mt19937 generator(seed);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    std::vector<double> field(shape.size());
    for (double& value : field) {
        value = uniform(generator);
    }
    return field;
}

/// (2 pi)^-3 sum_v f[v] g[v + s] by four nested sums.
inline std::vector<double> directCorrelation(const Shape& n, const std::vector<double>& f,
                                             const std::vector<double>& g) {
    std::vector<double> result(n.size(), 0.0);
    for (std::size_t s = 0; s < n.size(); ++s) {
        const int si = static_cast<int>(s) / (n.n_j * n.n_k);
        const int sj = static_cast<int>(s) / n.n_k % n.n_j;
        const int sk = static_cast<int>(s) % n.n_k;
        for (int i = 0; i < n.n_i; ++i) {
            for (int j = 0; j < n.n_j; ++j) {
                for (int k = 0; k < n.n_k; ++k) {
                    result[s] +=
                        f[n.flat(i, j, k)] * g[n.flat((i + si) % n.n_i, (j + sj) % n.n_j, (k + sk) % n.n_k)];
                }
            }
        }
        result[s] /= 8.0 * pi * pi * pi;
    }
    return result;
}

/// Rounding of sums of some hundred terms of order 1, with room.
constexpr double tolerance = 1e-13;

} // namespace testfields

#endif // SELVANE_FFTWRAPPER_TESTS_TESTFIELDS_H
