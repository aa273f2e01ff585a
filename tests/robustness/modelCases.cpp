// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstddef>
#include <cstdio>

#include "tests/robustness/cases.h"

namespace {

using Spoil = std::function<void(Scene&)>;

constexpr std::size_t xOffset = 30;
constexpr std::size_t nameOffset = 12;
constexpr std::size_t residueAtoms = 5;

const std::string mmcifHead = "data_TEST\n#\nloop_\n_atom_site.group_PDB\n_atom_site.id\n";

Spoil text(const std::function<std::string(const std::string&)>& change) {
    return [change](Scene& scene) { scene.write("model.pdb", change(scene.read("model.pdb"))); };
}

Spoil atoms(const std::function<void(std::vector<TestAtom>&)>& change) {
    return [change](Scene& scene) {
        change(scene.model);
        scene.write("model.pdb", pdbText(scene.model));
    };
}

Spoil first(std::size_t count) {
    return atoms([=](std::vector<TestAtom>& model) { model.resize(count); });
}

/// The same text as the x coordinate of the first two atoms, so that none of them is alone.
Spoil x(const std::string& field) {
    return text([=](const std::string& model) {
        std::string changed = model;
        for (const char* serial : {"ATOM      1", "ATOM      2"}) {
            changed.replace(changed.find(serial) + xOffset, field.size(), field);
        }
        return changed;
    });
}

std::string replaced(const std::string& model, const std::string& part, const std::string& by) {
    std::string result;
    std::size_t begin = 0;
    for (std::size_t end = model.find(part); end != std::string::npos; end = model.find(part, begin)) {
        result += model.substr(begin, end - begin) + by;
        begin = end + part.size();
    }
    return result + model.substr(begin);
}

Spoil replace(const std::string& part, const std::string& by) {
    return text([=](const std::string& model) { return replaced(model, part, by); });
}

Spoil before(const std::string& start) {
    return text([=](const std::string& model) { return start + model; });
}

Spoil shift(const Vec& distance) {
    return atoms([=](std::vector<TestAtom>& model) {
        model = moved(model, rotationXYZ(0, 0, 0), {0, 0, 0}, distance);
    });
}

/// A cube of 47 x 47 x 47 atoms one angstrom apart, with serial numbers in base 36 from 100,000 on.
void makeLarge(Scene& scene) {
    constexpr int edge = 47;
    std::string lines;
    const Vec corner = scene.map.centre() - Vec{edge / 2.0, edge / 2.0, edge / 2.0};
    for (int n = 0; n < edge * edge * edge; ++n) {
        char serial[16];
        if (n < 99999) {
            std::snprintf(serial, sizeof serial, "%5d", n + 1);
        } else {
            std::snprintf(serial, sizeof serial, "A%04d", std::min(n - 99999, 9999));
        }
        char line[120];
        std::snprintf(
            line, sizeof line, "ATOM  %5s  CA  ALA A%4d    %8.3f%8.3f%8.3f  1.00 20.00           C\n", serial,
            n % 9999 + 1, corner[0] + n / (edge * edge), corner[1] + n / edge % edge, corner[2] + n % edge);
        lines += line;
    }
    scene.write("model.pdb", lines + "END\n");
}

/// 200 carbons 3 angstrom apart along a line, ten times as long as the map.
void makeLong(Scene& scene) {
    std::vector<TestAtom> chain;
    for (int n = 0; n < 200; ++n) {
        chain.push_back({"CA", 'C', "ALA", 'A', n + 1, scene.map.centre() + Vec{3.0 * (n - 100), 0.0, 0.0}});
    }
    scene.write("model.pdb", pdbText(chain));
}

std::vector<Case> countCases() {
    return {
        {"an empty file", text([](const std::string&) { return ""; }), End::Stops,
         "model.pdb: no atoms were kept"},
        {"a file without atom records", text([](const std::string&) { return "REMARK\nEND\n"; }), End::Stops,
         "model.pdb: no atoms were kept"},
        {"waters only", atoms([](std::vector<TestAtom>& model) {
             for (TestAtom& atom : model) {
                 atom.residue = "HOH";
             }
         }),
         End::Stops, "model.pdb: no atoms were kept"},
        {"one atom", first(1), End::EndsEarly, "model.pdb: atom 1 (N of LEU 1, chain 'A')"},
        {"one residue", first(residueAtoms), End::Fits, ""},
        {"two residues", first(2 * residueAtoms), End::Fits, ""},
        {"more than 99,999 atoms, with serial numbers in base 36", makeLarge, End::Fits,
         "is too coarse for a model with a radius of gyration of 23.5 angstrom"},
        {"serial numbers that overflowed into stars", replace("ATOM      1", "ATOM  *****"), End::Fits, ""},
    };
}

std::vector<Case> placeCases() {
    return {
        {"all atoms at one place", atoms([](std::vector<TestAtom>& model) {
             for (TestAtom& atom : model) {
                 atom.position = model.front().position;
             }
         }),
         End::Fits, "model.pdb: atoms 1 and 2"},
        {"a coordinate of 1e8", x(" 1.0e+08"), End::Stops, "Check for atoms far from the rest."},
        {"a coordinate of 1e300", x("  1e+300"), End::Stops,
         "model.pdb: atom 1 (N of LEU 1, chain 'A') has a coordinate that is not a finite number."},
        {"a coordinate nan", x("     nan"), End::Stops,
         "model.pdb: atom 1 (N of LEU 1, chain 'A') has a coordinate that is not a finite number."},
        {"a coordinate inf", x("    -inf"), End::Stops,
         "model.pdb: atom 1 (N of LEU 1, chain 'A') has a coordinate that is not a finite number."},
        {"a model far outside the map (9000 A)", shift({9000.0, -900.0, 9000.0}), End::Fits, ""},
        {"a model ten times as long as the map", makeLong, End::Fits,
         "model.pdb: the model with its margin is larger than the map's grid"},
    };
}

std::vector<Case> layoutCases() {
    const std::string odd = "model.pdb: the coordinates of ";
    return {
        {"a coordinate that is text", x("  twelve"), End::Fits, odd},
        {"columns shifted by one to the right", replace("ATOM  ", "ATOM   "), End::Fits, odd},
        {"columns shifted by one to the left", replace("ATOM  ", "ATOM "), End::Fits, ""},
        {"tabs in place of blanks", replace("    ", "\t"), End::Stops, "model.pdb: no atoms were kept"},
        {"CR LF ends", replace("\n", "\r\n"), End::Fits, ""},
        {"no final line end",
         text([](const std::string& model) { return model.substr(0, model.size() - 5); }), End::Fits, ""},
        {"a line of a megabyte", before("REMARK " + std::string(1000000, 'x') + "\n"), End::Fits, ""},
        {"an atom line of a megabyte", text([](const std::string& model) {
             std::string changed = model;
             return changed.insert(changed.find('\n'), std::string(1000000, 'x'));
         }),
         End::Fits, ""},
        {"zero bytes at the end",
         text([](const std::string& model) { return model + std::string(10000, '\0'); }), End::Fits, ""},
        {"a UTF-8 byte-order mark before the first atom", before("\xEF\xBB\xBF"), End::Fits,
         "model.pdb begins with a byte-order mark"},
        {"gzip", before("\x1f\x8b\x08"), End::Fits, "model.pdb is compressed (gzip)"},
        {"gzip that holds no readable line",
         text([](const std::string&) { return "\x1f\x8b\x08" + std::string(3000, '\x9b'); }), End::Stops,
         "model.pdb is compressed (gzip)"},
        {"mmCIF", before(mmcifHead), End::Stops, "model.pdb is an mmCIF file; convert it to the PDB format"},
        {"mmCIF behind a UTF-8 byte-order mark", before("\xEF\xBB\xBF" + mmcifHead), End::Stops,
         "model.pdb is an mmCIF file; convert it to the PDB format"},
        {"an escape sequence as the name of an only atom", text([](const std::string& model) {
             return model.substr(0, model.find('\n') + 1).replace(nameOffset, 4, "\x1b[2J");
         }),
         End::EndsEarly, "model.pdb: atom 1 (\\x1B[2J of LEU 1, chain 'A')"},
        {"UTF-16", text([](const std::string& model) {
             std::string wide = "\xFF\xFE";
             for (const char c : model) {
                 wide += c;
                 wide += '\0';
             }
             return wide;
         }),
         End::Stops, "model.pdb: no atoms were kept"},
    };
}

} // namespace

std::vector<Case> modelCases() {
    std::vector<Case> all = countCases();
    for (const auto& part : {placeCases(), layoutCases()}) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}
