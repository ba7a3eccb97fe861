// Encodings known to the C library's iconv, looked up by name, with the flag word record files read.
#ifndef VYK_ENC_CHARENCODING_H
#define VYK_ENC_CHARENCODING_H

#include <cstdint>
#include <string>

#include "vyk/util/CharConversionSpec.h"
#include "vyk/util/Export.h"

namespace vyk {

// One encoding that iconv can convert to and from. Objects are made by forName and live until the
// process ends; the same name (letter case ignored) gives the same object. Lookups may run on several
// threads at once; the objects never change.
//
// The object starts with its flag word (bits ENC_* of CharConversionSpec.h), which is where
// encodingFlags() of the main library reads it. The flags are worked out from how iconv writes a few
// characters in the encoding:
//   - ENC_ASCII_LINE_ENDS when line feed is the code unit 0x0A, ENC_EBCDIC_NL when it is the byte 0x15;
//   - ENC_EBCDIC when the blank is 0x40 (its line feed is then 0x25 unless ENC_EBCDIC_NL is set);
//   - ENC_UTF8 when "A", e-acute and the euro sign take 1, 2 and 3 bytes in UTF-8's form;
//   - ENC_UTF16LE/BE and ENC_UTF32LE/BE by the width and byte order of "A".
// A name under which iconv writes a byte-order mark ("UTF-16", "UTF-32") converts through the form
// with the explicit byte order instead, so that no converted record carries a mark of its own.
//
//   CharEncoding const* ebcdic = CharEncoding::forName("IBM-1047");  // flags ENC_EBCDIC
class VYK_EXPORT CharEncoding {
 public:
  enum { MAX_NAME_LENGTH = 47 };

  // The encoding of that name. Throws InvalidArgumentException "Unknown encoding" with the name as
  // its argument when iconv does not know the name in both directions, when the name is empty or
  // longer than MAX_NAME_LENGTH, or when it holds '/' (iconv's option suffixes are not names).
  static CharEncoding const* forName(std::string const& name);
  // As forName, but null for a name that forName rejects.
  static CharEncoding const* tryForName(std::string const& name);

  std::uint32_t getFlags() const { return flags_; }
  bool hasFlag(std::uint32_t flag) const { return (flags_ & flag) != 0; }
  // The name as first asked for, in upper case.
  char const* getName() const { return name_; }
  // The name handed to iconv for both directions.
  char const* getIconvName() const { return iconvName_; }
  // True when every character is one byte and every byte alone is a character or invalid.
  bool isSingleByte() const { return maxBytesPerChar_ == 1; }
  // 1 for single-byte encodings, else 4 (the longest UTF-8, UTF-16 or GB18030 character).
  int getMaxBytesPerChar() const { return maxBytesPerChar_; }

  CharEncoding(CharEncoding const&) = delete;
  CharEncoding& operator=(CharEncoding const&) = delete;

 private:
  CharEncoding();
  static CharEncoding* probe(std::string const& upperName);

  std::uint32_t flags_;  // first, always: the main library reads it at the object's address
  int maxBytesPerChar_;
  char name_[MAX_NAME_LENGTH + 1];
  char iconvName_[MAX_NAME_LENGTH + 1];
};

}  // namespace vyk

#endif
