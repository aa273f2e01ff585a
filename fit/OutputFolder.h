// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FIT_OUTPUTFOLDER_H
#define SELVANE_FIT_OUTPUTFOLDER_H

#include <memory>
#include <set>
#include <string>
#include <vector>

class CheckpointLock;

/// The folder of a run's results. It may hold files of others; the names that a run writes are poses.csv,
/// summary.json, assembly.pdb or .cif, log.txt, pose_NN.pdb or .cif, and map.ccp4, model.pdb, frame.json and
/// command.txt in prepared/.
class OutputFolder {
public:
    /// Makes the folder where it is missing, tries whether it admits files, and keeps other runs off it.
    /// @param restart  whether the results of an earlier run may be replaced
    /// @param inputs   files that no result may take the place of
    /// @throws std::runtime_error with the path and the remedy for a folder that cannot be made or written
    ///         to, is in use by another run, holds results that may not be replaced, or holds an input under
    ///         the name of a result
    OutputFolder(std::string path, bool restart, const std::vector<std::string>& inputs);
    OutputFolder(const OutputFolder&) = delete;
    OutputFolder& operator=(const OutputFolder&) = delete;
    /// Removes the folders that it made and that are still empty.
    ~OutputFolder();

    const std::string& path() const { return m_path; }
    std::string of(const std::string& name) const { return m_path + "/" + name; }

    /// Makes prepared/.
    void makePrepared();

    /// Removes what an earlier run wrote and this one did not. Nothing else is touched.
    /// @param written  names below the folder, such as "prepared/map.ccp4"
    void removeEarlier(const std::set<std::string>& written) const;

private:
    void make(const std::string& folder);

    std::string m_path;
    std::vector<std::string> m_made; ///< folders, the outer one first
    std::unique_ptr<CheckpointLock> m_lock;
};

/// The names below a folder that a run writes, of those that are there.
std::vector<std::string> earlierResults(const std::string& folder);

#endif
