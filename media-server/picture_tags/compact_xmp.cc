#include "media-server/picture_tags/compact_xmp.h"

#include <expat.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

namespace media_server::picture_tags {
namespace {

using image::XmpName;

// expat joins namespace and local name with this character, which neither may hold.
constexpr char kSeparator = '\x01';
constexpr std::string_view kRdf = "http://www.w3.org/1999/02/22-rdf-syntax-ns#";
constexpr std::string_view kDescription = "Description";

bool IsNamed(std::string_view joined, std::string_view namespace_uri, std::string_view local_name) {
  return joined.size() == namespace_uri.size() + 1 + local_name.size() && joined.starts_with(namespace_uri) &&
         joined[namespace_uri.size()] == kSeparator && joined.ends_with(local_name);
}

struct ParserDeleter {
  void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};
using Parser = std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserDeleter>;

/// Collects the texts of the wanted properties, by their place in the list. A property is an attribute of a description
/// or an element right inside one.
class PropertyFinder {
 public:
  PropertyFinder(XML_Parser parser, std::span<const XmpName> wanted)
      : parser_(parser), wanted_(wanted), texts_(wanted.size()) {
    XML_SetUserData(parser, this);
    XML_SetElementHandler(parser, &PropertyFinder::OnStart, &PropertyFinder::OnEnd);
    XML_SetCharacterDataHandler(parser, &PropertyFinder::OnText);
    XML_SetStartDoctypeDeclHandler(parser, &PropertyFinder::OnDocumentType);
  }

  const std::vector<std::optional<std::string>>& texts() const { return texts_; }

 private:
  static void OnStart(void* self, const XML_Char* name, const XML_Char** attributes) {
    static_cast<PropertyFinder*>(self)->Start(name, attributes);
  }
  static void OnEnd(void* self, const XML_Char*) { static_cast<PropertyFinder*>(self)->End(); }
  static void OnText(void* self, const XML_Char* text, int length) {
    auto* finder = static_cast<PropertyFinder*>(self);
    if (finder->open_) finder->text_.append(text, static_cast<std::size_t>(length));
  }
  static void OnDocumentType(void* self, const XML_Char*, const XML_Char*, const XML_Char*, int) {
    XML_StopParser(static_cast<PropertyFinder*>(self)->parser_, XML_FALSE);
  }

  void Start(std::string_view name, const XML_Char** attributes) {
    ++level_;
    open_.reset();  // what holds elements is no plain text
    if (level_ == description_level_ + 1 && description_level_ > 0) {
      open_ = Find(name);
      text_.clear();
      return;
    }
    if (description_level_ > 0 || !IsNamed(name, kRdf, kDescription)) return;
    description_level_ = level_;
    for (; *attributes != nullptr; attributes += 2) {
      if (const auto index = Find(attributes[0])) Keep(*index, attributes[1]);
    }
  }

  void End() {
    if (open_) Keep(*std::exchange(open_, std::nullopt), text_);
    if (level_ == description_level_) description_level_ = 0;
    --level_;
  }

  std::optional<std::size_t> Find(std::string_view joined) const {
    const auto found = std::ranges::find_if(
        wanted_, [&](const XmpName& name) { return IsNamed(joined, name.namespace_uri, name.local_name); });
    if (found == wanted_.end()) return std::nullopt;
    return static_cast<std::size_t>(found - wanted_.begin());
  }

  void Keep(std::size_t index, std::string text) {
    if (!texts_[index]) texts_[index] = std::move(text);
  }

  XML_Parser parser_;
  std::span<const XmpName> wanted_;
  std::vector<std::optional<std::string>> texts_;
  int level_ = 0;
  int description_level_ = 0;  // 0 outside of descriptions; those inside of one are values
  std::optional<std::size_t> open_;
  std::string text_;
};

std::string Escaped(std::string_view text) {
  std::string escaped;
  for (const char character : text) {
    if (character == '&') {
      escaped += "&amp;";
    } else if (character == '<') {
      escaped += "&lt;";
    } else if (character == '"') {
      escaped += "&quot;";
    } else {
      escaped += character;
    }
  }
  return escaped;
}

std::string Attribute(std::string_view prefix, std::string_view name, std::string_view value) {
  std::string text = " ";
  return text.append(prefix).append(":").append(name).append("=\"").append(value).append("\"");
}

}  // namespace

std::string CompactXmp(std::string_view packet, std::span<const XmpName> wanted) {
  if (packet.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) return {};
  const Parser parser(XML_ParserCreateNS(nullptr, kSeparator));
  if (!parser) return {};
  PropertyFinder finder(parser.get(), wanted);
  XML_Parse(parser.get(), packet.data(), static_cast<int>(packet.size()), /*isFinal=*/1);

  std::string namespaces;
  std::string properties;
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    if (!finder.texts()[i]) continue;
    const std::string declaration = Attribute("xmlns", wanted[i].prefix, wanted[i].namespace_uri);
    if (namespaces.find(declaration) == namespaces.npos) namespaces += declaration;
    properties += Attribute(wanted[i].prefix, wanted[i].local_name, Escaped(*finder.texts()[i]));
  }
  if (properties.empty()) return {};
  return "<rdf:RDF" + Attribute("xmlns", "rdf", kRdf) + "><rdf:Description" + Attribute("rdf", "about", "") +
         namespaces + properties + "/></rdf:RDF>";
}

}  // namespace media_server::picture_tags
