// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_LONGFLAGSWITCHARG_H
#define SELVANE_APP_LONGFLAGSWITCHARG_H

#include <cstddef>
#include <string>
#include <vector>

#include <tclap/SwitchArg.h>

/// A switch with a short flag of several characters, which the library refuses in its constructors. Only the
/// whole word matches: the flag takes no part in combined switches.
class LongFlagSwitchArg : public TCLAP::SwitchArg {
public:
    LongFlagSwitchArg(const std::string& flag, const std::string& name, const std::string& description,
                      TCLAP::Visitor* visitor)
        : TCLAP::SwitchArg("", name, description, false, visitor) {
        _flag = flag;
    }

    bool processArg(int* i, std::vector<std::string>& args) override {
        return argMatches(args[static_cast<std::size_t>(*i)]) && TCLAP::SwitchArg::processArg(i, args);
    }
};

#endif
