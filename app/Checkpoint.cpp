// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Checkpoint.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <system_error>
#include <type_traits>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "CrossCorrelation/ElectronDensity.h"
#include "IO/HiddenFile.h"
#include "Math/cGrid.h"
#include "app/ContentHash.h"
#include "app/interruption.h"

namespace checkpoint {

namespace {

constexpr char magic[8] = {'S', 'e', 'l', 'v', 'C', 'k', 'p', 't'};
constexpr std::uint32_t layoutVersion = 1;
constexpr std::string_view programVersion = SELVANE_VERSION;
constexpr mode_t newFileMode = 0666; // less the umask

const char* const startOver = "start from the beginning without --resume";

template <class Number>
void append(std::string& bytes, Number value) {
    static_assert(std::is_arithmetic_v<Number>);
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

void append(std::string& bytes, std::string_view text) {
    append(bytes, std::uint64_t{text.size()});
    bytes.append(text);
}

template <class Matrix>
void appendMatrix(std::string& bytes, const Matrix& matrix) {
    append(bytes, std::uint64_t{matrix.n_rows});
    append(bytes, std::uint64_t{matrix.n_cols});
    bytes.append(reinterpret_cast<const char*>(matrix.memptr()), matrix.n_elem * sizeof(double));
}

/// The numbers of a candidate, in the order of the file.
template <class Candidate, class Visitor>
void visitNumbers(Candidate& candidate, Visitor&& visit) {
    for (auto* value : {&candidate.m_rigidScore, &candidate.m_flexScore, &candidate.m_alpha,
                        &candidate.m_beta, &candidate.m_gamma, &candidate.m_dalpha, &candidate.m_dbeta,
                        &candidate.m_dgamma, &candidate.m_ddx, &candidate.m_ddy, &candidate.m_ddz}) {
        visit(*value);
    }
    for (auto* node : {&candidate.m_i, &candidate.m_j, &candidate.m_k}) {
        visit(*node);
    }
    visit(candidate.m_isSet);
}

void appendCandidate(std::string& bytes, const HexaustFlexibleFitConformation& candidate) {
    visitNumbers(candidate, [&](auto value) { append(bytes, value); });
    appendMatrix(bytes, candidate.m_eta);
    appendMatrix(bytes, candidate.m_gradient);
    appendMatrix(bytes, candidate.m_hessian);
}

/// Bytes are there but do not make sense.
struct Damage {};

std::uint64_t hashOf(std::string_view bytes) {
    ContentHash hash;
    hash.addText(bytes);
    return hash.value();
}

/// Takes values off a buffer that may hold anything.
class Reader {
public:
    explicit Reader(std::string_view bytes) : m_bytes(bytes) {}

    template <class Number>
    void take(Number& value) {
        static_assert(std::is_arithmetic_v<Number>);
        std::memcpy(&value, takeBytes(sizeof value).data(), sizeof value);
    }

    void take(bool& value) {
        unsigned char byte = 0;
        take(byte);
        value = byte != 0;
    }

    template <class Number>
    Number take() {
        Number value{};
        take(value);
        return value;
    }

    std::string_view takeText() { return takeBytes(take<std::uint64_t>()); }

    /// A matrix of the expected size.
    template <class Matrix>
    void takeMatrix(Matrix& matrix, std::uint64_t rows, std::uint64_t columns) {
        if (take<std::uint64_t>() != rows || take<std::uint64_t>() != columns) {
            throw Damage{};
        }
        const std::string_view values = takeBytes(rows * columns * sizeof(double));
        matrix.set_size(rows, columns);
        if (!values.empty()) {
            std::memcpy(matrix.memptr(), values.data(), values.size());
        }
    }

    std::string_view takeBytes(std::uint64_t size) {
        if (size > m_bytes.size()) {
            throw Damage{};
        }
        const std::string_view taken = m_bytes.substr(0, size);
        m_bytes.remove_prefix(size);
        return taken;
    }

    std::uint64_t left() const { return m_bytes.size(); }
    /// The number that is next, left in place.
    std::uint64_t peek() const { return Reader(*this).take<std::uint64_t>(); }

private:
    std::string_view m_bytes;
};

void requireEnd(const Reader& reader) {
    if (reader.left() != 0) {
        throw Damage{};
    }
}

HexaustFlexibleFitConformation takeCandidate(Reader& reader, const Shape& shape) {
    HexaustFlexibleFitConformation candidate;
    visitNumbers(candidate, [&](auto& value) { reader.take(value); });
    reader.takeMatrix(candidate.m_eta, shape.nModes, 1);
    // The plain scan leaves the derivatives for later.
    const std::uint64_t nDof = reader.peek() == 0 ? 0 : shape.nModes + 6;
    reader.takeMatrix(candidate.m_gradient, nDof, 1);
    reader.takeMatrix(candidate.m_hessian, nDof, nDof);
    candidate.m_grid = shape.grid;
    const int nodes[3] = {candidate.m_i, candidate.m_j, candidate.m_k};
    for (int axis = 0; axis < 3; ++axis) {
        if (nodes[axis] < 0 || static_cast<unsigned int>(nodes[axis]) >= shape.grid->m_size[axis]) {
            throw Damage{};
        }
    }
    if (!(candidate.m_rigidScore > ElectronDensity::EPSILON)) {
        throw Damage{};
    }
    return candidate;
}

Worker takeWorker(Reader reader, const Shape& shape) {
    Worker worker{reader.take<std::uint64_t>(), CandidateSet(shape.capacity)};
    const auto count = reader.take<std::uint64_t>();
    if (count > shape.capacity) {
        throw Damage{};
    }
    for (std::uint64_t i = 0; i < count; ++i) {
        // Best first, none equivalent: so each is added behind the others and none is ever dropped.
        const HexaustFlexibleFitConformation candidate = takeCandidate(reader, shape);
        if (i > 0 && !(worker.candidates.last() > candidate)) {
            throw Damage{};
        }
        worker.candidates.add(candidate);
    }
    requireEnd(reader);
    return worker;
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

/// The whole of a regular file.
std::string contentOf(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        throw Error(path + ": there is no checkpoint to resume from (" + std::strerror(errno) +
                    "). Give the --odir of the interrupted run, or " + startOver + ".");
    }
    std::ifstream file;
    if (S_ISREG(status.st_mode)) {
        file.open(path, std::ios::binary);
    }
    std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file.is_open() || file.bad()) {
        throw Error(path + ": the checkpoint cannot be read. Make it readable, or " + startOver + ".");
    }
    return bytes;
}

/// Takes the magic word and the version.
void checkVersion(Reader& reader, const std::string& path) {
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

Reader takeSection(Reader& reader) {
    const std::string_view content = reader.takeText();
    if (reader.take<std::uint64_t>() != hashOf(content)) {
        throw Damage{};
    }
    return Reader(content);
}

/// Throws an Error for the first thing in which the file belongs to another scan.
void checkIdentity(Reader reader, const std::string& path, const Identity& expected,
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
    requireEnd(reader);
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

std::string encode(unsigned long done, const CandidateSet& candidates) {
    std::string bytes;
    append(bytes, std::uint64_t{done});
    append(bytes, std::uint64_t{candidates.size()});
    const std::size_t begin = bytes.size();
    for (const HexaustFlexibleFitConformation& candidate : candidates) {
        appendCandidate(bytes, candidate);
        if (&candidate == &*candidates.begin()) { // all have one size
            bytes.reserve(begin + candidates.size() * (bytes.size() - begin));
        }
    }
    return bytes;
}

void write(const std::string& path, const Identity& identity, const std::vector<std::string>& parts) {
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
    if (!draft.renameTo(path)) {
        throwErrno(path);
    }
    interruption::setCheckpoint(path);
    syncDirectoryOf(path);
}

std::vector<Worker> read(const std::string& path, const Identity& identity, const Shape& shape,
                         const std::pair<std::string, std::string>& inputs) {
    const std::string bytes = contentOf(path);
    Reader reader(bytes);
    try {
        checkVersion(reader, path);
        checkIdentity(takeSection(reader), path, identity, inputs);
        std::vector<Worker> workers;
        for (std::size_t i = 0; i < shape.workers; ++i) {
            workers.push_back(takeWorker(takeSection(reader), shape));
        }
        requireEnd(reader);
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
