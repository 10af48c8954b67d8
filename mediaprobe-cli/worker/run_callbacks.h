#pragma once

#include <chrono>
#include <csignal>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "inputs/input_source.h"
#include "worker/answer.h"
#include "worker/frame.h"

namespace mediaprobe {

/// What a run over many inputs asks of whoever started it. All but `answer` run in the process of the run.
struct RunCallbacks {
  struct Progress {
    std::uint64_t answered = 0;
    std::string current;  ///< the input that the output waits for
    std::optional<DigestProgress> digest;
  };

  AnswerInput answer;  ///< runs in the workers, where there are any
  /// Makes the answer for an input that could not be answered.
  FailInput fail;
  /// The longest time that an input may take, its digest not counted.
  std::function<std::chrono::milliseconds(const Input& input)> time_limit;
  /// Takes the answers, in the order of the inputs. False ends the run.
  std::function<bool(const Answer& answer)> take;
  /// Called now and then while answers are awaited.
  std::function<void(const Progress& progress)> wait;
  /// True ends the run.
  std::function<bool()> stop;
  sigset_t wait_mask{};  ///< signals that are blocked while the run waits
};

}  // namespace mediaprobe
