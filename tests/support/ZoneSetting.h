// Sets the TZ variable for the life of the object and puts the old value back.
#ifndef VYK_TESTS_SUPPORT_ZONESETTING_H
#define VYK_TESTS_SUPPORT_ZONESETTING_H

#include <stdlib.h>
#include <time.h>

#include <string>

namespace vyk {
namespace test_support {

class ZoneSetting {
 public:
  explicit ZoneSetting(char const* zone) {
    char const* old = getenv("TZ");
    had_ = old != nullptr;
    if (had_) old_ = old;
    setenv("TZ", zone, 1);
    tzset();
  }
  ~ZoneSetting() {
    if (had_)
      setenv("TZ", old_.c_str(), 1);
    else
      unsetenv("TZ");
    tzset();
  }
  ZoneSetting(ZoneSetting const&) = delete;
  ZoneSetting& operator=(ZoneSetting const&) = delete;

 private:
  bool had_;
  std::string old_;
};

}  // namespace test_support
}  // namespace vyk

#endif
