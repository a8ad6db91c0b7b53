// What the tests of the built library share.
#pragma once

#include <malloc.h>

#include <chrono>
#include <filesystem>
#include <iterator>
#include <thread>

// Waits, generously: no test depends on how fast the machine is.
template <typename Condition>
bool await(std::chrono::seconds patience, Condition condition) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

// What a process must not have more and more of.
struct Footprint {
    static size_t entries(const char* folder) {
        return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
    }
    size_t threads = entries("/proc/self/task");
    size_t descriptors = entries("/proc/self/fd");
    size_t heapBytes = mallinfo2().uordblks;
};
