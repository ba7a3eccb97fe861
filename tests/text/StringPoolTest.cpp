// String pools: chunk room, first-fit placement, stable addresses, sharing and the assertions.
#include "vyk/util/StringPool.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace vyk {
namespace {

TEST(StringPool, RoomInAChunkOfSixteenBytes) {
  StringPool pool(16);
  EXPECT_EQ(3u, pool.getMaxStringSize());
  char const* s = pool.addString("abc", 3);
  EXPECT_EQ(std::string("abc\0", 4), std::string(s, 4));
  ASSERT_NE(nullptr, pool.getHead());
  EXPECT_EQ(0u, pool.getHead()->freeBytes);                          // filled exactly
  EXPECT_EQ(reinterpret_cast<char const*>(pool.getHead()) + 12, s);  // data follow the 12-byte header
}

TEST(StringPool, AStringFitsOnlyWhenTheFreeBytesExceedItsLength) {
  struct Case {
    unsigned long first, second;
    bool sameChunk;
  };
  // Chunk size 32: 20 free bytes at first.
  Case const cases[] = {{10, 8, true},  {10, 9, false}, {0, 18, true},
                        {0, 19, false}, {19, 0, false}, {18, 0, true}};
  std::string const text(32, 'x');
  for (Case const& c : cases) {
    SCOPED_TRACE(std::to_string(c.first) + " then " + std::to_string(c.second));
    StringPool pool(32);
    pool.addString(text.data(), c.first);
    StringPool::Chunk* firstChunk = pool.getHead();
    EXPECT_EQ(20u - c.first - 1, firstChunk->freeBytes);
    char const* second = pool.addString(text.data(), c.second);
    EXPECT_EQ(c.sameChunk, pool.getHead() == firstChunk);
    EXPECT_EQ('\0', second[c.second]);
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
  EXPECT_EQ(nullptr, chunkA->next);
  char const* c = pool.addString("xy", 2);  // newest first: B, 1 free
  EXPECT_EQ(b + 16, c);
  EXPECT_EQ(1u, chunkB->freeBytes);
  char const* d = pool.addString("pq", 2);  // B is full for it: back to A
  EXPECT_EQ(a + 11, d);
  EXPECT_EQ(6u, chunkA->freeBytes);
  EXPECT_EQ(chunkB, pool.getHead());
  // Earlier strings stay where they were.
  EXPECT_STREQ("0123456789", a);
  EXPECT_STREQ("abcdefghijklmno", b);
  EXPECT_STREQ("xy", c);
}

TEST(StringPool, EmptyStringTakesOneByteAndTextNeedNotBeTerminated) {
  StringPool pool(16);
  char const* empty = pool.addString("", 0);
  EXPECT_EQ('\0', *empty);
  EXPECT_EQ(3u, pool.getHead()->freeBytes);
  std::unique_ptr<char[]> unterminated(new char[2]{'h', 'i'});
  EXPECT_STREQ("hi", pool.addString(unterminated.get(), 2));
  EXPECT_EQ(0u, pool.getHead()->freeBytes);
}

TEST(StringPoolBuilder, EqualTextsShareOneCopy) {
  StringPool pool(64);
  StringPoolBuilder builder(&pool);
  char const* first = builder.addString("shared");
  std::uint32_t freeAfterFirst = pool.getHead()->freeBytes;
  char const* again = builder.addString(std::string("shared").c_str());
  EXPECT_EQ(first, again);
  EXPECT_EQ(freeAfterFirst, pool.getHead()->freeBytes);
  EXPECT_NE(first, builder.addString("share"));
  EXPECT_NE(first, builder.addString("shared!"));
  // Only the first len bytes are read: an unterminated buffer finds the stored text.
  std::unique_ptr<char[]> bytes(new char[6]{'s', 'h', 'a', 'r', 'e', 'd'});
  EXPECT_EQ(first, builder.addString(bytes.get(), 6));
  EXPECT_EQ(3u, builder.size());
  // Texts stored straight through the pool are unknown to the builder.
  char const* direct = pool.addString("other", 5);
  EXPECT_NE(direct, builder.addString("other"));
}

TEST(StringPoolBuilder, TextWithAZeroInsideIsStoredWholeButNotShared) {
  StringPool pool(64);
  StringPoolBuilder builder(&pool);
  char const* a = builder.addString("a");
  char const* withZero = builder.addString("a\0b", 3);
  EXPECT_NE(a, withZero);
  EXPECT_EQ(std::string("a\0b\0", 4), std::string(withZero, 4));
  EXPECT_EQ(a, builder.addString("a"));
}

std::string assertionLine(char const* condition, char const* file) {
  return std::string("Assertion failed: ") + condition + " at file: " + file + " line [0-9]+";
}

TEST(StringPoolDeathTest, ProgrammingErrorsEndTheProcess) {
  EXPECT_EXIT(StringPool(15), ::testing::ExitedWithCode(99),
              assertionLine("chunkSize >= MIN_SIZE", "src/util/StringPool"));
  EXPECT_EXIT(StringPool(16).addString("abcd", 4), ::testing::ExitedWithCode(99),
              assertionLine("len <= MAX_STRING_SIZE", "src/util/StringPool"));
  EXPECT_EXIT(
      {
        StringPool pool(16);
        StringPoolBuilder(&pool).addString(nullptr, 1);
      },
      ::testing::ExitedWithCode(99), assertionLine("toAdd", "src/util/StringPoolBuilder"));
  EXPECT_EXIT(
      {
        StringPool pool(16);
        StringPoolBuilder(&pool).addString(static_cast<char const*>(nullptr));
      },
      ::testing::ExitedWithCode(99), assertionLine("toAdd", "src/util/StringPoolBuilder"));
}

}  // namespace
}  // namespace vyk
