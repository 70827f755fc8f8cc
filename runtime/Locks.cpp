#include "runtime/Locks.h"

#include <cerrno>

Condition::Condition() noexcept {
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_cond_init(&m_Condition, &attributes);
    pthread_condattr_destroy(&attributes);
}

Condition::~Condition() { pthread_cond_destroy(&m_Condition); }

bool Condition::waitUntil(Mutex& mutex, const timespec& deadline) noexcept {
    return pthread_cond_timedwait(&m_Condition, &mutex.m_Mutex, &deadline) != ETIMEDOUT;
}

timespec Condition::deadlineAfter(int32_t milliseconds) noexcept {
    timespec deadline;
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    if (milliseconds < 0) milliseconds = 0;
    deadline.tv_sec += milliseconds / 1000;
    deadline.tv_nsec += static_cast<long>(milliseconds % 1000) * 1000000L;
    if (deadline.tv_nsec >= 1000000000L) {
        deadline.tv_nsec -= 1000000000L;
        ++deadline.tv_sec;
    }
    return deadline;
}
