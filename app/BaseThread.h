// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_BASETHREAD_H
#define SELVANE_APP_BASETHREAD_H

#include <memory>

#include <pthread.h>

#include "app/Mutex.h"

/// One POSIX thread and its work. An exception that leaves the work ends the process.
class BaseThread {
public:
    /// @param id     index of the worker in its runner, from 0
    /// @param mutex  the lock that all workers of the runner share
    BaseThread(unsigned long id, std::shared_ptr<Mutex> mutex);
    virtual ~BaseThread() = default;
    BaseThread(const BaseThread&) = delete;
    BaseThread& operator=(const BaseThread&) = delete;

    /// The work, on the thread that run() starts.
    virtual void runInternal() = 0;

    /// Starts the thread; false if it could not be started.
    bool run();
    /// Waits for the end of a started thread; false if that failed.
    bool join();
    /// Ends the calling thread.
    [[noreturn]] void exit();

protected:
    std::shared_ptr<Mutex> m_mutex;
    unsigned long m_id;
    pthread_t m_thread = {};

private:
    static void* runInternalFunction(void* thread);
};

#endif
