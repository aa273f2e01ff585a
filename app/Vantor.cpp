// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Vantor.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "IO/ResultFile.h"
#include "app/fail.h"
#include "app/shellQuote.h"

Vantor::Vantor(int argc, char** argv, int width) : m_info(width) {
    m_workflow.parse(argc, argv);
    // A directory that can't be made shows when the first solution file is opened.
    const std::string command = "mkdir -p -- " + shellQuote(m_workflow.m_odir.getValue());
    [[maybe_unused]] const int status = std::system(command.c_str());
    m_nThread = m_workflow.m_nthread.getValue();
}

Vantor::~Vantor() {
    const cGrid& grid = m_edm.m_grid;
    unsigned int size[3] = {grid.m_size[0], grid.m_size[1], grid.m_size[2]};
    const std::string path = m_workflow.m_odir.getValue() + "/log.txt";
    errno = 0;
    if (!m_workflow.saveArgumentLog(path, grid.m_cellDim, size, m_positions)) {
        const std::string reason = errno != 0 ? std::string(": ") + std::strerror(errno) : "";
        warn(path + " could not be written" + reason +
             ". Check its directory, the permissions and the free space of the disk.");
    }
}
