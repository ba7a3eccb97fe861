// Loads optional sibling libraries by their short names and finds entries in them.
#ifndef VYK_UTIL_SHAREDLIBRARYMANAGER_H
#define VYK_UTIL_SHAREDLIBRARYMANAGER_H

#include "vyk/thread/Mutex.h"
#include "vyk/util/Export.h"

namespace vyk {

// One process-wide instance, made at load and destroyed at exit. Libraries are opened through the
// portable layer (vyc_dlopen, lazy binding, local scope); handles are not recorded and no library is
// ever unloaded, so code and objects from a loaded library stay valid until the process ends.
//
// Safe from any thread: load is serialised by the instance's lock.
class VYK_EXPORT SharedLibraryManager {
 public:
  // Longest short name that load accepts: the file name "lib" + name + suffix must fit, with its
  // terminating 0, in 64 bytes. With the ".so" suffix this is 57; with ".dylib" 54.
  static const unsigned long MAX_NAME_LENGTH;

  static SharedLibraryManager& getInstance();

  // Opens "lib<name>.so" (".dylib" on Apple systems), searched the system's way. Answers the handle,
  // or null when the library cannot be loaded, when name is null, or when name is longer than
  // MAX_NAME_LENGTH (refused rather than cut to some other library's name).
  void* load(const char* name);

  // load(name), then the address of symbol in that library; null when either cannot be found.
  void* _loadAndQuery(const char* name, const char* symbol);

  SharedLibraryManager(SharedLibraryManager const&) = delete;
  SharedLibraryManager& operator=(SharedLibraryManager const&) = delete;

 private:
  SharedLibraryManager();
  ~SharedLibraryManager();

  recursive_mutex mutex_;
};

}  // namespace vyk

#endif
