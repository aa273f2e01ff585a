// SPDX-License-Identifier: GPL-3.0-or-later
#include "examples/polypeptide.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>

#include "examples/residues.h"

namespace example {
namespace {

constexpr int drawsPerUnit = 400;
constexpr int maxDrawsPerUnit = 2000;
constexpr int chainAttempts = 50;
constexpr int dockingDraws = 200;

struct Torsions {
    double phi;
    double psi;
};

constexpr Torsions idealHelix = {-63.0, -42.0};
constexpr double helixSpread = 2.0;
constexpr double loopSpread = 15.0;

/// A residue under construction. Atoms 0 to 3 are N, CA, C and O; `parents` holds the index of the atom that
/// each is bonded to, the one before it on the way from N, and -1 for N itself.
struct Residue {
    const ResidueType* type = nullptr;
    double psi = 0.0;
    std::vector<Atom> atoms;
    std::vector<int> parents;
};

using Chain = std::vector<Residue>;

constexpr int carbonylCarbon = 2;
constexpr std::size_t backboneAtoms = 4;

int indexOf(const Residue& residue, const std::string& name) {
    for (std::size_t i = 0; i < residue.atoms.size(); ++i) {
        if (residue.atoms[i].name == name) {
            return static_cast<int>(i);
        }
    }
    throw std::logic_error("residue " + residue.type->name + " has no atom " + name);
}

const Vec3& at(const Residue& residue, const std::string& name) {
    return residue.atoms[static_cast<std::size_t>(indexOf(residue, name))].position;
}

void append(Residue& residue, const std::string& name, char element, int parent, const Vec3& position) {
    residue.atoms.push_back({name, element, residue.type->name, ' ', 0, position});
    residue.parents.push_back(parent);
}

void placeSideAtom(Residue& residue, const SideAtom& atom, const std::vector<double>& rotamer) {
    const double chi =
        atom.chi == SideAtom::fixedTorsion ? 0.0 : rotamer.at(static_cast<std::size_t>(atom.chi));
    append(residue, atom.name, atom.element, indexOf(residue, atom.c),
           placeAtom(at(residue, atom.a), at(residue, atom.b), at(residue, atom.c), atom.length, atom.angle,
                     atom.torsion + chi));
}

/// N, CA, C, O and, where the type has one, CB of the residue that follows `previous`, or of the first one.
Residue backboneOf(const ResidueType& type, const Residue* previous, Torsions torsions) {
    using namespace backbone;
    Residue residue{&type, torsions.psi, {}, {}};
    Vec3 n{0.0, 0.0, 0.0};
    Vec3 ca{nCa, 0.0, 0.0};
    Vec3 c = placeAtom({0.0, 1.0, 0.0}, n, ca, caC, nCaC, 180.0);
    if (previous != nullptr) {
        const Vec3& lastCA = previous->atoms[1].position;
        const Vec3& lastC = previous->atoms[2].position;
        n = placeAtom(previous->atoms[0].position, lastCA, lastC, cN, caCN, previous->psi);
        ca = placeAtom(lastCA, lastC, n, nCa, cNCa, omega);
        c = placeAtom(lastC, n, ca, caC, nCaC, torsions.phi);
    }
    append(residue, "N", 'N', -1, n);
    append(residue, "CA", 'C', 0, ca);
    append(residue, "C", 'C', 1, c);
    append(residue, "O", 'O', carbonylCarbon, placeAtom(n, ca, c, cO, caCO, torsions.psi + 180.0));
    if (!type.sideChain.empty()) {
        placeSideAtom(residue, type.sideChain.front(), {});
    }
    return residue;
}

int bondsToRoot(const Residue& residue, int atom) {
    int bonds = 0;
    for (int i = atom; residue.parents[static_cast<std::size_t>(i)] >= 0; ++bonds) {
        i = residue.parents[static_cast<std::size_t>(i)];
    }
    return bonds;
}

int bondsWithin(const Residue& residue, int a, int b) {
    int depthA = bondsToRoot(residue, a);
    int depthB = bondsToRoot(residue, b);
    int bonds = 0;
    while (a != b) {
        int& deeper = depthA >= depthB ? a : b;
        --(depthA >= depthB ? depthA : depthB);
        deeper = residue.parents[static_cast<std::size_t>(deeper)];
        ++bonds;
    }
    return bonds;
}

/// Number of bonds between atom a of residue p and atom b of the same residue or the next one.
int bondsBetween(const Residue& p, int a, const Residue& q, int b) {
    if (&p == &q) {
        return bondsWithin(p, a, b);
    }
    return bondsWithin(p, a, carbonylCarbon) + 1 + bondsToRoot(q, b);
}

bool isPolar(const Atom& atom) {
    return atom.element == 'N' || atom.element == 'O';
}

bool tooClose(const Atom& a, const Atom& b, double shortest) {
    const Vec3 d = a.position - b.position;
    return dot(d, d) < shortest * shortest;
}

double shortestContact(const Atom& a, const Atom& b) {
    return isPolar(a) && isPolar(b) ? contact::polar : contact::anyOther;
}

/// Does the side chain of a residue run into its own backbone?
bool clashesWithItself(const Residue& residue, std::size_t firstAtom) {
    for (std::size_t b = std::max(firstAtom, backboneAtoms); b < residue.atoms.size(); ++b) {
        for (std::size_t a = 0; a < backboneAtoms; ++a) {
            const bool free = bondsWithin(residue, static_cast<int>(a), static_cast<int>(b)) > 3;
            if (free && tooClose(residue.atoms[a], residue.atoms[b], contact::nearInChain)) {
                return true;
            }
        }
    }
    return false;
}

bool neighboursClash(const Residue& p, std::size_t firstP, const Residue& q, std::size_t firstQ) {
    for (std::size_t a = firstP; a < p.atoms.size(); ++a) {
        for (std::size_t b = firstQ; b < q.atoms.size(); ++b) {
            if (tooClose(p.atoms[a], q.atoms[b], contact::nearInChain) &&
                bondsBetween(p, static_cast<int>(a), q, static_cast<int>(b)) > 3) {
                return true;
            }
        }
    }
    return false;
}

bool distantClash(const Residue& p, const Residue& q, std::size_t firstQ) {
    for (std::size_t b = firstQ; b < q.atoms.size(); ++b) {
        for (const Atom& atom : p.atoms) {
            if (tooClose(atom, q.atoms[b], shortestContact(atom, q.atoms[b]))) {
                return true;
            }
        }
    }
    return false;
}

/// Do the atoms of residue r from index firstAtom on come too close to any other atom of the chain?
bool clashes(const Chain& chain, std::size_t r, std::size_t firstAtom) {
    const Residue& residue = chain[r];
    if (clashesWithItself(residue, firstAtom)) {
        return true;
    }
    for (std::size_t other = 0; other < chain.size(); ++other) {
        if (other + 1 == r && neighboursClash(chain[other], 0, residue, firstAtom)) {
            return true;
        }
        if (other == r + 1 && neighboursClash(residue, firstAtom, chain[other], 0)) {
            return true;
        }
        if ((other + 1 < r || other > r + 1) && distantClash(chain[other], residue, firstAtom)) {
            return true;
        }
    }
    return false;
}

Torsions loopTorsions(const std::string& type, Random& random) {
    static const std::vector<Torsions> regions = {
        {-120.0, 130.0}, {-70.0, 145.0}, {-65.0, -40.0}, {-95.0, 5.0}};
    const bool leftHanded = type == "GLY" && random.uniform() < 0.5;
    const Torsions center = leftHanded ? Torsions{60.0, 40.0} : regions[random.index(regions.size())];
    return {center.phi + random.uniform(-loopSpread, loopSpread),
            center.psi + random.uniform(-loopSpread, loopSpread)};
}

Torsions helixTorsions(Random& random) {
    return {idealHelix.phi + random.uniform(-helixSpread, helixSpread),
            idealHelix.psi + random.uniform(-helixSpread, helixSpread)};
}

/// Residue names of a unit, the loop's first.
std::vector<std::string> drawSequence(const Unit& unit, Random& random) {
    static const std::vector<std::string> inLoops = {"GLY", "SER", "ASP", "THR", "GLY", "LYS", "ALA"};
    static const std::vector<std::string> inHelices = {"ALA", "LEU", "GLU", "LYS", "LEU",
                                                       "ALA", "VAL", "PHE", "GLU"};
    std::vector<std::string> names;
    for (int i = 0; i < unit.loop + unit.helix; ++i) {
        const std::vector<std::string>& kinds = i < unit.loop ? inLoops : inHelices;
        names.push_back(kinds[random.index(kinds.size())]);
    }
    return names;
}

/// Appends the backbone of a unit with newly drawn torsions; false as soon as it clashes.
bool appendBackbone(Chain& chain, const Unit& unit, const std::vector<std::string>& names, Random& random) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        const bool inLoop = static_cast<int>(i) < unit.loop;
        const Torsions torsions = inLoop ? loopTorsions(names[i], random) : helixTorsions(random);
        const Residue* previous = chain.empty() ? nullptr : &chain.back();
        Residue residue = backboneOf(residueType(names[i]), previous, torsions);
        chain.push_back(std::move(residue));
        if (clashes(chain, chain.size() - 1, 0)) {
            return false;
        }
    }
    return true;
}

/// Completes the side chain of residue r in the first rotamer, from a random one on, that has room.
bool placeSideChain(Chain& chain, std::size_t r, Random& random) {
    Residue& residue = chain[r];
    const ResidueType& type = *residue.type;
    const std::size_t firstAtom = residue.atoms.size();
    const std::size_t firstRotamer = random.index(type.rotamers.size());
    for (std::size_t i = 0; i < type.rotamers.size(); ++i) {
        const std::vector<double>& rotamer = type.rotamers[(firstRotamer + i) % type.rotamers.size()];
        for (std::size_t s = 1; s < type.sideChain.size(); ++s) {
            placeSideAtom(residue, type.sideChain[s], rotamer);
        }
        if (!clashes(chain, r, firstAtom)) {
            return true;
        }
        residue.atoms.resize(firstAtom);
        residue.parents.resize(firstAtom);
    }
    return false;
}

bool appendUnit(Chain& chain, const Unit& unit, const std::vector<std::string>& names, Random& random) {
    const std::size_t first = chain.size();
    if (!appendBackbone(chain, unit, names, random)) {
        return false;
    }
    for (std::size_t r = first; r < chain.size(); ++r) {
        if (!placeSideChain(chain, r, random)) {
            return false;
        }
    }
    return true;
}

Model flattened(const Chain& chain, char name) {
    Model model;
    int number = 0;
    for (const Residue& residue : chain) {
        ++number;
        for (Atom atom : residue.atoms) {
            atom.chain = name;
            atom.residueNumber = number;
            model.push_back(atom);
        }
    }
    return model;
}

/// The chain with one more unit, in the most compact of the draws that have room; empty when none has.
Chain grown(const Chain& chain, const Unit& unit, Random& random) {
    const std::vector<std::string> names = drawSequence(unit, random);
    Chain best;
    double bestRadius = std::numeric_limits<double>::infinity();
    for (int draw = 0; draw < maxDrawsPerUnit && (draw < drawsPerUnit || best.empty()); ++draw) {
        Chain candidate = chain;
        if (!appendUnit(candidate, unit, names, random)) {
            continue;
        }
        const double radius = radiusOfGyration(flattened(candidate, ' '));
        if (radius < bestRadius) {
            bestRadius = radius;
            best = std::move(candidate);
        }
    }
    return best;
}

/// All units one after another; empty when the chain has walled itself in and a unit finds no room.
Chain attemptChain(const std::vector<Unit>& units, Random& random) {
    Chain residues;
    for (const Unit& unit : units) {
        residues = grown(residues, unit, random);
        if (residues.empty()) {
            return {};
        }
    }
    return residues;
}

/// False when the second oxygen of the chain's end has no room.
bool appendTerminalOxygen(Chain& chain) {
    Residue& last = chain.back();
    const std::size_t added = last.atoms.size();
    const Vec3 position =
        placeAtom(at(last, "N"), at(last, "CA"), at(last, "C"), backbone::cOxt, backbone::caCN, last.psi);
    append(last, "OXT", 'O', carbonylCarbon, position);
    return !clashes(chain, chain.size() - 1, added);
}

/// How far along `direction` the moving model has to stand so that it just touches the fixed one.
double contactShift(const Model& fixed, const Model& moving, const Vec3& direction) {
    double shift = -std::numeric_limits<double>::infinity();
    for (const Atom& m : moving) {
        for (const Atom& f : fixed) {
            const Vec3 w = m.position - f.position;
            const double along = dot(w, direction);
            const double reach = along * along - dot(w, w) + contact::anyOther * contact::anyOther;
            if (reach > 0.0) {
                shift = std::max(shift, std::sqrt(reach) - along);
            }
        }
    }
    return shift;
}

Model joined(const Model& a, const Model& b) {
    Model both = a;
    both.insert(both.end(), b.begin(), b.end());
    return both;
}

using NamedBonds = std::vector<std::pair<std::string, std::string>>;

/// The bonds inside a residue; of a chain's last one, whose second oxygen the others don't have, too.
NamedBonds bondsOf(const ResidueType& type) {
    NamedBonds bonds = type.ringBonds;
    bonds.insert(bonds.end(), {{"N", "CA"}, {"CA", "C"}, {"C", "O"}, {"C", "OXT"}});
    for (const SideAtom& atom : type.sideChain) {
        bonds.emplace_back(atom.c, atom.name);
    }
    return bonds;
}

using AtomIndices = std::map<std::string, std::size_t>;

bool areOfOneResidue(const Atom& a, const Atom& b) {
    return a.chain == b.chain && a.residueNumber == b.residueNumber;
}

} // namespace

Model buildChain(const std::vector<Unit>& units, char chain, Random& random) {
    for (int attempt = 0; attempt < chainAttempts; ++attempt) {
        Chain residues = attemptChain(units, random);
        if (!residues.empty() && appendTerminalOxygen(residues)) {
            return flattened(residues, chain);
        }
    }
    throw std::runtime_error("no chain without clashes was found; try another seed");
}

Model docked(const Model& fixed, const Model& moving, Random& random) {
    Model best;
    double bestRadius = std::numeric_limits<double>::infinity();
    const Vec3 target = centroid(fixed);
    const Vec3 start = centroid(moving);
    for (int draw = 0; draw < dockingDraws; ++draw) {
        const Mat3 rotation = random.rotation();
        const Vec3 direction = random.direction();
        const Model turned = placed(moving, {rotation, target - rotation * start});
        const double shift = contactShift(fixed, turned, direction);
        const Mat3 identity = {{{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}}};
        Model candidate = joined(fixed, placed(turned, {identity, shift * direction}));
        const double radius = radiusOfGyration(candidate);
        if (radius < bestRadius) {
            bestRadius = radius;
            best = std::move(candidate);
        }
    }
    return best;
}

Model buildProtein(Random& random) {
    const std::vector<Unit> unitsA = {{4, 14}, {5, 12}, {4, 16}, {6, 13}, {5, 11}, {4, 10}, {3, 0}};
    const std::vector<Unit> unitsB = {{3, 15}, {5, 11}, {4, 13}, {5, 0}};
    const Model a = buildChain(unitsA, 'A', random);
    const Model b = buildChain(unitsB, 'B', random);
    return docked(a, b, random);
}

std::vector<std::pair<std::size_t, std::size_t>> covalentBonds(const Model& model) {
    std::vector<std::pair<std::size_t, std::size_t>> bonds;
    const auto add = [&](const AtomIndices& p, const std::string& a, const AtomIndices& q,
                         const std::string& b) {
        const auto first = p.find(a);
        const auto second = q.find(b);
        if (first != p.end() && second != q.end()) {
            bonds.push_back(std::minmax({first->second, second->second}));
        }
    };
    AtomIndices previous;
    for (std::size_t begin = 0, end = 0; begin < model.size(); begin = end) {
        AtomIndices residue;
        for (; end < model.size() && areOfOneResidue(model[begin], model[end]); ++end) {
            residue[model[end].name] = end;
        }
        for (const auto& [a, b] : bondsOf(residueType(model[begin].residue))) {
            add(residue, a, residue, b);
        }
        if (begin > 0 && model[begin - 1].chain == model[begin].chain) {
            add(previous, "C", residue, "N");
        }
        previous = std::move(residue);
    }
    std::sort(bonds.begin(), bonds.end());
    return bonds;
}

} // namespace example
