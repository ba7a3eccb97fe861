// Converters between iconv's encodings: computed tables for single-byte pairs, the library's Unicode
// converters for UTF-8 and UTF-16, iconv for the rest.
#include "vyk/enc/IconvConverterFactory.h"

#include <cerrno>
#include <mutex>
#include <string>
#include <vector>

#include "IconvSupport.h"
#include "vyk/enc/UnicodeCharConverter.h"
#include "vyk/util/Exception.h"
#include "vyk/util/TrantabTable.h"

namespace vyk {

using enc_detail::convertWhole;
using enc_detail::IconvHandle;
using enc_detail::PROBE_FORM;
using enc_detail::WholeResult;

namespace {

// Holds the table, so that it is built before the converter that points to it.
struct TableHolder {
  TrantabTable ownedTable_;
};

// A table converter that owns its table.
class OwningTrantabCharConverter : private TableHolder, public TrantabCharConverter {
 public:
  using CharConverter::convert;
  OwningTrantabCharConverter(TrantabTable const& table, ErrorHandler const* handler)
      : TableHolder{table}, TrantabCharConverter(&ownedTable_, handler) {}
};

// A table converter for a pair where some source bytes have no good target: it converts up to the
// first such byte and stops there with that byte's code.
class CheckedTrantabCharConverter : public OwningTrantabCharConverter {
 public:
  using CharConverter::convert;
  CheckedTrantabCharConverter(TrantabTable const& table, std::vector<ErrorCode> const& codes,
                              ErrorHandler const* handler)
      : OwningTrantabCharConverter(table, handler), codes_(codes) {}

  void convert(char const** source, char const* sourceEnd, char** target, char const* targetEnd, bool atStart,
               bool atEnd, ErrorCode& code, bool reservedFlag) const override {
    std::size_t const room = static_cast<std::size_t>(targetEnd - *target);
    std::size_t const available = static_cast<std::size_t>(sourceEnd - *source);
    std::size_t const n = available < room ? available : room;
    for (std::size_t i = 0; i < n; ++i) {
      ErrorCode const byteCode = codes_[static_cast<unsigned char>((*source)[i])];
      if (byteCode == Ok) continue;
      TrantabCharConverter::convert(source, *source + i, target, targetEnd, atStart, atEnd, code,
                                    reservedFlag);
      code = byteCode;
      return;
    }
    TrantabCharConverter::convert(source, sourceEnd, target, targetEnd, atStart, atEnd, code, reservedFlag);
  }

 private:
  std::vector<ErrorCode> codes_;  // per source byte: Ok, Invalid or Unmappable
};

// Converts through iconv. iconv descriptors carry state, so each call takes one from a pool (or opens
// one), starts it from the initial state and gives it back: threads never share a descriptor.
class IconvCharConverter : public CharConverter {
 public:
  using CharConverter::convert;

  IconvCharConverter(CharEncoding const* from, CharEncoding const* to, ErrorHandler const* handler)
      : CharConverter(handler), from_(from), to_(to) {
    release(open());  // fails here, not at the first conversion, if iconv refuses the pair
  }
  ~IconvCharConverter() override {
    for (Descriptors& d : idle_) close(d);
  }

  void convert(char const** source, char const* sourceEnd, char** target, char const* targetEnd, bool,
               bool atEnd, ErrorCode& code, bool) const override {
    Descriptors d = acquire();
    iconv(d.convert, nullptr, nullptr, nullptr, nullptr);
    char* in = const_cast<char*>(*source);  // iconv's signature; it only reads the input
    std::size_t inLeft = static_cast<std::size_t>(sourceEnd - *source);
    char* out = *target;
    std::size_t outLeft = static_cast<std::size_t>(targetEnd - *target);
    std::size_t const r = inLeft == 0 ? 0 : iconv(d.convert, &in, &inLeft, &out, &outLeft);
    int const error = errno;
    if (r != static_cast<std::size_t>(-1)) {
      code = Ok;
      // Close a shift state of the target; what does not fit is an overflow with nothing left.
      if (atEnd && iconv(d.convert, nullptr, nullptr, &out, &outLeft) == static_cast<std::size_t>(-1)) {
        code = Overflow;
      }
    } else if (error == E2BIG) {
      code = Overflow;
    } else if (error == EINVAL) {
      code = atEnd ? Invalid : Ok;  // an incomplete last character waits for more source
    } else {
      code = isMalformed(d, in, inLeft) ? Invalid : Unmappable;
    }
    *source = in;
    *target = out;
    release(d);
  }

  unsigned long maxRequiredOutputBufferLength(unsigned long sourceLength) const override {
    // Every source character is at least one byte; a shift state may add a closing sequence.
    return sourceLength * static_cast<unsigned long>(maxTargetBytesPerChar()) + 16;
  }
  int maxSourceBytesPerChar() const override { return from_->getMaxBytesPerChar(); }
  int maxTargetBytesPerChar() const override { return to_->getMaxBytesPerChar(); }

 private:
  struct Descriptors {
    iconv_t convert;  // from_ to to_
    iconv_t decode;   // from_ to the probe form, to tell malformed source from unmappable
  };

  Descriptors open() const {
    Descriptors d;
    d.convert = iconv_open(to_->getIconvName(), from_->getIconvName());
    d.decode = iconv_open(PROBE_FORM, from_->getIconvName());
    if (d.convert == reinterpret_cast<iconv_t>(-1) || d.decode == reinterpret_cast<iconv_t>(-1)) {
      close(d);
      throw SystemException("iconv cannot convert", std::string(from_->getName()) + " to " + to_->getName());
    }
    return d;
  }
  static void close(Descriptors& d) {
    if (d.convert != reinterpret_cast<iconv_t>(-1)) iconv_close(d.convert);
    if (d.decode != reinterpret_cast<iconv_t>(-1)) iconv_close(d.decode);
  }
  Descriptors acquire() const {
    {
      std::lock_guard<std::mutex> guard(lock_);
      if (!idle_.empty()) {
        Descriptors d = idle_.back();
        idle_.pop_back();
        return d;
      }
    }
    return open();
  }
  void release(Descriptors d) const {
    std::lock_guard<std::mutex> guard(lock_);
    idle_.push_back(d);
  }

  // True when the first character at in does not decode in the source encoding.
  bool isMalformed(Descriptors const& d, char* in, std::size_t inLeft) const {
    iconv(d.decode, nullptr, nullptr, nullptr, nullptr);
    std::size_t charLeft =
        inLeft < static_cast<std::size_t>(maxSourceBytesPerChar()) ? inLeft : maxSourceBytesPerChar();
    char decoded[64];
    char* out = decoded;
    std::size_t outLeft = sizeof decoded;
    std::size_t const r = iconv(d.decode, &in, &charLeft, &out, &outLeft);
    // One character decoded, or the bytes were taken whole: well-formed.
    return out == decoded && r == static_cast<std::size_t>(-1);
  }

  CharEncoding const* from_;
  CharEncoding const* to_;
  mutable std::mutex lock_;
  mutable std::vector<Descriptors> idle_;
};

bool isIdentityTable(TrantabTable const& table) {
  for (int b = 0; b < TrantabTable::SIZE; ++b) {
    if (table[static_cast<unsigned char>(b)] != b) return false;
  }
  return true;
}

// The converter for two single-byte encodings: each byte converted alone through iconv.
IntrusivePointer<CharConverter> singleByteConverter(CharEncoding const* from, CharEncoding const* to,
                                                    CharConverter::ErrorHandler const* handler) {
  IconvHandle const convert(to->getIconvName(), from->getIconvName());
  IconvHandle const decode(PROBE_FORM, from->getIconvName());
  if (!convert.isOpen() || !decode.isOpen()) {
    throw SystemException("iconv cannot convert", std::string(from->getName()) + " to " + to->getName());
  }
  char bytes[TrantabTable::SIZE] = {};
  std::vector<CharConverter::ErrorCode> codes(TrantabTable::SIZE, CharConverter::Ok);
  bool complete = true;
  for (int b = 0; b < TrantabTable::SIZE; ++b) {
    std::string const in(1, static_cast<char>(b));
    std::string out;
    if (convertWhole(convert, in, out) == WholeResult::Ok && out.size() == 1) {
      bytes[b] = out[0];
      continue;
    }
    std::string decoded;
    codes[b] = convertWhole(decode, in, decoded) == WholeResult::Ok ? CharConverter::Unmappable
                                                                    : CharConverter::Invalid;
    complete = false;
  }
  TrantabTable const table(bytes);
  if (!complete)
    return IntrusivePointer<CharConverter>(new CheckedTrantabCharConverter(table, codes, handler));
  if (isIdentityTable(table)) return SingleByteCharConverter::identity(handler);
  return IntrusivePointer<CharConverter>(new OwningTrantabCharConverter(table, handler));
}

}  // namespace

IconvConverterFactory::IconvConverterFactory(CharConverter::ErrorHandler const* handler)
    : handler_(handler) {}

IconvConverterFactory::~IconvConverterFactory() {}

IntrusivePointer<CharConverter> IconvConverterFactory::create(CharEncoding const* from,
                                                              CharEncoding const* to) const {
  if (from == nullptr || to == nullptr) throw InvalidArgumentException("Null encoding");
  if (from == to) return SingleByteCharConverter::identity(handler_);
  if (from->isSingleByte() && to->isSingleByte()) return singleByteConverter(from, to, handler_);
  // UTF-8 and UTF-16 go through the library's own Unicode converters where both sides have one.
  IntrusivePointer<UnicodeConverter> const fromUnicode = UnicodeCharConverter::unicodeConverterFor(from);
  IntrusivePointer<UnicodeConverter> const toUnicode =
      fromUnicode ? UnicodeCharConverter::unicodeConverterFor(to) : IntrusivePointer<UnicodeConverter>();
  if (fromUnicode && toUnicode) {
    return IntrusivePointer<CharConverter>(new UnicodeCharConverter(
        fromUnicode, toUnicode, from->getMaxBytesPerChar(), to->getMaxBytesPerChar(), handler_));
  }
  return IntrusivePointer<CharConverter>(new IconvCharConverter(from, to, handler_));
}

IconvConverterFactory const* IconvConverterFactory::instance() {
  static IconvConverterFactory const factory;
  return &factory;
}

}  // namespace vyk
