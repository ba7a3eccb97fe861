// Services created at first use and named by a small identifier, and the creators that supply them.
#ifndef VYK_UTIL_SERVICELOCATOR_H
#define VYK_UTIL_SERVICELOCATOR_H

#include <atomic>
#include <map>
#include <set>
#include <vector>

#include "vyk/thread/Mutex.h"
#include "vyk/util/Export.h"
#include "vyk/util/RefCounted.h"

namespace vyk {

// A singleton-like component. Its identifier is fixed for the life of the object; clients agree
// with a service on its identifier (0 to 74) and its name.
class VYK_EXPORT Service {
 public:
  virtual ~Service();
  virtual int getServiceId() const = 0;
  // Runs once, after the service stands in its locator's slot: it may ask the locator for other
  // services, and for itself (it then gets this object).
  virtual void init();
  // Runs before any service of the locator is deleted; all of them are still alive then.
  virtual void prepareForDelete();
};

// The strategy that supplies a locator's services. Shared by reference count; safe to reference
// from any thread.
class VYK_EXPORT ServiceCreator : public RefCounted<std::atomic<unsigned int>> {
 public:
  ~ServiceCreator() override;
  // A new service for id, or null when this creator has none.
  virtual Service* createService(int id, const char* name) = 0;
  // svc->init(); svc must not be null.
  virtual void initService(Service* svc);
  // svc->prepareForDelete().
  virtual void prepareForDelete(Service* svc);
  // Deletes svc; null is ignored.
  virtual void deleteService(Service* svc);
  // The creator that really makes the services: this one, unless this one forwards.
  virtual IntrusivePointer<ServiceCreator> getRealCreator();
};

// Makes a service named "Foo" by calling the function createFooService(), with C linkage, taking
// nothing and returning a new Service*, found among the symbols visible through the process's
// default search scope. On Linux that scope holds the program, the libraries it was linked with and
// libraries opened with RTLD_GLOBAL; a plugin opened with local scope is not searched.
//
// A service that cannot be found ends the process: unknownService(name) runs, then the assertion
// failure "Unknown service". createService never returns null.
class VYK_EXPORT LoadableServiceCreator : public ServiceCreator {
 public:
  Service* createService(int id, const char* name) override;
  // Clears the pending loader error, then answers the address of symbol in the default scope, or
  // null.
  void* findEntryPoint(const char* symbol);
  // Writes "Unknown service <name>" and a newline to standard output and flushes it.
  virtual void unknownService(const char* name);
};

// A loadable creator that hands out registered objects in place of searched ones.
//
// Ownership is single at every moment: a registered service belongs to this creator until it is
// handed out, then to the locator that asked. Each registered object is handed out at most once;
// a later request for the same identifier (from a second locator sharing this creator) is served
// by the symbol search as if no override were registered, so no object ever has two owners.
//
// Registration is meant for start-up; the creator takes no lock of its own.
class VYK_EXPORT OverridableServiceCreator : public LoadableServiceCreator {
 public:
  OverridableServiceCreator();
  // Prepares, then deletes, every registered service that was never handed out. Anything they
  // throw is dropped.
  ~OverridableServiceCreator() override;

  // Takes ownership of svc and registers it for svc->getServiceId(). When that identifier already
  // has a registration, the first stays in force and svc is only kept to be deleted.
  void overrideService(Service* svc);

  Service* createService(int id, const char* name) override;

 private:
  std::map<int, Service*> overrides_;
  std::set<Service*> ownedOverrides_;
};

class ServiceLocator;

// Takes every service from a base locator, which creates, initialises, owns and deletes it. The
// base locator must outlive every locator that uses this creator.
class VYK_EXPORT CreateServicesFromLocator : public ServiceCreator {
 public:
  explicit CreateServicesFromLocator(ServiceLocator* base);
  ServiceLocator* getBaseLocator();

  // base->getService(id, name).
  Service* createService(int id, const char* name) override;
  // The three do nothing: the base locator owns the service.
  void initService(Service* svc) override;
  void prepareForDelete(Service* svc) override;
  void deleteService(Service* svc) override;

 private:
  ServiceLocator* base_;
};

// Takes the listed identifiers from a creator of its own, and every other one from the base
// locator. Services of the list are initialised, prepared and deleted through that creator, and
// belong to the locator that asked; the others stay the base locator's.
class VYK_EXPORT CreateServicesFromLocatorOrCreator : public CreateServicesFromLocator {
 public:
  CreateServicesFromLocatorOrCreator(ServiceLocator* base, IntrusivePointer<ServiceCreator> creator,
                                     const std::vector<int>& ids);
  // Releases the creator; deletes no service.
  ~CreateServicesFromLocatorOrCreator() override;

  // True when id stands in the list.
  bool fromCreator(int id) const;

  Service* createService(int id, const char* name) override;
  void initService(Service* svc) override;
  void prepareForDelete(Service* svc) override;
  void deleteService(Service* svc) override;
  IntrusivePointer<ServiceCreator> getRealCreator() override;

 private:
  IntrusivePointer<ServiceCreator> creator_;
  std::vector<int> ids_;
  std::vector<Service*> createdServices_;
  recursive_mutex mutex_;
};

// One slot per identifier, 0 to 74 (not checked: keeping within the range is the caller's part).
// A slot is filled at the first getService of its identifier and owns its service until the
// locator is destroyed.
//
// Safe from any thread. A service that exists costs one atomic load. Creation runs under the
// locator's recursive lock, so createService and init may ask this locator for other services;
// a chained locator takes its own lock, then its base's.
class VYK_EXPORT ServiceLocator {
 public:
  static const int SLOT_COUNT = 75;

  explicit ServiceLocator(IntrusivePointer<ServiceCreator> creator);
  // Prepares every service (slots 74 down to 0), then deletes them through the creator in the same
  // order; whatever those throw is dropped.
  ~ServiceLocator();

  ServiceLocator(ServiceLocator const&) = delete;
  ServiceLocator& operator=(ServiceLocator const&) = delete;

  // The service of id, created and initialised at the first call; name only goes to the creator.
  // Null when the creator answered null (the next call tries again). An exception of the creator
  // or of init passes on with the lock released; after a failed init the service stays in its
  // slot and is answered as it is.
  //
  // Other threads asking while init runs wait for it to end; the thread running init gets the
  // service at once.
  Service* getService(int id, const char* name);

  // The content of the slot, null before the service exists; creates nothing and takes no lock.
  Service* getServiceIf(int id);

  IntrusivePointer<ServiceCreator> getCreator();

 private:
  IntrusivePointer<ServiceCreator> creator_;
  // Filled before init runs: what getServiceIf and the destructor see.
  std::atomic<Service*> slots_[SLOT_COUNT];
  // Filled once init has returned (or thrown): what the lock-free path of getService answers.
  std::atomic<Service*> ready_[SLOT_COUNT];
  recursive_mutex mutex_;
};

}  // namespace vyk

#endif
