// The table from record format values to format classes.
#include "src/util/RecordFile/MakeRecordFormat.h"

#include "vyk/util/Assert.h"
#include "vyk/util/MvsRecordFormat.h"
#include "vyk/util/RecfmF.h"
#include "vyk/util/RecfmV.h"
#include "vyk/util/StreamedRecordFormat.h"

namespace vyk {
namespace detail {

RecordFormat* makeRecordFormat(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options) {
  switch (options.recfm) {
    case BaseRecordFile::RECFM_S:
      return new recfm::RecfmS(file, options);
    case BaseRecordFile::RECFM_V:
      return new recfm::RecfmV(file, options);
    case BaseRecordFile::RECFM_F:
      return new recfm::RecfmF(file, options);
    case BaseRecordFile::RECFM_N:
      return new recfm::RecfmN(file, options);
    case BaseRecordFile::RECFM_P:
      return new recfm::RecfmP(file, options);
    case BaseRecordFile::RECFM_S370V:
      return new recfm::RecfmS370V(file, options);
    case BaseRecordFile::RECFM_S370VSTREAM:
      return new recfm::RecfmS370VStreamed(file, options);
    case BaseRecordFile::RECFM_S370VB:
      return new recfm::RecfmS370VB(file, options);
    case BaseRecordFile::RECFM_S370VS:
      return new recfm::RecfmS370VS(file, options);
    case BaseRecordFile::RECFM_S370VSSTREAM:
      return new recfm::RecfmS370VSStreamed(file, options);
    case BaseRecordFile::RECFM_S370VBS:
      return new recfm::RecfmS370VBS(file, options);
  }
  VYK_FAIL("Unexpected value of recfm");
}

}  // namespace detail
}  // namespace vyk
