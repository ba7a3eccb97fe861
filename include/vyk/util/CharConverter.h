// Byte-to-byte character conversion: the converter contract, its error handlers and the converters
// that work through a table of 256 bytes.
#ifndef VYK_UTIL_CHARCONVERTER_H
#define VYK_UTIL_CHARCONVERTER_H

#include <atomic>
#include <cstdint>
#include <exception>

#include "vyk/util/Export.h"
#include "vyk/util/RefCounted.h"
#include "vyk/util/TrantabTable.h"

namespace vyk {

// Converts bytes in one encoding into bytes in another. Converters are shared through
// IntrusivePointer<CharConverter>; their count is atomic and they do not change while converting, so
// one converter may serve several threads at once.
//
//   IntrusivePointer<CharConverter> c = SingleByteCharConverter::iso88591ToOpenEd1047();
//   unsigned long n = c->convert(text, textLength, out, outLength);  // throws OverflowError if short
class VYK_EXPORT CharConverter : public RefCounted<std::atomic<unsigned int>> {
 public:
  // The outcome of one call of the virtual convert. Same values as the Unicode converters' codes.
  enum ErrorCode : std::int32_t {
    Ok = 0,          // the whole source was consumed
    Invalid = 1,     // the source holds a sequence that is malformed in the source encoding
    Unmappable = 2,  // a well-formed source character has no counterpart in the target encoding
    Overflow = 3     // the target ran out of room; source remains
  };

  // What the non-virtual wrappers do with a code other than Ok. An operation either throws or
  // returns; when it returns, the wrapper keeps what was converted so far and drops the rest of the
  // source. A handler is never owned by a converter and must outlive every converter using it.
  class VYK_EXPORT ErrorHandler {
   public:
    virtual ~ErrorHandler();
    virtual void onOverflow() const = 0;
    virtual void onInvalid() const = 0;
    virtual void onUnmappable() const = 0;
  };

  // The converter failures thrown by the default handler. They carry nothing but their type and are
  // not part of the vyk::Exception tree.
  class VYK_EXPORT Exception : public std::exception {};
  class VYK_EXPORT OverflowError : public Exception {
   public:
    char const* what() const noexcept override;  // "CharConverter::Overflow"
  };
  class VYK_EXPORT InvalidError : public Exception {
   public:
    char const* what() const noexcept override;  // "CharConverter::Invalid"
  };
  class VYK_EXPORT UnmappableError : public Exception {
   public:
    char const* what() const noexcept override;  // "CharConverter::Unmappable"
  };

  // The process-wide handler that throws OverflowError, InvalidError and UnmappableError.
  static ErrorHandler const* DEFAULT_ERROR_HANDLER();

  // handler is not owned; null stands for DEFAULT_ERROR_HANDLER().
  explicit CharConverter(ErrorHandler const* handler);
  ~CharConverter() override;

  ErrorHandler const* getErrorHandler() const { return handler_; }

  // Converts from *source up to sourceEnd into *target up to targetEnd. On return *source and
  // *target stand after what was consumed and produced, and code holds the outcome. Nothing at or
  // after the returned *target is written, nothing at or after the returned *source is consumed: after
  // Overflow a caller may call again with the same *source and fresh room. atStart is true on the
  // first call of a run, atEnd when the caller has no more source; reservedFlag is false from every
  // caller and ignored by every converter of this library. Never calls the error handler.
  virtual void convert(char const** source, char const* sourceEnd, char** target, char const* targetEnd,
                       bool atStart, bool atEnd, ErrorCode& code, bool reservedFlag) const = 0;
  // An upper bound on the target bytes that sourceLength source bytes can yield.
  virtual unsigned long maxRequiredOutputBufferLength(unsigned long sourceLength) const = 0;
  // The longest source character, in bytes.
  virtual int maxSourceBytesPerChar() const = 0;
  // The longest target character, in bytes.
  virtual int maxTargetBytesPerChar() const = 0;
  // True only for a converter that copies by construction (IdentityConverter); a table converter
  // answers false even when its table is the identity.
  virtual bool isIdentity() const;

  // The wrappers below convert srcLen bytes at src into at most dstLen bytes at dst in one run, read
  // no terminator and write none. Invalid goes to the handler's onInvalid and Unmappable to
  // onUnmappable in all four; they differ in what Overflow does and in padding.

  // Overflow goes to onOverflow. Returns the bytes written, counted before the handler ran.
  unsigned long convert(char const* src, unsigned long srcLen, char* dst, unsigned long dstLen) const;
  // Overflow goes to onOverflow. Then, once the handler has returned, fills the rest of dst up to
  // dstLen with pad, untranslated. A throwing handler leaves dst unpadded.
  void convertAndPad(char const* src, unsigned long srcLen, char* dst, unsigned long dstLen, char pad) const;
  // Overflow is no error: dst holds the first dstLen converted bytes. Otherwise pads like convertAndPad.
  void convertAndPadOrTrunc(char const* src, unsigned long srcLen, char* dst, unsigned long dstLen,
                            char pad) const;
  // Overflow is no error: dst is simply full. Returns the bytes written.
  unsigned long convertAndTrunc(char const* src, unsigned long srcLen, char* dst, unsigned long dstLen) const;

 private:
  // Runs the virtual convert once over the whole buffers, then calls the handler for the code
  // (Overflow only when overflowIsError). Returns the bytes written before the handler ran.
  unsigned long convertOnce(char const* src, unsigned long srcLen, char* dst, unsigned long dstLen,
                            bool overflowIsError) const;

  ErrorHandler const* handler_;
};

// The handler that throws the matching CharConverter exception from each operation.
class VYK_EXPORT DefaultErrorHandler : public CharConverter::ErrorHandler {
 public:
  constexpr DefaultErrorHandler() {}
  void onOverflow() const override;    // throws CharConverter::OverflowError
  void onInvalid() const override;     // throws CharConverter::InvalidError
  void onUnmappable() const override;  // throws CharConverter::UnmappableError

  static DefaultErrorHandler const instance_;
};

// A converter of one byte to one byte: the three size operations are fixed at 1, and the static
// factories make the converters that the library knows. Each factory takes the handler (null for the
// default) and returns a new converter.
class VYK_EXPORT SingleByteCharConverter : public CharConverter {
 public:
  using CharConverter::convert;

  explicit SingleByteCharConverter(ErrorHandler const* handler) : CharConverter(handler) {}

  unsigned long maxRequiredOutputBufferLength(unsigned long sourceLength) const override;  // sourceLength
  int maxSourceBytesPerChar() const override;                                              // 1
  int maxTargetBytesPerChar() const override;                                              // 1

  // An IdentityConverter: isIdentity() is true.
  static IntrusivePointer<CharConverter> identity(ErrorHandler const* handler = nullptr);
  // Table converters over TrantabTable::iso88591ToOpenEdition1047() and its inverse.
  static IntrusivePointer<CharConverter> iso88591ToOpenEd1047(ErrorHandler const* handler = nullptr);
  static IntrusivePointer<CharConverter> openEd1047ToIso88591(ErrorHandler const* handler = nullptr);
  // The library's string literals are ISO 8859-1, so these two copy every byte unchanged through the
  // identity table; being table converters, they answer isIdentity() false.
  static IntrusivePointer<CharConverter> compilerToIso88591(ErrorHandler const* handler = nullptr);
  static IntrusivePointer<CharConverter> iso88591ToCompiler(ErrorHandler const* handler = nullptr);
  // The same tables as iso88591ToOpenEd1047 and openEd1047ToIso88591.
  static IntrusivePointer<CharConverter> compilerToOpenEd1047(ErrorHandler const* handler = nullptr);
  static IntrusivePointer<CharConverter> openEd1047ToCompiler(ErrorHandler const* handler = nullptr);
};

// Copies bytes unchanged in one block. Reports Ok or Overflow, never Invalid or Unmappable.
class VYK_EXPORT IdentityConverter : public SingleByteCharConverter {
 public:
  using CharConverter::convert;

  explicit IdentityConverter(ErrorHandler const* handler) : SingleByteCharConverter(handler) {}

  void convert(char const** source, char const* sourceEnd, char** target, char const* targetEnd, bool atStart,
               bool atEnd, ErrorCode& code, bool reservedFlag) const override;
  bool isIdentity() const override;  // true
};

// Replaces every byte b by table[b]. Every byte is mapped, so it reports Ok or Overflow, never Invalid
// or Unmappable. The table is not owned and must outlive the converter. Source and target may be the
// same buffer.
class VYK_EXPORT TrantabCharConverter : public SingleByteCharConverter {
 public:
  using CharConverter::convert;

  TrantabCharConverter(TrantabTable const* table, ErrorHandler const* handler);

  void convert(char const** source, char const* sourceEnd, char** target, char const* targetEnd, bool atStart,
               bool atEnd, ErrorCode& code, bool reservedFlag) const override;

  TrantabTable const* getTable() const { return table_; }

 private:
  TrantabTable const* table_;
};

}  // namespace vyk

#endif
