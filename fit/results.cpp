// SPDX-License-Identifier: GPL-3.0-or-later
#include "fit/results.h"

#include <algorithm>
#include <iomanip>
#include <sstream>

#include "IO/printable.h"
#include "IO/shellQuote.h"

namespace {

template <class Value>
void writeOption(std::ostream& out, const std::string& name, const Value& value) {
    out << "  " << name << ": " << value << "\n";
}

std::string orChosen(const std::optional<double>& value) {
    std::ostringstream text;
    if (value) {
        text << *value;
    }
    return value ? text.str() : "chosen";
}

std::string nearText(const std::optional<NearOption>& near) {
    if (!near) {
        return "everywhere";
    }
    std::ostringstream text;
    text << near->degrees << " degrees";
    if (near->distance) {
        text << ", " << *near->distance << " A";
    }
    return text.str();
}

std::string orNone(const std::string& text) {
    return text.empty() ? "none" : printable(text);
}

void writeSettings(std::ostream& out, const FitOptions& options) {
    out << "settings\n";
    writeOption(out, "map", printable(options.map));
    writeOption(out, "model", printable(options.model));
    writeOption(out, "resolution", options.resolution);
    writeOption(out, "select",
                options.choice.selection.empty() ? "all" : printable(options.choice.selection));
    writeOption(out, "model of the file", printable(options.choice.model.value_or("the first")));
    writeOption(out, "assembly", orNone(options.choice.assembly));
    writeOption(out, "plddt", options.choice.plddt ? orChosen(options.choice.plddt) : "off");
    writeOption(out, "level", orChosen(options.level));
    writeOption(out, "mask", orNone(options.mask));
    writeOption(out, "score", nameOf(options.score));
    writeOption(out, "near", nearText(options.near));
    writeOption(out, "step", orChosen(options.step));
    writeOption(out, "scan resolution", orChosen(options.scanResolution));
    writeOption(out, "copies", options.copies == 0 ? "as many as there are" : std::to_string(options.copies));
    writeOption(out, "hand", options.bothHands ? "both" : "given");
    writeOption(out, "poses", options.poses);
    writeOption(out, "threads", options.threads);
}

void writeList(std::ostream& out, const std::string& title, const std::vector<std::string>& lines) {
    out << title << (lines.empty() ? ": none\n" : "\n");
    for (const std::string& line : lines) {
        out << "  " << printable(line) << "\n";
    }
}

} // namespace

std::string poseName(std::size_t rank, std::size_t count) {
    constexpr std::size_t leastWidth = 2;
    const std::string number = std::to_string(rank);
    const std::size_t width = std::max(leastWidth, std::to_string(count).size());
    return "pose_" + std::string(width - std::min(width, number.size()), '0') + number;
}

std::string logText(const FitOptions& options, const Journal& journal, const std::string& verdict) {
    std::ostringstream log;
    log << "selvane-fit " << SELVANE_VERSION << "\ncommand\n ";
    for (const std::string& word : options.command) {
        log << ' ' << printable(shellQuote(word));
    }
    log << "\n";
    writeSettings(log, options);
    writeList(log, "choices", journal.choices());
    writeList(log, "warnings", journal.warnings());
    log << "seconds\n" << std::fixed << std::setprecision(2);
    for (const auto& [stage, seconds] : journal.seconds()) {
        writeOption(log, stage, seconds);
    }
    if (!verdict.empty()) {
        log << "verdict\n  " << printable(verdict) << "\n";
    }
    return log.str();
}
