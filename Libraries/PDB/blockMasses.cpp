// SPDX-License-Identifier: GPL-3.0-or-later
#include "PDB/blockMasses.h"

namespace Data {

BlockMasses initBlockMasses() {
    return {
        {"ALA", 71.0788},  {"CYS", 103.1388}, {"ASP", 115.0886}, {"GLU", 129.1155}, {"PHE", 147.1766},
        {"GLY", 57.0519},  {"HIS", 137.1411}, {"ILE", 113.1594}, {"LYS", 128.1741}, {"LEU", 113.1594},
        {"MET", 131.1986}, {"ASN", 114.1039}, {"PYL", 255.3172}, {"PRO", 97.1167},  {"GLN", 128.1307},
        {"ARG", 156.1875}, {"SER", 87.0782},  {"THR", 101.1051}, {"SEC", 150.0388}, {"VAL", 99.1326},
        {"TRP", 186.2132}, {"TYR", 163.176},
    };
}

BlockMasses blockMasses = initBlockMasses();

} // namespace Data
