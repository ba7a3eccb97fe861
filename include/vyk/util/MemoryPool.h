// Pools of zero-filled memory handed out as counted handles; HeapMemoryPool serves them from calloc.
#ifndef VYK_UTIL_MEMORYPOOL_H
#define VYK_UTIL_MEMORYPOOL_H

#include "vyk/util/Export.h"
#include "vyk/util/RefCounted.h"

namespace vyk {

class Handle;

// A source of zero-filled memory. Single-threaded references.
class VYK_EXPORT MemoryPool : public RefCounted<int> {
 public:
  // Memory of size bytes, all zero, held by the returned handle.
  virtual IntrusivePointer<Handle> alloc(unsigned long size) = 0;
  // Gives back the memory of a handle; called by the handle's destructor.
  virtual void free(Handle& handle) = 0;
};

// A piece of memory from a pool. Its destructor gives the memory back to the pool and then drops its
// reference on the pool.
class VYK_EXPORT Handle : public RefCounted<int> {
 public:
  Handle(IntrusivePointer<MemoryPool> const& pool, unsigned long size, void* memory);
  ~Handle() override;

  MemoryPool* pool() const { return pool_.get(); }
  unsigned long size() const { return size_; }
  void* memory() const { return memory_; }

 private:
  IntrusivePointer<MemoryPool> pool_;
  unsigned long size_;
  void* memory_;
};

// The process-wide pool over calloc and free. Its one object, instance_, is static: destroy() does
// nothing, and the object's count rises and falls with its handles.
class VYK_EXPORT HeapMemoryPool : public MemoryPool {
 public:
  HeapMemoryPool() {}
  ~HeapMemoryPool() override;
  void destroy() const override;
  // calloc(1, size); throws std::bad_alloc when that fails.
  IntrusivePointer<Handle> alloc(unsigned long size) override;
  void free(Handle& handle) override;

  static HeapMemoryPool instance_;
};

}  // namespace vyk

#endif
