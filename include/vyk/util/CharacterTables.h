// The session's single-byte character tables (case and class of each byte) and their table cores.
#ifndef VYK_UTIL_CHARACTERTABLES_H
#define VYK_UTIL_CHARACTERTABLES_H

#include <string>

#include "vyk/util/Export.h"

namespace vyk {
namespace sbcs {

// Class bits of ctypeTable_ and parsingctypeTable_.
enum CtypeBits : unsigned char {
  CT_UPPER = 0x01,
  CT_LOWER = 0x02,
  CT_DIGIT = 0x04,
  CT_SPACE = 0x08,
  CT_PUNCT = 0x10,
  CT_BLANK = 0x20,
  CT_CNTRL = 0x40,
  CT_XDIGIT = 0x80,
  CT_ALPHA = CT_UPPER | CT_LOWER,
  CT_PRINT = 0xB7,
};

namespace detail {
// Writable by the application during start-up, before other threads read them; index each with the
// byte as unsigned char. At load they describe a Latin-1 session with the added letters of
// code page 1252.
VYK_EXPORT extern unsigned char toupperTable_[256];
VYK_EXPORT extern unsigned char tolowerTable_[256];
VYK_EXPORT extern unsigned char ctypeTable_[256];
VYK_EXPORT extern unsigned char parsingctypeTable_[256];
}  // namespace detail

// Reloads all four tables from the defaults.
VYK_EXPORT void resetCharacterTables();
// Reloads only parsingctypeTable_.
VYK_EXPORT void resetParsingCharacterTables();

inline unsigned char toLower(char c) { return detail::tolowerTable_[static_cast<unsigned char>(c)]; }
inline unsigned char toUpper(char c) { return detail::toupperTable_[static_cast<unsigned char>(c)]; }
inline bool hasClass(char c, unsigned char bits) {
  return (detail::ctypeTable_[static_cast<unsigned char>(c)] & bits) != 0;
}

// False when the zero-terminated text holds a lower-case letter; other bytes are passed over, so a
// text of digits or an empty text is "upper".
VYK_EXPORT bool vyk_strisupper(char const* text);
// False when the zero-terminated text holds an upper-case letter.
VYK_EXPORT bool vyk_strislower(char const* text);

// Case-insensitive comparison of s[0..n) and t[0..m) over at most limit bytes. The first difference
// gives lower(a) - lower(b); with none, 0 when min(n, m) >= limit, else n - m truncated to int.
VYK_EXPORT int icomparen(char const* s, unsigned long n, char const* t, unsigned long m, unsigned long limit);
// Compares s with the zero-terminated t over min(s.size(), limit) bytes: a 0 in t gives 1, a
// difference lower(a) - lower(b); then 0 when limit was reached, -1 when t has more, else 0.
VYK_EXPORT int icomparen(std::string const& s, char const* t, unsigned long limit);
// Compares two zero-terminated texts over at most limit bytes, stopping at the first difference or
// the first 0 in either: lower(a) - lower(b), or 0 when limit bytes were equal.
VYK_EXPORT int icomparen(char const* s, char const* t, unsigned long limit);

}  // namespace sbcs
}  // namespace vyk

#endif
