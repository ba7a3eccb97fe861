// Defaults of the abstract record file and the helpers every record file shares.
#include "vyk/util/RecordFile.h"

#include "vyk/util/Assert.h"
#include "vyk/util/BaseRecordFile.h"

namespace vyk {

int blankLinesForControlChar(CarriageControlType control) {
  switch (control) {
    case CC_DOUBLE:
      return 1;
    case CC_TRIPLE:
      return 2;
    default:
      return 0;
  }
}

void RecordFile::rewind() {}
int RecordFile::note_length() const { return 0; }
bool RecordFile::tell(void*) { VYK_FAIL("Unsupported"); }
bool RecordFile::seek(void const*) { VYK_FAIL("Unsupported"); }
bool RecordFile::isPrintRecordFormat() const { return false; }
bool RecordFile::isPrintFile() const { return false; }
int RecordFile::getLineOnPage() const { VYK_FAIL("Shouldn't get here"); }
int RecordFile::getLinesLeft() const { VYK_FAIL("Shouldn't get here"); }
int RecordFile::getAvailableLinesInPage() const { VYK_FAIL("Shouldn't get here"); }
bool RecordFile::isFixedWidth() const { return false; }
bool RecordFile::hasStreamSemantics() const { return false; }
CharEncoding const* RecordFile::getClientEncoding() const { return nullptr; }
CharEncoding const* RecordFile::getFileEncoding() const { return nullptr; }

unsigned long RecordFile::estimateSpaceUsed(unsigned long length, CarriageControlType control) const {
  if (!isFixedWidth()) return length + 1;
  unsigned long lines = static_cast<unsigned long>(blankLinesForControlChar(control)) + 1;
  return lines * static_cast<unsigned long>(BaseRecordFile::OpenOptions::getDefaultLrecl());
}

}  // namespace vyk
