// A global object whose destructor never runs.
#pragma once

// The module's worker may still run while the process exits without Unload. What it uses must
// outlive the destructors that run then.
template <typename T>
union NeverDestroyed {
    T object;

    NeverDestroyed() : object() {}
    ~NeverDestroyed() {}  // NOLINT(modernize-use-equals-default): that one would be deleted
};
