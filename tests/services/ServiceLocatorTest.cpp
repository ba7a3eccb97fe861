// Service lifetimes in a locator: creation once, init, destruction order, overrides, chains, threads.
#include "vyk/util/ServiceLocator.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <memory>
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
    if (throwInInit_) throw std::runtime_error("init failed");
    initialised_ = true;
  }
  void prepareForDelete() override {
    write("prepare");
    if (throwInPrepare_) throw std::runtime_error("prepare failed");
  }

  bool initialised_ = false;
  bool throwInInit_ = false;
  bool throwInPrepare_ = false;

 private:
  void write(char const* event) { log_->push_back(std::string(event) + " " + std::to_string(id_) + tag_); }

  int id_;
  Log* log_;
  std::string tag_;
};

// Makes a LoggedService for any identifier, with knobs for the failure paths.
class LoggingCreator : public ServiceCreator {
 public:
  explicit LoggingCreator(Log* log) : log_(log) {}
  Service* createService(int id, const char* /*name*/) override {
    ++calls_;
    if (answerNull_) return nullptr;
    if (throwInCreate_) throw std::runtime_error("create failed");
    LoggedService* svc = new LoggedService(id + idSkew_, log_, tag_);
    svc->throwInInit_ = (id == throwInInitFor_);
    svc->throwInPrepare_ = (id == throwInPrepareFor_);
    return svc;
  }
  void deleteService(Service* svc) override {
    bool fail = svc->getServiceId() == throwInDeleteFor_;
    ServiceCreator::deleteService(svc);
    if (fail) throw std::runtime_error("delete failed");
  }

  int calls_ = 0;
  bool answerNull_ = false;
  bool throwInCreate_ = false;
  int idSkew_ = 0;
  int throwInInitFor_ = -1;
  int throwInPrepareFor_ = -1;
  int throwInDeleteFor_ = -1;
  std::string tag_;

 private:
  Log* log_;
};

// Runs f on another thread and reports whether it ended within a generous time; a lock left
// taken by the failing call would block it for good.
template <typename F>
bool endsOnAnotherThread(F f) {
  std::future<void> done = std::async(std::launch::async, f);
  return done.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
}

TEST(ServiceLocator, CreatesAndInitialisesOnceAndGetServiceIfOnlyReads) {
  Log log;
  IntrusivePointer<LoggingCreator> creator(new LoggingCreator(&log));
  {
    ServiceLocator locator(creator);
    EXPECT_EQ(nullptr, locator.getServiceIf(9));
    EXPECT_EQ(0, creator->calls_);
    Service* first = locator.getService(9, "Nine");
    ASSERT_NE(nullptr, first);
    EXPECT_EQ(first, locator.getService(9, "Nine"));
    EXPECT_EQ(first, locator.getServiceIf(9));
    EXPECT_EQ(1, creator->calls_);
    EXPECT_EQ(creator.get(), locator.getCreator().get());
    EXPECT_EQ(creator.get(), creator->getRealCreator().get());
  }
  EXPECT_EQ((Log{"create 9", "init 9", "prepare 9", "delete 9"}), log);
}

TEST(ServiceLocator, NullFromTheCreatorLeavesTheSlotEmptyForTheNextTry) {
  Log log;
  IntrusivePointer<LoggingCreator> creator(new LoggingCreator(&log));
  ServiceLocator locator(creator);
  creator->answerNull_ = true;
  EXPECT_EQ(nullptr, locator.getService(2, "Two"));
  EXPECT_EQ(nullptr, locator.getServiceIf(2));
  creator->answerNull_ = false;
  EXPECT_NE(nullptr, locator.getService(2, "Two"));
  EXPECT_EQ(2, creator->calls_);
}

TEST(ServiceLocatorDeathTest, ServiceWithAnotherIdentifierEndsTheProcess) {
  Log log;
  IntrusivePointer<LoggingCreator> creator(new LoggingCreator(&log));
  creator->idSkew_ = 1;
  ServiceLocator locator(creator);
  EXPECT_EXIT(locator.getService(4, "Four"), ::testing::ExitedWithCode(99),
              "Assertion failed: svc->getServiceId\\(\\) == serviceId at file: src/util/ServiceLocator.cpp");
}

TEST(ServiceLocatorDeathTest, InitOfNullServiceEndsTheProcess) {
  IntrusivePointer<ServiceCreator> creator(new LoadableServiceCreator);
  EXPECT_EXIT(creator->initService(nullptr), ::testing::ExitedWithCode(99),
              "Assertion failed: svc at file: src/util/ServiceLocator.cpp");
}

TEST(ServiceLocator, DestructionPreparesAllThenDeletesByDescendingIdentifier) {
  Log log;
  IntrusivePointer<LoggingCreator> creator(new LoggingCreator(&log));
  {
    ServiceLocator locator(creator);
    for (int id : {5, 0, 74, 1}) locator.getService(id, "Any");
    log.clear();
  }
  EXPECT_EQ((Log{"prepare 74", "prepare 5", "prepare 1", "prepare 0", "delete 74", "delete 5", "delete 1",
                 "delete 0"}),
            log);
}

TEST(ServiceLocator, FailuresDuringDestructionAreDroppedAndTheWalkGoesOn) {
  Log log;
  IntrusivePointer<LoggingCreator> creator(new LoggingCreator(&log));
  creator->throwInPrepareFor_ = 6;
  creator->throwInDeleteFor_ = 6;
  {
    ServiceLocator locator(creator);
    for (int id : {3, 6, 8}) locator.getService(id, "Any");
    log.clear();
  }
  EXPECT_EQ((Log{"prepare 8", "prepare 6", "prepare 3", "delete 8", "delete 6", "delete 3"}), log);
}

// A service whose init asks for another service and for itself.
class WiringService : public LoggedService {
 public:
  WiringService(ServiceLocator** locator, Log* log) : LoggedService(1, log), locator_(locator) {}
  void init() override {
    LoggedService::init();
    self_ = (*locator_)->getService(1, "One");
    peer_ = (*locator_)->getService(2, "Two");
  }
  ServiceLocator** locator_;
  Service* self_ = nullptr;
  Service* peer_ = nullptr;
};

class WiringCreator : public ServiceCreator {
 public:
  WiringCreator(ServiceLocator** locator, Log* log) : locator_(locator), log_(log) {}
  Service* createService(int id, const char* /*name*/) override {
    ++calls_;
    if (id == 1) return new WiringService(locator_, log_);
    return new LoggedService(id, log_);
  }
  int calls_ = 0;

 private:
  ServiceLocator** locator_;
  Log* log_;
};

TEST(ServiceLocator, InitMayAskForItselfAndForOtherServices) {
  Log log;
  ServiceLocator* locatorRef = nullptr;
  IntrusivePointer<WiringCreator> creator(new WiringCreator(&locatorRef, &log));
  ServiceLocator locator(creator);
  locatorRef = &locator;
  WiringService* one = static_cast<WiringService*>(locator.getService(1, "One"));
  EXPECT_EQ(one, one->self_);
  EXPECT_EQ(locator.getServiceIf(2), one->peer_);
  EXPECT_EQ(2, creator->calls_);
  EXPECT_EQ((Log{"create 1", "init 1", "create 2", "init 2"}), log);
}

TEST(ServiceLocator, CreatorFailureReleasesTheLockAndFillsNoSlot) {
  Log log;
  IntrusivePointer<LoggingCreator> creator(new LoggingCreator(&log));
  ServiceLocator locator(creator);
  creator->throwInCreate_ = true;
  EXPECT_THROW(locator.getService(3, "Three"), std::runtime_error);
  EXPECT_EQ(nullptr, locator.getServiceIf(3));
  creator->throwInCreate_ = false;
  Service* other = nullptr;
  EXPECT_TRUE(endsOnAnotherThread([&] { other = locator.getService(3, "Three"); }));
  EXPECT_NE(nullptr, other);
}

TEST(ServiceLocator, InitFailureReleasesTheLockAndKeepsTheService) {
  Log log;
  IntrusivePointer<LoggingCreator> creator(new LoggingCreator(&log));
  creator->throwInInitFor_ = 3;
  {
    ServiceLocator locator(creator);
    EXPECT_THROW(locator.getService(3, "Three"), std::runtime_error);
    Service* kept = locator.getServiceIf(3);
    ASSERT_NE(nullptr, kept);
    Service* again = nullptr;
    EXPECT_TRUE(endsOnAnotherThread([&] { again = locator.getService(3, "Three"); }));
    EXPECT_EQ(kept, again);
    EXPECT_EQ(kept, locator.getService(3, "Three"));
    EXPECT_EQ(1, creator->calls_);
  }
  EXPECT_EQ((Log{"create 3", "init 3", "prepare 3", "delete 3"}), log);
}

TEST(ServiceLocator, ThreadsAskingAtOnceShareOneInitialisedService) {
  // An init slow enough that the later threads arrive while it runs.
  class SlowInitService : public LoggedService {
   public:
    using LoggedService::LoggedService;
    void init() override {
      std::this_thread::sleep_for(std::chrono::milliseconds(40));
      LoggedService::init();
    }
  };
  class SlowInitCreator : public LoggingCreator {
   public:
    using LoggingCreator::LoggingCreator;
    Service* createService(int id, const char* /*name*/) override {
      ++calls_;
      return new SlowInitService(id, &log_);
    }
    Log log_;
  };
  for (int round = 0; round < 3; ++round) {
    IntrusivePointer<SlowInitCreator> creator(new SlowInitCreator(nullptr));
    ServiceLocator locator(creator);
    constexpr int kThreads = 8;
    std::vector<Service*> seen(kThreads, nullptr);
    std::vector<char> initialisedWhenSeen(kThreads, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&, t] {
        std::this_thread::sleep_for(std::chrono::milliseconds(4 * t));
        seen[t] = locator.getService(7, "Seven");
        initialisedWhenSeen[t] = static_cast<LoggedService*>(seen[t])->initialised_;
      });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(1, creator->calls_);
    for (int t = 0; t < kThreads; ++t) {
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
  int made, alive, inits;
};

PluginCounters pluginCounters() {
  auto read =
      reinterpret_cast<void (*)(int*, int*, int*)>(dlsym(loadPluginGlobally(), "greeterPluginCounters"));
  PluginCounters c{-1, -1, -1};
  if (read) read(&c.made, &c.alive, &c.inits);
  return c;
}

TEST(LoadableServiceCreator, FindsTheFactoryOfALoadedPlugin) {
  ASSERT_NE(nullptr, loadPluginGlobally()) << dlerror();
  PluginCounters before = pluginCounters();
  IntrusivePointer<LoadableServiceCreator> creator(new LoadableServiceCreator);
  EXPECT_NE(nullptr, creator->findEntryPoint("createGreeterService"));
  EXPECT_EQ(nullptr, creator->findEntryPoint("createNoSuchThingService"));
  {
    ServiceLocator locator(creator);
    Service* greeter = locator.getService(12, "Greeter");
    ASSERT_NE(nullptr, greeter);
    EXPECT_EQ(12, greeter->getServiceId());
    EXPECT_EQ(greeter, locator.getService(12, "Greeter"));
    PluginCounters during = pluginCounters();
    EXPECT_EQ(before.made + 1, during.made);
    EXPECT_EQ(before.alive + 1, during.alive);
    EXPECT_EQ(before.inits + 1, during.inits);
  }
  EXPECT_EQ(before.alive, pluginCounters().alive);
}

TEST(LoadableServiceCreator, UnknownServiceIsReportedOnStandardOutput) {
  IntrusivePointer<LoadableServiceCreator> creator(new LoadableServiceCreator);
  ::testing::internal::CaptureStdout();
  creator->unknownService("Foo");
  EXPECT_EQ("Unknown service Foo\n", ::testing::internal::GetCapturedStdout());
}

TEST(LoadableServiceCreatorDeathTest, MissingOrEmptyFactoryEndsTheProcess) {
  ASSERT_NE(nullptr, loadPluginGlobally());
  struct Case {
    char const* name;
  };
  const Case cases[] = {{"NoSuchThing"}, {"Empty"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    IntrusivePointer<LoadableServiceCreator> creator(new LoadableServiceCreator);
    ServiceLocator locator(creator);
    EXPECT_EXIT(locator.getService(20, c.name), ::testing::ExitedWithCode(99),
                "Assertion failed: Unknown service at file: src/util/ServiceLocator.cpp");
  }
}

TEST(OverridableServiceCreator, OverrideIsHandedOutWithoutSearchAndOwnedByTheLocator) {
  Log log;
  IntrusivePointer<OverridableServiceCreator> creator(new OverridableServiceCreator);
  LoggedService* chosen = new LoggedService(3, &log, "a");
  creator->overrideService(chosen);
  creator->overrideService(new LoggedService(3, &log, "b"));  // second for 3: never handed out
  creator->overrideService(new LoggedService(4, &log, "c"));  // nobody asks for 4
  {
    ServiceLocator locator(creator);
    // No factory "createNoSuchThingService" exists: a search would end the process.
    EXPECT_EQ(chosen, locator.getService(3, "NoSuchThing"));
    EXPECT_EQ(chosen, locator.getService(3, "NoSuchThing"));
    log.push_back("locator ends");
  }
  log.push_back("creator ends");
  creator.reset();
  // The creator walks its set in pointer order: both prepared, then both deleted.
  ASSERT_EQ(12u, log.size());
  std::sort(log.begin() + 8, log.begin() + 10);
  std::sort(log.begin() + 10, log.end());
  EXPECT_EQ((Log{"create 3a", "create 3b", "create 4c", "init 3a", "locator ends", "prepare 3a", "delete 3a",
                 "creator ends", "prepare 3b", "prepare 4c", "delete 3b", "delete 4c"}),
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
      // The same creator supplies identifier 12 to a chained locator: the override already
      // belongs to the base, so the chained one gets its own instance from the plugin.
      ServiceLocator chained(new CreateServicesFromLocatorOrCreator(&base, creator, {12}));
      Service* own = chained.getService(12, "Greeter");
      EXPECT_NE(chosen, own);
      EXPECT_EQ(before.alive + 1, pluginCounters().alive);
    }
    EXPECT_EQ(before.alive, pluginCounters().alive);
    EXPECT_EQ(chosen, base.getServiceIf(12));
  }
  EXPECT_EQ((Log{"create 12", "init 12", "prepare 12", "delete 12"}), log);
}

TEST(ChainedLocator, ListedIdentifiersComeFromTheCreatorOthersFromTheBase) {
  Log log;
  IntrusivePointer<LoggingCreator> baseCreator(new LoggingCreator(&log));
  IntrusivePointer<LoggingCreator> ownCreator(new LoggingCreator(&log));
  ownCreator->tag_ = "own";
  {
    ServiceLocator base(baseCreator);
    Service* base3 = base.getService(3, "Three");
    IntrusivePointer<CreateServicesFromLocatorOrCreator> chain(
        new CreateServicesFromLocatorOrCreator(&base, ownCreator, {3}));
    EXPECT_TRUE(chain->fromCreator(3));
    EXPECT_FALSE(chain->fromCreator(4));
    EXPECT_EQ(ownCreator.get(), chain->getRealCreator().get());
    EXPECT_EQ(&base, chain->getBaseLocator());
    {
      ServiceLocator chained(chain);
      Service* own3 = chained.getService(3, "Three");
      Service* shared4 = chained.getService(4, "Four");
      EXPECT_NE(base3, own3);
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

TEST(ChainedLocator, WholeChainSharesEverythingAndOwnsNothing) {
  Log log;
  IntrusivePointer<LoggingCreator> baseCreator(new LoggingCreator(&log));
  {
    ServiceLocator base(baseCreator);
    {
      ServiceLocator chained(new CreateServicesFromLocator(&base));
      EXPECT_EQ(nullptr, base.getServiceIf(5));
      Service* five = chained.getService(5, "Five");
      EXPECT_EQ(five, base.getServiceIf(5));
      EXPECT_EQ(five, base.getService(5, "Five"));
    }
    log.push_back("chained ends");
  }
  EXPECT_EQ((Log{"create 5", "init 5", "chained ends", "prepare 5", "delete 5"}), log);
}

}  // namespace
}  // namespace vyk
