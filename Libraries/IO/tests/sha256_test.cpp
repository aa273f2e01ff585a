// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

#include <gtest/gtest.h>

#include "IO/openInput.h"
#include "IO/sha256.h"

namespace {

std::string digestOf(const std::string& text, std::size_t pieces = 1) {
    Sha256 sha;
    for (std::size_t n = 0; n < pieces; ++n) {
        sha.add(text.data(), text.size());
    }
    return sha.digest();
}

} // namespace

/// The examples of FIPS 180-4.
TEST(Sha256, HasTheDigestsOfTheStandard) {
    EXPECT_EQ(digestOf(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(digestOf("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(digestOf("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(digestOf(std::string(1000, 'a'), 1000),
              "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(Sha256, DoesNotHangOnThePieces) {
    std::string text;
    for (int n = 0; n < 300; ++n) {
        text += static_cast<char>(n % 251);
    }
    for (const std::size_t first : {1U, 55U, 56U, 63U, 64U, 65U, 128U, 299U}) {
        Sha256 sha;
        sha.add(text.data(), first);
        sha.add(text.data() + first, text.size() - first);
        EXPECT_EQ(sha.digest(), digestOf(text));
    }
}

TEST(Sha256, OfAFileIsThatOfItsBytes) {
    std::string path = (std::filesystem::temp_directory_path() / "selvane_sha256_XXXXXX").string();
    const int descriptor = mkstemp(path.data());
    ASSERT_GE(descriptor, 0);
    close(descriptor);
    const std::string text(200000, '\n'); // more than a piece of the reader
    std::ofstream(path, std::ios::binary) << text;
    EXPECT_EQ(sha256OfFile(path), digestOf(text));
    std::filesystem::remove(path);
    EXPECT_THROW(sha256OfFile(path), InputError);
}
