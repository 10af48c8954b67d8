#include "tour.h"

namespace module_check {

LoadedModule Tour(const Subject& subject) {
  const LoadedModule module = subject.Start();
  const auto table = module.Table();
  for (std::size_t i = 0; i < table.size(); ++i) {
    subject.At(Describe(table, i));
    const OwnedService service(table[i]);
    const OwnedSession session(*service);
    UseSession(subject, session.get());
    if (const auto shared = service->CreateSharedSession(/*reserved=*/0)) UseSession(subject, shared.get());
  }
  return module;
}

}  // namespace module_check
