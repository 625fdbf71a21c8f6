#include <cstring>

#include "tests/runtime/fixture.h"

namespace {

class CopiesTest : public RuntimeTest {
 protected:
  char to[8] = "before!";
};

TEST_F(CopiesTest, ATextThatFitsIsCopiedWithItsTerminator) {
  EXPECT_EQ(strncpy_s(to, sizeof to, "seven77", 7), 0);
  EXPECT_STREQ(to, "seven77");
  EXPECT_EQ(strncpy_s(to, sizeof to, "abc", 100), 0) << "the text ends before the count does";
  EXPECT_STREQ(to, "abc");
}

TEST_F(CopiesTest, AtMostCountCharactersAreCopied) {
  EXPECT_EQ(strncpy_s(to, sizeof to, "a long text", 3), 0);
  EXPECT_STREQ(to, "a l");
  EXPECT_EQ(strncpy_s(to, sizeof to, "a long text", 0), 0);
  EXPECT_STREQ(to, "");
}

TEST_F(CopiesTest, WhatDoesNotFitLeavesAnEmptyText) {
  EXPECT_NE(strncpy_s(to, sizeof to, "eight888", 8), 0);
  EXPECT_STREQ(to, "");
  std::strcpy(to, "x");
  EXPECT_NE(strncpy_s(to, 4, "four", 4), 0);
  EXPECT_STREQ(to, "");
  EXPECT_EQ(strncpy_s(to, 5, "four", 4), 0);
  EXPECT_STREQ(to, "four");
}

TEST_F(CopiesTest, NothingAfterTheCountIsRead) {
  const char unterminated[3] = {'a', 'b', 'c'};
  EXPECT_EQ(strncpy_s(to, sizeof to, unterminated, 3), 0);
  EXPECT_STREQ(to, "abc");
}

TEST_F(CopiesTest, BadArgumentsAreRefused) {
  EXPECT_NE(strncpy_s(nullptr, 8, "a", 1), 0);
  EXPECT_NE(strncpy_s(to, sizeof to, nullptr, 1), 0);
  EXPECT_STREQ(to, "");
  std::strcpy(to, "x");
  EXPECT_NE(strncpy_s(to, 0, "a", 1), 0);
  EXPECT_NE(strncpy_s(to, SIZE_MAX, "a", 1), 0);
  EXPECT_STREQ(to, "x") << "a size that cannot be right allows no writing";
  EXPECT_NE(strncpy_s(to, sizeof to, "a", SIZE_MAX), 0);
  EXPECT_STREQ(to, "");
}

TEST_F(CopiesTest, OverlappingTextsAreRefused) {
  char text[16] = "abcdef";
  EXPECT_NE(strncpy_s(text + 2, 14, text, 10), 0);
  std::strcpy(text, "abcdef");
  EXPECT_NE(strncpy_s(text, 16, text + 3, 10), 0);
  std::strcpy(text, "abcdef");
  EXPECT_NE(strncpy_s(text + 6, 10, text, 10), 0) << "the terminator would be read and written";
  std::strcpy(text, "abcdef");
  EXPECT_EQ(strncpy_s(text + 3, 13, text, 3), 0) << "side by side";
  EXPECT_STREQ(text, "abcabc");
}

}  // namespace
