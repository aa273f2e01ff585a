// SPDX-License-Identifier: GPL-3.0-or-later
#include "IO/message.h"

#include <atomic>
#include <iostream>

namespace {

void writeLine(const std::string& message) {
    std::cerr << message << std::endl;
}

std::atomic<MessageSink> sink{writeLine};

} // namespace

MessageSink setMessageSink(MessageSink newSink) {
    return sink.exchange(newSink);
}

void tell(const std::string& message) {
    sink.load()(message);
}
