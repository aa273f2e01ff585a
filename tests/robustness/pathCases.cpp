// SPDX-License-Identifier: GPL-3.0-or-later
#include <stdexcept>

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/stat.h>

#include "tests/robustness/cases.h"

namespace fs = std::filesystem;

namespace {

/// Makes permissions count for the programs that this process starts, the superuser's too.
void obeyPermissions() {
    for (const int right : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH}) {
        // Refused to a plain user, who has none of them.
        prctl(PR_CAPBSET_DROP, static_cast<unsigned long>(right), 0, 0, 0);
    }
}

void makePipe(const fs::path& path) {
    if (mkfifo(path.c_str(), 0644) != 0) {
        throw std::runtime_error("no pipe could be made");
    }
}

std::function<void(Scene&)> take(const std::string& option, const std::string& path) {
    return [=](Scene& scene) { scene.options[option] = path; };
}

std::function<void(Scene&)> takeBoth(const std::string& model, const std::string& map) {
    return [=](Scene& scene) {
        scene.options["ipdb"] = model;
        scene.options["iedm"] = map;
    };
}

std::function<void(Scene&)> takePipe(const std::string& option) {
    return [=](Scene& scene) {
        makePipe(scene.directory / "pipe");
        scene.options[option] = "pipe";
    };
}

std::function<void(Scene&)> forbid(const std::string& file) {
    return [=](Scene& scene) {
        obeyPermissions();
        fs::permissions(scene.directory / file, fs::perms::none);
    };
}

std::function<void(Scene&)> takeOutput(const std::string& option, const std::string& input,
                                       const std::string& output) {
    return [=](Scene& scene) {
        scene.write(output, scene.read(input));
        scene.options[option] = output;
    };
}

} // namespace

std::vector<Case> pathCases() {
    const std::string noMap = "selvane: Error: could not open CCP4 density map file ";
    const std::string swapped = "The inputs look swapped: give the map to --iedm and the model to --ipdb.";
    const auto irregular = [&](const std::string& path) {
        return "selvane: " + path + ": not a regular file\n" + noMap + path;
    };
    return {
        {"no such map", take("iedm", "nowhere.ccp4"), End::Aborts, noMap + "nowhere.ccp4"},
        {"a directory as map", take("iedm", "."), End::Aborts, irregular(".")},
        {"a named pipe as map", takePipe("iedm"), End::Aborts, irregular("pipe")},
        {"a device without end as map", take("iedm", "/dev/zero"), End::Aborts, irregular("/dev/zero")},
        {"a map without permission to read", forbid("map.ccp4"), End::Aborts,
         "selvane: map.ccp4: Permission denied\n" + noMap + "map.ccp4"},
        {"an empty path of the map", take("iedm", ""), End::Aborts, noMap},
        {"a map that the run would overwrite", takeOutput("iedm", "map.ccp4", "out/edm.map"), End::Refused,
         "The run would overwrite its input 'out/edm.map'"},
        {"a map with an escape sequence in its name", take("iedm", "no\x1b[31mwhere"), End::Aborts,
         noMap + "no\\x1B[31mwhere"},
        {"no such model", take("ipdb", "nowhere.pdb"), End::Stops,
         "selvane: nowhere.pdb: No such file or directory"},
        {"a directory as model", take("ipdb", "."), End::Stops, "selvane: .: not a regular file"},
        {"a named pipe as model", takePipe("ipdb"), End::Stops, "selvane: pipe: not a regular file"},
        {"a device without end as model", take("ipdb", "/dev/zero"), End::Stops,
         "selvane: /dev/zero: not a regular file"},
        {"a model without permission to read", forbid("model.pdb"), End::Stops,
         "selvane: model.pdb: Permission denied"},
        {"an empty path of the model", take("ipdb", ""), End::Stops, "No such file or directory"},
        {"a model with an escape sequence in its name", take("ipdb", "no\x1b[31mwhere"), End::Stops,
         "selvane: no\\x1B[31mwhere: No such file or directory"},
        {"a map and a model in each other's place", takeBoth("map.ccp4", "model.pdb"), End::Stops,
         "model.pdb looks like a model and not like a map. " + swapped},
        {"the map in place of the model, too", takeBoth("map.ccp4", "map.ccp4"), End::Stops,
         "map.ccp4 looks like a CCP4 map and not like a model. Give a PDB model to --ipdb."},
        {"the model in place of the map, too", takeBoth("model.pdb", "model.pdb"), End::Stops,
         "model.pdb looks like a model and not like a map. Give a CCP4 map to --iedm."},
        {"a model that the run would overwrite", takeOutput("ipdb", "model.pdb", "out/original.pdb"),
         End::Refused, "The run would overwrite its input 'out/original.pdb'"},
    };
}

std::vector<Case> directoryCases() {
    const std::string noPlace = ": no file can be made there (";
    std::vector<Case> cases;
    for (const char* name : {"two words", "it's", "\"quoted\"", "a; touch b", "$(touch c)", "`touch d`",
                             "$HOME", "*", "-p", "tab\tand\nline"}) {
        cases.push_back({"a directory called " + std::string(name), take("odir", name), End::Fits, ""});
    }
    cases.push_back({"a directory with escape sequences in its name",
                     take("odir", "a\x1b[31mb\xC2\x9B"
                                  "31mc"),
                     End::Fits, ""});
    cases.push_back({"a file in place of the directory", take("odir", "model.pdb"), End::FitsUnwritten,
                     "model.pdb" + noPlace});
    cases.push_back({"a directory that cannot be made", take("odir", "/proc/nowhere/out"), End::FitsUnwritten,
                     "/proc/nowhere/out" + noPlace});
    cases.push_back({"a directory without permission to write",
                     [](Scene& scene) {
                         obeyPermissions();
                         fs::create_directory(scene.directory / "closed");
                         fs::permissions(scene.directory / "closed",
                                         fs::perms::owner_read | fs::perms::owner_exec);
                         scene.options["odir"] = "closed";
                     },
                     End::FitsUnwritten, "closed" + noPlace});
    for (const char* name : {"Rigid_solution.pdb", "Solution.pdb"}) {
        cases.push_back({"a directory in place of " + std::string(name),
                         [name](Scene& scene) {
                             fs::remove(scene.directory / "out" / name);
                             fs::create_directory(scene.directory / "out" / name);
                         },
                         End::FitsHalf,
                         std::string(name) + " could not be written and both are to be of one run"});
    }
    cases.push_back(
        {"a name of 5000 letters", take("odir", std::string(5000, 'x')), End::FitsUnwritten, noPlace});
    cases.push_back({"an empty name", take("odir", ""), End::Refused, "(--odir)"});
    return cases;
}
