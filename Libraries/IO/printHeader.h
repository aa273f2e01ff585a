// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_IO_PRINTHEADER_H
#define SELVANE_IO_PRINTHEADER_H

/// Prints the banner of the program in a frame of "*" and "-", width + 2 characters wide. On a terminal the
/// addresses are underlined and coloured. Widths up to 98 are served.
void printHeader(int width);

#endif
