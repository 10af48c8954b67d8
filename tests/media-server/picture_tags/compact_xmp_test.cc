#include "media-server/picture_tags/compact_xmp.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>

namespace media_server::picture_tags {
namespace {

using image::XmpName;

constexpr std::array<XmpName, 2> kWanted = {{{"a", "http://a/", "Make"}, {"a", "http://a/", "Model"}}};

/// What `description` gives inside of an RDF document in which the namespace is bound to another prefix.
std::string Compact(std::string_view description) {
  return CompactXmp(
      R"(<rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#" xmlns:n="http://a/" xmlns:m="http://b/">)" +
          std::string(description) + "</rdf:RDF>",
      kWanted);
}

/// A packet with these attributes of the wanted namespace.
std::string With(std::string_view attributes) {
  return R"(<rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#"><rdf:Description rdf:about="")"
         R"( xmlns:a="http://a/")" +
         std::string(attributes) + "/></rdf:RDF>";
}

TEST(CompactXmpTest, KeepsWantedPropertiesInBothForms) {
  EXPECT_EQ(Compact(R"(<rdf:Description n:Make="x"><n:Model>y</n:Model></rdf:Description>)"),
            With(R"( a:Make="x" a:Model="y")"));
}

TEST(CompactXmpTest, KeepsPropertiesOfSeveralDescriptions) {
  EXPECT_EQ(Compact(R"(<rdf:Description n:Model="y"/><rdf:Description><n:Make>x</n:Make></rdf:Description>)"),
            With(R"( a:Make="x" a:Model="y")"));
}

TEST(CompactXmpTest, KeepsTheFirstOfEqualNames) {
  EXPECT_EQ(Compact(R"(<rdf:Description n:Make="x"><n:Make>y</n:Make></rdf:Description>)"), With(R"( a:Make="x")"));
}

TEST(CompactXmpTest, EscapesTexts) {
  EXPECT_EQ(Compact("<rdf:Description><n:Make>&lt;&amp;\"'<![CDATA[<]]></n:Make></rdf:Description>"),
            With(R"( a:Make="&lt;&amp;&quot;'&lt;")"));
}

TEST(CompactXmpTest, LeavesOutWhatIsNotWanted) {
  EXPECT_EQ(Compact(R"(<rdf:Description n:Other="x" m:Make="x" Make="x"><m:Model>y</m:Model></rdf:Description>)"), "");
  EXPECT_EQ(Compact("<n:Make>x</n:Make>"), "") << "outside of a description";
  EXPECT_EQ(Compact("<rdf:Description><m:Other><n:Make>x</n:Make></m:Other></rdf:Description>"), "")
      << "part of another property";
  EXPECT_EQ(Compact(R"(<rdf:Description><m:Other><rdf:Description n:Make="x"/></m:Other></rdf:Description>)"), "")
      << "part of another property";
}

TEST(CompactXmpTest, LeavesOutWhatIsNoPlainText) {
  EXPECT_EQ(Compact("<rdf:Description><n:Make>x<rdf:Alt/></n:Make></rdf:Description>"), "");
}

TEST(CompactXmpTest, GivesWhatStandsBeforeDamage) {
  EXPECT_EQ(Compact("<rdf:Description><n:Make>x</n:Make><n:Model>y</rdf:Description>"), With(R"( a:Make="x")"));
  EXPECT_EQ(CompactXmp("", kWanted), "");
  EXPECT_EQ(CompactXmp("Make", kWanted), "");
}

TEST(CompactXmpTest, GivesNothingOfADocumentWithEntities) {
  EXPECT_EQ(
      CompactXmp(R"(<!DOCTYPE a [<!ENTITY b "c">]><rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#")"
                 R"( xmlns:n="http://a/"><rdf:Description n:Make="&b;"/></rdf:RDF>)",
                 kWanted),
      "");
}

TEST(CompactXmpTest, TakesAnyDepth) {
  std::string deep = "<rdf:Description>";
  for (int i = 0; i < 50000; ++i) deep += "<m:x>";
  for (int i = 0; i < 50000; ++i) deep += "</m:x>";
  EXPECT_EQ(Compact(deep + "<n:Make>x</n:Make></rdf:Description>"), With(R"( a:Make="x")"));
}

}  // namespace
}  // namespace media_server::picture_tags
