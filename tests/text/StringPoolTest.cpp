// String pools: chunk room, first-fit placement, stable addresses, sharing and the assertions.
#include "vyk/util/StringPool.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>

namespace vyk {
namespace {

TEST(StringPool, AStringFitsOnlyWhenTheFreeBytesExceedItsLength) {
  StringPool small(16);  // a 12-byte header, then 4 bytes: room for 3 and the 0
  EXPECT_EQ(3u, small.getMaxStringSize());
  char const* s = small.addString("abcXYZ", 3);
  EXPECT_EQ(std::string("abc\0", 4), std::string(s, 4));
  EXPECT_EQ(reinterpret_cast<char const*>(small.getHead()) + 12, s);
  EXPECT_EQ(0u, small.getHead()->freeBytes);
  // Chunk size 32: 20 free bytes at first. First length, second length, both in one chunk.
  std::tuple<unsigned long, unsigned long, bool> const cases[] = {
      {10, 8, true}, {10, 9, false}, {0, 18, true}, {0, 19, false}, {19, 0, false}, {18, 0, true}};
  std::string const text(32, 'x');
  for (auto [first, second, sameChunk] : cases) {
    SCOPED_TRACE(std::to_string(first) + " then " + std::to_string(second));
    StringPool pool(32);
    pool.addString(text.data(), first);
    StringPool::Chunk* firstChunk = pool.getHead();
    EXPECT_EQ(20u - first - 1, firstChunk->freeBytes);
    EXPECT_EQ('\0', pool.addString(text.data(), second)[second]);
    EXPECT_EQ(sameChunk, pool.getHead() == firstChunk);
  }
}

TEST(StringPool, FirstFitStartsAtTheNewestChunk) {
  StringPool pool(32);
  char const* a = pool.addString("0123456789", 10);  // chunk A: 9 free
  StringPool::Chunk* chunkA = pool.getHead();
  char const* b = pool.addString("abcdefghijklmno", 15);  // does not fit A: chunk B, 4 free
  StringPool::Chunk* chunkB = pool.getHead();
  ASSERT_NE(chunkA, chunkB);
  EXPECT_EQ(chunkA, chunkB->next);
  char const* c = pool.addString("xy", 2);  // newest first: B, 1 free
  EXPECT_EQ(b + 16, c);
  char const* d = pool.addString("pq", 2);  // B is full for it: back to A
  EXPECT_EQ(a + 11, d);
  EXPECT_EQ(6u, chunkA->freeBytes);
  EXPECT_EQ(chunkB, pool.getHead());
  // Earlier strings stay where they were.
  EXPECT_STREQ("0123456789", a);
  EXPECT_STREQ("abcdefghijklmno", b);
}

TEST(StringPoolBuilder, EqualTextsShareOneCopy) {
  StringPool pool(64);
  StringPoolBuilder builder(&pool);
  char const* first = builder.addString("shared");
  std::uint32_t freeAfterFirst = pool.getHead()->freeBytes;
  EXPECT_EQ(first, builder.addString(std::string("shared").c_str()));
  EXPECT_EQ(freeAfterFirst, pool.getHead()->freeBytes);
  EXPECT_NE(first, builder.addString("share"));
  // Only the first len bytes are read: an unterminated buffer finds the stored text.
  std::unique_ptr<char[]> bytes(new char[6]{'s', 'h', 'a', 'r', 'e', 'd'});
  EXPECT_EQ(first, builder.addString(bytes.get(), 6));
  EXPECT_EQ(2u, builder.size());
  // A text with a zero inside is stored whole but not shared.
  char const* withZero = builder.addString("a\0b", 3);
  EXPECT_EQ(std::string("a\0b\0", 4), std::string(withZero, 4));
  EXPECT_NE(withZero, builder.addString("a"));
}

std::string assertionLine(char const* condition, char const* file) {
  return std::string("Assertion failed: ") + condition + " at file: src/util/" + file + " line [0-9]+";
}

TEST(StringPoolDeathTest, ProgrammingErrorsEndTheProcess) {
  EXPECT_EXIT(StringPool(15), ::testing::ExitedWithCode(99),
              assertionLine("chunkSize >= MIN_SIZE", "StringPool"));
  EXPECT_EXIT(StringPool(16).addString("abcd", 4), ::testing::ExitedWithCode(99),
              assertionLine("len <= MAX_STRING_SIZE", "StringPool"));
  EXPECT_EXIT(
      {
        StringPool pool(16);
        StringPoolBuilder(&pool).addString(nullptr, 1);
      },
      ::testing::ExitedWithCode(99), assertionLine("toAdd", "StringPoolBuilder"));
}

}  // namespace
}  // namespace vyk
