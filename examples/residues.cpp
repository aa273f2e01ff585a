// SPDX-License-Identifier: GPL-3.0-or-later
#include "examples/residues.h"

#include <stdexcept>

#include "examples/geometry.h"

namespace example {
namespace {

constexpr int fixedTorsion = SideAtom::fixedTorsion;

/// L configuration: seen from N to CA, CB stands anticlockwise of C.
SideAtom betaCarbon() {
    const double angleN = 110.4;
    const double angleC = 110.1;
    const double torsion = -branchTorsion(backbone::nCaC, angleN, angleC);
    return {"CB", 'C', "C", "N", "CA", 1.530, angleN, torsion, fixedTorsion};
}

SideAtom onCB(const std::string& name, char element, double length, double angle, double torsion = 0.0) {
    return {name, element, "N", "CA", "CB", length, angle, torsion, 0};
}

SideAtom onCG(const std::string& name, char element, double length, double angle, double torsion = 0.0) {
    return {name, element, "CA", "CB", "CG", length, angle, torsion, 1};
}

SideAtom onCD(const std::string& name, char element, double length, double angle, double torsion = 0.0) {
    return {name, element, "CB", "CG", "CD", length, angle, torsion, 2};
}

/// A benzene ring as a regular hexagon, so that it closes exactly.
std::vector<SideAtom> phenylalanine() {
    const double bond = 1.390;
    const double corner = 120.0;
    return {betaCarbon(),
            onCB("CG", 'C', 1.502, 113.8),
            onCG("CD1", 'C', bond, corner),
            onCG("CD2", 'C', bond, corner, 180.0),
            {"CE1", 'C', "CB", "CG", "CD1", bond, corner, 180.0, fixedTorsion},
            {"CE2", 'C', "CB", "CG", "CD2", bond, corner, 180.0, fixedTorsion},
            {"CZ", 'C', "CG", "CD1", "CE1", bond, corner, 0.0, fixedTorsion}};
}

std::vector<ResidueType> makeTypes() {
    const std::vector<std::vector<double>> staggered = {{-60.0}, {180.0}, {60.0}};
    const std::vector<std::vector<double>> longChain = {
        {-65.0, 180.0, 180.0, 180.0}, {180.0, 180.0, 180.0, 180.0}, {-65.0, -65.0, 180.0, 180.0},
        {180.0, 65.0, 180.0, 180.0},  {-65.0, 180.0, 65.0, 180.0},  {-65.0, 180.0, -65.0, 180.0},
        {180.0, 180.0, 65.0, 180.0},  {62.0, 180.0, 180.0, 180.0}};
    return {
        {"GLY", {}, {{}}},
        {"ALA", {betaCarbon()}, {{}}},
        {"SER", {betaCarbon(), onCB("OG", 'O', 1.417, 111.1)}, staggered},
        {"THR",
         {betaCarbon(), onCB("OG1", 'O', 1.433, 109.6),
          onCB("CG2", 'C', 1.521, 110.5, -branchTorsion(109.6, 110.5, 109.3))},
         staggered},
        {"VAL",
         {betaCarbon(), onCB("CG1", 'C', 1.521, 110.5),
          onCB("CG2", 'C', 1.521, 110.5, branchTorsion(110.5, 110.5, 110.8))},
         {{175.0}, {-60.0}, {63.0}}},
        {"LEU",
         {betaCarbon(), onCB("CG", 'C', 1.530, 116.3), onCG("CD1", 'C', 1.521, 110.7),
          onCG("CD2", 'C', 1.521, 110.7, branchTorsion(110.7, 110.7, 110.8))},
         {{-65.0, 175.0}, {180.0, 65.0}, {-85.0, 65.0}, {-170.0, 145.0}}},
        {"ASP",
         {betaCarbon(), onCB("CG", 'C', 1.516, 112.6), onCG("OD1", 'O', 1.249, 118.4),
          onCG("OD2", 'O', 1.249, 118.4, 180.0)},
         {{-70.0, -15.0}, {180.0, 0.0}, {62.0, -10.0}}},
        {"GLU",
         {betaCarbon(), onCB("CG", 'C', 1.520, 114.1), onCG("CD", 'C', 1.516, 112.6),
          onCD("OE1", 'O', 1.249, 118.4), onCD("OE2", 'O', 1.249, 118.4, 180.0)},
         {{-65.0, 180.0, 0.0},
          {180.0, 180.0, 0.0},
          {-65.0, -65.0, -40.0},
          {180.0, 65.0, 10.0},
          {62.0, 180.0, 20.0}}},
        {"LYS",
         {betaCarbon(),
          onCB("CG", 'C', 1.520, 114.1),
          onCG("CD", 'C', 1.520, 111.3),
          onCD("CE", 'C', 1.520, 111.3),
          {"NZ", 'N', "CG", "CD", "CE", 1.489, 111.9, 0.0, 3}},
         longChain},
        {"PHE",
         phenylalanine(),
         {{-65.0, -85.0}, {180.0, 80.0}, {62.0, 90.0}, {-65.0, -30.0}},
         {{"CE2", "CZ"}}},
    };
}

} // namespace

const ResidueType& residueType(const std::string& name) {
    static const std::vector<ResidueType> types = makeTypes();
    for (const ResidueType& type : types) {
        if (type.name == name) {
            return type;
        }
    }
    throw std::invalid_argument("unknown residue type '" + name + "'");
}

} // namespace example
