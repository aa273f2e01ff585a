// SPDX-License-Identifier: GPL-3.0-or-later
#include "Search/CandidateCodec.h"

#include <cstdint>

#include "CrossCorrelation/ElectronDensity.h"
#include "Math/cGrid.h"
#include "Search/ByteStream.h"

namespace checkpoint {

namespace {

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

HexaustFlexibleFitConformation takeCandidate(ByteReader& reader, const Shape& shape) {
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

Worker decode(std::string_view bytes, const Shape& shape) {
    ByteReader reader(bytes);
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
    reader.requireEnd();
    return worker;
}

std::string encodeAll(unsigned long done, const CandidateSet* sets, std::size_t count) {
    if (count == 1) {
        return encode(done, *sets);
    }
    std::string bytes;
    for (std::size_t n = 0; n < count; ++n) {
        append(bytes, std::string_view(encode(done, sets[n])));
    }
    return bytes;
}

std::vector<Worker> decodeAll(std::string_view bytes, const Shape& shape) {
    std::vector<Worker> sets;
    if (shape.setsPerWorker == 1) {
        sets.push_back(decode(bytes, shape));
        return sets;
    }
    ByteReader reader(bytes);
    for (std::size_t n = 0; n < shape.setsPerWorker; ++n) {
        sets.push_back(decode(reader.takeText(), shape));
        if (sets.back().done != sets.front().done) {
            throw Damage{};
        }
    }
    reader.requireEnd();
    return sets;
}

} // namespace checkpoint
