#pragma once

#include <optional>
#include <string>

#include "svg-decoder/source.h"

namespace svg_decoder {

/// The attributes of the root element that tell its size, as they stand in the document with entities resolved; empty
/// where the document has none.
struct RootElement {
  std::string width;
  std::string height;
  std::string view_box;
  std::string font_size;
};

/// Reads a whole SVG document, in UTF-8, UTF-16 or any known encoding that holds ASCII. Nothing that it refers to is
/// opened. Empty, with the reason in CoreErrorText, for what is no SVG, for XML that is not well-formed, for a
/// source that fails, and for documents made to exhaust their readers: elements more than 1,000 deep, entities that
/// unfold to more than 8 MB and twice the document or are more than 1,000, more than 1,000 declared attributes or a
/// million default ones, 100,000 different names, and what takes more than 72 MB to read.
std::optional<RootElement> ReadDocument(ISource& source);

}  // namespace svg_decoder
