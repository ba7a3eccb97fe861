// Strings between the session encoding and the system's form: blocks, faults, the lock, UTF-8.
#include "vyk/util/OsString.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace vyk {
namespace {

// Latin-1 to UTF-8, one character at a time, stopping with Overflow when the next one does not fit
// whole. Reports Unmappable at the byte 0x80 and Invalid at 0x81, leaving the source on it. Records
// the flags of each call and how many threads are inside convert at once.
class Latin1ToUtf8 : public CharConverter {
 public:
  explicit Latin1ToUtf8(ErrorHandler const* handler = nullptr) : CharConverter(handler) {}
  void convert(char const** source, char const* sourceEnd, char** target, char const* targetEnd, bool atStart,
               bool atEnd, ErrorCode& code, bool /*reservedFlag*/) const override {
    int inside = ++inside_;
    if (inside > mostInside_) mostInside_ = inside;
    std::this_thread::yield();
    calls_.push_back({atStart, atEnd});
    code = Ok;
    while (*source < sourceEnd) {
      unsigned char c = static_cast<unsigned char>(**source);
      if (c == 0x80 || c == 0x81) {
        code = c == 0x80 ? Unmappable : Invalid;
        break;
      }
      int need = c < 0x80 ? 1 : 2;
      if (targetEnd - *target < need) {
        code = Overflow;
        break;
      }
      if (need == 1) {
        *(*target)++ = static_cast<char>(c);
      } else {
        *(*target)++ = static_cast<char>(0xC0 | (c >> 6));
        *(*target)++ = static_cast<char>(0x80 | (c & 0x3F));
      }
      ++*source;
    }
    --inside_;
  }
  unsigned long maxRequiredOutputBufferLength(unsigned long n) const override { return 2 * n; }
  int maxSourceBytesPerChar() const override { return 1; }
  int maxTargetBytesPerChar() const override { return 2; }

  struct Flags {
    bool atStart, atEnd;
  };
  mutable std::vector<Flags> calls_;
  mutable std::atomic<int> inside_{0};
  mutable int mostInside_ = 0;
};

// A handler that returns, counting what it was told.
class CountingHandler : public CharConverter::ErrorHandler {
 public:
  void onOverflow() const override { ++overflows; }
  void onInvalid() const override { ++invalids; }
  void onUnmappable() const override { ++unmappables; }
  mutable int overflows = 0, invalids = 0, unmappables = 0;
};

class OsStrings : public ::testing::Test {
 protected:
  void TearDown() override { resetOsStringConverter(); }
};

TEST_F(OsStrings, WithoutConvertersTheBytesPassUnchanged) {
  // Not UTF-8: had it reached the file-system step, it would have been refused.
  std::string bytes("a\xFF\xC0\x80z\0tail", 9);
  EXPECT_EQ(bytes, convertSessionStringToOsString(bytes));
  EXPECT_EQ(bytes, convertOsStringToSessionString(bytes));
}

TEST_F(OsStrings, SessionToOsRunsInBlocksAndEndsInTheFileSystemForm) {
  IntrusivePointer<Latin1ToUtf8> toOs(new Latin1ToUtf8);
  setOsStringConverters(toOs, nullptr);
  // One ASCII byte, then 200 two-byte characters: 401 bytes, and the odd start leaves one byte of
  // room at the end of the first block, too little for a whole character.
  std::string session = "x" + std::string(200, '\xE9');
  std::string expected = "x";
  for (int i = 0; i < 200; ++i) expected += "\xC3\xA9";
  EXPECT_EQ(expected, convertSessionStringToOsString(session));
  ASSERT_EQ(4u, toOs->calls_.size());  // 127 + 128 + 128 + 18 bytes
  for (std::size_t i = 0; i < toOs->calls_.size(); ++i) {
    EXPECT_EQ(i == 0, toOs->calls_[i].atStart) << "call " << i;
    EXPECT_TRUE(toOs->calls_[i].atEnd) << "call " << i;
  }
  // The other direction has no converter: a copy.
  EXPECT_EQ(session, convertOsStringToSessionString(session));
  // Text converted up to an embedded 0 stops there in the file system's form.
  EXPECT_EQ("Caf\xC3\xA9", convertSessionStringToOsString(std::string("Caf\xE9\0more", 8)));
}

TEST_F(OsStrings, OsToSessionAppendsWithoutTheFileSystemStep) {
  setOsStringConverters(nullptr, SingleByteCharConverter::iso88591ToOpenEd1047());
  // Letters and digits of IBM-1047: A C1, a 81, 0 F0, blank 40.
  EXPECT_EQ("\xC1\x81\xF0\x40", convertOsStringToSessionString("Aa0 "));
  std::string longText(300, 'A');
  EXPECT_EQ(std::string(300, '\xC1'), convertOsStringToSessionString(longText));
  // The output of this direction is no UTF-8, and is not checked as such.
  EXPECT_EQ("\xC1", convertOsStringToSessionString("A"));
  EXPECT_EQ("abc", convertSessionStringToOsString("abc"));
}

TEST_F(OsStrings, FaultsGoToTheHandlerAndReleaseTheLock) {
  struct Case {
    char const* text;
    bool unmappable;
  };
  const Case cases[] = {{"ab\x80"
                         "cd",
                         true},
                        {"ab\x81"
                         "cd",
                         false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.unmappable ? "unmappable" : "invalid");
    setOsStringConverters(new Latin1ToUtf8, new Latin1ToUtf8);
    if (c.unmappable) {
      EXPECT_THROW(convertSessionStringToOsString(c.text), CharConverter::UnmappableError);
      EXPECT_THROW(convertOsStringToSessionString(c.text), CharConverter::UnmappableError);
    } else {
      EXPECT_THROW(convertSessionStringToOsString(c.text), CharConverter::InvalidError);
      EXPECT_THROW(convertOsStringToSessionString(c.text), CharConverter::InvalidError);
    }
    // Another thread can take the lock at once: the exception released it.
    std::future<void> other = std::async(std::launch::async, [] { resetOsStringConverter(); });
    ASSERT_EQ(std::future_status::ready, other.wait_for(std::chrono::seconds(20)));
    EXPECT_EQ(c.text, convertSessionStringToOsString(c.text));
  }
}

TEST_F(OsStrings, HandlerThatReturnsEndsTheConversionAtTheFault) {
  CountingHandler handler;
  setOsStringConverters(new Latin1ToUtf8(&handler), new Latin1ToUtf8(&handler));
  EXPECT_EQ("a\xC3\xA9", convertSessionStringToOsString("a\xE9\x80zz"));
  EXPECT_EQ("a\xC3\xA9", convertOsStringToSessionString("a\xE9\x81zz"));
  EXPECT_EQ(1, handler.unmappables);
  EXPECT_EQ(1, handler.invalids);
  EXPECT_EQ(0, handler.overflows);
}

TEST_F(OsStrings, ResetMakesCopiesAgain) {
  setOsStringConverters(new Latin1ToUtf8, SingleByteCharConverter::iso88591ToOpenEd1047());
  EXPECT_EQ("\xC3\xA9", convertSessionStringToOsString("\xE9"));
  resetOsStringConverter();
  EXPECT_EQ("\xE9", convertSessionStringToOsString("\xE9"));
  EXPECT_EQ("A", convertOsStringToSessionString("A"));
}

TEST_F(OsStrings, ConcurrentConversionsUseTheConverterOneAtATime) {
  IntrusivePointer<Latin1ToUtf8> toOs(new Latin1ToUtf8);
  setOsStringConverters(toOs, nullptr);
  std::string session(1000, '\xE9');
  std::vector<std::thread> threads;
  std::atomic<int> wrong(0);
  for (int t = 0; t < 6; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 20; ++i) {
        if (convertSessionStringToOsString(session).size() != 2000) ++wrong;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, wrong.load());
  EXPECT_EQ(1, toOs->mostInside_);
}

TEST(Utf8ToOsString, WellFormedTextPassesUpToItsFirstZero) {
  struct Case {
    std::string utf8;
    std::string os;
  };
  const Case cases[] = {
      {"", ""},
      {"plain/path.txt", "plain/path.txt"},
      {"\xC3\xA9t\xC3\xA9", "\xC3\xA9t\xC3\xA9"},
      {"\xE2\x82\xAC\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF", "\xE2\x82\xAC\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF"},
      {std::string("ab\0\xFF", 4), "ab"},  // what follows the 0 is not looked at
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.os);
    EXPECT_EQ(c.os, convertUtf8StringToOsString(c.utf8));
  }
}

TEST(Utf8ToOsString, MalformedTextIsRefused) {
  char const* const cases[] = {
      "\xC0\x80",          // overlong 0
      "\xED\xA0\x80",      // a surrogate
      "\xF4\x90\x80\x80",  // above U+10FFFF
      "\xF0\x80\x80\x80",  // overlong
      "a\x80",             // stray continuation byte
      "\xE2\x82",          // cut off
      "\xFF",
  };
  for (char const* text : cases) {
    SCOPED_TRACE(text);
    EXPECT_THROW(convertUtf8StringToOsString(text), CharConverter::InvalidError);
  }
}

}  // namespace
}  // namespace vyk
