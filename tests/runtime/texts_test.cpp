#include <cstring>

#include "tests/runtime/fixture.h"

namespace {

class TextsTest : public RuntimeTest {
 protected:
  void TearDown() override {
    EXPECT_EQ(runtime::interned_texts(), Texts());
    RuntimeTest::TearDown();
  }

  using Texts = std::map<std::string, uint32_t>;

  static sdb_ref add(const std::string &text, uint32_t tag = 1) {
    sdb_ref reference = nullptr;
    EXPECT_EQ(sdb_add_block(text.c_str(), static_cast<uint32_t>(text.size()), &reference, tag), 1u);
    return reference;
  }
  static uint32_t remove(sdb_ref reference, uint32_t tag = 1) { return sdb_remove_block(reference, tag); }
};

TEST_F(TextsTest, AReferenceLeadsToACopyOfTheText) {
  char text[] = "isp-domain";
  sdb_ref reference = add(text);
  text[0] = 'X';
  EXPECT_STREQ(sdb_string_addr_ptr(reference), "isp-domain");
  EXPECT_EQ(remove(reference), 1u);
}

TEST_F(TextsTest, EqualTextsShareOneBlock) {
  sdb_ref first = add("gold", 1), second = add("gold", 2), longer = add("golden");
  EXPECT_EQ(first, second);
  EXPECT_NE(first, longer);
  EXPECT_EQ(runtime::interned_texts(), (Texts{{"gold", 2}, {"golden", 1}}));
  EXPECT_EQ(remove(first), 1u);
  EXPECT_STREQ(sdb_string_addr_ptr(second), "gold");
  EXPECT_EQ(remove(second), 1u);
  EXPECT_EQ(runtime::interned_texts(), (Texts{{"golden", 1}}));
  EXPECT_EQ(remove(longer), 1u);
}

TEST_F(TextsTest, ATextEndsAfterItsLengthOrAtItsTerminator) {
  sdb_ref cut = nullptr, whole = nullptr;
  ASSERT_EQ(sdb_add_block("goldfish", 4, &cut, 1), 1u);
  ASSERT_EQ(sdb_add_block("gold", 5, &whole, 1), 1u);
  EXPECT_STREQ(sdb_string_addr_ptr(cut), "gold");
  EXPECT_EQ(cut, whole);
  EXPECT_EQ(remove(cut), 1u);
  EXPECT_EQ(remove(whole), 1u);
}

TEST_F(TextsTest, TheEmptyTextIsATextAndLongOnesToo) {
  sdb_ref none = add(""), longest = add(std::string(100000, 'z'));
  EXPECT_STREQ(sdb_string_addr_ptr(none), "");
  EXPECT_EQ(std::strlen(sdb_string_addr_ptr(longest)), 100000u);
  EXPECT_EQ(remove(none), 1u);
  EXPECT_EQ(remove(longest), 1u);
}

TEST_F(TextsTest, TheTagOfARemovalMayDiffer) {
  sdb_ref reference = add("silver", 0x3e00033);
  EXPECT_EQ(remove(reference, 0x33), 1u);
}

TEST_F(TextsTest, RemovingMoreOftenThanAddingIsRefused) {
  for (size_t length : {1u, 7u, 40u, 1000u}) {
    sdb_ref reference = add(std::string(length, 'x')), other = add(std::string(length, 'y'));
    EXPECT_EQ(remove(reference), 1u);
    EXPECT_EQ(remove(reference), 0u);
    EXPECT_EQ(n_complaints(), 1u);
    EXPECT_EQ(remove(other), 1u);
  }
}

TEST_F(TextsTest, AnUnknownReferenceIsRefused) {
  std::vector<char> elsewhere(64);
  EXPECT_EQ(sdb_string_addr_ptr(nullptr), nullptr);
  EXPECT_EQ(remove(nullptr), 0u);
  EXPECT_EQ(remove(reinterpret_cast<sdb_ref>(elsewhere.data())), 0u);
  sdb_ref reference = add("bronze");
  EXPECT_EQ(remove(reinterpret_cast<sdb_ref>(const_cast<char *>(sdb_string_addr_ptr(reference)))), 0u);
  EXPECT_EQ(n_complaints(), 3u);
  EXPECT_EQ(remove(reference), 1u);
}

TEST_F(TextsTest, NoTextOrNoPlaceIsRefused) {
  sdb_ref reference = nullptr;
  EXPECT_EQ(sdb_add_block(nullptr, 3, &reference, 1), 0u);
  EXPECT_EQ(sdb_add_block("abc", 3, nullptr, 1), 0u);
  EXPECT_EQ(reference, nullptr);
  EXPECT_EQ(n_complaints(), 2u);
}

TEST_F(TextsTest, BehavesAsAMapOfCounts) {
  Random random(2718);
  Texts model;
  std::map<std::string, sdb_ref> references;
  for (int step = 0; step < 100000; ++step) {
    std::string text = "name-" + std::to_string(random.below(3000));
    if (random.below(10) == 0) text.append(random.below(400), '-');
    bool growing = step / 15000 % 2 == 0;
    if (random.below(10) < (growing ? 8u : 3u)) {
      sdb_ref reference = add(text);
      auto [known, added] = references.try_emplace(text, reference);
      ASSERT_EQ(known->second, reference);
      ++model[text];
    } else if (auto known = references.find(text); known != references.end()) {
      ASSERT_EQ(text, sdb_string_addr_ptr(known->second));
      ASSERT_EQ(remove(known->second), 1u);
      if (--model[text] == 0) {
        model.erase(text);
        references.erase(known);
      }
    }
    if (step % 5000 == 0) {
      ASSERT_EQ(runtime::interned_texts(), model);
    }
  }
  EXPECT_EQ(runtime::interned_texts(), model);
  for (auto &[text, count] : model)
    for (; count > 0; --count)
      ASSERT_EQ(remove(references[text]), 1u);
}

}  // namespace
