// SPDX-License-Identifier: GPL-3.0-or-later
#include "PDB/cPDBAtom.h"

#include <cstring>
#include <ostream>

cPDBAtom::cPDBAtom(const cPDBAtom* other) : cPDBAtom(*other) {
    m_atomType = -1;
}

bool cPDBAtom::isCA() const {
    return isAMINO() && std::strcmp(m_name, "CA") == 0;
}

bool cPDBAtom::isWater() const {
    const auto row = mResType.find(m_resName);
    return row != mResType.end() && row->second == 24;
}

bool cPDBAtom::isBackbone() const {
    for (const char* name : {"C", "N", "O", "HN", "HA", "H"}) {
        if (std::strcmp(m_name, name) == 0) {
            return true;
        }
    }
    return std::strncmp(m_name, "OT", 2) == 0 || isCA();
}

char cPDBAtom::getResCode() const {
    const auto row = resCode.find(m_resName);
    return row == resCode.end() ? 'x' : row->second;
}

int cPDBAtom::findResType(const char* resName) {
    const std::string name = resName;
    const auto first = name.find_first_not_of(' ');
    if (first == std::string::npos) {
        return 0;
    }
    const auto row = mResType.find(name.substr(first, name.find_last_not_of(' ') + 1 - first));
    return row == mResType.end() ? 0 : row->second;
}

void cPDBAtom::setType(const std::string& resName, const std::string& atomName, bool terminal,
                       bool backbone) {
    m_atomType = -1;
    const auto exact = mResName.find(resName + atomName);
    if (exact != mResName.end()) {
        m_atomType = exact->second;
    } else if (backbone) {
        const auto& table = terminal ? mNameTerm : mName;
        const auto row = table.find(atomName);
        if (row != table.end()) {
            m_atomType = row->second;
        }
    }
}

bool cPDBAtom::toFile(FILE* file) const {
    const char* format = std::strlen(m_name) == 4
                             ? "ATOM  %5d %-4s%c%3s %c%4d%c   %8.3f%8.3f%8.3f%6.2f%6.2f      %-3s%2s\n"
                             : "ATOM  %5d  %-3s%c%3s %c%4d%c   %8.3f%8.3f%8.3f%6.2f%6.2f      %-3s%2s\n";
    return std::fprintf(file, format, m_serial, m_name, m_altLoc[0], m_resName, m_chain[0], m_resSeq,
                        m_iCode[0], m_position.x, m_position.y, m_position.z,
                        static_cast<double>(m_occupancy), static_cast<double>(m_tempFactor), m_segId,
                        m_element) >= 0;
}

std::ostream& operator<<(std::ostream& out, const cPDBAtom* atom) {
    const char* format = std::strlen(atom->m_name) == 4
                             ? "ATOM  %5d %-4s%s%3s %s%4d%1s   %8.3f%8.3f%8.3f%6.2f%6.2f      %4s   %-2s"
                             : "ATOM  %5d  %-3s%s%3s %s%4d%1s   %8.3f%8.3f%8.3f%6.2f%6.2f      %4s   %-2s";
    const char* chain = atom->m_chain[0] == '\0' ? " " : atom->m_chain;
    char line[100];
    std::snprintf(line, sizeof line, format, atom->m_serial, atom->m_name, atom->m_altLoc, atom->m_resName,
                  chain, atom->m_resSeq, atom->m_iCode, atom->m_position.x, atom->m_position.y,
                  atom->m_position.z, static_cast<double>(atom->m_occupancy),
                  static_cast<double>(atom->m_tempFactor), atom->m_segId, atom->m_element);
    return out << line;
}
