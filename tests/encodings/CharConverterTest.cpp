// The converter wrappers, the error handlers and the single-byte converters.
#include "vyk/util/CharConverter.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "tests/support/TestEncodings.h"
#include "vyk/util/Exception.h"

namespace vyk {
namespace {

// Copies bytes like the identity, but stops in front of '!' with Invalid and in front of '?' with
// Unmappable, as a converter for a real multi-byte encoding would.
IntrusivePointer<CharConverter> stopping(CharConverter::ErrorHandler const* handler) {
  IntrusivePointer<testing::TestConverter> converter(new testing::TestConverter(
      testing::TestEncoding::LATIN1, testing::TestEncoding::LATIN1, handler, nullptr));
  converter->invalidAt = '!';
  converter->unmappableAt = '?';
  return converter;
}

using testing::HandlerThrew;
using RecordingHandler = testing::RecordingErrorHandler;

enum Wrapper { CONVERT, PAD, PAD_OR_TRUNC, TRUNC };

TEST(CharConverter, WrappersDispatchCodesAndPadAfterTheHandler) {
  struct Case {
    Wrapper wrapper;
    char const* source;
    unsigned long dstLen;
    bool handlerThrows;
    char const* dst;  // the target after the call; '.' marks bytes never written
    long result;      // the returned count, -1 for the padding forms and for a throw
    char const* calls;
  };
  Case const cases[] = {
      {CONVERT, "abcdef", 4, false, "abcd", 4, "O"},
      {CONVERT, "abcdef", 4, true, "abcd", -1, "O"},
      {CONVERT, "ab!cd", 5, false, "ab...", 2, "I"},
      {CONVERT, "ab?cd", 5, false, "ab...", 2, "U"},
      {PAD, "abc", 5, false, "abc##", -1, ""},
      {PAD, "abcdef", 4, false, "abcd", -1, "O"},
      {PAD, "a!c", 5, false, "a####", -1, "I"},
      {PAD, "a!c", 5, true, "a....", -1, "I"},
      {PAD_OR_TRUNC, "abcdef", 4, false, "abcd", -1, ""},
      {PAD_OR_TRUNC, "abc", 4, false, "abc#", -1, ""},
      {PAD_OR_TRUNC, "a?cdef", 4, false, "a###", -1, "U"},
      {PAD_OR_TRUNC, "a!cdef", 4, true, "a...", -1, "I"},
      {TRUNC, "abcdef", 4, false, "abcd", 4, ""},
      {TRUNC, "ab!", 4, false, "ab..", 2, "I"},
      {TRUNC, "ab?", 4, true, "ab..", -1, "U"},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(std::to_string(c.wrapper) + " " + c.source + " " + std::to_string(c.dstLen));
    RecordingHandler handler(c.handlerThrows);
    IntrusivePointer<CharConverter> const converter = stopping(&handler);
    std::string const source(c.source);
    std::vector<char> dst(c.dstLen, '.');
    long result = -1;
    try {
      switch (c.wrapper) {
        case CONVERT:
          result =
              static_cast<long>(converter->convert(source.data(), source.size(), dst.data(), dst.size()));
          break;
        case TRUNC:
          result = static_cast<long>(
              converter->convertAndTrunc(source.data(), source.size(), dst.data(), dst.size()));
          break;
        case PAD:
          converter->convertAndPad(source.data(), source.size(), dst.data(), dst.size(), '#');
          break;
        case PAD_OR_TRUNC:
          converter->convertAndPadOrTrunc(source.data(), source.size(), dst.data(), dst.size(), '#');
      }
      EXPECT_FALSE(c.handlerThrows && !handler.calls.empty()) << "the handler's exception was swallowed";
    } catch (HandlerThrew const&) {
      EXPECT_TRUE(c.handlerThrows);
    }
    EXPECT_EQ(c.dst, std::string(dst.begin(), dst.end()));
    EXPECT_EQ(c.result, result);
    EXPECT_EQ(c.calls, handler.calls);
  }
}

TEST(CharConverter, DefaultHandlerThrowsTheNestedExceptions) {
  IntrusivePointer<CharConverter> const converter = stopping(nullptr);
  for (char const* source : {"abcdef", "a!", "a?"}) {
    char dst[4];
    try {
      converter->convert(source, std::strlen(source), dst, sizeof dst);
      ADD_FAILURE() << "no exception for " << source;
    } catch (vyk::Exception const&) {
      ADD_FAILURE() << "the converter exceptions stand outside the library's tree";
    } catch (CharConverter::Exception const& e) {
      EXPECT_STREQ(source[1] == '!'   ? "CharConverter::Invalid"
                   : source[1] == '?' ? "CharConverter::Unmappable"
                                      : "CharConverter::Overflow",
                   e.what());
    }
  }
}

// Every source and target length through exact-size heap buffers, so that AddressSanitizer sees a
// byte read or written too far; the same buffer in place; the pad byte written as given.
TEST(CharConverter, NamedConvertersMapInsideBothBuffersAndPadUntranslated) {
  typedef IntrusivePointer<CharConverter> (*Factory)(CharConverter::ErrorHandler const*);
  // The converter, whether it is the identity, a text and what it becomes.
  std::string const latin = "Hi,\n\xFF\x85[]ABCDEFGHIJ",
                    ebcdic = "\xC8\x89\x6B\x15\xDF\x25\xAD\xBD\xC1\xC2\xC3\xC4\xC5\xC6\xC7\xC8\xC9\xD1";
  std::tuple<Factory, bool, std::string, std::string> const cases[] = {
      {&SingleByteCharConverter::identity, true, latin, latin},
      {&SingleByteCharConverter::compilerToIso88591, false, latin, latin},
      {&SingleByteCharConverter::iso88591ToOpenEd1047, false, latin, ebcdic},
      {&SingleByteCharConverter::compilerToOpenEd1047, false, latin, ebcdic},
      {&SingleByteCharConverter::openEd1047ToIso88591, false, ebcdic, latin},
  };
  for (auto const& [factory, identity, in, out] : cases) {
    SCOPED_TRACE(out);
    IntrusivePointer<CharConverter> converter = factory(nullptr);
    EXPECT_EQ(identity, converter->isIdentity());
    for (std::size_t srcLen = 0; srcLen <= in.size(); ++srcLen) {
      for (std::size_t dstLen = 0; dstLen <= in.size(); ++dstLen) {
        std::vector<char> src(in.begin(), in.begin() + srcLen), dst(dstLen, '.');
        char const* source = src.data();
        char* target = dst.data();
        CharConverter::ErrorCode code = CharConverter::Invalid;
        converter->convert(&source, src.data() + srcLen, &target, dst.data() + dstLen, true, true, code,
                           false);
        std::size_t const n = std::min(srcLen, dstLen);
        ASSERT_EQ(srcLen > dstLen ? CharConverter::Overflow : CharConverter::Ok, code)
            << srcLen << " " << dstLen;
        ASSERT_EQ(src.data() + n, source);
        ASSERT_EQ(out.substr(0, n) + std::string(dstLen - n, '.'), std::string(dst.begin(), dst.end()));
      }
    }
    std::string buffer = in;
    EXPECT_EQ(buffer.size(), converter->convert(buffer.data(), buffer.size(), &buffer[0], buffer.size()));
    EXPECT_EQ(out, buffer);
    char padded[4];
    converter->convertAndPad(in.data(), 1, padded, 4, '\x15');
    EXPECT_EQ(out.substr(0, 1) + "\x15\x15\x15", std::string(padded, 4));
  }
  RecordingHandler handler(false);
  EXPECT_EQ(&handler, SingleByteCharConverter::iso88591ToOpenEd1047(&handler)->getErrorHandler());
}

}  // namespace
}  // namespace vyk
