// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <gtest/gtest.h>

#include "CrossCorrelation/fccf.h"
#include "IO/cSequentialTimer.h"
#include "Math/pi.h"
#include "NMAEngine/NormalModeEngine.h"
#include "app/VantorHexaust.h"
#include "app/tests/testInputs.h"

namespace {

namespace fs = std::filesystem;

/// A run whose data can be looked at.
class OpenFit : public VantorHexaust {
public:
    using VantorHexaust::VantorHexaust;

    using Vantor::m_edm;
    using Vantor::m_edmValues;
    using Vantor::m_nma;
    using Vantor::m_structureGrid;
};

class RefineInputPDB : public testing::Test {
protected:
    RefineInputPDB() {
        std::string name = (fs::temp_directory_path() / "selvane_refine_XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary directory");
        }
        m_directory = name;
    }
    ~RefineInputPDB() override {
        std::error_code ignored;
        fs::remove_all(m_directory, ignored);
    }

    /// A map whose first voxel stands at `start`, and the model that it shows.
    void makeMap(const std::array<int, 3>& start, double scale = 1.0) {
        m_map.start = start;
        m_truth = makeModel(m_map.centre() + Vec{1.3, -2.1, 0.7});
        m_map = simulate(m_map, m_truth, m_map.largestVoxel());
        for (double& value : m_map.values) {
            value *= scale;
        }
        write("map.ccp4", ccp4Bytes(m_map));
    }

    /// The model that the refinement starts from.
    void startFrom(const std::vector<TestAtom>& atoms) {
        m_start = atoms;
        write("model.pdb", pdbText(atoms));
    }

    /// The truth turned by a few degrees about its middle and shifted.
    std::vector<TestAtom> displaced(const Vec& shift) const {
        return moved(m_truth, rotationXYZ(1.5 * pi / 180.0, -pi / 180.0, 2.0 * pi / 180.0), m_map.centre(),
                     shift);
    }

    /// Reads the input, sets the radius and refines; the report goes to m_report.
    void refine(const std::vector<std::string>& options = {}, bool withRadius = true) {
        std::vector<std::string> words = {"selvane",        "--ipdb", path("model.pdb"), "--iedm",
                                          path("map.ccp4"), "--odir", path("out")};
        words.insert(words.end(), options.begin(), options.end());
        std::vector<char*> pointers;
        for (std::string& word : words) {
            pointers.push_back(word.data());
        }
        cSequentialTimer timer;
        testing::internal::CaptureStdout();
        m_fit = std::make_unique<OpenFit>(static_cast<int>(words.size()), pointers.data(), 80);
        m_fit->loadEdm();
        m_fit->loadPdb();
        m_fit->buildHessian();
        m_fit->performNMA();
        if (withRadius) {
            m_fit->initThreadedRefineTopConformations();
        }
        m_fit->refineInputPDB(timer);
        m_report = testing::internal::GetCapturedStdout();
    }

    /// The positions of out/Refined-model.pdb.
    std::vector<Vec> refined() const {
        std::ifstream file(path("out/Refined-model.pdb"));
        std::vector<Vec> positions;
        for (std::string line; std::getline(file, line);) {
            positions.push_back({std::stod(line.substr(30, 8)), std::stod(line.substr(38, 8)),
                                 std::stod(line.substr(46, 8))});
        }
        EXPECT_EQ(positions.size(), m_truth.size());
        return positions;
    }

    /// What the refinement added to the coordinates, atom by atom.
    arma::Col<double> refinedMoves() const {
        const std::vector<Vec> positions = refined();
        arma::Col<double> moves(3 * positions.size());
        for (std::size_t a = 0; a < positions.size(); ++a) {
            for (std::size_t c = 0; c < 3; ++c) {
                moves(3 * a + c) = positions[a][c] - m_start[a].position[c];
            }
        }
        return moves;
    }

    /// The displacements by unit translations and unit infinitesimal rotations, a motion per column.
    arma::Mat<double> rigidMotions() const {
        arma::Mat<double> motions(3 * m_start.size(), 6, arma::fill::zeros);
        for (std::size_t a = 0; a < m_start.size(); ++a) {
            for (std::size_t axis = 0; axis < 3; ++axis) {
                Vec unit{};
                unit[axis] = 1.0;
                const Vec turned = cross(unit, m_start[a].position);
                motions(3 * a + axis, axis) = 1.0;
                for (std::size_t c = 0; c < 3; ++c) {
                    motions(3 * a + c, 3 + axis) = turned[c];
                }
            }
        }
        return motions;
    }

    double distanceFromTruth(const std::vector<Vec>& positions, const Vec& offset = {0, 0, 0}) const {
        std::vector<Vec> expected = positionsOf(m_truth);
        for (Vec& p : expected) {
            p = p + offset;
        }
        return rmsd(expected, positions);
    }

    std::string path(const std::string& name) const { return (m_directory / name).string(); }

    void write(const std::string& name, const std::string& content) const {
        std::ofstream(m_directory / name, std::ios::binary) << content;
    }

    fs::path m_directory;
    TestMap m_map;
    std::vector<TestAtom> m_truth;
    std::vector<TestAtom> m_start;
    std::unique_ptr<OpenFit> m_fit;
    std::string m_report;
};

/// The start words whose maps stand where the refinement takes them to stand.
constexpr std::array<int, 3> oneCellUp = {1, 1, 1};

/// In angstrom. The derivatives leave out how the weights of the density change, so that the last steps gain
/// less than the model promises: the radius collapses in sight of the maximum.
constexpr double inSight = 0.3;

TEST_F(RefineInputPDB, DisplacedModelIsWrittenBackToTheTruth) {
    makeMap(oneCellUp);
    startFrom(displaced({0.6, -0.5, 0.7}));
    ASSERT_GT(distanceFromTruth(positionsOf(m_start)), 1.0);
    refine();
    EXPECT_LT(distanceFromTruth(refined()), inSight);
}

TEST_F(RefineInputPDB, DisplacedModelNearsTheTruthWithModesToo) {
    makeMap(oneCellUp);
    startFrom(displaced({0.6, -0.5, 0.7}));
    refine({"--nmodes", "3"});
    EXPECT_LT(distanceFromTruth(refined()), inSight);
}

TEST_F(RefineInputPDB, AtomsMoveByTranslationInfinitesimalRotationAndModes) {
    makeMap(oneCellUp);
    startFrom(displaced({0.6, -0.5, 0.7}));
    refine({"--nmodes", "3"});
    const arma::Col<double> moves = refinedMoves();
    const arma::Mat<double> rigid = rigidMotions();
    const arma::Mat<double> all = arma::join_rows(rigid, m_fit->m_nma->m_modes);
    constexpr double printed = 0.001;
    EXPECT_LT(arma::abs(moves - all * arma::solve(all, moves)).max(), printed);
    EXPECT_GT(arma::abs(moves - rigid * arma::solve(rigid, moves)).max(), 3.0 * printed);
}

TEST_F(RefineInputPDB, ReportHasTheTwoTitlesInTheirOrder) {
    makeMap(oneCellUp);
    startFrom(m_truth);
    refine();
    const std::size_t optimizing = m_report.find(" Optimizing the input pdb ");
    const std::size_t saving = m_report.find(" Saving optimized solution ");
    EXPECT_NE(optimizing, std::string::npos);
    EXPECT_NE(saving, std::string::npos);
    EXPECT_LT(optimizing, saving);
}

TEST_F(RefineInputPDB, IntervalBelongsToTheOptimization) {
    makeMap(oneCellUp);
    startFrom(displaced({0.6, -0.5, 0.7}));
    refine();
    testing::internal::CaptureStdout();
    m_fit->info().printTimings();
    std::istringstream table(testing::internal::GetCapturedStdout());
    double optimizing = 0.0;
    double saving = -1.0;
    for (std::string line; std::getline(table, line);) {
        const std::size_t colon = line.find(" : ");
        if (line.find("Optimizing the input pdb") != std::string::npos) {
            optimizing = std::stod(line.substr(colon + 3));
        }
        if (line.find("Saving optimized solution") != std::string::npos) {
            saving = std::stod(line.substr(colon + 3));
        }
    }
    EXPECT_GT(optimizing, 0.0);
    EXPECT_EQ(saving, 0.0); // until the caller saves an interval
}

TEST_F(RefineInputPDB, GridIsTheMapsWithItsCornersAtTheCell) {
    // Seen to fail with the low corner of the map's grid, and with its high one.
    makeMap({-8, 4, 1});
    startFrom(m_truth);
    refine();
    const cGrid& map = m_fit->m_edm.m_grid;
    const cGrid& grid = *m_fit->m_structureGrid;
    EXPECT_EQ(grid.m_box, cBBox(map.m_cellDim, map.m_cellDim));
    EXPECT_EQ(grid.m_cellDim, map.m_cellDim);
    for (int axis = 0; axis < 3; ++axis) {
        EXPECT_EQ(grid.m_size[axis], map.m_size[axis]);
    }
}

// The map's own place plays no part.
TEST_F(RefineInputPDB, MapThatStartsAtTheOriginPullsTheModelOneCellUp) {
    makeMap({0, 0, 0});
    startFrom(displaced(m_map.voxel));
    refine();
    EXPECT_LT(distanceFromTruth(refined(), m_map.voxel), inSight);
}

TEST_F(RefineInputPDB, MapIsFilteredInPlace) {
    makeMap(oneCellUp);
    startFrom(m_truth);
    refine({"--filtersigma", "2"});
    std::vector<double> expected = m_fit->m_edm.getValue();
    fccf::filterValues(expected, 2.0);
    EXPECT_EQ(m_fit->m_edmValues, expected);
}

TEST_F(RefineInputPDB, MapOfSmallNumbersEndsTheSolveAfterOneShortStep) {
    makeMap(oneCellUp, 1e-4);
    startFrom(displaced({0.6, -0.5, 0.7}));
    refine();
    EXPECT_LT(rmsd(refined(), positionsOf(m_start)), 0.002);
}

TEST_F(RefineInputPDB, WithoutARadiusTheModelStays) {
    makeMap(oneCellUp);
    startFrom(displaced({0.6, -0.5, 0.7}));
    refine({}, false);
    EXPECT_EQ(refined(), positionsOf(m_start));
}

TEST_F(RefineInputPDB, FileIsNamedAfterTheLastPartOfThePathAndHoldsAtomLinesAlone) {
    makeMap(oneCellUp);
    startFrom(m_truth);
    refine();
    ASSERT_TRUE(fs::exists(path("out/Refined-model.pdb")));
    std::ifstream file(path("out/Refined-model.pdb"));
    for (std::string line; std::getline(file, line);) {
        EXPECT_EQ(line.substr(0, 6), "ATOM  ");
    }
}

TEST_F(RefineInputPDB, FileThatCannotBeWrittenIsTold) {
    makeMap(oneCellUp);
    startFrom(m_truth);
    fs::create_directories(path("out/Refined-model.pdb"));
    testing::internal::CaptureStderr();
    refine();
    EXPECT_NE(testing::internal::GetCapturedStderr().find("Refined-model.pdb"), std::string::npos);
    EXPECT_TRUE(m_fit->hasIncompleteFiles());
}

} // namespace
