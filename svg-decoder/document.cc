#include "svg-decoder/document.h"

#include <expat.h>

#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <string_view>
#include <type_traits>

#include "core/error_text.h"
#include "svg-decoder/encoding.h"
#include "svg-decoder/parser_memory.h"

namespace svg_decoder {
namespace {

constexpr char kNotAnSvg[] = "not an SVG document";
constexpr char kUnknownEncoding[] = "a document in an unknown text encoding";
constexpr char kTooDeep[] = "an SVG with more than 1000 elements one in another";
constexpr char kTooMuchUnfolding[] = "an SVG whose entities unfold without end";
constexpr char kTooMuchMemory[] = "an SVG with too many or too large parts";
constexpr char kTooManyEntities[] = "an SVG with more than 1000 entities";
constexpr char kTooManyDefaults[] = "an SVG with too many default attributes";

constexpr char kSvgNamespace[] = "http://www.w3.org/2000/svg";
constexpr int kMostDepth = 1000;
/// A tag or a comment of 20 MB fits, such as an embedded picture.
constexpr std::size_t kMostParserBytes = std::size_t{72} << 20;
/// The parser keeps a block for each name; drawings have hundreds.
constexpr std::size_t kMostParserBlocks = 100'000;
/// The parser compares each declared attribute with all before it, and gives each element all that have defaults.
constexpr int kMostDeclaredAttributes = 1000;
constexpr int kMostDefaults = 1'000'000;
/// The parser unfolds entities of entities by recursion: 60,000 of them, each made of the one before, overflowed the
/// stack of expat 2.5. HTML's own set, which some drawings bring along, has 253.
constexpr int kMostEntities = 1000;
constexpr std::size_t kStep = std::size_t{64} << 10;
/// What entities unfold to past the first 8 MB may at most be as much as the document itself.
constexpr float kMostAmplification = 2;

struct ParserDeleter {
  void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};
using ParserPtr = std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserDeleter>;

struct Scan {
  XML_Parser parser;
  int depth = 0;
  int declared_attributes = 0;
  int defaults = 0;
  int entities = 0;
  std::optional<RootElement> root;
  const char* refusal = nullptr;

  void Refuse(const char* reason) {
    refusal = reason;
    XML_StopParser(parser, /*resumable=*/XML_FALSE);
  }
};

/// Name and value of an element's attributes by turns, a null at the end.
std::string_view FindAttribute(const char** attributes, std::string_view name) {
  for (; *attributes; attributes += 2) {
    if (name == attributes[0]) return attributes[1];
  }
  return {};
}

/// Namespaces are resolved here and only for the root: the parser's own resolution refuses documents whose prefixes are
/// not declared, which viewers show. For the same reason a root without a namespace is taken.
bool IsSvgRoot(std::string_view name, const char** attributes) {
  const std::size_t colon = name.find(':');
  const bool has_prefix = colon != std::string_view::npos;
  const std::string declaration = has_prefix ? "xmlns:" + std::string(name.substr(0, colon)) : "xmlns";
  const std::string_view name_space = FindAttribute(attributes, declaration);
  return (has_prefix ? name.substr(colon + 1) : name) == "svg" && (name_space.empty() || name_space == kSvgNamespace);
}

void HandleEntity(void* user_data, const char* /*name*/, int /*is_parameter*/, const char* /*value*/, int /*length*/,
                  const char* /*base*/, const char* /*system_id*/, const char* /*public_id*/,
                  const char* /*notation*/) {
  auto& scan = *static_cast<Scan*>(user_data);
  if (++scan.entities > kMostEntities) scan.Refuse(kTooManyEntities);
}

void HandleDeclaration(void* user_data, const char* /*element*/, const char* /*attribute*/, const char* /*type*/,
                       const char* /*default_value*/, int /*is_required*/) {
  auto& scan = *static_cast<Scan*>(user_data);
  if (++scan.declared_attributes > kMostDeclaredAttributes) scan.Refuse(kTooManyDefaults);
}

/// Attributes that the element has by declaration; they stand behind its own.
int CountDefaults(XML_Parser parser, const char** attributes) {
  const char** first = attributes + XML_GetSpecifiedAttributeCount(parser);
  const char** end = first;
  while (*end) end += 2;
  return static_cast<int>((end - first) / 2);
}

void HandleStart(void* user_data, const char* name, const char** attributes) {
  auto& scan = *static_cast<Scan*>(user_data);
  if (++scan.depth > kMostDepth) return scan.Refuse(kTooDeep);
  scan.defaults += CountDefaults(scan.parser, attributes);
  if (scan.defaults > kMostDefaults) return scan.Refuse(kTooManyDefaults);
  if (scan.root) return;
  if (!IsSvgRoot(name, attributes)) return scan.Refuse(kNotAnSvg);
  RootElement& root = scan.root.emplace();
  root.width = FindAttribute(attributes, "width");
  root.height = FindAttribute(attributes, "height");
  root.view_box = FindAttribute(attributes, "viewBox");
  root.font_size = FindAttribute(attributes, "font-size");
}

void HandleEnd(void* user_data, const char* /*name*/) { --static_cast<Scan*>(user_data)->depth; }

struct FaultWords {
  XML_Error fault;
  const char* words;
};

constexpr std::array<FaultWords, 11> kFaultWords{{
    {XML_ERROR_NO_ELEMENTS, "it ends too early"},
    {XML_ERROR_UNCLOSED_TOKEN, "it ends too early"},
    {XML_ERROR_PARTIAL_CHAR, "it ends too early"},
    {XML_ERROR_UNCLOSED_CDATA_SECTION, "it ends too early"},
    {XML_ERROR_TAG_MISMATCH, "a closing tag that fits no opening one"},
    {XML_ERROR_DUPLICATE_ATTRIBUTE, "an attribute that stands twice"},
    {XML_ERROR_JUNK_AFTER_DOC_ELEMENT, "something follows its end"},
    {XML_ERROR_UNDEFINED_ENTITY, "an entity that is not defined"},
    {XML_ERROR_RECURSIVE_ENTITY_REF, "an entity that contains itself"},
    {XML_ERROR_BAD_CHAR_REF, "a character that cannot be"},
    {XML_ERROR_INVALID_TOKEN, "no well-formed text"},
}};

void SetReason(const Scan& scan) {
  if (scan.refusal) return CoreSetErrorText(scan.refusal);
  const XML_Error fault = XML_GetErrorCode(scan.parser);
  if (fault == XML_ERROR_NO_MEMORY) return CoreSetErrorText(kTooMuchMemory);
  if (fault == XML_ERROR_AMPLIFICATION_LIMIT_BREACH) return CoreSetErrorText(kTooMuchUnfolding);
  if (fault == XML_ERROR_UNKNOWN_ENCODING) return CoreSetErrorText(kUnknownEncoding);
  if (!scan.root) return CoreSetErrorText(kNotAnSvg);
  const auto* known = std::ranges::find(kFaultWords, fault, &FaultWords::fault);
  const std::string line = std::to_string(XML_GetCurrentLineNumber(scan.parser));
  const std::string words = known == kFaultWords.end() ? "it is not well-formed" : known->words;
  CoreSetErrorText(("damaged SVG: line " + line + ": " + words).c_str());
}

/// How much to feed next. The parser looks at an unfinished name or tag again from its start, so what is fed grows with
/// what is unfinished.
std::size_t NextStep(XML_Parser parser, std::size_t fed) {
  const XML_Index done = XML_GetCurrentByteIndex(parser);
  const std::size_t unfinished = fed - static_cast<std::size_t>(std::max<XML_Index>(done, 0));
  return std::max(kStep, unfinished / 2);
}

enum class Outcome { kRead, kRefused, kSourceFailed };

Outcome Parse(XML_Parser parser, ISource& source) {
  std::size_t fed = 0;
  while (true) {
    const std::size_t step = NextStep(parser, fed);
    auto* buffer = static_cast<char*>(XML_GetBuffer(parser, static_cast<int>(step)));
    if (!buffer) return Outcome::kRefused;
    const std::optional<std::size_t> got = source.Read(buffer, step);
    if (!got) return Outcome::kSourceFailed;
    fed += *got;
    const bool is_end = *got == 0;
    if (XML_ParseBuffer(parser, static_cast<int>(*got), is_end) != XML_STATUS_OK) return Outcome::kRefused;
    if (is_end) return Outcome::kRead;
  }
}

}  // namespace

std::optional<RootElement> ReadDocument(ISource& source) {
  const ParserMemory memory(kMostParserBytes, kMostParserBlocks);
  const ParserPtr parser(XML_ParserCreate_MM(/*encoding=*/nullptr, memory.functions(), /*namespaceSeparator=*/nullptr));
  if (!parser) throw std::bad_alloc();
  Scan scan{parser.get()};
  XML_SetUserData(parser.get(), &scan);
  XML_SetElementHandler(parser.get(), HandleStart, HandleEnd);
  XML_SetEntityDeclHandler(parser.get(), HandleEntity);
  XML_SetAttlistDeclHandler(parser.get(), HandleDeclaration);
  XML_SetUnknownEncodingHandler(parser.get(), DescribeEncoding, nullptr);
  XML_SetBillionLaughsAttackProtectionMaximumAmplification(parser.get(), kMostAmplification);

  const Outcome outcome = Parse(parser.get(), source);
  if (outcome == Outcome::kRead) return scan.root;
  if (outcome == Outcome::kRefused) SetReason(scan);
  return std::nullopt;
}

}  // namespace svg_decoder
