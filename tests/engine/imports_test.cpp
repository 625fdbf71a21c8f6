// What the library imports from the engine: instances, texts, types.
#include <gtest/gtest.h>

#include "engine/engine.h"
#include "platform/engine.h"

namespace {

void *create(uint32_t target, const zar_map_info &key) {
  void *instance = nullptr;
  EXPECT_EQ(kel_create_policy_instance(&instance, target, 1, &key), 0u);
  return instance;
}

void *find(uint32_t target, const zar_map_info &key) {
  void *instance = nullptr;
  return kel_find_policy_instance(&instance, target, &key) == 0 ? instance : nullptr;
}

constexpr zar_map_info kGold = {"subscriber", 1, "gold", 0};

TEST(Instances, AreFoundByTheirKey) {
  void *made = create(17, kGold);
  EXPECT_NE(made, nullptr);
  // The texts of the key are read, not their addresses.
  const std::string name = "gold";
  const std::string domain = "subscriber";
  EXPECT_EQ(find(17, {domain.c_str(), 1, name.c_str(), 0}), made);
}

TEST(Instances, AreDistinguishedByEveryPartOfTheirKey) {
  void *made = create(17, kGold);
  for (const auto &[target, key] : {std::pair<uint32_t, zar_map_info>{18, kGold},
                                    {17, {"subscriber", 2, "gold", 0}},
                                    {17, {"guest", 1, "gold", 0}},
                                    {17, {"subscriber", 1, "silver", 0}}}) {
    EXPECT_EQ(find(target, key), nullptr);
    EXPECT_NE(create(target, key), made);
  }
  EXPECT_EQ(engine::live_instances(), 5u);
}

TEST(Instances, AreMadeOnce) {
  create(17, kGold);
  void *second = nullptr;
  EXPECT_NE(kel_create_policy_instance(&second, 17, 1, &kGold), 0u);
  EXPECT_EQ(second, nullptr);
  EXPECT_EQ(engine::live_instances(), 1u);
}

TEST(Instances, OutliveTheTextsOfTheirKey) {
  std::string name = "gold";
  void *made = create(17, {"subscriber", 1, name.c_str(), 0});
  name = "none";
  EXPECT_EQ(find(17, kGold), made);
}

TEST(Instances, AreGoneOnceDeleted) {
  void *made = create(17, kGold);
  EXPECT_EQ(kel_delete_policy_instance(made), 0u);
  EXPECT_EQ(find(17, kGold), nullptr);
  EXPECT_EQ(engine::live_instances(), 0u);
}

TEST(Instances, NeedAKeyAndAPlaceForTheResult) {
  void *instance = nullptr;
  const zar_map_info nameless = {"subscriber", 1, nullptr, 0};
  const zar_map_info homeless = {nullptr, 1, "gold", 0};
  EXPECT_NE(kel_create_policy_instance(nullptr, 17, 1, &kGold), 0u);
  EXPECT_NE(kel_find_policy_instance(nullptr, 17, &kGold), 0u);
  EXPECT_NE(kel_delete_policy_instance(nullptr), 0u);
  for (const zar_map_info *key : {static_cast<const zar_map_info *>(nullptr), &nameless, &homeless}) {
    EXPECT_NE(kel_create_policy_instance(&instance, 17, 1, key), 0u);
    EXPECT_NE(kel_find_policy_instance(&instance, 17, key), 0u);
  }
  EXPECT_EQ(instance, nullptr);
}

TEST(Instances, AreFoundAmongMany) {
  std::vector<std::string> names;
  for (uint32_t at = 0; at < 1000; ++at)
    names.push_back("policy-" + std::to_string(at));
  std::vector<void *> made;
  for (uint32_t at = 0; at < 1000; ++at)
    made.push_back(create(at % 7, {"subscriber", 1, names[at].c_str(), 0}));
  for (uint32_t at = 0; at < 1000; ++at) {
    EXPECT_EQ(find(at % 7, {"subscriber", 1, names[at].c_str(), 0}), made[at]);
  }
}

TEST(Texts, NameEveryCriteria) {
  EXPECT_STREQ(kel_cmap_match_criteria_get_string_short(1), "match-all");
  EXPECT_STREQ(kel_cmap_match_criteria_get_string_short(2), "match-any");
  EXPECT_STREQ(kel_cmap_match_criteria_get_string_short(3), "match-none");
  EXPECT_STREQ(kel_pmap_class_match_get_string_short(1), "match-all");
  EXPECT_STREQ(kel_pmap_class_match_get_string_short(2), "match-first");
  EXPECT_STREQ(kel_pmap_action_exec_criteria_get_string_short(1), "run-all");
  EXPECT_STREQ(kel_pmap_action_exec_criteria_get_string_short(2), "stop-on-failure");
  EXPECT_STREQ(kel_pmap_action_exec_criteria_get_string_short(3), "stop-on-success");
}

TEST(Texts, ExistForUnknownCriteria) {
  for (const uint32_t criteria : {0U, 4U, ~0U}) {
    EXPECT_NE(kel_cmap_match_criteria_get_string_short(criteria), nullptr);
    EXPECT_NE(kel_pmap_class_match_get_string_short(criteria), nullptr);
    EXPECT_NE(kel_pmap_action_exec_criteria_get_string_short(criteria), nullptr);
  }
}

TEST(ParameterMapTypes, AreKnownForSubscribersOnly) {
  uint32_t type = 0;
  EXPECT_EQ(kel_parameter_map_get_type("subscriber", &type), 0u);
  EXPECT_EQ(type, 1u);
  EXPECT_NE(kel_parameter_map_get_type("interface", &type), 0u);
  EXPECT_NE(kel_parameter_map_get_type(nullptr, &type), 0u);
  EXPECT_NE(kel_parameter_map_get_type("subscriber", nullptr), 0u);
}

TEST(AeContexts, ThatAreNullAreRefused) {
  EXPECT_NE(kel_free_all_policy_ae_context(nullptr), 0u);
}

}  // namespace
