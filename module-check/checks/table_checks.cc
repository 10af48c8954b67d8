// The table that GetServiceModuleInfo tells.

#include <array>
#include <map>

#include "checks/areas.h"
#include "core/uuid.h"
#include "known_services.h"
#include "process_state.h"
#include "subject.h"

namespace module_check {
namespace {

using service::ServiceDescriptor;
using Table = std::span<const ServiceDescriptor>;

/// A module has a few services; thousands are a count that was not written.
constexpr std::uint32_t kMostServices = 1000;

void TellsTable(Subject& subject) {
  const ServiceDescriptor* table = nullptr;
  std::uint32_t count = 0;
  const LoadedModule module = subject.Load();
  subject.At("GetServiceModuleInfo");
  const bool answer = module.TellTable(&table, &count);
  Demand(answer, "GetServiceModuleInfo answers false");
  Demand(table != nullptr, "the table is null");
  Demand(count > 0 && count <= kMostServices, "the table has " + std::to_string(count) + " services");
  const auto* end = reinterpret_cast<const char*>(table + count) - 1;
  Demand(process_state::PermissionsAt(table).starts_with('r') && process_state::PermissionsAt(end).starts_with('r'),
         "the table does not lie in readable memory");
}

void TakesNullArguments(Subject& subject) {
  const LoadedModule module = subject.Load();
  const ServiceDescriptor* table = nullptr;
  std::uint32_t count = kUntouched;
  subject.At("GetServiceModuleInfo(null, count)");
  Demand(module.TellTable(nullptr, &count), "without a table it answers false");
  DemandEqual(count, kUntouched, "the count without a table");
  subject.At("GetServiceModuleInfo(table, null)");
  Demand(module.TellTable(&table, nullptr), "without a count it answers false");
  Demand(table == nullptr, "without a count it writes the table");
  subject.At("GetServiceModuleInfo(null, null)");
  Demand(module.TellTable(nullptr, nullptr), "without both it answers false");
}

void TellsTheSameAgain(Subject& subject) {
  const LoadedModule module = subject.Load();
  const Table first = module.Table();
  const Table again = module.Table();
  Demand(first.data() == again.data(), "a second call tells another table");
  DemandEqual(again.size(), first.size(), "the count of a second call");
}

void TellsTheSameInThreads(Subject& subject) {
  const LoadedModule module = subject.Load();
  const Table first = module.Table();
  InThreads([&] { Demand(module.Table().data() == first.data(), "another thread is told another table"); });
}

/// Runs `demand` for each descriptor; a Fault says whose it is.
template <typename Demanding>
void ForEachDescriptor(const Subject& subject, Demanding demand) {
  const LoadedModule module = subject.Load();
  const Table table = module.Table();
  for (std::size_t i = 0; i < table.size(); ++i) {
    subject.At("service " + std::to_string(i));
    try {
      demand(table[i]);
    } catch (const Fault& fault) {
      throw Fault{Describe(table, i) + ": " + fault.text};
    }
  }
}

void DemandWords(const char* text, const std::string& what) {
  Demand(text != nullptr, what + " is null");
  Demand(*text != '\0', what + " is empty");
  for (const char* at = text; *at != '\0'; ++at) {
    const auto byte = static_cast<unsigned char>(*at);
    Demand(byte >= 0x20 && byte != 0x7F, what + " holds a control character");
  }
}

void HasNames(Subject& subject) {
  ForEachDescriptor(subject, [](const ServiceDescriptor& row) { DemandWords(row.name, "the name"); });
}

void HasDescriptions(Subject& subject) {
  ForEachDescriptor(subject, [](const ServiceDescriptor& row) { DemandWords(row.description, "the description"); });
}

void HasUuids(Subject& subject) {
  ForEachDescriptor(subject, [](const ServiceDescriptor& row) {
    core::Uuid uuid;
    Demand(uuid.FromString(row.uuid), "the UUID is " + Shown(row.uuid) + ", no canonical text");
    DemandText(row.uuid, uuid.ToString(), "the UUID");
  });
}

std::string Key(const char* id) {
  core::Uuid uuid;
  return uuid.FromString(id) ? uuid.ToString() : id;
}

void HasUniqueIds(Subject& subject) {
  std::map<std::string, const ServiceDescriptor*> owners;
  ForEachDescriptor(subject, [&](const ServiceDescriptor& row) {
    for (const char* id : {row.name, row.uuid}) {
      if (id == nullptr) continue;
      const auto place = owners.emplace(Key(id), &row).first;
      Demand(place->second == &row, "another service is called " + Shown(id));
    }
  });
}

void HasKnownIds(Subject& subject) {
  ForEachDescriptor(subject, [](const ServiceDescriptor& row) {
    for (const KnownService& known : KnownServices()) {
      const bool has_name = row.name != nullptr && std::string_view(row.name) == known.name;
      const bool has_uuid = row.uuid != nullptr && std::string_view(row.uuid) == known.uuid;
      Demand(has_name == has_uuid,
             std::string("the framework's name ") + known.name + " goes with the UUID " + known.uuid + " and no other");
    }
  });
}

void HasZeroWords(Subject& subject) {
  ForEachDescriptor(subject, [](const ServiceDescriptor& row) {
    DemandEqual(row.reserved3, 0U, "the reserved word 3");
    DemandEqual(row.reserved7, 0U, "the reserved word 7");
    DemandEqual(row.reserved8, 0U, "the reserved word 8");
  });
}

template <typename Function>
void DemandCode(Function function, const std::string& what) {
  Demand(process_state::PermissionsAt(reinterpret_cast<const void*>(function)).find('x') != std::string::npos,
         what + " does not lie in executable memory");
}

void HasCreateFunctions(Subject& subject) {
  ForEachDescriptor(subject, [](const ServiceDescriptor& row) {
    Demand(row.create != nullptr, "it has no create function");
    DemandCode(row.create, "the create function");
  });
}

void HasReleaseFunctions(Subject& subject) {
  ForEachDescriptor(subject, [](const ServiceDescriptor& row) {
    Demand(row.release != nullptr, "it has no release function");
    DemandCode(row.release, "the release function");
  });
}

void HasInitFunctions(Subject& subject) {
  ForEachDescriptor(subject, [](const ServiceDescriptor& row) {
    if (row.init != nullptr) DemandCode(row.init, "the init function");
  });
}

constexpr std::array kChecks{
    Check{kTableTold, "GetServiceModuleInfo answers true and tells a table with services", TellsTable},
    Check{"table.null-arguments", "without a table or a count it answers true and writes nothing", TakesNullArguments},
    Check{"table.same-again", "every call tells the same table", TellsTheSameAgain},
    Check{"table.threads", "several threads at once are told the same table", TellsTheSameInThreads},
    Check{"table.names", "each service has a name without control characters", HasNames},
    Check{"table.descriptions", "each service has a description without control characters", HasDescriptions},
    Check{"table.uuids", "each service has a UUID: canonical text, upper case, no braces", HasUuids},
    Check{"table.unique-ids", "no two services share a name or a UUID", HasUniqueIds},
    Check{"table.known-ids", "names and UUIDs of the framework's own services go together", HasKnownIds},
    Check{"table.reserved-words", "reserved words are zero", HasZeroWords},
    Check{"table.create-functions", "each service has a create function", HasCreateFunctions},
    Check{"table.release-functions", "each service has a release function", HasReleaseFunctions},
    Check{"table.init-functions", "an init function is a function or null", HasInitFunctions},
};

}  // namespace

std::span<const Check> TableChecks() { return kChecks; }

}  // namespace module_check
