// The table from record format values to format classes, with conversion and byte-order marks.
#include "src/util/RecordFile/MakeRecordFormat.h"

#include "vyk/util/Assert.h"
#include "vyk/util/ConverterRecordFormat.h"
#include "vyk/util/MvsRecordFormat.h"
#include "vyk/util/RecfmF.h"
#include "vyk/util/RecfmV.h"
#include "vyk/util/StreamedRecordFormat.h"

namespace vyk {
namespace detail {
namespace {

using Options = BaseRecordFile::OpenOptions;
using recfm::BomDetector;
using recfm::ByteOrderBE;
using recfm::ByteOrderLE;
using recfm::ConverterRecordFormat;
using recfm::RecfmVBase;

// The plain class, or its converting form when the options convert.
template <class Format>
RecordFormat* plainOrConverting(BaseRecordFile* file, Options const& options) {
  if (options.conversion.isComplete()) return new ConverterRecordFormat<Format>(file, options);
  return new Format(file, options);
}

// A wide terminated form that converts and handles the mark of the file encoding.
template <class CodeUnit, class ByteOrder>
RecordFormat* wideV(BaseRecordFile* file, Options const& options) {
  return new BomDetector<ConverterRecordFormat<RecfmVBase<CodeUnit, ByteOrder>>>(file, options,
                                                                                 options.conversion.second);
}

// RECFM_V: with conversion the file encoding picks the code unit and the mark; without it only
// bomEncoding is looked at, for a mark in front of bytes that stay as they are.
RecordFormat* makeV(BaseRecordFile* file, Options const& options) {
  if (!options.conversion.isComplete()) {
    if (recfm::ByteOrderMark::forEncoding(options.bomEncoding).length == 0)
      return new recfm::RecfmV(file, options);
    return new BomDetector<recfm::RecfmV>(file, options, options.bomEncoding);
  }
  std::uint32_t const flags = encodingFlags(options.conversion.second);
  if (flags & ENC_UTF8) return new BomDetector<recfm::RecfmVConv>(file, options, options.conversion.second);
  if (flags & ENC_UTF16BE) return wideV<unsigned short, ByteOrderBE>(file, options);
  if (flags & ENC_UTF16LE) return wideV<unsigned short, ByteOrderLE>(file, options);
  if (flags & ENC_UTF32BE) return wideV<unsigned int, ByteOrderBE>(file, options);
  if (flags & ENC_UTF32LE) return wideV<unsigned int, ByteOrderLE>(file, options);
  return new recfm::RecfmVConv(file, options);
}

}  // namespace

RecordFormat* makeRecordFormat(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options) {
  switch (options.recfm) {
    case BaseRecordFile::RECFM_S:
      return plainOrConverting<recfm::RecfmS>(file, options);
    case BaseRecordFile::RECFM_V:
      return makeV(file, options);
    case BaseRecordFile::RECFM_F:
      return plainOrConverting<recfm::RecfmF>(file, options);
    case BaseRecordFile::RECFM_N:  // never converts
      return new recfm::RecfmN(file, options);
    case BaseRecordFile::RECFM_P:  // never converts
      return new recfm::RecfmP(file, options);
    case BaseRecordFile::RECFM_S370V:
      return plainOrConverting<recfm::RecfmS370V>(file, options);
    case BaseRecordFile::RECFM_S370VSTREAM:
      return plainOrConverting<recfm::RecfmS370VStreamed>(file, options);
    case BaseRecordFile::RECFM_S370VB:
      return plainOrConverting<recfm::RecfmS370VB>(file, options);
    case BaseRecordFile::RECFM_S370VS:
      return plainOrConverting<recfm::RecfmS370VS>(file, options);
    case BaseRecordFile::RECFM_S370VSSTREAM:
      return plainOrConverting<recfm::RecfmS370VSStreamed>(file, options);
    case BaseRecordFile::RECFM_S370VBS:
      return plainOrConverting<recfm::RecfmS370VBS>(file, options);
  }
  VYK_FAIL("Unexpected value of recfm");
}

}  // namespace detail
}  // namespace vyk
