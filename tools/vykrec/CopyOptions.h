// The options of `vykrec copy` and their parsing from the command line.
#ifndef VYKREC_COPYOPTIONS_H
#define VYKREC_COPYOPTIONS_H

#include <stdexcept>
#include <string>
#include <vector>

#include "vyk/enc/CharEncoding.h"
#include "vyk/util/BaseRecordFile.h"

namespace vykrec {

// A mistake on the command line: printed as one line, exit status 2.
class UsageError : public std::runtime_error {
 public:
  explicit UsageError(std::string const& text) : std::runtime_error(text) {}
};

// How one side of the copy is laid out.
struct RecordSide {
  vyk::BaseRecordFile::Recfm recfm = vyk::BaseRecordFile::RECFM_S;
  int lrecl = 0;                                   // 0: the library's default
  int termstr = vyk::BaseRecordFile::TERMSTR_ANY;  // record terminator of the V and P formats
};

struct CopyOptions {
  RecordSide from;
  RecordSide to;
  std::string input;   // empty or "-": standard input
  std::string output;  // empty or "-": standard output
  bool help = false;
  int blockSize = 0;  // --blksize: block size of the S370 formats (OpenOptions::bufferSize); 0: default
  // --from-encoding and --to-encoding; null when not given. When only one is given the other side
  // has the same encoding.
  vyk::CharEncoding const* fromEncoding = nullptr;
  vyk::CharEncoding const* toEncoding = nullptr;
  bool bom = false;  // --bom: the output starts with the byte-order mark of its encoding

  bool converts() const { return fromEncoding != nullptr || toEncoding != nullptr; }
  vyk::CharEncoding const* inputEncoding() const { return fromEncoding ? fromEncoding : toEncoding; }
  vyk::CharEncoding const* outputEncoding() const { return toEncoding ? toEncoding : fromEncoding; }
};

// Parses the words after "copy" and looks the encodings up. Throws UsageError, also for an encoding
// name that iconv does not know and for --bom where the output can carry no mark.
CopyOptions parseCopyOptions(std::vector<std::string> const& args);

}  // namespace vykrec

#endif
