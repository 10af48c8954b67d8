#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace mediaprobe {

/// `value` as JSON text: on one line, or with every member and item on a line of its own, indented by two blanks a
/// level from `level` on. Always valid UTF-8: invalid sequences become U+FFFD. Numbers with a fraction are written with
/// the fewest digits that read back as the same number; the library's own writer needs more for one in six hundred, and
/// a duration must not show more than the seven decimals that it has.
std::string CompactJson(const nlohmann::ordered_json& value);
std::string IndentedJson(const nlohmann::ordered_json& value, unsigned level);

}  // namespace mediaprobe
