// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include "PDB/cPeriodicTable.h"

TEST(CPeriodicTable, HasARowForEachElementUpToRoentgenium) {
    const cPeriodicTable table;
    EXPECT_EQ(table.getMap().size(), 111U);
    ASSERT_NE(table.find("Rg"), nullptr);
    EXPECT_EQ(table.find("Rg")->m_mass, 272.0F);
}

TEST(CPeriodicTable, RowsHoldRadiusAndMass) {
    const cPeriodicTable table;
    const elementInformation* carbon = table.find("C");
    ASSERT_NE(carbon, nullptr);
    EXPECT_EQ(carbon->m_radius, 1.7F);
    EXPECT_EQ(carbon->m_mass, 12.0107F);
    EXPECT_EQ(table.find("At")->m_mass, 210.0F);
}

TEST(CPeriodicTable, KeyPacksTwoLetters) {
    EXPECT_EQ(cPeriodicTable::key("C"), 'C' << 8);
    EXPECT_EQ(cPeriodicTable::key("Ca"), ('C' << 8) | 'a');
    EXPECT_EQ(cPeriodicTable::key(""), 0);
    const cPeriodicTable table;
    EXPECT_EQ(table.find(""), nullptr);
    EXPECT_EQ(table.find("Cb"), nullptr);
}

TEST(CPeriodicTable, ArsenicHasNoRowAndCalciumIsSmall) {
    // Seen to fail with the symbol As, and with a radius of 2.31 for calcium.
    const cPeriodicTable table;
    EXPECT_EQ(table.find("As"), nullptr);
    EXPECT_NE(table.find("Aa"), nullptr);
    EXPECT_EQ(table.find("Ca")->m_radius, 1.2F);
}
