// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FIT_JOURNAL_H
#define SELVANE_FIT_JOURNAL_H

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "Search/SearchObserver.h"

/// What a run tells while it works, on one stream, and keeps for its log: stages with their times, choices,
/// warnings. A terminal sees one line of progress that moves; anything else a line per stage and one for
/// every tenth of a long one.
class Journal : public SearchObserver {
public:
    enum class Manner { Quiet, Lines, Terminal };

    /// @param out       not owned; Quiet tells it warnings alone
    /// @param patience  seconds that a stage goes on before lines tell its tenths
    Journal(std::FILE* out, Manner manner, double patience = 0.5)
        : m_out(out), m_manner(manner), m_patience(patience) {}

    /// That of the standard error stream.
    static Manner mannerOf(bool quiet);

    /// A stage begins, and the one before it ends.
    void stageBegins(const std::string& stage, std::size_t total) override;
    void stage(const std::string& name) { stageBegins(name, 0); }
    void progress(std::size_t done) override;
    /// Something that was chosen for the user, as a sentence.
    void choose(const std::string& text);
    void warn(const std::string& text) override;
    /// What stands in front of choices and warnings from now on.
    void setContext(const std::string& context) { m_context = context; }
    /// The last stage ends.
    void end();

    const std::vector<std::string>& choices() const { return m_choices; }
    const std::vector<std::string>& warnings() const { return m_warnings; }
    /// Wall-clock seconds of each stage that has ended.
    const std::vector<std::pair<std::string, double>>& seconds() const { return m_seconds; }

private:
    using Clock = std::chrono::steady_clock;

    void line(const std::string& text);
    void clearBar();
    void drawBar(std::size_t percent);
    double elapsed() const;

    std::FILE* m_out;
    Manner m_manner;
    double m_patience;
    std::string m_stage;
    std::string m_context;
    std::size_t m_total = 0;
    std::size_t m_lastPercent = 0; ///< told
    bool m_hasBar = false;         ///< on the terminal's last line
    Clock::time_point m_start;
    std::vector<std::string> m_choices;
    std::vector<std::string> m_warnings;
    std::vector<std::pair<std::string, double>> m_seconds;
};

/// Seconds as a person reads them: "40 s", "3:07 min", "2:05 h".
std::string durationText(double seconds);

#endif
