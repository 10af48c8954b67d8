#pragma once

#include <functional>
#include <string>

#include "inputs/input_source.h"
#include "report_digest.h"

namespace mediaprobe {

/// What became of one input.
struct Answer {
  std::string text;   ///< the record in the chosen output form
  std::string error;  ///< why there is no answer, in words; empty when there is one
};

/// Answers one input. Calls `report` when the probe is done and only the digest is left, and from then on as it likes.
using AnswerInput = std::function<Answer(const Input& input, const ReportDigest& report)>;

/// Makes the answer for an input that could not be answered.
using FailInput = std::function<Answer(const Input& input, const std::string& reason)>;

}  // namespace mediaprobe
