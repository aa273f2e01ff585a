// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Vantor.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "IO/ResultFile.h"
#include "IO/shellQuote.h"
#include "app/FittingWorkflow.h"
#include "app/fail.h"

Vantor::Vantor(int argc, char** argv, int width)
    : m_workflow(std::make_unique<FittingWorkflow>()), m_info(width) {
    m_workflow->parse(argc, argv);
    m_settings = m_workflow->settings();
    // A directory that can't be made shows when the first solution file is opened.
    const std::string command = "mkdir -p -- " + shellQuote(m_settings.outputDirectory);
    [[maybe_unused]] const int status = std::system(command.c_str());
    m_nThread = m_settings.workers;
}

Vantor::~Vantor() {
    const cGrid& grid = m_edm.m_grid;
    const std::string path = m_settings.outputDirectory + "/log.txt";
    errno = 0;
    if (!m_workflow->saveArgumentLog(path, grid.m_cellDim, grid.getSizes().data(), m_positions)) {
        const std::string reason = errno != 0 ? std::string(": ") + std::strerror(errno) : "";
        warn(path + " could not be written" + reason +
             ". Check its directory, the permissions and the free space of the disk.");
    }
}
