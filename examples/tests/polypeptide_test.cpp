// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "examples/polypeptide.h"

namespace example {
namespace {

/// Rounding of positions of some ten angstrom.
constexpr double lengthTolerance = 1e-9;
constexpr double angleTolerance = 1e-6;
/// Above every bond, below every distance of two atoms bonded to a third.
constexpr double longestBond = 1.7;

const Model& protein() {
    static const Model model = [] {
        Random random(1);
        return buildProtein(random);
    }();
    return model;
}

/// The atoms of each residue by name, in chain order.
struct Residue {
    char chain = ' ';
    std::string type;
    std::map<std::string, Vec3> atoms;
};

std::vector<Residue> residuesOf(const Model& model) {
    std::vector<Residue> residues;
    int number = 0;
    for (const Atom& atom : model) {
        if (residues.empty() || residues.back().chain != atom.chain || number != atom.residueNumber) {
            residues.push_back({atom.chain, atom.residue, {}});
        }
        number = atom.residueNumber;
        residues.back().atoms[atom.name] = atom.position;
    }
    return residues;
}

/// Lists of bonded atoms, found by distance alone, so that the builder's own book-keeping is not trusted.
std::vector<std::vector<std::size_t>> bondsOf(const Model& model) {
    std::vector<std::vector<std::size_t>> bonds(model.size());
    for (std::size_t i = 0; i < model.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            if (norm(model[i].position - model[j].position) < longestBond) {
                bonds[i].push_back(j);
                bonds[j].push_back(i);
            }
        }
    }
    return bonds;
}

/// All atoms within three bonds of an atom, itself included.
std::set<std::size_t> heldTo(const std::vector<std::vector<std::size_t>>& bonds, std::size_t atom) {
    std::set<std::size_t> reached = {atom};
    for (int step = 0; step < 3; ++step) {
        const std::set<std::size_t> last = reached;
        for (const std::size_t i : last) {
            reached.insert(bonds[i].begin(), bonds[i].end());
        }
    }
    return reached;
}

bool isPolar(const Atom& atom) {
    return atom.element == 'N' || atom.element == 'O';
}

double shortestAllowed(const Atom& a, const Atom& b) {
    const int apart = a.chain == b.chain ? std::abs(a.residueNumber - b.residueNumber) : 2;
    if (apart < 2) {
        return contact::nearInChain;
    }
    return isPolar(a) && isPolar(b) ? contact::polar : contact::anyOther;
}

TEST(BuildProtein, HasTwoChainsOfDifferentLength) {
    std::map<char, int> lengths;
    for (const Residue& residue : residuesOf(protein())) {
        ++lengths[residue.chain];
    }
    EXPECT_EQ(lengths, (std::map<char, int>{{'A', 107}, {'B', 56}}));
}

TEST(BuildProtein, BackboneBondsAndAnglesAreIdeal) {
    const std::vector<Residue> residues = residuesOf(protein());
    for (std::size_t i = 0; i < residues.size(); ++i) {
        const auto& at = residues[i].atoms;
        EXPECT_NEAR(norm(at.at("N") - at.at("CA")), 1.458, lengthTolerance);
        EXPECT_NEAR(norm(at.at("CA") - at.at("C")), 1.525, lengthTolerance);
        EXPECT_NEAR(norm(at.at("C") - at.at("O")), 1.231, lengthTolerance);
        EXPECT_NEAR(bondAngle(at.at("N"), at.at("CA"), at.at("C")), 111.2, angleTolerance);
        EXPECT_NEAR(bondAngle(at.at("CA"), at.at("C"), at.at("O")), 120.8, angleTolerance);
        if (i + 1 == residues.size() || residues[i + 1].chain != residues[i].chain) {
            EXPECT_NEAR(norm(at.at("C") - at.at("OXT")), 1.249, lengthTolerance);
            continue;
        }
        const auto& next = residues[i + 1].atoms;
        EXPECT_NEAR(norm(at.at("C") - next.at("N")), 1.329, lengthTolerance);
        EXPECT_NEAR(bondAngle(at.at("CA"), at.at("C"), next.at("N")), 116.2, angleTolerance);
        EXPECT_NEAR(bondAngle(at.at("O"), at.at("C"), next.at("N")), 123.0, angleTolerance);
        EXPECT_NEAR(bondAngle(at.at("C"), next.at("N"), next.at("CA")), 121.7, angleTolerance);
        const double omega = torsionAngle(at.at("CA"), at.at("C"), next.at("N"), next.at("CA"));
        EXPECT_NEAR(std::abs(omega), 180.0, 1e-5);
    }
}

TEST(BuildProtein, AlphaCarbonsAreLeftHandedAndTetrahedral) {
    for (const Residue& residue : residuesOf(protein())) {
        if (residue.type == "GLY") {
            EXPECT_EQ(residue.atoms.count("CB"), 0u);
            continue;
        }
        const Vec3& ca = residue.atoms.at("CA");
        const Vec3 n = residue.atoms.at("N") - ca;
        const Vec3 c = residue.atoms.at("C") - ca;
        const Vec3 cb = residue.atoms.at("CB") - ca;
        EXPECT_NEAR(norm(cb), 1.530, lengthTolerance);
        EXPECT_NEAR(bondAngle(residue.atoms.at("N"), ca, residue.atoms.at("CB")), 110.4, angleTolerance);
        EXPECT_NEAR(bondAngle(residue.atoms.at("C"), ca, residue.atoms.at("CB")), 110.1, angleTolerance);
        EXPECT_NEAR(dot(n, cross(c, cb)), 2.6, 0.1); // the chiral volume of an L residue is positive
    }
}

TEST(BuildProtein, SideChainsHaveTheBondsOfTheirKind) {
    const std::map<std::string, std::vector<std::pair<std::string, std::string>>> ends = {
        {"SER", {{"CB", "OG"}}},
        {"THR", {{"CB", "OG1"}, {"CB", "CG2"}}},
        {"VAL", {{"CB", "CG1"}, {"CB", "CG2"}}},
        {"LEU", {{"CG", "CD1"}, {"CG", "CD2"}}},
        {"ASP", {{"CG", "OD1"}, {"CG", "OD2"}}},
        {"GLU", {{"CD", "OE1"}, {"CD", "OE2"}}},
        {"LYS", {{"CD", "CE"}, {"CE", "NZ"}}},
        {"PHE", {{"CE1", "CZ"}, {"CE2", "CZ"}}},
    };
    std::set<std::string> seen;
    for (const Residue& residue : residuesOf(protein())) {
        const auto kind = ends.find(residue.type);
        seen.insert(residue.type);
        if (kind == ends.end()) {
            continue;
        }
        for (const auto& [from, to] : kind->second) {
            const double length = norm(residue.atoms.at(from) - residue.atoms.at(to));
            EXPECT_GT(length, 1.2) << residue.type;
            EXPECT_LT(length, 1.56) << residue.type;
        }
    }
    EXPECT_EQ(seen.size(), ends.size() + 2); // GLY and ALA besides
}

TEST(BuildProtein, BenzeneRingsClose) {
    for (const Residue& residue : residuesOf(protein())) {
        if (residue.type == "PHE") {
            EXPECT_NEAR(norm(residue.atoms.at("CE2") - residue.atoms.at("CZ")), 1.390, lengthTolerance);
        }
    }
}

TEST(BuildProtein, NoTwoAtomsClash) {
    const Model& model = protein();
    const auto bonds = bondsOf(model);
    for (std::size_t i = 0; i < model.size(); ++i) {
        const std::set<std::size_t> held = heldTo(bonds, i);
        for (std::size_t j = 0; j < i; ++j) {
            const double distance = norm(model[i].position - model[j].position);
            EXPECT_TRUE(held.count(j) > 0 ||
                        distance >= shortestAllowed(model[i], model[j]) - lengthTolerance)
                << i << " and " << j << " are " << distance << " apart";
        }
    }
}

TEST(BuildProtein, IsAsCompactAsAProtein) {
    EXPECT_LT(radiusOfGyration(protein()), 22.0); // an unfolded chain of this length has more than 35
}

TEST(BuildProtein, ChainsTouch) {
    double shortest = 1e9;
    for (const Atom& a : protein()) {
        for (const Atom& b : protein()) {
            if (a.chain < b.chain) {
                shortest = std::min(shortest, norm(a.position - b.position));
            }
        }
    }
    EXPECT_NEAR(shortest, contact::anyOther, 1e-6);
}

TEST(BuildChain, HelicesHaveTheirHydrogenBonds) {
    Random random(5);
    const std::vector<Residue> helix = residuesOf(buildChain({{0, 16}}, 'A', random));
    for (std::size_t i = 0; i + 4 < helix.size(); ++i) {
        EXPECT_NEAR(norm(helix[i].atoms.at("O") - helix[i + 4].atoms.at("N")), 2.95, 0.35);
    }
}

TEST(CovalentBonds, AreThePairsWithinReachOfABond) {
    std::vector<std::pair<std::size_t, std::size_t>> near;
    for (std::size_t i = 0; i < protein().size(); ++i) {
        for (std::size_t j = i + 1; j < protein().size(); ++j) {
            if (norm(protein()[i].position - protein()[j].position) < longestBond) {
                near.emplace_back(i, j);
            }
        }
    }
    EXPECT_EQ(covalentBonds(protein()), near);
}

} // namespace
} // namespace example
