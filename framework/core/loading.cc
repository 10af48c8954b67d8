#include "core/loading.h"

namespace {

constinit CoreLoadingWatcher loading_watcher = nullptr;

}  // namespace

void CoreWatchLoading(CoreLoadingWatcher watcher) { loading_watcher = watcher; }

void CoreTellLoading(const char* name) {
  if (loading_watcher) loading_watcher(name);
}
