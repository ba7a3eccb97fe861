// The active session string implementation, its choice, and the free functions that forward to it.
#include "vyk/util/StringUtilsSessionEncoded.h"

#include <atomic>
#include <cstring>
#include <typeinfo>

#include "SingleByteCompare.h"
#include "vyk/util/SharedLibraryManager.h"

namespace vyk {
namespace session_encoded {

namespace {

// Serves while no implementation has been installed yet: before the load-time initialiser of this
// file has run (other initialisers may already use the functions) and after the exit handlers have
// deleted the active one. Constant-initialised, so it exists before any code of the library runs.
SingleByteEncodingStringUtilsSessionEncodedImpl const fallbackImpl;

// The process-wide owning pointer. Assigning deletes what it held, unless the same object is
// assigned again. Reaching the active implementation is one atomic load. Beside it, a flag that is
// set while exactly the single-byte implementation is active: the hottest free functions then call
// its plain functions, with one test and no virtual call.
class ActiveImplHolder {
 public:
  constexpr ActiveImplHolder() : impl_(nullptr), singleByteActive_(false) {}
  ~ActiveImplHolder() {
    singleByteActive_.store(false, std::memory_order_release);
    delete impl_.exchange(nullptr);
  }
  ActiveImplHolder(ActiveImplHolder const&) = delete;
  ActiveImplHolder& operator=(ActiveImplHolder const&) = delete;

  void assign(std::unique_ptr<StringUtilsSessionEncodedImpl> impl) {
    if (impl.get() == impl_.load(std::memory_order_acquire)) {
      impl.release();
      return;
    }
    StringUtilsSessionEncodedImpl const* object = impl.get();
    bool singleByte =
        object != nullptr && typeid(*object) == typeid(SingleByteEncodingStringUtilsSessionEncodedImpl);
    singleByteActive_.store(false, std::memory_order_release);
    delete impl_.exchange(impl.release(), std::memory_order_acq_rel);
    if (singleByte) singleByteActive_.store(true, std::memory_order_release);
  }
  StringUtilsSessionEncodedImpl const& get() const {
    StringUtilsSessionEncodedImpl const* impl = impl_.load(std::memory_order_acquire);
    if (impl != nullptr) return *impl;
    return fallbackImpl;
  }
  bool singleByteActive() const { return singleByteActive_.load(std::memory_order_acquire); }

 private:
  std::atomic<StringUtilsSessionEncodedImpl*> impl_;
  std::atomic<bool> singleByteActive_;
};

// Constant-initialised, so that the free functions work (through the fallback) when called from
// initialisers that run before this file's; the single-byte implementation is installed while the
// library loads.
ActiveImplHolder active;
struct InstallSingleByteImpl {
  InstallSingleByteImpl() { active.assign(StringUtilsSessionEncodedImpl::getSBCSImpl()); }
} const installSingleByteImpl;

char const kSiblingLibrary[] = "vykxicus";
char const kSiblingEntry[] = "createIcuStringUtils";

}  // namespace

StringUtilsSessionEncodedImpl::~StringUtilsSessionEncodedImpl() {}

std::unique_ptr<StringUtilsSessionEncodedImpl> StringUtilsSessionEncodedImpl::getSBCSImpl() {
  return std::unique_ptr<StringUtilsSessionEncodedImpl>(new SingleByteEncodingStringUtilsSessionEncodedImpl);
}

std::unique_ptr<StringUtilsSessionEncodedImpl> StringUtilsSessionEncodedImpl::getMBCSImpl(
    CharEncoding const* encoding) {
  void* entry = SharedLibraryManager::getInstance()._loadAndQuery(kSiblingLibrary, kSiblingEntry);
  if (entry == nullptr) return std::unique_ptr<StringUtilsSessionEncodedImpl>();
  CreateStringUtilsFunction create = reinterpret_cast<CreateStringUtilsFunction>(entry);
  return std::unique_ptr<StringUtilsSessionEncodedImpl>(create(encoding));
}

StringUtilsSessionEncodedImpl const& activeImpl() {
  return active.get();
}

void setSBCSStringUtilBehaviour() {
  active.assign(StringUtilsSessionEncodedImpl::getSBCSImpl());
}

bool setMBCSStringUtilBehaviour(CharEncoding const* encoding) {
  std::unique_ptr<StringUtilsSessionEncodedImpl> impl = StringUtilsSessionEncodedImpl::getMBCSImpl(encoding);
  // Without the sibling the present implementation stays: assigning null would leave none.
  if (!impl) return false;
  active.assign(std::move(impl));
  return true;
}

void to_upper(char* s) {
  active.get().to_upper(s);
}
void to_upper(char* s, unsigned long n) {
  active.get().to_upper(s, n);
}
void to_upper(std::string& s) {
  active.get().to_upper(s);
}
void to_upper(char const* src, unsigned long n, char* dst) {
  active.get().to_upper(src, n, dst);
}
void to_upper(std::string const& src, std::string& dst) {
  active.get().to_upper(src, dst);
}
std::string to_upper_copy(std::string const& s) {
  return active.get().to_upper_copy(s);
}
std::string to_upper_copy(char const* s, int n) {
  return active.get().to_upper_copy(s, n);
}
void to_lower(char* s) {
  active.get().to_lower(s);
}
void to_lower(char* s, unsigned long n) {
  active.get().to_lower(s, n);
}
void to_lower(std::string& s) {
  active.get().to_lower(s);
}
void to_lower(char const* src, unsigned long n, char* dst) {
  active.get().to_lower(src, n, dst);
}
void to_lower(std::string const& src, std::string& dst) {
  active.get().to_lower(src, dst);
}
std::string to_lower_copy(std::string const& s) {
  return active.get().to_lower_copy(s);
}
std::string to_lower_copy(char const* s, int n) {
  return active.get().to_lower_copy(s, n);
}

bool vyk_strisupper(char const* s) {
  return active.get().vyk_strisupper(s);
}
bool vyk_strislower(char const* s) {
  return active.get().vyk_strislower(s);
}

unsigned long vyk_strnlen(char const* s, unsigned long max) {
  unsigned long n = 0;
  while (n < max && s[n] != 0) ++n;
  return n;
}

bool iequals(char const* s, unsigned long n, char const* t, unsigned long m) {
  return active.get().iequals(s, n, t, m);
}
bool iequals(std::string const& s, std::string const& t) {
  return active.get().iequals(s.data(), s.size(), t.data(), t.size());
}
bool iequals(std::string const& s, char const* t) {
  return active.get().iequals(s, t);
}
bool iequals(char const* s, std::string const& t) {
  return active.get().iequals(t, s);
}
bool iequals(char const* s, char const* t) {
  if (active.singleByteActive()) return detail::singleByteIEquals(s, t);
  return active.get().iequals(s, t);
}

int icompare(char const* s, unsigned long n, char const* t, unsigned long m) {
  return active.get().icompare(s, n, t, m);
}
int icompare(std::string const& s, std::string const& t) {
  return active.get().icompare(s.data(), s.size(), t.data(), t.size());
}
int icompare(std::string const& s, char const* t) {
  return active.get().icompare(s, t);
}
int icompare(char const* s, std::string const& t) {
  return -active.get().icompare(t, s);
}
int icompare(char const* s, char const* t) {
  if (active.singleByteActive()) return detail::singleByteICompare(s, t);
  return active.get().icompare(s, t);
}

int icomparen(std::string const& s, std::string const& t, unsigned long limit) {
  return active.get().icomparen(s, t, limit);
}
int icomparen(char const* s, std::string const& t, unsigned long limit) {
  return active.get().icomparen(s, t, limit);
}
int icomparen(char const* s, unsigned long n, char const* t, unsigned long m, unsigned long limit) {
  return active.get().icomparen(s, n, t, m, limit);
}
int icomparen(std::string const& s, char const* t, unsigned long limit) {
  return active.get().icomparen(s, t, limit);
}
int icomparen(char const* s, char const* t, unsigned long limit) {
  return active.get().icomparen(s, t, limit);
}

bool istarts_with(char const* s, unsigned long n, char const* t, unsigned long m) {
  return active.get().istarts_with(s, n, t, m);
}
bool istarts_with(std::string const& s, std::string const& t) {
  return active.get().istarts_with(s.data(), s.size(), t.data(), t.size());
}
bool istarts_with(std::string const& s, char const* t) {
  return active.get().istarts_with(s, t);
}
bool istarts_with(char const* s, char const* t) {
  return active.get().istarts_with(s, t);
}

bool iends_with(char const* s, unsigned long n, char const* t, unsigned long m) {
  return active.get().iends_with(s, n, t, m);
}
bool iends_with(std::string const& s, std::string const& t) {
  return active.get().iends_with(s.data(), s.size(), t.data(), t.size());
}
bool iends_with(std::string const& s, char const* t) {
  return active.get().iends_with(s.data(), s.size(), t, std::strlen(t));
}
bool iends_with(char const* s, char const* t) {
  return active.get().iends_with(s, std::strlen(s), t, std::strlen(t));
}

unsigned long ifind(char const* s, unsigned long n, char const* t, unsigned long m, unsigned long from) {
  return active.get().ifind(s, n, t, m, from);
}
unsigned long ifind(std::string const& s, std::string const& t, unsigned long from) {
  return active.get().ifind(s, t, from);
}

unsigned long CaseInsensitiveStringHashKeyOps::hash(char const* s) {
  if (active.singleByteActive()) return detail::singleByteHash(s);
  return active.get().hash(s);
}
bool CaseInsensitiveStringHashKeyOps::keyequal(char const* s, char const* t) {
  if (active.singleByteActive()) return detail::singleByteIEquals(s, t);
  return active.get().keyequal(s, t);
}

}  // namespace session_encoded
}  // namespace vyk
