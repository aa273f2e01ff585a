// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <cstdio>

#include <DensityReader/cDensityMapCCP4.h>
#include <PDB/loadFromPDB.h>
#include <Search/ExhaustiveSearch.h>

SearchModel readModel(const char* path) {
    SearchModel model;
    loadFromPDB(path, model.atoms, model.masses, model.blockIds);
    return model;
}

// consumer MAP MODEL TRUTH: fits the model into the map and tells how far from the truth it comes to stand.
int main(int, char** argv) {
    cDensityMapCCP4 map;
    map.load(argv[1]);
    const SearchModel model = readModel(argv[2]);
    FitSettings settings;
    settings.step = 16.0;
    settings.workers = 2;
    ExhaustiveSearch search({map.getValue(), map.m_grid}, model, settings);
    const std::vector<PoseRecord> poses = search.run();
    const PoseMove best = search.frame().place(poses.front());

    const SearchModel truth = readModel(argv[3]);
    double sum = 0.0;
    for (std::size_t a = 0; a < model.atoms.size(); ++a) {
        sum += (best(model.atoms[a].m_position, cVector3(0, 0, 0)) - truth.atoms[a].m_position).norm2();
    }
    const double rmsd = std::sqrt(sum / static_cast<double>(model.atoms.size()));
    std::printf("%zu poses, the best one %.2f A from the truth\n", poses.size(), rmsd);
    return rmsd < 2.0 ? 0 : 1;
}
