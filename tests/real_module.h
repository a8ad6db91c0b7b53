// Helpers of the tests that load the built library.
#pragma once

#include <malloc.h>

#include <chrono>
#include <filesystem>
#include <iterator>
#include <thread>

// Waits until the condition holds; false after `patience`, which is long enough for slow machines.
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

// The resources of a process that must not grow from one life of the module to the next.
struct Footprint {
    static size_t entries(const char* folder) {
        return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
    }
    size_t threads = entries("/proc/self/task");
    size_t descriptors = entries("/proc/self/fd");
    size_t heapBytes = mallinfo2().uordblks;
};
