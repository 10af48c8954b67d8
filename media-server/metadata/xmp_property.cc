#include "media-server/metadata/xmp_property.h"

#include <expat.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <type_traits>

namespace media_server {
namespace {

// expat joins namespace and local name with this character, which neither may hold.
constexpr char kSeparator = '\x01';

struct ParserDeleter {
  void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};
using Parser = std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserDeleter>;

class PropertyFinder {
 public:
  PropertyFinder(XML_Parser parser, const XmpProperty& property)
      : parser_(parser), wanted_(std::string(property.name_space) + kSeparator + std::string(property.name)) {
    XML_SetUserData(parser, this);
    XML_SetElementHandler(parser, &PropertyFinder::OnStart, &PropertyFinder::OnEnd);
    XML_SetCharacterDataHandler(parser, &PropertyFinder::OnText);
    XML_SetStartDoctypeDeclHandler(parser, &PropertyFinder::OnDocumentType);
  }

  const std::optional<std::string>& found() const { return found_; }

 private:
  static void OnStart(void* self, const XML_Char* name, const XML_Char** attributes) {
    auto* finder = static_cast<PropertyFinder*>(self);
    for (; *attributes != nullptr; attributes += 2) {
      if (attributes[0] == finder->wanted_) finder->Finish(attributes[1]);
    }
    if (name == finder->wanted_) finder->inside_ = true;
  }
  static void OnText(void* self, const XML_Char* text, int length) {
    auto* finder = static_cast<PropertyFinder*>(self);
    if (finder->inside_) finder->text_.append(text, static_cast<std::size_t>(length));
  }
  static void OnEnd(void* self, const XML_Char* name) {
    auto* finder = static_cast<PropertyFinder*>(self);
    if (finder->inside_ && name == finder->wanted_) finder->Finish(finder->text_);
  }
  /// XMP has no document types. 30,000 entities, each made of the one before, overflow the parser's stack.
  static void OnDocumentType(void* self, const XML_Char*, const XML_Char*, const XML_Char*, int) {
    XML_StopParser(static_cast<PropertyFinder*>(self)->parser_, XML_FALSE);
  }

  void Finish(std::string text) {
    if (found_) return;
    found_ = std::move(text);
    XML_StopParser(parser_, XML_FALSE);
  }

  XML_Parser parser_;
  const std::string wanted_;  ///< as the parser names it
  bool inside_ = false;
  std::string text_;
  std::optional<std::string> found_;
};

}  // namespace

std::optional<std::string> ReadXmpProperty(std::string_view packet, const XmpProperty& property) {
  // Most packets have none; looking for it is cheaper than parsing.
  for (const std::string_view part : {property.name_space, property.name}) {
    if (packet.find(part) == packet.npos) return std::nullopt;
  }
  // A packet may be padded with NULs behind its end.
  packet = packet.substr(0, std::min<std::size_t>(packet.find('\0'), packet.size()));
  if (packet.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) return std::nullopt;

  const Parser parser(XML_ParserCreateNS(nullptr, kSeparator));
  if (!parser) return std::nullopt;
  PropertyFinder finder(parser.get(), property);
  XML_Parse(parser.get(), packet.data(), static_cast<int>(packet.size()), /*isFinal=*/1);
  return finder.found();
}

}  // namespace media_server
