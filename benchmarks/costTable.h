// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_BENCHMARKS_COSTTABLE_H
#define SELVANE_BENCHMARKS_COSTTABLE_H

#include <string>
#include <vector>

/// Of several rounds; the machine may be shared. Of at least one value.
struct Rounds {
    std::vector<double> values;

    double median() const;
    double least() const;
    double most() const;
};

/// A row of the table that scripts/bench.sh shows: what, how much, how far it spread, and what it is meant to
/// be.
void printRow(const std::string& what, double value, const std::string& spread, const std::string& target);

/// The median, and in brackets the least and the most.
void printRow(const std::string& what, const Rounds& rounds, const std::string& target);

struct PairTime {
    double cpu;
    double wall;
};

/// Seconds of one pair of transforms of a cube, the median of as many as a second or so allows. It is
/// measured in a process of its own.
PairTime measurePair(int edge);

#endif
