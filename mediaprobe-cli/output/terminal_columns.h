#pragma once

#include <cstddef>
#include <optional>

namespace mediaprobe {

/// Columns of the terminal behind the descriptor; empty where there is none, or one that does not tell.
std::optional<std::size_t> TerminalColumns(int descriptor);

}  // namespace mediaprobe
