// The converter contract's wrappers, the default handler and the identity and table converters.
#include "vyk/util/CharConverter.h"

#include <algorithm>
#include <cstring>

#include "vyk/util/Assert.h"

namespace vyk {

DefaultErrorHandler const DefaultErrorHandler::instance_;

CharConverter::ErrorHandler::~ErrorHandler() {}

char const* CharConverter::OverflowError::what() const noexcept {
  return "CharConverter::Overflow";
}
char const* CharConverter::InvalidError::what() const noexcept {
  return "CharConverter::Invalid";
}
char const* CharConverter::UnmappableError::what() const noexcept {
  return "CharConverter::Unmappable";
}

void DefaultErrorHandler::onOverflow() const {
  throw CharConverter::OverflowError();
}
void DefaultErrorHandler::onInvalid() const {
  throw CharConverter::InvalidError();
}
void DefaultErrorHandler::onUnmappable() const {
  throw CharConverter::UnmappableError();
}

CharConverter::ErrorHandler const* CharConverter::DEFAULT_ERROR_HANDLER() {
  return &DefaultErrorHandler::instance_;
}

CharConverter::CharConverter(ErrorHandler const* handler)
    : handler_(handler != nullptr ? handler : DEFAULT_ERROR_HANDLER()) {}

CharConverter::~CharConverter() {}

bool CharConverter::isIdentity() const {
  return false;
}

unsigned long CharConverter::convertOnce(char const* src, unsigned long srcLen, char* dst,
                                         unsigned long dstLen, bool overflowIsError) const {
  char const* source = src;
  char* target = dst;
  char const* const targetEnd = dst + dstLen;
  ErrorCode code = Ok;
  convert(&source, src + srcLen, &target, targetEnd, true, true, code, false);
  // A converter that strays outside the buffers it was given is a programming error; stop before
  // the count below could send a caller past dst + dstLen.
  VYK_ASSERT(target >= dst && target <= targetEnd);
  VYK_ASSERT(source >= src && source <= src + srcLen);
  unsigned long const written = static_cast<unsigned long>(target - dst);
  switch (code) {
    case Ok:
      break;
    case Invalid:
      handler_->onInvalid();
      break;
    case Unmappable:
      handler_->onUnmappable();
      break;
    case Overflow:
      if (overflowIsError) handler_->onOverflow();
      break;
  }
  return written;
}

unsigned long CharConverter::convert(char const* src, unsigned long srcLen, char* dst,
                                     unsigned long dstLen) const {
  return convertOnce(src, srcLen, dst, dstLen, true);
}

void CharConverter::convertAndPad(char const* src, unsigned long srcLen, char* dst, unsigned long dstLen,
                                  char pad) const {
  unsigned long const written = convertOnce(src, srcLen, dst, dstLen, true);
  if (written < dstLen) std::memset(dst + written, pad, dstLen - written);
}

void CharConverter::convertAndPadOrTrunc(char const* src, unsigned long srcLen, char* dst,
                                         unsigned long dstLen, char pad) const {
  unsigned long const written = convertOnce(src, srcLen, dst, dstLen, false);
  if (written < dstLen) std::memset(dst + written, pad, dstLen - written);
}

unsigned long CharConverter::convertAndTrunc(char const* src, unsigned long srcLen, char* dst,
                                             unsigned long dstLen) const {
  return convertOnce(src, srcLen, dst, dstLen, false);
}

// --- single-byte converters

unsigned long SingleByteCharConverter::maxRequiredOutputBufferLength(unsigned long sourceLength) const {
  return sourceLength;
}
int SingleByteCharConverter::maxSourceBytesPerChar() const {
  return 1;
}
int SingleByteCharConverter::maxTargetBytesPerChar() const {
  return 1;
}

namespace {

// The count both single-byte converters move: what fits of the source.
std::size_t bytesThatFit(char const* source, char const* sourceEnd, char const* target,
                         char const* targetEnd) {
  return std::min(static_cast<std::size_t>(sourceEnd - source), static_cast<std::size_t>(targetEnd - target));
}

IntrusivePointer<CharConverter> tableConverter(TrantabTable const* table,
                                               CharConverter::ErrorHandler const* handler) {
  return IntrusivePointer<CharConverter>(new TrantabCharConverter(table, handler));
}

}  // namespace

void IdentityConverter::convert(char const** source, char const* sourceEnd, char** target,
                                char const* targetEnd, bool, bool, ErrorCode& code, bool) const {
  std::size_t const n = bytesThatFit(*source, sourceEnd, *target, targetEnd);
  if (n > 0) std::memmove(*target, *source, n);
  *source += n;
  *target += n;
  code = *source == sourceEnd ? Ok : Overflow;
}

bool IdentityConverter::isIdentity() const {
  return true;
}

TrantabCharConverter::TrantabCharConverter(TrantabTable const* table, ErrorHandler const* handler)
    : SingleByteCharConverter(handler), table_(table) {
  VYK_ASSERT(table != nullptr);
}

void TrantabCharConverter::convert(char const** source, char const* sourceEnd, char** target,
                                   char const* targetEnd, bool, bool, ErrorCode& code, bool) const {
  std::size_t const n = bytesThatFit(*source, sourceEnd, *target, targetEnd);
  unsigned char const* in = reinterpret_cast<unsigned char const*>(*source);
  unsigned char* out = reinterpret_cast<unsigned char*>(*target);
  unsigned char const* const table = table_->data();
  // One pass, eight bytes a round: each byte is read before its slot is written, so source and
  // target may be the same buffer.
  std::size_t i = 0;
  for (; i + 8 <= n; i += 8) {
    unsigned char const b0 = table[in[i]], b1 = table[in[i + 1]], b2 = table[in[i + 2]],
                        b3 = table[in[i + 3]];
    unsigned char const b4 = table[in[i + 4]], b5 = table[in[i + 5]], b6 = table[in[i + 6]],
                        b7 = table[in[i + 7]];
    out[i] = b0;
    out[i + 1] = b1;
    out[i + 2] = b2;
    out[i + 3] = b3;
    out[i + 4] = b4;
    out[i + 5] = b5;
    out[i + 6] = b6;
    out[i + 7] = b7;
  }
  for (; i < n; ++i) out[i] = table[in[i]];
  *source += n;
  *target += n;
  code = *source == sourceEnd ? Ok : Overflow;
}

IntrusivePointer<CharConverter> SingleByteCharConverter::identity(ErrorHandler const* handler) {
  return IntrusivePointer<CharConverter>(new IdentityConverter(handler));
}
IntrusivePointer<CharConverter> SingleByteCharConverter::iso88591ToOpenEd1047(ErrorHandler const* handler) {
  return tableConverter(TrantabTable::iso88591ToOpenEdition1047(), handler);
}
IntrusivePointer<CharConverter> SingleByteCharConverter::openEd1047ToIso88591(ErrorHandler const* handler) {
  return tableConverter(TrantabTable::openEdition1047ToIso88591(), handler);
}
IntrusivePointer<CharConverter> SingleByteCharConverter::compilerToIso88591(ErrorHandler const* handler) {
  return tableConverter(TrantabTable::identity(), handler);
}
IntrusivePointer<CharConverter> SingleByteCharConverter::iso88591ToCompiler(ErrorHandler const* handler) {
  return tableConverter(TrantabTable::identity(), handler);
}
IntrusivePointer<CharConverter> SingleByteCharConverter::compilerToOpenEd1047(ErrorHandler const* handler) {
  return tableConverter(TrantabTable::iso88591ToOpenEdition1047(), handler);
}
IntrusivePointer<CharConverter> SingleByteCharConverter::openEd1047ToCompiler(ErrorHandler const* handler) {
  return tableConverter(TrantabTable::openEdition1047ToIso88591(), handler);
}

}  // namespace vyk
