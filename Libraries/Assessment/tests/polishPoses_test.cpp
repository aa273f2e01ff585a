// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Assessment/polishPoses.h"
#include "Assessment/poseOverlap.h"
#include "Assessment/tests/polishScene.h"
#include "Preparation/tests/mapsOfBlobs.h"

namespace {

using namespace polishScene;

constexpr double home = 0.01; // angstrom

/// Counts what it is told; ends the work after so many tasks.
class Witness : public SearchObserver {
public:
    void stageBegins(const std::string&, std::size_t total) override { totals.push_back(total); }
    void progress(std::size_t) override { ++tasks; }
    bool isCancelled() override { return tasks >= endAfter; }

    std::vector<std::size_t> totals;
    std::size_t tasks = 0;
    std::size_t endAfter = 1000;
};

PolishLevel coarseLevel() {
    return {sceneAt10().coarse, sceneAt10().beads, 15.0};
}

PolishLevel fineLevel() {
    return {sceneAt10().fine, sceneAt10().all, 10.0};
}

std::vector<RigidMotion> startsNearHome(std::size_t count) {
    std::mt19937 random(1);
    std::vector<RigidMotion> starts;
    for (std::size_t n = 0; n < count; ++n) {
        starts.push_back(offBy(sceneAt10().all.middle, 4.0, 15.0, random));
    }
    return starts;
}

/// Everywhere and turned at random.
std::vector<RigidMotion> strayStarts(std::size_t count) {
    std::mt19937 random(12);
    std::uniform_real_distribution<double> shift(5.0, 25.0), degrees(40.0, 180.0);
    std::vector<RigidMotion> starts;
    for (std::size_t n = 0; n < count; ++n) {
        const double far = shift(random), turned = degrees(random);
        starts.push_back(offBy(sceneAt10().all.middle, far, turned, random));
    }
    return starts;
}

std::vector<PolishedPlace> polish(const std::vector<RigidMotion>& starts, const PolishRequest& request = {}) {
    Witness witness;
    return polishPoses(starts, coarseLevel(), fineLevel(), request, witness);
}

bool areSame(const PolishedPlace& a, const PolishedPlace& b) {
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) {
            if (a.motion.rotation(r, c) != b.motion.rotation(r, c)) {
                return false;
            }
        }
    }
    return a.motion.translation == b.motion.translation && a.value == b.value && a.gain == b.gain &&
           a.hits == b.hits && a.start == b.start && a.end == b.end;
}

} // namespace

TEST(PolishPoses, CountsTheStartsThatArrive) {
    const std::vector<PolishedPlace> places = polish(startsNearHome(9));
    ASSERT_EQ(places.size(), 1U);
    EXPECT_EQ(places[0].hits, 9U);
    EXPECT_EQ(places[0].start, 0U);
    EXPECT_EQ(places[0].end, PolishEnd::Converged);
    EXPECT_LT(rmsd(sceneAt10().all, places[0].motion, RigidMotion()), home);
}

TEST(PolishPoses, PutsTheRightPlaceBeforeTheStrayOnes) {
    std::vector<RigidMotion> starts = strayStarts(30);
    for (const RigidMotion& start : startsNearHome(3)) {
        starts.push_back(start);
    }
    const std::vector<PolishedPlace> places = polish(starts);
    ASSERT_GT(places.size(), 3U);
    EXPECT_LT(rmsd(sceneAt10().all, places[0].motion, RigidMotion()), home);
    EXPECT_GE(places[0].hits, 3U);
    std::size_t hits = 0;
    for (std::size_t n = 0; n < places.size(); ++n) {
        hits += places[n].hits;
        EXPECT_LT(places[n].start, starts.size());
        if (n > 0) {
            EXPECT_LE(places[n].value, places[n - 1].value);
            EXPECT_GT(rmsd(sceneAt10().all, places[n].motion, places[n - 1].motion), 0.5);
        }
    }
    EXPECT_EQ(hits, starts.size());
}

TEST(PolishPoses, AddsUpTheHitsOfPlacesThatMeetOnTheFineLevel) {
    const cVector3 left(8.0, 12.0, 12.0), right(16.0, 12.0, 12.0);
    const auto fieldOfBlobs = [](const std::vector<Blob>& blobs) {
        return SplineField(mapOfBlobs({25, 25, 25}, cVector3(0.0), cVector3(1.0), blobs));
    };
    const SplineField two = fieldOfBlobs({{left, 2.0, 1.0}, {right, 2.0, 1.1}});
    const SplineField one = fieldOfBlobs({{(left + right) / 2.0, 4.0, 1.0}});
    ModelAtom atom;
    atom.mass = 12.0;
    const PolishModel model = atomsOf({atom});
    std::vector<RigidMotion> starts;
    for (const double off : {0.5, -0.6, 0.7}) {
        starts.push_back(RigidMotion::shift(left + cVector3(off)));
    }
    starts.push_back(RigidMotion::shift(right + cVector3(0.4)));
    starts.push_back(RigidMotion::shift(right - cVector3(0.8)));
    Witness witness;
    const std::vector<PolishedPlace> places =
        polishPoses(starts, {two, model, 6.0}, {one, model, 6.0}, {}, witness);
    EXPECT_EQ(witness.totals, (std::vector<std::size_t>{5, 2}));
    ASSERT_EQ(places.size(), 1U);
    EXPECT_EQ(places[0].hits, 5U);
    EXPECT_EQ(places[0].start, 0U);
    EXPECT_LT((places[0].motion.translation - (left + right) / 2.0).norm(), home);
}

TEST(PolishPoses, KeepsTheBestPlacesOnly) {
    PolishRequest request;
    request.keep = 4;
    const std::vector<PolishedPlace> all = polish(strayStarts(30));
    const std::vector<PolishedPlace> few = polish(strayStarts(30), request);
    ASSERT_GT(all.size(), 6U);
    EXPECT_LE(few.size(), 4U);
    EXPECT_GE(few.size(), 1U);
}

TEST(PolishPoses, GivesTheSameBytesForAnyNumberOfThreads) {
    const std::vector<RigidMotion> starts = strayStarts(25);
    const std::vector<PolishedPlace> expected = polish(starts);
    for (const std::size_t threads : {2U, 5U, 40U}) {
        PolishRequest request;
        request.threads = threads;
        const std::vector<PolishedPlace> places = polish(starts, request);
        ASSERT_EQ(places.size(), expected.size());
        for (std::size_t n = 0; n < places.size(); ++n) {
            EXPECT_TRUE(areSame(places[n], expected[n])) << n;
        }
    }
}

TEST(PolishPoses, TellsWhatItGainedOverTheStart) {
    const std::vector<RigidMotion> starts = startsNearHome(1);
    const std::vector<PolishedPlace> places = polish(starts);
    ASSERT_EQ(places.size(), 1U);
    const PolishModel& model = sceneAt10().all;
    const double before =
        poseOverlap(sceneAt10().fine, model, {starts[0].rotation, starts[0](model.middle)}).value;
    EXPECT_EQ(places[0].gain, places[0].value - before);
    EXPECT_GT(places[0].gain, 0.0);
}

TEST(PolishPoses, TellsItsObserverOfEveryTask) {
    Witness witness;
    PolishRequest request;
    request.threads = 3;
    const std::vector<PolishedPlace> places =
        polishPoses(startsNearHome(9), coarseLevel(), fineLevel(), request, witness);
    EXPECT_EQ(witness.totals, (std::vector<std::size_t>{9, 1}));
    EXPECT_EQ(witness.tasks, 10U);
}

TEST(PolishPoses, EndsWhenItIsCancelled) {
    for (const std::size_t threads : {1U, 3U}) {
        Witness witness;
        witness.endAfter = 2;
        PolishRequest request;
        request.threads = threads;
        EXPECT_THROW(polishPoses(startsNearHome(20), coarseLevel(), fineLevel(), request, witness),
                     SearchCancelled);
        EXPECT_LT(witness.tasks, 2U + 3U);
    }
}

TEST(PolishPoses, HasNoPlaceWithoutAStart) {
    EXPECT_TRUE(polish({}).empty());
}

TEST(PolishPoses, KeepsAStartOutsideTheMapWhereItIs) {
    const std::vector<RigidMotion> starts = {RigidMotion::shift(cVector3(0.0, 900.0, 0.0))};
    const std::vector<PolishedPlace> places = polish(starts);
    ASSERT_EQ(places.size(), 1U);
    EXPECT_EQ(places[0].end, PolishEnd::OutOfMap);
    EXPECT_EQ(places[0].gain, 0.0);
}
