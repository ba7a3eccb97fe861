// Byte-order marks, the converting terminated form and the converting instances the library builds.
#include "vyk/util/ConverterRecordFormat.h"

namespace vyk {
namespace recfm {
namespace {

unsigned char const kUtf8Mark[] = {0xEF, 0xBB, 0xBF};
unsigned char const kUtf16BEMark[] = {0xFE, 0xFF};
unsigned char const kUtf16LEMark[] = {0xFF, 0xFE};
unsigned char const kUtf32BEMark[] = {0x00, 0x00, 0xFE, 0xFF};
unsigned char const kUtf32LEMark[] = {0xFF, 0xFE, 0x00, 0x00};

// The line feed of a single-byte or UTF-8 file encoding; the first flag found wins.
char lineFeedFor(CharEncoding const* encoding) {
  std::uint32_t const flags = encodingFlags(encoding);
  if (flags & ENC_ASCII_LINE_ENDS) return 0x0A;
  if (flags & ENC_EBCDIC_NL) return 0x15;
  if (flags & ENC_EBCDIC) return 0x25;
  VYK_FAIL("UTF-16 not supported by this class");
}

}  // namespace

ByteOrderMark ByteOrderMark::forEncoding(CharEncoding const* encoding) {
  std::uint32_t const flags = encodingFlags(encoding);
  if (flags & ENC_UTF8) return {kUtf8Mark, 3};
  if (flags & ENC_UTF16BE) return {kUtf16BEMark, 2};
  if (flags & ENC_UTF16LE) return {kUtf16LEMark, 2};
  if (flags & ENC_UTF32BE) return {kUtf32BEMark, 4};
  if (flags & ENC_UTF32LE) return {kUtf32LEMark, 4};
  return {nullptr, 0};
}

RecfmVConv::RecfmVConv(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options)
    : ConverterRecordFormat<RecfmVBase<char, ByteOrderInapplicable>>(file, options) {
  setLineEnds(0x0D, lineFeedFor(fileEncoding_));
}

template class ConverterRecordFormat<RecfmS>;
template class ConverterRecordFormat<RecfmF>;
template class ConverterRecordFormat<RecfmVBase<char, ByteOrderInapplicable>>;
template class ConverterRecordFormat<RecfmVBase<unsigned short, ByteOrderLE>>;
template class ConverterRecordFormat<RecfmVBase<unsigned short, ByteOrderBE>>;
template class ConverterRecordFormat<RecfmVBase<unsigned int, ByteOrderLE>>;
template class ConverterRecordFormat<RecfmVBase<unsigned int, ByteOrderBE>>;
template class ConverterRecordFormat<RecfmS370V>;
template class ConverterRecordFormat<RecfmS370VB>;
template class ConverterRecordFormat<RecfmS370VS>;
template class ConverterRecordFormat<RecfmS370VBS>;
template class ConverterRecordFormat<RecfmS370VStreamed>;
template class ConverterRecordFormat<RecfmS370VSStreamed>;
template class BomDetector<RecfmVBase<char, ByteOrderInapplicable>>;
template class BomDetector<RecfmVConv>;
template class BomDetector<ConverterRecordFormat<RecfmVBase<unsigned short, ByteOrderLE>>>;
template class BomDetector<ConverterRecordFormat<RecfmVBase<unsigned short, ByteOrderBE>>>;
template class BomDetector<ConverterRecordFormat<RecfmVBase<unsigned int, ByteOrderLE>>>;
template class BomDetector<ConverterRecordFormat<RecfmVBase<unsigned int, ByteOrderBE>>>;

}  // namespace recfm
}  // namespace vyk
