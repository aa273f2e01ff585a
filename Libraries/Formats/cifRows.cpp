// SPDX-License-Identifier: GPL-3.0-or-later
#include "Formats/cifRows.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "Formats/ModelText.h"
#include "Formats/atomSite.h"
#include "Formats/turnTensor.h"

#include <gemmi/cifdoc.hpp>
#include <gemmi/numb.hpp>

namespace cif = gemmi::cif;

namespace {

constexpr int fewestDecimals = 3; // of a coordinate, as many as the PDB format has
constexpr int fewestTensorDecimals = 4;
constexpr int mostDecimals = 6;

int decimalsOf(const std::string& number, int fewest) {
    const std::size_t point = number.find('.');
    if (point == std::string::npos) {
        return fewest;
    }
    const std::size_t end = std::min(number.find_first_not_of("0123456789", point + 1), number.size());
    return std::clamp(static_cast<int>(end - point - 1), fewest, mostDecimals);
}

std::string formatted(double value, int decimals) {
    std::array<char, 352> text{}; // holds any double
    std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
    return text.data();
}

/// A tensor of which an element is missing is unknown as a whole once it is turned.
void turn(RowChange& row, const std::array<int, 6>& columns, const cMatrix33& rotation) {
    if (columns[0] < 0) {
        return;
    }
    SymmetricTensor tensor{};
    bool isKnown = true;
    for (std::size_t i = 0; i < tensor.size(); ++i) {
        tensor[i] = cif::as_number(row.old(columns[i]));
        isKnown = isKnown && isBounded(tensor[i]);
    }
    const SymmetricTensor turned = turnTensor(tensor, rotation);
    for (std::size_t i = 0; i < tensor.size(); ++i) {
        row.set(columns[i],
                isKnown ? formatted(turned[i], decimalsOf(row.old(columns[i]), fewestTensorDecimals)) : "?");
    }
}

} // namespace

RowChange::RowChange(const cif::Loop& loop) : m_loop(loop), m_changed(loop.width()) {}

void RowChange::begin(std::size_t row) {
    m_row = row;
    for (const std::size_t column : m_used) {
        m_changed[column].clear();
    }
    m_used.clear();
}

const std::string& RowChange::old(int column) const {
    return m_loop.val(m_row, static_cast<std::size_t>(column));
}

void RowChange::set(int column, std::string value) {
    m_used.push_back(static_cast<std::size_t>(column));
    m_changed[m_used.back()] = std::move(value);
}

void RowChange::write(std::string& out) const {
    bool atLineStart = true;
    for (std::size_t column = 0; column < m_changed.size(); ++column) {
        const std::string& value = m_changed[column].empty() ? m_loop.val(m_row, column) : m_changed[column];
        if (!value.empty() && value[0] == ';') { // a text field begins and ends a line
            out += atLineStart ? "" : "\n";
            out += value;
            out += '\n';
            atLineStart = true;
        } else {
            out += atLineStart ? "" : " ";
            out += value;
            atLineStart = false;
        }
    }
    out += atLineStart ? "" : "\n";
}

RowMover::RowMover(const cif::Loop& loop, const std::string& tensors)
    : m_place(AtomSiteColumns(loop).place)
    , m_u(tensorColumns(loop, tensors + "U"))
    , m_b(tensorColumns(loop, tensors + "B")) {}

void RowMover::move(RowChange& row, const RigidMotion& motion) const {
    if (m_place[0] >= 0) {
        cVector3 x(0.0);
        for (int axis = 0; axis < 3; ++axis) {
            x[axis] = cif::as_number(row.old(m_place[static_cast<std::size_t>(axis)]));
        }
        x = motion(x);
        for (int axis = 0; axis < 3; ++axis) {
            const int column = m_place[static_cast<std::size_t>(axis)];
            row.set(column, formatted(x[axis], decimalsOf(row.old(column), fewestDecimals)));
        }
    }
    turn(row, m_u, motion.rotation);
    turn(row, m_b, motion.rotation);
}

void writeTags(const cif::Loop& loop, std::string& out) {
    out += "loop_\n";
    for (const std::string& tag : loop.tags) {
        out += tag + "\n";
    }
}
