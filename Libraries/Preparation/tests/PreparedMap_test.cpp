// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Preparation/FrameBack.h"
#include "Preparation/PreparedMap.h"
#include "Preparation/fastSize.h"
#include "Preparation/tests/mapsOfBlobs.h"

namespace {

const std::vector<Blob> particle = {{cVector3(20.0, 34.0, 31.0), 5.0, 1.0},
                                    {cVector3(44.0, 30.0, 36.0), 6.0, 0.8},
                                    {cVector3(33.0, 48.0, 25.0), 5.0, 0.9}};

DensityMap particleMap(const cVector3& origin = cVector3(0.0)) {
    std::vector<Blob> moved = particle;
    for (Blob& blob : moved) {
        blob.middle += origin;
    }
    return mapOfBlobs({36, 40, 32}, origin, cVector3(2.0), moved);
}

PreparedModel modelOf(double reach) {
    std::vector<ModelAtom> atoms(4);
    atoms[0].position = cVector3(reach, 0.0, 5.0);
    atoms[1].position = cVector3(-reach, 0.0, 5.0);
    atoms[2].position = cVector3(0.0, 0.5 * reach, 5.0);
    atoms[3].position = cVector3(0.0, -0.5 * reach, 5.0);
    return prepareModel(atoms);
}

ScanChoice choiceOf(double from, double to) {
    ScanChoice choice;
    choice.mapResolution = from;
    choice.resolution = to;
    choice.voxel = to / 4.0;
    choice.sigma = gaussianOf(to);
    choice.step = 20.0;
    return choice;
}

bool mentions(const std::vector<std::string>& remarks, const std::string& word) {
    for (const std::string& remark : remarks) {
        if (remark.find(word) != std::string::npos) {
            return true;
        }
    }
    return false;
}

} // namespace

TEST(PrepareMap, HoldsTheDensityAtItsPlace) {
    MapRequest request;
    request.field = MapField::Density;
    const cVector3 origin(-113.0, 57.5, 8.25);
    const PreparedMap prepared =
        prepareMap(particleMap(origin), modelOf(15.0), choiceOf(10.0, 10.0), request);
    // A value is that of the map at the node's place, up to a common factor.
    double product = 0.0, squares = 0.0;
    const auto expectedAt = [&](int i, int j, int k) {
        const cVector3 x = prepared.inMap - origin +
                           cVector3(i * prepared.grid.m_cellDim.x, j * prepared.grid.m_cellDim.y,
                                    k * prepared.grid.m_cellDim.z);
        return particle[0](x) + particle[1](x) + particle[2](x);
    };
    const auto forEachNode = [&](auto&& visit) {
        const auto n = static_cast<int>(prepared.grid.m_size[0]);
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < n; ++j) {
                for (int k = 0; k < n; ++k) {
                    visit(prepared.values[prepared.grid.indexToFlatIndex(i, j, k)], expectedAt(i, j, k));
                }
            }
        }
    };
    forEachNode([&](double value, double expected) {
        product += value * expected;
        squares += expected * expected;
    });
    const double factor = product / squares;
    forEachNode([&](double value, double expected) {
        if (expected > 0.15) {
            EXPECT_NEAR(value, factor * expected, 0.02 * factor);
        }
    });
}

TEST(PrepareMap, HasStandardDeviationOneInSinglePrecision) {
    const PreparedMap prepared = prepareMap(particleMap(), modelOf(15.0), choiceOf(6.0, 10.0), {});
    double sum = 0.0, squares = 0.0;
    for (const double value : prepared.values) {
        sum += value;
        squares += value * value;
        EXPECT_EQ(value, static_cast<double>(static_cast<float>(value)));
    }
    const auto count = static_cast<double>(prepared.values.size());
    EXPECT_NEAR(squares / count - sum * sum / count / count, 1.0, 1e-5);
}

TEST(PrepareMap, LaplacianHasMeanZero) {
    const PreparedMap prepared = prepareMap(particleMap(), modelOf(15.0), choiceOf(8.0, 12.0), {});
    double sum = 0.0;
    for (const double value : prepared.values) {
        sum += value;
    }
    EXPECT_LT(std::abs(sum) / static_cast<double>(prepared.values.size()), 0.02);
}

TEST(PrepareMap, LeavesRoomSoThatNoPoseWrapsAround) {
    for (const double reach : {8.0, 20.0, 60.0, 150.0}) {
        const ScanChoice choice = choiceOf(10.0, 12.0);
        const PreparedMap prepared = prepareMap(particleMap(), modelOf(reach), choice, {});
        const double period = prepared.grid.m_size[0] * prepared.grid.m_cellDim.x;
        // The nearest image of the content begins here, as seen from the middle; a pose reaches to there.
        const double image = period - prepared.contentRadius;
        EXPECT_GE(image, prepared.farthestCentre + reach);
        EXPECT_GE(prepared.farthestCentre, prepared.contentRadius);
        EXPECT_GE(prepared.farthestCentre + prepared.contentRadius, reach) << "a map of a part of the model";
        // The content keeps within the grid however it is turned.
        EXPECT_GE(period, 2.0 * prepared.contentRadius);
        EXPECT_EQ(fastSize(prepared.grid.m_size[0]), prepared.grid.m_size[0]);
    }
}

TEST(PrepareMap, ContentLiesInItsSphere) {
    const PreparedMap prepared = prepareMap(particleMap(), modelOf(15.0), choiceOf(10.0, 10.0), {});
    const auto n = static_cast<int>(prepared.grid.m_size[0]);
    const double cell = prepared.grid.m_cellDim.x;
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
            for (int k = 0; k < n; ++k) {
                const cVector3 x(i * cell, j * cell, k * cell);
                if ((x - prepared.middle()).norm() > prepared.contentRadius * std::sqrt(3.0)) {
                    EXPECT_EQ(prepared.values[prepared.grid.indexToFlatIndex(i, j, k)], 0.0);
                }
            }
        }
    }
}

TEST(PrepareMap, MovesWithTheOriginAndChangesNothingElse) {
    const PreparedMap here = prepareMap(particleMap(), modelOf(15.0), choiceOf(8.0, 10.0), {});
    DensityMap map = particleMap();
    map.origin = cVector3(-1234.5, 0.125, 77.0);
    const PreparedMap there = prepareMap(map, modelOf(15.0), choiceOf(8.0, 10.0), {});
    EXPECT_EQ(here.values, there.values);
    EXPECT_LT((there.inMap - here.inMap - map.origin).norm(), 1e-9);
}

TEST(PrepareMap, KeepsNothingOutsideTheMask) {
    const DensityMap map = particleMap();
    const DensityMap mask =
        mapOf(map.size, map.origin, map.voxel, [](const cVector3& x) { return x.x < 33.0 ? 1.0 : 0.0; });
    MapRequest request;
    request.mask = &mask;
    const PreparedMap whole = prepareMap(map, modelOf(15.0), choiceOf(8.0, 10.0), {});
    const PreparedMap masked = prepareMap(map, modelOf(15.0), choiceOf(8.0, 10.0), request);
    EXPECT_LT(masked.contentRadius, whole.contentRadius - 5.0);
    EXPECT_LT((masked.inMap + masked.middle()).x, (whole.inMap + whole.middle()).x - 4.0);
}

TEST(PrepareMap, RefusesAMaskOfAnotherFrame) {
    const DensityMap map = particleMap();
    for (int change = 0; change < 3; ++change) {
        DensityMap mask = map;
        if (change == 0) {
            mask.origin.y += 1.0;
        } else if (change == 1) {
            mask.voxel.z = 2.1;
        } else {
            mask.size = {36, 32, 40};
        }
        MapRequest request;
        request.mask = &mask;
        EXPECT_THROW(prepareMap(map, modelOf(15.0), choiceOf(8.0, 10.0), request), std::invalid_argument);
    }
}

TEST(PrepareMap, RefusesAMapWithoutContent) {
    DensityMap flat = particleMap();
    std::fill(flat.values.begin(), flat.values.end(), 0.5F);
    EXPECT_THROW(prepareMap(flat, modelOf(15.0), choiceOf(8.0, 10.0), {}), std::invalid_argument);
    MapRequest request;
    request.level = 3.0;
    try {
        prepareMap(particleMap(), modelOf(15.0), choiceOf(8.0, 10.0), request);
        FAIL() << "nothing lies above the level";
    } catch (const std::invalid_argument& error) {
        EXPECT_NE(std::string(error.what()).find("above the level 3"), std::string::npos) << error.what();
    }
}

std::string refusalOf(const DensityMap& map, const ScanChoice& choice, const MapRequest& request = {},
                      double modelReach = 15.0) {
    try {
        prepareMap(map, modelOf(modelReach), choice, request);
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
    return "";
}

/// The filter's sums of equal values differ in their last digits, which are no content.
TEST(PrepareMap, TellsWhyThereIsNoContent) {
    const cVector3 origin(0.0), voxel(3.0);
    const DensityMap flat = mapOf({20, 20, 20}, origin, voxel, [](const cVector3&) { return 5.3; });
    EXPECT_NE(refusalOf(flat, choiceOf(10.0, 10.0)).find("same density"), std::string::npos);

    DensityMap mask = particleMap();
    std::fill(mask.values.begin(), mask.values.end(), 0.0F);
    MapRequest request;
    request.mask = &mask;
    EXPECT_NE(refusalOf(particleMap(), choiceOf(8.0, 10.0), request).find("mask"), std::string::npos);

    const DensityMap inverted = mapOfBlobs({36, 40, 32}, origin, voxel, {{cVector3(50.0), 6.0, -1.0}});
    EXPECT_NE(refusalOf(inverted, choiceOf(8.0, 10.0)).find("stands out"), std::string::npos);
}

TEST(PrepareMap, RefusesGridsOfOneVoxelAndOfTooMany) {
    ScanChoice choice = choiceOf(8.0, 10.0);
    choice.voxel = 100.0;
    EXPECT_NE(refusalOf(particleMap(), choice).find("no larger than a voxel"), std::string::npos);
    for (const double reach : {4000.0, 1e6, 1e12, 1e300}) {
        EXPECT_NE(refusalOf(particleMap(), choiceOf(8.0, 10.0), {}, reach).find("--scan-resolution"),
                  std::string::npos)
            << reach;
    }
}

TEST(PrepareMap, TakesTheLevelThatIsGiven) {
    MapRequest request;
    request.level = 0.85;
    const PreparedMap prepared = prepareMap(particleMap(), modelOf(15.0), choiceOf(8.0, 10.0), request);
    EXPECT_EQ(prepared.level, 0.85);
    EXPECT_LT(prepared.contentRadius,
              prepareMap(particleMap(), modelOf(15.0), choiceOf(8.0, 10.0), {}).contentRadius);
}

TEST(PrepareMap, TellsAModelThatIsLargerThanTheMapAndContentAtItsFaces) {
    const DensityMap whole = particleMap();
    EXPECT_TRUE(prepareMap(whole, modelOf(15.0), choiceOf(8.0, 10.0), {}).remarks.empty());
    EXPECT_TRUE(mentions(prepareMap(whole, modelOf(90.0), choiceOf(8.0, 10.0), {}).remarks, "model reaches"));
    const DensityMap cut =
        mapOf({14, 40, 32}, cVector3(14.0, 0.0, 0.0), cVector3(2.0),
              [](const cVector3& x) { return particle[0](x) + particle[1](x) + particle[2](x); });
    EXPECT_TRUE(mentions(prepareMap(cut, modelOf(15.0), choiceOf(8.0, 10.0), {}).remarks, "faces"));
}

TEST(FrameBack, PutsTheModelWhereThePoseSays) {
    const cVector3 origin(100.0, -40.0, 12.5);
    const PreparedMap map = prepareMap(particleMap(origin), modelOf(15.0), choiceOf(8.0, 10.0), {});
    std::vector<ModelAtom> atoms(3);
    atoms[0].position = cVector3(1.0, 2.0, 3.0);
    atoms[1].position = cVector3(-4.0, 0.0, 9.0);
    atoms[2].position = cVector3(7.0, 7.0, -3.0);
    const PreparedModel model = prepareModel(atoms);
    const FrameBack back(map, model);
    const RigidMotion pose{cMatrix33::rotationXYZ(0.4, -1.1, 2.0), cVector3(3.0, -8.0, 30.0)};
    const RigidMotion user = back.toUser(pose);
    for (std::size_t a = 0; a < atoms.size(); ++a) {
        const cVector3 inGrid = pose(model.atoms[a].position + map.middle());
        EXPECT_LT((user(atoms[a].position) - (inGrid + map.inMap)).norm(), 1e-10);
    }
}

TEST(FastSize, IsTheNextProductOfSmallPrimes) {
    EXPECT_EQ(fastSize(0), 1u);
    EXPECT_EQ(fastSize(1), 1u);
    EXPECT_EQ(fastSize(11), 12u);
    EXPECT_EQ(fastSize(97), 98u);
    EXPECT_EQ(fastSize(121), 125u);
    EXPECT_EQ(fastSize(400), 400u);
}

TEST(PrepareMap, NearAPlaceKeepsWhatAModelThereReaches) {
    const PreparedModel model = modelOf(6.0);
    const ScanChoice choice = choiceOf(10.0, 10.0);
    MapRequest request;
    const cVector3 origin(-40.0, 12.0, 5.0);
    const DensityMap map = particleMap(origin);
    const PreparedMap whole = prepareMap(map, model, choice, request);
    request.near = Neighbourhood{particle[0].middle + origin, 2.0};
    const PreparedMap near = prepareMap(map, model, choice, request);
    EXPECT_LT(near.values.size(), whole.values.size());
    const double reach = 2.0 + model.reach + 3.0 * choice.sigma;
    const double half = std::sqrt(3.0) / 2.0 * choice.voxel;
    const cVector3 middle = near.middle() + near.inMap;
    EXPECT_LE((middle - request.near->middle).norm(), half + 1e-9);
    EXPECT_NEAR(near.farthestCentre, 2.0 + half, 1e-9);
    std::size_t filled = 0;
    for (unsigned int i = 0; i < near.grid.m_size[0]; ++i) {
        for (unsigned int j = 0; j < near.grid.m_size[1]; ++j) {
            for (unsigned int k = 0; k < near.grid.m_size[2]; ++k) {
                const cVector3 x =
                    near.inMap + cVector3(i * choice.voxel, j * choice.voxel, k * choice.voxel);
                const bool isReached = (x - request.near->middle).norm() <= reach;
                const double value = near.values[(i * near.grid.m_size[1] + j) * near.grid.m_size[2] + k];
                EXPECT_TRUE(isReached || value == 0.0);
                filled += value != 0.0 ? 1 : 0;
            }
        }
    }
    EXPECT_GT(filled, 100U);
}

TEST(PrepareMap, NearAPlaceWithoutContentIsRefused) {
    MapRequest request;
    request.near = Neighbourhood{cVector3(500.0), 2.0};
    EXPECT_THROW(prepareMap(particleMap(), modelOf(6.0), choiceOf(10.0, 10.0), request),
                 std::invalid_argument);
}

/// However far the place may be, there is nothing to search beyond the content.
TEST(PrepareMap, NearAWideNeighbourhoodIsTheWholeMap) {
    const PreparedModel model = modelOf(6.0);
    const ScanChoice choice = choiceOf(10.0, 10.0);
    MapRequest request;
    const PreparedMap whole = prepareMap(particleMap(), model, choice, request);
    request.near = Neighbourhood{whole.middle() + whole.inMap, 1e5};
    const PreparedMap near = prepareMap(particleMap(), model, choice, request);
    EXPECT_LE(near.grid.m_size[0], whole.grid.m_size[0] + 8);
    EXPECT_LE(near.farthestCentre, whole.farthestCentre + 3.0 * choice.voxel);
}
