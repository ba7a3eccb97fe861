// Builds the record format object that a record file's open options ask for.
#ifndef VYK_SRC_RECORDFILE_MAKERECORDFORMAT_H
#define VYK_SRC_RECORDFILE_MAKERECORDFORMAT_H

#include "vyk/util/BaseRecordFile.h"

namespace vyk {
class RecordFormat;
namespace detail {

// A new format for options.recfm (wrapped for conversion or byte-order marks where the options ask
// for it), owned by the caller. A value above 10 is a programming error.
RecordFormat* makeRecordFormat(BaseRecordFile* file, BaseRecordFile::OpenOptions const& options);

}  // namespace detail
}  // namespace vyk

#endif
