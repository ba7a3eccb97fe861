// Service lifetimes in a locator: creation once, init, destruction order, overrides, chains, threads.
#include "vyk/util/ServiceLocator.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <future>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace vyk {
namespace {

// Every service of these tests writes its life into one log, as "create 3", "init 3", ...
using Log = std::vector<std::string>;

class LoggedService : public Service {
 public:
  LoggedService(int id, Log* log, std::string const& tag = "") : id_(id), log_(log), tag_(tag) {
    write("create");
  }
  ~LoggedService() override { write("delete"); }
  int getServiceId() const override { return id_; }
  void init() override {
    write("init");
    if (onInit_) onInit_(id_);
    initialised_ = true;
  }
  void prepareForDelete() override {
    write("prepare");
    if (failOnDestroy_) throw std::runtime_error("prepare failed");
  }

  std::function<void(int)> onInit_;
  bool failOnDestroy_ = false;
  bool initialised_ = false;

 private:
  void write(char const* event) { log_->push_back(std::string(event) + " " + std::to_string(id_) + tag_); }
  int id_;
  Log* log_;
  std::string tag_;
};

// Makes a LoggedService for any identifier, with knobs for the failure paths.
class LoggingCreator : public ServiceCreator {
 public:
  explicit LoggingCreator(Log* log, std::string const& tag = "") : log_(log), tag_(tag) {}
  Service* createService(int id, const char* /*name*/) override {
    ++calls_;
    if (failCreate_) throw std::runtime_error("create failed");
    if (answerNull_) return nullptr;
    LoggedService* svc = new LoggedService(id + idSkew_, log_, tag_);
    svc->onInit_ = onInit_;
    svc->failOnDestroy_ = id == failOnDestroy_;
    return svc;
  }
  void deleteService(Service* svc) override {
    bool fail = svc->getServiceId() == failOnDestroy_;
    ServiceCreator::deleteService(svc);
    if (fail) throw std::runtime_error("delete failed");
  }

  int calls_ = 0, idSkew_ = 0, failOnDestroy_ = -1;
  bool answerNull_ = false, failCreate_ = false;
  std::function<void(int)> onInit_;

 private:
  Log* log_;
  std::string tag_;
};

// Whether f ends on another thread within a generous time; a lock left taken would block it.
template <typename F>
bool endsOnAnotherThread(F f) {
  return std::async(std::launch::async, f).wait_for(std::chrono::seconds(20)) == std::future_status::ready;
}

TEST(ServiceLocator, CreatesOnceThenPreparesAllAndDeletesByDescendingIdentifierPastFailures) {
  Log log;
  IntrusivePointer<LoggingCreator> creator(new LoggingCreator(&log));
  creator->failOnDestroy_ = 5;
  {
    ServiceLocator locator(creator);
    creator->answerNull_ = true;
    EXPECT_EQ(nullptr, locator.getService(9, "Nine"));  // null leaves the slot empty for the next try
    EXPECT_EQ(nullptr, locator.getServiceIf(9));
    creator->answerNull_ = false;
    for (int id : {5, 0, 9, 74, 1}) locator.getService(id, "Any");
    Service* nine = locator.getServiceIf(9);
    ASSERT_NE(nullptr, nine);
    EXPECT_EQ(nine, locator.getService(9, "Nine"));
    EXPECT_EQ(6, creator->calls_);
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
  Service* one = locator.getService(1, "One");
  EXPECT_EQ(one, self);
  EXPECT_EQ(locator.getServiceIf(2), peer);
  EXPECT_EQ((Log{"create 1", "init 1", "create 2", "init 2"}), log);
}

TEST(ServiceLocator, FailedCreateOrInitReleasesTheLockAndOnlyInitKeepsTheService) {
  Log log;
  IntrusivePointer<LoggingCreator> creator(new LoggingCreator(&log));
  ServiceLocator locator(creator);
  creator->failCreate_ = true;
  EXPECT_THROW(locator.getService(3, "Three"), std::runtime_error);
  EXPECT_EQ(nullptr, locator.getServiceIf(3));
  creator->failCreate_ = false;
  creator->onInit_ = [](int id) {
    if (id == 4) throw std::runtime_error("init failed");
  };
  EXPECT_THROW(locator.getService(4, "Four"), std::runtime_error);
  Service* kept = locator.getServiceIf(4);
  ASSERT_NE(nullptr, kept);
  Service *three = nullptr, *four = nullptr;
  EXPECT_TRUE(endsOnAnotherThread([&] {
    three = locator.getService(3, "Three");
    four = locator.getService(4, "Four");
  }));
  EXPECT_NE(nullptr, three);
  EXPECT_EQ(kept, four);
  EXPECT_EQ(3, creator->calls_);
}

TEST(ServiceLocator, ThreadsAskingAtOnceShareOneInitialisedService) {
  for (int round = 0; round < 3; ++round) {
    Log log;
    IntrusivePointer<LoggingCreator> creator(new LoggingCreator(&log));
    // An init slow enough that the later threads arrive while it runs.
    creator->onInit_ = [](int) { std::this_thread::sleep_for(std::chrono::milliseconds(40)); };
    ServiceLocator locator(creator);
    std::vector<LoggedService*> seen(8, nullptr);
    std::vector<char> initialisedWhenSeen(8, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
      threads.emplace_back([&, t] {
        std::this_thread::sleep_for(std::chrono::milliseconds(4 * t));
        seen[t] = static_cast<LoggedService*>(locator.getService(7, "Seven"));
        initialisedWhenSeen[t] = seen[t]->initialised_;
      });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(1, creator->calls_);
    for (int t = 0; t < 8; ++t) {
      EXPECT_EQ(seen[0], seen[t]);
      EXPECT_TRUE(initialisedWhenSeen[t]) << "thread " << t << " saw the service before its init ended";
    }
  }
}

// Loads the test plugin so that its factories are visible to the default symbol search.
void* loadPluginGlobally() {
  static void* handle = dlopen(VYK_TEST_PLUGIN_PATH, RTLD_NOW | RTLD_GLOBAL);
  return handle;
}

struct PluginCounters {
  int made = -1, alive = -1, inits = -1;
};

PluginCounters pluginCounters() {
  PluginCounters c;
  auto read =
      reinterpret_cast<void (*)(int*, int*, int*)>(dlsym(loadPluginGlobally(), "greeterPluginCounters"));
  if (read) read(&c.made, &c.alive, &c.inits);
  return c;
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

TEST(LoadableServiceCreator, FindsTheFactoryOfALoadedPluginAndReportsUnknownServices) {
  ASSERT_NE(nullptr, loadPluginGlobally()) << dlerror();
  PluginCounters before = pluginCounters();
  IntrusivePointer<LoadableServiceCreator> creator(new LoadableServiceCreator);
  EXPECT_EQ(nullptr, creator->findEntryPoint("createNoSuchThingService"));
  {
    ServiceLocator locator(creator);
    Service* greeter = locator.getService(12, "Greeter");
    ASSERT_NE(nullptr, greeter);
    EXPECT_EQ(greeter, locator.getService(12, "Greeter"));
    EXPECT_EQ(before.made + 1, pluginCounters().made);
    EXPECT_EQ(before.inits + 1, pluginCounters().inits);
  }
  EXPECT_EQ(before.alive, pluginCounters().alive);
  ::testing::internal::CaptureStdout();
  creator->unknownService("Foo");
  EXPECT_EQ("Unknown service Foo\n", ::testing::internal::GetCapturedStdout());
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
  PluginCounters before = pluginCounters();
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
      EXPECT_EQ(before.alive + 1, pluginCounters().alive);
    }
    EXPECT_EQ(before.alive, pluginCounters().alive);
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
      IntrusivePointer<CreateServicesFromLocatorOrCreator> chain(
          new CreateServicesFromLocatorOrCreator(&base, ownCreator, {3}));
      EXPECT_EQ(ownCreator.get(), chain->getRealCreator().get());
      ServiceLocator chained(chain);
      ServiceLocator whole(new CreateServicesFromLocator(&chained));
      Service* own3 = whole.getService(3, "Three");
      EXPECT_NE(base3, own3);
      EXPECT_EQ(own3, chained.getServiceIf(3));
      Service* shared4 = whole.getService(4, "Four");
      EXPECT_EQ(shared4, base.getServiceIf(4));
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
