// The record copy of `vykrec copy`: open both sides, move every record across.
#ifndef VYKREC_COPY_H
#define VYKREC_COPY_H

#include "CopyOptions.h"

namespace vykrec {

// Copies every record from the input to the output as the options say and returns the number of
// records copied. Library failures propagate as vyk::Exception; a file that cannot be opened
// throws vyk::FileException.
long long copyRecords(CopyOptions const& options);

}  // namespace vykrec

#endif
