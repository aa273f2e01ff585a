// SPDX-License-Identifier: GPL-3.0-or-later
#include "Search/CheckpointFile.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string_view>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "IO/HiddenFile.h"
#include "IO/openInput.h"
#include "IO/unfinishedFiles.h"
#include "Search/ByteStream.h"
#include "Search/ContentHash.h"

namespace checkpoint {

namespace {

constexpr char magic[8] = {'S', 'e', 'l', 'v', 'C', 'k', 'p', 't'};
constexpr std::uint32_t layoutVersion = 1;
constexpr std::string_view programVersion = SELVANE_VERSION;
constexpr mode_t newFileMode = 0666; // less the umask

const char* const startOver = "start from the beginning without --resume";

std::uint64_t hashOf(std::string_view bytes) {
    ContentHash hash;
    hash.addText(bytes);
    return hash.value();
}

std::string encodeIdentity(const Identity& identity) {
    std::string bytes;
    append(bytes, programVersion);
    for (const std::uint64_t hash : {identity.map, identity.model, identity.modes}) {
        append(bytes, hash);
    }
    append(bytes, std::uint64_t{identity.options.size()});
    for (const auto& [name, value] : identity.options) {
        append(bytes, std::string_view(name));
        append(bytes, std::string_view(value));
    }
    return bytes;
}

std::vector<char> contentOf(const std::string& path) {
    try {
        return readInput(path);
    } catch (const InputError& error) {
        if (error.isThere()) {
            throw Error(path + ": the checkpoint cannot be read. Make it readable, or " + startOver + ".");
        }
        throw Error(path + ": there is no checkpoint to resume from (" + error.reason() +
                    "). Give the --odir of the interrupted run, or " + startOver + ".");
    }
}

/// Takes the magic word and the version.
void checkVersion(ByteReader& reader, const std::string& path) {
    if (reader.takeBytes(sizeof magic) != std::string_view(magic, sizeof magic)) {
        throw Damage{};
    }
    const auto version = reader.take<std::uint32_t>();
    if (version != layoutVersion) {
        throw Error(path + ": the checkpoint is of version " + std::to_string(version) +
                    " and this program reads version " + std::to_string(layoutVersion) +
                    ". Resume with the program that wrote it, or " + startOver + ".");
    }
}

std::string_view takeSection(ByteReader& reader) {
    const std::string_view content = reader.takeText();
    if (reader.take<std::uint64_t>() != hashOf(content)) {
        throw Damage{};
    }
    return content;
}

/// Throws an Error for the first thing in which the file belongs to another scan.
void checkIdentity(ByteReader reader, const std::string& path, const Identity& expected,
                   const std::pair<std::string, std::string>& inputs) {
    const auto refuse = [&](const std::string& what, const std::string& remedy) {
        throw Error(path + ": the checkpoint belongs to " + what + ". " + remedy + ", or " + startOver + ".");
    };
    const std::string_view version = reader.takeText();
    if (version != programVersion) {
        refuse("version " + std::string(version) + " of this program, which is " +
                   std::string(programVersion),
               "Resume with the program that wrote it");
    }
    if (reader.take<std::uint64_t>() != expected.map) {
        refuse("a map of other contents than " + inputs.first, "Give the map of the interrupted run");
    }
    if (reader.take<std::uint64_t>() != expected.model) {
        refuse("a model of other contents than " + inputs.second, "Give the model of the interrupted run");
    }
    const auto modes = reader.take<std::uint64_t>();
    const auto count = reader.take<std::uint64_t>();
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::string name(reader.takeText());
        const std::string value(reader.takeText());
        if (i >= expected.options.size() || expected.options[i].first != name) {
            throw Damage{};
        }
        if (expected.options[i].second != value) {
            refuse("a run with " + name + " " + value + " and not " + expected.options[i].second,
                   "Give the options of the interrupted run");
        }
    }
    if (count != expected.options.size()) {
        throw Damage{};
    }
    if (modes != expected.modes) {
        refuse("other normal modes than this machine finds for " + inputs.second,
               "Resume where the run was interrupted");
    }
    reader.requireEnd();
}

[[noreturn]] void throwErrno(const std::string& path) {
    throw std::system_error(errno, std::generic_category(), path);
}

/// Length, content, hash.
std::string section(std::string_view content) {
    std::string bytes;
    bytes.reserve(content.size() + 2 * sizeof(std::uint64_t));
    append(bytes, content);
    append(bytes, hashOf(content));
    return bytes;
}

} // namespace

void write(const std::string& path, const Identity& identity, const std::vector<std::string>& parts,
           const std::function<void()>& placed) {
    std::string head(magic, sizeof magic);
    append(head, layoutVersion);
    head += section(encodeIdentity(identity));
    const std::string draftPath = path + ".new";
    // What a killed run has left there, or what somebody has put there: a pipe would not let itself be
    // opened, and a link leads to a file of others.
    unlink(draftPath.c_str());
    HiddenFile draft;
    bool isWritten = draft.create(draftPath, newFileMode) && draft.write(head);
    for (std::size_t i = 0; i < parts.size() && isWritten; ++i) {
        isWritten = draft.write(section(parts[i]));
    }
    if (!isWritten || !draft.finish()) {
        throwErrno(draftPath);
    }
    {
        // A signal in between would tell that there is no checkpoint.
        const unfinished::EndingHold hold;
        if (!draft.renameTo(path)) {
            throwErrno(path);
        }
        if (placed) {
            placed();
        }
    }
    syncDirectoryOf(path);
}

std::vector<Worker> read(const std::string& path, const Identity& identity, const Shape& shape,
                         const std::pair<std::string, std::string>& inputs) {
    const std::vector<char> bytes = contentOf(path);
    ByteReader reader(std::string_view(bytes.data(), bytes.size()));
    try {
        checkVersion(reader, path);
        checkIdentity(ByteReader(takeSection(reader)), path, identity, inputs);
        std::vector<Worker> workers;
        for (std::size_t i = 0; i < shape.workers; ++i) {
            for (Worker& worker : decodeAll(takeSection(reader), shape)) {
                workers.push_back(std::move(worker));
            }
        }
        reader.requireEnd();
        return workers;
    } catch (const Damage&) {
        throw Error(path + ": the checkpoint is damaged or cut short. Remove it and " + startOver + ".");
    }
}

bool exists(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0;
}

void require(const std::string& path) {
    if (!exists(path)) {
        contentOf(path);
    }
}

} // namespace checkpoint
