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

using testing::TestConverter;

// Latin-1 to IBM-1047 that, like a converter for a richer encoding, stops with Unmappable in front of
// the byte 0x02; it logs the run flags of every call. A null handler is the default one, which throws.
IntrusivePointer<TestConverter> toEbcdic(CharConverter::ErrorHandler const* handler) {
  IntrusivePointer<TestConverter> converter(
      new TestConverter(testing::TestEncoding::LATIN1, testing::TestEncoding::EBCDIC1047, handler, nullptr));
  converter->unmappableAt = 0x02;
  return converter;
}

struct Stream {
  Stream(IntrusivePointer<CharConverter> converter, std::ostringstream& target)
      : buffer(converter, target), out(&buffer) {}
  CharConverterOutputStreamBuf buffer;
  std::ostream out;
};

// Full put areas are converted as they fill, the rest at a flush or in the destructor, each as the end
// of a run; a handler that returns drops the rest of the pending bytes.
TEST(CharConverterOutputStreamBuf, ConvertsFullAreasFlushesAndTheRest) {
  testing::RecordingErrorHandler handler;
  std::ostringstream target, flushed;
  IntrusivePointer<TestConverter> converter = toEbcdic(&handler), flushing = toEbcdic(&handler);
  Flags const& log = converter->flags;
  Flags const& flushLog = flushing->flags;
  {
    Stream s(converter, target);
    for (int i = 0; i < 1000; ++i) s.out << "AB\n";
    EXPECT_EQ(2048u, target.str().size()) << "two full put areas converted, the rest pending";
    Stream f(flushing, flushed);
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
  {
    Stream s(toEbcdic(nullptr), target);
    s.out << "A\x02" << std::flush;
    EXPECT_TRUE(s.out.bad());
    s.out.clear();
    s.out << "B\x02";
  }  // the destructor's own conversion throws inside and is swallowed
  EXPECT_EQ("\xC1\xC2", target.str());
}

}  // namespace
}  // namespace vyk
