// The service locator and its creators.
#include "vyk/util/ServiceLocator.h"

#include <dlfcn.h>

#include <algorithm>
#include <iostream>
#include <string>

#include "vyk/util/Assert.h"
#include "vyk/util/Portable.h"

namespace vyk {

Service::~Service() {}

void Service::init() {}

void Service::prepareForDelete() {}

ServiceCreator::~ServiceCreator() {}

void ServiceCreator::initService(Service* svc) {
  VYK_ASSERT(svc);
  svc->init();
}

void ServiceCreator::prepareForDelete(Service* svc) {
  svc->prepareForDelete();
}

void ServiceCreator::deleteService(Service* svc) {
  delete svc;
}

IntrusivePointer<ServiceCreator> ServiceCreator::getRealCreator() {
  return IntrusivePointer<ServiceCreator>(this);
}

Service* LoadableServiceCreator::createService(int /*id*/, const char* name) {
  std::string symbol = std::string("create") + name + "Service";
  void* entry = findEntryPoint(symbol.c_str());
  if (entry != nullptr) {
    Service* (*factory)() = reinterpret_cast<Service* (*)()>(entry);
    Service* svc = factory();
    if (svc != nullptr) return svc;
  }
  unknownService(name);
  VYK_FAIL("Unknown service");
}

void* LoadableServiceCreator::findEntryPoint(const char* symbol) {
  // The loader's error state is process-wide: clear what an earlier call left, so that a failure
  // read after this search is this search's own.
  vyc_dlerror();
  return vyc_dlsym(RTLD_DEFAULT, symbol);
}

void LoadableServiceCreator::unknownService(const char* name) {
  std::cout << "Unknown service " << name << std::endl;
}

OverridableServiceCreator::OverridableServiceCreator() {}

OverridableServiceCreator::~OverridableServiceCreator() {
  for (Service* svc : ownedOverrides_) {
    try {
      ServiceCreator::prepareForDelete(svc);
    } catch (...) {
    }
  }
  for (Service* svc : ownedOverrides_) {
    try {
      ServiceCreator::deleteService(svc);
    } catch (...) {
    }
  }
}

void OverridableServiceCreator::overrideService(Service* svc) {
  int id = svc->getServiceId();
  overrides_.insert(std::make_pair(id, svc));
  ownedOverrides_.insert(svc);
}

Service* OverridableServiceCreator::createService(int id, const char* name) {
  std::map<int, Service*>::const_iterator found = overrides_.find(id);
  if (found != overrides_.end()) {
    // Hand the object over only while this creator still owns it: a second hand-over would give
    // one object two owners, each of which deletes it.
    std::set<Service*>::iterator owned = ownedOverrides_.find(found->second);
    if (owned != ownedOverrides_.end()) {
      ownedOverrides_.erase(owned);
      return found->second;
    }
  }
  return LoadableServiceCreator::createService(id, name);
}

CreateServicesFromLocator::CreateServicesFromLocator(ServiceLocator* base) : base_(base) {}

ServiceLocator* CreateServicesFromLocator::getBaseLocator() {
  return base_;
}

Service* CreateServicesFromLocator::createService(int id, const char* name) {
  return base_->getService(id, name);
}

void CreateServicesFromLocator::initService(Service* /*svc*/) {}

void CreateServicesFromLocator::prepareForDelete(Service* /*svc*/) {}

void CreateServicesFromLocator::deleteService(Service* /*svc*/) {}

CreateServicesFromLocatorOrCreator::CreateServicesFromLocatorOrCreator(
    ServiceLocator* base, IntrusivePointer<ServiceCreator> creator, const std::vector<int>& ids)
    : CreateServicesFromLocator(base), creator_(creator), ids_(ids) {}

CreateServicesFromLocatorOrCreator::~CreateServicesFromLocatorOrCreator() {}

bool CreateServicesFromLocatorOrCreator::fromCreator(int id) const {
  return std::find(ids_.begin(), ids_.end(), id) != ids_.end();
}

Service* CreateServicesFromLocatorOrCreator::createService(int id, const char* name) {
  if (!fromCreator(id)) return getBaseLocator()->getService(id, name);
  Service* svc = creator_->createService(id, name);
  if (svc == nullptr) return nullptr;
  lock_guard<recursive_mutex> guard(mutex_);
  createdServices_.push_back(svc);
  return svc;
}

void CreateServicesFromLocatorOrCreator::initService(Service* svc) {
  if (fromCreator(svc->getServiceId())) creator_->initService(svc);
}

void CreateServicesFromLocatorOrCreator::prepareForDelete(Service* svc) {
  if (fromCreator(svc->getServiceId())) creator_->prepareForDelete(svc);
}

void CreateServicesFromLocatorOrCreator::deleteService(Service* svc) {
  lock_guard<recursive_mutex> guard(mutex_);
  if (!fromCreator(svc->getServiceId())) return;
  std::vector<Service*>::iterator found = std::find(createdServices_.begin(), createdServices_.end(), svc);
  if (found != createdServices_.end()) createdServices_.erase(found);
  creator_->deleteService(svc);
}

IntrusivePointer<ServiceCreator> CreateServicesFromLocatorOrCreator::getRealCreator() {
  return creator_->getRealCreator();
}

namespace {

// Publishes a slot to the lock-free path when init has ended, whether it returned or threw.
class PublishWhenDone {
 public:
  PublishWhenDone(std::atomic<Service*>& ready, Service* svc) : ready_(ready), svc_(svc) {}
  ~PublishWhenDone() { ready_.store(svc_, std::memory_order_release); }
  PublishWhenDone(PublishWhenDone const&) = delete;
  PublishWhenDone& operator=(PublishWhenDone const&) = delete;

 private:
  std::atomic<Service*>& ready_;
  Service* svc_;
};

}  // namespace

ServiceLocator::ServiceLocator(IntrusivePointer<ServiceCreator> creator) : creator_(creator) {
  for (int i = 0; i < SLOT_COUNT; ++i) {
    slots_[i].store(nullptr, std::memory_order_relaxed);
    ready_[i].store(nullptr, std::memory_order_relaxed);
  }
}

ServiceLocator::~ServiceLocator() {
  for (int i = SLOT_COUNT - 1; i >= 0; --i) {
    Service* svc = slots_[i].load(std::memory_order_acquire);
    if (svc == nullptr) continue;
    try {
      creator_->prepareForDelete(svc);
    } catch (...) {
    }
  }
  for (int i = SLOT_COUNT - 1; i >= 0; --i) {
    Service* svc = slots_[i].load(std::memory_order_acquire);
    if (svc == nullptr) continue;
    try {
      creator_->deleteService(svc);
    } catch (...) {
    }
  }
}

Service* ServiceLocator::getService(int id, const char* name) {
  Service* ready = ready_[id].load(std::memory_order_acquire);
  if (ready != nullptr) return ready;

  lock_guard<recursive_mutex> guard(mutex_);
  // Non-null here means either another thread finished creating it while this one waited, or this
  // thread is inside the service's own init (the lock is recursive).
  Service* existing = slots_[id].load(std::memory_order_acquire);
  if (existing != nullptr) return existing;

  Service* svc = creator_->createService(id, name);
  if (svc == nullptr) return nullptr;
  int serviceId = id;
  VYK_ASSERT(svc->getServiceId() == serviceId);
  slots_[id].store(svc, std::memory_order_release);
  PublishWhenDone publish(ready_[id], svc);
  creator_->initService(svc);
  return svc;
}

Service* ServiceLocator::getServiceIf(int id) {
  return slots_[id].load(std::memory_order_acquire);
}

IntrusivePointer<ServiceCreator> ServiceLocator::getCreator() {
  return creator_;
}

}  // namespace vyk
