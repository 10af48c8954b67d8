#include "worker/run_here.h"

#include <poll.h>

#include <new>
#include <utility>

namespace mediaprobe {
namespace {

Answer AnswerOrFail(const Input& input, const RunCallbacks& callbacks, const RunCallbacks::Progress& progress) {
  const ReportDigest report = [&](std::uint64_t done, std::uint64_t total) {
    RunCallbacks::Progress now = progress;
    now.digest = DigestProgress{done, total};
    callbacks.wait(now);
  };
  try {
    return input.failure.empty() ? callbacks.answer(input, report) : callbacks.fail(input, input.failure);
  } catch (const std::bad_alloc&) {
    return callbacks.fail(input, "out of memory");
  }
}

}  // namespace

bool RunHere(InputSource& source, const RunCallbacks& callbacks) {
  RunCallbacks::Progress progress;
  Input input;
  while (!callbacks.stop()) {
    switch (source.Next(&input)) {
      case InputSource::State::kEnd:
        return true;
      case InputSource::State::kWait: {
        pollfd watched{source.descriptor(), POLLIN, 0};
        ppoll(&watched, 1, nullptr, &callbacks.wait_mask);
        break;
      }
      case InputSource::State::kInput:
        progress.current = input.name;
        callbacks.wait(progress);
        if (!callbacks.take(AnswerOrFail(input, callbacks, progress))) return false;
        ++progress.answered;
    }
  }
  return false;
}

}  // namespace mediaprobe
