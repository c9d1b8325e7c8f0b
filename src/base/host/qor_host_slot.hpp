// Where a user's callback and its pointer are kept, to be read and set by any thread.
#pragma once

#include <pthread.h>

namespace qor::host {

template <class Function>
struct Target {
    Function call = nullptr;
    void *user = nullptr;
};

template <class Function>
class Slot {
  public:
    // The target is called after this, outside the lock: a callback may log and may set callbacks.
    Target<Function> Get() {
        pthread_mutex_lock(&lock_);
        const Target<Function> target = target_;
        pthread_mutex_unlock(&lock_);
        return target;
    }

    void Set(Target<Function> target) {
        pthread_mutex_lock(&lock_);
        target_ = target;
        pthread_mutex_unlock(&lock_);
    }

  private:
    pthread_mutex_t lock_ = PTHREAD_MUTEX_INITIALIZER;
    Target<Function> target_;
};

}  // namespace qor::host
