// Quoting, suggestions, wrapping, and texts in XML.
#include "simulator/text/text.h"

#include <gtest/gtest.h>

#include "simulator/policy/target_pattern.h"
#include "simulator/text/wrap.h"
#include "simulator/text/xml.h"

namespace {

using simulator::as_word;
using simulator::nearest;
using simulator::quoted;

TEST(Quoting, EscapesWhatWouldEndTheQuotesOrTheLine) {
  EXPECT_EQ(quoted("plain"), "\"plain\"");
  EXPECT_EQ(quoted("say \"hi\" \\ bye"), "\"say \\\"hi\\\" \\\\ bye\"");
  EXPECT_EQ(quoted("a\nb\tc\x7f"), "\"a\\nb\\x09c\\x7f\"");
  EXPECT_EQ(quoted("\xc2\x80\xc2\x9b\xc2\xa0"), "\"\\xc2\\x80\\xc2\\x9b\xc2\xa0\"");
  EXPECT_EQ(quoted("gr\xc3\xbc\xc3\x9f"), "\"gr\xc3\xbc\xc3\x9f\"");
}

TEST(Words, AreQuotedOnlyWhenTheyWouldNotStandAsOne) {
  EXPECT_EQ(as_word("gold"), "gold");
  EXPECT_EQ(as_word("^a.*$"), "^a.*$");
  EXPECT_EQ(as_word(""), "\"\"");
  EXPECT_EQ(as_word("two words"), "\"two words\"");
  EXPECT_EQ(as_word("\x1b[m"), "\"\\x1b[m\"");
  EXPECT_EQ(as_word("a\xc2\x9b"), "\"a\\xc2\\x9b\"");
  EXPECT_EQ(as_word("\"gold\""), "\"\\\"gold\\\"\"");
}

TEST(Messages, HoldNothingThatATerminalObeys) {
  EXPECT_EQ(simulator::escape_control_characters("plain \"text\" with \\ in it"), "plain \"text\" with \\ in it");
  EXPECT_EQ(simulator::escape_control_characters("\x1b[2J, \xc2\x9bm and \a"), "\\x1b[2J, \\xc2\\x9bm and \\x07");
  EXPECT_EQ(simulator::escape_control_characters("\xc2\xa0\xc3\xbc\xc2"), "\xc2\xa0\xc3\xbc\xc2");
}

TEST(Suggestions, FindOneSlipOfTheFingers) {
  const std::vector<std::string_view> words = {"equals", "prefix", "regex", "range", "present"};
  EXPECT_EQ(nearest("equal", words), "equals");
  EXPECT_EQ(nearest("euqals", words), "equals");
  EXPECT_EQ(nearest("prefixx", words), "prefix");
  EXPECT_EQ(nearest("rgex", words), "regex");
  EXPECT_EQ(nearest("rxnge", words), "range");
}

TEST(Suggestions, AreNotMadeForSomethingElse) {
  EXPECT_EQ(nearest("colour", {"equals", "prefix"}), "");
  EXPECT_EQ(nearest("", {"equals"}), "");
  EXPECT_EQ(nearest("gold", {}), "");
  EXPECT_EQ(nearest(std::string(1000, 'a'), {std::string_view("a")}), "");
}

TEST(Suggestions, PreferTheNearest) {
  EXPECT_EQ(nearest("gold-2", {"gold-11", "gold-1", "silver"}), "gold-1");
}

TEST(Wrapping, BreaksLinesAtBlanks) {
  EXPECT_EQ(simulator::wrapped("one two three", 0, 2), "one two three");
  EXPECT_EQ(simulator::wrapped("one two three", 13, 2), "one two three");
  EXPECT_EQ(simulator::wrapped("one two three", 12, 2), "one two\n  three");
  EXPECT_EQ(simulator::wrapped("one two three", 7, 2), "one two\n  three");
  EXPECT_EQ(simulator::wrapped("one  two", 7, 0), "one\ntwo") << "the blanks at the break are dropped";
  EXPECT_EQ(simulator::wrapped("    one two", 8, 4), "    one\n    two");
  EXPECT_EQ(simulator::wrapped("", 8, 4), "");
}

TEST(Wrapping, BreaksWordsThatFitNoLine) {
  EXPECT_EQ(simulator::wrapped("abcdefgh", 3, 0), "abc\ndef\ngh");
  EXPECT_EQ(simulator::wrapped("x abcdefgh", 4, 2), "x\n  ab\n  cd\n  ef\n  gh");
  EXPECT_EQ(simulator::wrapped("abc", 1, 9), "a\nb\nc") << "the indent leaves room for a character";
}

TEST(Wrapping, CountsWhatIsSeen) {
  EXPECT_EQ(simulator::columns_of("gr\xc3\xbc\xc3\x9f"), 4u);
  EXPECT_EQ(simulator::columns_of("\x1b[1;31mdeny\x1b[0m"), 4u);
  EXPECT_EQ(simulator::wrapped("gr\xc3\xbc\xc3\x9f dich", 9, 0), "gr\xc3\xbc\xc3\x9f dich");
  EXPECT_EQ(simulator::wrapped("\x1b[32mpermit\x1b[0m it", 9, 0), "\x1b[32mpermit\x1b[0m it");
  EXPECT_EQ(simulator::wrapped("\x1b[32mpermit\x1b[0m it", 8, 0), "\x1b[32mpermit\x1b[0m\nit");
}

TEST(Xml, HoldsTextsThatLookLikeMarkup) {
  EXPECT_EQ(simulator::xml_text("a <b> & \"c\" ]]>"), "a &lt;b&gt; &amp; &quot;c&quot; ]]&gt;");
  EXPECT_EQ(simulator::xml_text("a\tb\nc\rd"), "a&#9;b&#10;c&#13;d");
  EXPECT_EQ(simulator::xml_text("gr\xc3\xbc\xc3\x9f \xf0\x9f\x98\x80"), "gr\xc3\xbc\xc3\x9f \xf0\x9f\x98\x80");
}

TEST(Xml, HoldsNothingThatXmlForbids) {
  const std::string replaced = "\xef\xbf\xbd";
  EXPECT_EQ(simulator::xml_text("\x1b[0m\x7f"), "\\x1b[0m\\x7f");
  EXPECT_EQ(simulator::xml_text("\xff"), replaced);
  EXPECT_EQ(simulator::xml_text("\xc3"), replaced);
  EXPECT_EQ(simulator::xml_text("\xc3x"), replaced + "x");
  EXPECT_EQ(simulator::xml_text("\xef\xbf\xbe"), replaced + replaced + replaced) << "U+FFFE";
  EXPECT_EQ(simulator::xml_text("\xed\xa0\x80"), replaced + replaced + replaced) << "half of a pair";
  EXPECT_EQ(simulator::xml_text("\xe0\x80\x80"), replaced + replaced + replaced) << "longer than needed";
  EXPECT_EQ(simulator::xml_text("\xf4\x90\x80\x80"), replaced + replaced + replaced + replaced);
  EXPECT_EQ(simulator::xml_text("\xee\x80\x80"), "\xee\x80\x80");
}

TEST(Patterns, HaveStarsForAnyCharacters) {
  for (const char *pattern : {"*", "line-*", "*-1", "l*e-*1", "line-1", "**", "*line-1*"})
    EXPECT_TRUE(simulator::fits("line-1", pattern)) << pattern;
  for (const char *pattern : {"", "line", "line-2*", "*-", "l*x*1", "line-1-*"})
    EXPECT_FALSE(simulator::fits("line-1", pattern)) << pattern;
  EXPECT_TRUE(simulator::fits("aXbXb", "a*b"));
  EXPECT_TRUE(simulator::fits("", "*"));
  EXPECT_FALSE(simulator::fits("", "a"));
}

}  // namespace
