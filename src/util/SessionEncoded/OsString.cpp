// The OS-string converters, their lock, and the conversions through them.
#include "vyk/util/OsString.h"

#include <vector>

#include "FileSystemRepresentation.h"
#include "vyk/thread/Mutex.h"
#include "vyk/util/StringUtilsSessionEncoded.h"

namespace vyk {

namespace {

struct OsStringState {
  recursive_mutex lock;
  IntrusivePointer<CharConverter> sessionToOs;
  IntrusivePointer<CharConverter> osToSession;
};

OsStringState& state() {
  static OsStringState instance;
  return instance;
}

// Makes the state while the library loads; it is destroyed at exit, in reverse order.
[[maybe_unused]] OsStringState& loadTimeState = state();

constexpr unsigned long kBlockSize = 128;

// Converts all of text through converter, appending to out block by block. A fault goes to the
// converter's handler; if the handler returns, the conversion ends there.
void convertInBlocks(CharConverter const& converter, std::string const& text, std::string& out) {
  char const* source = text.data();
  char const* const sourceEnd = source + text.size();
  char block[kBlockSize];
  for (bool atStart = true;; atStart = false) {
    char* target = block;
    CharConverter::ErrorCode code = CharConverter::Ok;
    char const* const before = source;
    converter.convert(&source, sourceEnd, &target, block + kBlockSize, atStart, true, code, false);
    out.append(block, static_cast<std::string::size_type>(target - block));
    switch (code) {
      case CharConverter::Ok:
        return;
      case CharConverter::Overflow:
        // A whole empty block that takes nothing cannot be helped by another one.
        if (source == before && target == block) {
          converter.getErrorHandler()->onOverflow();
          return;
        }
        continue;
      case CharConverter::Unmappable:
        converter.getErrorHandler()->onUnmappable();
        return;
      case CharConverter::Invalid:
        converter.getErrorHandler()->onInvalid();
        return;
      default:
        converter.getErrorHandler()->onInvalid();
        return;
    }
  }
}

}  // namespace

void setOsStringConverters(IntrusivePointer<CharConverter> sessionToOs,
                           IntrusivePointer<CharConverter> osToSession) {
  OsStringState& s = state();
  lock_guard<recursive_mutex> guard(s.lock);
  s.sessionToOs = sessionToOs;
  s.osToSession = osToSession;
}

void resetOsStringConverter() {
  OsStringState& s = state();
  lock_guard<recursive_mutex> guard(s.lock);
  s.sessionToOs.reset();
  s.osToSession.reset();
}

std::string convertUtf8StringToOsString(std::string const& utf8) {
  unsigned long length = session_encoded::vyk_strnlen(utf8.data(), utf8.size());
  std::vector<char> buffer(detail::maximumSizeOfFileSystemRepresentation(length));
  if (!detail::getFileSystemRepresentation(utf8.data(), length, buffer.data(), buffer.size())) {
    throw CharConverter::InvalidError();
  }
  return std::string(buffer.data());
}

std::string convertSessionStringToOsString(std::string const& session) {
  OsStringState& s = state();
  lock_guard<recursive_mutex> guard(s.lock);
  if (!s.sessionToOs) return session;
  std::string utf8;
  convertInBlocks(*s.sessionToOs, session, utf8);
  return convertUtf8StringToOsString(utf8);
}

std::string convertOsStringToSessionString(std::string const& os) {
  OsStringState& s = state();
  lock_guard<recursive_mutex> guard(s.lock);
  if (!s.osToSession) return os;
  std::string result;
  convertInBlocks(*s.osToSession, os, result);
  return result;
}

}  // namespace vyk
