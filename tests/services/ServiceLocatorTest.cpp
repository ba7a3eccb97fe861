// Service lifetimes in a locator: creation once, init, destruction order, overrides, chains, threads.
#include "vyk/util/ServiceLocator.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace vyk {
namespace {

// Every service of these tests writes its life into one log, as "create 3", "init 3", ...
using Log = std::vector<std::string>;

struct LoggedService : Service {
  LoggedService(int id, Log* log, std::string tag = "") : id_(id), log_(log), tag_(tag) { write("create"); }
  ~LoggedService() override { write("delete"); }
  int getServiceId() const override { return id_; }
  void init() override {
    write("init");
    if (onInit_) onInit_(id_);
    initialised_ = true;
  }
  void prepareForDelete() override {
    write("prepare");
    if (id_ == failOnDestroy_) throw std::runtime_error("prepare failed");
  }
  void write(char const* event) { log_->push_back(std::string(event) + " " + std::to_string(id_) + tag_); }
  int id_, failOnDestroy_ = -1;
  Log* log_;
  std::string tag_;
  std::function<void(int)> onInit_;
  bool initialised_ = false;
};

// Makes a LoggedService for any identifier, with knobs for the failure paths.
struct LoggingCreator : ServiceCreator {
  explicit LoggingCreator(Log* log, std::string tag = "") : log_(log), tag_(tag) {}
  Service* createService(int id, const char* /*name*/) override {
    ++calls_;
    LoggedService* svc = new LoggedService(id + idSkew_, log_, tag_);
    svc->onInit_ = onInit_;
    svc->failOnDestroy_ = failOnDestroy_;
    return svc;
  }
  void deleteService(Service* svc) override {
    bool fail = svc->getServiceId() == failOnDestroy_;
    ServiceCreator::deleteService(svc);
    if (fail) throw std::runtime_error("delete failed");
  }
  int calls_ = 0, idSkew_ = 0, failOnDestroy_ = -1;
  std::function<void(int)> onInit_;
  Log* log_;
  std::string tag_;
};

TEST(ServiceLocator, CreatesOnceThenPreparesAllAndDeletesByDescendingIdentifierPastFailures) {
  Log log;
  IntrusivePointer<LoggingCreator> creator(new LoggingCreator(&log));
  creator->failOnDestroy_ = 5;
  {
    ServiceLocator locator(creator);
    for (int id : {5, 0, 9, 74, 1}) locator.getService(id, "Any");
    EXPECT_EQ(locator.getServiceIf(9), locator.getService(9, "Nine"));
    EXPECT_EQ(5, creator->calls_);
    log.clear();
  }
  EXPECT_EQ((Log{"prepare 74", "prepare 9", "prepare 5", "prepare 1", "prepare 0", "delete 74", "delete 9",
                 "delete 5", "delete 1", "delete 0"}),
            log);
}

TEST(ServiceLocator, InitMayAskForItselfAndForOtherServices) {
  Log log;
  IntrusivePointer<LoggingCreator> creator(new LoggingCreator(&log));
  ServiceLocator locator(creator);
  Service *self = nullptr, *peer = nullptr;
  creator->onInit_ = [&](int id) {
    if (id != 1) return;
    self = locator.getService(1, "One");
    peer = locator.getService(2, "Two");
  };
  EXPECT_EQ(locator.getService(1, "One"), self);
  EXPECT_EQ(locator.getServiceIf(2), peer);
  EXPECT_EQ((Log{"create 1", "init 1", "create 2", "init 2"}), log);
}

TEST(ServiceLocator, ThreadsAskingAtOnceShareOneInitialisedService) {
  for (int round = 0; round < 3; ++round) {
    Log log;
    IntrusivePointer<LoggingCreator> creator(new LoggingCreator(&log));
    // An init slow enough that the later threads arrive while it runs.
    creator->onInit_ = [](int) { std::this_thread::sleep_for(std::chrono::milliseconds(40)); };
    ServiceLocator locator(creator);
    std::vector<LoggedService*> seen(8, nullptr);
    std::vector<char> initialised(8, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
      threads.emplace_back([&, t] {
        std::this_thread::sleep_for(std::chrono::milliseconds(4 * t));
        seen[t] = static_cast<LoggedService*>(locator.getService(7, "Seven"));
        initialised[t] = seen[t]->initialised_;
      });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(1, creator->calls_);
    EXPECT_EQ(std::vector<LoggedService*>(8, seen[0]), seen);
    EXPECT_EQ(std::vector<char>(8, 1), initialised) << "a thread saw the service before its init ended";
  }
}

// Loads the test plugin so that its factories are visible to the default symbol search.
void* loadPluginGlobally() {
  static void* handle = dlopen(VYK_TEST_PLUGIN_PATH, RTLD_NOW | RTLD_GLOBAL);
  return handle;
}

// Services of the plugin alive now.
int pluginAlive() {
  int made = -1, alive = -1, inits = -1;
  auto read =
      reinterpret_cast<void (*)(int*, int*, int*)>(dlsym(loadPluginGlobally(), "greeterPluginCounters"));
  if (read) read(&made, &alive, &inits);
  return alive;
}

TEST(ServiceLocatorDeathTest, WrongIdentifierOrUnknownServiceEndsTheProcess) {
  ASSERT_NE(nullptr, loadPluginGlobally());
  Log log;
  IntrusivePointer<LoggingCreator> skewed(new LoggingCreator(&log));
  skewed->idSkew_ = 1;
  ServiceLocator locator(skewed);
  EXPECT_EXIT(locator.getService(4, "Four"), ::testing::ExitedWithCode(99),
              "Assertion failed: svc->getServiceId\\(\\) == serviceId at file: src/util/ServiceLocator.cpp");
  for (char const* name : {"NoSuchThing", "Empty"}) {
    ServiceLocator loadable(new LoadableServiceCreator);
    EXPECT_EXIT(loadable.getService(20, name), ::testing::ExitedWithCode(99),
                "Assertion failed: Unknown service at file: src/util/ServiceLocator.cpp");
  }
}

TEST(OverridableServiceCreator, OverrideIsHandedOutWithoutSearchAndOwnedByTheLocator) {
  Log log;
  IntrusivePointer<OverridableServiceCreator> creator(new OverridableServiceCreator);
  LoggedService* chosen = new LoggedService(3, &log, "a");
  creator->overrideService(chosen);
  creator->overrideService(new LoggedService(3, &log, "b"));  // second for 3: never handed out
  {
    ServiceLocator locator(creator);
    // No factory "createNoSuchThingService" exists: a search would end the process.
    EXPECT_EQ(chosen, locator.getService(3, "NoSuchThing"));
    log.push_back("locator ends");
  }
  creator.reset();
  EXPECT_EQ((Log{"create 3a", "create 3b", "init 3a", "locator ends", "prepare 3a", "delete 3a", "prepare 3b",
                 "delete 3b"}),
            log);
}

TEST(OverridableServiceCreator, OverrideSharedByTwoLocatorsHasOneOwner) {
  ASSERT_NE(nullptr, loadPluginGlobally());
  int const before = pluginAlive();
  Log log;
  IntrusivePointer<OverridableServiceCreator> creator(new OverridableServiceCreator);
  LoggedService* chosen = new LoggedService(12, &log);
  creator->overrideService(chosen);
  {
    ServiceLocator base(creator);
    EXPECT_EQ(chosen, base.getService(12, "Greeter"));
    {
      // The override already belongs to the base: the chained locator gets its own from the plugin.
      ServiceLocator chained(new CreateServicesFromLocatorOrCreator(&base, creator, {12}));
      EXPECT_NE(chosen, chained.getService(12, "Greeter"));
      EXPECT_EQ(before + 1, pluginAlive());
    }
    EXPECT_EQ(before, pluginAlive());
    EXPECT_EQ(chosen, base.getServiceIf(12));
  }
  EXPECT_EQ((Log{"create 12", "init 12", "prepare 12", "delete 12"}), log);
}

// A locator that takes everything from a chained one, which takes 3 from its own creator and the
// rest from the base: each service is deleted once, by the locator that made it.
TEST(ChainedLocator, ListedIdentifiersComeFromTheCreatorOthersFromTheBase) {
  Log log;
  IntrusivePointer<LoggingCreator> ownCreator(new LoggingCreator(&log, "own"));
  {
    ServiceLocator base(new LoggingCreator(&log));
    Service* base3 = base.getService(3, "Three");
    {
      ServiceLocator chained(new CreateServicesFromLocatorOrCreator(&base, ownCreator, {3}));
      ServiceLocator whole(new CreateServicesFromLocator(&chained));
      EXPECT_NE(base3, whole.getService(3, "Three"));
      EXPECT_EQ(whole.getServiceIf(3), chained.getServiceIf(3));
      EXPECT_EQ(whole.getService(4, "Four"), base.getService(4, "Four"));
      log.push_back("chained ends");
    }
    log.push_back("base ends");
  }
  EXPECT_EQ(
      (Log{"create 3", "init 3", "create 3own", "init 3own", "create 4", "init 4", "chained ends",
           "prepare 3own", "delete 3own", "base ends", "prepare 4", "prepare 3", "delete 4", "delete 3"}),
      log);
}

}  // namespace
}  // namespace vyk
