// Opening the two sides of a copy and moving the records.
#include "Copy.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <vector>

#include "vyk/enc/IconvConverterFactory.h"
#include "vyk/util/Exception.h"
#include "vyk/util/StreamRecordFile.h"

namespace vykrec {
namespace {

bool isStandardStream(std::string const& name) {
  return name.empty() || name == "-";
}

bool isS370(vyk::BaseRecordFile::Recfm recfm) {
  return recfm >= vyk::BaseRecordFile::RECFM_S370V;
}

// The S370 formats take their block size from bufferSize: 32760 unless --blksize says otherwise.
vyk::BaseRecordFile::OpenOptions sideOptions(RecordSide const& side, int blockSize,
                                             vyk::RecordFile::OpenMode mode) {
  vyk::BaseRecordFile::OpenOptions options(mode);
  options.recfm = side.recfm;
  if (side.lrecl > 0) options.lrecl = side.lrecl;
  options.termstr = side.termstr;
  options.bufferSize = blockSize > 0 ? blockSize : isS370(side.recfm) ? 32760 : 1 << 16;
  return options;
}

// The largest record the copy passes through whole; longer stream chunks are simply split. A
// stream has no records of its own: with --lrecl its chunks take that length, so that it can become
// records that fit a format with a length limit.
int readBufferSize(RecordSide const& side) {
  if (side.recfm == vyk::BaseRecordFile::RECFM_S && side.lrecl > 0) return side.lrecl;
  int lrecl = side.lrecl > 0 ? side.lrecl : vyk::BaseRecordFile::OpenOptions::getDefaultLrecl();
  return lrecl > (1 << 16) ? lrecl : (1 << 16);
}

}  // namespace

long long copyRecords(CopyOptions const& options) {
  std::ifstream inFile;
  std::ofstream outFile;
  if (!isStandardStream(options.input)) {
    inFile.open(options.input, std::ios::binary);
    if (!inFile) throw vyk::OpenFileException(options.input, std::strerror(errno));
  }
  if (!isStandardStream(options.output)) {
    outFile.open(options.output, std::ios::binary | std::ios::trunc);
    if (!outFile) throw vyk::CreateFileException(options.output, std::strerror(errno));
  }
  std::istream& in = isStandardStream(options.input) ? std::cin : inFile;
  std::ostream& out = isStandardStream(options.output) ? std::cout : outFile;

  // Records are converted on reading into the output's encoding, and the writer converts nothing
  // (its converters are the identity) but lays them out for that encoding: line ends, code unit
  // width, the mark. A converted record may be up to four times its file length.
  vyk::BaseRecordFile::OpenOptions inOptions =
      sideOptions(options.from, options.blockSize, vyk::RecordFile::READ);
  vyk::BaseRecordFile::OpenOptions outOptions =
      sideOptions(options.to, options.blockSize, vyk::RecordFile::WRITE);
  if (options.converts()) {
    vyk::CharConverterFactory const* factory = vyk::IconvConverterFactory::instance();
    inOptions.conversion =
        vyk::CharConversionSpec(options.outputEncoding(), options.inputEncoding(), factory);
    outOptions.conversion =
        vyk::CharConversionSpec(options.outputEncoding(), options.outputEncoding(), factory);
    outOptions.writeBom = options.bom;
  }
  vyk::IntrusivePointer<vyk::BaseRecordFile> reader(
      new vyk::InputStreamRecordFile(in, inOptions, options.input));
  vyk::IntrusivePointer<vyk::BaseRecordFile> writer(new vyk::OutputStreamRecordFile(out, outOptions));

  std::vector<char> buffer(static_cast<size_t>(readBufferSize(options.from)) * (options.converts() ? 4 : 1));
  long long records = 0;
  int eof = 0;
  while (true) {
    int length = reader->read(buffer.data(), static_cast<int>(buffer.size()), &eof);
    if (eof) break;
    writer->write(buffer.data(), length, vyk::CC_SINGLE);
    ++records;
  }
  writer->flush();
  out.flush();
  if (!out) throw vyk::WriteFileException(isStandardStream(options.output) ? "-" : options.output);
  return records;
}

}  // namespace vykrec
