// Keeps exceptions inside the module.
#pragma once

// Runs `work` and returns true, or false when it threw. Inside the module only std::bad_alloc is
// thrown, and std::system_error by a load that finds no descriptor (in theory also by a mutex). The
// caller gives this step up and goes on with the next. Destructors have already freed or handed
// back every buffer.
template <typename Work>
bool contain(Work&& work) noexcept {
    try {
        work();
        return true;
    } catch (...) {
        return false;
    }
}
