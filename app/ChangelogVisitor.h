// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_CHANGELOGVISITOR_H
#define SELVANE_APP_CHANGELOGVISITOR_H

#include <cstdlib>
#include <iostream>
#include <string>
#include <utility>

#include <tclap/CmdLine.h>

/// Prints the change log of a command line and ends the run with status 0.
class ChangelogVisitor : public TCLAP::Visitor {
public:
    ChangelogVisitor(TCLAP::CmdLineInterface& commandLine, std::string changelog)
        : m_commandLine(commandLine), m_changelog(std::move(changelog)) {}

    void visit() override {
        std::cout << m_commandLine.getProgramName() << "  ChangeLog:\n" << m_changelog;
        throw TCLAP::ExitException(EXIT_SUCCESS);
    }

private:
    TCLAP::CmdLineInterface& m_commandLine;
    std::string m_changelog;
};

#endif
