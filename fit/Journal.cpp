// SPDX-License-Identifier: GPL-3.0-or-later
#include "fit/Journal.h"

#include <algorithm>
#include <cmath>

#include <unistd.h>

#include "IO/printable.h"

namespace {

constexpr std::size_t tenth = 10; // percent
constexpr std::size_t barWidth = 30;

std::string twoDigits(long number) {
    return (number < 10 ? "0" : "") + std::to_string(number);
}

} // namespace

std::string durationText(double seconds) {
    constexpr long minute = 60;
    constexpr long hour = 3600;
    const long whole = std::lround(std::min(std::max(seconds, 0.0), 1e9));
    if (whole < minute) {
        return std::to_string(whole) + " s";
    }
    if (whole < hour) {
        return std::to_string(whole / minute) + ":" + twoDigits(whole % minute) + " min";
    }
    return std::to_string(whole / hour) + ":" + twoDigits(whole % hour / minute) + " h";
}

Journal::Manner Journal::mannerOf(bool quiet) {
    return quiet ? Manner::Quiet : isatty(STDERR_FILENO) == 1 ? Manner::Terminal : Manner::Lines;
}

double Journal::elapsed() const {
    return std::chrono::duration<double>(Clock::now() - m_start).count();
}

void Journal::clearBar() {
    if (m_hasBar) {
        std::fputs("\r\x1b[K", m_out);
        m_hasBar = false;
    }
}

void Journal::line(const std::string& text) {
    clearBar();
    std::fprintf(m_out, "%s\n", printable(text).c_str());
    std::fflush(m_out);
}

void Journal::stageBegins(const std::string& stage, std::size_t total) {
    end();
    m_stage = stage;
    m_total = total;
    m_lastPercent = 0;
    m_start = Clock::now();
    if (m_manner == Manner::Lines) {
        line(stage);
    } else if (m_manner == Manner::Terminal) {
        drawBar(0);
    }
}

void Journal::progress(std::size_t done) {
    const std::size_t percent = m_total == 0 ? 0 : 100 * done / m_total;
    if (percent == m_lastPercent) {
        return;
    }
    if (m_manner == Manner::Terminal) {
        m_lastPercent = percent;
        drawBar(percent);
    } else if (m_manner == Manner::Lines && percent / tenth > m_lastPercent / tenth &&
               elapsed() >= m_patience) {
        m_lastPercent = percent;
        const double left = elapsed() * static_cast<double>(100 - percent) / static_cast<double>(percent);
        line(m_stage + ": " + std::to_string(percent) + " %" +
             (percent < 100 ? ", " + durationText(left) + " left" : ""));
    }
}

void Journal::drawBar(std::size_t percent) {
    clearBar();
    std::fputs(printable(m_stage).c_str(), m_out);
    if (m_total > 0) {
        const std::size_t full = barWidth * percent / 100;
        const std::string bar = std::string(full, '=') + std::string(barWidth - full, ' ');
        std::fprintf(m_out, " [%s] %zu %%", bar.c_str(), percent);
        if (percent > 0) {
            const double left = elapsed() * static_cast<double>(100 - percent) / static_cast<double>(percent);
            std::fprintf(m_out, ", %s left", durationText(left).c_str());
        }
    }
    std::fflush(m_out);
    m_hasBar = true;
}

void Journal::choose(const std::string& words) {
    const std::string text = m_context + words;
    m_choices.push_back(text);
    if (m_manner != Manner::Quiet) {
        line("  " + text);
    }
}

void Journal::warn(const std::string& words) {
    const std::string text = m_context + words;
    m_warnings.push_back(text);
    line("selvane-fit: " + text);
}

void Journal::end() {
    clearBar();
    if (!m_stage.empty()) {
        m_seconds.emplace_back(m_stage, elapsed());
        m_stage.clear();
    }
    std::fflush(m_out);
}
