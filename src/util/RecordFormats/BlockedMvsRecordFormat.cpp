// The S370 formats with block descriptors: V, VB, VS and VBS.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "src/util/RecordFormats/MvsDescriptors.h"
#include "vyk/util/Assert.h"
#include "vyk/util/Exception.h"
#include "vyk/util/MvsRecordFormat.h"

namespace vyk {
namespace recfm {

using namespace mvs_detail;

namespace {

constexpr int MIN_BLOCK_MEMORY = 256;

[[noreturn]] void invalidFile() {
  throw IOException("Invalid S370 file");
}

}  // namespace

BlockedMvsRecordFormat::BlockedMvsRecordFormat(BaseRecordFile* file, char const* name,
                                               BaseRecordFile::OpenOptions const& options)
    : RecordFormat(name, file, options),
      blockSize_(std::max(bufferSize_, MIN_BLOCK_MEMORY)),
      block_(nullptr),
      blockPos_(nullptr),
      blockEnd_(nullptr),
      atEof_(false),
      padToLrecl_(options.padToLrecl) {
  if (mode_ == RecordFile::UPDATE) throw IOException("Update mode not supported");
  block_ = static_cast<unsigned char*>(checkedMalloc(static_cast<unsigned long>(blockSize_)));
  blockEnd_ = block_ + blockSize_;
  blockPos_ = mode_ == RecordFile::READ ? blockEnd_ : block_ + DESCRIPTOR_SIZE;
}

BlockedMvsRecordFormat::~BlockedMvsRecordFormat() {
  std::free(block_);
}

void BlockedMvsRecordFormat::flush() {
  if (mode_ == RecordFile::READ) return;
  if (!blockIsEmpty()) writeBlock();
  stream_.flush();
}

bool BlockedMvsRecordFormat::eof() const {
  return atEof_;
}

void BlockedMvsRecordFormat::clearEof() {
  atEof_ = false;
  stream_.flush();
  stream_.reset();
}

void BlockedMvsRecordFormat::growBlock(long long size) {
  void* grown = std::realloc(block_, static_cast<size_t>(size));
  if (grown == nullptr) throw std::bad_alloc();
  block_ = static_cast<unsigned char*>(grown);
  blockSize_ = static_cast<int>(size);
}

bool BlockedMvsRecordFormat::readBlock() {
  // Until a whole block stands in memory there is nothing to read from it.
  blockPos_ = blockEnd_ = block_;
  int got = stream_.getchars(reinterpret_cast<char*>(block_), DESCRIPTOR_SIZE);
  if (got == 0) {
    atEof_ = true;
    return false;
  }
  if (got < DESCRIPTOR_SIZE) throw IOException("Incomplete block descriptor word");
  long long length = blockDescriptorLength(block_);
  if (length < DESCRIPTOR_SIZE) throw IOException("Invalid block descriptor word");
  // The memory grows as the bytes arrive, not to the stated length at once: a damaged descriptor
  // that announces a huge block costs no more memory than the input really holds.
  long long have = DESCRIPTOR_SIZE;
  while (have < length) {
    if (have == blockSize_) growBlock(std::min(length, 2LL * blockSize_));
    int want = static_cast<int>(std::min<long long>(length, blockSize_) - have);
    int n = stream_.getchars(reinterpret_cast<char*>(block_ + have), want);
    have += n;
    if (n < want) throw IOException("Incomplete block");
  }
  blockPos_ = block_ + DESCRIPTOR_SIZE;
  blockEnd_ = block_ + length;
  return true;
}

void BlockedMvsRecordFormat::writeBlock() {
  int length = static_cast<int>(blockPos_ - block_);
  putBlockDescriptor(block_, length);
  stream_.putchars(reinterpret_cast<char const*>(block_), length);
  blockPos_ = block_ + DESCRIPTOR_SIZE;
}

unsigned char const* BlockedMvsRecordFormat::take(int length) {
  if (length > blockEnd_ - blockPos_) invalidFile();
  unsigned char const* at = blockPos_;
  blockPos_ += length;
  return at;
}

void BlockedMvsRecordFormat::readBytes(char* buffer, int length) {
  std::memcpy(buffer, take(length), static_cast<size_t>(length));
}

void BlockedMvsRecordFormat::writeBytes(char const* record, int length) {
  if (length > blockEnd_ - blockPos_) invalidFile();
  std::memcpy(blockPos_, record, static_cast<size_t>(length));
  blockPos_ += length;
}

int BlockedMvsRecordFormat::copyData(char* buffer, int room, int length) {
  unsigned char const* data = take(length);
  int n = std::min(room, length);
  std::memcpy(buffer, data, static_cast<size_t>(n));
  return n;
}

long long BlockedMvsRecordFormat::storedLength(int length) const {
  if (length < 0) VYK_FAIL("length>=0");
  return padToLrecl_ && length < lrecl_ ? lrecl_ : length;
}

bool BlockedMvsRecordFormat::recordFits(long long stored, long long room) {
  return stored <= MAX_DESCRIBED_DATA && stored + DESCRIPTOR_SIZE <= room;
}

void BlockedMvsRecordFormat::writeV(char const* record, int length) {
  long long stored = storedLength(length);
  // The whole record with its padding is tested before a byte is stored, so that a refused record
  // leaves no descriptor behind.
  if (!recordFits(stored, blockEnd_ - blockPos_)) invalidFile();
  putSegmentDescriptor(blockPos_, static_cast<int>(stored) + DESCRIPTOR_SIZE, SEGMENT_COMPLETE);
  blockPos_ += DESCRIPTOR_SIZE;
  writeBytes(record, length);
  int padding = static_cast<int>(stored - length);
  std::memset(blockPos_, 0x20, static_cast<size_t>(padding));
  blockPos_ += padding;
}

int BlockedMvsRecordFormat::readV(char* buffer, int maxLength) {
  if (maxLength < 0) VYK_FAIL("length>=0");
  int length = describedLength(take(DESCRIPTOR_SIZE));
  if (length < DESCRIPTOR_SIZE) invalidFile();
  return copyData(buffer, maxLength, length - DESCRIPTOR_SIZE);
}

int BlockedMvsRecordFormat::readS(char* buffer, int maxLength) {
  if (maxLength < 0) VYK_FAIL("length>=0");
  unsigned char const* descriptor = take(DESCRIPTOR_SIZE);
  int length = describedLength(descriptor);
  int code = segmentCode(descriptor);
  if (code != SEGMENT_COMPLETE && code != SEGMENT_FIRST)
    throw IOException("Badly formed S370VS file (unexpected control code)");
  if (length < DESCRIPTOR_SIZE) throw IOException("Invalid segment descriptor word");
  int total = copyData(buffer, maxLength, length - DESCRIPTOR_SIZE);
  while (code != SEGMENT_COMPLETE && code != SEGMENT_LAST) {
    // A continuation stands at the start of the next block.
    if (!readBlock()) invalidFile();
    descriptor = take(DESCRIPTOR_SIZE);
    length = describedLength(descriptor);
    code = segmentCode(descriptor);
    if (length < DESCRIPTOR_SIZE) throw IOException("Invalid segment descriptor word");
    // A complete record or a first segment here would mean that the record before it was never
    // finished: refuse rather than join two records into one.
    if (code != SEGMENT_MIDDLE && code != SEGMENT_LAST)
      throw IOException("Badly formed S370VS file (unexpected control code)");
    total += copyData(buffer + total, maxLength - total, length - DESCRIPTOR_SIZE);
  }
  return total;
}

void BlockedMvsRecordFormat::writeSpanned(char const* record, int length) {
  if (length < 0) VYK_FAIL("length>=0");
  bool first = true;
  int remaining = length;
  SegmentCut cut;
  while (true) {
    if (cutSegment(blockEnd_ - blockPos_, remaining, cut)) {
      putSegmentDescriptor(blockPos_, cut.data + DESCRIPTOR_SIZE, codeFor(first, cut.last));
      blockPos_ += DESCRIPTOR_SIZE;
      writeBytes(record, cut.data);
      record += cut.data;
      remaining -= cut.data;
      if (cut.last) return;
      first = false;
    }
    writeBlock();
  }
}

namespace {
// Misuse of a format opened for reading: writing would overwrite the block being read.
void requireWriting(RecordFile::OpenMode mode) {
  if (mode == RecordFile::READ) VYK_FAIL("Unsupported");
}
}  // namespace

RecfmS370V::RecfmS370V(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options)
    : BlockedMvsRecordFormat(file, "S370V", options) {}

int RecfmS370V::readrec(char* buffer, int maxLength) {
  if (!stream_.readAllowed() || !readBlock()) {
    atEof_ = true;
    return -1;
  }
  return readV(buffer, maxLength);
}

void RecfmS370V::writerec(char const* record, int length, CarriageControlType) {
  requireWriting(mode_);
  writeV(record, length);
  writeBlock();
}

RecfmS370VB::RecfmS370VB(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options)
    : BlockedMvsRecordFormat(file, "S370VB", options) {}

int RecfmS370VB::readrec(char* buffer, int maxLength) {
  if (!stream_.readAllowed() || (blockPos_ == blockEnd_ && !readBlock())) {
    atEof_ = true;
    return -1;
  }
  return readV(buffer, maxLength);
}

void RecfmS370VB::writerec(char const* record, int length, CarriageControlType) {
  requireWriting(mode_);
  long long stored = storedLength(length);
  // A record that cannot fit even an empty block is refused by writeV before the open block is
  // closed, so a failed write changes nothing and never leaves an empty block behind.
  if (!recordFits(stored, blockEnd_ - blockPos_) && recordFits(stored, emptyBlockRoom())) writeBlock();
  writeV(record, length);
}

RecfmS370VS::RecfmS370VS(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options)
    : BlockedMvsRecordFormat(file, "S370VS", options) {}

int RecfmS370VS::readrec(char* buffer, int maxLength) {
  if (!stream_.readAllowed() || !readBlock()) {
    atEof_ = true;
    return -1;
  }
  return readS(buffer, maxLength);
}

void RecfmS370VS::writerec(char const* record, int length, CarriageControlType) {
  requireWriting(mode_);
  if (!blockIsEmpty()) writeBlock();
  writeSpanned(record, length);
  writeBlock();
}

RecfmS370VBS::RecfmS370VBS(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options)
    : BlockedMvsRecordFormat(file, "S370VBS", options) {}

int RecfmS370VBS::readrec(char* buffer, int maxLength) {
  if (!stream_.readAllowed() || (blockPos_ == blockEnd_ && !readBlock())) {
    atEof_ = true;
    return -1;
  }
  return readS(buffer, maxLength);
}

void RecfmS370VBS::writerec(char const* record, int length, CarriageControlType) {
  requireWriting(mode_);
  writeSpanned(record, length);
}

}  // namespace recfm
}  // namespace vyk
