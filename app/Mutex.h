// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_MUTEX_H
#define SELVANE_APP_MUTEX_H

#include <pthread.h>

/// The lock that the workers of one loop share; meets the needs of std::lock_guard.
class Mutex {
public:
    Mutex() { pthread_mutex_init(&m_mutex, nullptr); }
    ~Mutex() { pthread_mutex_destroy(&m_mutex); }
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() { pthread_mutex_lock(&m_mutex); }
    void unlock() { pthread_mutex_unlock(&m_mutex); }

private:
    pthread_mutex_t m_mutex;
};

#endif
