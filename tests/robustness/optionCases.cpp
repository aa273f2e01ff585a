// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/robustness/cases.h"

namespace {

const std::string tooCoarseStep = "is too coarse for a model with a radius of gyration of ";

struct Ending {
    End end;
    std::string says;
};

/// A numeric option, and how a run ends on values that are numbers of its kind.
struct NumericOption {
    std::string name;
    Ending zero;
    Ending negative;
    std::string huge;
    Ending ofHuge;
};

Case with(const std::string& option, const std::string& value, const Ending& ending) {
    const std::string shown = value.empty() ? "empty" : value;
    return {"`--" + option + "` " + shown, [=](Scene& scene) { scene.options[option] = value; }, ending.end,
            ending.says};
}

std::vector<NumericOption> numericOptions() {
    const Ending fits{End::Fits, ""};
    const auto refused = [](const std::string& says) { return Ending{End::Refused, says}; };
    const Ending belowOne = refused("has to be 1 or more");
    const Ending notAbove = refused("The value has to be above 0");
    const Ending negative = refused("is negative: give a whole number without a sign");
    const Ending flat = refused("The width has to be above 0 and below about 73.9 Angstrom");
    const Ending tooCoarse{End::Fits, tooCoarseStep};
    const Ending noStep = refused("The step has to be above 0 degrees");
    return {
        {"nmodes", fits, negative, "4294967296", refused("No model has more than 2147483647 modes")},
        {"nthread", belowOne, negative, "99999999999999", {End::Stops, "selvane: 99999999999999 workers"}},
        {"cutoff", notAbove, notAbove, "1e300", fits},
        {"stiffness", notAbove, notAbove, "1e300", fits},
        {"maxrmsd", fits, fits, "1e300", refused("The square of the value has to be a finite number")},
        {"sigma", flat, flat, "1e300", flat},
        {"filtersigma",
         fits,
         fits,
         "1e300",
         {End::Fits, "map.ccp4: no voxel of any rotation scored above 0.0001"}},
        {"dangle", noStep, noStep, "1e300", tooCoarse},
        {"clusterThreshold", fits, fits, "1e300", fits},
        {"nsolutions", belowOne, belowOne, "99999999999", refused("Couldn't read argument value")},
        {"nclusters", belowOne, belowOne, "99999999999", refused("Couldn't read argument value")},
    };
}

} // namespace

std::vector<Case> optionCases() {
    std::vector<Case> cases;
    for (const NumericOption& option : numericOptions()) {
        cases.push_back(with(option.name, "0", option.zero));
        cases.push_back(with(option.name, "-1", option.negative));
        cases.push_back(with(option.name, option.huge, option.ofHuge));
        for (const char* value : {"nan", "inf", "-inf", "many", "7x", ""}) {
            cases.push_back(with(option.name, value, {End::Refused, "Argument: (--" + option.name + ")"}));
        }
    }
    const std::string tooMany = "The step gives more than 2147483645 rotations";
    cases.push_back(with("dangle", "1e-9", {End::Refused, tooMany}));
    cases.push_back(with("dangle", "1e9", {End::Fits, tooCoarseStep}));
    cases.push_back(with("nthread", "10000", {End::FitsIfAble, ""}));
    for (const char* option : {"nsolutions", "nclusters"}) {
        // Every voxel of every rotation is kept, so there may be few.
        Case all = with(option, "2147483647", {End::Fits, tooCoarseStep});
        all.what += " with `--dangle` 180";
        all.spoil = [option](Scene& scene) {
            scene.options[option] = "2147483647";
            scene.options["dangle"] = "180";
        };
        cases.push_back(all);
    }
    cases.push_back({"`--sigma` with an escape sequence",
                     [](Scene& scene) { scene.options["sigma"] = "\x1b[31m1"; }, End::Refused,
                     "from string '\\x1B[31m1'"});
    cases.push_back(with("maxrmsd", "1e100", {End::Fits, ""}));
    cases.push_back(
        with("maxrmsd", "1e153", {End::Stops, "model.pdb: --maxrmsd 1e+153 squared times the mass"}));
    cases.push_back(with("nmodes", "200", {End::Aborts, "use at most 112"}));
    cases.push_back(with("nmodes", "2147483647", {End::Aborts, "use at most 112"}));
    cases.push_back({"`--nmodes` 3 with `--stiffness` 1e-300",
                     [](Scene& scene) {
                         scene.options["nmodes"] = "3";
                         scene.options["stiffness"] = "1e-300";
                     },
                     End::Aborts, "model.pdb: its normal modes could not be computed"});
    cases.push_back({"`--nsolutions` 2 with `--nclusters` 1073741824",
                     [](Scene& scene) {
                         scene.options["nsolutions"] = "2";
                         scene.options["nclusters"] = "1073741824";
                     },
                     End::Refused, "nsolutions times nclusters is 2147483648"});
    return cases;
}
