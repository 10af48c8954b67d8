#include "svg-decoder/document.h"

#include <gtest/gtest.h>

#include <string>

#include "core/error_text.h"

namespace {

using namespace std::string_literals;
using svg_decoder::RootElement;

std::optional<RootElement> ReadDocument(const std::string& document) {
  svg_decoder::MemorySource source(document);
  return svg_decoder::ReadDocument(source);
}

constexpr char kRoot[] = R"(<svg xmlns="http://www.w3.org/2000/svg" width="3cm" height="4cm" viewBox="0 0 30 40">)";

std::string Whole(const std::string& content) { return kRoot + content + "</svg>"; }

void ExpectRead(const std::string& document) {
  const auto root = ReadDocument(document);
  ASSERT_TRUE(root.has_value()) << document.substr(0, 200) << ": " << CoreErrorText();
  EXPECT_EQ(root->width, "3cm");
  EXPECT_EQ(root->height, "4cm");
  EXPECT_EQ(root->view_box, "0 0 30 40");
}

void ExpectRefused(const std::string& document, const std::string& reason) {
  CoreSetErrorText(nullptr);
  EXPECT_FALSE(ReadDocument(document).has_value()) << document.substr(0, 200);
  EXPECT_EQ(CoreErrorText(), reason);
}

std::string Repeated(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) all += text;
  return all;
}

std::string ToUtf16(const std::string& ascii, bool is_big_endian) {
  std::string text;
  for (const char letter : ascii) text += is_big_endian ? std::string{'\0', letter} : std::string{letter, '\0'};
  return text;
}

TEST(ReadDocumentTest, GivesTheRootsAttributes) {
  ExpectRead(Whole(""));
  const auto root = ReadDocument(R"(<svg font-size="20"/>)");
  ASSERT_TRUE(root.has_value());
  EXPECT_EQ(root->font_size, "20");
  EXPECT_EQ(root->width, "");
}

TEST(ReadDocumentTest, TakesTheRootAndNoNestedElement) {
  ExpectRead(Whole(R"(<svg width="1" height="2" viewBox="0 0 1 2"><svg width="5"/></svg>)"));
}

TEST(ReadDocumentTest, PassesOverWhatPrecedesTheRoot) {
  ExpectRead("\xEF\xBB\xBF" + Whole(""));
  ExpectRead("\n \n" + Whole(""));
  ExpectRead(
      "<?xml version=\"1.0\"?>\n<!-- a <svg> --><?style x?><!DOCTYPE svg PUBLIC \"-//W3C//DTD SVG 1.1//EN\" "
      "\"http://www.w3.org/Graphics/SVG/1.1/DTD/svg11.dtd\">\n" +
      Whole(""));
}

TEST(ReadDocumentTest, ReadsUtf16) {
  ExpectRead("\xFF\xFE" + ToUtf16(Whole(""), false));
  ExpectRead("\xFE\xFF" + ToUtf16(Whole(""), true));
}

std::string Declared(const std::string& encoding, const std::string& document) {
  return "<?xml version=\"1.0\" encoding=\"" + encoding + "\"?>" + document;
}

TEST(ReadDocumentTest, ReadsCodePages) {
  for (const char* encoding : {"windows-1252", "windows-1255", "Windows-1258", "windows-874", "ISO-8859-1",
                               "iso-8859-15", "latin1", "KOI8-R", "IBM850", "cp437", "macintosh", "ascii"}) {
    // Names in letters beyond ASCII, which are told apart.
    ExpectRead(Declared(encoding, Whole("<t\xE9xt a\xE9='1' a\xE8='2'>\x80\xFF</t\xE9xt>")));
    ExpectRefused(Declared(encoding, Whole("<a\xE9></a\xE8>")),
                  "damaged SVG: line 1: a closing tag that fits no opening one");
  }
}

// The last byte of a character may be that of a bracket, a quote or a backslash.
TEST(ReadDocumentTest, ReadsTheEncodingsOfEastAsia) {
  for (const char* encoding : {"gb2312", "GBK", "GB18030", "Big5", "EUC-KR", "Shift_JIS", "CP932"}) {
    ExpectRead(Declared(encoding, Whole("<text a='\x81\x5C\x81\x7C'>\x81\x5B\x83\x5D</text>")));
  }
  ExpectRead(Declared("GB18030", Whole("<text>\x81\x30\x84\x36</text>")));
  ExpectRead(Declared("Shift_JIS", Whole("<text>\xB1</text>")));  // one byte: ends where the bracket begins
  ExpectRead(Declared("EUC-JP", Whole("<text>\x8E\xB1\xA4\xA2\x8F\xB0\xA1</text>")));
}

TEST(ReadDocumentTest, ReadsUtf8ByItsOtherNames) {
  for (const char* encoding : {"utf8", "UTF8", "utf_8"}) {
    ExpectRead(Declared(encoding, Whole("<text>\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80</text>")));
  }
}

TEST(ReadDocumentTest, RefusesEncodingsThatNobodyKnows) {
  for (const char* encoding : {"no-such", "UTF-7", "EBCDIC-US", "ISO-2022-JP"}) {
    ExpectRefused(Declared(encoding, Whole("")), "a document in an unknown text encoding");
  }
  ExpectRefused(Declared("../EVIL", Whole("")), "not an SVG document");
}

TEST(ReadDocumentTest, TakesAPrefixAndAMissingNamespace) {
  EXPECT_TRUE(ReadDocument(R"(<s:svg xmlns:s="http://www.w3.org/2000/svg"/>)"));
  EXPECT_TRUE(ReadDocument(R"(<svg/>)"));
  // A prefix that is not declared, as some editors leave behind.
  ExpectRead(Whole(R"(<use xlink:href="#a"/>)"));
}

TEST(ReadDocumentTest, RefusesOtherDocuments) {
  ExpectRefused("", "not an SVG document");
  ExpectRefused("words", "not an SVG document");
  ExpectRefused("<html><svg width=\"3\"/></html>", "not an SVG document");
  ExpectRefused(R"(<svg xmlns="http://www.w3.org/1999/xhtml"/>)", "not an SVG document");
  ExpectRefused(R"(<s:svg xmlns:s="urn:s" xmlns="http://www.w3.org/2000/svg"/>)", "not an SVG document");
  ExpectRefused("<SVG/>", "not an SVG document");
  ExpectRefused("<?xml version=\"1.0\"?><!-- no root -->", "not an SVG document");
  ExpectRefused("\0\0\0\0"s, "not an SVG document");
}

TEST(ReadDocumentTest, TellsWhereADocumentIsDamaged) {
  ExpectRefused(kRoot + "\n\n<g>"s, "damaged SVG: line 3: it ends too early");
  ExpectRefused(kRoot + "\n<rect width=\"1"s, "damaged SVG: line 2: it ends too early");
  ExpectRefused(kRoot + "\n<g></rect>"s, "damaged SVG: line 2: a closing tag that fits no opening one");
  ExpectRefused(Whole("") + "\n<svg/>", "damaged SVG: line 2: something follows its end");
  ExpectRefused(Whole("<a b='1' b='2'/>"), "damaged SVG: line 1: an attribute that stands twice");
  ExpectRefused(Whole("&nbsp;"), "damaged SVG: line 1: an entity that is not defined");
  ExpectRefused(Whole("\xFF"), "damaged SVG: line 1: no well-formed text");
  ExpectRefused(Whole("<g a=5/>"), "damaged SVG: line 1: no well-formed text");
}

TEST(ReadDocumentTest, ResolvesEntitiesOfTheDocument) {
  const auto root = ReadDocument(R"(<!DOCTYPE svg [<!ENTITY ns "http://www.w3.org/2000/svg"><!ENTITY w "77">]>
      <svg xmlns="&ns;" width="&w;"/>)");
  ASSERT_TRUE(root.has_value());
  EXPECT_EQ(root->width, "77");
}

TEST(ReadDocumentTest, PassesOverEntitiesOutsideTheDocument) {
  ExpectRead("<!DOCTYPE svg [<!ENTITY e SYSTEM \"file:///etc/passwd\">]>" + Whole("&e;"));
  ExpectRead("<!DOCTYPE svg SYSTEM \"a.dtd\">" + Whole("&nbsp;"));
  // Where one would have to be known, the document is refused.
  ExpectRefused("<!DOCTYPE svg [<!ENTITY e SYSTEM \"file:///etc/passwd\">]><svg width=\"&e;\"/>",
                "not an SVG document");
}

TEST(ReadDocumentTest, TakesAThousandLevelsAndNoMore) {
  ExpectRead(Whole(Repeated("<g>", 999) + Repeated("</g>", 999)));
  ExpectRefused(Whole(Repeated("<g>", 1000) + Repeated("</g>", 1000)),
                "an SVG with more than 1000 elements one in another");
  ExpectRefused(Repeated("<svg>", 100'000), "an SVG with more than 1000 elements one in another");
}

TEST(ReadDocumentTest, ReadsADocumentThatComesByteByByte) {
  class SlowSource final : public svg_decoder::ISource {
   public:
    explicit SlowSource(std::string_view bytes) : bytes_(bytes) {}
    std::optional<std::size_t> Read(char* buffer, std::size_t /*size*/) override { return bytes_.Read(buffer, 1); }

   private:
    svg_decoder::MemorySource bytes_;
  };
  const std::string document = Whole("<g a='1'>text</g><!-- comment -->");
  SlowSource source(document);
  const auto root = svg_decoder::ReadDocument(source);
  ASSERT_TRUE(root.has_value());
  EXPECT_EQ(root->view_box, "0 0 30 40");
}

TEST(ReadDocumentTest, FailsWithItsSource) {
  class FailingSource final : public svg_decoder::ISource {
   public:
    std::optional<std::size_t> Read(char* /*buffer*/, std::size_t /*size*/) override {
      CoreSetErrorText("the disk is gone");
      return std::nullopt;
    }
  };
  FailingSource source;
  EXPECT_FALSE(svg_decoder::ReadDocument(source).has_value());
  EXPECT_STREQ(CoreErrorText(), "the disk is gone");
}

TEST(ReadDocumentTest, CountsDepthAndNotElements) { ExpectRead(Whole(Repeated("<g><g/></g>", 100'000))); }

TEST(HostileDocumentTest, StopsABillionLaughs) {
  std::string document = "<!DOCTYPE svg [<!ENTITY a0 \"ha\">";
  for (int level = 1; level < 12; ++level) {
    document +=
        "<!ENTITY a" + std::to_string(level) + " \"" + Repeated("&a" + std::to_string(level - 1) + ";", 10) + "\">";
  }
  document += "]>";
  ExpectRefused(document + Whole("&a11;"), "an SVG whose entities unfold without end");
  ExpectRefused(document + "<svg width=\"&a11;\"/>", "an SVG whose entities unfold without end");
  ExpectRead(document + Whole(""));
}

TEST(HostileDocumentTest, StopsOneLongEntityThatIsNamedOften) {
  ExpectRefused("<!DOCTYPE svg [<!ENTITY a \"" + std::string(1 << 20, 'x') + "\">]>" + Whole(Repeated("&a;", 10'000)),
                "an SVG whose entities unfold without end");
}

TEST(HostileDocumentTest, StopsAtAThousandEntities) {
  const auto chain = [](int length, const std::string& sign, const std::string& reference) {
    std::string document = "<!DOCTYPE svg [<!ENTITY " + sign + "e0 ''>";
    for (int i = 1; i < length; ++i) {
      document += "<!ENTITY " + sign + "e" + std::to_string(i) + " '" + reference + "e" + std::to_string(i - 1) + ";'>";
    }
    return document + "]>";
  };
  ExpectRead(chain(1'000, "", "&") + Whole("&e999;"));
  ExpectRefused(chain(1'001, "", "&") + Whole(""), "an SVG with more than 1000 entities");
  ExpectRefused(chain(100'000, "", "&") + Whole("&e99999;"), "an SVG with more than 1000 entities");
  ExpectRefused(chain(100'000, "% ", "&#37;") + Whole(""), "an SVG with more than 1000 entities");
}

TEST(HostileDocumentTest, StopsAnEntityThatContainsItself) {
  ExpectRefused("<!DOCTYPE svg [<!ENTITY a \"&b;\"><!ENTITY b \"&a;\">]>" + Whole("&a;"),
                "damaged SVG: line 1: an entity that contains itself");
}

TEST(HostileDocumentTest, ReadsALongAttribute) {
  ExpectRead(Whole("<image href=\"data:image/png;base64," + std::string(20 << 20, 'A') + "\"/>"));
}

TEST(HostileDocumentTest, StopsAtALongerOne) {
  ExpectRefused(Whole("<image href=\"" + std::string(30 << 20, 'A') + "\"/>"),
                "an SVG with too many or too large parts");
}

TEST(HostileDocumentTest, StopsAtTooManyDeclaredAttributes) {
  std::string declarations = "<!DOCTYPE svg [";
  for (int i = 0; i < 1'000; ++i) declarations += "<!ATTLIST g a" + std::to_string(i) + " CDATA 'x'>";
  ExpectRead(declarations + "]>" + Whole("<g/>"));
  ExpectRefused(declarations + "<!ATTLIST g b CDATA 'x'>]>" + Whole("<g/>"), "an SVG with too many default attributes");
}

TEST(HostileDocumentTest, StopsAtAMillionDefaults) {
  std::string declarations = "<!DOCTYPE svg [";
  for (int i = 0; i < 1'000; ++i) declarations += "<!ATTLIST g a" + std::to_string(i) + " CDATA 'x'>";
  declarations += "]>";
  ExpectRead(declarations + Whole(Repeated("<g/>", 1'000)));
  ExpectRefused(declarations + Whole(Repeated("<g/>", 1'001)), "an SVG with too many default attributes");
}

TEST(HostileDocumentTest, StopsAtTooManyNames) {
  std::string attributes;
  for (int i = 0; i < 100'000; ++i) attributes += " a" + std::to_string(i) + "=''";
  ExpectRefused(Whole("<g" + attributes + "/>"), "an SVG with too many or too large parts");
}

TEST(HostileDocumentTest, LeavesTheParsersMemoryWholeAfterAFailure) {
  ExpectRefused(Whole(Repeated("<g>", 1000)), "an SVG with more than 1000 elements one in another");
  ExpectRead(Whole("<image href=\"" + std::string(20 << 20, 'A') + "\"/>"));
}

}  // namespace
