#include "output/terminal_columns.h"

#include <sys/ioctl.h>

namespace mediaprobe {

std::optional<std::size_t> TerminalColumns(int descriptor) {
  winsize size{};
  if (ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return std::nullopt;
  return size.ws_col;
}

}  // namespace mediaprobe
