// A mutex held for the length of a scope.
#pragma once

#include <pthread.h>

class MutexGuard {
public:
    explicit MutexGuard(pthread_mutex_t &mutex) : mutex_(&mutex) { pthread_mutex_lock(mutex_); }
    MutexGuard(const MutexGuard &) = delete;
    MutexGuard &operator=(const MutexGuard &) = delete;
    ~MutexGuard() { unlock(); }

    // Gives the mutex back before the scope ends. Does nothing when it is not held.
    void unlock() {
        if (mutex_ != nullptr) {
            pthread_mutex_unlock(mutex_);
            mutex_ = nullptr;
        }
    }

private:
    pthread_mutex_t *mutex_;
};
