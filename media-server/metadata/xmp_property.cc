#include "media-server/metadata/xmp_label.h"

#include <expat.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <type_traits>

namespace media_server {
namespace {

// expat joins namespace and local name with this character, which neither may hold.
constexpr char kSeparator = '\x01';
constexpr std::string_view kProperty =
    "http://www.tc260.org.cn/ns/AIGC/1.0/\x01"
    "AIGC";

struct ParserDeleter {
  void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};
using Parser = std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserDeleter>;

class LabelFinder {
 public:
  explicit LabelFinder(XML_Parser parser) : parser_(parser) {
    XML_SetUserData(parser, this);
    XML_SetElementHandler(parser, &LabelFinder::OnStart, &LabelFinder::OnEnd);
    XML_SetCharacterDataHandler(parser, &LabelFinder::OnText);
    XML_SetStartDoctypeDeclHandler(parser, &LabelFinder::OnDocumentType);
  }

  const std::optional<std::string>& label() const { return label_; }

 private:
  static void OnStart(void* self, const XML_Char* name, const XML_Char** attributes) {
    auto* finder = static_cast<LabelFinder*>(self);
    for (; *attributes != nullptr; attributes += 2) {
      if (attributes[0] == kProperty) finder->Finish(attributes[1]);
    }
    if (name == kProperty) finder->inside_ = true;
  }
  static void OnText(void* self, const XML_Char* text, int length) {
    auto* finder = static_cast<LabelFinder*>(self);
    if (finder->inside_) finder->text_.append(text, static_cast<std::size_t>(length));
  }
  static void OnEnd(void* self, const XML_Char* name) {
    auto* finder = static_cast<LabelFinder*>(self);
    if (finder->inside_ && name == kProperty) finder->Finish(finder->text_);
  }
  /// XMP has no document types. 30,000 entities, each made of the one before, overflow the parser's stack.
  static void OnDocumentType(void* self, const XML_Char*, const XML_Char*, const XML_Char*, int) {
    XML_StopParser(static_cast<LabelFinder*>(self)->parser_, XML_FALSE);
  }

  void Finish(std::string text) {
    if (label_) return;
    label_ = std::move(text);
    XML_StopParser(parser_, XML_FALSE);
  }

  XML_Parser parser_;
  bool inside_ = false;
  std::string text_;
  std::optional<std::string> label_;
};

}  // namespace

std::optional<std::string> ReadXmpAigcLabel(std::string_view packet) {
  // Most files carry no label; looking for its namespace is cheaper than parsing.
  if (packet.find(kProperty.substr(0, kProperty.find(kSeparator))) == std::string_view::npos) return std::nullopt;
  // A packet may be padded with NULs behind its end.
  packet = packet.substr(0, std::min<std::size_t>(packet.find('\0'), packet.size()));
  if (packet.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) return std::nullopt;

  const Parser parser(XML_ParserCreateNS(nullptr, kSeparator));
  if (!parser) return std::nullopt;
  LabelFinder finder(parser.get());
  XML_Parse(parser.get(), packet.data(), static_cast<int>(packet.size()), /*isFinal=*/1);
  return finder.label();
}

}  // namespace media_server
