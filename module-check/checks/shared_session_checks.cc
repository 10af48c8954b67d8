// Sessions that go back by themselves.

#include <array>
#include <memory>

#include "checks/areas.h"
#include "known_services.h"
#include "subject.h"

namespace module_check {
namespace {

using service::IService;
using service::ISession;
using service::ServiceDescriptor;
using SharedSession = std::shared_ptr<ISession>;

constexpr int kMemoryCycles = 500;

/// Runs `task` for each service that has shared sessions.
template <typename Task>
void ForEachSharing(const Subject& subject, Task task) {
  bool has_any = false;
  ForEachService(subject, [&](const ServiceDescriptor& row, IService& service) {
    if (service.CreateSharedSession(/*reserved=*/0) == nullptr) return;
    has_any = true;
    task(row, service);
  });
  if (!has_any) throw NotApplicable();
}

void AreThereOrNot(Subject& subject) {
  ForEachService(subject, [](const ServiceDescriptor& row, IService& service) {
    const bool first = service.CreateSharedSession(0) != nullptr;
    for (int i = 0; i < 3; ++i) {
      DemandEqual(service.CreateSharedSession(0) != nullptr, first, "whether CreateSharedSession gives a session");
    }
    if (const KnownService* known = FindKnownService(row.name)) {
      DemandEqual(first, known->has_shared_sessions, "whether CreateSharedSession gives a session");
    }
  });
}

void HaveOneOwner(Subject& subject) {
  ForEachSharing(subject, [](const ServiceDescriptor&, IService& service) {
    const SharedSession session = service.CreateSharedSession(0);
    DemandEqual(session.use_count(), 1, "the number of owners of a new shared session");
  });
}

void AreDifferent(Subject& subject) {
  ForEachSharing(subject, [](const ServiceDescriptor&, IService& service) {
    const SharedSession first = service.CreateSharedSession(0);
    const SharedSession second = service.CreateSharedSession(0);
    Demand(first != second, "two shared sessions are one object");
  });
}

void GoWithTheLastOwner(Subject& subject) {
  ForEachSharing(subject, [&](const ServiceDescriptor&, IService& service) {
    SharedSession session = service.CreateSharedSession(0);
    const std::weak_ptr<ISession> watch = session;
    SharedSession copy = session;
    session.reset();
    DemandEqual(watch.use_count(), 1, "the number of owners while a copy is held");
    UseSession(subject, copy.get());
    copy.reset();
    Demand(watch.expired(), "a session is alive without an owner");
  });
}

void KeepMemory(Subject& subject) {
  ForEachSharing(subject, [](const ServiceDescriptor&, IService& service) {
    DemandSteadyMemory(kMemoryCycles, [&] { service.CreateSharedSession(0); });
  });
}

void ReleaseDropsOne(Subject& subject) {
  ForEachSharing(subject, [&](const ServiceDescriptor&, IService& service) {
    SharedSession session = service.CreateSharedSession(0);
    const std::weak_ptr<ISession> watch = session;
    service.ReleaseSharedSession(session);
    DemandEqual(watch.use_count(), 1, "the number of owners after a copy was released");
    UseSession(subject, session.get());
    service.ReleaseSharedSession(std::move(session));
    DemandEqual(watch.use_count(), 0, "the number of owners after the last one was released");
  });
}

void ReleaseTakesEmpty(Subject& subject) {
  ForEachService(subject, [](const ServiceDescriptor& row, IService& service) {
    const std::uint32_t answer = service.ReleaseSharedSession({});
    const KnownService* known = FindKnownService(row.name);
    if (known != nullptr) DemandEqual(answer, known->shared_released, "ReleaseSharedSession");
  });
}

void ReleaseAnswers(Subject& subject) {
  ForEachSharing(subject, [](const ServiceDescriptor& row, IService& service) {
    const KnownService* known = FindKnownService(row.name);
    const std::uint32_t answer = service.ReleaseSharedSession(service.CreateSharedSession(0));
    if (known != nullptr) DemandEqual(answer, known->shared_released, "ReleaseSharedSession");
    DemandEqual(service.ReleaseSharedSession(service.CreateSharedSession(0)), answer, "a second ReleaseSharedSession");
  });
}

void ReleaseTakesOthers(Subject& subject) {
  ForEachService(subject, [](const ServiceDescriptor&, IService& service) {
    class Session final : public ISession {};
    const SharedSession foreign = std::make_shared<Session>();
    service.ReleaseSharedSession(foreign);
    DemandEqual(foreign.use_count(), 1, "the number of owners of a foreign session that was released");
  });
}

void HaveTheInterface(Subject& subject) {
  ForEachSharing(subject, [](const ServiceDescriptor& row, IService& service) {
    const SharedSession session = service.CreateSharedSession(0);
    const KnownService* known = FindKnownService(row.name);
    if (known == nullptr) return;
    Demand(known->has_interface(session.get()), "a shared session does not have the service's query interface");
  });
}

void WatchersOutliveThem(Subject& subject) {
  std::weak_ptr<ISession> watch;
  ForEachSharing(subject, [&](const ServiceDescriptor&, IService& service) { watch = service.CreateSharedSession(0); });
  Demand(watch.lock() == nullptr, "a session came back after its service was gone");
}

void ServeThreads(Subject& subject) {
  subject.RegisterCompanions();
  ForEachSharing(subject, [&](const ServiceDescriptor&, IService& service) {
    InThreads([&] {
      for (int i = 0; i < 20; ++i) UseSession(subject, service.CreateSharedSession(0).get());
    });
  });
}

constexpr std::array kChecks{
    Check{"shared.offered", "a service has shared sessions always or never, known ones as the framework says",
          AreThereOrNot},
    Check{"shared.one-owner", "a new shared session has one owner", HaveOneOwner},
    Check{"shared.different", "each is an object of its own", AreDifferent},
    Check{"shared.last-owner", "it lives until its last owner goes", GoWithTheLastOwner},
    Check{"shared.memory", "shared sessions that come and go leave no memory behind", KeepMemory},
    Check{"shared.release", "ReleaseSharedSession drops the reference it is given and no other", ReleaseDropsOne},
    Check{"shared.release-empty", "it takes an empty one", ReleaseTakesEmpty},
    Check{"shared.release-answer", "it gives its fixed answer", ReleaseAnswers},
    Check{"shared.release-foreign", "it takes a reference to a session of nobody", ReleaseTakesOthers},
    Check{"shared.interface", "shared sessions of known services have their query interface", HaveTheInterface},
    Check{"shared.weak", "weak references may outlive session and service", WatchersOutliveThem},
    Check{"shared.threads", "shared sessions serve several threads at once", ServeThreads},
};

}  // namespace

std::span<const Check> SharedSessionChecks() { return kChecks; }

}  // namespace module_check
