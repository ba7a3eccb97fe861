// Conversion of strings between the session encoding and the operating system's string form.
#ifndef VYK_UTIL_OSSTRING_H
#define VYK_UTIL_OSSTRING_H

#include <string>

#include "vyk/util/CharConverter.h"
#include "vyk/util/Export.h"
#include "vyk/util/RefCounted.h"

namespace vyk {

// The two process-wide converters, both null at load. Null means that session strings and OS
// strings are the same bytes. The session-to-OS converter must produce UTF-8, which
// convertUtf8StringToOsString then turns into the file system's form.
//
// Every function here takes one process-wide recursive lock (except convertUtf8StringToOsString,
// which takes none) and holds it for the whole conversion, so an installed converter is only ever
// used by one thread at a time. Install converters at start-up.
VYK_EXPORT void setOsStringConverters(IntrusivePointer<CharConverter> sessionToOs,
                                      IntrusivePointer<CharConverter> osToSession);
// Clears both converters: the two forms are the same bytes again.
VYK_EXPORT void resetOsStringConverter();

// The bytes that the file system's interfaces expect for UTF-8 text, up to its first 0. Here that
// form is the UTF-8 bytes themselves. Text that is not well-formed UTF-8 (overlong forms,
// surrogates, values above U+10FFFF, cut-off sequences, stray continuation bytes) is refused with
// CharConverter::InvalidError.
VYK_EXPORT std::string convertUtf8StringToOsString(std::string const& utf8);

// With no converter, a copy. Otherwise the text converted in blocks of 128 bytes, then passed
// through convertUtf8StringToOsString. A fault goes to the converter's error handler
// (CharConverter::InvalidError or UnmappableError with the default one); the lock is released as
// the exception passes. A handler that returns ends the conversion there: the result holds what
// was converted before the fault.
VYK_EXPORT std::string convertSessionStringToOsString(std::string const& session);
// The same with the OS-to-session converter, without the file-system step.
VYK_EXPORT std::string convertOsStringToSessionString(std::string const& os);

}  // namespace vyk

#endif
