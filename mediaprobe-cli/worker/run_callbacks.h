#pragma once

#include <chrono>
#include <csignal>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "inputs/input_source.h"
#include "worker/answer.h"
#include "worker/company.h"
#include "worker/frame.h"

namespace mediaprobe {

/// What a run over many inputs asks of whoever started it. All but `answer`, `fail` and `enter` run in the
/// process of the run, `fail` there or where the input is answered.
struct RunCallbacks {
  struct Progress {
    std::uint64_t answered = 0;
    std::string current;  ///< the input that the output waits for
    std::optional<DigestProgress> digest;
  };

  AnswerInput answer;  ///< runs in the workers, where there are any
  /// Makes the answer for an input that could not be answered.
  FailInput fail;
  /// Which processes may answer an input; those for files where it is empty.
  std::function<Company(const Input& input)> company;
  /// Called in a worker when it starts, with the first of its inputs and its end of the stream to the parent: gives up
  /// what answering does not take. False fails its inputs. May be empty.
  std::function<bool(const Input& input, Company company, int descriptor)> enter;
  /// Called when a worker has left with a wish: sees to it that later ones have what it is for. False when there is no
  /// such wish. May be empty.
  std::function<bool(int wish)> grant;
  /// The longest time that an input may take, its digest not counted, and that this may stand still.
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
