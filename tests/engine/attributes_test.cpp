// The attributes of a target.
#include <gtest/gtest.h>

#include "engine/engine.h"

namespace {

using engine::Attributes;
using engine::register_attribute;

TEST(AttributeNames, AreGivenTheSameNumberAgain) {
  const engine::AttributeId user = register_attribute("user");
  EXPECT_NE(register_attribute("vlan"), user);
  EXPECT_EQ(register_attribute("user"), user);
  EXPECT_EQ(engine::attribute_name(user), "user");
}

TEST(AttributeNames, AreRefusedBeyondTheLimit) {
  for (engine::AttributeId made = 0; made < engine::kMaxAttributes; ++made) {
    ASSERT_EQ(register_attribute("attribute-" + std::to_string(made)), made);
  }
  EXPECT_EQ(register_attribute("one-more"), engine::kNoAttribute);
  EXPECT_EQ(register_attribute("attribute-7"), 7u);
}

TEST(AttributeNames, BeginAnewOnceTheyAreForgotten) {
  register_attribute("user");
  const engine::AttributeId vlan = register_attribute("vlan");
  engine::forget_attributes();
  EXPECT_EQ(register_attribute("vlan") + 1, vlan);
  EXPECT_EQ(engine::attribute_name(vlan - 1), "vlan");
}

TEST(Numbers, AreDecimalWithAnOptionalMinus) {
  EXPECT_EQ(engine::parse_number("0"), 0);
  EXPECT_EQ(engine::parse_number("-17"), -17);
  EXPECT_EQ(engine::parse_number("007"), 7);
  EXPECT_EQ(engine::parse_number("9223372036854775807"), INT64_MAX);
  EXPECT_EQ(engine::parse_number("-9223372036854775808"), INT64_MIN);
}

TEST(Numbers, AreNothingElse) {
  for (const char *text : {"", "-", "+1", " 1", "1 ", "1.0", "1e3", "0x10", "9223372036854775808", "ten"}) {
    EXPECT_EQ(engine::parse_number(text), std::nullopt) << '"' << text << '"';
  }
}

TEST(AttributesOfATarget, AreAbsentUntilSet) {
  Attributes attributes;
  const engine::AttributeId user = register_attribute("user");
  EXPECT_EQ(attributes.find(user), nullptr);
  attributes.set(user, "alice");
  ASSERT_NE(attributes.find(user), nullptr);
  EXPECT_EQ(attributes.find(user)->text, "alice");
  EXPECT_FALSE(attributes.find(user)->numeric);
}

TEST(AttributesOfATarget, KnowTheirNumber) {
  Attributes attributes;
  const engine::AttributeId vlan = register_attribute("vlan");
  attributes.set(vlan, "100");
  EXPECT_TRUE(attributes.find(vlan)->numeric);
  EXPECT_EQ(attributes.find(vlan)->number, 100);
  attributes.set(vlan, "none");
  EXPECT_FALSE(attributes.find(vlan)->numeric);
}

TEST(AttributesOfATarget, TakeTextAndNumberFromAValue) {
  Attributes attributes;
  const engine::AttributeId vlan = register_attribute("vlan");
  attributes.set(vlan, engine::Value("-7"));
  EXPECT_EQ(attributes.find(vlan)->text, "-7");
  EXPECT_TRUE(attributes.find(vlan)->numeric);
  EXPECT_EQ(attributes.find(vlan)->number, -7);
  attributes.set(vlan, engine::Value("none"));
  EXPECT_EQ(attributes.find(vlan)->text, "none");
  EXPECT_FALSE(attributes.find(vlan)->numeric);
}

TEST(AttributesOfATarget, KeepTheirPlaceWhenOthersAreSet) {
  Attributes attributes;
  const engine::AttributeId user = register_attribute("user");
  attributes.set(user, "alice");
  const engine::Attribute *found = attributes.find(user);
  for (int other = 0; other < 100; ++other)
    attributes.set(register_attribute("a-" + std::to_string(other)), "x");
  EXPECT_EQ(attributes.find(user), found);
}

TEST(AttributesOfATarget, CanBeFewOfMany) {
  std::vector<engine::AttributeId> ids;
  for (int number = 0; number < 40; ++number)
    ids.push_back(register_attribute("a-" + std::to_string(number)));
  Attributes attributes;
  attributes.set(ids[39], "last");
  attributes.set(ids[8], "ninth");
  attributes.set(ids[7], "eighth");
  EXPECT_EQ(attributes.find(ids[39])->text, "last");
  EXPECT_EQ(attributes.find(ids[38]), nullptr);
  EXPECT_EQ(attributes.find(ids[20]), nullptr);
  EXPECT_EQ(attributes.present(), (std::vector{ids[7], ids[8], ids[39]}));
  EXPECT_TRUE(attributes.clear(ids[39]));
  EXPECT_EQ(attributes.find(ids[39]), nullptr);
  EXPECT_EQ(attributes.present(), (std::vector{ids[7], ids[8]}));
}

TEST(AttributesOfATarget, CanBeEmptyTexts) {
  Attributes attributes;
  const engine::AttributeId note = register_attribute("note");
  attributes.set(note, "");
  ASSERT_NE(attributes.find(note), nullptr);
  EXPECT_EQ(attributes.find(note)->text, "");
}

TEST(AttributesOfATarget, AreClearedOnce) {
  Attributes attributes;
  const engine::AttributeId user = register_attribute("user");
  attributes.set(user, "alice");
  EXPECT_TRUE(attributes.clear(user));
  EXPECT_EQ(attributes.find(user), nullptr);
  EXPECT_FALSE(attributes.clear(user));
}

TEST(AttributesOfATarget, CountFromZero) {
  Attributes attributes;
  const engine::AttributeId tries = register_attribute("tries");
  attributes.count(tries);
  EXPECT_EQ(attributes.find(tries)->text, "1");
  attributes.count(tries);
  EXPECT_EQ(attributes.find(tries)->text, "2");
  EXPECT_EQ(attributes.find(tries)->number, 2);
}

TEST(AttributesOfATarget, CountFromZeroAgainAfterTheyWereCleared) {
  Attributes attributes;
  const engine::AttributeId tries = register_attribute("tries");
  attributes.set(tries, "41");
  attributes.clear(tries);
  attributes.count(tries);
  EXPECT_EQ(attributes.find(tries)->text, "1");
}

TEST(AttributesOfATarget, CountFromZeroWhenTheyAreNoNumbers) {
  Attributes attributes;
  const engine::AttributeId tries = register_attribute("tries");
  attributes.set(tries, "many");
  attributes.count(tries);
  EXPECT_EQ(attributes.find(tries)->text, "1");
}

TEST(AttributesOfATarget, StopCountingAtTheHighestNumber) {
  Attributes attributes;
  const engine::AttributeId tries = register_attribute("tries");
  attributes.set(tries, "9223372036854775807");
  attributes.count(tries);
  EXPECT_EQ(attributes.find(tries)->text, "9223372036854775807");
}

TEST(AttributesOfATarget, AreListedInTheOrderOfTheirRegistration) {
  const engine::AttributeId first = register_attribute("first");
  const engine::AttributeId second = register_attribute("second");
  const engine::AttributeId third = register_attribute("third");
  Attributes attributes;
  attributes.set(third, "3");
  attributes.set(first, "1");
  attributes.set(second, "2");
  attributes.clear(second);
  EXPECT_EQ(attributes.present(), (std::vector<engine::AttributeId>{first, third}));
}

}  // namespace
