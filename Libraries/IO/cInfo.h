// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_IO_CINFO_H
#define SELVANE_IO_CINFO_H

#include <string>
#include <utility>
#include <vector>

class cVector3;

/// The report of a run on the standard output: title lines, fact lines and the table of seconds per stage.
/// Everything is written through printf, in lines whose fill characters are "=" or ".". Widths up to 98 are
/// served; a line never has more than 98 fill characters in a row, and a negative count of them gives all 98.
/// @note Not locked: for the main thread only.
class cInfo {
public:
    /// @param width  the column, counted in characters, that dots fill up to and titles are centred in
    explicit cInfo(int width);

    /// Prints the title between "=" characters and opens a row (title, 0 s) of the timing table.
    /// Titles carry a blank at either end. Without effect while silent.
    void printInfo(const char* title);

    /// Prints "key.... : value unit", texts as printable() shows them. Without effect while silent.
    /// @param unit  null for a value without one
    void printInfo(const char* key, const char* value, const char* unit);
    void printInfo(const char* key, const std::string& value, const char* unit);
    void printInfo(const char* key, int value, const char* unit);
    void printInfo(const char* key, float value, const char* unit);
    void printInfo(const char* key, double value, const char* unit);
    /// Prints "key.... : [x unit, y unit, z unit]".
    void printInfo(const char* key, const cVector3& value, const char* unit);
    /// Prints "key :" and a line "[ i].... : value unit" for each of the n values, i from 1.
    void printInfo(const char* key, const double* values, int n, const char* unit);

    /// Replaces the seconds of the last row, also while silent; ignored when there is no row.
    void saveTimeInterval(double seconds);
    /// Appends the row (name, seconds).
    void saveTimeInterval(const char* name, double seconds);

    void setTotalTime(double seconds);

    /// Prints a header of the timing table: kind 0 the text as a title between two lines of "=", kind 1 the
    /// text with the total time between a line of dots and a line of "=", any other kind one line of "=".
    void printHeader(const char* text, int kind);

    /// Prints the rows of the timing table and the total time, also while silent.
    void printTimings();

private:
    static constexpr int maxWidth = 98;

    void printBars() const;
    void printDots() const;
    void printTitle(const char* title) const;
    void printSeconds(const char* name, double seconds) const;
    void printKey(const char* key) const;
    static void printUnit(const char* unit);

    int m_width;
    char m_dots[maxWidth + 1];
    char m_bars[maxWidth + 1];
    double m_totalTime = 0.0;
    std::vector<std::pair<std::string, double>> m_timings;

public:
    bool m_silent = false; ///< suppresses title and fact lines, and with them the rows that titles open
};

#endif
