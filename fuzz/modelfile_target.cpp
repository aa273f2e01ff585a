// SPDX-License-Identifier: GPL-3.0-or-later
// The reader and writer of whole models: PDB or mmCIF, plain or gzipped, by their content.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "Formats/AtomicModel.h"
#include "IO/openInput.h"
#include "fuzz/fuzzTarget.h"

namespace {

RigidMotion someMotion() {
    return {cMatrix33::rotationXYZ(0.3, -1.1, 2.0), cVector3(10.0, -20.0, 5.5)};
}

void checkSearchAtoms(const AtomicModel& model) {
    require(!model.searchAtoms().empty(), "a model has atoms to search with");
    require(model.searchAtoms().size() <= model.atomCount(), "no more atoms searched than there are");
    for (const ModelAtom& atom : model.searchAtoms()) {
        require(std::isfinite(atom.position.norm2()), "places are finite");
        require(atom.mass > 0.0, "masses are positive");
    }
}

/// What is written is read again with as many atoms. Only PDB has segments, by which residues and so their
/// alternate locations differ; a file of the same format tells all that the first one did.
void writeAndRead(const AtomicModel& model, const std::string& stem, ModelFormat format) {
    const std::string path = model.writeMoved(stem, someMotion(), format);
    const AtomicModel again = AtomicModel::read(path);
    require(again.atomCount() == model.atomCount(), "as many atoms come back");
    require(again.format() != model.format() || again.searchAtoms().size() == model.searchAtoms().size(),
            "as many are searched");
}

/// Names for the chains of a second copy: letters while there are enough, else longer than all of the first.
std::vector<std::string> otherNames(const std::vector<std::string>& chains) {
    std::size_t longest = 0;
    std::string letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    for (const std::string& name : chains) {
        longest = std::max(longest, name.size());
        letters.erase(std::remove(letters.begin(), letters.end(), name[0]), letters.end());
    }
    std::vector<std::string> names;
    for (const std::string& name : chains) {
        const std::size_t place = names.size();
        names.push_back(chains.size() <= letters.size() ? letters.substr(place, 1)
                                                        : std::string(longest + 1, 'x') + name);
    }
    return names;
}

void writeTwoAndRead(const AtomicModel& model, const std::string& stem, ModelFormat format) {
    const std::vector<std::string> chains = model.chains();
    const AtomicModel both = AtomicModel::read(
        model.writeAssembly(stem, {RigidMotion(), someMotion()}, {chains, otherNames(chains)}, format));
    require(both.atomCount() == 2 * model.atomCount(), "the atoms of both copies come back");
    require(both.chains().size() == 2 * chains.size(), "the chains of both copies come back");
}

void readChosen(const std::string& path, const ModelChoice& choice) {
    try {
        checkSearchAtoms(AtomicModel::read(path, choice));
    } catch (const InputError&) {
        // nothing of that name
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const ScratchDirectory scratch;
    const std::string path = scratch.write("input", data, size);
    try {
        const AtomicModel model = AtomicModel::read(path);
        checkSearchAtoms(model);
        writeAndRead(model, scratch.path("same"), model.format());
        const bool isPdb = model.format() == ModelFormat::Pdb;
        const ModelFormat other = isPdb ? ModelFormat::Cif : ModelFormat::Pdb;
        writeAndRead(model, scratch.path("other"), other);
        writeTwoAndRead(model, scratch.path("two"), model.format());
        writeTwoAndRead(model, scratch.path("two"), other);
    } catch (const InputError&) {
        return 0;
    }
    ModelChoice choice;
    choice.assembly = "1";
    readChosen(path, choice);
    choice = {};
    choice.selection = "A;polymer";
    choice.plddt = 50.0;
    readChosen(path, choice);
    choice = {};
    choice.model = "2";
    readChosen(path, choice);
    return 0;
}
