// Objects that a callback may release.
#pragma once

namespace qor {

// Tells code that calls out whether what it works on was released meanwhile. Looking that up again
// would not tell: a successor may have got its id and even its memory. Watches live on the stack
// and are chained from the module's context, the innermost first; whoever releases an object calls
// Forget.
class Watch {
  public:
    // The second object may be NULL.
    Watch(Watch **chain, const void *first, const void *second = nullptr)
        : chain_(chain), outer_(*chain), first_(first), second_(second) {
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdangling-pointer"  // the destructor takes it out again
#endif
        *chain = this;
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif
    }
    ~Watch() {
        *chain_ = outer_;
    }
    Watch(const Watch &) = delete;
    Watch &operator=(const Watch &) = delete;

    // Not const, because a watch must not be either: Forget changes it.
    bool HasFirst() {
        return first_ != nullptr;
    }
    bool HasSecond() {
        return second_ != nullptr;
    }

    static void Forget(Watch *innermost, const void *released) {
        for (Watch *at = innermost; at != nullptr; at = at->outer_) {
            if (at->first_ == released) {
                at->first_ = nullptr;
            }
            if (at->second_ == released) {
                at->second_ = nullptr;
            }
        }
    }

  private:
    Watch **chain_;
    Watch *outer_;
    const void *first_;
    const void *second_;
};

}  // namespace qor
