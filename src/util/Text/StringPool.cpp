// Chunked string storage with first-fit placement, and the builder that shares equal texts.
#include "vyk/util/StringPool.h"

#include <cstdlib>

#include "vyk/util/Assert.h"

namespace vyk {

namespace {
char const kPoolFile[] = "src/util/StringPool";
char const kBuilderFile[] = "src/util/StringPoolBuilder";
}  // namespace

static_assert(sizeof(StringPool::Chunk) == StringPool::HEADER_SIZE, "the chunk header takes 12 bytes");

StringPool::StringPool(unsigned long chunkSize) : head_(nullptr), chunkSize_(chunkSize), maxStringSize_(0) {
  if (!(chunkSize >= MIN_SIZE)) vykFail("chunkSize >= MIN_SIZE", kPoolFile, __LINE__);
  // freeBytes is 32 bits wide: a larger chunk could not say how much room it has.
  if (!(chunkSize - HEADER_SIZE <= 0xFFFFFFFFul))
    vykFail("chunkSize - 12 <= 0xFFFFFFFF", kPoolFile, __LINE__);
  maxStringSize_ = chunkSize - HEADER_SIZE - 1;
}

StringPool::~StringPool() {
  while (head_ != nullptr) {
    Chunk* next = head_->next;
    std::free(head_);
    head_ = next;
  }
}

StringPool::Chunk* StringPool::addChunk() {
  Chunk* chunk = static_cast<Chunk*>(checkedMalloc(chunkSize_));
  chunk->next = head_;
  chunk->freeBytes = static_cast<std::uint32_t>(chunkSize_ - HEADER_SIZE);
  head_ = chunk;
  return chunk;
}

char const* StringPool::addString(Chunk* chunk, char const* text, unsigned int len) {
  char* target = reinterpret_cast<char*>(chunk) + (chunkSize_ - chunk->freeBytes);
  if (len != 0) std::memcpy(target, text, len);
  target[len] = '\0';
  chunk->freeBytes -= len + 1;
  return target;
}

char const* StringPool::addString(char const* text, unsigned long len) {
  if (!(len <= maxStringSize_)) vykFail("len <= MAX_STRING_SIZE", kPoolFile, __LINE__);
  // First fit from the newest chunk: older chunks still take short strings later on.
  Chunk* chunk = head_;
  while (chunk != nullptr && !(chunk->freeBytes > len)) chunk = chunk->next;
  if (chunk == nullptr) chunk = addChunk();
  return addString(chunk, text, static_cast<unsigned int>(len));
}

StringPoolBuilder::StringPoolBuilder(StringPool* pool) : pool_(pool) {}

char const* StringPoolBuilder::addString(char const* toAdd, unsigned long len) {
  if (!toAdd) vykFail("toAdd", kBuilderFile, __LINE__);
  // A text with a zero inside would compare as its part before the zero and be confused with
  // that shorter text: store it as it is and keep it out of the set.
  if (len != 0 && std::memchr(toAdd, 0, len) != nullptr) return pool_->addString(toAdd, len);
  compare_contents::Text text{toAdd, len};
  if (!strings_.empty()) {
    auto found = strings_.find(text);
    if (found != strings_.end()) return *found;
  }
  char const* stored = pool_->addString(toAdd, len);
  strings_.insert(stored);
  return stored;
}

char const* StringPoolBuilder::addString(char const* toAdd) {
  if (!toAdd) vykFail("toAdd", kBuilderFile, __LINE__);
  return addString(toAdd, std::strlen(toAdd));
}

}  // namespace vyk
