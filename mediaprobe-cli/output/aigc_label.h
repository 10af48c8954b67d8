#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>

namespace mediaprobe {

/// The JSON object that the text of an AI-generated-content label holds, as it stands. Empty when the text is no JSON
/// object, or one larger or more deeply nested than any label needs: then the text speaks for itself.
std::optional<nlohmann::ordered_json> ParseAigcLabel(std::string_view text);

}  // namespace mediaprobe
