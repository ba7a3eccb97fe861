// The UTF-8 converter against ICU's: every code point, runs of them, and random byte strings.
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

#include <cstring>
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

void convert(UC& c, char const** s, char const* e, unsigned short** t, unsigned short* te,
             UC::ErrorCode& code) {
  c.toUnicode(s, e, t, te, code);
}
void convert(UC& c, unsigned short const** s, unsigned short const* e, char** t, char* te,
             UC::ErrorCode& code) {
  c.fromUnicode(s, e, t, te, code);
}

// One call of our virtual operations with ample room; false on a fault.
template <typename From, typename To>
bool ours(UC& c, std::basic_string<From> const& in, std::basic_string<To>& out) {
  std::vector<To> buffer(in.size() * 3 + 1);
  From const* s = in.data();
  To* t = buffer.data();
  UC::ErrorCode code = UC::Ok;
  convert(c, &s, in.data() + in.size(), &t, buffer.data() + buffer.size(), code);
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

TEST(Utf8AgainstIcu, EveryCodePointOneByOne) {
  IcuUtf8 icu;
  Utf8Converter utf8;
  int mismatches = 0;
  for (unsigned int cp = 0; cp <= 0x10FFFF && mismatches < 10; ++cp) {
    U16 units = unitsOf(cp);
    std::string icuBytes, ourBytes;
    U16 icuUnits, ourUnits;
    bool isSurrogate = cp >= 0xD800 && cp <= 0xDFFF;
    bool icuOk = icu.fromUnicode(units, icuBytes);
    bool ourOk = ours(utf8, units, ourBytes);
    if (!isSurrogate) {
      if (!icuOk || !ourOk || icuBytes != ourBytes) ++mismatches;
      EXPECT_TRUE(icuOk && ourOk && icuBytes == ourBytes) << std::hex << cp;
    } else if (cp < 0xDC00) {
      EXPECT_FALSE(icuOk);  // a lone high surrogate: both refuse it
      EXPECT_FALSE(ourOk);
    } else {
      EXPECT_FALSE(icuOk);  // a lone low surrogate: ICU refuses it, we write it
      EXPECT_TRUE(ourOk);
      EXPECT_EQ(encodedSurrogate(cp), ourBytes);
    }
    std::string bytes = isSurrogate ? encodedSurrogate(cp) : icuBytes;
    icuOk = icu.toUnicode(bytes, false, icuUnits);
    ourOk = ours(utf8, bytes, ourUnits);
    EXPECT_EQ(icuOk, ourOk) << std::hex << cp;
    EXPECT_EQ(!isSurrogate, ourOk) << std::hex << cp;
    EXPECT_EQ(icuUnits, ourUnits) << std::hex << cp;
    if (!isSurrogate) {
      EXPECT_EQ(units, ourUnits) << std::hex << cp;
    }
  }
}

TEST(Utf8AgainstIcu, RunsOfCodePoints) {
  IcuUtf8 icu;
  Utf8Converter utf8;
  for (unsigned int start = 0; start <= 0x10FFFF; start += 1000) {
    U16 units;
    for (unsigned int cp = start; cp < start + 1000 && cp <= 0x10FFFF; ++cp) {
      if (cp < 0xD800 || cp > 0xDFFF) units += unitsOf(cp);
    }
    std::string icuBytes, ourBytes;
    ASSERT_TRUE(icu.fromUnicode(units, icuBytes));
    ASSERT_TRUE(ours(utf8, units, ourBytes));
    ASSERT_EQ(icuBytes, ourBytes) << std::hex << start;
    U16 back;
    ASSERT_TRUE(ours(utf8, ourBytes, back));
    ASSERT_EQ(units, back) << std::hex << start;
    // Through the string overloads and their blocks as well.
    ASSERT_EQ(units, utf8.toUnicode(icuBytes)) << std::hex << start;
    ASSERT_EQ(icuBytes, utf8.fromUnicode(units)) << std::hex << start;
  }
}

// Random strings built from pieces that stress the decoder: ASCII runs, any byte, well-formed
// characters of every length, such characters cut short, overlong, surrogate and too-large forms, and
// lone continuation and lead bytes.
std::string randomBytes(std::mt19937& rng) {
  static char const* const bad[] = {
      "\xC0\x80",         "\xC1\xBF",         "\xE0\x80\x80", "\xED\xA0\x80", "\xED\xBF\xBF",
      "\xF0\x80\x80\x80", "\xF4\x90\x80\x80", "\xF5\x80",     "\xFE\xFF",     "\xF8\x88\x80\x80\x80"};
  static unsigned int const planes[] = {0x80, 0x800, 0x10000, 0x110000};
  Utf8Converter utf8;
  std::string out;
  for (int pieces = static_cast<int>(rng() % 12); pieces > 0; --pieces) {
    unsigned int cp = rng() % planes[rng() % 4];
    switch (rng() % 8) {
      case 0:
        out.append(rng() % 24, static_cast<char>('a' + rng() % 26));
        break;
      case 1:
        out += static_cast<char>(rng() & 0xFF);
        break;
      case 2:
      case 3:
        if ((cp < 0xD800 || cp > 0xDFFF) && cp != 0xFFFD) out += utf8.fromUnicode(unitsOf(cp));
        break;
      case 4: {  // a well-formed character cut short
        std::string whole = utf8.fromUnicode(unitsOf(0x800 + rng() % 0x7000 + (rng() % 2) * 0x10000));
        out += whole.substr(0, 1 + rng() % (whole.size() - 1));
        break;
      }
      case 5:
        out += bad[rng() % 10];
        break;
      default:
        out += static_cast<char>((rng() % 2 ? 0x80 : 0xC0) + rng() % 0x40);
    }
  }
  return out;
}

TEST(Utf8AgainstIcu, RandomByteStrings) {
  IcuUtf8 icu;
  IntrusivePointer<UC> skipping = UC::utf8ToUnicode();
  skipping->setInvalidStrategy(UC::INVALID_SKIP);
  IntrusivePointer<UC> substituting = UC::utf8ToUnicode();
  substituting->setInvalidStrategy(UC::INVALID_SUBSTITUTE);
  Utf8Converter strict;
  std::mt19937 rng(9);
  int invalid = 0;
  for (int round = 0; round < 100000; ++round) {
    std::string bytes = randomBytes(rng);
    U16 icuUnits, ourUnits;
    bool icuOk = icu.toUnicode(bytes, false, icuUnits);
    bool ourOk = ours(strict, bytes, ourUnits);
    ASSERT_EQ(icuOk, ourOk) << round;
    ASSERT_EQ(icuUnits, ourUnits) << round;  // the same text up to the first fault
    if (!ourOk) ++invalid;
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
      ASSERT_EQ(bytes, strict.fromUnicode(ourUnits)) << round;
    }
  }
  EXPECT_GT(invalid, 30000);  // the generator must give many faults
  EXPECT_LT(invalid, 90000);
}

// Whether the first surrogate fault in the units is a lone low surrogate.
bool loneLowFirst(U16 const& u) {
  for (size_t i = 0; i < u.size(); ++i) {
    bool const high = u[i] >= 0xD800 && u[i] <= 0xDBFF, low = u[i] >= 0xDC00 && u[i] <= 0xDFFF;
    if (high && i + 1 < u.size() && u[i + 1] >= 0xDC00 && u[i + 1] <= 0xDFFF)
      ++i;
    else if (high || low)
      return low;
  }
  return false;
}

TEST(Utf8AgainstIcu, RandomUnitStrings) {
  IcuUtf8 icu;
  Utf8Converter utf8;
  std::mt19937 rng(16);
  unsigned short const special[] = {0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0x7F, 0x80, 0x7FF, 0x800, 0xFFFF, 0x41};
  int compared = 0;
  for (int round = 0; round < 20000; ++round) {
    U16 units;
    size_t length = rng() % 40;
    for (size_t i = 0; i < length; ++i) {
      units += rng() % 3 == 0 ? special[rng() % 10]
                              : static_cast<unsigned short>(rng() % (rng() % 2 ? 0x80 : 0x10000));
    }
    if (loneLowFirst(units)) continue;  // where the rules differ
    std::string icuBytes, ourBytes;
    bool icuOk = icu.fromUnicode(units, icuBytes);
    bool ourOk = ours(utf8, units, ourBytes);
    ASSERT_EQ(icuOk, ourOk) << round;
    ASSERT_EQ(icuBytes, ourBytes) << round;
    ++compared;
  }
  EXPECT_GT(compared, 5000);
}

void appendUtf8(std::string& out, unsigned int cp) {
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (cp >> 18));
    out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

// A code point of the given UTF-8 length, often at the edge of its range or next to the surrogates.
unsigned int codePointOfLength(std::mt19937& rng, int length) {
  static unsigned int const low[] = {0, 0x80, 0x800, 0x10000};
  static unsigned int const high[] = {0x7F, 0x7FF, 0xFFFF, 0x10FFFF};
  static unsigned int const edges[] = {0x00,   0x7F,   0x80,   0x7FF,   0x800,
                                       0xD7FF, 0xE000, 0xFFFF, 0x10000, 0x10FFFF};
  for (;;) {
    unsigned int cp = rng() % 8 == 0 ? edges[rng() % 10]
                                     : low[length - 1] + rng() % (high[length - 1] - low[length - 1] + 1);
    bool fits = cp >= low[length - 1] && cp <= high[length - 1];
    if (fits && (cp < 0xD800 || cp > 0xDFFF)) return cp;
  }
}

// Long texts in runs of characters of one length (as prose in one script), so that windows of 12 to
// 64 bytes hold every mix; with faults, a malformed piece now and then.
std::string longText(std::mt19937& rng, bool faults) {
  static char const* const bad[] = {"\x80",
                                    "\xBF",
                                    "\xC0\xAF",
                                    "\xC1\x81",
                                    "\xC3",
                                    "\xE0\x9F\xBF",
                                    "\xE4\xB8",
                                    "\xED\xA0\x80",
                                    "\xED\xBF\xBF",
                                    "\xF0\x8F\xBF\xBF",
                                    "\xF4\x90\x80\x80",
                                    "\xF0\x9F\x98",
                                    "\xF5\x80\x80",
                                    "\xFF",
                                    "\x00\x80"};
  std::string out;
  size_t target = 16 + rng() % 300;
  while (out.size() < target) {
    int weights[] = {1, 1, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4};
    int length = weights[rng() % 12];
    int run = 1 + static_cast<int>(rng() % 24);
    for (int i = 0; i < run; ++i) appendUtf8(out, codePointOfLength(rng, length));
    if (faults && rng() % 6 == 0) {
      char const* piece = bad[rng() % 15];
      out.append(piece, piece[0] == 0 ? 2 : std::strlen(piece));
    }
  }
  return out;
}

TEST(Utf8AgainstIcu, LongTextsInRuns) {
  IcuUtf8 icu;
  IntrusivePointer<UC> skipping = UC::utf8ToUnicode();
  skipping->setInvalidStrategy(UC::INVALID_SKIP);
  Utf8Converter strict;
  std::mt19937 rng(2024);
  int invalid = 0;
  for (int round = 0; round < 20000; ++round) {
    std::string bytes = longText(rng, round % 2 == 1);
    U16 icuUnits, ourUnits;
    bool icuOk = icu.toUnicode(bytes, false, icuUnits);
    bool ourOk = ours(strict, bytes, ourUnits);
    ASSERT_EQ(icuOk, ourOk) << round;
    ASSERT_EQ(icuUnits, ourUnits) << round;
    ASSERT_TRUE(icu.toUnicode(bytes, true, icuUnits));
    ASSERT_EQ(icuUnits, skipping->toUnicode(bytes)) << round;
    if (!ourOk) {
      ++invalid;
      continue;
    }
    std::string icuBytes, ourBytes;
    ASSERT_TRUE(icu.fromUnicode(ourUnits, icuBytes));
    ASSERT_TRUE(ours(strict, ourUnits, ourBytes));
    ASSERT_EQ(bytes, icuBytes) << round;
    ASSERT_EQ(bytes, ourBytes) << round;
  }
  EXPECT_GT(invalid, 5000);  // most texts with faults have one
  EXPECT_LT(invalid, 10001);
}

// Units in runs the same way, with now and then a high surrogate without its low one.
TEST(Utf8AgainstIcu, LongUnitTextsInRuns) {
  IcuUtf8 icu;
  Utf8Converter utf8;
  std::mt19937 rng(4048);
  int invalid = 0;
  for (int round = 0; round < 20000; ++round) {
    U16 units;
    size_t target = 8 + rng() % 200;
    while (units.size() < target) {
      int weights[] = {1, 1, 1, 2, 2, 3, 3, 4};
      int length = weights[rng() % 8];
      int run = 1 + static_cast<int>(rng() % 20);
      for (int i = 0; i < run; ++i) units += unitsOf(codePointOfLength(rng, length));
      if (round % 2 == 1 && rng() % 8 == 0) units += static_cast<unsigned short>(0xD800 + rng() % 0x400);
    }
    std::string icuBytes, ourBytes;
    bool icuOk = icu.fromUnicode(units, icuBytes);
    bool ourOk = ours(utf8, units, ourBytes);
    ASSERT_EQ(icuOk, ourOk) << round;
    ASSERT_EQ(icuBytes, ourBytes) << round;
    if (!ourOk) ++invalid;
  }
  EXPECT_GT(invalid, 3000);
  EXPECT_LT(invalid, 10001);
}

}  // namespace
}  // namespace vyk

#endif
