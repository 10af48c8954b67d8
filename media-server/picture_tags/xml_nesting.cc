#include "media-server/picture_tags/xml_nesting.h"

#include <expat.h>

#include <limits>
#include <memory>
#include <type_traits>

namespace media_server::picture_tags {
namespace {

constexpr int kMostLevels = 64;

struct ParserDeleter {
  void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};
using Parser = std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserDeleter>;

struct Walk {
  XML_Parser parser;
  int level = 0;
};

void OnStart(void* data, const XML_Char*, const XML_Char**) {
  auto* walk = static_cast<Walk*>(data);
  if (++walk->level >= kMostLevels) XML_StopParser(walk->parser, XML_FALSE);
}
void OnEnd(void* data, const XML_Char*) { --static_cast<Walk*>(data)->level; }
void OnDocumentType(void* data, const XML_Char*, const XML_Char*, const XML_Char*, int) {
  XML_StopParser(static_cast<Walk*>(data)->parser, XML_FALSE);
}

}  // namespace

bool IsShallowXml(std::string_view text) {
  if (text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) return false;
  const Parser parser(XML_ParserCreate(nullptr));
  if (!parser) return false;
  Walk walk{parser.get()};
  XML_SetUserData(parser.get(), &walk);
  XML_SetElementHandler(parser.get(), OnStart, OnEnd);
  XML_SetStartDoctypeDeclHandler(parser.get(), OnDocumentType);
  return XML_Parse(parser.get(), text.data(), static_cast<int>(text.size()), /*isFinal=*/1) == XML_STATUS_OK;
}

}  // namespace media_server::picture_tags
