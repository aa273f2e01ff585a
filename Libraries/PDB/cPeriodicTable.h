// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PDB_CPERIODICTABLE_H
#define SELVANE_PDB_CPERIODICTABLE_H

#include <map>

struct elementInformation {
    float m_radius; ///< van der Waals radius in Å
    float m_mass;   ///< in dalton
};

/// Radius and mass by element symbol, H to Rg.
class cPeriodicTable {
public:
    cPeriodicTable();

    /// (first letter << 8) | second letter, with 0 as the second letter of a one-letter symbol.
    static int key(const char* symbol);
    /// Null if the table has no such symbol.
    const elementInformation* find(const char* symbol) const;
    const std::map<int, elementInformation>& getMap() const { return m_elements; }

private:
    void initializePeriodicTableMap();

    std::map<int, elementInformation> m_elements;
};

#endif
