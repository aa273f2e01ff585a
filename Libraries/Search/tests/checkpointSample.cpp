// SPDX-License-Identifier: GPL-3.0-or-later
#include "checkpointSample.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include "Math/cGrid.h"

namespace fs = std::filesystem;

namespace {

bool isSame(double a, double b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

template <class Matrix>
bool isSameMatrix(const Matrix& a, const Matrix& b) {
    return a.n_rows == b.n_rows && a.n_cols == b.n_cols && std::equal(a.begin(), a.end(), b.begin(), isSame);
}

void expectSame(const HexaustFlexibleFitConformation& a, const HexaustFlexibleFitConformation& b) {
    EXPECT_TRUE(isSame(a.m_rigidScore, b.m_rigidScore) && isSame(a.m_flexScore, b.m_flexScore));
    EXPECT_TRUE(a.m_i == b.m_i && a.m_j == b.m_j && a.m_k == b.m_k);
    EXPECT_TRUE(isSame(a.m_alpha, b.m_alpha) && isSame(a.m_beta, b.m_beta) && isSame(a.m_gamma, b.m_gamma));
    EXPECT_TRUE(isSame(a.m_dalpha, b.m_dalpha) && isSame(a.m_dbeta, b.m_dbeta) &&
                isSame(a.m_dgamma, b.m_dgamma));
    EXPECT_TRUE(isSame(a.m_ddx, b.m_ddx) && isSame(a.m_ddy, b.m_ddy) && isSame(a.m_ddz, b.m_ddz));
    EXPECT_EQ(a.m_isSet, b.m_isSet);
    EXPECT_EQ(a.m_grid, b.m_grid);
    EXPECT_TRUE(isSameMatrix(a.m_eta, b.m_eta));
    EXPECT_TRUE(isSameMatrix(a.m_gradient, b.m_gradient));
    EXPECT_TRUE(isSameMatrix(a.m_hessian, b.m_hessian));
}

} // namespace

void expectSame(const CandidateSet& a, const CandidateSet& b) {
    ASSERT_EQ(a.size(), b.size());
    EXPECT_EQ(a.getMaxSize(), b.getMaxSize());
    for (auto left = a.begin(), right = b.begin(); left != a.end(); ++left, ++right) {
        expectSame(*left, *right);
    }
}

CheckpointSample::CheckpointSample() {
    std::string name = (fs::temp_directory_path() / "selvane_checkpoint_XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary directory");
    }
    m_directory = name;
    m_path = (m_directory / ".selvane-checkpoint").string();
    const unsigned int size[3] = {3, 4, 5};
    m_shape = {std::make_shared<cGrid>(cBBox(), size), 2, 6, 2};
    m_identity.map = 11;
    m_identity.model = 12;
    m_identity.modes = 13;
    m_identity.options = {{"--nthread", "2"}, {"--dangle", "12.5"}};
}

CheckpointSample::~CheckpointSample() {
    std::error_code ignored;
    fs::remove_all(m_directory, ignored);
}

CheckpointSample::Candidate CheckpointSample::candidate(bool withDerivatives) {
    std::uniform_real_distribution<double> value(0.001, 1.0);
    const auto draw = [&] { return value(m_random); };
    Candidate made(draw(), 2, 3, 4, arma::Col<double>{draw(), -0.0}, m_shape.grid, draw(), draw(), draw());
    made.setTweenDof({draw(), draw(), draw()}, {draw(), draw(), draw()}, made.m_eta);
    if (withDerivatives) {
        made.m_gradient.set_size(8);
        made.m_hessian.set_size(8, 8);
        made.m_gradient.imbue(draw);
        made.m_hessian.imbue(draw);
    }
    return made;
}

CandidateSet CheckpointSample::set(int offers, bool withDerivatives) {
    CandidateSet made(m_shape.capacity);
    for (int i = 0; i < offers; ++i) {
        made.add(candidate(withDerivatives));
    }
    return made;
}

std::string CheckpointSample::bytes() const {
    std::ifstream file(m_path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void CheckpointSample::setBytes(const std::string& content) const {
    std::ofstream(m_path, std::ios::binary | std::ios::trunc) << content;
}
