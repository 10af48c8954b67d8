#pragma once

#include <span>
#include <string>
#include <string_view>

namespace media_server::picture_tags {

/// The name of a property. The prefix is the one by which the namespace is usually known.
struct XmpName {
  std::string_view prefix;
  std::string_view namespace_uri;
  std::string_view local_name;
};

/// A small well-formed packet with those of the `wanted` properties of `packet` that are plain texts, written as
/// attributes, the first of each name; empty when there are none. Everything else is left out: a decoder takes time by
/// the length of a packet, follows its nesting with calls of its own and remembers every namespace it meets.
///
/// A packet that is no well-formed XML gives what stands before the place where that shows; one with a document type,
/// which XMP does not know, gives nothing.
std::string CompactXmp(std::string_view packet, std::span<const XmpName> wanted);

}  // namespace media_server::picture_tags
