// SPDX-License-Identifier: GPL-3.0-or-later
#include "Formats/AtomicModel.h"

#include <stdexcept>

struct AtomicModel::Content {
    std::vector<ModelAtom> searchAtoms;
    std::vector<std::string> remarks;
};

AtomicModel::AtomicModel(std::unique_ptr<Content> content) : m_content(std::move(content)) {}
AtomicModel::AtomicModel(AtomicModel&&) noexcept = default;
AtomicModel& AtomicModel::operator=(AtomicModel&&) noexcept = default;
AtomicModel::~AtomicModel() = default;

AtomicModel AtomicModel::read(const std::string& path, const ModelChoice& /*choice*/) {
    throw std::logic_error(path);
}

const std::vector<ModelAtom>& AtomicModel::searchAtoms() const {
    return m_content->searchAtoms;
}

std::size_t AtomicModel::atomCount() const {
    return 0;
}

ModelFormat AtomicModel::format() const {
    return ModelFormat::Pdb;
}

const std::vector<std::string>& AtomicModel::remarks() const {
    return m_content->remarks;
}

std::string AtomicModel::writeMoved(const std::string& stem, const RigidMotion& /*motion*/,
                                    ModelFormat /*format*/) const {
    throw std::logic_error(stem);
}

bool AtomicModel::fitsPdb() const {
    return true;
}
