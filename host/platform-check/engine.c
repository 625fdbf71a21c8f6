/*
 * The engine's imports, if the program is linked with an engine too. The references are weak, so that it need not be.
 * The services that need a target and a policy-map of the repository are not called, except for finding an instance
 * that does not exist.
 */
#include "platform/engine.h"

#include <string.h>

#include "check.h"

#pragma weak kel_trace_id
#pragma weak kel_clid
#pragma weak BUILTIN_DEVICE_TO_TEMPLATE
#pragma weak kel_create_policy_instance
#pragma weak kel_find_policy_instance
#pragma weak kel_delete_policy_instance
#pragma weak kel_free_all_policy_ae_context
#pragma weak kel_parameter_map_get_type
#pragma weak kel_cmap_match_criteria_get_string_short
#pragma weak kel_pmap_class_match_get_string_short
#pragma weak kel_pmap_action_exec_criteria_get_string_short

typedef const char *(*TextFunction)(uint32_t criteria);

static const char *first_missing(void) {
  if (!&kel_trace_id) return "kel_trace_id";
  if (!&kel_clid) return "kel_clid";
  if (!&BUILTIN_DEVICE_TO_TEMPLATE) return "BUILTIN_DEVICE_TO_TEMPLATE";
  if (!kel_create_policy_instance) return "kel_create_policy_instance";
  if (!kel_find_policy_instance) return "kel_find_policy_instance";
  if (!kel_delete_policy_instance) return "kel_delete_policy_instance";
  if (!kel_free_all_policy_ae_context) return "kel_free_all_policy_ae_context";
  if (!kel_parameter_map_get_type) return "kel_parameter_map_get_type";
  if (!kel_cmap_match_criteria_get_string_short) return "kel_cmap_match_criteria_get_string_short";
  if (!kel_pmap_class_match_get_string_short) return "kel_pmap_class_match_get_string_short";
  if (!kel_pmap_action_exec_criteria_get_string_short) return "kel_pmap_action_exec_criteria_get_string_short";
  return NULL;
}

static int is_linked(void) {
  return &kel_trace_id || &kel_clid || kel_create_policy_instance || kel_find_policy_instance;
}

static void all_imports_are_defined(void) {
  const char *missing = first_missing();
  EXPECT(!missing, "%s is not defined", missing);
}

static void template_is_a_text(void) {
  EXPECT(&BUILTIN_DEVICE_TO_TEMPLATE && BUILTIN_DEVICE_TO_TEMPLATE, "it is NULL");
  EXPECT(strlen(BUILTIN_DEVICE_TO_TEMPLATE) < 100, "it is longer than a name can be");
}

/* Two different numbers in the out place show whether it was written. */
static void type_is_written(void) {
  static const char *const domains[] = {"subscriber", "guest", ""};
  for (size_t i = 0; i < COUNT_OF(domains); i++) {
    uint32_t one = 0xa5a5a5a5u, other = 0x5a5a5a5au;
    uint32_t failed = kel_parameter_map_get_type(domains[i], &one);
    EXPECT((kel_parameter_map_get_type(domains[i], &other) != 0) == (failed != 0),
           "for the domain '%s', a second call had another result", domains[i]);
    EXPECT(failed || one == other, "for the domain '%s', it returned 0 and wrote no type", domains[i]);
  }
}

static void absent_instance_can_be_sought(void) {
  static char one, other;
  const zar_map_info key = {.domain = "platform-check", .domain_type = 1, .map_name = "none", .hidden = 0};
  void *found = &one, *again = &other;
  zar_platform_check_discard_output();
  if (kel_find_policy_instance(&found, 0x7fffffff, &key) != 0) return;
  kel_find_policy_instance(&again, 0x7fffffff, &key);
  EXPECT(found == again, "it returned 0 and wrote no instance");
}

static void returns_texts(TextFunction text_of) {
  static const uint32_t numbers[] = {0, 1, 2, 3, 4, 100, 0x7fffffffu, 0xffffffffu};
  for (size_t i = 0; i < COUNT_OF(numbers); i++) {
    const char *text = text_of(numbers[i]);
    EXPECT(text != NULL, "it returned NULL for %u", numbers[i]);
    EXPECT(strlen(text) < 1000, "it returned no text for %u", numbers[i]);
  }
}

static void class_map_criteria_have_texts(void) {
  returns_texts(kel_cmap_match_criteria_get_string_short);
}

static void event_criteria_have_texts(void) {
  returns_texts(kel_pmap_class_match_get_string_short);
}

static void execution_criteria_have_texts(void) {
  returns_texts(kel_pmap_action_exec_criteria_get_string_short);
}

static const Promise promises[] = {
    {1, "kel_trace_id", "is defined, like all other imports of the engine", all_imports_are_defined},
    {2, "BUILTIN_DEVICE_TO_TEMPLATE", "is a text, not NULL", template_is_a_text},
    {3, "kel_find_policy_instance", "writes an instance or returns non-zero, even if the instance does not exist",
     absent_instance_can_be_sought},
    {4, "kel_parameter_map_get_type", "writes a type or returns non-zero, the same each time", type_is_written},
    {5, "kel_cmap_match_criteria_get_string_short", "returns a text for any number", class_map_criteria_have_texts},
    {6, "kel_pmap_class_match_get_string_short", "returns a text for any number", event_criteria_have_texts},
    {7, "kel_pmap_action_exec_criteria_get_string_short", "returns a text for any number",
     execution_criteria_have_texts},
};
const Group zar_platform_check_engine = {"engine", "engine", promises, COUNT_OF(promises), is_linked};
