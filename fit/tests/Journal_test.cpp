// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fit/Journal.h"

namespace {

/// A stream that can be read back.
class Stream {
public:
    std::FILE* file() const { return m_file.get(); }

    std::string text() const {
        std::fflush(m_file.get());
        std::rewind(m_file.get());
        std::string text;
        for (int c = std::fgetc(m_file.get()); c != EOF; c = std::fgetc(m_file.get())) {
            text += static_cast<char>(c);
        }
        return text;
    }

private:
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    std::unique_ptr<std::FILE, Close> m_file{std::tmpfile()};
};

std::size_t countOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

void tellAScan(Journal& journal, std::size_t tasks) {
    journal.stage("reading");
    journal.choose("level 0.5");
    journal.stageBegins("scan", tasks);
    for (std::size_t done = 1; done <= tasks; ++done) {
        journal.progress(done);
    }
    journal.warn("odd map");
    journal.end();
}

TEST(Journal, WritesALineForEachTenthOfAStage) {
    const Stream stream;
    Journal journal(stream.file(), Journal::Manner::Lines, 0.0);
    tellAScan(journal, 1000);
    const std::string text = stream.text();
    EXPECT_EQ(countOf(text, "scan: "), 10U);
    EXPECT_EQ(countOf(text, "scan: 100 %\n"), 1U);
    EXPECT_EQ(countOf(text, " left\n"), 9U);
    EXPECT_EQ(countOf(text, "\r"), 0U);
    EXPECT_EQ(text.find("reading\n  level 0.5\nscan\n"), 0U);
}

TEST(Journal, FewTasksSkipTenths) {
    const Stream stream;
    Journal journal(stream.file(), Journal::Manner::Lines, 0.0);
    tellAScan(journal, 3);
    EXPECT_EQ(countOf(stream.text(), "scan: "), 3U);
}

TEST(Journal, AShortStageIsOneLine) {
    const Stream stream;
    Journal journal(stream.file(), Journal::Manner::Lines, 1e6);
    tellAScan(journal, 1000);
    EXPECT_EQ(stream.text(), "reading\n  level 0.5\nscan\nselvane-fit: odd map\n");
}

TEST(Journal, QuietTellsWarningsAlone) {
    const Stream stream;
    Journal journal(stream.file(), Journal::Manner::Quiet);
    tellAScan(journal, 100);
    EXPECT_EQ(stream.text(), "selvane-fit: odd map\n");
}

TEST(Journal, ATerminalKeepsOnlyWhatIsNoBar) {
    const Stream stream;
    Journal journal(stream.file(), Journal::Manner::Terminal);
    tellAScan(journal, 200);
    // What a terminal shows in the end: the text behind the last erasure of each line.
    std::string shown;
    const std::string text = stream.text();
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        const std::string line = text.substr(at, end - at);
        const std::size_t erased = line.rfind("\r\x1b[K");
        shown += (erased == std::string::npos ? line : line.substr(erased + 4)) + "|";
        at = end + 1;
    }
    EXPECT_EQ(shown, "  level 0.5|selvane-fit: odd map|");
    EXPECT_EQ(countOf(text, "50 %"), 1U);
}

TEST(Journal, KeepsStagesChoicesAndWarnings) {
    const Stream stream;
    Journal journal(stream.file(), Journal::Manner::Quiet);
    tellAScan(journal, 2);
    ASSERT_EQ(journal.seconds().size(), 2U);
    EXPECT_EQ(journal.seconds()[0].first, "reading");
    EXPECT_EQ(journal.seconds()[1].first, "scan");
    EXPECT_GE(journal.seconds()[1].second, 0.0);
    EXPECT_EQ(journal.choices(), std::vector<std::string>{"level 0.5"});
    EXPECT_EQ(journal.warnings(), std::vector<std::string>{"odd map"});
}

TEST(Journal, ShowsControlCharactersOfNames) {
    const Stream stream;
    Journal journal(stream.file(), Journal::Manner::Lines, 0.0);
    journal.warn("a\x1b[31m\nb");
    EXPECT_EQ(stream.text(), "selvane-fit: a\\x1B[31m\\x0Ab\n");
}

TEST(Duration, IsReadAsSecondsMinutesHours) {
    EXPECT_EQ(durationText(0.2), "0 s");
    EXPECT_EQ(durationText(59.4), "59 s");
    EXPECT_EQ(durationText(187.0), "3:07 min");
    EXPECT_EQ(durationText(7500.0), "2:05 h");
    EXPECT_EQ(durationText(-1.0), "0 s");
}

TEST(Journal, PutsTheContextInFrontOfChoicesAndWarnings) {
    Stream stream;
    Journal journal(stream.file(), Journal::Manner::Quiet);
    journal.setContext("the mirrored map: ");
    journal.choose("level 2");
    journal.warn("it is small");
    journal.setContext("");
    journal.warn("done");
    EXPECT_EQ(journal.choices(), (std::vector<std::string>{"the mirrored map: level 2"}));
    EXPECT_EQ(journal.warnings(), (std::vector<std::string>{"the mirrored map: it is small", "done"}));
}

} // namespace
