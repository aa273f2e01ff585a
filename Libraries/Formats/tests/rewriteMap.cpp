// SPDX-License-Identifier: GPL-3.0-or-later
// Reads a map and writes it again, for a comparison with other readers and writers.
//   rewrite_map FROM TO
#include <cstdio>
#include <exception>

#include "Formats/readMap.h"
#include "Formats/writeMap.h"

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: rewrite_map FROM TO\n");
        return 2;
    }
    try {
        writeMap(argv[2], readMap(argv[1]).map);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
