// Counted objects, IntrusivePointer, the owning holders, memory pools and locks.
#include "vyk/util/RefCounted.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "vyk/thread/Mutex.h"
#include "vyk/util/ByteBuffer.h"
#include "vyk/util/MemoryPool.h"
#include "vyk/util/ScopedPtr.h"

namespace vyk {
namespace {

template <typename CountT>
struct Tracked : RefCounted<CountT> {
  explicit Tracked(int* destroyed = nullptr) : destroyed_(destroyed) {}
  ~Tracked() override {
    if (destroyed_) ++*destroyed_;
  }
  int* destroyed_;
};
typedef Tracked<int> Plain;
typedef Tracked<std::atomic<unsigned int>> Shared;

TEST(RefCounted, CountsStartAtZeroAreNotCopiedAndReadAsSigned) {
  Plain a, b;
  a.addRef();
  a.addRef();
  Plain c(a);
  b = a;
  EXPECT_EQ(0, c.getReferenceCount() + b.getReferenceCount());
  EXPECT_EQ(2, a.getReferenceCount());
  // unique() and isShared() for counts 0, 1, 2; then an atomic count released below zero wraps
  // to 0xFFFFFFFF, read as -1: unique.
  struct Kept : Shared {
    void destroy() const override {}
  } kept;
  for (int count : {0, 1, 2}) {
    EXPECT_EQ(count < 2, kept.unique()) << count;
    EXPECT_EQ(count >= 2, kept.isShared()) << count;
    kept.addRef();
  }
  for (int i = 0; i < 4; ++i) kept.release();
  EXPECT_EQ(-1, kept.getReferenceCount());
  EXPECT_TRUE(kept.unique());
  EXPECT_FALSE(kept.isShared());
}

TEST(OwningPointers, LastReleaseDestroysAndAssignmentIsSafe) {
  int destroyed = 0;
  {
    IntrusivePointer<Plain> p(new Plain(&destroyed));
    EXPECT_EQ(2, IntrusivePointer<Plain>(p)->getReferenceCount());
    IntrusivePointer<Plain>& same = p;
    p = same;
    EXPECT_EQ(1, p->getReferenceCount());
    IntrusivePointer<Plain> r(new Plain(&destroyed));
    p = r;
    EXPECT_EQ(1, destroyed);
    r.reset();
    EXPECT_EQ(1, p->getReferenceCount());
    ScopedPtr<Plain> owned(new Plain(&destroyed));
    owned.reset(new Plain(&destroyed));
    EXPECT_EQ(2, destroyed);
  }
  EXPECT_EQ(4, destroyed);
  EXPECT_EQ(nullptr, ScopedBuffer<char>(0).get());
  ScopedBuffer<int> ints(100);  // zero-filled
  for (int i = 0; i < 100; ++i) ASSERT_EQ(0, ints[i]);
}

// Four threads count references on one object and a counter under one mutex.
TEST(Threads, AtomicCountsAndAMutexHoldUnderFourThreads) {
  int destroyed = 0;
  IntrusivePointer<Shared> keeper(new Shared(&destroyed));
  mutex counterLock;
  long counter = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 100000; ++i) {
        keeper->addRef();
        keeper->release();
        IntrusivePointer<Shared> copy(keeper);
        lock_guard<mutex> guard(counterLock);
        ++counter;
      }
    });
  }
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(400000, counter);
  EXPECT_EQ(1, keeper->getReferenceCount());
  keeper.reset();
  EXPECT_EQ(1, destroyed);
}

TEST(HeapMemoryPool, HandlesAreZeroFilledAndTheStaticPoolStays) {
  int before = HeapMemoryPool::instance_.getReferenceCount();
  {
    IntrusivePointer<Handle> h = HeapMemoryPool::instance_.alloc(4096);
    ASSERT_EQ(4096u, h->size());
    unsigned char const* bytes = static_cast<unsigned char const*>(h->memory());
    for (int i = 0; i < 4096; ++i) ASSERT_EQ(0, bytes[i]);
    EXPECT_EQ(before + 1, HeapMemoryPool::instance_.getReferenceCount());
  }
  // The last handle dropped its reference; the pool's destroy() did nothing.
  EXPECT_EQ(before, HeapMemoryPool::instance_.getReferenceCount());
  EXPECT_NE(nullptr, HeapMemoryPool::instance_.alloc(1)->memory());
}

TEST(ByteBuffer, PositionMustStayInsideTheBytes) {
  unsigned char storage[8];
  ByteBuffer<> buffer(storage, storage + 8);
  buffer.setPosition(storage + 8);
  EXPECT_EQ(0u, buffer.remaining());
  try {
    buffer.setPosition(storage + 9);
    ADD_FAILURE() << "no exception";
  } catch (InvalidArgumentException const& e) {
    EXPECT_EQ("newposition >= p_ && newposition <= limit_", e.message());
  }
}

TEST(Mutex, RecursiveMutexNestsAndErrorsNameTheirCause) {
  recursive_mutex nested;
  lock_guard<recursive_mutex> outer(nested), inner(nested);
  EXPECT_STREQ("thread_resource_errorEAGAIN", thread_resource_error("EAGAIN").what());
}

}  // namespace
}  // namespace vyk
