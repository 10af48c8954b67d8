#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "inputs/input_source.h"
#include "worker/company.h"
#include "worker/sandbox/file_access.h"

namespace mediaprobe {

/// What of the means to confine a process this kernel lacks, in words for a person; empty when it has all of them.
std::string MissingLayers();

/// Takes from worker processes what answering inputs does not need. Nothing can be started, written, made or connected
/// to, and nothing is read but inputs: in processes for files what lies beneath the places named at the start, in those
/// for one input that alone. Those for network URLs connect to hosts, and read what finding and trusting these takes
/// instead. Core dumps are off, the environment is empty, descriptors are closed. A layer that the kernel lacks is left
/// out; everything else holds all the same.
class Confinement {
 public:
  struct Settings {
    /// The inputs named at the start, folders among them; empty where inputs are to come that nobody knows yet.
    std::optional<std::vector<std::string>> places;
    bool reads_all_frames = false;  ///< of sequences; only the first one otherwise
    bool tells_on_standard_error = false;
  };
  explicit Confinement(Settings settings);

  /// Confines this process to what `input` and others in its company call for, and closes all descriptors but those of
  /// `kept`, and standard error where something is to be told on it. All that the inputs may need to load must have
  /// been loaded. Cannot be undone. False when the kernel refuses.
  bool Enter(const Input& input, Company company, std::span<const int> kept) const;

 private:
  bool EnforceFiles(const Input& input, Company company) const;

  Settings settings_;
  bool has_files_;
  bool has_calls_;
  sandbox::FileAccess files_;  // of processes for files
};

/// What of that a process can give up that may yet have to start over: from now on it, and what it starts, creates,
/// changes and removes no file, reaches no TCP port, and no process outside. False where the kernel lacks Landlock or
/// refuses.
bool GiveUpChanges();

/// Whether this process is kept from reading a file that it could read otherwise: a link that leads out of the places
/// named at the start, a file that was replaced since. A process of its own may read it. `reason`: why it has not been
/// read.
bool IsOutOfReach(const std::string& input, std::string_view reason);

}  // namespace mediaprobe
