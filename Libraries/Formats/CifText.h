// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_CIFTEXT_H
#define SELVANE_FORMATS_CIFTEXT_H

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Formats/ModelText.h"

/// An mmCIF file as categories. What moves is the items of coordinates and of anisotropic displacements of
/// the first data block that has atoms.
class CifText : public ModelText {
public:
    /// @throws InputError with the parser's reason, or the row of an atom without a place
    CifText(const std::string& path, const std::string& text, const std::optional<std::string>& model);
    ~CifText() override;

    ModelFormat format() const override { return ModelFormat::Cif; }
    gemmi::Structure structure() const override;
    void keepOnly(const std::vector<bool>& kept) override;
    std::string moved(const RigidMotion& motion) const override;
    std::string assembled(const std::vector<ModelCopy>& copies) const override;

private:
    struct Content;

    void takeModel(const std::optional<std::string>& model);
    void checkPlaces() const;
    void removeUntrue();

    std::string m_path;
    std::unique_ptr<Content> m_content;
};

#endif
