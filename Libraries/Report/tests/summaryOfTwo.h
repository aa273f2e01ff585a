// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_REPORT_TESTS_SUMMARYOFTWO_H
#define SELVANE_REPORT_TESTS_SUMMARYOFTWO_H

#include "Assessment/FitSummary.h"

/// Two places, of which the second is equivalent to the first.
inline FitSummary summaryOfTwo() {
    FitSummary summary;
    summary.version = "1.2.3";
    summary.command = "selvane-fit a.mrc b.pdb";
    summary.map = {"a.mrc", "0123", {10, 11, 12}, cVector3(1.0, 1.5, 2.0), cVector3(-3.0, 0.1, 4.0), 0.02};
    summary.model = {"b \"quoted\".pdb", "4567", 120, 100, 21.5};
    summary.settings = {8.0, 10.0, 3.25, 18.0, 1839, "local", 2};
    AssessedPose pose;
    pose.motion = {cMatrix33(0.0, -1.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0), cVector3(0.1, 2.0 / 3.0, -7.0)};
    pose.scores = {0.83, 0.91, 3.5, 0.96, 0.0};
    pose.scanScore = 0.4;
    pose.hits = 7;
    pose.z = 12.5;
    pose.gap = 9.25;
    pose.confidence = Confidence::High;
    summary.assessment.poses = {pose, pose};
    summary.assessment.poses[1].amplitudes = {1.5, -0.25};
    summary.assessment.copies = {0, 1};
    summary.assessment.confidence = Confidence::High;
    summary.assessment.reason = "It stands out.";
    summary.warnings = {"first", "second"};
    summary.seconds = {{"reading", 0.5}, {"scan", 2.25}};
    summary.cpuSeconds = 4.5;
    summary.peakBytes = 123456789;
    return summary;
}

#endif
