// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_NUMBERARG_H
#define SELVANE_APP_NUMBERARG_H

#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

#include <tclap/ValueArg.h>

/// A numeric option that refuses what the library takes without a word: an empty value, and for an unsigned
/// type a negative value, which would wrap around.
template <class T>
class NumberArg : public TCLAP::ValueArg<T> {
public:
    using TCLAP::ValueArg<T>::ValueArg;

    /// @throws TCLAP::ArgParseException  for a value that is no number of this type
    bool processArg(int* i, std::vector<std::string>& args) override {
        const int named = *i;
        if (!TCLAP::ValueArg<T>::processArg(i, args)) {
            return false;
        }
        std::string text = args[static_cast<std::size_t>(*i)];
        if (*i == named) { // name and value in one word, divided by a blank
            std::string name = text;
            this->trimFlag(name, text);
        }
        if (text.empty()) {
            throw TCLAP::ArgParseException("Couldn't read argument value from string ''", this->toString());
        }
        if (std::is_unsigned_v<T> && text.find('-') != std::string::npos) {
            throw TCLAP::ArgParseException(
                "The value '" + text + "' is negative: give a whole number without a sign", this->toString());
        }
        return true;
    }
};

#endif
