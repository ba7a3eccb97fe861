// The heap memory pool and the handles it gives out.
#include "vyk/util/MemoryPool.h"

#include <cstdlib>
#include <new>

namespace vyk {

Handle::Handle(IntrusivePointer<MemoryPool> const& pool, unsigned long size, void* memory)
    : pool_(pool), size_(size), memory_(memory) {}

// An exception from the pool's free cannot leave a destructor: it ends the process.
Handle::~Handle() {
  if (pool_) {
    pool_->free(*this);
    pool_.reset();
  }
}

HeapMemoryPool HeapMemoryPool::instance_;

HeapMemoryPool::~HeapMemoryPool() {}

void HeapMemoryPool::destroy() const {}

IntrusivePointer<Handle> HeapMemoryPool::alloc(unsigned long size) {
  void* memory = std::calloc(1, size);
  if (memory == nullptr) throw std::bad_alloc();
  return IntrusivePointer<Handle>(new Handle(IntrusivePointer<MemoryPool>(this), size, memory));
}

void HeapMemoryPool::free(Handle& handle) { std::free(handle.memory()); }

}  // namespace vyk
