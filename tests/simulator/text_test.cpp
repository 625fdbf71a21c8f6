// Quoting and suggestions.
#include "simulator/text/text.h"

#include <gtest/gtest.h>

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

}  // namespace
