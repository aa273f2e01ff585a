// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_PRINTABLEOUTPUT_H
#define SELVANE_APP_PRINTABLEOUTPUT_H

#include <string>

#include <tclap/CmdLine.h>

#include "IO/printable.h"

/// The library's output, with the words of the command line in its errors as printable() shows them.
class PrintableOutput : public TCLAP::StdOutput {
public:
    void failure(TCLAP::CmdLineInterface& commandLine, TCLAP::ArgException& error) override {
        TCLAP::ArgException shown(printable(error.error()), argumentOf(error));
        TCLAP::StdOutput::failure(commandLine, shown);
    }

private:
    /// What the exception was made of: argId() puts a word in front, and gives a blank in place of
    /// "undefined".
    static std::string argumentOf(const TCLAP::ArgException& error) {
        const std::string front = "Argument: ";
        const std::string id = error.argId();
        return id.rfind(front, 0) == 0 ? printable(id.substr(front.size())) : "undefined";
    }
};

#endif
