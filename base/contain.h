// Keeps exceptions inside the module.
#pragma once

// Runs `work` and answers true, or false when it threw. What is thrown here is want of memory (or a
// lock that the system refuses): the step is given up, its destructors keep every buffer's account
// straight, and the module goes on with its next step, so there is nothing else to do about it.
template <typename Work>
bool contain(Work&& work) noexcept {
    try {
        work();
        return true;
    } catch (...) {
        return false;
    }
}
