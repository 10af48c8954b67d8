#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace media_server {

/// How an XML document begins, as far as it was looked at. All texts are ASCII.
struct XmlStart {
  bool is_decided = false;       ///< the root element's name was met, or text that cannot stand before one
  bool has_declaration = false;  ///< an XML declaration or another processing instruction named after XML
  std::string document_type;     ///< name in the document type declaration; empty without one
  std::string root;              ///< name of the root element without its prefix; empty when none was met
};

/// Reads declarations, comments and the document type declaration up to the root element (XML 1.0, productions 22 to
/// 28). `text` is the document from its beginning on, cut anywhere.
XmlStart ReadXmlStart(std::string_view text);

/// The characters of a document whose first bytes are `bytes`, as XML 1.0 appendix F.1 tells its encoding: UTF-16 with
/// or without a byte order mark is narrowed (a question mark for all beyond ASCII), anything else is taken as it is
/// without the byte order mark of UTF-8.
std::string NarrowXml(std::span<const std::uint8_t> bytes);

}  // namespace media_server
