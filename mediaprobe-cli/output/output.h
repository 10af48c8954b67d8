#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "interrupt.h"
#include "output/record_formatter.h"

namespace mediaprobe {

/// Where the records' texts go, one whole record after another, each as soon as it is known.
class Output {
 public:
  /// Standard output.
  explicit Output(OutputFrame frame);
  /// A file that holds the whole output once End has succeeded, and that nothing has happened to before; of a link what
  /// it leads to. One that is there keeps its permissions. Null, with errno, when no file can be written beside it.
  static std::unique_ptr<Output> ToFile(OutputFrame frame, const std::string& path);
  ~Output();
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  /// From now on a reader that takes nothing for some seconds is not waited for once an interrupt has happened. Borrows
  /// `interrupts`, which lets them through while something is written.
  void GiveUpAfter(Interrupts& interrupts) { interrupts_ = &interrupts; }
  /// Empty texts are passed over. False when something could not be written; nothing is written after that.
  bool Add(std::string_view text);
  /// Writes what closes the output; the last call. False on the same terms.
  bool End();
  /// What the first failure was, as errno has it; 0 for none.
  int error() const { return error_; }
  /// Where it goes: to a terminal, or to a pipe or socket, whose reader may write on one.
  bool is_terminal() const { return is_terminal_; }
  bool is_pipe() const { return is_pipe_; }
  /// Whether it is a file that End puts in place, under another name until then.
  bool is_put_in_place() const { return !unfinished_path_.empty(); }
  /// Whether the last line that was written lacks its end.
  bool is_line_open() const { return is_line_open_; }

 private:
  Output(OutputFrame frame, int descriptor, std::string path, std::string unfinished_path);
  bool Write(std::string_view text);
  /// Whether something can be written without a wait; false where that is given up.
  bool WaitForRoom() const;

  OutputFrame frame_;
  Interrupts* interrupts_ = nullptr;
  int descriptor_;
  std::string path_;             // of the file, empty for standard output
  std::string unfinished_path_;  // under which it is written
  bool is_terminal_;
  bool is_pipe_;
  bool is_line_open_ = false;
  bool has_records_ = false;
  int error_ = 0;
};

}  // namespace mediaprobe
