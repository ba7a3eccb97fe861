// Counted objects, IntrusivePointer, the owning holders, memory pools and locks.
#include "vyk/util/RefCounted.h"

#include <gtest/gtest.h>

#include <cstring>
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

TEST(RefCounted, CountsStartAtZeroAndAreNeitherCopiedNorAssigned) {
  Plain a, b;
  a.addRef();
  a.addRef();
  Plain c(a);
  EXPECT_EQ(0, c.getReferenceCount());
  EXPECT_EQ(2, a.getReferenceCount());
  b = a;
  EXPECT_EQ(0, b.getReferenceCount());
  EXPECT_EQ(2, a.getReferenceCount());
}

TEST(RefCounted, UniqueAndSharedReadTheCountAsSigned) {
  struct Case {
    int addRefs;
    bool unique, shared;
  };
  Case const cases[] = {{0, true, false}, {1, true, false}, {2, false, true}, {5, false, true}};
  for (Case const& c : cases) {
    Shared s;
    for (int i = 0; i < c.addRefs; ++i) s.addRef();
    EXPECT_EQ(c.unique, s.unique());
    EXPECT_EQ(c.shared, s.isShared());
  }
  // An atomic count released below zero wraps to 0xFFFFFFFF, read as -1.
  Shared wrapped;
  wrapped.addRef();
  wrapped.addRef();
  wrapped.release();
  EXPECT_EQ(1, wrapped.getReferenceCount());
  Shared* heap = new Shared;
  heap->addRef();
  heap->release();  // destroys
  struct NoDestroy : Shared {
    void destroy() const override {}
  } kept;
  kept.release();
  EXPECT_EQ(-1, kept.getReferenceCount());
  EXPECT_TRUE(kept.unique());
  EXPECT_FALSE(kept.isShared());
}

TEST(IntrusivePointer, LastReleaseDestroysAndAssignmentIsSafe) {
  int destroyed = 0;
  {
    IntrusivePointer<Plain> p(new Plain(&destroyed));
    EXPECT_EQ(1, p->getReferenceCount());
    {
      IntrusivePointer<Plain> q(p);
      EXPECT_EQ(2, p->getReferenceCount());
    }
    p = p;
    EXPECT_EQ(1, p->getReferenceCount());
    EXPECT_EQ(0, destroyed);
    // The new object is reachable only through the old one's member; it must survive the release.
    IntrusivePointer<Plain> r(new Plain(&destroyed));
    p = r;
    EXPECT_EQ(1, destroyed);
    r.reset();
    EXPECT_TRUE(p);
    EXPECT_FALSE(r);
  }
  EXPECT_EQ(2, destroyed);
}

TEST(IntrusivePointer, AtomicCountSurvivesManyThreads) {
  int destroyed = 0;
  IntrusivePointer<Shared> keeper(new Shared(&destroyed));
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&keeper] {
      for (int i = 0; i < 200000; ++i) {
        keeper->addRef();
        keeper->release();
        IntrusivePointer<Shared> copy(keeper);
      }
    });
  }
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(1, keeper->getReferenceCount());
  keeper.reset();
  EXPECT_EQ(1, destroyed);
}

TEST(ScopedHolders, OwnAndFree) {
  int destroyed = 0;
  {
    ScopedPtr<Plain> p(new Plain(&destroyed));
    EXPECT_TRUE(p);
    p.reset(new Plain(&destroyed));
    EXPECT_EQ(1, destroyed);
  }
  EXPECT_EQ(2, destroyed);
  ScopedPtr<Plain> empty;
  EXPECT_FALSE(empty);

  ScopedBuffer<char> none(0);
  EXPECT_EQ(nullptr, none.get());
  ScopedBuffer<int> ints(100);
  for (int i = 0; i < 100; ++i) ASSERT_EQ(0, ints[i]);
}

TEST(HeapMemoryPool, HandlesAreZeroFilledAndTheStaticPoolStays) {
  int before = HeapMemoryPool::instance_.getReferenceCount();
  {
    IntrusivePointer<Handle> h = HeapMemoryPool::instance_.alloc(4096);
    ASSERT_EQ(4096u, h->size());
    unsigned char const* bytes = static_cast<unsigned char const*>(h->memory());
    for (int i = 0; i < 4096; ++i) ASSERT_EQ(0, bytes[i]);
    EXPECT_EQ(before + 1, HeapMemoryPool::instance_.getReferenceCount());
    EXPECT_EQ(&HeapMemoryPool::instance_, h->pool());
  }
  // The last handle dropped its reference; the pool's destroy() did nothing.
  EXPECT_EQ(before, HeapMemoryPool::instance_.getReferenceCount());
  IntrusivePointer<Handle> again = HeapMemoryPool::instance_.alloc(1);
  EXPECT_NE(nullptr, again->memory());
}

TEST(ByteBuffer, PositionMustStayInsideTheBytes) {
  unsigned char storage[8];
  ByteBuffer<> buffer(storage, storage + 8);
  buffer.setPosition(storage + 8);
  EXPECT_EQ(0u, buffer.remaining());
  buffer.setPosition(storage);
  EXPECT_EQ(8u, buffer.remaining());
  try {
    buffer.setPosition(storage + 9);
    FAIL() << "no exception";
  } catch (InvalidArgumentException const& e) {
    EXPECT_EQ("newposition >= p_ && newposition <= limit_", e.message());
  }
}

TEST(Mutex, RecursiveMutexNestsAndGuardsACounter) {
  recursive_mutex m;
  m.lock();
  m.lock();
  m.unlock();
  m.unlock();
  mutex counterLock;
  long counter = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 50000; ++i) {
        lock_guard<mutex> guard(counterLock);
        ++counter;
      }
    });
  }
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(200000, counter);
}

TEST(ThreadResourceError, TextsAsGiven) {
  EXPECT_STREQ("thread_resource_error", thread_resource_error().what());
  EXPECT_STREQ("thread_resource_errorEAGAIN", thread_resource_error("EAGAIN").what());
}

}  // namespace
}  // namespace vyk
