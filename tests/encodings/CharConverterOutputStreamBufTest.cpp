// Stream output through a converter: steps, run flags, handler calls and the final conversion.
#include "vyk/util/CharConverterOutputStreamBuf.h"

#include <gtest/gtest.h>

#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/TestEncodings.h"

namespace vyk {
namespace {

using output_stream_detail::CharConverterOutputStreamBuf;
typedef std::vector<std::pair<bool, bool>> Flags;

// Translates through the OpenEdition table, logs the run flags of every call and, like a converter
// for a richer encoding, stops with Unmappable in front of the byte 0x02.
class LoggingConverter : public SingleByteCharConverter {
 public:
  using CharConverter::convert;
  LoggingConverter(ErrorHandler const* handler, Flags* log) : SingleByteCharConverter(handler), log_(log) {}
  void convert(char const** source, char const* sourceEnd, char** target, char const* targetEnd, bool atStart,
               bool atEnd, ErrorCode& code, bool) const override {
    log_->push_back(std::make_pair(atStart, atEnd));
    TrantabTable const& table = *TrantabTable::iso88591ToOpenEdition1047();
    code = Ok;
    for (; *source != sourceEnd;
         *(*target)++ = static_cast<char>(table[static_cast<unsigned char>(*(*source)++)])) {
      if (**source == '\x02' || *target == targetEnd) {
        code = **source == '\x02' ? Unmappable : Overflow;
        return;
      }
    }
  }

 private:
  Flags* log_;
};

// A stream over a logging converter, writing to `target`; a null handler is the default one, which throws.
struct Stream {
  Stream(CharConverter::ErrorHandler const* handler, std::ostringstream& target, Flags& log)
      : buffer(IntrusivePointer<CharConverter>(new LoggingConverter(handler, &log)), target), out(&buffer) {}
  CharConverterOutputStreamBuf buffer;
  std::ostream out;
};

// Full put areas are converted as they fill, the rest at a flush or in the destructor, each as the end
// of a run; a handler that returns drops the rest of the pending bytes.
TEST(CharConverterOutputStreamBuf, ConvertsFullAreasFlushesAndTheRest) {
  testing::RecordingErrorHandler handler;
  std::ostringstream target, flushed;
  Flags log, flushLog;
  {
    Stream s(&handler, target, log);
    for (int i = 0; i < 1000; ++i) s.out << "AB\n";
    EXPECT_EQ(2048u, target.str().size()) << "two full put areas converted, the rest pending";
    Stream f(&handler, flushed, flushLog);
    f.out << "Hi";
    EXPECT_EQ("", flushed.str());
    f.out << std::flush << "AB\x02\x43\x44" << std::flush << "E" << std::flush;
    EXPECT_EQ("\xC8\x89\xC1\xC2\xC5", flushed.str());
    EXPECT_TRUE(f.out.good());
  }
  std::string expected;
  for (int i = 0; i < 1000; ++i) expected += "\xC1\xC2\x15";
  EXPECT_EQ(expected, target.str());
  EXPECT_EQ((Flags{{true, false}, {false, false}, {false, true}}), log);
  ASSERT_LE(3u, flushLog.size());  // every flush ends a run; only the first starts one
  EXPECT_EQ(Flags(flushLog.size() - 1, {false, true}), Flags(flushLog.begin() + 1, flushLog.end()));
  EXPECT_EQ(std::make_pair(true, true), flushLog[0]);
  EXPECT_EQ("U", handler.calls);
}

TEST(CharConverterOutputStreamBuf, ThrowingHandlerFailsTheStreamButNotTheDestructor) {
  std::ostringstream target;
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
