// The S370 formats without blocks: record or segment descriptors straight on the stream.
#include <algorithm>

#include "src/util/RecordFormats/MvsDescriptors.h"
#include "vyk/util/Assert.h"
#include "vyk/util/Exception.h"
#include "vyk/util/MvsRecordFormat.h"

namespace vyk {
namespace recfm {

using namespace mvs_detail;

namespace {

// The smallest and largest imaginary block of the spanned writer: the smallest block memory of the
// blocked formats less its descriptor, and the longest segment a descriptor can state.
constexpr int MIN_SEGMENT_CAPACITY = 256 - DESCRIPTOR_SIZE;
constexpr int MAX_SEGMENT_CAPACITY = MAX_DESCRIBED_LENGTH;

// Reads one descriptor: the number of its bytes that came (0 at a clean end).
int readDescriptor(FileStream& stream, unsigned char* descriptor) {
  return stream.getchars(reinterpret_cast<char*>(descriptor), DESCRIPTOR_SIZE);
}

void writeDescriptor(FileStream& stream, int length, int code) {
  unsigned char descriptor[DESCRIPTOR_SIZE];
  putSegmentDescriptor(descriptor, length, code);
  stream.putchars(reinterpret_cast<char const*>(descriptor), DESCRIPTOR_SIZE);
}

[[noreturn]] void unexpectedCode() {
  throw IOException("Badly formed S370VS file (unexpected control code)");
}

}  // namespace

StreamedMvsRecordFormat::StreamedMvsRecordFormat(BaseRecordFile* file, char const* name,
                                                 BaseRecordFile::OpenOptions const& options)
    : RecordFormat(name, file, options),
      segmentCapacity_(
          std::min(std::max(bufferSize_ - DESCRIPTOR_SIZE, MIN_SEGMENT_CAPACITY), MAX_SEGMENT_CAPACITY)),
      segmentUsed_(0) {
  if (mode_ == RecordFile::UPDATE) throw IOException("Update mode not supported");
}

void StreamedMvsRecordFormat::flush() {
  stream_.flush();
}

bool StreamedMvsRecordFormat::eof() const {
  return stream_.atEnd();
}

void StreamedMvsRecordFormat::clearEof() {
  stream_.flush();
  stream_.reset();
}

int StreamedMvsRecordFormat::readBytes(char* buffer, int maxLength, int length) {
  if (maxLength < 0) VYK_FAIL("length>=0");
  int n = std::min(maxLength, length);
  // Also the part of the data that the caller does not take must be there: a cut record is a
  // damaged file, whatever the caller asked for.
  if (stream_.getchars(buffer, n) < n || stream_.skipchars(length - n) < length - n)
    throw IOException("End of file encountered in record or segment");
  return n;
}

int StreamedMvsRecordFormat::readS(char* buffer, int maxLength) {
  unsigned char descriptor[DESCRIPTOR_SIZE];
  int got = readDescriptor(stream_, descriptor);
  if (got == 0) return -1;
  if (got < DESCRIPTOR_SIZE) throw IOException("Incomplete segment descriptor word at end of file");
  int length = describedLength(descriptor);
  int code = segmentCode(descriptor);
  if (code != SEGMENT_COMPLETE && code != SEGMENT_FIRST) unexpectedCode();
  if (length < DESCRIPTOR_SIZE) throw IOException("Invalid segment descriptor word");
  int total = readBytes(buffer, maxLength, length - DESCRIPTOR_SIZE);
  while (code != SEGMENT_COMPLETE && code != SEGMENT_LAST) {
    got = readDescriptor(stream_, descriptor);
    if (got == 0) throw IOException("Incomplete spanned record encountered at end of file");
    if (got < DESCRIPTOR_SIZE) throw IOException("Incomplete segment descriptor word at end of file");
    length = describedLength(descriptor);
    code = segmentCode(descriptor);
    if (length < DESCRIPTOR_SIZE) throw IOException("Invalid segment descriptor word");
    // A complete record or a first segment here would mean that the record before it was never
    // finished: refuse rather than join two records into one.
    if (code != SEGMENT_MIDDLE && code != SEGMENT_LAST) unexpectedCode();
    total += readBytes(buffer + total, maxLength - total, length - DESCRIPTOR_SIZE);
  }
  return total;
}

RecfmS370VStreamed::RecfmS370VStreamed(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options)
    : StreamedMvsRecordFormat(file, "S370V", options) {}

int RecfmS370VStreamed::readrec(char* buffer, int maxLength) {
  if (eof()) return -1;
  unsigned char descriptor[DESCRIPTOR_SIZE];
  int got = readDescriptor(stream_, descriptor);
  if (got == 0) return -1;
  if (got < DESCRIPTOR_SIZE) throw IOException("Incomplete record descriptor word at end of file");
  int length = describedLength(descriptor);
  if (length < DESCRIPTOR_SIZE) throw IOException("Invalid S370 file");
  return readBytes(buffer, maxLength, length - DESCRIPTOR_SIZE);
}

void RecfmS370VStreamed::writerec(char const* record, int length, CarriageControlType) {
  if (length < 0) VYK_FAIL("length>=0");
  if (length > MAX_DESCRIBED_DATA) throw IOException("Record too long for a record descriptor word");
  writeDescriptor(stream_, length + DESCRIPTOR_SIZE, SEGMENT_COMPLETE);
  stream_.putchars(record, length);
}

RecfmS370VSStreamed::RecfmS370VSStreamed(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options)
    : StreamedMvsRecordFormat(file, "S370VS", options) {}

int RecfmS370VSStreamed::readrec(char* buffer, int maxLength) {
  if (eof()) return -1;
  return readS(buffer, maxLength);
}

void RecfmS370VSStreamed::writerec(char const* record, int length, CarriageControlType) {
  if (length < 0) VYK_FAIL("length>=0");
  bool first = true;
  int remaining = length;
  SegmentCut cut;
  while (true) {
    if (cutSegment(segmentCapacity_ - segmentUsed_, remaining, cut)) {
      writeDescriptor(stream_, cut.data + DESCRIPTOR_SIZE, codeFor(first, cut.last));
      stream_.putchars(record, cut.data);
      // The descriptor takes room in the imaginary block as it would in a real one.
      segmentUsed_ += cut.data + DESCRIPTOR_SIZE;
      record += cut.data;
      remaining -= cut.data;
      if (cut.last) return;
      first = false;
    }
    segmentUsed_ = 0;
  }
}

}  // namespace recfm
}  // namespace vyk
