// A mutex whose rules clang checks at compile time (-Wthread-safety, an error in the clang build).
//
// Under a lock the module itself takes no other, hands no host buffer back and frees no block.
// docs/architecture.md says which lock guards what.
#pragma once

#include <mutex>

#include "base/real_time.h"

#if defined(__clang__)
#define THREAD_ANNOTATION(x) __attribute__((x))
#else
#define THREAD_ANNOTATION(x)
#endif

#define CAPABILITY(x) THREAD_ANNOTATION(capability(x))
#define SCOPED_CAPABILITY THREAD_ANNOTATION(scoped_lockable)
#define GUARDED_BY(x) THREAD_ANNOTATION(guarded_by(x))
#define REQUIRES(...) THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define ACQUIRE(...) THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define TRY_ACQUIRE(...) THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
#define RELEASE(...) THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define EXCLUDES(...) THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define NO_THREAD_SAFETY_ANALYSIS THREAD_ANNOTATION(no_thread_safety_analysis)

class CAPABILITY("mutex") Mutex {
  public:
    void lock() ACQUIRE() { mutex_.lock(); }
    void unlock() RT_SAFE RELEASE() { mutex_.unlock(); }
    [[nodiscard]] bool try_lock() RT_SAFE TRY_ACQUIRE(true) { return mutex_.try_lock(); }

  private:
    std::mutex mutex_;
};

class SCOPED_CAPABILITY MutexLock {
  public:
    explicit MutexLock(Mutex& mutex) ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
    // Takes over a mutex that the caller has locked with try_lock.
    MutexLock(Mutex& mutex, std::adopt_lock_t /*held*/) RT_SAFE REQUIRES(mutex) : mutex_(mutex) {}
    ~MutexLock() RT_SAFE RELEASE() { mutex_.unlock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

  private:
    Mutex& mutex_;
};
