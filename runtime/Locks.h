// The module's locks: POSIX mutexes and conditions whose use cannot throw
// (std::mutex reports a failed lock by throwing, which a module built
// without exceptions turns into the end of the host's process).
#pragma once

#include <pthread.h>
#include <time.h>

#include <cstdint>

// A plain mutex, usable with std::lock_guard. Like std::mutex here, it needs
// no teardown, so a static one is ready before any constructor runs and
// still usable after destructors at exit.
class Mutex {
public:
    constexpr Mutex() noexcept = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() noexcept { pthread_mutex_lock(&m_Mutex); }
    void unlock() noexcept { pthread_mutex_unlock(&m_Mutex); }

private:
    friend class Condition;
    pthread_mutex_t m_Mutex = PTHREAD_MUTEX_INITIALIZER;
};

// A condition waited on with its mutex held, timed by the monotonic clock.
class Condition {
public:
    Condition() noexcept;
    ~Condition();
    Condition(const Condition&) = delete;
    Condition& operator=(const Condition&) = delete;

    void wait(Mutex& mutex) noexcept { pthread_cond_wait(&m_Condition, &mutex.m_Mutex); }
    // False once the deadline (from deadlineAfter) has passed.
    bool waitUntil(Mutex& mutex, const timespec& deadline) noexcept;
    void notifyAll() noexcept { pthread_cond_broadcast(&m_Condition); }

    static timespec deadlineAfter(int32_t milliseconds) noexcept;

private:
    pthread_cond_t m_Condition;
};
