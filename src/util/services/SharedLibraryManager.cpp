// Opening sibling libraries by short name through the portable layer.
#include "vyk/util/SharedLibraryManager.h"

#include <cstdio>

#include "vyk/util/Portable.h"

namespace vyk {

namespace {

#if defined(__APPLE__)
char const kFileNamePattern[] = "lib%s.dylib";
#else
char const kFileNamePattern[] = "lib%s.so";
#endif

constexpr int kFileNameSize = 64;

// The pattern less its "%s", plus the terminating 0.
constexpr unsigned long kPatternOverhead = sizeof kFileNamePattern - 2;

// Makes the instance while the library loads; it is destroyed at exit, in reverse order.
[[maybe_unused]] SharedLibraryManager& loadTimeInstance = SharedLibraryManager::getInstance();

}  // namespace

const unsigned long SharedLibraryManager::MAX_NAME_LENGTH = kFileNameSize - kPatternOverhead;

SharedLibraryManager::SharedLibraryManager() {}

SharedLibraryManager::~SharedLibraryManager() {}

SharedLibraryManager& SharedLibraryManager::getInstance() {
  static SharedLibraryManager instance;
  return instance;
}

void* SharedLibraryManager::load(const char* name) {
  if (name == nullptr) return nullptr;
  lock_guard<recursive_mutex> guard(mutex_);
  char fileName[kFileNameSize];
  int length = std::snprintf(fileName, sizeof fileName, kFileNamePattern, name);
  // A name that does not fit would be cut into the name of some other library: refuse it.
  if (length < 0 || length >= kFileNameSize) return nullptr;
  return vyc_dlopen(fileName);
}

void* SharedLibraryManager::_loadAndQuery(const char* name, const char* symbol) {
  void* handle = load(name);
  if (handle == nullptr) return nullptr;
  return vyc_dlsym(handle, symbol);
}

}  // namespace vyk
