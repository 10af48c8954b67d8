#include "output/aigc_label.h"

namespace mediaprobe {
namespace {

// The labelling rules know seven short texts in one object, sometimes in another one.
constexpr std::size_t kMostBytes = std::size_t{64} << 10;
constexpr int kDeepestNesting = 32;

/// Whether brackets outside of texts nest deeper than allowed: what writes JSON out again is recursive.
bool NestsTooDeep(std::string_view text) {
  int depth = 0;
  bool in_text = false;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    if (in_text && c == '\\') ++at;
    if (c == '"') in_text = !in_text;
    if (in_text) continue;
    if (c == '{' || c == '[') ++depth;
    if (c == '}' || c == ']') --depth;
    if (depth > kDeepestNesting) return true;
  }
  return false;
}

}  // namespace

std::optional<nlohmann::ordered_json> ParseAigcLabel(std::string_view text) {
  if (text.size() > kMostBytes || NestsTooDeep(text)) return std::nullopt;
  auto label = nlohmann::ordered_json::parse(text, /*cb=*/nullptr, /*allow_exceptions=*/false);
  if (!label.is_object()) return std::nullopt;
  return label;
}

}  // namespace mediaprobe
