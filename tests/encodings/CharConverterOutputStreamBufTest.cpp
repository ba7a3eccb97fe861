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
  void onOverflow() const override { ++overflows; }
  void onInvalid() const override { ++invalids; }
  void onUnmappable() const override { ++unmappables; }
  mutable int overflows = 0, invalids = 0, unmappables = 0;
};

TEST(CharConverterOutputStreamBuf, WritesEveryByteAndFlagsTheFirstAndLastCalls) {
  std::ostringstream target;
  std::vector<std::pair<bool, bool>> log;
  CountingHandler handler;
  {
    CharConverterOutputStreamBuf buffer(IntrusivePointer<CharConverter>(new LoggingConverter(&handler, &log)),
                                        target);
    std::ostream out(&buffer);
    for (int i = 0; i < 1000; ++i) out << "AB\n";
    EXPECT_EQ(2048u, target.str().size()) << "two full put areas converted, the rest pending";
  }
  std::string expected;
  for (int i = 0; i < 1000; ++i) expected += "\xC1\xC2\x15";
  EXPECT_EQ(expected, target.str());
  ASSERT_EQ(3u, log.size());
  EXPECT_EQ(std::make_pair(true, false), log[0]);
  EXPECT_EQ(std::make_pair(false, false), log[1]);
  EXPECT_EQ(std::make_pair(false, true), log[2]);
  EXPECT_EQ(0, handler.overflows + handler.invalids + handler.unmappables);
}

TEST(CharConverterOutputStreamBuf, SyncConvertsPendingBytesAsTheEndOfARun) {
  std::ostringstream target;
  std::vector<std::pair<bool, bool>> log;
  CountingHandler handler;
  CharConverterOutputStreamBuf buffer(IntrusivePointer<CharConverter>(new LoggingConverter(&handler, &log)),
                                      target);
  std::ostream out(&buffer);
  out << "Hi";
  EXPECT_EQ("", target.str());
  out.flush();
  EXPECT_EQ("\xC8\x89", target.str());
  out << "!";
  out.flush();
  EXPECT_EQ("\xC8\x89\x5A", target.str());
  ASSERT_EQ(2u, log.size());
  EXPECT_EQ(std::make_pair(true, true), log[0]);
  EXPECT_EQ(std::make_pair(false, true), log[1]);
}

TEST(CharConverterOutputStreamBuf, ReturningHandlerDropsTheRestOfThePendingBytes) {
  std::ostringstream target;
  std::vector<std::pair<bool, bool>> log;
  CountingHandler handler;
  CharConverterOutputStreamBuf buffer(IntrusivePointer<CharConverter>(new LoggingConverter(&handler, &log)),
                                      target);
  std::ostream out(&buffer);
  out << "AB\x02"
         "CD";
  out.flush();
  out << "E";
  out.flush();
  EXPECT_EQ("\xC1\xC2\xC5", target.str());
  EXPECT_EQ(1, handler.unmappables);
  EXPECT_TRUE(out.good());
}

TEST(CharConverterOutputStreamBuf, ThrowingHandlerFailsTheStreamButNotTheDestructor) {
  std::ostringstream target;
  {
    CharConverterOutputStreamBuf buffer(SingleByteCharConverter::identity(), target);
    std::ostream out(&buffer);
    out << "abc";
  }
  EXPECT_EQ("abc", target.str());

  std::vector<std::pair<bool, bool>> log;
  std::ostringstream second;
  {
    CharConverterOutputStreamBuf buffer(IntrusivePointer<CharConverter>(new LoggingConverter(nullptr, &log)),
                                        second);
    std::ostream out(&buffer);
    out << "A\x02";
    out.flush();
    EXPECT_TRUE(out.bad());
    out.clear();
    out << "B\x02";
  }  // the destructor's own conversion throws inside and is swallowed
  EXPECT_EQ("\xC1\xC2", second.str());
}

}  // namespace
}  // namespace vyk
