// Encoding and decoding of the 4-byte block, record and segment descriptor words, big-endian.
#ifndef VYK_SRC_RECORDFORMATS_MVSDESCRIPTORS_H
#define VYK_SRC_RECORDFORMATS_MVSDESCRIPTORS_H

namespace vyk {
namespace recfm {
namespace mvs_detail {

// Every descriptor is 4 bytes, and every length in one counts those 4 bytes.
constexpr int DESCRIPTOR_SIZE = 4;
// Longest block written with the short block descriptor; longer blocks get the extended form.
constexpr int MAX_SHORT_BLOCK_LENGTH = 32760;
// A record or segment length field is 16 bits.
constexpr int MAX_DESCRIBED_LENGTH = 0xFFFF;
constexpr int MAX_DESCRIBED_DATA = MAX_DESCRIBED_LENGTH - DESCRIPTOR_SIZE;

// Control codes of a segment descriptor.
enum SegmentCode { SEGMENT_COMPLETE = 0, SEGMENT_FIRST = 1, SEGMENT_LAST = 2, SEGMENT_MIDDLE = 3 };

// Stores a block descriptor for a block of length bytes (descriptor included, at least 4).
inline void putBlockDescriptor(unsigned char* out, int length) {
  if (length <= MAX_SHORT_BLOCK_LENGTH) {
    out[0] = static_cast<unsigned char>(length >> 8);
    out[1] = static_cast<unsigned char>(length);
    out[2] = 0;
    out[3] = 0;
  } else {
    out[0] = static_cast<unsigned char>(0x80 | ((length >> 24) & 0x7F));
    out[1] = static_cast<unsigned char>(length >> 16);
    out[2] = static_cast<unsigned char>(length >> 8);
    out[3] = static_cast<unsigned char>(length);
  }
}

// The block length that a block descriptor states, or -1 when a short form has non-zero bytes 2
// and 3. The caller still checks the minimum of 4.
inline long long blockDescriptorLength(unsigned char const* in) {
  if (in[0] & 0x80) {
    return (static_cast<long long>(in[0] & 0x7F) << 24) | (static_cast<long long>(in[1]) << 16) |
           (static_cast<long long>(in[2]) << 8) | in[3];
  }
  if (in[2] != 0 || in[3] != 0) return -1;
  return (static_cast<long long>(in[0]) << 8) | in[1];
}

// Stores a record descriptor (code 0, whose last two bytes are zero) or a segment descriptor.
// length counts the descriptor and is at most MAX_DESCRIBED_LENGTH.
inline void putSegmentDescriptor(unsigned char* out, int length, int code) {
  out[0] = static_cast<unsigned char>(length >> 8);
  out[1] = static_cast<unsigned char>(length);
  out[2] = static_cast<unsigned char>(code);
  out[3] = 0;
}

// The length that a record or segment descriptor states, descriptor included.
inline int describedLength(unsigned char const* in) {
  return (in[0] << 8) | in[1];
}

// The control code of a segment descriptor.
inline int segmentCode(unsigned char const* in) {
  return in[2];
}

// The code of a segment: complete or first when it starts its record, last or middle when it ends
// the record or not.
inline int codeFor(bool first, bool last) {
  if (first) return last ? SEGMENT_COMPLETE : SEGMENT_FIRST;
  return last ? SEGMENT_LAST : SEGMENT_MIDDLE;
}

// One step of cutting a spanned record into segments, shared by the blocked and the streamed
// writer. With room bytes left in the present block and remaining bytes of the record still to
// place, the answer is false when the block must be closed first: it has no room for a descriptor,
// or only for a descriptor while data remains (an empty segment would carry nothing). Otherwise
// data is the segment's share, capped so that its length fits a descriptor, and last tells whether
// it ends the record.
struct SegmentCut {
  int data;
  bool last;
};
inline bool cutSegment(long long room, int remaining, SegmentCut& cut) {
  if (room < DESCRIPTOR_SIZE || (room == DESCRIPTOR_SIZE && remaining > 0)) return false;
  long long avail = room - DESCRIPTOR_SIZE;
  if (avail > MAX_DESCRIBED_DATA) avail = MAX_DESCRIBED_DATA;
  cut.last = remaining <= avail;
  cut.data = cut.last ? remaining : static_cast<int>(avail);
  return true;
}

}  // namespace mvs_detail
}  // namespace recfm
}  // namespace vyk

#endif
