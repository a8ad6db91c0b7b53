// Keeps exceptions inside the module.
#pragma once

// Runs `work`. Returns true when it returned and false when it threw. The module only throws
// std::bad_alloc, and std::system_error when descriptors or memory are short while a file is
// loaded (in theory also from a mutex). The caller abandons this step and continues with the next.
// Destructors have then freed or handed back every buffer.
template <typename Work>
bool contain(Work&& work) noexcept {
    try {
        work();
        return true;
    } catch (...) {
        return false;
    }
}
