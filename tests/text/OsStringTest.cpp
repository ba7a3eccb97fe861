// Strings between the session encoding and the system's form: blocks, faults, the lock, UTF-8.
#include "vyk/util/OsString.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/TestEncodings.h"

namespace vyk {
namespace {

using testing::TestConverter;

// Latin-1 to UTF-8, stopping with Overflow when the next character does not fit whole; Unmappable at
// the byte 0x80 and Invalid at 0x81, leaving the source on it.
IntrusivePointer<TestConverter> latin1ToUtf8(CharConverter::ErrorHandler const* handler = nullptr) {
  IntrusivePointer<TestConverter> converter(
      new TestConverter(testing::TestEncoding::LATIN1, testing::TestEncoding::UTF8, handler, nullptr));
  converter->unmappableAt = 0x80;
  converter->invalidAt = 0x81;
  return converter;
}

struct OsStrings : ::testing::Test {
  void TearDown() override { resetOsStringConverter(); }
};

TEST_F(OsStrings, ConversionRunsInBlocksAndOnlySessionToOsEndsInTheFileSystemForm) {
  std::string const bytes("a\xFF\xC0\x80z\0tail", 9);  // no UTF-8: without converters it is not checked
  EXPECT_EQ(bytes, convertSessionStringToOsString(bytes));
  IntrusivePointer<TestConverter> toOs = latin1ToUtf8();
  setOsStringConverters(toOs, nullptr);
  // One ASCII byte, then 200 two-byte characters: 401 bytes, and the odd start leaves one byte of
  // room at the end of the first block, too little for a whole character.
  std::string session = "x" + std::string(200, '\xE9'), expected = "x";
  for (int i = 0; i < 200; ++i) expected += "\xC3\xA9";
  EXPECT_EQ(expected, convertSessionStringToOsString(session));
  ASSERT_EQ(4u, toOs->flags.size());  // 127 + 128 + 128 + 18 bytes
  for (std::size_t i = 0; i < toOs->flags.size(); ++i)
    EXPECT_EQ(std::make_pair(i == 0, true), toOs->flags[i]) << "call " << i;
  EXPECT_EQ(session, convertOsStringToSessionString(session));  // no converter that way: a copy
  // Text converted up to an embedded 0 stops there in the file system's form.
  EXPECT_EQ("Caf\xC3\xA9", convertSessionStringToOsString(std::string("Caf\xE9\0more", 8)));
  // The other way appends without the file-system step: IBM-1047 A C1, a 81, 0 F0, blank 40 is no UTF-8.
  setOsStringConverters(nullptr, SingleByteCharConverter::iso88591ToOpenEd1047());
  EXPECT_EQ("\xC1\x81\xF0\x40", convertOsStringToSessionString("Aa0 "));
}

TEST_F(OsStrings, FaultsGoToTheHandlerAndReleaseTheLock) {
  setOsStringConverters(latin1ToUtf8(), latin1ToUtf8());
  EXPECT_THROW(convertSessionStringToOsString("ab\x80"), CharConverter::UnmappableError);
  EXPECT_THROW(convertOsStringToSessionString("ab\x81"), CharConverter::InvalidError);
  // Another thread can take the lock at once: the exception released it.
  std::future<void> other = std::async(std::launch::async, [] { resetOsStringConverter(); });
  ASSERT_EQ(std::future_status::ready, other.wait_for(std::chrono::seconds(20)));
  // A handler that returns ends the conversion at the fault.
  testing::CountingErrorHandler handler;
  setOsStringConverters(latin1ToUtf8(&handler), latin1ToUtf8(&handler));
  EXPECT_EQ("a\xC3\xA9", convertSessionStringToOsString("a\xE9\x80zz"));
  EXPECT_EQ("a\xC3\xA9", convertOsStringToSessionString("a\xE9\x81zz"));
  EXPECT_EQ((std::vector<int>{1, 1, 0}),
            (std::vector<int>{handler.unmappables, handler.invalids, handler.overflows}));
}

TEST_F(OsStrings, ConcurrentConversionsUseTheConverterOneAtATime) {
  IntrusivePointer<TestConverter> toOs = latin1ToUtf8();
  setOsStringConverters(toOs, nullptr);
  std::atomic<int> wrong(0);
  std::vector<std::thread> threads;
  for (int t = 0; t < 6; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 20; ++i)
        wrong += convertSessionStringToOsString(std::string(1000, '\xE9')).size() != 2000;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, wrong.load());
  EXPECT_EQ(1, toOs->mostInside);
}

TEST(Utf8ToOsString, WellFormedTextPassesUpToItsFirstZeroAndMalformedTextIsRefused) {
  std::string const good = "\xE2\x82\xAC\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF";
  EXPECT_EQ(good, convertUtf8StringToOsString(good));
  EXPECT_EQ("ab", convertUtf8StringToOsString(std::string("ab\0\xFF", 4)));  // nothing after the 0 is read
  // Overlong 0, a surrogate, above U+10FFFF, overlong, a stray continuation byte, cut off.
  char const* const bad[] = {"\xC0\x80",         "\xED\xA0\x80", "\xF4\x90\x80\x80",
                             "\xF0\x80\x80\x80", "a\x80",        "\xE2\x82"};
  for (char const* text : bad)
    EXPECT_THROW(convertUtf8StringToOsString(text), CharConverter::InvalidError) << text;
}

}  // namespace
}  // namespace vyk
