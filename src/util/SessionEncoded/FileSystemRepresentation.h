// The file system's byte form of UTF-8 text: the small platform layer under convertUtf8StringToOsString.
#ifndef VYK_SRC_UTIL_SESSIONENCODED_FILESYSTEMREPRESENTATION_H
#define VYK_SRC_UTIL_SESSIONENCODED_FILESYSTEMREPRESENTATION_H

namespace vyk {
namespace detail {

// The buffer size, terminating 0 included, that getFileSystemRepresentation may need for
// utf8Length bytes of UTF-8.
unsigned long maximumSizeOfFileSystemRepresentation(unsigned long utf8Length);

// Writes the file system's form of utf8[0..length) and a terminating 0 into buffer[0..size).
// False, with the buffer's content unspecified, when the text is not well-formed UTF-8 or does not
// fit. On this platform the file system takes UTF-8 bytes as they are, without normalisation.
bool getFileSystemRepresentation(char const* utf8, unsigned long length, char* buffer, unsigned long size);

}  // namespace detail
}  // namespace vyk

#endif
