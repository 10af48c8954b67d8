#pragma once

#include <string>

namespace module_check::process_state {

/// What a module has no business to change, each as a text that is compared with a later one: an item a line.
std::string SignalHandlers();
std::string SignalMask();
std::string Locale();
std::string Umask();
std::string CurrentFolder();
std::string Environment();
std::string ResourceLimits();
std::string RoundingMode();
std::string Timers();
std::string StandardStreams();
std::string ErrorHandlers();  ///< those of std::terminate and of operator new
std::string Children();
std::string Priority();
std::string Dumpable();

/// What a module takes and gives back.
std::string Threads();      ///< number
std::string Descriptors();  ///< each with what it leads to
/// A Fault that tells the lines that came and went, unless `after` is `before`.
void DemandSame(const std::string& after, const std::string& before, const std::string& what);
/// Number of mapped pieces of files.
std::size_t MappedPieces();
/// Whether a file is mapped. `path` has no links in it.
bool IsMapped(const std::string& path);
/// Permissions of the memory at `address`, as "r-xp"; empty where nothing is mapped.
std::string PermissionsAt(const void* address);

}  // namespace module_check::process_state
