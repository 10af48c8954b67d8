#include "media-server/metadata/xmp_property.h"

#include <gtest/gtest.h>

#include <string>

namespace media_server {
namespace {

std::string Packet(const std::string& content) {
  return "<?xpacket begin='' id='x'?><x:xmpmeta xmlns:x='adobe:ns:meta/'>"
         "<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>" +
         content + "</rdf:RDF></x:xmpmeta>";
}

TEST(XmpLabelTest, ReadsTheElement) {
  EXPECT_EQ(ReadXmpProperty(Packet("<rdf:Description xmlns:a='http://www.tc260.org.cn/ns/AIGC/1.0/'>"
                                   "<a:AIGC>{&quot;Label&quot;:&quot;1&quot;}</a:AIGC></rdf:Description>"),
                            kXmpAigcLabel),
            R"({"Label":"1"})");
}

TEST(XmpLabelTest, ReadsTheAttribute) {
  EXPECT_EQ(ReadXmpProperty(Packet("<rdf:Description xmlns:TC260='http://www.tc260.org.cn/ns/AIGC/1.0/' "
                                   "TC260:AIGC='{&quot;Label&quot;:&quot;2&quot;}'/>"),
                            kXmpAigcLabel),
            R"({"Label":"2"})");
}

TEST(XmpLabelTest, ReadsCharacterData) {
  EXPECT_EQ(
      ReadXmpProperty(Packet("<AIGC xmlns='http://www.tc260.org.cn/ns/AIGC/1.0/'><![CDATA[{\"a\":\"<&>\"}]]></AIGC>"),
                      kXmpAigcLabel),
      R"({"a":"<&>"})");
}

TEST(XmpLabelTest, TakesTheFirstOfTwo) {
  EXPECT_EQ(ReadXmpProperty(Packet("<r xmlns:a='http://www.tc260.org.cn/ns/AIGC/1.0/'><a:AIGC>one</a:AIGC>"
                                   "<a:AIGC>two</a:AIGC></r>"),
                            kXmpAigcLabel),
            "one");
}

TEST(XmpLabelTest, LooksAtTheNamespaceNotAtThePrefix) {
  EXPECT_EQ(ReadXmpProperty(Packet("<r xmlns:AIGC='http://example.org/' xmlns:b='http://www.tc260.org.cn/ns/AIGC/1.0/'>"
                                   "<AIGC:AIGC>no</AIGC:AIGC><b:Other>no</b:Other></r>"),
                            kXmpAigcLabel),
            std::nullopt);
}

TEST(XmpLabelTest, ReadsAPaddedPacket) {
  EXPECT_EQ(ReadXmpProperty(
                Packet("<r xmlns:a='http://www.tc260.org.cn/ns/AIGC/1.0/' a:AIGC='x'/>") + std::string(2000, '\0'),
                kXmpAigcLabel),
            "x");
}

TEST(XmpLabelTest, FindsNothingInWhatIsNoXml) {
  EXPECT_EQ(ReadXmpProperty("", kXmpAigcLabel), std::nullopt);
  EXPECT_EQ(ReadXmpProperty("http://www.tc260.org.cn/ns/AIGC/1.0/ AIGC", kXmpAigcLabel), std::nullopt);
  EXPECT_EQ(ReadXmpProperty("<r xmlns:a='http://www.tc260.org.cn/ns/AIGC/1.0/'><a:AIGC>cut", kXmpAigcLabel),
            std::nullopt);
}

TEST(XmpLabelTest, DoesNotBlowUpOnNestedEntities) {
  std::string packet = "<!DOCTYPE r [<!ENTITY e0 'xxxxxxxxxx'>";
  for (int i = 1; i < 12; ++i) {
    const std::string inner = "&e" + std::to_string(i - 1) + ";";
    packet += "<!ENTITY e" + std::to_string(i) + " '";
    for (int k = 0; k < 10; ++k) packet += inner;
    packet += "'>";
  }
  packet += "]><r xmlns:a='http://www.tc260.org.cn/ns/AIGC/1.0/'><a:AIGC>&e11;</a:AIGC></r>";
  const auto label =
      ReadXmpProperty(packet, kXmpAigcLabel);  // ten times a hundred thousand millions of x, if it were expanded
  EXPECT_EQ(label, std::nullopt);
}

TEST(XmpLabelTest, DoesNotRecurseIntoEntitiesOfEntities) {
  constexpr int kEntities = 40'000;
  std::string packet = "<!DOCTYPE r [<!ENTITY e0 'x'>";
  for (int i = 1; i < kEntities; ++i) {
    packet += "<!ENTITY e" + std::to_string(i) + " '&e" + std::to_string(i - 1) + ";'>";
  }
  packet += "]><r xmlns:a='http://www.tc260.org.cn/ns/AIGC/1.0/'><a:AIGC>&e39999;</a:AIGC></r>";
  EXPECT_EQ(ReadXmpProperty(packet, kXmpAigcLabel), std::nullopt);
}

}  // namespace
}  // namespace media_server
