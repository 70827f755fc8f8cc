// Bounded waits for what another thread does, and the process's threads.
#pragma once

#include <dirent.h>

#include <chrono>
#include <thread>

// True as soon as the condition holds; false once `milliseconds` have passed.
template <class Condition>
bool within(int milliseconds, Condition condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return true;
}

// The threads the process has now. ThreadSanitizer starts a thread of its
// own when the process starts its first: one is started and ended first, so
// that a count taken before a test's first thread is not one short after it.
inline int threadCount() {
    static const bool kRuntimeStarted = (std::thread([] {}).join(), true);
    (void)kRuntimeStarted;
    int count = 0;
    if (DIR* tasks = opendir("/proc/self/task")) {
        while (dirent* entry = readdir(tasks)) count += entry->d_name[0] != '.';
        closedir(tasks);
    }
    return count;
}
