// Converters from the iconv-backed factory: the kind chosen, the bytes made, the codes reported.
#include "vyk/enc/IconvConverterFactory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/TestEncodings.h"
#include "vyk/enc/UnicodeCharConverter.h"
#include "vyk/util/Exception.h"
#include "vyk/util/UnicodeConverter.h"

namespace vyk {
namespace {

IntrusivePointer<CharConverter> make(char const* from, char const* to,
                                     CharConverter::ErrorHandler const* handler = nullptr) {
  IconvConverterFactory const factory(handler);
  return factory.create(CharEncoding::forName(from), CharEncoding::forName(to));
}

enum Kind { IDENTITY, TABLE, UNICODE, ICONV };

Kind kindOf(CharConverter const& converter) {
  if (converter.isIdentity()) return IDENTITY;
  if (dynamic_cast<TrantabCharConverter const*>(&converter) != nullptr) return TABLE;
  return dynamic_cast<UnicodeCharConverter const*>(&converter) != nullptr ? UNICODE : ICONV;
}

using RecordingHandler = testing::RecordingErrorHandler;

// The kind of converter chosen, its bytes into an exact-size target (AddressSanitizer sees any write
// past it; 0: as large as the converter asks) and the handler calls.
TEST(IconvConverterFactory, ChoosesAConverterAndReportsFaults) {
  struct Case {
    char const* from;
    char const* to;
    Kind kind;
    std::string in;
    unsigned long dstLen;
    std::string out;
    char const* calls;
  };
  Case const cases[] = {
      // iconv's IBM-1047 has line feed 0x25, unlike the library's OpenEdition table.
      {"ISO-8859-1", "IBM-1047", TABLE, "Hi,\n\xFF[]", 0, "\xC8\x89\x6B\x25\xDF\xAD\xBD", ""},
      {"IBM-1047", "ISO-8859-1", TABLE, "\xC8\x89\x6B\x25\xDF\x15", 0, "Hi,\n\xFF\x85", ""},
      {"ISO-8859-1", "IBM037", TABLE, "[]^", 0, "\xBA\xBB\xB0", ""},
      {"ISO-8859-1", "LATIN1", IDENTITY, "\x80\x81\xFF", 0, "\x80\x81\xFF", ""},
      {"UTF-8", "UTF-8", IDENTITY, "\xFF", 0, "\xFF", ""},
      {"ISO-8859-1", "UTF-8", UNICODE, "caf\xE9", 0, "caf\xC3\xA9", ""},
      {"UTF-8", "IBM-1047", UNICODE, "A\xC3\xA9\n", 0, "\xC1\x51\x25", ""},
      {"UTF-8", "UTF-16LE", UNICODE, "A\xE2\x82\xAC", 0, std::string("A\0\xAC\x20", 4), ""},
      {"CP1252", "UTF-8", ICONV, "\x80", 0, "\xE2\x82\xAC", ""},  // 0x81 and others are undefined
      {"UTF-32BE", "UTF-16LE", ICONV, std::string("\0\0\0A", 4), 0, std::string("A\0", 2), ""},
      {"ISO-8859-1", "CP1252", TABLE, "ab\x81z", 8, "ab", "U"},  // U+0081 has no place in CP1252
      {"CP1252", "ISO-8859-1", TABLE, "ab\x81z", 8, "ab", "I"},  // 0x81 is no character of CP1252
      {"CP1252", "ISO-8859-1", TABLE, "abcdef", 3, "abc", "O"},
      {"UTF-8", "ISO-8859-1", UNICODE, "a\xE2\x82\xAC", 8, "a", "U"},
      {"UTF-8", "ISO-8859-1", UNICODE, "a\xC3", 8, "a", "I"},  // cut short at the end of the source
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(std::string(c.from) + " to " + c.to + ": " + c.in);
    RecordingHandler handler;
    IntrusivePointer<CharConverter> converter = make(c.from, c.to, &handler);
    EXPECT_EQ(c.kind, kindOf(*converter));
    std::vector<char> out(c.dstLen != 0 ? c.dstLen : converter->maxRequiredOutputBufferLength(c.in.size()));
    unsigned long const n = converter->convert(c.in.data(), c.in.size(), out.data(), out.size());
    EXPECT_EQ(c.out, std::string(out.data(), n));
    EXPECT_EQ(c.calls, handler.calls);
  }
}

TEST(IconvConverterFactory, IncompleteCharacterWaitsForMoreSourceUnlessAtEnd) {
  IntrusivePointer<CharConverter> converter = make("UTF-8", "UTF-16BE");
  std::string const in = "a\xE2\x82";
  for (bool atEnd : {false, true}) {
    SCOPED_TRACE(atEnd);
    char out[8];
    char const* source = in.data();
    char* target = out;
    CharConverter::ErrorCode code = CharConverter::Overflow;
    converter->convert(&source, in.data() + in.size(), &target, out + sizeof out, true, atEnd, code, false);
    EXPECT_EQ(atEnd ? CharConverter::Invalid : CharConverter::Ok, code);
    EXPECT_EQ(1, source - in.data());
    EXPECT_EQ(std::string("\0a", 2), std::string(out, target));
  }
}

TEST(IconvConverterFactory, NullOrUnknownEncodingsAreRefused) {
  IconvConverterFactory const* factory = IconvConverterFactory::instance();
  CharEncoding const* latin1 = CharEncoding::forName("ISO-8859-1");
  EXPECT_THROW(factory->create(nullptr, latin1), InvalidArgumentException);
  EXPECT_THROW(factory->create(latin1, nullptr), InvalidArgumentException);
}

// One converter of each kind shared by four threads: each thread gets its own answers. The
// single-byte converters also move their reference counts from every thread, and the Unicode one
// builds its reverse map on the first use, from whichever thread comes first.
TEST(ConvertersAcrossThreads, EachThreadGetsItsOwnAnswers) {
  IntrusivePointer<CharConverter> const converters[] = {
      make("UTF-8", "UTF-16LE"), make("ISO-8859-1", "IBM-1047"), make("CP1252", "UTF-16LE"),
      SingleByteCharConverter::iso88591ToOpenEd1047(), SingleByteCharConverter::openEd1047ToIso88591()};
  ASSERT_EQ(ICONV, kindOf(*converters[2]));
  IntrusivePointer<UnicodeConverter> const toUnicode = UnicodeConverter::ebcdic1047ToUnicode();
  std::basic_string<unsigned short> printable;
  for (unsigned short u = 0x20; u < 0x7F; ++u) printable += u;
  std::string const printable1047 = UnicodeConverter::ebcdic1047ToUnicode()->fromUnicode(printable);
  ASSERT_EQ("\x40\x5A", printable1047.substr(0, 2));
  std::atomic<int> failures(0);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t]() {
      std::string source = "Hi\n";
      for (int i = 0; i < 4096 + t; ++i) source += static_cast<char>((i * 7 + t) & 0xFF);
      for (int round = 0; round < 200; ++round) {
        std::string const digits = std::to_string(round * 4 + t);
        std::string expected("x\0\xE9\0", 4), euro("\xAC\x20", 2);
        for (char digit : digits)
          expected += std::string(1, digit) + '\0', euro += std::string(1, digit) + '\0';
        char out[64];
        std::string const in = "x\xC3\xA9" + digits, in1252 = "\x80" + digits;
        failures +=
            std::string(out, converters[0]->convert(in.data(), in.size(), out, sizeof out)) != expected;
        failures += std::string(out, converters[1]->convert("AZ\n", 3, out, sizeof out)) != "\xC1\xE9\x25";
        failures +=
            std::string(out, converters[2]->convert(in1252.data(), in1252.size(), out, sizeof out)) != euro;
        IntrusivePointer<CharConverter> forward = converters[3], backward = converters[4];
        std::string ebcdic(source.size(), '\0'), back(source.size(), '\0');
        forward->convert(source.data(), source.size(), &ebcdic[0], ebcdic.size());
        backward->convert(ebcdic.data(), ebcdic.size(), &back[0], back.size());
        failures += back != source || ebcdic.compare(0, 3, "\xC8\x89\x15") != 0;
        IntrusivePointer<UnicodeConverter> mine = toUnicode;
        failures += mine->fromUnicode(printable) != printable1047;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, failures.load());
  EXPECT_EQ(1, converters[3]->getReferenceCount());
  EXPECT_EQ(1, converters[4]->getReferenceCount());
  EXPECT_EQ(1, toUnicode->getReferenceCount());
}

}  // namespace
}  // namespace vyk
