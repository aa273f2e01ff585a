// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_PDBTEXT_H
#define SELVANE_FORMATS_PDBTEXT_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Formats/ModelText.h"

/// A PDB file as lines. What moves is the columns of coordinates and of anisotropic displacements; every
/// other byte of a line that stays is as it was, its end included.
class PdbText : public ModelText {
public:
    /// @throws InputError that names the line of an atom without a place
    PdbText(const std::string& path, std::string text, const std::optional<std::string>& model);

    ModelFormat format() const override { return ModelFormat::Pdb; }
    gemmi::Structure structure() const override;
    void keepOnly(const std::vector<bool>& kept) override;
    std::string moved(const RigidMotion& motion) const override;
    bool canRenameChains() const override;
    std::string assembled(const std::vector<ModelCopy>& copies) const override;

private:
    enum class Kind { Other, Atom, Anisotropy, Bonds, Ter, End };

    struct Line {
        std::size_t begin;
        std::size_t size; ///< with its end
        std::size_t number;
        Kind kind;
        std::size_t atom; ///< place of the atom that it is or belongs to
        bool kept = true;
    };

    struct Frame;

    std::vector<Line> splitLines() const;
    std::vector<Frame> divideIntoModels(std::vector<Line>& lines, std::vector<std::size_t>& frameOf) const;
    void takeModel(const std::vector<Line>& lines, const std::vector<std::size_t>& frameOf,
                   std::size_t frame);
    void noteAtom(Line& line);
    bool belongsToLastAtom(std::string_view anisotropy) const;
    void checkPlace(const Line& line) const;
    void keepBonds();
    void keepStatements();

    std::string_view textOf(const Line& line) const;
    std::string_view contentOf(const Line& line) const; ///< without its end
    std::string forParser() const;
    std::string movedAtom(std::string_view line, const RigidMotion& motion) const;
    /// Empty if the turned tensor needs more columns than there are.
    std::string turnedTensor(std::string_view line, const RigidMotion& motion) const;

    /// @param serial  the last serial number before the copy, and then its last one
    void writeCopy(std::string& out, const ModelCopy& copy, std::size_t& serial) const;
    std::string renamed(std::string line, const ModelCopy& copy, std::size_t serial) const;

    std::string m_path;
    std::string m_text;
    std::string m_modelName;
    std::string m_assemblies;         ///< the remarks that define them, for the parser alone
    std::vector<Line> m_lines;        ///< those that a motion leaves true, of the chosen model
    std::vector<std::size_t> m_atoms; ///< place of an atom to the index of its line
    bool m_hasTwoLetterChains = false;
};

#endif
