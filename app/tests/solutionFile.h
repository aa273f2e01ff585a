// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_TESTS_SOLUTIONFILE_H
#define SELVANE_APP_TESTS_SOLUTIONFILE_H

#include <map>
#include <string>
#include <vector>

#include "app/tests/testInputs.h"

/// One MODEL of a solution file, as its lines say.
struct WrittenPose {
    std::vector<std::string> lines;             ///< MODEL to ENDMDL, without line ends
    std::map<int, std::vector<double>> remarks; ///< by number: the values behind the colon
    std::vector<std::string> atomLines;
    std::vector<Vec> positions;

    double score() const { return remarks.at(6).at(0); }
    Vec tau() const { return triple(7); }
    Vec angles() const { return triple(8); }
    double flexScore() const { return remarks.at(9).at(0); }
    Vec dTau() const { return triple(10); }
    Vec dR() const { return triple(11); }
    std::vector<double> eta() const { return remarks.at(12); }

private:
    Vec triple(int number) const;
};

std::vector<WrittenPose> readPoses(const std::string& text);

/// Where a pose without modes puts an atom: R ((p - c) + tau) + R (dTau + dR x (p - c)) + c.
Vec placed(const WrittenPose& pose, const Vec& atom, const Vec& centre);

#endif
