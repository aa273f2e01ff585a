// SPDX-License-Identifier: GPL-3.0-or-later
#include <fstream>
#include <sstream>
#include <utility>

#include "tests/robustness/cases.h"

Scene::Scene(std::filesystem::path place)
    : directory(std::move(place)), options{{"ipdb", "model.pdb"}, {"iedm", "map.ccp4"}, {"nthread", "1"},
                                           {"dangle", "60"},      {"nsolutions", "1"},  {"odir", "out"}} {
    model = makeModel(map.centre() + Vec{1.3, -2.1, 0.7});
    map = simulate(map, model, map.largestVoxel());
    write("model.pdb", pdbText(model));
    write("map.ccp4", ccp4Bytes(map));
}

std::string Scene::read(const std::string& name) const {
    std::ifstream file(directory / name, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

void Scene::write(const std::string& name, const std::string& content) const {
    std::ofstream(directory / name, std::ios::binary) << content;
}
