#include "media-server/container/xml_start.h"

#include <gtest/gtest.h>

#include <string>

namespace media_server {
namespace {

using namespace std::string_literals;

std::string Narrow(const std::string& bytes) {
  return NarrowXml({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

TEST(XmlStart, RootIsNamedWithoutItsPrefix) {
  EXPECT_EQ(ReadXmlStart("<svg>").root, "svg");
  EXPECT_EQ(ReadXmlStart("<svg/>").root, "svg");
  EXPECT_EQ(ReadXmlStart("<svg\nwidth='1'>").root, "svg");
  EXPECT_EQ(ReadXmlStart("<s:svg xmlns:s='x'>").root, "svg");
  EXPECT_EQ(ReadXmlStart("<svgs>").root, "svgs");
}

TEST(XmlStart, DeclarationsCommentsAndTypeAreSkipped) {
  const XmlStart start = ReadXmlStart(
      "\n<?xml version='1.0'?><?xml-stylesheet href='>'?>"
      "<!-- <html> --><!DOCTYPE svg PUBLIC \"a>b\" 'c'><!--x--> <a>");
  EXPECT_TRUE(start.is_decided);
  EXPECT_TRUE(start.has_declaration);
  EXPECT_EQ(start.document_type, "svg");
  EXPECT_EQ(start.root, "a");
}

TEST(XmlStart, InternalSubsetMayHoldAnySignInLiteralsAndComments) {
  EXPECT_EQ(ReadXmlStart("<!DOCTYPE a [<!ENTITY b ']>'><!-- ']> it's --><?c ]>?><!ELEMENT d EMPTY>]><svg>").root,
            "svg");
}

TEST(XmlStart, TextThatIsCutDecidesNothing) {
  const std::string whole = "<?xml version='1.0'?><!--c--><!DOCTYPE svg [<!ENTITY b '>'>]><svg ";
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const XmlStart start = ReadXmlStart(whole.substr(0, size));
    EXPECT_FALSE(start.is_decided) << size;
    EXPECT_EQ(start.root, "") << size;
  }
  EXPECT_TRUE(ReadXmlStart(whole).is_decided);
}

TEST(XmlStart, OtherTextIsDecidedAndHasNoRoot) {
  for (const char* text : {"words", "< svg>", "<>", "<!ELEMENT a>"}) {
    EXPECT_TRUE(ReadXmlStart(text).is_decided) << text;
    EXPECT_EQ(ReadXmlStart(text).root, "") << text;
  }
}

TEST(NarrowXml, Utf16IsKnownByItsMarkOrItsFirstSign) {
  EXPECT_EQ(Narrow("\xff\xfe<\0a\0>\0"s), "<a>");
  EXPECT_EQ(Narrow("\xfe\xff\0<\0a\0>"s), "<a>");
  EXPECT_EQ(Narrow("<\0a\0>\0"s), "<a>");
  EXPECT_EQ(Narrow("\0<\0a\0>"s), "<a>");
  EXPECT_EQ(Narrow("\xff\xfe\x3c\x04<\0"s), "?<");  // U+043C, whose low byte is that of "<"
  EXPECT_EQ(Narrow("<\0a"s), "<");
}

TEST(NarrowXml, OtherTextStaysAsItIsWithoutItsMark) {
  EXPECT_EQ(Narrow("\xef\xbb\xbf<\xc3\xa4>"s), "<\xc3\xa4>");
  EXPECT_EQ(Narrow("<a>"), "<a>");
  EXPECT_EQ(Narrow(""), "");
}

}  // namespace
}  // namespace media_server
