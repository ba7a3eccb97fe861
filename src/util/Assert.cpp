// vykFail, the abend handler and checkedMalloc.
#include "vyk/util/Assert.h"

#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>

namespace vyk {
namespace {

void exitWithCode(int code) { std::exit(code); }

void (*abendHandler)(int) = &exitWithCode;

void writeBanner() {
  static char const banner[] = "\n%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%\n";
  std::fwrite(banner, 1, sizeof banner - 1, stderr);
}

}  // namespace

void vykFail(char const* condition, char const* file, int line) {
  std::string text = "Assertion failed: ";
  text += condition ? condition : "";
  text += " at file: ";
  text += file ? file : "";
  text += " line ";
  text += std::to_string(line);
  writeBanner();
  std::fwrite(text.data(), 1, text.size(), stderr);
  writeBanner();
  std::fflush(stderr);
  std::exit(99);
}

void abend(int code) { abendHandler(code); }

void set_abend_handler(void (*handler)(int)) { abendHandler = handler; }

void* checkedMalloc(unsigned long size) {
  void* memory = std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace vyk
