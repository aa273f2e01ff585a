// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/BaseThread.h"

#include <utility>

BaseThread::BaseThread(unsigned long id, std::shared_ptr<Mutex> mutex)
    : m_mutex(std::move(mutex)), m_id(id) {}

bool BaseThread::run() {
    return pthread_create(&m_thread, nullptr, &BaseThread::runInternalFunction, this) == 0;
}

bool BaseThread::join() {
    return pthread_join(m_thread, nullptr) == 0;
}

void BaseThread::exit() {
    pthread_exit(nullptr);
}

void* BaseThread::runInternalFunction(void* thread) {
    static_cast<BaseThread*>(thread)->runInternal();
    return nullptr;
}
