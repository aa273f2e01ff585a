// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "IO/printable.h"

TEST(Printable, OrdinaryTextStaysAsItIs) {
    for (const std::string text :
         {"", "model.pdb", "two words", "it's \"quoted\"", "back\\slash", "~`$*?", "\xC3\xA9t\xC3\xA0",
          "\xC3\x80", "\xE5\x88\x86\xE5\xAD\x90.pdb", "\xF0\x9F\xA7\xAC", "\xC2\xA0"}) {
        EXPECT_EQ(printable(text), text);
    }
}

TEST(Printable, EveryControlCharacterIsShownByItsNumber) {
    char shown[8];
    for (int code = 0; code < 128; ++code) {
        const std::string text(1, static_cast<char>(code));
        std::snprintf(shown, sizeof shown, "\\x%02X", static_cast<unsigned>(code));
        EXPECT_EQ(printable(text), code < 32 || code == 127 ? shown : text) << code;
    }
    EXPECT_EQ(printable("a\x1b[31mb\tc\nd\re"), "a\\x1B[31mb\\x09c\\x0Ad\\x0De");
}

TEST(Printable, SecondSetOfControlsIsShownByteByByte) {
    // U+009B begins a control sequence as ESC [ does.
    EXPECT_EQ(printable("a\xC2\x9B"
                        "31m"),
              "a\\xC2\\x9B31m");
    EXPECT_EQ(printable("\xC2\x80\xC2\x9F\xC2\xA0"), "\\xC2\\x80\\xC2\\x9F\xC2\xA0");
}

TEST(Printable, BytesThatAreNoUtf8AreShownOneByOne) {
    EXPECT_EQ(printable("\xE9t\xE9"), "\\xE9t\\xE9");
    EXPECT_EQ(printable("\x9B"
                        "31m"),
              "\\x9B31m");
    EXPECT_EQ(printable("\xC2"), "\\xC2") << "cut short";
    EXPECT_EQ(printable("\xE5\x88"), "\\xE5\\x88") << "cut short";
    EXPECT_EQ(printable("\xC0\x9B"), "\\xC0\\x9B") << "a longer form than needed, of ESC";
    EXPECT_EQ(printable("\xE0\x82\x9B"), "\\xE0\\x82\\x9B") << "a longer form than needed, of U+009B";
    EXPECT_EQ(printable("\xED\xA0\x80"), "\\xED\\xA0\\x80") << "a surrogate";
    EXPECT_EQ(printable("\xF4\x90\x80\x80"), "\\xF4\\x90\\x80\\x80") << "beyond the last character";
    EXPECT_EQ(printable("\xC3\n"), "\\xC3\\x0A") << "the byte behind a broken character is looked at anew";
}
