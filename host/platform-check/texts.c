#include <stdio.h>
#include <string.h>

#include "check.h"
#include "platform/runtime.h"

static sdb_ref add(const char *text) {
  sdb_ref reference = NULL;
  EXPECT(sdb_add_block(text, (uint32_t)strlen(text), &reference, kTag) != 0, "'%.40s' was refused", text);
  EXPECT(reference != NULL, "the reference of '%.40s' is NULL", text);
  return reference;
}

static void reads(sdb_ref reference, const char *wanted) {
  const char *text = sdb_string_addr_ptr(reference);
  EXPECT(text != NULL, "the text of '%.40s' is NULL", wanted);
  EXPECT(strcmp(text, wanted) == 0, "the text is '%.40s' instead of '%.40s'", text, wanted);
}

static void stores_texts_of_any_length(void) {
  char longest[4000];
  memset(longest, 'x', sizeof longest - 1);
  longest[sizeof longest - 1] = '\0';
  reads(add("gold"), "gold");
  reads(add(longest), longest);
}

static void stores_the_empty_text(void) {
  reads(add(""), "");
}

static void keeps_its_own_copy(void) {
  char text[] = "gold";
  sdb_ref reference = add(text);
  memcpy(text, "lead", sizeof text);
  reads(reference, "gold");
}

static void keeps_texts_separate(void) {
  enum { kMany = 2000 };
  static sdb_ref references[kMany];
  char text[16];
  for (int i = 0; i < kMany; i++) {
    snprintf(text, sizeof text, "map-%d", i);
    references[i] = add(text);
  }
  for (int i = 0; i < kMany; i++) {
    snprintf(text, sizeof text, "map-%d", i);
    reads(references[i], text);
  }
}

static void distinguishes_case_and_length(void) {
  sdb_ref gold = add("gold"), capital = add("Gold"), longer = add("golden");
  reads(gold, "gold");
  reads(capital, "Gold");
  reads(longer, "golden");
}

static void counts_additions(void) {
  sdb_ref first = add("gold"), second = add("gold");
  EXPECT(sdb_remove_block(first, kTag) != 0, "it refused a text that was added");
  reads(second, "gold");
  EXPECT(sdb_remove_block(second, kTag) != 0, "it refused a text that was added twice");
}

static void accepts_any_tag(void) {
  sdb_ref first = add("gold"), second = add("silver");
  EXPECT(sdb_remove_block(first, kTag + 1) != 0, "it refused a tag that differs from the tag of the addition");
  reads(second, "silver");
}

static void accepts_a_text_again(void) {
  for (int i = 0; i < 1000; i++) {
    sdb_ref reference = add("gold");
    reads(reference, "gold");
    EXPECT(sdb_remove_block(reference, kTag) != 0, "turn %d: it refused a text that was added", i);
  }
}

static const Promise promises[] = {
    {"sdb_add_block", "stores texts of any length and terminates them", stores_texts_of_any_length},
    {"sdb_add_block", "stores the empty text", stores_the_empty_text},
    {"sdb_add_block", "keeps its own copy of the text", keeps_its_own_copy},
    {"sdb_add_block", "keeps different texts separate", keeps_texts_separate},
    {"sdb_add_block", "distinguishes texts by case and length", distinguishes_case_and_length},
    {"sdb_remove_block", "keeps a text until it has been removed as often as it was added", counts_additions},
    {"sdb_remove_block", "accepts any tag", accepts_any_tag},
    {"sdb_remove_block", "allows the text to be added again", accepts_a_text_again},
};
const Group texts = {"texts", promises, COUNT_OF(promises)};
