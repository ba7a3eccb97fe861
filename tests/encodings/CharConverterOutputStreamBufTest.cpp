// Stream output through a converter: steps, run flags, handler calls and the final conversion.
#include "vyk/util/CharConverterOutputStreamBuf.h"

#include <gtest/gtest.h>

#include <ostream>
#include <sstream>
#include <string>
#include <vector>

namespace vyk {
namespace {

using output_stream_detail::CharConverterOutputStreamBuf;

// Translates through the OpenEdition table, logs the run flags of every call and, like a converter
// for a richer encoding, stops with Unmappable in front of the byte 0x02.
class LoggingConverter : public SingleByteCharConverter {
 public:
  using CharConverter::convert;
  LoggingConverter(ErrorHandler const* handler, std::vector<std::pair<bool, bool>>* log)
      : SingleByteCharConverter(handler), log_(log) {}
  void convert(char const** source, char const* sourceEnd, char** target, char const* targetEnd, bool atStart,
               bool atEnd, ErrorCode& code, bool) const override {
    log_->push_back(std::make_pair(atStart, atEnd));
    TrantabTable const& table = *TrantabTable::iso88591ToOpenEdition1047();
    code = Ok;
    while (*source != sourceEnd) {
      if (**source == '\x02') {
        code = Unmappable;
        return;
      }
      if (*target == targetEnd) {
        code = Overflow;
        return;
      }
      *(*target)++ = static_cast<char>(table[static_cast<unsigned char>(*(*source)++)]);
    }
  }

 private:
  std::vector<std::pair<bool, bool>>* log_;
};

class CountingHandler : public CharConverter::ErrorHandler {
 public:
  void onOverflow() const override { ++calls; }
  void onInvalid() const override { ++calls; }
  void onUnmappable() const override { ++unmappables; }
  mutable int calls = 0, unmappables = 0;
};

typedef std::vector<std::pair<bool, bool>> Flags;

// A stream over a logging converter, writing to `target`; a null handler is the default one, which throws.
struct Stream {
  Stream(CharConverter::ErrorHandler const* handler, std::ostringstream& target, Flags& log)
      : buffer(IntrusivePointer<CharConverter>(new LoggingConverter(handler, &log)), target), out(&buffer) {}
  CharConverterOutputStreamBuf buffer;
  std::ostream out;
};

TEST(CharConverterOutputStreamBuf, WritesEveryByteAndFlagsTheFirstAndLastCalls) {
  CountingHandler handler;
  std::ostringstream target;
  Flags log;
  {
    Stream s(&handler, target, log);
    for (int i = 0; i < 1000; ++i) s.out << "AB\n";
    EXPECT_EQ(2048u, target.str().size()) << "two full put areas converted, the rest pending";
  }  // the destructor converts the rest as the end of the run
  std::string expected;
  for (int i = 0; i < 1000; ++i) expected += "\xC1\xC2\x15";
  EXPECT_EQ(expected, target.str());
  EXPECT_EQ((Flags{{true, false}, {false, false}, {false, true}}), log);
  EXPECT_EQ(0, handler.calls + handler.unmappables);
}

TEST(CharConverterOutputStreamBuf, SyncConvertsPendingBytesAsTheEndOfARun) {
  std::ostringstream target;
  Flags log;
  Stream s(nullptr, target, log);
  s.out << "Hi";
  EXPECT_EQ("", target.str());
  s.out.flush();
  EXPECT_EQ("\xC8\x89", target.str());
  s.out << "!" << std::flush;
  EXPECT_EQ("\xC8\x89\x5A", target.str());
  EXPECT_EQ((Flags{{true, true}, {false, true}}), log);
}

TEST(CharConverterOutputStreamBuf, ReturningHandlerDropsTheRestOfThePendingBytes) {
  CountingHandler handler;
  std::ostringstream target;
  Flags log;
  Stream s(&handler, target, log);
  s.out << "AB\x02\x43\x44" << std::flush << "E" << std::flush;
  EXPECT_EQ("\xC1\xC2\xC5", target.str());
  EXPECT_EQ(1, handler.unmappables);
  EXPECT_TRUE(s.out.good());
}

TEST(CharConverterOutputStreamBuf, ThrowingHandlerFailsTheStreamButNotTheDestructor) {
  std::ostringstream plain, target;
  {
    CharConverterOutputStreamBuf buffer(SingleByteCharConverter::identity(), plain);
    std::ostream(&buffer) << "abc";
  }  // the destructor converts what is pending
  EXPECT_EQ("abc", plain.str());
  Flags log;
  {
    Stream s(nullptr, target, log);
    s.out << "A\x02" << std::flush;
    EXPECT_TRUE(s.out.bad());
    s.out.clear();
    s.out << "B\x02";
  }  // the destructor's own conversion throws inside and is swallowed
  EXPECT_EQ("\xC1\xC2", target.str());
}

}  // namespace
}  // namespace vyk
