// The record format keywords: the whole vocabulary, case rules and tables rewritten at run time.
#include <gtest/gtest.h>

#include <string>

#include "vyk/util/BaseRecordFile.h"
#include "vyk/util/CharacterTables.h"

namespace vyk {
namespace {

using namespace std::string_literals;

TEST(RecfmKeywords, EveryKeywordAndItsCaseRule) {
  struct Case {
    std::string text;
    int value;  // -1: not a keyword
  };
  // clang-format off
  Case const cases[] = {
      {"D", 0}, {"V", 0}, {"VB", 0}, {"vBa", 0}, {"FOPEN_V", 0}, {"F", 1}, {"FBA", 1}, {"fb", 1},
      {"FOPEN_F", 1}, {"n", 2}, {"S", 3}, {"p", 4}, {"FOPEN_P", 4}, {"s370v", 5}, {"S370vStream", 6},
      {"S370VB", 7}, {"S370VS", 8}, {"s370vsstream", 9}, {"S370VBS", 10},
      // The FOPEN_ keywords compare exactly; the rest over their whole length, with no blanks.
      {"FOPEN_p", -1}, {"fopen_f", -1}, {"", -1}, {"VBAX", -1}, {"S370", -1}, {"S370VSTREAMX", -1},
      {" V", -1}, {"V\0"s, -1}, {"FOPEN_", -1}, {"U", -1}, {"VS", -1}, {"\xd6", -1}, {"FOPEN_S", -1},
  };
  // clang-format on
  for (Case const& c : cases) {
    SCOPED_TRACE(c.text);
    // A start value unlike any expected one shows whether the result was stored, and that a failure
    // leaves it untouched.
    BaseRecordFile::Recfm const start =
        c.value == 10 ? BaseRecordFile::RECFM_V : BaseRecordFile::RECFM_S370VBS;
    BaseRecordFile::Recfm result = start;
    EXPECT_EQ(c.value >= 0, BaseRecordFile::tryParseRecfm(c.text, result));
    EXPECT_EQ(c.value >= 0 ? c.value : static_cast<int>(start), static_cast<int>(result));
  }
}

TEST(RecfmKeywords, FoldingFollowsTheTableInForce) {
  sbcs::detail::tolowerTable_[static_cast<unsigned char>('#')] = 'v';
  sbcs::detail::tolowerTable_[static_cast<unsigned char>('B')] = 'B';
  BaseRecordFile::Recfm result = BaseRecordFile::RECFM_S;
  bool const hashIsV = BaseRecordFile::tryParseRecfm("#", result);
  int const hashValue = result;
  bool const upperBStillFolds = BaseRecordFile::tryParseRecfm("VB", result);
  sbcs::resetCharacterTables();
  EXPECT_TRUE(hashIsV);
  EXPECT_EQ(BaseRecordFile::RECFM_V, hashValue);
  EXPECT_FALSE(upperBStillFolds);
  EXPECT_TRUE(BaseRecordFile::tryParseRecfm("VB", result));
  EXPECT_FALSE(BaseRecordFile::tryParseRecfm("#", result));
}

}  // namespace
}  // namespace vyk
