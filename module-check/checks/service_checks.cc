// Services: creating them, what they answer, releasing them.

#include <array>
#include <thread>
#include <vector>

#include "checks/areas.h"
#include "known_services.h"
#include "service/iservice_manager.h"
#include "subject.h"

namespace module_check {
namespace {

using service::IService;
using service::ServiceDescriptor;

constexpr int kMemoryCycles = 100;

void Create(Subject& subject) {
  ForEachService(subject, [](const ServiceDescriptor&, IService&) {});
}

/// Runs `task` for each descriptor of the started module.
template <typename Task>
void ForEachRow(const Subject& subject, Task task) {
  const LoadedModule module = subject.Start();
  const auto table = module.Table();
  for (std::size_t i = 0; i < table.size(); ++i) {
    const std::string name = Describe(table, i);
    subject.At(name);
    try {
      task(table[i]);
    } catch (const Fault& fault) {
      throw Fault{name + ": " + fault.text};
    }
  }
}

void ReleasesNull(Subject& subject) {
  ForEachRow(subject, [](const ServiceDescriptor& row) { row.release(nullptr); });
}

void DemandSession(IService& service) { const OwnedSession session(service); }

void CreatesAgain(Subject& subject) {
  ForEachRow(subject, [](const ServiceDescriptor& row) {
    for (int i = 0; i < 5; ++i) {
      const OwnedService service(row);
      DemandSession(*service);
    }
  });
}

void CreatesTwo(Subject& subject) {
  ForEachRow(subject, [](const ServiceDescriptor& row) {
    const OwnedService first(row);
    {
      const OwnedService second(row);
      Demand(&*first != &*second, "two calls of the create function give one object");
      DemandSession(*second);
    }
    DemandSession(*first);
  });
}

std::vector<IService*> CreateAll(std::span<const ServiceDescriptor> table) {
  std::vector<IService*> services;
  for (const ServiceDescriptor& row : table) {
    services.push_back(row.create());
    Demand(services.back() != nullptr, "a create function gives null while other services exist");
    DemandSession(*services.back());
  }
  return services;
}

void ReleasesInAnyOrder(Subject& subject) {
  const LoadedModule module = subject.Start();
  const auto table = module.Table();
  std::vector<IService*> services = CreateAll(table);
  for (std::size_t i = 0; i < table.size(); ++i) table[i].release(services[i]);
  services = CreateAll(table);
  for (std::size_t i = table.size(); i-- > 0;) table[i].release(services[i]);
}

void ReleasesInAnotherThread(Subject& subject) {
  ForEachRow(subject, [](const ServiceDescriptor& row) {
    IService* service = row.create();
    Demand(service != nullptr, "the create function gives null");
    DemandSession(*service);
    std::thread([&] { row.release(service); }).join();
  });
}

void CreatesInThreads(Subject& subject) {
  ForEachRow(subject, [](const ServiceDescriptor& row) {
    InThreads([&] {
      const OwnedService service(row);
      DemandSession(*service);
    });
  });
}

void KeepsMemory(Subject& subject) {
  ForEachRow(subject, [](const ServiceDescriptor& row) {
    DemandSteadyMemory(kMemoryCycles, [&] { const OwnedService service(row); });
  });
}

void AnswersFirstState(Subject& subject) {
  ForEachService(subject, [](const ServiceDescriptor&, IService& service) {
    DemandEqual(service.FirstStateQuery(), 0U, "FirstStateQuery");
  });
}

void AnswersSecondState(Subject& subject) {
  ForEachService(subject, [](const ServiceDescriptor&, IService& service) {
    DemandEqual(service.SecondStateQuery(), true, "SecondStateQuery");
  });
}

void AnswersFinalQuery(Subject& subject) {
  ForEachService(subject, [](const ServiceDescriptor&, IService& service) {
    DemandEqual(service.FinalQuery(), false, "FinalQuery");
  });
}

void AnswersTheSameLater(Subject& subject) {
  ForEachService(subject, [](const ServiceDescriptor&, IService& service) {
    const OwnedSession session(service);
    DemandEqual(service.FirstStateQuery(), 0U, "FirstStateQuery with a session");
    DemandEqual(service.SecondStateQuery(), true, "SecondStateQuery with a session");
    DemandEqual(service.FinalQuery(), false, "FinalQuery with a session");
  });
}

void TakesNullResults(Subject& subject) {
  ForEachService(subject, [](const ServiceDescriptor&, IService& service) {
    std::uint32_t result = kUntouched;
    DemandEqual(service.KeyedQuery(0, 0, nullptr), service.KeyedQuery(0, 0, &result), "KeyedQuery without a result");
    DemandEqual(service.KeyedRequest(0, 0, 0, nullptr), service.KeyedRequest(0, 0, 0, &result),
                "KeyedRequest without a result");
  });
}

/// Words that look like anything: a module that takes one for an address is in trouble.
constexpr std::array<std::uintptr_t, 4> kWords{0, 1, 0xFFFF'FFFF, ~std::uintptr_t{0}};

/// Runs `task` for the services of the module that the framework knows.
template <typename Task>
void ForEachKnown(const Subject& subject, Task task) {
  bool has_any = false;
  ForEachService(subject, [&](const ServiceDescriptor& row, IService& service) {
    const KnownService* known = FindKnownService(row.name);
    if (known == nullptr) return;
    has_any = true;
    task(*known, service);
  });
  if (!has_any) throw NotApplicable();
}

void AnswersKeyedQuery(Subject& subject) {
  ForEachKnown(subject, [](const KnownService& known, IService& service) {
    for (const std::uintptr_t word : kWords) {
      std::uint32_t result = kUntouched;
      DemandEqual(service.KeyedQuery(word, word, &result), 0U, "KeyedQuery");
      DemandEqual(result, known.keyed_query_writes ? 0 : kUntouched, "the result of KeyedQuery");
    }
  });
}

void AnswersKeyedRequest(Subject& subject) {
  ForEachKnown(subject, [](const KnownService& known, IService& service) {
    for (const std::uintptr_t word : kWords) {
      std::uint32_t result = kUntouched;
      DemandEqual(service.KeyedRequest(word, word, word, &result), known.keyed_request, "KeyedRequest");
      DemandEqual(result, 0U, "the result of KeyedRequest");
    }
  });
}

struct Row {
  std::string name;
  std::string description;
  std::string uuid;

  friend bool operator==(const Row&, const Row&) = default;
};

std::vector<Row> Copy(std::span<const ServiceDescriptor> table) {
  const auto text = [](const char* from) { return std::string(from == nullptr ? "" : from); };
  std::vector<Row> rows;
  for (const ServiceDescriptor& row : table) rows.push_back({text(row.name), text(row.description), text(row.uuid)});
  return rows;
}

void KeepsItsTexts(Subject& subject) {
  const LoadedModule module = subject.Start();
  const std::vector<Row> before = Copy(module.Table());
  for (const ServiceDescriptor& row : module.Table()) {
    if (service::IService* service = row.create()) {
      if (service::ISession* session = service->CreateSession()) service->DestroySession(session);
      row.release(service);
    }
  }
  Demand(Copy(module.Table()) == before, "a text of the table is another one after services came and went");
}

void IsTakenByTheManager(Subject& subject) {
  const std::string& path = subject.target().module;
  service::Configuration configuration = HostConfiguration(subject.target());
  service::IServiceManager* manager = ZORServiceMrgAcqire(/*reserved=*/0);
  subject.At("IServiceManager::LoadModule");
  Demand(manager->LoadModule(path.c_str(), &configuration), "the service manager refuses it");
  Demand(manager->LoadModule(path.c_str(), &configuration), "the service manager refuses it the second time");
  for (std::uint32_t i = 0; i < manager->GetServiceCount(); ++i) {
    const ServiceDescriptor& row = *manager->GetService(i);
    subject.At(std::string("AcquireService of ") + row.name);
    const auto by_name = manager->AcquireService(row.name, /*create=*/true, 0);
    Demand(by_name != nullptr, std::string("the manager cannot create ") + row.name);
    Demand(manager->AcquireService(row.uuid, true, 0) == by_name, "a service has another one's UUID");
  }
  subject.At("ReleaseServices");
  manager->ReleaseServices();
}

constexpr std::array kChecks{
    Check{kServiceCreate, "create functions give services, release functions take them", Create},
    Check{"service.release-null", "release functions ignore null", ReleasesNull},
    Check{"service.create-again", "a service is created again after it was released", CreatesAgain},
    Check{"service.two", "two services of one kind live side by side", CreatesTwo},
    Check{"service.release-order", "services are released in any order", ReleasesInAnyOrder},
    Check{"service.release-thread", "a service is released by another thread than created it", ReleasesInAnotherThread},
    Check{"service.create-threads", "services are created by several threads at once", CreatesInThreads},
    Check{"service.memory", "services that come and go leave no memory behind", KeepsMemory},
    Check{"service.table-texts", "the table's texts stay while services come and go", KeepsItsTexts},
    Check{"service.manager", "the service manager registers the module and creates each service", IsTakenByTheManager},
    Check{"service.first-state", "FirstStateQuery answers 0", AnswersFirstState},
    Check{"service.second-state", "SecondStateQuery answers true", AnswersSecondState},
    Check{"service.final-query", "FinalQuery answers false", AnswersFinalQuery},
    Check{"service.states-later", "and they answer the same while there are sessions", AnswersTheSameLater},
    Check{"service.null-results", "KeyedQuery and KeyedRequest take null for their result", TakesNullResults},
    Check{"service.keyed-query", "KeyedQuery of a known service answers 0, whatever the words", AnswersKeyedQuery},
    Check{"service.keyed-request", "KeyedRequest of a known service gives its fixed answer", AnswersKeyedRequest},
};

}  // namespace

std::span<const Check> ServiceChecks() { return kChecks; }

}  // namespace module_check
