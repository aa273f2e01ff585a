// SPDX-License-Identifier: GPL-3.0-or-later
#include "fit/OutputFolder.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "IO/HiddenFile.h"
#include "Search/CheckpointLock.h"

namespace {

namespace fs = std::filesystem;

constexpr std::array<const char*, 9> fixedNames = {
    "poses.csv",         "summary.json",       "assembly.pdb",        "assembly.cif",        "log.txt",
    "prepared/map.ccp4", "prepared/model.pdb", "prepared/frame.json", "prepared/command.txt"};

/// pose_01.pdb and the like: two digits or more.
bool isPoseName(const std::string& name) {
    const std::string start = "pose_";
    if (name.compare(0, start.size(), start) != 0) {
        return false;
    }
    const std::size_t end = name.find_first_not_of("0123456789", start.size());
    return end != std::string::npos && end >= start.size() + 2 &&
           (name.compare(end, std::string::npos, ".pdb") == 0 ||
            name.compare(end, std::string::npos, ".cif") == 0);
}

/// What --prepare-only leaves costs seconds and is no result, so that the run proper may follow in its
/// folder.
bool isPreparedOnly(const std::vector<std::string>& names) {
    const auto has = [&](const char* name) {
        return std::find(names.begin(), names.end(), name) != names.end();
    };
    return has("prepared/command.txt") && !has("poses.csv") &&
           std::none_of(names.begin(), names.end(), isPoseName);
}

void requireFree(const std::string& folder, const std::vector<std::string>& earlier) {
    if (!earlier.empty() && !isPreparedOnly(earlier)) {
        const std::string more =
            earlier.size() == 1 ? "" : " and " + std::to_string(earlier.size() - 1) + " more of its files";
        throw std::runtime_error(folder + ": the results of an earlier run are there (" + earlier.front() +
                                 more + "). Give another folder by --output, or --restart to replace them.");
    }
}

void requireNoInput(const std::string& folder, const std::vector<std::string>& earlier,
                    const std::vector<std::string>& inputs) {
    std::error_code ignored;
    for (const std::string& name : earlier) {
        for (const std::string& input : inputs) {
            if (fs::equivalent(fs::path(folder) / name, input, ignored)) {
                throw std::runtime_error(input + ": the run would replace this input by a result of the same "
                                                 "name. Give another folder by --output.");
            }
        }
    }
}

[[noreturn]] void refuse(const std::string& folder, const std::string& reason) {
    throw std::runtime_error(folder + ": no results can be written there (" + reason +
                             "). Give another folder by --output.");
}

} // namespace

std::vector<std::string> earlierResults(const std::string& folder) {
    std::vector<std::string> found;
    std::error_code ignored;
    for (const char* name : fixedNames) {
        if (fs::exists(fs::symlink_status(fs::path(folder) / name, ignored))) {
            found.emplace_back(name);
        }
    }
    std::vector<std::string> poses;
    for (fs::directory_iterator entry(folder, ignored), end; !ignored && entry != end;
         entry.increment(ignored)) {
        const std::string name = entry->path().filename().string();
        if (isPoseName(name)) {
            poses.push_back(name);
        }
    }
    std::sort(poses.begin(), poses.end());
    found.insert(found.end(), poses.begin(), poses.end());
    return found;
}

OutputFolder::OutputFolder(std::string path, bool restart, const std::vector<std::string>& inputs)
    : m_path(std::move(path)) {
    const std::vector<std::string> earlier = earlierResults(m_path);
    requireNoInput(m_path, earlier, inputs);
    if (!restart) {
        requireFree(m_path, earlier);
    }
    make(m_path);
    HiddenFile trial;
    constexpr mode_t ownerOnly = 0600;
    if (!trial.createIn(m_path + "/", ownerOnly)) {
        refuse(m_path, std::strerror(errno));
    }
    m_lock = std::make_unique<CheckpointLock>(of(".selvane-fit"));
    if (m_lock->isOfAnotherRun()) {
        throw std::runtime_error(m_path + ": another run is at work there. Wait for its end, or give another "
                                          "folder by --output.");
    }
}

OutputFolder::~OutputFolder() {
    m_lock.reset(); // a file of the folder
    std::error_code ignored;
    std::for_each(m_made.rbegin(), m_made.rend(),
                  [&](const std::string& folder) { fs::remove(folder, ignored); }); // only what is empty
}

/// Makes a folder and those above it.
void OutputFolder::make(const std::string& folder) {
    std::vector<std::string> missing;
    std::error_code ignored;
    for (fs::path each = folder; !each.empty() && !fs::exists(each, ignored); each = each.parent_path()) {
        missing.push_back(each.string());
    }
    std::error_code error;
    fs::create_directories(folder, error);
    if (!fs::is_directory(folder, ignored)) {
        refuse(folder, error ? error.message() : "it is no folder");
    }
    m_made.insert(m_made.end(), missing.rbegin(), missing.rend());
}

void OutputFolder::makePrepared() {
    make(of("prepared"));
}

void OutputFolder::removeEarlier(const std::set<std::string>& written) const {
    std::error_code ignored;
    for (const std::string& name : earlierResults(m_path)) {
        if (written.count(name) == 0) {
            fs::remove(of(name), ignored);
        }
    }
}
