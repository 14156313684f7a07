#include "update/appcast.h"

#include <string>

#include <gtest/gtest.h>

namespace wendra {
namespace {

TEST(ElementText, IsTheTextBetweenTheTagsWithoutSurroundingWhitespace) {
  const struct {
    const char* why;
    std::string_view feed;
    std::string_view want;
  } cases[] = {
      {"plain", "<v>1.2</v>", "1.2"},
      {"anything around it", "<rss><item><v>1.2</v></item></rss>", "1.2"},
      {"whitespace inside", "<v> \t\r\n1.2 \t\r\n</v>", "1.2"},
      {"spaces within the text stay", "<v>1 . 2</v>", "1 . 2"},
      {"other white space stays", "<v>\v1.2\f</v>", "\v1.2\f"},
      {"attributes", "<v a=\"b\">1.2</v>", "1.2"},
      {"a tab after the name", "<v\ta=\"b\">1.2</v>", "1.2"},
      {"a carriage return after the name", "<v\r>1.2</v>", "1.2"},
      {"a line feed after the name", "<v\n>1.2</v>", "1.2"},
      {"a longer name is another element", "<vv>1</vv><v>2</v>", "2"},
      {"a name with a colon is another element", "<v:x>1</v:x><v>2</v>", "2"},
      {"the first of two", "<v>1</v><v>2</v>", "1"},
      {"within a longer one", "<vv><v>1</v></vv>", "1"},
      {"no closing tag", "<v>1.2", ""},
      {"a closing tag with a space does not count", "<v>1.2</v ></v>", "1.2</v >"},
      {"only a closing tag with a space", "<v>1.2</v >", ""},
      {"a closing tag before the opening one", "</v><v>1.2", ""},
      {"no end of the opening tag", "<v 1.2</v", ""},
      {"the opening tag swallows the closing one", "<v 1.2</v>", ""},
      {"empty", "<v></v>", ""},
      {"only whitespace", "<v> \r\n\t </v>", ""},
      {"an empty element reaches to the next end tag", "<v/><w>x</w><v>1.2</v>", "<w>x</w><v>1.2"},
      {"an empty element alone", "<v/>", ""},
      {"other case", "<V>1.2</V>", ""},
      {"a space before the name", "< v>1.2</v>", ""},
      {"a comment is nothing special", "<!-- <v>1</v> --><v>2</v>", "1"},
      {"CDATA is nothing special", "<v><![CDATA[1.2]]></v>", "<![CDATA[1.2]]>"},
      {"entities stay", "<v>1&#46;2&amp;</v>", "1&#46;2&amp;"},
      {"a greater-than sign in an attribute ends the tag", "<v a=\">\">1</v>", "\">1"},
      {"nothing at all", "", ""},
      {"cut within the name", "<", ""},
      {"cut after the name", "<v", ""},
      {"not an element", "v>1.2</v>", ""},
      {"bytes that are no UTF-8", "<v>\xFF\xFE</v>", "\xFF\xFE"},
  };
  for (const auto& c : cases) EXPECT_EQ(ElementText(c.feed, "v"), c.want) << c.why;
}

TEST(ElementText, KeepsNulCharacters) {
  const std::string_view feed("\0<v>1\0002</v>", 11);
  EXPECT_EQ(ElementText(feed, "v"), std::string_view("1\0002", 3));
}

TEST(ElementText, TakesTheWholePrefixedName) {
  const std::string_view feed =
      "<sparkle:versionX>9</sparkle:versionX><version>8</version>"
      "<sparkle:version>1.2</sparkle:version>";
  EXPECT_EQ(ElementText(feed, "sparkle:version"), "1.2");
}

TEST(ElementText, TakesTimeLinearInTheFeed) {
  std::string feed;
  for (int i = 0; i < 200'000; ++i) feed += "<vx>";
  EXPECT_EQ(ElementText(feed, "v"), "");
}

TEST(DownloadAddress, IsTheUrlOfTheFirstEnclosure) {
  const struct {
    const char* why;
    std::string_view feed;
    std::string_view want;
  } cases[] = {
      {"plain", "<enclosure url=\"http://x/a.exe\"/>", "http://x/a.exe"},
      {"not the first attribute", "<enclosure length=\"5\" url=\"u\" type=\"t\"/>", "u"},
      {"a line feed before it", "<enclosure\n  url=\"u\"></enclosure>", "u"},
      {"a tab before it", "<enclosure\turl=\"u\">", "u"},
      {"the first of two", "<enclosure url=\"1\"/><enclosure url=\"2\"/>", "1"},
      {"absent in the first", "<enclosure length=\"5\"/><enclosure url=\"2\"/>", ""},
      {"a longer element name", "<enclosures url=\"1\"/><enclosure url=\"2\"/>", "2"},
      {"another attribute that ends in its name", "<enclosure sparkle:url=\"1\" url=\"2\"/>", "2"},
      {"another attribute with a dash", "<enclosure data-url=\"1\"/>", ""},
      {"single quotes", "<enclosure url='1'/>", ""},
      {"a space after the name", "<enclosure url =\"1\"/>", ""},
      {"no closing quote in the tag", "<enclosure url=\"1>\"", ""},
      {"no end of the tag", "<enclosure url=\"1\"", ""},
      {"empty", "<enclosure url=\"\"/>", ""},
      {"entities stay", "<enclosure url=\"a?b&amp;c\"/>", "a?b&amp;c"},
      {"spaces stay", "<enclosure url=\" u \"/>", " u "},
      {"other case of the element", "<Enclosure url=\"1\"/>", ""},
      {"other case of the attribute", "<enclosure URL=\"1\"/>", ""},
      {"in another element", "<link url=\"1\"/><enclosure/>", ""},
      {"after the tag", "<enclosure/> url=\"1\"", ""},
      {"none", "<item></item>", ""},
      {"nothing at all", "", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(DownloadAddress(c.feed), c.want) << c.why;
}

TEST(Appcast, GivesTheWholeTextOrNothingWhereverTheFeedIsCut) {
  const std::string_view feed =
      "<rss><channel><item><sparkle:version>1.2.3</sparkle:version>"
      "<enclosure url=\"https://x/y.exe\" length=\"1\"/></item></channel></rss>";
  for (size_t bytes = 0; bytes <= feed.size(); ++bytes) {
    const std::string_view version = ElementText(feed.substr(0, bytes), "sparkle:version");
    const std::string_view download = DownloadAddress(feed.substr(0, bytes));
    EXPECT_TRUE(version.empty() || version == "1.2.3") << bytes;
    EXPECT_TRUE(download.empty() || download == "https://x/y.exe") << bytes;
  }
}

}  // namespace
}  // namespace wendra
