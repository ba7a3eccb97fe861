// A view on bytes with a virtual refill and drain, passed to the compressors.
#ifndef VYK_UTIL_BYTEBUFFER_H
#define VYK_UTIL_BYTEBUFFER_H

#include "vyk/util/Exception.h"

namespace vyk {

// Callers derive from it to feed or take bytes. A reader that needs more bytes than stand between
// position() and limit() calls refill(missing); a writer that needs more room calls drain(missing).
// After either call the caller reads position() and limit() again.
template <typename SizeT = unsigned int>
class ByteBuffer {
 public:
  ByteBuffer(unsigned char* start, unsigned char* limit) : p_(start), position_(start), limit_(limit) {}
  virtual ~ByteBuffer() {}

  // Makes more bytes available to a reader; the default adds none.
  virtual void refill(SizeT /*missing*/) {}
  // Makes more room for a writer; the default makes none.
  virtual void drain(SizeT /*missing*/) {}

  unsigned char* start() const { return p_; }
  unsigned char* position() const { return position_; }
  unsigned char* limit() const { return limit_; }
  SizeT remaining() const { return static_cast<SizeT>(limit_ - position_); }

  // Moves the position; it must lie within [start(), limit()], else InvalidArgumentException.
  void setPosition(unsigned char* newposition) {
    if (!(newposition >= p_ && newposition <= limit_))
      throw InvalidArgumentException("newposition >= p_ && newposition <= limit_");
    position_ = newposition;
  }

 protected:
  void setLimit(unsigned char* limit) { limit_ = limit; }
  void setStart(unsigned char* start) { p_ = start; }

  unsigned char* p_;
  unsigned char* position_;
  unsigned char* limit_;
};

}  // namespace vyk

#endif
