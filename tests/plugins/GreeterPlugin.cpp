// A loadable plugin for the locator tests: it exports the factory of the service "Greeter".
#include <atomic>

#include "vyk/util/ServiceLocator.h"

#define PLUGIN_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

// What the tests read back: instances made, instances alive, init calls.
std::atomic<int> created(0);
std::atomic<int> alive(0);
std::atomic<int> inits(0);

class Greeter : public vyk::Service {
 public:
  Greeter() {
    ++created;
    ++alive;
  }
  ~Greeter() override { --alive; }
  int getServiceId() const override { return 12; }
  void init() override { ++inits; }
};

}  // namespace

PLUGIN_EXPORT vyk::Service* createGreeterService() {
  return new Greeter;
}

// A factory that has nothing to give.
PLUGIN_EXPORT vyk::Service* createEmptyService() {
  return nullptr;
}

PLUGIN_EXPORT void greeterPluginCounters(int* made, int* living, int* initialised) {
  *made = created.load();
  *living = alive.load();
  *initialised = inits.load();
}
