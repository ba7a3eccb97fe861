// mutex and recursive_mutex over POSIX mutexes; a failed lock operation is an assertion failure.
#ifndef VYK_THREAD_MUTEX_PTHREAD_H
#define VYK_THREAD_MUTEX_PTHREAD_H

#include <pthread.h>

#include <exception>
#include <string>

#include "vyk/util/Assert.h"
#include "vyk/util/Export.h"

// Mutex failures name this header as their source, wherever it is installed.
#define VYK_MUTEX_ASSERT(condition) \
  ((condition) ? static_cast<void>(0) : ::vyk::vykFail(#condition, "include/vyk/thread/Mutex_pthread.h", __LINE__))

namespace vyk {

// Thrown when a mutex cannot be made. Derives from std::exception, not from vyk::Exception.
class VYK_EXPORT thread_resource_error : public std::exception {
 public:
  thread_resource_error() : text_("thread_resource_error") {}
  // The text is "thread_resource_error" followed directly by detail.
  explicit thread_resource_error(char const* detail) : text_(std::string("thread_resource_error") + detail) {}
  char const* what() const noexcept override { return text_.c_str(); }

 private:
  std::string text_;
};

namespace detail {

class mutex_impl {
 public:
  mutex_impl() {}
  mutex_impl(mutex_impl const&) = delete;
  mutex_impl& operator=(mutex_impl const&) = delete;

  // Makes m_ of the given pthread mutex type; throws thread_resource_error when that fails.
  void initialise(int type) {
    pthread_mutexattr_t attr;
    if (pthread_mutexattr_init(&attr) != 0) throw thread_resource_error();
    if (pthread_mutexattr_settype(&attr, type) != 0) {
      VYK_MUTEX_ASSERT(!pthread_mutexattr_destroy(&attr));
      throw thread_resource_error();
    }
    if (pthread_mutex_init(&m_, &attr) != 0) {
      VYK_MUTEX_ASSERT(!pthread_mutexattr_destroy(&attr));
      throw thread_resource_error();
    }
    VYK_MUTEX_ASSERT(!pthread_mutexattr_destroy(&attr));
  }
  void lock() { VYK_MUTEX_ASSERT(!pthread_mutex_lock(&m_)); }
  void unlock() { VYK_MUTEX_ASSERT(!pthread_mutex_unlock(&m_)); }
  void destroy() { VYK_MUTEX_ASSERT(!pthread_mutex_destroy(&m_)); }

 private:
  pthread_mutex_t m_;
};

}  // namespace detail

// A non-recursive mutex. Locking it twice from one thread deadlocks.
class mutex {
 public:
  mutex() { impl_.initialise(PTHREAD_MUTEX_NORMAL); }
  ~mutex() { impl_.destroy(); }
  mutex(mutex const&) = delete;
  mutex& operator=(mutex const&) = delete;
  void lock() { impl_.lock(); }
  void unlock() { impl_.unlock(); }

 private:
  detail::mutex_impl impl_;
};

// A mutex that the owning thread may lock again; each lock needs its unlock.
class recursive_mutex {
 public:
  recursive_mutex() { impl_.initialise(PTHREAD_MUTEX_RECURSIVE); }
  ~recursive_mutex() { impl_.destroy(); }
  recursive_mutex(recursive_mutex const&) = delete;
  recursive_mutex& operator=(recursive_mutex const&) = delete;
  void lock() { impl_.lock(); }
  void unlock() { impl_.unlock(); }

 private:
  detail::mutex_impl impl_;
};

// Holds a lock for its scope.
template <typename Mutex>
class lock_guard {
 public:
  explicit lock_guard(Mutex& m) : m_(m) { m_.lock(); }
  ~lock_guard() { m_.unlock(); }
  lock_guard(lock_guard const&) = delete;
  lock_guard& operator=(lock_guard const&) = delete;

 private:
  Mutex& m_;
};

}  // namespace vyk

#endif
