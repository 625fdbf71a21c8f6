// Quoting, excerpts, suggestions, wrapping, and texts in XML.
#include "simulator/text/text.h"

#include <gtest/gtest.h>

#include "simulator/policy/parse_text.h"
#include "simulator/policy/target_pattern.h"
#include "simulator/text/excerpt.h"
#include "simulator/text/utf8.h"
#include "simulator/text/width.h"
#include "simulator/text/wrap.h"
#include "simulator/text/xml.h"

namespace {

using simulator::as_word;
using simulator::in_quotes;
using simulator::nearest;

TEST(Quoting, EscapesWhatWouldEndTheQuotesOrTheLine) {
  EXPECT_EQ(in_quotes("plain"), "\"plain\"");
  EXPECT_EQ(in_quotes("say \"hi\" \\ bye"), "\"say \\\"hi\\\" \\\\ bye\"");
  EXPECT_EQ(in_quotes("a\nb\tc\x7f"), "\"a\\nb\\x09c\\x7f\"");
  EXPECT_EQ(in_quotes("\xc2\x80\xc2\x9b\xc2\xa0"), "\"\\u0080\\u009b\xc2\xa0\"");
  EXPECT_EQ(in_quotes("gr\xc3\xbc\xc3\x9f"), "\"gr\xc3\xbc\xc3\x9f\"");
}

TEST(Quoting, ListsEachTextInQuotes) {
  EXPECT_EQ(simulator::listed_in_quotes({}), "nothing");
  EXPECT_EQ(simulator::listed_in_quotes({"one", "and, \"two\""}), R"("one", "and, \"two\"")");
}

TEST(Concat, JoinsPartsAsAStreamWritesThem) {
  const std::string_view view = "view";
  const std::string text = "text";
  EXPECT_EQ(simulator::concat(), "");
  EXPECT_EQ(simulator::concat("array ", view, ' ', text, static_cast<const char *>(" pointer")),
            "array view text pointer");
  EXPECT_EQ(simulator::concat(-7, ' ', UINT64_MAX, ' ', INT64_MIN, ' ', uint16_t{9}),
            "-7 18446744073709551615 -9223372036854775808 9");
  EXPECT_EQ(simulator::concat(true, ' ', uint8_t{'a'}, ' ', 0.25, ' ', 1234567.5), "1 a 0.25 1.23457e+06");
}

TEST(Words, AreQuotedOnlyWhenTheyWouldNotStandAsOne) {
  EXPECT_EQ(as_word("gold"), "gold");
  EXPECT_EQ(as_word("^a.*$"), "^a.*$");
  EXPECT_EQ(as_word(""), "\"\"");
  EXPECT_EQ(as_word("two words"), "\"two words\"");
  EXPECT_EQ(as_word("\x1b[m"), "\"\\x1b[m\"");
  EXPECT_EQ(as_word("a\xc2\x9b"), "\"a\\u009b\"");
  EXPECT_EQ(as_word("\"gold\""), "\"\\\"gold\\\"\"");
}

TEST(Messages, HoldNothingThatATerminalObeys) {
  EXPECT_EQ(simulator::escape_control_characters("plain \"text\" with \\ in it"), "plain \"text\" with \\ in it");
  EXPECT_EQ(simulator::escape_control_characters("\x1b[2J, \xc2\x9bm and \a"), "\\x1b[2J, \\u009bm and \\x07");
  EXPECT_EQ(simulator::escape_control_characters("\xc2\xa0\xc3\xbc\xc2"), "\xc2\xa0\xc3\xbc\\xc2");
}

TEST(Messages, HoldNothingThatNobodySees) {
  const auto escaped = [](const char *text) { return simulator::escape_control_characters(text); };
  EXPECT_EQ(escaped("admin\xe2\x80\xae"
                    "nimda"),
            "admin\\u202enimda")
      << "turns the text behind it around";
  EXPECT_EQ(escaped("\xe2\x81\xa6\xe2\x81\xa9\xd8\x9c"), "\\u2066\\u2069\\u061c");
  EXPECT_EQ(escaped("a\xe2\x80\x8b"
                    "b\xc2\xad"
                    "c\xef\xbb\xbf"),
            "a\\u200bb\\u00adc\\ufeff")
      << "no width";
  EXPECT_EQ(escaped("\xe2\x80\xa8\xf3\xa0\x81\x81"), "\\u2028\\U000e0041") << "an end of a line, a tag";
  EXPECT_EQ(escaped("\xff\xed\xa0\x80"), "\\xff\\xed\\xa0\\x80") << "no UTF-8";
  EXPECT_EQ(escaped("\xf0\x9f\x91\xa9\xe2\x80\x8d\xf0\x9f\x9a\x80"), "\xf0\x9f\x91\xa9\xe2\x80\x8d\xf0\x9f\x9a\x80")
      << "a joiner makes one picture of two";
}

// The texts of filters and actions are read back from the repository.
TEST(Quoting, CanBeReadBack) {
  std::string all;
  for (int byte = 0; byte < 256; ++byte)
    all += static_cast<char>(byte);
  EXPECT_EQ(simulator::parse_word(simulator::in_quotes(all)), all);
  for (const char32_t code : {0x7fU, 0x9bU, 0xe4U, 0x202eU, 0x20acU, 0xfeffU, 0x1f600U, 0xe0041U, 0x10ffffU}) {
    const std::string text = "a" + simulator::to_utf8(code) + "b";
    EXPECT_EQ(simulator::front_of(simulator::to_utf8(code)).code, code);
    EXPECT_EQ(simulator::parse_word(as_word(text)), text);
  }
  EXPECT_EQ(simulator::parse_word("\"\\u20\""), std::nullopt);
  EXPECT_EQ(simulator::parse_word("\"\\x2-\""), std::nullopt);
  EXPECT_EQ(simulator::parse_word("\"\\q\""), std::nullopt);
}

// ---- Excerpts

std::string excerpt(const std::string &line, uint32_t column) {
  return simulator::marked_line(7, line, column, simulator::Colours::off);
}

TEST(Excerpts, MarkTheCharacterNotTheByte) {
  EXPECT_EQ(excerpt("abc", 1), "  7 | abc\n    | ^\n");
  EXPECT_EQ(excerpt("abc", 4), "  7 | abc\n    |    ^\n");
  EXPECT_EQ(excerpt("\xc3\xa4\xc3\xb6x", 3), "  7 | \xc3\xa4\xc3\xb6x\n    |   ^\n");
  EXPECT_EQ(excerpt("\t\tx", 3), "  7 |   x\n    |   ^\n");
}

TEST(Excerpts, LineUpUnderWideAndCombiningCharacters) {
  EXPECT_EQ(excerpt("\xe6\x97\xa5\xe6\x9c\xacx", 3), "  7 | \xe6\x97\xa5\xe6\x9c\xacx\n    |     ^\n");
  EXPECT_EQ(excerpt("\xf0\x9f\x98\x80x", 2), "  7 | \xf0\x9f\x98\x80x\n    |   ^\n");
  EXPECT_EQ(excerpt("e\xcc\x81x", 3), "  7 | e\xcc\x81x\n    |  ^\n");
}

TEST(Excerpts, ShowEscapesForWhatNobodySees) {
  EXPECT_EQ(excerpt("\x1b[2Jx", 5), "  7 | \\x1b[2Jx\n    |        ^\n");
  EXPECT_EQ(excerpt("a\xe2\x80\xaex", 3), "  7 | a\\u202ex\n    |        ^\n");
  EXPECT_EQ(excerpt("a\xffx", 3), "  7 | a\\xffx\n    |      ^\n");
}

TEST(Excerpts, ShowWhereALongLineWasCut) {
  const std::string x(100, 'x');
  EXPECT_EQ(excerpt(x, 100), "  7 | " + x + "\n    | " + std::string(99, ' ') + "^\n") << "it just fits";
  EXPECT_EQ(excerpt(x + "x", 1), "  7 | " + x + "...\n    | ^\n");
  EXPECT_EQ(excerpt(x + "!", 101), "  7 | ..." + std::string(50, 'x') + "!\n    | " + std::string(53, ' ') + "^\n");
  EXPECT_EQ(excerpt(x + "!" + x, 101), "  7 | ..." + std::string(50, 'x') + "!" + std::string(46, 'x') + "...\n    | " +
                                           std::string(53, ' ') + "^\n");
}

TEST(Excerpts, OfManyEscapesAreCutToo) {
  std::string line;
  for (int at = 0; at < 60; ++at)
    line += "\xe2\x80\xae";
  const std::string shown = excerpt(line + "!" + line, 61);
  EXPECT_LT(shown.find('\n'), 115u) << shown;
  EXPECT_EQ(shown.find('!'), shown.find('^') - shown.find('\n') - 1) << shown;
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

TEST(Wrapping, IndentsWhatFollowsDeeperThanItsLine) {
  EXPECT_EQ(simulator::wrapped_lines("one two\n  three four\n", 0), "one two\n  three four\n");
  EXPECT_EQ(simulator::wrapped_lines("one two\n  three four\n\nlast", 9), "one two\n  three\n    four\n\nlast");
  EXPECT_EQ(simulator::wrapped_lines("", 9), "");
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
