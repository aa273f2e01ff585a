// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SEARCH_SCANMETHOD_H
#define SELVANE_SEARCH_SCANMETHOD_H

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "Search/ScanWorker.h"
#include "Search/SearchScene.h"

class ElectronDensity;
struct FitSettings;

/// How a search scores a rotation, and what its workers share for it. Made once; after it nothing asks which
/// one it is.
class ScanMethod {
public:
    /// @param scene  its views must stay; the method keeps the struct itself
    explicit ScanMethod(SearchScene scene) : m_scene(std::move(scene)) {}
    virtual ~ScanMethod() = default;
    ScanMethod(const ScanMethod&) = delete;
    ScanMethod& operator=(const ScanMethod&) = delete;

    /// The plain method, or that of multistep.
    static std::unique_ptr<ScanMethod> choose(SearchScene scene, bool multistep);

    /// The one that the settings ask for. Needs FitSettings::check().
    static std::unique_ptr<ScanMethod> choose(SearchScene scene, const FitSettings& settings);

    /// Bytes of what so many workers hold, what they share included, beyond the scene and their sets.
    /// @param kept       candidates of a worker's set, at most
    /// @param rotations  of the scan
    virtual double bytesNeeded(std::size_t workers, double kept, double rotations) const = 0;

    /// Sets that a worker offers to, one for each score that a translation has.
    virtual std::size_t setsPerWorker() const { return 1; }

    /// Models that are held at once.
    virtual std::size_t modelCount(std::size_t workers) const = 0;

    /// Makes a worker. On the main thread: transforms are planned.
    /// @param buffer  the worker's own padded map, filled by fillBuffer(); must not move. Only where
    /// usesBuffer().
    virtual std::unique_ptr<ScanWorker> makeWorker(std::vector<double>& buffer) = 0;

    /// Whether a worker rotates the map into a padded buffer of its own.
    virtual bool usesBuffer() const = 0;
    void fillBuffer(std::vector<double>& buffer) const;

    /// Gives a worker the model to correlate with, on any thread.
    /// @return the density of the model where it stands, for the first worker that asks; null for the others
    virtual std::shared_ptr<const ElectronDensity> makePattern(ScanWorker& worker) = 0;

    /// Takes leave of the workers: they go with their memory, and what the poses will need of them stays.
    virtual void releaseWorkers(std::vector<std::unique_ptr<ScanWorker>>& workers) { workers.clear(); }

    /// The poses that the merge has left, which are all that is ever completed.
    virtual void keepFor(const std::vector<HexaustFlexibleFitConformation>& /*poses*/) {}

    /// Gives a pose the gradient and the Hessian of its score, where the scan left them for later. Poses may
    /// be completed on several threads.
    virtual void complete(HexaustFlexibleFitConformation& pose) = 0;

    /// Completes a pose and moves it off the lattice, within the trust radius of the scene.
    /// @return whether its local problem was concave
    virtual bool refine(HexaustFlexibleFitConformation& pose);

    const SearchScene& scene() const { return m_scene; }

private:
    SearchScene m_scene;
};

/// Bytes that a scan takes beyond the inputs: the arrays of the method, the candidates of the workers' sets
/// and of the merge, and two lists of rotations while the sampling converts its angles. docs/cost.md derives
/// it.
/// @param settings  resolved for the map
double scanBytes(const ScanMethod& method, const FitSettings& settings, std::size_t workers);

#endif
