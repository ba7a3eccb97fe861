// The table from record format values to format classes.
#include "src/util/RecordFile/MakeRecordFormat.h"

#include "vyk/util/Assert.h"
#include "vyk/util/StreamedRecordFormat.h"

namespace vyk {
namespace detail {

RecordFormat* makeRecordFormat(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options) {
  switch (options.recfm) {
    case BaseRecordFile::RECFM_S:
      return new recfm::RecfmS(file, options);
    case BaseRecordFile::RECFM_V:
    case BaseRecordFile::RECFM_F:
    case BaseRecordFile::RECFM_N:
    case BaseRecordFile::RECFM_P:
    case BaseRecordFile::RECFM_S370V:
    case BaseRecordFile::RECFM_S370VSTREAM:
    case BaseRecordFile::RECFM_S370VB:
    case BaseRecordFile::RECFM_S370VS:
    case BaseRecordFile::RECFM_S370VSSTREAM:
    case BaseRecordFile::RECFM_S370VBS:
      VYK_FAIL("Unsupported");
  }
  VYK_FAIL("Unexpected value of recfm");
}

}  // namespace detail
}  // namespace vyk
