// Reference counts held inside the object, and the IntrusivePointer that drives them.
#ifndef VYK_UTIL_REFCOUNTED_H
#define VYK_UTIL_REFCOUNTED_H

#include <atomic>
#include <cstdint>

#include "vyk/util/Export.h"

namespace vyk {

namespace detail {

// Counting policy: plain arithmetic for int, one sequentially consistent operation for atomics.
template <typename CountT>
struct CountOps {
  static void increment(CountT& count) { ++count; }
  // Returns the count as it stood before the decrement.
  static CountT decrementAndGetPrevious(CountT& count) { return count--; }
  static unsigned int read(CountT const& count) { return static_cast<unsigned int>(count); }
};

template <>
struct CountOps<std::atomic<unsigned int>> {
  static void increment(std::atomic<unsigned int>& count) { count.fetch_add(1, std::memory_order_seq_cst); }
  static unsigned int decrementAndGetPrevious(std::atomic<unsigned int>& count) {
    return count.fetch_sub(1, std::memory_order_seq_cst);
  }
  static unsigned int read(std::atomic<unsigned int> const& count) { return count.load(); }
};

}  // namespace detail

// Base of objects that count their own references. The count starts at 0, is not copied and is not
// assigned: every object keeps its own. The release() that finds the count at 1 calls destroy(),
// which by default deletes the object.
//
// RefCounted<int> is for objects used by one thread at a time; RefCounted<std::atomic<unsigned int>>
// may be referenced and released from any thread, and exactly one thread runs destroy().
template <typename CountT>
class RefCounted {
 public:
  RefCounted() : count_(0) {}
  RefCounted(RefCounted const&) : count_(0) {}
  RefCounted& operator=(RefCounted const&) { return *this; }
  virtual ~RefCounted() {}

  // The present count, a snapshot when other threads hold references.
  int getReferenceCount() const { return static_cast<int>(detail::CountOps<CountT>::read(count_)); }
  void addRef() const { detail::CountOps<CountT>::increment(count_); }
  void release() const {
    if (detail::CountOps<CountT>::decrementAndGetPrevious(count_) == 1) destroy();
  }
  // True when the count, read as a signed 32-bit value, is at most 1 (so also at 0).
  bool unique() const { return signedCount() <= 1; }
  // True when the count, read as a signed 32-bit value, is above 1.
  bool isShared() const { return signedCount() > 1; }

  // Called by the release() of the last reference; by default deletes the object. Objects that
  // live elsewhere (static or on the stack) override it.
  virtual void destroy() const { delete this; }

 private:
  std::int32_t signedCount() const {
    return static_cast<std::int32_t>(detail::CountOps<CountT>::read(count_));
  }

  mutable CountT count_;
};

// Holds one counted object, or null. Construction from a non-null pointer and copying add a
// reference; destruction releases it. Assignment adds the new reference before it releases the old,
// so self-assignment is safe.
template <typename T>
class IntrusivePointer {
 public:
  typedef void (IntrusivePointer::*BooleanType)() const;

  IntrusivePointer() : p_(nullptr) {}
  IntrusivePointer(T* p) : p_(p) {  // NOLINT: implicit by design, like a raw pointer
    if (p_) p_->addRef();
  }
  IntrusivePointer(IntrusivePointer const& other) : p_(other.p_) {
    if (p_) p_->addRef();
  }
  template <typename U>
  IntrusivePointer(IntrusivePointer<U> const& other) : p_(other.get()) {  // NOLINT: upcast
    if (p_) p_->addRef();
  }
  ~IntrusivePointer() {
    if (p_) p_->release();
  }

  IntrusivePointer& operator=(IntrusivePointer const& other) { return assign(other.p_); }
  IntrusivePointer& operator=(T* p) { return assign(p); }

  T* get() const { return p_; }
  T& operator*() const { return *p_; }
  T* operator->() const { return p_; }
  void reset() { assign(nullptr); }

  // True when not null; converts to nothing else.
  operator BooleanType() const { return p_ ? &IntrusivePointer::functionForBooleanConversionToReturn : nullptr; }
  void functionForBooleanConversionToReturn() const {}

 private:
  IntrusivePointer& assign(T* p) {
    if (p) p->addRef();
    T* old = p_;
    p_ = p;
    if (old) old->release();
    return *this;
  }

  T* p_;
};

template <typename T, typename U>
bool operator==(IntrusivePointer<T> const& a, IntrusivePointer<U> const& b) {
  return a.get() == b.get();
}
template <typename T, typename U>
bool operator!=(IntrusivePointer<T> const& a, IntrusivePointer<U> const& b) {
  return a.get() != b.get();
}

}  // namespace vyk

#endif
