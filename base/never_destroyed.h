// A global object whose destructor never runs.
#pragma once

// A process may exit without Unload while the module's worker still runs. Global objects that the
// worker uses must therefore survive the destructors that exit() runs.
template <typename T>
union NeverDestroyed {
    T object;

    NeverDestroyed() : object() {}
    ~NeverDestroyed() {}  // NOLINT(modernize-use-equals-default): a default would be deleted
};
