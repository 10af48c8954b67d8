#include "fakes/host.h"

// A support library without the function that is looked for in it.
namespace {

[[maybe_unused]] const bool kLoaded = (FakeLibraryLoaded("hollow"), true);

}  // namespace
