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
    bool parses;
    int value;
  };
  Case const cases[] = {
      {"D", true, 0},
      {"V", true, 0},
      {"VB", true, 0},
      {"VBA", true, 0},
      {"vba", true, 0},
      {"vBa", true, 0},
      {"d", true, 0},
      {"FOPEN_V", true, 0},
      {"F", true, 1},
      {"FB", true, 1},
      {"FBA", true, 1},
      {"fb", true, 1},
      {"FOPEN_F", true, 1},
      {"N", true, 2},
      {"n", true, 2},
      {"S", true, 3},
      {"s", true, 3},
      {"P", true, 4},
      {"p", true, 4},
      {"FOPEN_P", true, 4},
      {"S370V", true, 5},
      {"s370v", true, 5},
      {"S370VSTREAM", true, 6},
      {"S370vStream", true, 6},
      {"S370VB", true, 7},
      {"S370VS", true, 8},
      {"S370VSSTREAM", true, 9},
      {"s370vsstream", true, 9},
      {"S370VBS", true, 10},
      {"s370vbs", true, 10},
      // The FOPEN_ keywords compare exactly, case included.
      {"FOPEN_p", false, 0},
      {"fopen_f", false, 0},
      {"Fopen_V", false, 0},
      // Whole length only: no prefixes, abbreviations, extensions or blanks.
      {"", false, 0},
      {"VBAX", false, 0},
      {"S370", false, 0},
      {"S370VSTREAMX", false, 0},
      {" V", false, 0},
      {"V ", false, 0},
      {"V\0"s, false, 0},
      {"FOPEN_", false, 0},
      {"U", false, 0},
      {"VS", false, 0},
      {"\xd6", false, 0},
      {"FOPEN_S", false, 0},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.text);
    // A start value that differs from the expected one shows whether the result was stored.
    BaseRecordFile::Recfm const start =
        c.value == 10 ? BaseRecordFile::RECFM_V : BaseRecordFile::RECFM_S370VBS;
    BaseRecordFile::Recfm result = start;
    EXPECT_EQ(c.parses, BaseRecordFile::tryParseRecfm(c.text, result));
    EXPECT_EQ(c.parses ? c.value : static_cast<int>(start),
              static_cast<int>(result));  // untouched on failure
  }
}

TEST(RecfmKeywords, FoldingFollowsTheTableInForce) {
  // An application that rewrites the table changes which texts match.
  sbcs::detail::tolowerTable_[static_cast<unsigned char>('#')] = 'v';
  sbcs::detail::tolowerTable_[static_cast<unsigned char>('B')] = 'B';
  BaseRecordFile::Recfm result = BaseRecordFile::RECFM_S;
  bool hashIsV = BaseRecordFile::tryParseRecfm("#", result);
  int hashValue = result;
  bool upperBStillFolds = BaseRecordFile::tryParseRecfm("VB", result);
  sbcs::resetCharacterTables();
  EXPECT_TRUE(hashIsV);
  EXPECT_EQ(BaseRecordFile::RECFM_V, hashValue);
  EXPECT_FALSE(upperBStillFolds);
  EXPECT_TRUE(BaseRecordFile::tryParseRecfm("VB", result));
  EXPECT_FALSE(BaseRecordFile::tryParseRecfm("#", result));
}

}  // namespace
}  // namespace vyk
