#include <stdio.h>
#include <string.h>

#include "check.h"
#include "platform/runtime.h"

enum { kMany = 2000, kRoom = 16 };

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

/* Texts that live as long as the process. */
static const char *numbered(int number) {
  static char texts[kMany][kRoom];
  snprintf(texts[number], kRoom, "map-%d", number);
  return texts[number];
}

/* Each text begins with its length. */
static void keeps_texts_of_any_length(void) {
  static char text[4000];
  for (size_t length = 1; length < sizeof text; length += length < 300 ? 1 : 97) {
    memset(text, 'x', sizeof text);
    if (length > 8) snprintf(text, sizeof text, "%08zu", length), text[8] = 'x';
    text[length] = '\0';
    sdb_ref reference = add(text);
    const char *kept = sdb_string_addr_ptr(reference);
    EXPECT(kept != NULL && strlen(kept) == length, "a text of %zu characters has %zu", length, kept ? strlen(kept) : 0);
    reads(reference, text);
  }
}

static void keeps_the_empty_text(void) {
  reads(add(""), "");
}

static void argument_is_not_kept(void) {
  char *text = zar_platform_check_lend("gold");
  sdb_ref reference = add(text);
  zar_platform_check_take_back(text);
  reads(reference, "gold");
}

static void keeps_texts_apart(void) {
  static sdb_ref references[kMany];
  for (int i = 0; i < kMany; i++)
    references[i] = add(numbered(i));
  for (int i = 0; i < kMany; i++)
    reads(references[i], numbered(i));
}

static void distinguishes_case(void) {
  sdb_ref gold = add("gold"), capital = add("Gold");
  reads(gold, "gold");
  reads(capital, "Gold");
}

static void distinguishes_texts_with_a_common_part(void) {
  static const char *const texts[] = {"premium-access",
                                      "premium-access-2",
                                      "premium-accounting",
                                      "premium",
                                      "premium-",
                                      "a-premium-access",
                                      "another-premium-a",
                                      "access",
                                      "acces",
                                      "cess",
                                      "premium access"};
  sdb_ref references[COUNT_OF(texts)];
  for (size_t i = 0; i < COUNT_OF(texts); i++)
    references[i] = add(texts[i]);
  for (size_t i = 0; i < COUNT_OF(texts); i++)
    reads(references[i], texts[i]);
}

static void counts_additions(void) {
  sdb_ref first = add("gold"), second = add("gold"), third = add("gold");
  sdb_remove_block(first, kTag);
  reads(second, "gold");
  sdb_remove_block(second, kTag);
  reads(third, "gold");
}

static void removal_accepts_any_tag(void) {
  EXPECT(sdb_remove_block(add("gold"), kTag) != 0, "it returned 0 for a text that was added");
  EXPECT(sdb_remove_block(add("silver"), kTag + 1) != 0, "it refused a tag that differs from the tag of the addition");
}

static void accepts_a_text_again(void) {
  for (int i = 0; i < 1000; i++) {
    sdb_ref reference = add("gold");
    reads(reference, "gold");
    sdb_remove_block(reference, kTag);
  }
}

static void removed_texts_make_room(void) {
  static char text[kPiece];
  zar_platform_check_has_not_grown(kMostOfScraps);
  for (int i = 0; i < kScraps; i++) {
    snprintf(text, kRoom, "%d", i);
    sdb_remove_block(add(text), kTag);
  }
  zar_platform_check_has_not_grown(kMostOfScraps);
  for (int i = 0; i < kPieces; i++) {
    memset(text, 'x', sizeof text - 1);
    snprintf(text, kRoom, "%08d", i);
    text[8] = 'x';
    sdb_remove_block(add(text), kTag);
  }
  zar_platform_check_has_not_grown(kMostOfPieces);
}

static void removal_does_not_affect_other_texts(void) {
  static const char *const texts[] = {"gold", "silver", "bronze", "iron"};
  sdb_ref references[COUNT_OF(texts)];
  for (size_t i = 0; i < COUNT_OF(texts); i++)
    references[i] = add(texts[i]);
  sdb_remove_block(references[1], kTag);
  sdb_remove_block(references[3], kTag);
  reads(references[0], "gold");
  reads(references[2], "bronze");
}

/* Printing code keeps the address while other texts come and go. */
static void live_text_does_not_move(void) {
  sdb_ref kept = add("gold"), others[kMany];
  const char *address = sdb_string_addr_ptr(kept), *now;
  for (int i = 0; i < kMany; i++)
    others[i] = add(numbered(i));
  now = sdb_string_addr_ptr(kept);
  EXPECT(now == address, "the text moved from %p to %p when others were added", (const void *)address,
         (const void *)now);
  for (int i = 0; i < kMany; i++)
    sdb_remove_block(others[i], kTag);
  now = sdb_string_addr_ptr(kept);
  EXPECT(now == address, "the text moved from %p to %p when others were removed", (const void *)address,
         (const void *)now);
}

static const Promise promises[] = {
    {1, "sdb_add_block", "keeps texts of any length and terminates them", keeps_texts_of_any_length},
    {2, "sdb_add_block", "keeps the empty text", keeps_the_empty_text},
    {3, "sdb_add_block", "needs the text only during the call", argument_is_not_kept},
    {4, "sdb_add_block", "keeps different texts apart", keeps_texts_apart},
    {5, "sdb_add_block", "distinguishes upper and lower case", distinguishes_case},
    {6, "sdb_add_block", "distinguishes texts with a common beginning or end", distinguishes_texts_with_a_common_part},
    {7, "sdb_remove_block", "keeps a text until it was removed as often as it was added", counts_additions},
    {8, "sdb_remove_block", "returns non-zero for a text that is kept, whatever the tag", removal_accepts_any_tag},
    {9, "sdb_remove_block", "lets the text be added again", accepts_a_text_again},
    {10, "sdb_remove_block", "does not affect other texts", removal_does_not_affect_other_texts},
    {12, "sdb_remove_block", "lets the memory of a text be used again", removed_texts_make_room},
    {11, "sdb_string_addr_ptr", "returns the same address as long as the text is kept", live_text_does_not_move},
};
const Group zar_platform_check_texts = {"texts", "sdb", promises, COUNT_OF(promises), NULL};
