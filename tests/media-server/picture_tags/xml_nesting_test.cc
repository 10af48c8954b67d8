#include "media-server/picture_tags/xml_nesting.h"

#include <gtest/gtest.h>

#include <string>

namespace media_server::picture_tags {
namespace {

std::string Nested(int levels) {
  std::string text;
  for (int i = 0; i < levels; ++i) text += "<a>";
  for (int i = 0; i < levels; ++i) text += "</a>";
  return text;
}

TEST(XmlNestingTest, TakesShallowDocuments) {
  EXPECT_TRUE(IsShallowXml("<a/>"));
  EXPECT_TRUE(IsShallowXml(Nested(63)));
  EXPECT_TRUE(IsShallowXml("<r>" + Nested(60) + Nested(60) + "</r>"));
}

TEST(XmlNestingTest, RefusesDeepOnes) {
  EXPECT_FALSE(IsShallowXml(Nested(64)));
  EXPECT_FALSE(IsShallowXml(Nested(80000)));
}

TEST(XmlNestingTest, RefusesDocumentTypesAndWhatIsNoXml) {
  EXPECT_FALSE(IsShallowXml("<!DOCTYPE a><a/>"));
  EXPECT_FALSE(IsShallowXml("<!DOCTYPE a [<!ENTITY b \"c\">]><a>&b;</a>"));
  EXPECT_FALSE(IsShallowXml(""));
  EXPECT_FALSE(IsShallowXml("<a>"));
}

}  // namespace
}  // namespace media_server::picture_tags
