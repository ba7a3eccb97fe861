// The UTF-8 converter against ICU's: every code point, runs of them, and random byte and unit strings.
//
// Where the rules differ, the test pins both sides:
//  - a lone low surrogate unit is written as three bytes here; ICU reports it as illegal;
//  - on malformed UTF-8, ICU replaces or skips a maximal ill-formed subpart at once, here one byte is
//    passed per fault, so the substitute strategy may write more U+FFFD than ICU. With the skip
//    strategy both give the same text, since ICU's subparts are a lead byte and continuation bytes
//    that are stray here.
#include <gtest/gtest.h>

#if defined(VYK_TEST_WITH_ICU)

#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>

#include <random>
#include <string>
#include <vector>

#include "vyk/util/UnicodeConverter.h"

namespace vyk {
namespace {

typedef std::basic_string<unsigned short> U16;
typedef UnicodeConverter UC;

// ICU's converter with a stop (or skip) callback: returns false on a fault, with the text up to it.
class IcuUtf8 {
 public:
  IcuUtf8() : converter_(ucnv_open("UTF-8", &error_)) { EXPECT_TRUE(U_SUCCESS(error_)); }
  ~IcuUtf8() { ucnv_close(converter_); }
  bool toUnicode(std::string const& bytes, bool skip, U16& out) {
    reset();
    ucnv_setToUCallBack(converter_, skip ? UCNV_TO_U_CALLBACK_SKIP : UCNV_TO_U_CALLBACK_STOP, nullptr,
                        nullptr, nullptr, &error_);
    std::vector<UChar> buffer(bytes.size() * 2 + 4);
    UChar* t = buffer.data();
    char const* s = bytes.data();
    ucnv_toUnicode(converter_, &t, t + buffer.size(), &s, s + bytes.size(), nullptr, true, &error_);
    out.assign(buffer.data(), t);
    return U_SUCCESS(error_);
  }
  bool fromUnicode(U16 const& units, std::string& out) {
    reset();
    ucnv_setFromUCallBack(converter_, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error_);
    std::vector<char> buffer(units.size() * 4 + 4);
    char* t = buffer.data();
    UChar const* s = reinterpret_cast<UChar const*>(units.data());
    ucnv_fromUnicode(converter_, &t, t + buffer.size(), &s, s + units.size(), nullptr, true, &error_);
    out.assign(buffer.data(), t);
    return U_SUCCESS(error_);
  }

 private:
  void reset() {
    ucnv_reset(converter_);
    error_ = U_ZERO_ERROR;
  }
  UErrorCode error_ = U_ZERO_ERROR;
  UConverter* converter_;
};

// One call of our bulk operation with ample room; false on a fault.
template <typename From, typename To>
bool ours(UC& c, std::basic_string<From> const& in, std::basic_string<To>& out) {
  std::vector<To> buffer(in.size() * 3 + 1);
  From const* s = in.data();
  To* t = buffer.data();
  UC::ErrorCode code = UC::Ok;
  if constexpr (sizeof(From) == 1) {
    c.toUnicode(&s, in.data() + in.size(), &t, buffer.data() + buffer.size(), code);
  } else {
    c.fromUnicode(&s, in.data() + in.size(), &t, buffer.data() + buffer.size(), code);
  }
  out.assign(buffer.data(), t);
  EXPECT_TRUE(code == UC::Ok || code == UC::Invalid) << code;
  return code == UC::Ok;
}

U16 unitsOf(unsigned int cp) {
  if (cp < 0x10000) return U16(1, static_cast<unsigned short>(cp));
  return U16{static_cast<unsigned short>(0xD7C0 + (cp >> 10)),
             static_cast<unsigned short>(0xDC00 + (cp & 0x3FF))};
}

// The three-byte form of a surrogate code point, which strict decoders refuse.
std::string encodedSurrogate(unsigned int cp) {
  return {static_cast<char>(0xE0 | (cp >> 12)), static_cast<char>(0x80 | ((cp >> 6) & 0x3F)),
          static_cast<char>(0x80 | (cp & 0x3F))};
}

// Every code point one by one both ways (surrogates as units and as their three-byte form), then
// each run of 1000 of them, also through the string overloads and their blocks.
TEST(Utf8AgainstIcu, EveryCodePointOneByOneAndInRuns) {
  IcuUtf8 icu;
  Utf8Converter utf8;
  int mismatches = 0;
  for (unsigned int start = 0; start <= 0x10FFFF && mismatches < 10; start += 1000) {
    U16 run, back;
    for (unsigned int cp = start; cp < start + 1000 && cp <= 0x10FFFF; ++cp) {
      U16 units = unitsOf(cp), icuUnits, ourUnits;
      std::string icuBytes, ourBytes;
      bool const isSurrogate = cp >= 0xD800 && cp <= 0xDFFF;
      bool icuOk = icu.fromUnicode(units, icuBytes), ourOk = ours(utf8, units, ourBytes);
      if (!isSurrogate) {
        run += units;
        mismatches += !icuOk || !ourOk || icuBytes != ourBytes;
        EXPECT_TRUE(icuOk && ourOk && icuBytes == ourBytes) << std::hex << cp;
      } else {
        EXPECT_FALSE(icuOk);
        EXPECT_EQ(cp >= 0xDC00, ourOk) << "only a lone low surrogate is written";
        EXPECT_EQ(ourOk ? encodedSurrogate(cp) : "", ourBytes);
      }
      std::string bytes = isSurrogate ? encodedSurrogate(cp) : icuBytes;
      icuOk = icu.toUnicode(bytes, false, icuUnits);
      ourOk = ours(utf8, bytes, ourUnits);
      EXPECT_EQ(icuOk, ourOk) << std::hex << cp;
      EXPECT_EQ(!isSurrogate, ourOk) << std::hex << cp;
      EXPECT_EQ(icuUnits, ourUnits) << std::hex << cp;
      EXPECT_EQ(isSurrogate ? U16() : units, ourUnits) << std::hex << cp;
    }
    std::string icuBytes, ourBytes;
    ASSERT_TRUE(icu.fromUnicode(run, icuBytes));
    ASSERT_TRUE(ours(utf8, run, ourBytes));
    ASSERT_EQ(icuBytes, ourBytes) << std::hex << start;
    ASSERT_TRUE(ours(utf8, ourBytes, back));
    ASSERT_EQ(run, back) << std::hex << start;
    ASSERT_EQ(run, utf8.toUnicode(icuBytes)) << std::hex << start;
    ASSERT_EQ(icuBytes, utf8.fromUnicode(run)) << std::hex << start;
  }
}

// A code point of the given UTF-8 length, often at the edge of its range or next to the surrogates;
// never U+FFFD, which stands for the faults passed over.
unsigned int codePointOfLength(std::mt19937& rng, int length) {
  static unsigned int const low[] = {0, 0x80, 0x800, 0x10000}, high[] = {0x7F, 0x7FF, 0xFFFF, 0x10FFFF};
  static unsigned int const edges[] = {0x00,   0x7F,   0x80,   0x7FF,   0x800,
                                       0xD7FF, 0xE000, 0xFFFF, 0x10000, 0x10FFFF};
  for (;;) {
    unsigned int cp = rng() % 8 == 0 ? edges[rng() % 10]
                                     : low[length - 1] + rng() % (high[length - 1] - low[length - 1] + 1);
    if (cp >= low[length - 1] && cp <= high[length - 1] && (cp < 0xD800 || cp > 0xDFFF) && cp != 0xFFFD)
      return cp;
  }
}

// Units in runs of characters whose UTF-8 form has one length (as prose in one script), so that the
// block paths meet every mix; with faults, now and then a random unit or a lone high surrogate.
U16 randomUnits(std::mt19937& rng, size_t most, bool faults) {
  U16 units;
  for (size_t target = rng() % most; units.size() < target;) {
    int const length = 1 + static_cast<int>(rng() % 16 / 4);
    for (int run = 1 + static_cast<int>(rng() % 24); run > 0; --run)
      units += unitsOf(codePointOfLength(rng, length));
    if (!faults || rng() % 4 != 0) continue;
    unsigned short const unit = static_cast<unsigned short>(rng() % 2 ? 0xD800 + rng() % 0x400 : rng());
    if (unit >= 0xDC00 && unit <= 0xDFFF) units += 0xDBFF;  // a lone low surrogate: the rules differ
    units += unit;
  }
  return units;
}

// Byte strings from pieces that stress the decoder: runs of well-formed characters, any byte, such
// characters cut short, overlong, surrogate and too-large forms, and lone continuation and lead bytes.
std::string randomBytes(std::mt19937& rng, IcuUtf8& icu, bool faults) {
  static char const* const bad[] = {"\xC0\x80",     "\xC1\xBF",     "\xE0\x80\x80",        "\xE0\x9F\xBF",
                                    "\xED\xA0\x80", "\xED\xBF\xBF", "\xF0\x80\x80\x80",    "\xF4\x90\x80\x80",
                                    "\xF5\x80",     "\xFE\xFF",     "\xF8\x88\x80\x80\x80"};
  std::string out, piece;
  for (int pieces = static_cast<int>(rng() % 8); pieces > 0; --pieces) {
    EXPECT_TRUE(icu.fromUnicode(randomUnits(rng, 40, false), piece));
    out += piece;
    if (!faults || rng() % 2 != 0) continue;
    switch (rng() % 4) {
      case 0:
        out += static_cast<char>(rng() & 0xFF);
        break;
      case 1:  // a well-formed character cut short
        icu.fromUnicode(unitsOf(codePointOfLength(rng, 2 + static_cast<int>(rng() % 3))), piece);
        out += piece.substr(0, 1 + rng() % (piece.size() - 1));
        break;
      case 2:
        out += bad[rng() % 11];
        break;
      default:
        out += static_cast<char>((rng() % 2 ? 0x80 : 0xC0) + rng() % 0x40);
    }
  }
  return out;
}

// 100,000 random byte strings in, and 20,000 random unit strings out.
TEST(Utf8AgainstIcu, RandomByteAndUnitStrings) {
  IcuUtf8 icu;
  IntrusivePointer<UC> skipping = UC::utf8ToUnicode(), substituting = UC::utf8ToUnicode();
  skipping->setInvalidStrategy(UC::INVALID_SKIP);
  substituting->setInvalidStrategy(UC::INVALID_SUBSTITUTE);
  Utf8Converter strict;
  std::mt19937 rng(9);
  int invalid = 0, invalidUnits = 0;
  for (int round = 0; round < 100000; ++round) {
    if (round < 20000) {
      U16 units = randomUnits(rng, 200, round % 2 == 1);
      std::string icuBytes, ourBytes;
      bool const icuOk = icu.fromUnicode(units, icuBytes), ourOk = ours(strict, units, ourBytes);
      ASSERT_EQ(icuOk, ourOk) << round;
      ASSERT_EQ(icuBytes, ourBytes) << round;
      invalidUnits += !ourOk;
    }
    std::string bytes = randomBytes(rng, icu, round % 4 != 0), icuBytes;
    U16 icuUnits, ourUnits;
    bool icuOk = icu.toUnicode(bytes, false, icuUnits);
    bool ourOk = ours(strict, bytes, ourUnits);
    ASSERT_EQ(icuOk, ourOk) << round;
    ASSERT_EQ(icuUnits, ourUnits) << round;  // the same text up to the first fault
    invalid += !ourOk;
    ASSERT_TRUE(icu.toUnicode(bytes, true, icuUnits));
    U16 skipped = skipping->toUnicode(bytes);
    ASSERT_EQ(icuUnits, skipped) << round;
    // Substitution: the same text with one U+FFFD for each byte passed over.
    U16 substituted = substituting->toUnicode(bytes), kept;
    for (unsigned short unit : substituted)
      if (unit != 0xFFFD) kept += unit;
    ASSERT_EQ(skipped, kept) << round;
    ASSERT_EQ(bytes.size() - substituting->fromUnicode(skipped).size(), substituted.size() - kept.size())
        << round;
    if (ourOk) {
      ASSERT_TRUE(icu.fromUnicode(ourUnits, icuBytes));
      ASSERT_EQ(bytes, icuBytes) << round;
      ASSERT_EQ(bytes, strict.fromUnicode(ourUnits)) << round;
    }
  }
  EXPECT_GT(invalid, 30000);  // the generator must give many faults, and many texts without
  EXPECT_LT(invalid, 75000);
  EXPECT_GT(invalidUnits, 3000);
  EXPECT_LT(invalidUnits, 10001);
}

}  // namespace
}  // namespace vyk

#endif
