// The record format keywords that select a format by name.
#include <cstring>

#include "vyk/util/BaseRecordFile.h"
#include "vyk/util/CharacterTables.h"

namespace vyk {
namespace {

struct Keyword {
  char const* text;
  BaseRecordFile::Recfm value;
};

// Compared exactly, case included.
Keyword const kExactKeywords[] = {
    {"FOPEN_V", BaseRecordFile::RECFM_V},
    {"FOPEN_F", BaseRecordFile::RECFM_F},
    {"FOPEN_P", BaseRecordFile::RECFM_P},
};

// Compared over their whole length without regard to case; written in lower case.
Keyword const kFoldedKeywords[] = {
    {"d", BaseRecordFile::RECFM_V},
    {"v", BaseRecordFile::RECFM_V},
    {"vb", BaseRecordFile::RECFM_V},
    {"vba", BaseRecordFile::RECFM_V},
    {"f", BaseRecordFile::RECFM_F},
    {"fb", BaseRecordFile::RECFM_F},
    {"fba", BaseRecordFile::RECFM_F},
    {"n", BaseRecordFile::RECFM_N},
    {"s", BaseRecordFile::RECFM_S},
    {"p", BaseRecordFile::RECFM_P},
    {"s370v", BaseRecordFile::RECFM_S370V},
    {"s370vstream", BaseRecordFile::RECFM_S370VSTREAM},
    {"s370vb", BaseRecordFile::RECFM_S370VB},
    {"s370vs", BaseRecordFile::RECFM_S370VS},
    {"s370vsstream", BaseRecordFile::RECFM_S370VSSTREAM},
    {"s370vbs", BaseRecordFile::RECFM_S370VBS},
};

// Both sides go through the table in force, so that an application's rewritten table applies to
// the keyword as to the text.
bool equalsFolded(std::string const& text, char const* keyword) {
  if (text.size() != std::strlen(keyword)) return false;
  for (size_t i = 0; i < text.size(); ++i) {
    if (sbcs::toLower(text[i]) != sbcs::toLower(keyword[i])) return false;
  }
  return true;
}

}  // namespace

bool BaseRecordFile::tryParseRecfm(std::string const& text, Recfm& result) {
  for (Keyword const& k : kExactKeywords) {
    if (text == k.text) {
      result = k.value;
      return true;
    }
  }
  for (Keyword const& k : kFoldedKeywords) {
    if (equalsFolded(text, k.text)) {
      result = k.value;
      return true;
    }
  }
  return false;
}

}  // namespace vyk
