// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/tests/testInputs.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "Math/pi.h"

namespace {

constexpr std::size_t headerSize = 1024;

Mat operator*(const Mat& a, const Mat& b) {
    Mat product{};
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t c = 0; c < 3; ++c) {
            for (std::size_t k = 0; k < 3; ++k) {
                product[r][c] += a[r][k] * b[k][c];
            }
        }
    }
    return product;
}

double threeDecimals(double value) {
    return std::round(value * 1000.0) / 1000.0;
}

/// A point of a helix along x with 100 degrees and 1.5 angstrom per residue.
Vec helixPoint(double residue, double radius) {
    const double angle = residue * 100.0 * pi / 180.0;
    return {1.5 * residue, radius * std::cos(angle), radius * std::sin(angle)};
}

void appendResidue(std::vector<TestAtom>& atoms, char chain, int number, const std::array<Vec, 5>& places) {
    static const char* const names[] = {"N", "CA", "C", "O", "CB"};
    static const char elements[] = {'N', 'C', 'C', 'O', 'C'};
    for (std::size_t a = 0; a < places.size(); ++a) {
        atoms.push_back({names[a], elements[a], number % 2 == 0 ? "ALA" : "LEU", chain, number, places[a]});
    }
}

std::array<Vec, 5> residuePlaces(double residue) {
    return {helixPoint(residue - 0.3, 1.5), helixPoint(residue, 2.3), helixPoint(residue + 0.35, 1.7),
            helixPoint(residue + 0.45, 2.9), helixPoint(residue - 0.1, 3.4)};
}

std::vector<TestAtom> centred(const std::vector<TestAtom>& atoms, const Vec& middle) {
    Vec mean{};
    for (const TestAtom& atom : atoms) {
        for (std::size_t a = 0; a < 3; ++a) {
            mean[a] += atom.position[a] / static_cast<double>(atoms.size());
        }
    }
    return moved(atoms, rotationXYZ(0, 0, 0), {0, 0, 0}, middle - mean);
}

void append(std::string& bytes, const void* word, bool reversed) {
    char raw[4];
    std::memcpy(raw, word, sizeof raw);
    if (reversed) {
        std::reverse(std::begin(raw), std::end(raw));
    }
    bytes.append(raw, sizeof raw);
}

void appendInts(std::string& bytes, const std::array<int, 3>& values, bool reversed) {
    for (const int value : values) {
        const std::int32_t word = value;
        append(bytes, &word, reversed);
    }
}

void appendFloats(std::string& bytes, const std::array<float, 3>& values, bool reversed) {
    for (const float value : values) {
        append(bytes, &value, reversed);
    }
}

std::string headerOf(const TestMap& map, const std::array<int, 3>& extent) {
    const bool reversed = map.oppositeByteOrder;
    std::array<int, 3> starts{};
    for (std::size_t c = 0; c < 3; ++c) {
        starts[c] = map.start[static_cast<std::size_t>(map.axisOrder[c] - 1)];
    }
    std::array<float, 3> lengths{};
    for (std::size_t a = 0; a < 3; ++a) {
        lengths[a] = static_cast<float>(map.size[a] * map.voxel[a]);
    }
    const auto [low, high] = std::minmax_element(map.values.begin(), map.values.end());
    double sum = 0.0;
    for (const double value : map.values) {
        sum += value;
    }

    std::string header;
    appendInts(header, extent, reversed);
    const std::int32_t mode = 2;
    append(header, &mode, reversed);
    appendInts(header, starts, reversed);
    appendInts(header, map.size, reversed);
    appendFloats(header, lengths, reversed);
    appendFloats(header, {90.0F, 90.0F, 90.0F}, reversed);
    appendInts(header, map.axisOrder, reversed);
    appendFloats(header,
                 {static_cast<float>(*low), static_cast<float>(*high),
                  static_cast<float>(sum / static_cast<double>(map.values.size()))},
                 reversed);
    appendInts(header, {1, map.symmetryBytes, 0}, reversed);
    header.resize(196, '\0');
    appendFloats(header, map.originWords, reversed);
    header += "MAP ";
    header.resize(headerSize, '\0');
    return header;
}

} // namespace

Vec operator+(const Vec& a, const Vec& b) {
    return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}

Vec operator-(const Vec& a, const Vec& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

Vec operator*(const Mat& m, const Vec& v) {
    Vec product{};
    for (std::size_t r = 0; r < 3; ++r) {
        product[r] = m[r][0] * v[0] + m[r][1] * v[1] + m[r][2] * v[2];
    }
    return product;
}

Vec cross(const Vec& a, const Vec& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double squaredNorm(const Vec& v) {
    return v[0] * v[0] + v[1] * v[1] + v[2] * v[2];
}

Mat transposed(const Mat& m) {
    Mat result{};
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t c = 0; c < 3; ++c) {
            result[r][c] = m[c][r];
        }
    }
    return result;
}

Mat rotationXYZ(double a, double b, double c) {
    const Mat x = {{{1, 0, 0}, {0, std::cos(a), -std::sin(a)}, {0, std::sin(a), std::cos(a)}}};
    const Mat y = {{{std::cos(b), 0, std::sin(b)}, {0, 1, 0}, {-std::sin(b), 0, std::cos(b)}}};
    const Mat z = {{{std::cos(c), -std::sin(c), 0}, {std::sin(c), std::cos(c), 0}, {0, 0, 1}}};
    return x * (y * z);
}

std::vector<TestAtom> makeModel(const Vec& middle) {
    std::vector<TestAtom> atoms;
    for (int residue = 0; residue < 12; ++residue) {
        appendResidue(atoms, 'A', residue + 1, residuePlaces(residue - 5.5));
    }
    for (int residue = 0; residue < 8; ++residue) {
        std::array<Vec, 5> places = residuePlaces(residue - 3.5);
        for (Vec& p : places) {
            p = Vec{p[1] + 4.0, p[2] + 7.5, p[0] + 3.0};
        }
        appendResidue(atoms, 'B', residue + 13, places);
    }
    return centred(atoms, middle);
}

std::vector<TestAtom> makeBentChain(const Vec& middle) {
    constexpr int residuesPerHelix = 14;
    constexpr double length = 1.5 * residuesPerHelix;
    std::vector<TestAtom> atoms;
    for (int residue = 0; residue < residuesPerHelix; ++residue) {
        appendResidue(atoms, 'A', residue + 1, residuePlaces(residue));
    }
    for (int residue = 0; residue < residuesPerHelix; ++residue) {
        std::array<Vec, 5> places = residuePlaces(residue);
        for (Vec& p : places) {
            p = Vec{length - p[1], p[0] + 2.0, p[2]};
        }
        appendResidue(atoms, 'A', residue + residuesPerHelix + 1, places);
    }
    for (int residue = 0; residue < residuesPerHelix; ++residue) {
        std::array<Vec, 5> places = residuePlaces(residue);
        for (Vec& p : places) {
            p = Vec{length - p[2], length + 2.0 + p[1], p[0] + 2.0};
        }
        appendResidue(atoms, 'A', residue + 2 * residuesPerHelix + 1, places);
    }
    return centred(atoms, middle);
}

std::vector<TestAtom> moved(std::vector<TestAtom> atoms, const Mat& rotation, const Vec& centre,
                            const Vec& shift) {
    for (TestAtom& atom : atoms) {
        atom.position = rotation * (atom.position - centre) + centre + shift;
        for (double& coordinate : atom.position) {
            coordinate = threeDecimals(coordinate);
        }
    }
    return atoms;
}

std::string pdbText(const std::vector<TestAtom>& atoms) {
    std::string text;
    for (std::size_t a = 0; a < atoms.size(); ++a) {
        const TestAtom& atom = atoms[a];
        char line[100];
        std::snprintf(
            line, sizeof line, "ATOM  %5d  %-3s %3s %c%4d    %8.3f%8.3f%8.3f%6.2f%6.2f           %c\n",
            static_cast<int>(a + 1), atom.name.c_str(), atom.residue.c_str(), atom.chain, atom.number,
            atom.position[0], atom.position[1], atom.position[2], 1.0, 20.0, atom.element);
        text += line;
        if (a + 1 == atoms.size() || atoms[a + 1].chain != atom.chain) {
            text += "TER\n";
        }
    }
    return text + "END\n";
}

std::string writtenLine(const std::vector<TestAtom>& atoms, std::size_t index) {
    const TestAtom& atom = atoms[index];
    char line[100];
    std::snprintf(line, sizeof line, "ATOM  %5d  %-3s %3s %c%4d    %8.3f%8.3f%8.3f%6.2f%6.2f          %c",
                  static_cast<int>(index + 1), atom.name.c_str(), atom.residue.c_str(), atom.chain,
                  atom.number, atom.position[0], atom.position[1], atom.position[2], 1.0, 20.0, atom.element);
    return line;
}

double massOf(const TestAtom& atom) {
    const float mass = atom.element == 'C' ? 12.0107F : atom.element == 'N' ? 14.0067F : 15.9994F;
    return static_cast<double>(mass);
}

double totalMass(const std::vector<TestAtom>& atoms) {
    double mass = 0.0;
    for (const TestAtom& atom : atoms) {
        mass += massOf(atom);
    }
    return mass;
}

double rmsd(const std::vector<Vec>& a, const std::vector<Vec>& b) {
    double sum = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        sum += squaredNorm(a[i] - b.at(i));
    }
    return std::sqrt(sum / static_cast<double>(a.size()));
}

std::vector<Vec> positionsOf(const std::vector<TestAtom>& atoms) {
    std::vector<Vec> positions;
    for (const TestAtom& atom : atoms) {
        positions.push_back(atom.position);
    }
    return positions;
}

double radiusOfGyration(const std::vector<Vec>& positions) {
    Vec mean{};
    for (const Vec& p : positions) {
        for (std::size_t a = 0; a < 3; ++a) {
            mean[a] += p[a] / static_cast<double>(positions.size());
        }
    }
    return rmsd(positions, std::vector<Vec>(positions.size(), mean));
}

std::size_t TestMap::index(int i, int j, int k) const {
    return static_cast<std::size_t>((i * size[1] + j) * size[2] + k);
}

Vec TestMap::position(int i, int j, int k) const {
    return {(start[0] + i) * voxel[0], (start[1] + j) * voxel[1], (start[2] + k) * voxel[2]};
}

Vec TestMap::centre() const {
    Vec centre{};
    for (std::size_t a = 0; a < 3; ++a) {
        centre[a] = (start[a] + 0.5 * (size[a] - 1)) * voxel[a];
    }
    return centre;
}

double TestMap::largestVoxel() const {
    return *std::max_element(voxel.begin(), voxel.end());
}

TestMap simulate(TestMap map, const std::vector<TestAtom>& atoms, double sigma, double background) {
    map.values.clear();
    for (int i = 0; i < map.size[0]; ++i) {
        for (int j = 0; j < map.size[1]; ++j) {
            for (int k = 0; k < map.size[2]; ++k) {
                const Vec node = map.position(i, j, k);
                double value = background;
                for (const TestAtom& atom : atoms) {
                    value += std::exp(-squaredNorm(node - atom.position) / (2.0 * sigma * sigma));
                }
                map.values.push_back(value);
            }
        }
    }
    return map;
}

std::string ccp4Bytes(const TestMap& map) {
    std::array<int, 3> extent{};
    std::array<std::size_t, 3> axis{};
    for (std::size_t c = 0; c < 3; ++c) {
        axis[c] = static_cast<std::size_t>(map.axisOrder[c] - 1);
        extent[c] = map.size[axis[c]];
    }
    std::string bytes = headerOf(map, extent);
    bytes.append(static_cast<std::size_t>(map.symmetryBytes), ' ');
    for (int s = 0; s < extent[2]; ++s) {
        for (int r = 0; r < extent[1]; ++r) {
            for (int c = 0; c < extent[0]; ++c) {
                std::array<int, 3> node{};
                node[axis[0]] = c;
                node[axis[1]] = r;
                node[axis[2]] = s;
                const auto value = static_cast<float>(map.values[map.index(node[0], node[1], node[2])]);
                append(bytes, &value, map.oppositeByteOrder);
            }
        }
    }
    return bytes;
}

std::int32_t intAt(const std::string& bytes, std::size_t offset) {
    std::int32_t value = 0;
    std::memcpy(&value, bytes.substr(offset, sizeof value).data(), sizeof value);
    return value;
}

float floatAt(const std::string& bytes, std::size_t offset) {
    float value = 0.0F;
    std::memcpy(&value, bytes.substr(offset, sizeof value).data(), sizeof value);
    return value;
}

void setIntAt(std::string& bytes, std::size_t offset, std::int32_t value) {
    bytes.replace(offset, sizeof value, reinterpret_cast<const char*>(&value), sizeof value);
}

void setFloatAt(std::string& bytes, std::size_t offset, float value) {
    bytes.replace(offset, sizeof value, reinterpret_cast<const char*>(&value), sizeof value);
}
