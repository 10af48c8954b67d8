// Sessions: who gets them, and who takes them back.

#include <algorithm>
#include <array>
#include <set>
#include <thread>

#include "checks/areas.h"
#include "known_services.h"
#include "subject.h"

namespace module_check {
namespace {

using service::IService;
using service::ISession;
using service::ServiceDescriptor;

constexpr int kMemoryCycles = 500;
constexpr std::size_t kManySessions = 500;

/// A session of nobody.
class ForeignSession final : public ISession {
 public:
  explicit ForeignSession(bool& was_destroyed) : was_destroyed_(was_destroyed) {}
  ~ForeignSession() override { was_destroyed_ = true; }
  ForeignSession(const ForeignSession&) = delete;
  ForeignSession& operator=(const ForeignSession&) = delete;

 private:
  bool& was_destroyed_;
};

ISession* Make(IService& service) {
  ISession* session = service.CreateSession();
  Demand(session != nullptr, "CreateSession gives null");
  return session;
}

/// What DestroySession answers for a session of the service's own. What other services than the framework's own answer
/// is not fixed, but is not what they answer for what they refuse.
std::uint32_t DestroyedCode(const ServiceDescriptor& row, IService& service) {
  const KnownService* known = FindKnownService(row.name);
  return known != nullptr ? known->destroyed : service.DestroySession(Make(service));
}

void DemandRefused(std::uint32_t answer, const ServiceDescriptor& row, IService& service, const std::string& what) {
  const KnownService* known = FindKnownService(row.name);
  if (known != nullptr) {
    DemandEqual(answer, known->refused, "DestroySession of " + what);
  } else {
    Demand(answer != DestroyedCode(row, service), "DestroySession answers for " + what + " as for its own sessions");
  }
}

void Create(Subject& subject) {
  ForEachService(subject, [](const ServiceDescriptor& row, IService& service) {
    ISession* session = Make(service);
    const std::uint32_t answer = service.DestroySession(session);
    if (const KnownService* known = FindKnownService(row.name)) DemandEqual(answer, known->destroyed, "DestroySession");
  });
}

void RefusesNull(Subject& subject) {
  ForEachService(subject, [&](const ServiceDescriptor& row, IService& service) {
    DemandRefused(service.DestroySession(nullptr), row, service, "null");
  });
}

void RefusesForeign(Subject& subject) {
  ForEachService(subject, [&](const ServiceDescriptor& row, IService& service) {
    bool was_destroyed = false;
    ForeignSession foreign(was_destroyed);
    DemandRefused(service.DestroySession(&foreign), row, service, "a session of nobody");
    Demand(!was_destroyed, "it destroyed a session that is not its own");
    const OwnedSession own(service);
  });
}

void RefusesThoseOfOthers(Subject& subject) {
  const LoadedModule module = subject.Start();
  const auto table = module.Table();
  if (table.size() < 2) throw NotApplicable();
  for (std::size_t i = 0; i < table.size(); ++i) {
    const std::size_t next = (i + 1) % table.size();
    subject.At(Describe(table, i) + " with a session of " + Describe(table, next));
    const OwnedService service(table[i]);
    const OwnedService other(table[next]);
    ISession* session = Make(*other);
    DemandRefused(service->DestroySession(session), table[i], *service, "a session of " + Describe(table, next));
    // Had it been taken, this would be its second end.
    UseSession(subject, session);
    DemandEqual(other->DestroySession(session), DestroyedCode(table[next], *other),
                "DestroySession after another service refused");
  }
}

std::vector<ISession*> MakeMany(IService& service) {
  std::vector<ISession*> sessions;
  for (std::size_t i = 0; i < kManySessions; ++i) sessions.push_back(Make(service));
  return sessions;
}

void GivesMany(Subject& subject) {
  ForEachService(subject, [](const ServiceDescriptor& row, IService& service) {
    const std::uint32_t destroyed = DestroyedCode(row, service);
    const std::vector<ISession*> sessions = MakeMany(service);
    DemandEqual(std::set(sessions.begin(), sessions.end()).size(), kManySessions, "the number of different sessions");
    for (ISession* session : sessions) DemandEqual(service.DestroySession(session), destroyed, "DestroySession");
  });
}

void TakesInAnyOrder(Subject& subject) {
  ForEachService(subject, [](const ServiceDescriptor& row, IService& service) {
    const std::uint32_t destroyed = DestroyedCode(row, service);
    std::vector<ISession*> sessions = MakeMany(service);
    std::ranges::reverse(sessions);
    // 7 and the number of sessions have no common factor: each is met once.
    for (std::size_t i = 0; i < sessions.size(); ++i) {
      DemandEqual(service.DestroySession(sessions[i * 7 % sessions.size()]), destroyed, "DestroySession");
    }
  });
}

void KeepsMemory(Subject& subject) {
  ForEachService(subject, [](const ServiceDescriptor&, IService& service) {
    DemandSteadyMemory(kMemoryCycles, [&] { const OwnedSession session(service); });
  });
}

void UsedOnesKeepMemory(Subject& subject) {
  subject.RegisterCompanions();
  ForEachService(subject, [&](const ServiceDescriptor&, IService& service) {
    DemandSteadyMemory(kMemoryCycles / 5, [&] {
      const OwnedSession session(service);
      UseSession(subject, session.get());
    });
  });
}

void HasInterface(Subject& subject) {
  bool has_any = false;
  ForEachService(subject, [&](const ServiceDescriptor& row, IService& service) {
    const KnownService* known = FindKnownService(row.name);
    if (known == nullptr) return;
    has_any = true;
    const OwnedSession session(service);
    Demand(known->has_interface(session.get()), "a session does not have the service's query interface");
  });
  if (!has_any) throw NotApplicable();
}

void HasTypeInformation(Subject& subject) {
  ForEachService(subject, [](const ServiceDescriptor&, IService& service) {
    const OwnedSession session(service);
    Demand(dynamic_cast<void*>(session.get()) != nullptr, "a session has no address as a whole object");
    Demand(dynamic_cast<ForeignSession*>(session.get()) == nullptr, "a session passes for a foreign one");
  });
}

void ServesThreads(Subject& subject) {
  subject.RegisterCompanions();
  ForEachService(subject, [&](const ServiceDescriptor&, IService& service) {
    InThreads([&] {
      for (int i = 0; i < 20; ++i) {
        const OwnedSession session(service);
        UseSession(subject, session.get());
      }
    });
  });
}

void TakesFromAnotherThread(Subject& subject) {
  ForEachService(subject, [](const ServiceDescriptor& row, IService& service) {
    const std::uint32_t destroyed = DestroyedCode(row, service);
    ISession* session = Make(service);
    std::uint32_t answer = kUntouched;
    std::thread([&] { answer = service.DestroySession(session); }).join();
    DemandEqual(answer, destroyed, "DestroySession in another thread");
  });
}

void LeavesOthersAlone(Subject& subject) {
  subject.RegisterCompanions();
  ForEachService(subject, [&](const ServiceDescriptor&, IService& service) {
    const OwnedSession first(service);
    { const OwnedSession second(service); }
    const OwnedSession third(service);
    UseSession(subject, first.get());
    UseSession(subject, third.get());
  });
}

constexpr std::array kChecks{
    Check{kSessionCreate, "CreateSession gives a session, DestroySession takes it", Create},
    Check{"session.destroy-null", "DestroySession refuses null", RefusesNull},
    Check{"session.destroy-foreign", "it refuses, and leaves alone, a session of nobody", RefusesForeign},
    Check{"session.destroy-other", "and one of another service of the module", RefusesThoseOfOthers},
    Check{"session.many", "500 sessions at once are 500 objects", GivesMany},
    Check{"session.order", "sessions go back in any order", TakesInAnyOrder},
    Check{"session.memory", "sessions that come and go leave no memory behind", KeepsMemory},
    Check{"session.memory-used", "nor do sessions that opened something", UsedOnesKeepMemory},
    Check{"session.interface", "sessions of known services have their query interface", HasInterface},
    Check{"session.types", "sessions carry their run-time type", HasTypeInformation},
    Check{"session.threads", "one service serves sessions in several threads at once", ServesThreads},
    Check{"session.other-thread", "a session goes back in another thread than it was made in", TakesFromAnotherThread},
    Check{"session.independent", "the end of one session leaves the others as they are", LeavesOthersAlone},
};

}  // namespace

std::span<const Check> SessionChecks() { return kChecks; }

}  // namespace module_check
