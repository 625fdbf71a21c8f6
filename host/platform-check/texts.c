#include <stdio.h>
#include <string.h>

#include "check.h"
#include "platform/runtime.h"

static sdb_ref add(const char *text) {
  sdb_ref reference = NULL;
  EXPECT(sdb_add_block(text, (uint32_t)strlen(text), &reference, kTag) != 0, "'%.40s' was refused", text);
  EXPECT(reference != NULL, "'%.40s' has a NULL reference", text);
  return reference;
}

static void reads(sdb_ref reference, const char *wanted) {
  const char *text = sdb_string_addr_ptr(reference);
  EXPECT(text != NULL, "the text of '%.40s' is NULL", wanted);
  EXPECT(strcmp(text, wanted) == 0, "'%.40s' reads '%.40s'", wanted, text);
}

static void gives_back_the_text(void) {
  char longest[4000];
  memset(longest, 'x', sizeof longest - 1);
  longest[sizeof longest - 1] = '\0';
  reads(add("gold"), "gold");
  reads(add(longest), longest);
}

static void takes_the_empty_text(void) {
  reads(add(""), "");
}

static void keeps_its_own_copy(void) {
  char text[] = "gold";
  sdb_ref reference = add(text);
  memcpy(text, "lead", sizeof text);
  reads(reference, "gold");
}

static void keeps_texts_apart(void) {
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

static void tells_case_and_length_apart(void) {
  sdb_ref gold = add("gold"), capital = add("Gold"), longer = add("golden");
  reads(gold, "gold");
  reads(capital, "Gold");
  reads(longer, "golden");
}

static void counts(void) {
  sdb_ref first = add("gold"), second = add("gold");
  EXPECT(sdb_remove_block(first, kTag) != 0, "it refused a text that was added");
  reads(second, "gold");
  EXPECT(sdb_remove_block(second, kTag) != 0, "it refused a text that was added twice");
}

static void takes_any_tag(void) {
  sdb_ref first = add("gold"), second = add("silver");
  EXPECT(sdb_remove_block(first, kTag + 1) != 0, "it refused a tag other than that of the addition");
  reads(second, "silver");
}

static void takes_a_text_again(void) {
  for (int i = 0; i < 1000; i++) {
    sdb_ref reference = add("gold");
    reads(reference, "gold");
    EXPECT(sdb_remove_block(reference, kTag) != 0, "turn %d: it refused a text that was added", i);
  }
}

static const Promise promises[] = {
    {"sdb_add_block", "stores texts of any length, terminated", gives_back_the_text},
    {"sdb_add_block", "stores the empty text", takes_the_empty_text},
    {"sdb_add_block", "keeps a copy of its own", keeps_its_own_copy},
    {"sdb_add_block", "keeps different texts apart", keeps_texts_apart},
    {"sdb_add_block", "tells texts apart by case and length", tells_case_and_length_apart},
    {"sdb_remove_block", "keeps a text until it was removed as often as added", counts},
    {"sdb_remove_block", "takes any tag", takes_any_tag},
    {"sdb_remove_block", "leaves the text free to be added again", takes_a_text_again},
};
const Group texts = {"texts", promises, COUNT_OF(promises)};
