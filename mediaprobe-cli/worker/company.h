#pragma once

namespace mediaprobe {

/// Which inputs are answered in the same processes.
enum class Company {
  kFiles,    ///< files
  kNetwork,  ///< network URLs
  kAlone,    ///< one input, in a process that answers no other
};

}  // namespace mediaprobe
