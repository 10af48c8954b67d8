#include "output/terminal_columns.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace mediaprobe {
namespace {

TEST(TerminalColumns, AreThoseOfTheTerminal) {
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_GE(terminal, 0);
  winsize size{};
  ASSERT_EQ(ioctl(terminal, TIOCSWINSZ, &size), 0);
  EXPECT_EQ(TerminalColumns(terminal), std::nullopt);
  size.ws_col = 132;
  ASSERT_EQ(ioctl(terminal, TIOCSWINSZ, &size), 0);
  EXPECT_EQ(TerminalColumns(terminal), 132u);
  close(terminal);
}

TEST(TerminalColumns, FilesHaveNone) {
  const int file = open("/dev/null", O_RDONLY);
  EXPECT_EQ(TerminalColumns(file), std::nullopt);
  close(file);
  EXPECT_EQ(TerminalColumns(-1), std::nullopt);
}

}  // namespace
}  // namespace mediaprobe
