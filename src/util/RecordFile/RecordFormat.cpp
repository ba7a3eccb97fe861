// Defaults of the record format interface.
#include "vyk/util/RecordFormat.h"

#include "vyk/util/Assert.h"

namespace vyk {
namespace {
// A block needs at least one byte, or writing could never make room; below that the default applies.
int usableBufferSize(int requested) { return requested >= 1 ? requested : 8192; }
}  // namespace

RecordFormat::RecordFormat(char const* name, BaseRecordFile* file, BaseRecordFile::OpenOptions const& options)
    : name_(name),
      mode_(options.mode),
      lrecl_(options.lrecl),
      bufferSize_(usableBufferSize(options.bufferSize)),
      stream_(file, options.mode, bufferSize_) {}

RecordFormat::~RecordFormat() {}

bool RecordFormat::attemptToChangeRecordLength(int) { return false; }
CharEncoding const* RecordFormat::getClientEncoding() { return nullptr; }
CharEncoding const* RecordFormat::getFileEncoding() { return nullptr; }
bool RecordFormat::isPrintFile() const { return false; }
int RecordFormat::getLineOnPage() const { VYK_FAIL("Shouldn't get here"); }
int RecordFormat::getLinesLeft() const { VYK_FAIL("Shouldn't get here"); }
int RecordFormat::getAvailableLinesInPage() const { VYK_FAIL("Shouldn't get here"); }
bool RecordFormat::isFixedWidth() const { return false; }
bool RecordFormat::hasStreamSemantics() const { return false; }
bool RecordFormat::supportsNote() const { return false; }
bool RecordFormat::tellpos(long long*) { return false; }
bool RecordFormat::seekpos(long long const&) { return false; }
void RecordFormat::indicateNewVolume() {}

}  // namespace vyk
