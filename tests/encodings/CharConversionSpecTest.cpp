// Making converters from a conversion description, and reading an encoding's flag word.
#include "vyk/util/CharConversionSpec.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace vyk {
namespace {

// Stands in for an encoding of an outside library: the flag word first.
struct FakeEncoding {
  std::uint32_t flags;
  char const* name;
};

CharEncoding const* asEncoding(FakeEncoding const& e) {
  return reinterpret_cast<CharEncoding const*>(&e);
}

class RecordingFactory : public CharConverterFactory {
 public:
  IntrusivePointer<CharConverter> create(CharEncoding const* from, CharEncoding const* to) const override {
    calls.push_back(std::make_pair(from, to));
    return SingleByteCharConverter::identity();
  }
  mutable std::vector<std::pair<CharEncoding const*, CharEncoding const*>> calls;
};

// Both directions go through the factory; the flag word is read from the start of an encoding.
TEST(CharConversionSpec, CreatesInBothDirectionsAndReadsFlags) {
  FakeEncoding const client = {ENC_UTF16LE | ENC_ASCII_LINE_ENDS, "client"};
  FakeEncoding const file = {ENC_EBCDIC | ENC_EBCDIC_NL, "file"};
  RecordingFactory factory;
  CharConversionSpec const spec(asEncoding(client), asEncoding(file), &factory);
  EXPECT_TRUE(spec.create1to2());
  EXPECT_TRUE(spec.create2to1());
  ASSERT_EQ(2u, factory.calls.size());
  EXPECT_EQ(std::make_pair(asEncoding(client), asEncoding(file)), factory.calls[0]);
  EXPECT_EQ(std::make_pair(asEncoding(file), asEncoding(client)), factory.calls[1]);
  EXPECT_EQ(0x081u, encodingFlags(asEncoding(client)));
  EXPECT_EQ(0x012u, encodingFlags(asEncoding(file)));
  EXPECT_EQ(0u, encodingFlags(nullptr));
}

TEST(CharConversionSpec, AnIncompleteDescriptionConvertsNothing) {
  FakeEncoding const one = {0, "one"};
  RecordingFactory factory;
  CharConversionSpec const specs[] = {
      CharConversionSpec(),
      CharConversionSpec(asEncoding(one), nullptr, &factory),
      CharConversionSpec(nullptr, asEncoding(one), &factory),
      CharConversionSpec(asEncoding(one), asEncoding(one), nullptr),
  };
  for (CharConversionSpec const& spec : specs) {
    EXPECT_FALSE(spec.create1to2());
    EXPECT_FALSE(spec.create2to1());
  }
  EXPECT_TRUE(factory.calls.empty());
}

}  // namespace
}  // namespace vyk
