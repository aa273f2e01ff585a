// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_IO_REPORTTEXT_H
#define SELVANE_IO_REPORTTEXT_H

#include <string>

/// Writes a text of the report on the standard output, in one piece, and flushes it: for numerical code whose
/// texts belong to the report of the program. Nothing is written while the calling thread holds a
/// ReportSilence.
void reportText(const std::string& text);

/// Keeps the calling thread's report texts to itself as long as it lives.
class ReportSilence {
public:
    ReportSilence();
    ReportSilence(const ReportSilence&) = delete;
    ReportSilence& operator=(const ReportSilence&) = delete;
    ~ReportSilence();
};

#endif
