// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PDB_NEIGHBOURLIST_H
#define SELVANE_PDB_NEIGHBOURLIST_H

#include <cstddef>
#include <vector>

#include "PDB/cPDBAtom.h"

/// Two atoms nearer than a cut-off. The atoms are not owned.
struct cPDBAtom::cList {
    cPDBAtom* m_first;
    cPDBAtom* m_second;
    double m_distance2; ///< squared distance in Å²
};

/// What cAtomGrid::constructNeighbourList fills: every pair twice, once from each side, and every atom with
/// itself.
class cPDBAtom::cNeighbourList : public std::vector<cPDBAtom::cList> {
public:
    using std::vector<cPDBAtom::cList>::vector;
};

/// The pairs by position and index, each twice, none of an atom with itself. Independent of the atoms once
/// made.
/// @tparam T  position type, made from {x, y, z}
template <typename T>
class NeighbourList {
public:
    struct List {
        T m_first;          ///< position of the first atom
        T m_second;         ///< position of the second atom
        int m_firstIndex;   ///< m_index of the first atom
        int m_secondIndex;  ///< m_index of the second atom
        double m_distance2; ///< squared distance in Å²
    };
    using const_iterator = typename std::vector<List>::const_iterator;

    NeighbourList() = default;

    /// Drops the records whose two atoms have one m_index. Two atoms at one position stay, with distance 0.
    explicit NeighbourList(const cPDBAtom::cNeighbourList& list) {
        std::size_t selfRecords = 0;
        for (const cPDBAtom::cList& record : list) {
            selfRecords += record.m_first->m_index == record.m_second->m_index;
        }
        m_list.reserve(list.size() - selfRecords);
        for (const cPDBAtom::cList& record : list) {
            const cPDBAtom& first = *record.m_first;
            const cPDBAtom& second = *record.m_second;
            if (first.m_index != second.m_index) {
                m_list.push_back(
                    {position(first), position(second), first.m_index, second.m_index, record.m_distance2});
            }
        }
    }

    void push_back(const List& record) { m_list.push_back(record); }
    void reserve(std::size_t n) { m_list.reserve(n); }
    std::size_t size() const { return m_list.size(); }
    bool empty() const { return m_list.empty(); }
    const List& operator[](std::size_t i) const { return m_list[i]; }
    const_iterator begin() const { return m_list.begin(); }
    const_iterator end() const { return m_list.end(); }

private:
    static T position(const cPDBAtom& atom) {
        return {atom.m_position.x, atom.m_position.y, atom.m_position.z};
    }

    std::vector<List> m_list;
};

#endif
