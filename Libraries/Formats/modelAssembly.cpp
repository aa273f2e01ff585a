// SPDX-License-Identifier: GPL-3.0-or-later
#include "Formats/modelAssembly.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <optional>
#include <stdexcept>
#include <utility>

#include "Formats/ModelText.h"
#include "Formats/pdbColumns.h"

#include <gemmi/assembly.hpp>
#include <gemmi/cifdoc.hpp>
#include <gemmi/mmcif.hpp>
#include <gemmi/modify.hpp>
#include <gemmi/select.hpp>

namespace cif = gemmi::cif;

namespace {

using Operators = std::vector<gemmi::Assembly::Operator>;

constexpr std::size_t mostOperators = 10000; // a helix or a capsid has some hundreds at most
constexpr std::size_t mostAtoms = 10000000;
constexpr std::size_t mostNamesTold = 10;

Operators readOperators(cif::Block& block) {
    std::vector<std::string> tags = gemmi::impl::transform_tags("matrix", "vector");
    tags.emplace_back("id");
    Operators operators;
    for (const auto row : block.find("_pdbx_struct_oper_list.", tags)) {
        operators.emplace_back();
        operators.back().name = row.str(12);
        operators.back().transform = gemmi::impl::get_transform_matrix(row);
    }
    return operators;
}

void addNamed(const Operators& known, const std::string& name, Operators& list) {
    const auto found = std::find_if(known.begin(), known.end(),
                                    [&](const gemmi::Assembly::Operator& op) { return op.name == name; });
    if (found != known.end() && list.size() <= mostOperators) {
        list.push_back(*found);
    }
}

/// One factor: names and ranges of numbers, "1,2,5-60".
Operators operatorsOf(const std::string& list, const Operators& known) {
    Operators operators;
    for (const std::string& part : gemmi::split_str(list, ',')) {
        const std::string name(pdb::trimmed(part));
        const std::size_t dash = name.find('-');
        const std::optional<int> first = pdb::integer(name.substr(0, dash));
        const std::optional<int> last =
            dash == std::string::npos ? std::nullopt : pdb::integer(name.substr(dash + 1));
        if (!first || !last) {
            addNamed(known, name, operators);
            continue;
        }
        const auto end = std::min<long>(*last, *first + static_cast<long>(mostOperators));
        for (long number = *first; number <= end; ++number) {
            addNamed(known, std::to_string(number), operators);
        }
    }
    return operators;
}

/// Those of a factor on the right act first.
Operators product(const Operators& left, const Operators& right) {
    Operators products;
    for (const gemmi::Assembly::Operator& second : left) {
        for (const gemmi::Assembly::Operator& first : right) {
            if (products.size() > mostOperators) {
                return products;
            }
            products.push_back(first);
            products.back().name = second.name + "x" + first.name;
            products.back().transform = second.transform.combine(first.transform);
        }
    }
    return products;
}

Operators operatorsOfExpression(const std::string& expression, const Operators& known) {
    if (expression.find('(') == std::string::npos) {
        return operatorsOf(expression, known);
    }
    std::optional<Operators> result;
    for (std::size_t open = expression.find('('); open != std::string::npos;) {
        const std::size_t close = std::min(expression.find(')', open), expression.size());
        const Operators factor = operatorsOf(expression.substr(open + 1, close - open - 1), known);
        result = result ? product(*result, factor) : factor;
        open = expression.find('(', close);
    }
    return *result;
}

/// One generator per operator, with all that it acts on, so that a copy of a chain stays together and the
/// first copies of all chains come first.
std::vector<gemmi::Assembly::Gen> byOperator(const gemmi::Assembly& assembly) {
    std::vector<gemmi::Assembly::Gen> generators;
    std::map<std::string, std::size_t> places;
    for (const gemmi::Assembly::Gen& generator : assembly.generators) {
        for (const gemmi::Assembly::Operator& op : generator.operators) {
            const auto [found, isNew] = places.emplace(op.name, generators.size());
            if (isNew) {
                generators.emplace_back();
                generators.back().operators.push_back(op);
            }
            gemmi::Assembly::Gen& own = generators[found->second];
            own.chains.insert(own.chains.end(), generator.chains.begin(), generator.chains.end());
            own.subchains.insert(own.subchains.end(), generator.subchains.begin(), generator.subchains.end());
        }
    }
    return generators;
}

using ChainNames = std::map<std::string, std::string>; // from the model's to a copy's

/// Names a copy's parts of statements; none if a chain is not in the copy.
bool rename(gemmi::AtomAddress& address, const ChainNames& names) {
    const auto found = names.find(address.chain_name);
    if (found == names.end()) {
        return false;
    }
    address.chain_name = found->second;
    return true;
}

void copyStatements(gemmi::Structure& structure, const std::vector<ChainNames>& copies) {
    const auto connections = std::move(structure.connections);
    const auto helices = std::move(structure.helices);
    structure.connections.clear();
    structure.helices.clear();
    structure.sheets.clear(); // whose names would have to change, too; viewers find them again
    for (const ChainNames& names : copies) {
        for (gemmi::Connection connection : connections) {
            if (connection.asu != gemmi::Asu::Different && rename(connection.partner1, names) &&
                rename(connection.partner2, names)) {
                connection.name += copies.size() > 1 ? "." + std::to_string(&names - copies.data() + 1) : "";
                structure.connections.push_back(std::move(connection));
            }
        }
        for (gemmi::Helix helix : helices) {
            if (rename(helix.start, names) && rename(helix.end, names)) {
                structure.helices.push_back(std::move(helix));
            }
        }
    }
}

void copySubchains(gemmi::Structure& structure, const std::vector<std::string>& pairs) {
    std::multimap<std::string, std::string> copies;
    for (std::size_t i = 0; i + 1 < pairs.size(); i += 2) {
        copies.emplace(pairs[i], pairs[i + 1]);
    }
    for (gemmi::Entity& entity : structure.entities) {
        std::vector<std::string> subchains;
        for (const std::string& subchain : entity.subchains) {
            const auto [begin, end] = copies.equal_range(subchain);
            for (auto copy = begin; copy != end; ++copy) {
                subchains.push_back(copy->second);
            }
        }
        entity.subchains = std::move(subchains);
    }
}

std::string namesOf(const std::vector<gemmi::Assembly>& assemblies) {
    std::string names;
    for (std::size_t i = 0; i < std::min(assemblies.size(), mostNamesTold); ++i) {
        names += (i == 0 ? "" : ", ") + assemblies[i].name;
    }
    return names + (assemblies.size() > mostNamesTold ? ", ..." : "");
}

const gemmi::Assembly& find(const gemmi::Structure& structure, const std::string& name) {
    for (const gemmi::Assembly& assembly : structure.assemblies) {
        if (assembly.name == name) {
            return assembly;
        }
    }
    throw std::invalid_argument(structure.assemblies.empty() ? "defines no assemblies; leave the assembly out"
                                                             : "has no assembly " + name + "; it has " +
                                                                   namesOf(structure.assemblies));
}

void checkSize(const gemmi::Assembly& assembly, std::size_t atoms) {
    std::size_t operators = 0;
    for (const gemmi::Assembly::Gen& generator : assembly.generators) {
        operators += generator.operators.size();
    }
    if (operators == 0) {
        throw std::invalid_argument("assembly " + assembly.name + " has no operators that are defined");
    }
    if (operators > mostOperators || operators * atoms > mostAtoms) {
        throw std::invalid_argument("assembly " + assembly.name + " has " + std::to_string(operators) +
                                    " operators on a model of " + std::to_string(atoms) +
                                    " atoms, more than can be handled; select a part of the model");
    }
}

void checkPlaces(const gemmi::Model& model) {
    for (const auto cra : const_cast<gemmi::Model&>(model).all()) {
        for (int axis = 0; axis < 3; ++axis) {
            if (!(std::abs(cra.atom->pos.at(axis)) <= farthestCoordinate)) {
                throw std::invalid_argument("an operator of the assembly is no motion");
            }
        }
    }
}

} // namespace

std::vector<gemmi::Assembly> readAssemblies(cif::Block& block) {
    const Operators known = readOperators(block);
    std::vector<gemmi::Assembly> assemblies;
    for (const auto row :
         block.find("_pdbx_struct_assembly_gen.", {"assembly_id", "oper_expression", "asym_id_list"})) {
        gemmi::Assembly& assembly = gemmi::impl::find_or_add(assemblies, row.str(0));
        assembly.generators.emplace_back();
        gemmi::Assembly::Gen& generator = assembly.generators.back();
        for (const std::string& chain : gemmi::split_str(row.str(2), ',')) {
            generator.subchains.emplace_back(pdb::trimmed(chain));
        }
        generator.operators = operatorsOfExpression(row.str(1), known);
    }
    return assemblies;
}

void makeAssembly(gemmi::Structure& structure, const std::string& name) {
    gemmi::Assembly assembly = find(structure, name);
    checkSize(assembly, gemmi::count_atom_sites(structure.models.front()));
    assembly.generators = byOperator(assembly);
    gemmi::impl::AssemblyMapping mapping;
    try {
        structure.models.front() = gemmi::make_assembly(
            assembly, structure.models.front(), gemmi::HowToNameCopiedChain::Short, nullptr, &mapping);
    } catch (const std::runtime_error& error) {
        throw std::invalid_argument("assembly " + name + ": " + error.what());
    }
    if (structure.models.front().chains.empty()) {
        throw std::invalid_argument("assembly " + name + " has no atoms of the model");
    }
    checkPlaces(structure.models.front());
    copyStatements(structure, mapping.chain_maps);
    copySubchains(structure, mapping.sub);
    structure.assemblies.clear();
    gemmi::assign_serial_numbers(structure.models.front());
}
