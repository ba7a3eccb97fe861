// Terminated records in 1-, 2- and 4-byte code units: the block scan, the terminator rules, writing.
#include "vyk/util/RecfmV.h"

#include <algorithm>
#include <cstring>

#include "vyk/util/Assert.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace vyk {
namespace recfm {
namespace {

// The units that a record scan must stop at: every other unit is data and is copied in bulk.
// The first one added is the one that usually ends a record (lf_ for LF and ANY, cr_ for CR and CRLF,
// the zero unit for NUL); the others are rarer.
//
// For single bytes the search is memchr, and what each search learnt is kept while the block stays
// the same, so that the scan stays linear however many stop units a record holds: the first unit is
// searched towards the block's end, the others only up to the nearest stop known, and no range is
// searched twice for the same unit. forget() must be called whenever the block may have changed.
template <class CodeUnit, class ByteOrder>
class StopScanner {
 public:
  void add(CodeUnit unit) {
    units_[count_] = unit;
    ++count_;
    forget();
  }
  void forget() {
    for (int i = 0; i < count_; ++i) known_[i] = Known();
  }

  // The first whole unit in [from, to) that is a stop unit, or to; to - from is a whole number of
  // units, from only grows and to stays the same until forget().
  unsigned char* find(unsigned char* from, unsigned char* to) {
    if constexpr (sizeof(CodeUnit) == 1) {
      unsigned char* found = to;
      for (int i = 0; i < count_; ++i) {
        Known& k = known_[i];
        if (k.at != nullptr && k.at < from) {  // passed: nothing is known beyond it yet
          k.searchedTo = from;
          k.at = nullptr;
        }
        if (k.at == nullptr) {
          unsigned char* start = k.searchedTo != nullptr && k.searchedTo > from ? k.searchedTo : from;
          if (start < found) {
            void* hit =
                std::memchr(start, static_cast<unsigned char>(units_[i]), static_cast<size_t>(found - start));
            if (hit != nullptr) {
              k.at = static_cast<unsigned char*>(hit);
            } else {
              k.searchedTo = found;
            }
          }
        }
        if (k.at != nullptr && k.at < found) found = k.at;
      }
      return found;
    } else {
      for (; from != to; from += sizeof(CodeUnit)) {
        CodeUnit unit = ByteOrder::template load<CodeUnit>(from);
        for (int i = 0; i < count_; ++i) {
          if (unit == units_[i]) return from;
        }
      }
      return to;
    }
  }

 private:
  // The first occurrence found at or after the scan's position, or null with none in the bytes
  // before searchedTo (null: nothing searched yet).
  struct Known {
    unsigned char* at = nullptr;
    unsigned char* searchedTo = nullptr;
  };

  CodeUnit units_[4];
  Known known_[4];
  int count_ = 0;
};

// The unit that ends a record like the end of input, in the 4-byte instances only.
template <class CodeUnit>
bool isEndMarker(CodeUnit unit) {
  if constexpr (sizeof(CodeUnit) == 4) {
    return unit == static_cast<CodeUnit>(0xFFFFFFFFu);
  } else {
    (void)unit;
    return false;
  }
}

// Single-byte units, when readShortLine() leaves the record open: a record ended by lf_ (or cr_ lf_) that
// lies wholly inside the block, read in one pass. Under LF a record ends at the first lf_; under ANY also
// there, and when the byte before that lf_ is cr_ the pair is the terminator (every earlier cr_ is then not
// followed by lf_, so it is data); under CRLF at the first lf_ preceded by cr_, a lone lf_ being
// data. Returns the record's length, or -1 with nothing consumed when the unit-by-unit scan must
// decide: no terminator before the block's end, a 0x1A that may end the input, or line ends that
// coincide. The caller's buffer may then hold bytes of the record already; the scan rewrites it.
int readLineInBlock(FileStream& s, int termstr, bool stopAtCtrlZ, unsigned char cr, unsigned char lf,
                    char* buffer, int capacity) {
  if (cr == lf) return -1;
  unsigned char* const from = s.p_;
  unsigned char* const end = s.end_;
  // The bytes [from, at) hold no lf_ and stand in buffer already.
  unsigned char* at = from;
  unsigned char* found = nullptr;
#if defined(__SSE2__)
  // Search and copy 16 bytes at a time while they fit in the block and in the caller's buffer: one
  // pass over the record, and no copy whose length varies from record to record.
  __m128i const pattern = _mm_set1_epi8(static_cast<char>(lf));
  long const copyable = std::min(static_cast<long>(end - from), static_cast<long>(capacity));
  long i = 0;
  for (; copyable - i >= 16; i += 16) {
    __m128i const chunk = _mm_loadu_si128(reinterpret_cast<__m128i const*>(from + i));
    unsigned const mask = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(chunk, pattern)));
    if (mask != 0) {
      found = from + i + __builtin_ctz(mask);
      break;
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(buffer + i), chunk);
  }
  at = from + i;
#endif
  if (found == nullptr)
    found = static_cast<unsigned char*>(std::memchr(at, lf, static_cast<size_t>(end - at)));
  if (termstr == BaseRecordFile::TERMSTR_CRLF) {
    while (found != nullptr && !(found > from && found[-1] == cr)) {
      found = static_cast<unsigned char*>(std::memchr(found + 1, lf, static_cast<size_t>(end - (found + 1))));
    }
  }
  if (found == nullptr) return -1;
  unsigned char* last = found;  // one past the record's data
  if (termstr != BaseRecordFile::TERMSTR_LF && last > from && last[-1] == cr) --last;
  if (stopAtCtrlZ && std::memchr(from, 0x1A, static_cast<size_t>(last - from)) != nullptr) return -1;
  long const size = last - from;
  int length;
#if defined(__SSE2__)
  if (size >= 16 && size <= capacity && last - at <= 16) {
    // What is left lies in the last 16 bytes of the record: copy those, partly over bytes in place.
    _mm_storeu_si128(reinterpret_cast<__m128i*>(buffer + size - 16),
                     _mm_loadu_si128(reinterpret_cast<__m128i const*>(last - 16)));
    length = static_cast<int>(size);
  } else
#endif
  {
    length = static_cast<int>(std::min(size, static_cast<long>(capacity)));
    if (length > 0) std::memcpy(buffer, from, static_cast<size_t>(length));
  }
  s.p_ = found + 1;
  return length;
}

#if defined(__SSE2__)
// The commonest case of all, kept free of calls so that a read costs little more than its bytes: a
// record ended by lf_ (under ANY also by cr_ lf_) whose terminator lies in the whole 16-byte steps of
// the block that also fit in the caller's buffer. Returns the record's length, or -1 with nothing
// consumed (the buffer may hold some of the record's bytes then).
inline int readShortLine(FileStream& s, bool crlfToo, unsigned char cr, unsigned char lf, char* buffer,
                         int capacity) {
  unsigned char* const from = s.p_;
  long const copyable = std::min(static_cast<long>(s.end_ - from), static_cast<long>(capacity));
  __m128i const pattern = _mm_set1_epi8(static_cast<char>(lf));
  long i = 0;
  unsigned mask = 0;
  for (; copyable - i >= 16; i += 16) {
    __m128i const chunk = _mm_loadu_si128(reinterpret_cast<__m128i const*>(from + i));
    mask = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(chunk, pattern)));
    if (mask != 0) break;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(buffer + i), chunk);
  }
  if (mask == 0) return -1;
  unsigned char* const found = from + i + __builtin_ctz(mask);
  unsigned char* last = found;  // one past the record's data
  if (crlfToo && last > from && last[-1] == cr) --last;
  long const size = last - from;  // below i + 16, so what is not copied yet lies in the last 16 bytes
  if (size >= 16) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(buffer + size - 16),
                     _mm_loadu_si128(reinterpret_cast<__m128i const*>(last - 16)));
  } else if (size >= 8) {  // two copies that overlap, of fixed sizes
    std::memcpy(buffer, from, 8);
    std::memcpy(buffer + size - 8, last - 8, 8);
  } else if (size >= 4) {
    std::memcpy(buffer, from, 4);
    std::memcpy(buffer + size - 4, last - 4, 4);
  } else if (size > 0) {
    buffer[0] = static_cast<char>(from[0]);
    buffer[size / 2] = static_cast<char>(from[size / 2]);
    buffer[size - 1] = static_cast<char>(from[size - 1]);
  }
  s.p_ = found + 1;
  return static_cast<int>(size);
}
#endif

}  // namespace

template <class CodeUnit, class ByteOrder>
RecfmVBase<CodeUnit, ByteOrder>::RecfmVBase(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options)
    : StreamedRecordFormat("V", file, options),
      termstr_(options.termstr),
      stopAtCtrlZ_(options.stopAtCtrlZ),
      cr_(static_cast<CodeUnit>(0x0D)),
      lf_(static_cast<CodeUnit>(0x0A)),
      ff_(static_cast<CodeUnit>(0x0C)),
      padToLrecl_(options.padToLrecl) {}

template <class CodeUnit, class ByteOrder>
bool RecfmVBase<CodeUnit, ByteOrder>::attemptToChangeRecordLength(int length) {
  lrecl_ = length;
  return true;
}

template <class CodeUnit, class ByteOrder>
bool RecfmVBase<CodeUnit, ByteOrder>::takeUnit(CodeUnit& unit) {
  unsigned char bytes[UNIT_SIZE];
  if constexpr (UNIT_SIZE == 1) {
    if (!stream_.ensureByte()) return false;
    bytes[0] = *stream_.p_++;
  } else {
    // getchars gathers a unit that straddles blocks (also with blocks smaller than a unit) and is
    // short only at the end of the input.
    if (stream_.getchars(reinterpret_cast<char*>(bytes), UNIT_SIZE) < UNIT_SIZE) return false;
  }
  unit = ByteOrder::template load<CodeUnit>(bytes);
  return true;
}

template <class CodeUnit, class ByteOrder>
void RecfmVBase<CodeUnit, ByteOrder>::storeUnit(char* buffer, int& count, int capacity, CodeUnit unit) {
  if (capacity - count < UNIT_SIZE) return;  // no room: the unit is dropped, the record is cut
  ByteOrder::template store<CodeUnit>(unit, reinterpret_cast<unsigned char*>(buffer + count));
  count += UNIT_SIZE;
}

template <class CodeUnit, class ByteOrder>
int RecfmVBase<CodeUnit, ByteOrder>::readrec(char* buffer, int maxLength) {
#if defined(__SSE2__)
  if constexpr (UNIT_SIZE == 1) {
    if (maxLength >= 0 && !stopAtCtrlZ_ &&
        (termstr_ == BaseRecordFile::TERMSTR_LF || termstr_ == BaseRecordFile::TERMSTR_ANY) && cr_ != lf_) {
      markRecordStart();
      int const length =
          readShortLine(stream_, termstr_ == BaseRecordFile::TERMSTR_ANY, static_cast<unsigned char>(cr_),
                        static_cast<unsigned char>(lf_), buffer, maxLength);
      if (length >= 0) return length;
    }
  }
#endif
  return readRecord(buffer, maxLength);
}

template <class CodeUnit, class ByteOrder>
int RecfmVBase<CodeUnit, ByteOrder>::readRecord(char* buffer, int maxLength) {
  if (maxLength < 0) VYK_FAIL("length>=0");
  markRecordStart();
  if constexpr (UNIT_SIZE == 1) {
    if (termstr_ == BaseRecordFile::TERMSTR_LF || termstr_ == BaseRecordFile::TERMSTR_ANY ||
        termstr_ == BaseRecordFile::TERMSTR_CRLF) {
      // A used-up block is refilled first, as the scan below would, so that a record that starts a
      // block is read in one piece too.
      if (stream_.p_ == stream_.end_) stream_.ensureByte();
      int const length = readLineInBlock(stream_, termstr_, stopAtCtrlZ_, static_cast<unsigned char>(cr_),
                                         static_cast<unsigned char>(lf_), buffer, maxLength);
      if (length >= 0) return length;
    }
  }
  return readUnits(buffer, maxLength);
}

template <class CodeUnit, class ByteOrder>
int RecfmVBase<CodeUnit, ByteOrder>::readUnits(char* buffer, int maxLength) {
  bool const crMayEnd = termstr_ == BaseRecordFile::TERMSTR_CRLF || termstr_ == BaseRecordFile::TERMSTR_ANY;
  bool const lfEnds = termstr_ == BaseRecordFile::TERMSTR_LF || termstr_ == BaseRecordFile::TERMSTR_ANY;
  StopScanner<CodeUnit, ByteOrder> stops;
  if (termstr_ == BaseRecordFile::TERMSTR_NUL) stops.add(static_cast<CodeUnit>(0));
  if (lfEnds) stops.add(lf_);
  if (termstr_ == BaseRecordFile::TERMSTR_CR || crMayEnd) stops.add(cr_);
  if (stopAtCtrlZ_) stops.add(static_cast<CodeUnit>(0x1A));
  if (UNIT_SIZE == 4) stops.add(static_cast<CodeUnit>(0xFFFFFFFFu));

  int const capacity = maxLength - maxLength % UNIT_SIZE;  // whole units only
  int count = 0;
  bool nothingYet = true;
  FileStream& s = stream_;
  for (;;) {
    // Copy the data units up to the next stop unit or the end of the whole units in the block.
    unsigned char* wholeEnd = s.p_ + (s.end_ - s.p_) / UNIT_SIZE * UNIT_SIZE;
    unsigned char* stop = stops.find(s.p_, wholeEnd);
    if (stop != s.p_) {
      int k = std::min(static_cast<int>(stop - s.p_), capacity - count);
      if (k > 0) {
        std::memcpy(buffer + count, s.p_, static_cast<size_t>(k));
        count += k;
      }
      nothingYet = false;
      s.p_ = stop;
    }

    // Take one unit: the stop unit, or at the block's end the next unit across the boundary.
    CodeUnit c;
    if (stop != wholeEnd) {
      c = ByteOrder::template load<CodeUnit>(stop);
      s.p_ = stop + UNIT_SIZE;
    } else {
      stops.forget();  // a new block
      if (!takeUnit(c)) return nothingYet ? -1 : count;
    }

    // Decide on c. A look-ahead after cr_ that had to cross a block end hands its unit back here
    // instead of putting it back, since a unit that straddles two blocks cannot be put back.
    for (;;) {
      if (isEndMarker(c)) {
        if (!nothingYet) return count;
        markRecordStart();  // nothing read yet: the record begins after the marker
        break;
      }
      if (c == static_cast<CodeUnit>(0) && termstr_ == BaseRecordFile::TERMSTR_NUL) return count;
      if (c == cr_ && termstr_ == BaseRecordFile::TERMSTR_CR) return count;
      if (c == cr_ && crMayEnd) {
        // The terminator test comes before the room test: cr_ lf_ ends the record also when the
        // caller's buffer is full.
        if (s.end_ - s.p_ >= UNIT_SIZE) {
          if (ByteOrder::template load<CodeUnit>(s.p_) == lf_) {
            s.p_ += UNIT_SIZE;
            return count;
          }
          storeUnit(buffer, count, capacity, cr_);
          nothingYet = false;
          break;  // the unit after cr_ is scanned again from the block
        }
        CodeUnit next;
        stops.forget();  // a new block
        if (!takeUnit(next)) {
          storeUnit(buffer, count, capacity, cr_);  // a lone cr_ at the end is data
          return count;
        }
        if (next == lf_) return count;
        storeUnit(buffer, count, capacity, cr_);
        nothingYet = false;
        c = next;
        continue;
      }
      if (c == lf_ && lfEnds) return count;
      if (stopAtCtrlZ_ && c == static_cast<CodeUnit>(0x1A)) {
        // The end of the input: a record cut by it is returned, and nothing before it gives no
        // empty record, as at the physical end.
        logicalEof_ = true;
        return nothingYet ? -1 : count;
      }
      storeUnit(buffer, count, capacity, c);
      nothingYet = false;
      break;
    }
  }
}

template <class CodeUnit, class ByteOrder>
void RecfmVBase<CodeUnit, ByteOrder>::putch(CodeUnit unit) {
  if constexpr (UNIT_SIZE == 1) {
    stream_.putch(static_cast<unsigned char>(unit));
  } else {
    unsigned char bytes[UNIT_SIZE];
    ByteOrder::template store<CodeUnit>(unit, bytes);
    stream_.putchars(reinterpret_cast<char const*>(bytes), UNIT_SIZE);
  }
}

template <class CodeUnit, class ByteOrder>
void RecfmVBase<CodeUnit, ByteOrder>::writeTermstr() {
  switch (termstr_) {
    case BaseRecordFile::TERMSTR_NUL:
      putch(static_cast<CodeUnit>(0));
      break;
    case BaseRecordFile::TERMSTR_CR:
      putch(cr_);
      break;
    case BaseRecordFile::TERMSTR_CRLF:
      putch(cr_);
      putch(lf_);
      break;
    case BaseRecordFile::TERMSTR_LF:
    case BaseRecordFile::TERMSTR_ANY:
      putch(lf_);
      break;
    default:
      break;  // no terminator
  }
}

template <class CodeUnit, class ByteOrder>
void RecfmVBase<CodeUnit, ByteOrder>::writerec(char const* record, int length, CarriageControlType control) {
  if (length < 0) VYK_FAIL("length>=0");
  positionForWrite();
  switch (control) {
    case CC_NEW_PAGE:
      putch(ff_);
      break;
    case CC_DOUBLE:
      writeTermstr();
      break;
    case CC_TRIPLE:
      writeTermstr();
      writeTermstr();
      break;
    default:
      break;
  }
  // At most lrecl_ bytes, in whole units, so that the terminator stays on a unit boundary.
  int n = std::max(0, std::min(lrecl_, length));
  n -= n % UNIT_SIZE;
  stream_.putchars(record, n);
  if (padToLrecl_ && n < lrecl_) {
    int blanks = (lrecl_ - n) / UNIT_SIZE;
    if constexpr (UNIT_SIZE == 1) {
      stream_.fillchars(blanks, 0x20);
    } else {
      for (int i = 0; i < blanks; ++i) putch(static_cast<CodeUnit>(0x20));
    }
  }
  writeTermstr();
}

template class RecfmVBase<char, ByteOrderInapplicable>;
template class RecfmVBase<unsigned short, ByteOrderLE>;
template class RecfmVBase<unsigned short, ByteOrderBE>;
template class RecfmVBase<unsigned int, ByteOrderLE>;
template class RecfmVBase<unsigned int, ByteOrderBE>;

RecfmP::RecfmP(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options)
    : RecfmVBase<char, ByteOrderInapplicable>(file, options) {}

bool RecfmP::isPrintFile() const {
  return true;
}

}  // namespace recfm
}  // namespace vyk
