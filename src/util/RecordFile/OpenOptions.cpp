// Open options and the process-wide default record length behind its lock.
#include "vyk/thread/Mutex.h"
#include "vyk/util/BaseRecordFile.h"

namespace vyk {
namespace {

// Created at load; every access of the default record length takes it.
struct DefaultLrecl {
  recursive_mutex lock;
  int value = 32767;
};

DefaultLrecl& defaultLrecl() {
  static DefaultLrecl instance;  // made at load (below) or at first use from an earlier initialiser
  return instance;
}

DefaultLrecl& defaultLreclAtLoad = defaultLrecl();

}  // namespace

BaseRecordFile::OpenOptions::OpenOptions(OpenMode openMode)
    : mode(openMode),
      recfm(RECFM_V),
      lrecl(getDefaultLrecl()),
      bufferSize(8192),
      termstr(TERMSTR_ANY),
      stopAtCtrlZ(false),
      autoFlush(false),
      writeBom(false),
      padToLrecl(false),
      bomEncoding(nullptr),
      reserved(false) {}

void BaseRecordFile::OpenOptions::setDefaultLrecl(int lrecl) {
  DefaultLrecl& d = defaultLrecl();
  lock_guard<recursive_mutex> guard(d.lock);
  d.value = lrecl;
}

int BaseRecordFile::OpenOptions::getDefaultLrecl() {
  DefaultLrecl& d = defaultLrecl();
  lock_guard<recursive_mutex> guard(d.lock);
  return d.value;
}

}  // namespace vyk
