// Variable, blocked and spanned records with the block, record and segment descriptor words of S370.
#ifndef VYK_UTIL_MVSRECORDFORMAT_H
#define VYK_UTIL_MVSRECORDFORMAT_H

#include "vyk/util/Export.h"
#include "vyk/util/RecordFormat.h"

namespace vyk {
namespace recfm {

// Layout on the device, all numbers big-endian, every descriptor 4 bytes:
//   block descriptor   2-byte length (top bit 0) and 2 zero bytes, or, for blocks above 32760
//                      bytes, top bit 1 and a 31-bit length; the length counts the descriptor.
//   record descriptor  2-byte length counting the descriptor, 2 bytes zero.
//   segment descriptor 2-byte length counting the descriptor, a control code (0 complete record,
//                      1 first, 2 last, 3 middle segment of a spanned record), 1 byte zero.
// Record and segment lengths are 16 bits, so a record or segment holds at most 65531 data bytes.
//
// All six formats are sequential: no notes (tell() answers false), no change of the record length,
// no UPDATE mode (the constructors throw IOException "Update mode not supported"), and the carriage
// control of a write is ignored. Malformed input throws IOException with the texts below; after it
// the format stands where the fault was seen. Not safe for use from two threads at once.

// The formats with block descriptors. They assemble or take apart one whole block in a second
// memory (at least 256 bytes, else bufferSize; it grows on reading to the largest block seen).
// Reading throws "Incomplete block descriptor word" (1 to 3 bytes at the end), "Invalid block
// descriptor word" (short form with non-zero bytes 2 and 3, or a length below 4), "Incomplete block"
// (the input ends inside a block), "Invalid S370 file" (a descriptor, record or segment runs past
// its block, a record length below 4, the input ends inside a spanned record), "Invalid segment
// descriptor word" (a segment length below 4) and "Badly formed S370VS file (unexpected control
// code)" (a record that starts with a code other than 0 or 1, or a continuation that is not a middle
// or last segment).
//
// In the writing modes the open block reaches the device only through flush(), which record files
// call from their destructors.
class VYK_EXPORT BlockedMvsRecordFormat : public RecordFormat {
 public:
  BlockedMvsRecordFormat(BaseRecordFile* file, char const* name, BaseRecordFile::OpenOptions const& options);
  ~BlockedMvsRecordFormat() override;

  // Closes the open block, if it holds anything, and hands the bytes to the device. Nothing in READ.
  void flush() override;
  bool eof() const override;
  // Clears the end of input and forgets the FileStream's block (after handing over pending bytes);
  // the block memory is left alone, so a reader goes on with the rest of the block it stood in.
  void clearEof() override;

 protected:
  // Reads the next block into the block memory; false at a clean end of the input.
  bool readBlock();
  // Stores the block descriptor in front of the bytes assembled so far and hands the block to the
  // FileStream; the next block starts empty.
  void writeBlock();
  // Copy length bytes out of or into the block at the cursor; "Invalid S370 file" when fewer than
  // length bytes remain before the block's end.
  void readBytes(char* buffer, int length);
  void writeBytes(char const* record, int length);
  // Stores a record descriptor and the record (padded with blanks up to lrecl_ when padToLrecl_
  // asks for it) in the open block; "Invalid S370 file", with nothing stored, when it does not fit.
  void writeV(char const* record, int length);
  // Reads one record descriptor and its data from the block; at most maxLength bytes are copied,
  // the rest of the record is passed over.
  int readV(char* buffer, int maxLength);
  // Reads a record of segments that starts at the cursor, taking further blocks for its
  // continuations; at most maxLength bytes are copied and the whole record is consumed.
  int readS(char* buffer, int maxLength);
  // Cuts a record into segments that fill the open block and as many further blocks as it needs;
  // the block holding the last segment stays open.
  void writeSpanned(char const* record, int length);
  // The bytes a record takes in the file without its descriptor: length, or lrecl_ when the record
  // is padded.
  long long storedLength(int length) const;
  // True when a record of stored bytes can be described and fits room bytes with its descriptor.
  static bool recordFits(long long stored, long long room);
  // Room for descriptors and data in a block that holds nothing yet.
  long long emptyBlockRoom() const { return blockEnd_ - (block_ + 4); }
  // True when the open block holds nothing behind its descriptor.
  bool blockIsEmpty() const { return blockPos_ == block_ + 4; }

  int blockSize_;
  unsigned char* block_;
  unsigned char* blockPos_;
  unsigned char* blockEnd_;
  bool atEof_;
  bool padToLrecl_;

 private:
  // The cursor's bytes after checking that length bytes remain; moves the cursor past them.
  unsigned char const* take(int length);
  // Copies the smaller of length and room bytes of a segment or record, passes over the rest.
  int copyData(char* buffer, int room, int length);
  void growBlock(long long size);
};

// The formats without blocks: record or segment descriptors straight on the FileStream.
// Reading throws "Invalid S370 file" (a record length below 4), "Invalid segment descriptor word",
// "Badly formed S370VS file (unexpected control code)", "Incomplete record descriptor word at end of
// file", "Incomplete segment descriptor word at end of file", "Incomplete spanned record encountered
// at end of file" and "End of file encountered in record or segment" (the data of a record or
// segment is cut off, also where the caller asked for less than all of it).
class VYK_EXPORT StreamedMvsRecordFormat : public RecordFormat {
 public:
  StreamedMvsRecordFormat(BaseRecordFile* file, char const* name, BaseRecordFile::OpenOptions const& options);

  void flush() override;
  bool eof() const override;
  void clearEof() override;

 protected:
  // Reads a record or segment of length data bytes: copies at most maxLength of them and passes
  // over the rest; returns the count copied.
  int readBytes(char* buffer, int maxLength, int length);
  // Reads a record of segments; -1 at a clean end of the input.
  int readS(char* buffer, int maxLength);

  // Size of the blocks that the spanned writer cuts records for, descriptors included: bufferSize
  // - 4, at least 252 (the smallest block of the blocked formats) and at most 65535 (the largest
  // segment).
  int segmentCapacity_;
  // Bytes of the present imaginary block already used by segments, descriptors included.
  int segmentUsed_;
};

// One record per block. A record longer than the block memory minus 8 bytes throws "Invalid S370
// file" and writes nothing. On reading, whatever follows the first record of a block is dropped.
class VYK_EXPORT RecfmS370V : public BlockedMvsRecordFormat {
 public:
  RecfmS370V(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options);
  int readrec(char* buffer, int maxLength) override;
  void writerec(char const* record, int length, CarriageControlType control) override;
};

// Several records per block; a block is closed when the next record (as padded) does not fit it.
// A record that does not fit an empty block throws "Invalid S370 file" and leaves the open block as
// it was.
class VYK_EXPORT RecfmS370VB : public BlockedMvsRecordFormat {
 public:
  RecfmS370VB(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options);
  int readrec(char* buffer, int maxLength) override;
  void writerec(char const* record, int length, CarriageControlType control) override;
};

// Spanned records of any length, each starting a block of its own: its segments fill blocks, and
// the block of its last segment is closed after it. An empty record is a segment of length 4.
class VYK_EXPORT RecfmS370VS : public BlockedMvsRecordFormat {
 public:
  RecfmS370VS(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options);
  int readrec(char* buffer, int maxLength) override;
  void writerec(char const* record, int length, CarriageControlType control) override;
};

// Spanned records of any length filling blocks to the brim: a record starts in the open block and
// its last segment leaves the block open for the next record. A block is closed early only when it
// has no room for a segment with data (4 bytes or fewer), so no segment is ever empty unless its
// record is.
class VYK_EXPORT RecfmS370VBS : public BlockedMvsRecordFormat {
 public:
  RecfmS370VBS(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options);
  int readrec(char* buffer, int maxLength) override;
  void writerec(char const* record, int length, CarriageControlType control) override;
};

// Each record behind its record descriptor. No blocks, no padding; a record above 65531 bytes
// cannot be described and throws IOException "Record too long for a record descriptor word".
class VYK_EXPORT RecfmS370VStreamed : public StreamedMvsRecordFormat {
 public:
  RecfmS370VStreamed(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options);
  int readrec(char* buffer, int maxLength) override;
  void writerec(char const* record, int length, CarriageControlType control) override;
};

// Records of any length cut into segments as RecfmS370VBS would cut them into blocks of
// segmentCapacity_ + 4 bytes, without writing the block descriptors: the bytes equal such a file
// with its block descriptors taken out. An empty record is a segment of length 4.
class VYK_EXPORT RecfmS370VSStreamed : public StreamedMvsRecordFormat {
 public:
  RecfmS370VSStreamed(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options);
  int readrec(char* buffer, int maxLength) override;
  void writerec(char const* record, int length, CarriageControlType control) override;
};

}  // namespace recfm
}  // namespace vyk

#endif
