// Pools of zero-terminated strings stored in large chunks, and a builder that stores each text once.
#ifndef VYK_UTIL_STRINGPOOL_H
#define VYK_UTIL_STRINGPOOL_H

#include <cstdint>
#include <cstring>
#include <set>

#include "vyk/util/Export.h"

namespace vyk {

// Stores strings one after the other in chunks of a fixed size; a stored string keeps its address
// until the pool is destroyed, and nothing is ever removed. A string of len bytes costs len + 1.
// One thread at a time; bytes once stored never change, so reading them is safe from any thread.
//
//   StringPool pool(4096);
//   char const* s = pool.addString("name", 4);   // "name\0", owned by the pool
class VYK_EXPORT StringPool {
 public:
  // The smallest chunk size allowed.
  static constexpr unsigned long MIN_SIZE = 16;
  // Bytes of a chunk's header: the link (8) and freeBytes (4); the strings follow directly.
  static constexpr unsigned long HEADER_SIZE = 12;

#pragma pack(push, 4)
  // The header of a block of exactly the pool's chunk size; the string bytes follow it.
  struct Chunk {
    Chunk* next;              // the next older chunk, or null
    std::uint32_t freeBytes;  // bytes still free at the end of the chunk
    char* data() { return reinterpret_cast<char*>(this + 1); }
  };
#pragma pack(pop)

  // A chunk size below MIN_SIZE, or one whose free bytes do not fit 32 bits, is a programming
  // error: vykFail "chunkSize >= MIN_SIZE" (or "chunkSize - 12 <= 0xFFFFFFFF") in "src/util/StringPool".
  explicit StringPool(unsigned long chunkSize);
  ~StringPool();
  StringPool(StringPool const&) = delete;
  StringPool& operator=(StringPool const&) = delete;

  // Stores the first len bytes of text (no terminator needed) with a zero after them and returns
  // the copy. The newest chunk whose free bytes exceed len takes it, else a new chunk. len above
  // getMaxStringSize() is a programming error: vykFail "len <= MAX_STRING_SIZE".
  char const* addString(char const* text, unsigned long len);
  // Allocates a new empty chunk, links it at the head and returns it; throws std::bad_alloc.
  Chunk* addChunk();
  // Stores into chunk without a check of room: the caller has checked that freeBytes > len.
  char const* addString(Chunk* chunk, char const* text, unsigned int len);

  // The newest chunk, null before the first string.
  Chunk* getHead() const {
    return head_;
  }
  unsigned long getChunkSize() const {
    return chunkSize_;
  }
  // The longest string that fits: chunk size minus 13 (the header and the string's zero).
  unsigned long getMaxStringSize() const {
    return maxStringSize_;
  }

 private:
  Chunk* head_;
  unsigned long chunkSize_;
  unsigned long maxStringSize_;
};

// strcmp order of zero-terminated texts, the order of StringPoolBuilder's set.
// A text given by address and length, which need not be terminated, may be looked up too: it
// compares as its bytes followed by a zero and is never read past its length.
struct VYK_EXPORT compare_contents {
  struct Text {
    char const* data;  // len bytes, none of them zero
    unsigned long len;
  };
  using is_transparent = void;

  bool operator()(char const* a, char const* b) const { return std::strcmp(a, b) < 0; }
  bool operator()(char const* a, Text b) const { return compare(a, b) < 0; }
  bool operator()(Text a, char const* b) const { return compare(b, a) > 0; }

  // strcmp of the zero-terminated a with b: the difference of the first unequal bytes as unsigned.
  static int compare(char const* a, Text b) {
    for (unsigned long k = 0;; ++k) {
      int ca = static_cast<unsigned char>(a[k]);
      int cb = k < b.len ? static_cast<unsigned char>(b.data[k]) : 0;
      if (ca != cb || ca == 0) return ca - cb;
    }
  }
};

// Stores each distinct text once in a pool it does not own, so that equal texts give the same
// address. It knows only the texts that went through it, and must not outlive its pool.
class VYK_EXPORT StringPoolBuilder {
 public:
  explicit StringPoolBuilder(StringPool* pool);

  // The stored copy of toAdd[0, len), shared with any equal text added before. A null toAdd is a
  // programming error: vykFail "toAdd" in "src/util/StringPoolBuilder". Only bytes before len are
  // read. A text with a zero byte before len is stored, whole, but not shared.
  char const* addString(char const* toAdd, unsigned long len);
  // The same with len = strlen(toAdd).
  char const* addString(char const* toAdd);

  StringPool* getPool() const { return pool_; }
  unsigned long size() const { return strings_.size(); }

 private:
  std::set<char const*, compare_contents> strings_;
  StringPool* pool_;
};

}  // namespace vyk

#endif
