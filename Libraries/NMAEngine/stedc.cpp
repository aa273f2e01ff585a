// SPDX-License-Identifier: GPL-3.0-or-later
#include "NMAEngine/stedc.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

// The Fortran routine; the length of the string comes last. A matrix library may declare it with other types,
// so this file includes none.
extern "C" void dstedc_(const char* compz, const int* n, double* d, double* e, double* z, const int* ldz,
                        double* work, const int* lwork, int* iwork, const int* liwork, int* info,
                        std::size_t compzLength);

namespace {

constexpr int largestDimension = 46338; // 1 + 4n + n^2 stays an int

int call(int n, double* diagonal, double* subDiagonal, double* vectors, double* work, int lwork, int* iwork,
         int liwork) {
    const int leadingDimension = std::max(n, 1);
    int info = 0;
    dstedc_("I", &n, diagonal, subDiagonal, vectors, &leadingDimension, work, &lwork, iwork, &liwork, &info,
            1);
    return info;
}

} // namespace

int stedc(int n, double* diagonal, double* subDiagonal, double* vectors) {
    if (n > largestDimension) {
        throw std::length_error("stedc: " + std::to_string(n) + " rows, at most " +
                                std::to_string(largestDimension) + " are possible");
    }
    constexpr int query = -1;
    double bestWork = 0.0;
    int bestIwork = 0;
    int lwork = 1 + 4 * n + n * n;
    int liwork = 3 + 5 * n;
    if (call(n, diagonal, subDiagonal, vectors, &bestWork, query, &bestIwork, query) == 0) {
        lwork = static_cast<int>(bestWork);
        liwork = bestIwork;
    }
    std::vector<double> work(static_cast<std::size_t>(std::max(lwork, 1)));
    std::vector<int> iwork(static_cast<std::size_t>(std::max(liwork, 1)));
    return call(n, diagonal, subDiagonal, vectors, work.data(), lwork, iwork.data(), liwork);
}

void checkStedc(int info) {
    if (info < 0) {
        throw std::invalid_argument("Lapack stedc: illegal value");
    }
    if (info > 0) {
        throw std::logic_error("Lapack stedc: failed to compute all the eigenvalues");
    }
}
