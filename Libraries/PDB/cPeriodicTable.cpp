// SPDX-License-Identifier: GPL-3.0-or-later
#include "PDB/cPeriodicTable.h"

namespace {

struct Element {
    const char* m_symbol;
    float m_radius;
    float m_mass;
};

// In the order of the atomic number. Deliberate: arsenic stands as "Aa", so an arsenic atom has no row, and
// calcium has the radius 1.2.
const Element elements[] = {
    // clang-format off
    {"H", 1.2F, 1.00794F}, {"He", 1.4F, 4.0026F}, {"Li", 1.82F, 6.941F}, {"Be", 2.0F, 9.012182F},
    {"B", 2.0F, 10.811F}, {"C", 1.7F, 12.0107F}, {"N", 1.55F, 14.0067F}, {"O", 1.52F, 15.9994F},
    {"F", 1.47F, 18.998404F}, {"Ne", 1.54F, 20.1797F}, {"Na", 2.27F, 22.98977F}, {"Mg", 1.73F, 24.305F},
    {"Al", 2.0F, 26.981539F}, {"Si", 2.1F, 28.0855F}, {"P", 1.9F, 30.97376F}, {"S", 1.8F, 32.065F},
    {"Cl", 1.75F, 35.453F}, {"Ar", 1.88F, 39.948F}, {"K", 2.75F, 39.0983F}, {"Ca", 1.2F, 40.078F},
    {"Sc", 2.0F, 44.95591F}, {"Ti", 2.0F, 47.867F}, {"V", 2.0F, 50.9415F}, {"Cr", 2.0F, 51.9961F},
    {"Mn", 2.0F, 54.93805F}, {"Fe", 2.0F, 55.845F}, {"Co", 2.0F, 58.9332F}, {"Ni", 1.63F, 58.6934F},
    {"Cu", 1.4F, 63.546F}, {"Zn", 1.39F, 65.409F}, {"Ga", 1.07F, 69.723F}, {"Ge", 2.0F, 72.64F},
    {"Aa", 1.85F, 74.9216F}, {"Se", 1.9F, 78.96F}, {"Br", 1.85F, 79.904F}, {"Kr", 2.02F, 83.798F},
    {"Rb", 2.0F, 85.4678F}, {"Sr", 2.0F, 87.62F}, {"Y", 2.0F, 88.90585F}, {"Zr", 2.0F, 91.224F},
    {"Nb", 2.0F, 92.90638F}, {"Mo", 2.0F, 95.94F}, {"Tc", 2.0F, 98.0F}, {"Ru", 2.0F, 101.07F},
    {"Rh", 2.0F, 102.9055F}, {"Pd", 1.63F, 106.42F}, {"Ag", 1.72F, 107.8682F}, {"Cd", 1.58F, 112.411F},
    {"In", 1.93F, 114.818F}, {"Sn", 2.17F, 118.71F}, {"Sb", 2.0F, 121.76F}, {"Te", 2.06F, 127.6F},
    {"I", 1.98F, 126.90447F}, {"Xe", 2.16F, 131.293F}, {"Cs", 2.0F, 132.90546F}, {"Ba", 2.0F, 137.327F},
    {"La", 2.0F, 138.9055F}, {"Ce", 2.0F, 140.116F}, {"Pr", 2.0F, 140.90765F}, {"Nd", 2.0F, 144.24F},
    {"Pm", 2.0F, 145.0F}, {"Sm", 2.0F, 150.36F}, {"Eu", 2.0F, 151.964F}, {"Gd", 2.0F, 157.25F},
    {"Tb", 2.0F, 158.92534F}, {"Dy", 2.0F, 162.5F}, {"Ho", 2.0F, 164.93031F}, {"Er", 2.0F, 167.259F},
    {"Tm", 2.0F, 168.9342F}, {"Yb", 2.0F, 173.04F}, {"Lu", 2.0F, 174.967F}, {"Hf", 2.0F, 178.49F},
    {"Ta", 2.0F, 180.9479F}, {"W", 2.0F, 183.84F}, {"Re", 2.0F, 186.207F}, {"Os", 2.0F, 190.23F},
    {"Ir", 2.0F, 192.217F}, {"Pt", 1.72F, 195.078F}, {"Au", 1.66F, 196.96655F}, {"Hg", 1.55F, 200.59F},
    {"Tl", 1.96F, 204.3833F}, {"Pb", 2.02F, 207.2F}, {"Bi", 2.0F, 208.98038F}, {"Po", 2.0F, 209.0F},
    {"At", 2.0F, 210.0F}, {"Rn", 2.0F, 222.0F}, {"Fr", 2.0F, 223.0F}, {"Ra", 2.0F, 226.0F},
    {"Ac", 2.0F, 227.0F}, {"Th", 2.0F, 232.0381F}, {"Pa", 2.0F, 231.03587F}, {"U", 1.86F, 238.02892F},
    {"Np", 2.0F, 237.0F}, {"Pu", 2.0F, 244.0F}, {"Am", 2.0F, 243.0F}, {"Cm", 2.0F, 247.0F},
    {"Bk", 2.0F, 247.0F}, {"Cf", 2.0F, 251.0F}, {"Es", 2.0F, 252.0F}, {"Fm", 2.0F, 257.0F},
    {"Md", 2.0F, 258.0F}, {"No", 2.0F, 259.0F}, {"Lr", 2.0F, 262.0F}, {"Rf", 2.0F, 261.0F},
    {"Db", 2.0F, 262.0F}, {"Sg", 2.0F, 266.0F}, {"Bh", 2.0F, 264.0F}, {"Hs", 2.0F, 269.0F},
    {"Mt", 2.0F, 268.0F}, {"Ds", 2.0F, 271.0F}, {"Rg", 2.0F, 272.0F},
    // clang-format on
};

} // namespace

cPeriodicTable::cPeriodicTable() {
    initializePeriodicTableMap();
}

int cPeriodicTable::key(const char* symbol) {
    const auto first = static_cast<unsigned char>(symbol[0]);
    return first == 0 ? 0 : (first << 8) | static_cast<unsigned char>(symbol[1]);
}

const elementInformation* cPeriodicTable::find(const char* symbol) const {
    const auto row = m_elements.find(key(symbol));
    return row == m_elements.end() ? nullptr : &row->second;
}

void cPeriodicTable::initializePeriodicTableMap() {
    for (const Element& element : elements) {
        m_elements[key(element.m_symbol)] = {element.m_radius, element.m_mass};
    }
}
