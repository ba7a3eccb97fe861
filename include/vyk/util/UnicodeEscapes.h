// The escaped Unicode text forms UESC, UNCR and UPAREN, written and read, and fixed one-unit texts.
#ifndef VYK_UTIL_UNICODEESCAPES_H
#define VYK_UTIL_UNICODEESCAPES_H

#include <string>

#include "vyk/util/Export.h"
#include "vyk/util/RefCounted.h"
#include "vyk/util/UnicodeConverter.h"

namespace vyk {

// The three forms write every code unit U that is not plain (not a digit, blank or ASCII letter) as
// ASCII text:
//   UESC    "\u" and four upper-case hex digits      ("\u%04X")
//   UNCR    "&#", five decimal digits and ";"        ("&#%05d;")
//   UPAREN  "<u", four upper-case hex digits and ">" ("<u%04X>"), every unit, plain or not
// Plain units are written through the converter, as the first byte of their encoding. The parse
// functions read a form back into bytes of the converter's encoding; they are meaningful for
// ASCII-compatible encodings only, since digits are read as ASCII bytes.
//
// Whole-text operations return the bytes written to target, at most targetLen. They stop quietly at
// the first form they cannot write or read (or the first unescaped non-plain unit when parsing), so
// a shorter result is no error. Exceptions of the converter (UnicodeConverter::OverflowError,
// InvalidError, UnmappableError) pass through, e.g. for an escape of a lone surrogate read through a
// UTF-8 converter whose invalid strategy is to fail.
//
//   std::basic_string<unsigned short> text = {0x20AC, 'A'};
//   int n = generateUESC(text, UnicodeConverter::iso88591ToUnicode(), buffer, 64);  // "\u20ACA", 7
VYK_EXPORT int generateUESC(std::basic_string<unsigned short> const& text,
                            IntrusivePointer<UnicodeConverter> converter, char* target, int targetLen);
VYK_EXPORT int parseUESC(std::basic_string<unsigned short> const& text,
                         IntrusivePointer<UnicodeConverter> converter, char* target, int targetLen);
VYK_EXPORT int generateUNCR(std::basic_string<unsigned short> const& text,
                            IntrusivePointer<UnicodeConverter> converter, char* target, int targetLen);
VYK_EXPORT int parseUNCR(std::basic_string<unsigned short> const& text,
                         IntrusivePointer<UnicodeConverter> converter, char* target, int targetLen);
// Every unit as a form; forms are followed by a blank each when all of them fit with their blanks
// (8 times the units is less than targetLen). Returns 0 for an empty text or targetLen below 7.
// The converter plays no part.
VYK_EXPORT int generateUPAREN(std::basic_string<unsigned short> const& text,
                              IntrusivePointer<UnicodeConverter> converter, char* target, int targetLen);
// Reads forms separated by any number of blanks, one byte written for each.
VYK_EXPORT int parseUPAREN(std::basic_string<unsigned short> const& text,
                           IntrusivePointer<UnicodeConverter> converter, char* target, int targetLen);

// One-character steps: each reads at source (never past sourceEnd), writes at target (never past
// targetEnd), advances both and returns the bytes written, or -1 for no progress (bad form or no
// room), in which case neither position moves.
//
// generateUESCencoding writes one unit as its 6-byte form. A backslash followed by n letters u (or U)
// and 4 more units is text that already looks like an escape: it is written with n+1 letters u so
// that parsing gives it back unchanged.
VYK_EXPORT int generateUESCencoding(unsigned short const*& source, unsigned short const* sourceEnd,
                                    IntrusivePointer<UnicodeConverter> converter, char*& target,
                                    char const* targetEnd);
// Reads "\uXXXX" into the bytes of that code unit (0 bytes and progress when the digits don't read as
// a number; "12G4" reads as 0x12), or "\uu...uXXXX" with n letters u into a backslash, n-1 letters u
// and the 4 units. Digit units above 0xFF give -1.
VYK_EXPORT int parseUESCencoding(unsigned short const*& source, unsigned short const* sourceEnd,
                                 IntrusivePointer<UnicodeConverter> converter, char*& target,
                                 char const* targetEnd);
// Writes one unit as its 8-byte form.
VYK_EXPORT int generateUNCRencoding(unsigned short const*& source, unsigned short const* sourceEnd,
                                    IntrusivePointer<UnicodeConverter> converter, char*& target,
                                    char const* targetEnd);
// Reads "&#" and up to 6 units, ended by ";" (which is passed), and writes exactly one byte: the
// first byte of the low 16 bits of the decimal value, or the last byte read when there is no number.
// A digit unit above 0xFF gives 0, with the source passed over it. Needs at least 5 units from "&".
VYK_EXPORT int parseUNCRencoding(unsigned short const*& source, unsigned short const* sourceEnd,
                                 IntrusivePointer<UnicodeConverter> converter, char*& target,
                                 char const* targetEnd);

// Units from p, which stands on the first u of an escape, to the end of it: the letters u or U in a
// row, plus 4. The run of letters must end inside the text (a zero-terminated text always does).
VYK_EXPORT int uescLength(unsigned short const* p);
// Units from p, which stands on the first "#", to the end of the form: the "#" in a row, plus 6.
VYK_EXPORT int uncrLength(unsigned short const* p);

// Process-wide texts of one code unit and a closing 0.
VYK_EXPORT unsigned short const* backslashUniCharStar();           // U+005C
VYK_EXPORT unsigned short const* rbraceUniCharStar();              // U+007D
VYK_EXPORT unsigned short const* lbraceUniCharStar();              // U+007B
VYK_EXPORT unsigned short const* rbracketUniCharStar();            // U+005D
VYK_EXPORT unsigned short const* lbracketUniCharStar();            // U+005B
VYK_EXPORT unsigned short const* hatUniCharStar();                 // U+005E
VYK_EXPORT unsigned short const* tildeUniCharStar();               // U+007E
VYK_EXPORT unsigned short const* exclamationUniCharStar();         // U+0021
VYK_EXPORT unsigned short const* hashUniCharStar();                // U+0023
VYK_EXPORT unsigned short const* barUniCharStar();                 // U+007C
VYK_EXPORT unsigned short const* dollarUniCharStar();              // U+0024
VYK_EXPORT unsigned short const* atUniCharStar();                  // U+0040
VYK_EXPORT unsigned short const* euroUniCharStar();                // U+20AC
VYK_EXPORT unsigned short const* halfWidthYenUniCharStar();        // U+00A5
VYK_EXPORT unsigned short const* fullWidthYenUniCharStar();        // U+FFE5
VYK_EXPORT unsigned short const* poundUniCharStar();               // U+00A3
VYK_EXPORT unsigned short const* bitcoinUniCharStar();             // U+20BF
VYK_EXPORT unsigned short const* leftSquareBracketUniCharStar();   // U+005B
VYK_EXPORT unsigned short const* rightSquareBracketUniCharStar();  // U+005D

}  // namespace vyk

#endif
