#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace svg_decoder {

/// The attributes of the root element that tell its size, as they stand in the document with entities resolved; empty
/// where the document has none.
struct RootElement {
  std::string width;
  std::string height;
  std::string view_box;
  std::string font_size;
};

/// Reads a whole SVG document, in any encoding that its first bytes or its XML declaration tell. Nothing that it refers
/// to is opened. Empty, with the reason in CoreErrorText, for what is no SVG, for XML that is not well-formed, and for
/// documents made to exhaust their readers: elements more than 1,000 deep, entities that unfold to more than 8 MB and
/// twice the document, or 48 MB of names and attributes.
std::optional<RootElement> ReadDocument(std::string_view bytes);

}  // namespace svg_decoder
