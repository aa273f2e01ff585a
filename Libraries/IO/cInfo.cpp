// SPDX-License-Identifier: GPL-3.0-or-later
#include "IO/cInfo.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "IO/printable.h"
#include "Math/cVector3.h"

namespace {

int length(const char* text) {
    return static_cast<int>(std::strlen(text));
}

} // namespace

cInfo::cInfo(int width) : m_width(width) {
    std::fill_n(m_dots, maxWidth, '.');
    m_dots[maxWidth] = '\0';
    std::fill_n(m_bars, maxWidth, '=');
    m_bars[maxWidth] = '\0';
}

void cInfo::printInfo(const char* title) {
    if (m_silent) {
        return;
    }
    printTitle(title);
    m_timings.emplace_back(title, 0.0);
}

void cInfo::printInfo(const char* key, const char* value, const char* unit) {
    if (m_silent) {
        return;
    }
    printKey(key);
    std::printf("%s", printable(value).c_str());
    printUnit(unit);
}

void cInfo::printInfo(const char* key, const std::string& value, const char* unit) {
    printInfo(key, value.c_str(), unit);
}

void cInfo::printInfo(const char* key, int value, const char* unit) {
    if (m_silent) {
        return;
    }
    printKey(key);
    std::printf("%d", value);
    printUnit(unit);
}

void cInfo::printInfo(const char* key, float value, const char* unit) {
    printInfo(key, static_cast<double>(value), unit);
}

void cInfo::printInfo(const char* key, double value, const char* unit) {
    if (m_silent) {
        return;
    }
    printKey(key);
    std::printf("%g", value);
    printUnit(unit);
}

void cInfo::printInfo(const char* key, const cVector3& value, const char* unit) {
    if (m_silent) {
        return;
    }
    printKey(key);
    if (unit != nullptr) {
        std::printf("[%g %s, %g %s, %g %s]\n", value.x, unit, value.y, unit, value.z, unit);
    } else {
        std::printf("[%g, %g, %g]\n", value.x, value.y, value.z);
    }
}

void cInfo::printInfo(const char* key, const double* values, int n, const char* unit) {
    static const std::string blanks(62, ' ');
    if (m_silent) {
        return;
    }
    const int keyLength = length(key);
    std::printf("%s :\n", key);
    for (int i = 1; i <= n; ++i) {
        std::printf("%.*s[%2d]%.*s : %g", keyLength + 1, blanks.c_str(), i, m_width - keyLength - 5, m_dots,
                    values[i - 1]);
        printUnit(unit);
    }
}

void cInfo::saveTimeInterval(double seconds) {
    // Deliberate: the last row takes it also when a silent stage opened none.
    if (!m_timings.empty()) {
        m_timings.back().second = seconds;
    }
}

void cInfo::saveTimeInterval(const char* name, double seconds) {
    m_timings.emplace_back(name, seconds);
}

void cInfo::setTotalTime(double seconds) {
    m_totalTime = seconds;
}

void cInfo::printHeader(const char* text, int kind) {
    if (kind == 0) {
        printBars();
        printTitle(text);
    } else if (kind == 1) {
        printDots();
        printSeconds(text, m_totalTime);
    }
    printBars();
}

void cInfo::printTimings() {
    printHeader(" Timing : ", 0);
    for (const auto& [name, seconds] : m_timings) {
        printSeconds(name.c_str(), seconds);
    }
    printHeader("Total time : ", 1);
}

void cInfo::printBars() const {
    std::printf("%.*s\n", m_width, m_bars);
}

void cInfo::printDots() const {
    std::printf("%.*s\n", m_width, m_dots);
}

void cInfo::printTitle(const char* title) const {
    const int titleLength = length(title);
    const int left = (m_width - titleLength) / 2;
    const int right = left + (m_width != titleLength + 2 * left ? 1 : 0);
    std::printf("%.*s%s%.*s\n", left, m_bars, title, right, m_bars);
}

void cInfo::printSeconds(const char* name, double seconds) const {
    std::printf("%s%.*s : %g s\n", name, m_width - length(name), m_dots, seconds);
}

void cInfo::printKey(const char* key) const {
    std::printf("%s%.*s : ", key, m_width - length(key), m_dots);
}

void cInfo::printUnit(const char* unit) {
    if (unit != nullptr) {
        std::printf(" %s", unit);
    }
    std::putchar('\n');
}
