// Plain owning holders: ScopedPtr for one object, ScopedBuffer for zero-filled memory from calloc.
#ifndef VYK_UTIL_SCOPEDPTR_H
#define VYK_UTIL_SCOPEDPTR_H

#include <cstdlib>
#include <new>

namespace vyk {

namespace detail {
template <typename T>
struct default_delete {
  void operator()(T* p) const { delete p; }
};
}  // namespace detail

// Owns one object and deletes it through D when destroyed. Not copied, not counted.
template <typename T, typename D = detail::default_delete<T>>
class ScopedPtr {
 public:
  typedef void (ScopedPtr::*BooleanType)() const;

  explicit ScopedPtr(T* p = nullptr) : p_(p) {}
  ScopedPtr(ScopedPtr const&) = delete;
  ScopedPtr& operator=(ScopedPtr const&) = delete;
  ~ScopedPtr() {
    if (p_) D()(p_);
  }

  T* get() const { return p_; }
  T& operator*() const { return *p_; }
  T* operator->() const { return p_; }
  // Deletes the held object and takes p.
  void reset(T* p = nullptr) {
    T* old = p_;
    p_ = p;
    if (old) D()(old);
  }
  // Gives up ownership without deleting.
  T* release() {
    T* p = p_;
    p_ = nullptr;
    return p;
  }

  operator BooleanType() const { return p_ ? &ScopedPtr::functionForBooleanConversionToReturn : nullptr; }
  void functionForBooleanConversionToReturn() const {}

 private:
  T* p_;
};

// Owns count zero-filled elements from calloc, or null for a count of 0. Throws std::bad_alloc when
// calloc fails; frees the memory when destroyed.
template <typename T>
class ScopedBuffer {
 public:
  explicit ScopedBuffer(unsigned long count) : p_(nullptr) {
    if (count == 0) return;
    p_ = static_cast<T*>(std::calloc(count, sizeof(T)));
    if (p_ == nullptr) throw std::bad_alloc();
  }
  ScopedBuffer(ScopedBuffer const&) = delete;
  ScopedBuffer& operator=(ScopedBuffer const&) = delete;
  ~ScopedBuffer() {
    if (p_) std::free(p_);
  }

  T* get() const { return p_; }
  T& operator[](unsigned long i) const { return p_[i]; }

 private:
  T* p_;
};

}  // namespace vyk

#endif
