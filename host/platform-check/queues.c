#include <stdlib.h>
#include <string.h>

#include "check.h"
#include "platform/runtime.h"

/* An element, like the library's records: the link first, followed by data that the service must not touch. */
typedef struct Element {
  queue_link link;
  void *untouched;
  char name;
} Element;

enum { kElements = 6, kMany = 8000, kLong = 300 };
static Element elements[kElements];
static Element *const a = &elements[0], *const b = &elements[1], *const c = &elements[2], *const d = &elements[3],
                      *const e = &elements[4], *const f = &elements[5];

static void start(queue_head *queue) {
  memset(queue, 0, sizeof *queue);
  queue_init(queue, 0);
}

static void append(queue_head *queue, const char *names) {
  for (; *names; names++)
    queue_enqueue(queue, &elements[*names - 'a']);
}

/* Renews the elements, and fills a new queue with those named in 'names', in that order. */
static void fill(queue_head *queue, const char *names) {
  for (int i = 0; i < kElements; i++)
    elements[i] = (Element){.untouched = &elements[i], .name = (char)('a' + i)};
  start(queue);
  append(queue, names);
}

static Element *new_elements(int n_elements) {
  Element *many = calloc((size_t)n_elements, sizeof *many);
  if (!many) abort();
  return many;
}

/* A walk of the queue returns exactly these elements. */
static void holds(const queue_head *queue, const char *names) {
  char found[32] = "";
  size_t n_found = 0;
  queue_cursor cursor = {NULL};
  const Element *element;
  while (n_found + 1 < sizeof found && (element = queue_get_next(queue, &cursor)) != NULL)
    found[n_found++] = element->name;
  found[n_found] = '\0';
  EXPECT(strcmp(found, names) == 0, "the queue holds '%s' instead of '%s'", found, names);
}

/* The queue gives these elements from its head. */
static void gives(queue_head *queue, const char *names) {
  for (const char *name = names; *name; name++) {
    const Element *element = queue_dequeue(queue);
    EXPECT(element, "the queue is empty before it gave '%s'", name);
    EXPECT(element->name == *name, "the queue gives '%c' instead of '%c' of '%s'", element->name, *name, names);
  }
}

static void starts_empty(void) {
  queue_head queue;
  memset(&queue, 0xa5, sizeof queue);
  queue_init(&queue, 0);
  holds(&queue, "");
  EXPECT(queue.count == 0, "its count is %u", queue.count);
}

static void enqueues_at_the_tail(void) {
  Element *many = new_elements(kMany);
  queue_head queue;
  queue_cursor cursor = {NULL};
  fill(&queue, "abc");
  holds(&queue, "abc");
  start(&queue);
  for (int i = 0; i < kMany; i++)
    queue_enqueue(&queue, &many[i]);
  for (int i = 0; i < kMany; i++)
    EXPECT(queue_get_next(&queue, &cursor) == &many[i], "element %d of %d is not in its place", i, (int)kMany);
  EXPECT(queue_get_next(&queue, &cursor) == NULL, "there are more elements than were added");
}

static void counts(const queue_head *queue, uint32_t wanted, const char *when) {
  EXPECT(queue->count == wanted, "the count is %u instead of %u %s", queue->count, wanted, when);
}

static void elements_are_counted(void) {
  queue_head queue;
  fill(&queue, "ab");
  counts(&queue, 2, "after two calls of queue_enqueue");
  queue_requeue(&queue, c);
  counts(&queue, 3, "after queue_requeue");
  queue_insqueue(&queue, d, a);
  counts(&queue, 4, "after queue_insqueue");
  queue_unqueue(&queue, a);
  counts(&queue, 3, "after queue_unqueue");
  queue_dequeue(&queue);
  counts(&queue, 2, "after queue_dequeue");
}

/* A shared action is in the rules of several policies. */
static void element_is_in_several_queues(void) {
  queue_head one, other;
  fill(&one, "abc");
  start(&other);
  append(&other, "cb");
  holds(&one, "abc");
  holds(&other, "cb");
  queue_unqueue(&one, b);
  holds(&one, "ac");
  holds(&other, "cb");
}

/* The target list of a notification holds the same target once for each call. */
static void element_is_in_a_queue_several_times(void) {
  queue_head queue;
  fill(&queue, "abaa");
  gives(&queue, "abaa");
}

static void only_the_link_is_written(void) {
  queue_head queue;
  fill(&queue, "abc");
  queue_requeue(&queue, d);
  queue_insqueue(&queue, e, b);
  queue_unqueue(&queue, b);
  queue_dequeue(&queue);
  for (int i = 0; i < kElements; i++)
    EXPECT(elements[i].untouched == &elements[i] && elements[i].name == 'a' + i, "it wrote past the link of '%c'",
           'a' + i);
}

static void dequeues_from_the_head(void) {
  queue_head queue;
  fill(&queue, "abc");
  EXPECT(queue_dequeue(&queue) == a, "it did not return the first element");
  holds(&queue, "bc");
  queue_enqueue(&queue, a);
  holds(&queue, "bca");
}

static void dequeues_until_empty(void) {
  queue_head queue;
  fill(&queue, "a");
  queue_dequeue(&queue);
  EXPECT(queue_dequeue(&queue) == NULL, "it returned an element for an empty queue");
  holds(&queue, "");
  queue_enqueue(&queue, b);
  holds(&queue, "b");
}

/* A cursor is a position, not an element: one element may have several positions. */
static void walk_returns_all(void) {
  queue_head queue;
  fill(&queue, "bac");
  queue_requeue(&queue, a);
  holds(&queue, "abac");
}

/* As the library does in every deletion: fetch the next element, then remove and free the previous one. */
static void walk_survives_removal(void) {
  enum { kFew = 8 };
  queue_head queue;
  queue_cursor cursor = {NULL};
  start(&queue);
  for (int i = 0; i < kFew; i++) {
    Element *element = new_elements(1);
    element->name = (char)('a' + i);
    queue_enqueue(&queue, element);
  }
  Element *current = queue_get_next(&queue, &cursor);
  int n_visited = 0;
  while (current) {
    Element *next = queue_get_next(&queue, &cursor);
    EXPECT(current->name == 'a' + n_visited, "element %d of the walk is '%c'", n_visited, current->name);
    n_visited++;
    queue_unqueue(&queue, current);
    memset(current, 0xa5, sizeof *current);
    free(current);
    current = next;
  }
  EXPECT(n_visited == kFew, "the walk returned %d of %d elements", n_visited, (int)kFew);
}

static void continues_with(const queue_head *queue, queue_cursor *cursor, char wanted) {
  const Element *element = queue_get_next(queue, cursor);
  EXPECT(element, "the walk ends before '%c'", wanted);
  EXPECT(element->name == wanted, "the walk continues with '%c' instead of '%c'", element->name, wanted);
}

static void walk_survives_insertion(void) {
  queue_head queue;
  queue_cursor cursor = {NULL};
  fill(&queue, "abc");
  continues_with(&queue, &cursor, 'a');
  queue_insqueue(&queue, e, a);
  queue_enqueue(&queue, f);
  continues_with(&queue, &cursor, 'e');
  queue_requeue(&queue, d);
  continues_with(&queue, &cursor, 'b');
  continues_with(&queue, &cursor, 'c');
  continues_with(&queue, &cursor, 'f');
  EXPECT(queue_get_next(&queue, &cursor) == NULL, "the walk does not end");
}

/* A callback walks the list for which it is called. */
static void several_walks_go_on(void) {
  queue_head queue;
  queue_cursor one = {NULL}, other = {NULL};
  fill(&queue, "abc");
  continues_with(&queue, &one, 'a');
  continues_with(&queue, &other, 'a');
  continues_with(&queue, &other, 'b');
  continues_with(&queue, &one, 'b');
  continues_with(&queue, &one, 'c');
  continues_with(&queue, &other, 'c');
}

static void inserts_after_an_element(void) {
  queue_head queue;
  fill(&queue, "abc");
  queue_insqueue(&queue, d, b);
  holds(&queue, "abdc");
}

static void inserts_after_the_tail(void) {
  queue_head queue;
  fill(&queue, "ab");
  queue_insqueue(&queue, c, b);
  queue_enqueue(&queue, d);
  holds(&queue, "abcd");
}

static void inserts_after_the_first_occurrence(void) {
  queue_head queue;
  fill(&queue, "bac");
  queue_requeue(&queue, a);
  queue_insqueue(&queue, d, a);
  gives(&queue, "adbac");
}

static void requeues_at_the_head(void) {
  queue_head queue;
  fill(&queue, "ab");
  queue_requeue(&queue, c);
  holds(&queue, "cab");
}

static void requeues_into_an_empty_queue(void) {
  queue_head queue;
  fill(&queue, "");
  queue_requeue(&queue, a);
  queue_enqueue(&queue, b);
  holds(&queue, "ab");
}

static void unqueues_from_a_short_queue(void) {
  static const char *const left[] = {"bcd", "acd", "abd"};
  for (int i = 0; i < 3; i++) {
    queue_head queue;
    fill(&queue, "abc");
    queue_unqueue(&queue, &elements[i]);
    queue_enqueue(&queue, d);
    holds(&queue, left[i]);
  }
}

/* Sessions end in any order; each one that is left stays in its place. */
static void unqueues_from_a_long_queue(void) {
  Element *many = new_elements(kLong);
  queue_head queue;
  queue_cursor cursor = {NULL};
  start(&queue);
  for (int i = 0; i < kLong; i++)
    queue_enqueue(&queue, &many[i]);
  for (int i = 0; i < kLong; i++)
    if (i % 3) queue_unqueue(&queue, &many[i * 77 % kLong]);
  for (int i = 0; i < kLong; i++) {
    int turn = 0;
    while (turn * 77 % kLong != i)
      turn++;
    if (turn % 3) continue;
    EXPECT(queue_get_next(&queue, &cursor) == &many[i], "element %d of %d is not in its place", i, (int)kLong);
  }
  EXPECT(queue_get_next(&queue, &cursor) == NULL, "an element is left that was removed");
}

static void unqueues_any_element(void) {
  unqueues_from_a_short_queue();
  unqueues_from_a_long_queue();
}

static void unqueues_the_only_element(void) {
  queue_head queue;
  fill(&queue, "a");
  queue_unqueue(&queue, a);
  holds(&queue, "");
  queue_enqueue(&queue, b);
  holds(&queue, "b");
}

static void unqueues_the_first_occurrence(void) {
  queue_head queue;
  fill(&queue, "bac");
  queue_requeue(&queue, a);
  queue_unqueue(&queue, a);
  holds(&queue, "bac");
}

static void ignores_an_absent_element(void) {
  queue_head queue;
  fill(&queue, "ab");
  queue_unqueue(&queue, c);
  holds(&queue, "ab");
  fill(&queue, "");
  queue_unqueue(&queue, c);
  holds(&queue, "");
}

/* An action that is asked of the wrong rule stays in its own one, and so do those after it. */
static void absent_element_stays_elsewhere(void) {
  queue_head queue, other;
  fill(&queue, "ab");
  start(&other);
  append(&other, "cde");
  queue_unqueue(&queue, d);
  holds(&other, "cde");
  queue_unqueue(&queue, e);
  queue_enqueue(&other, f);
  holds(&other, "cdef");
}

/* The element stays in the first queue, so that in the second it needs an entry. */
static void leave_nothing_in_a_queue_of(int n_elements) {
  queue_head first, second;
  fill(&first, "a");
  start(&second);
  Element *others = new_elements(n_elements);
  for (int i = 0; i < n_elements; i++)
    queue_enqueue(&second, &others[i]);
  zar_platform_check_has_not_grown(kMostOfScraps);
  for (int i = 0; i < kScraps; i++) {
    queue_requeue(&second, a);
    queue_unqueue(&second, a);
    queue_requeue(&second, a);
    queue_dequeue(&second);
  }
  zar_platform_check_has_not_grown(kMostOfScraps);
  free(others);
}

static void removed_elements_leave_nothing(void) {
  leave_nothing_in_a_queue_of(1);
  leave_nothing_in_a_queue_of(kLong);
}

static const Promise promises[] = {
    {1, "queue_init", "makes an empty queue, whatever the memory contained", starts_empty},
    {2, "queue_enqueue", "adds elements at the tail, any number of them", enqueues_at_the_tail},
    {3, "queue_enqueue", "counts the elements in 'count', like all services", elements_are_counted},
    {4, "queue_enqueue", "accepts an element that is in another queue", element_is_in_several_queues},
    {5, "queue_enqueue", "accepts an element that is already in the queue", element_is_in_a_queue_several_times},
    {6, "queue_enqueue", "writes only to the first word of an element, like all services", only_the_link_is_written},
    {7, "queue_dequeue", "removes the head and returns it, fit for any queue", dequeues_from_the_head},
    {8, "queue_dequeue", "returns NULL for an empty queue, which stays usable", dequeues_until_empty},
    {9, "queue_get_next", "returns each occurrence of an element, and NULL after the last", walk_returns_all},
    {10, "queue_get_next", "continues after the previous element was removed and freed", walk_survives_removal},
    {11, "queue_get_next", "continues after elements were inserted anywhere", walk_survives_insertion},
    {12, "queue_get_next", "lets several walks of one queue go on at once", several_walks_go_on},
    {13, "queue_insqueue", "inserts an element right after another", inserts_after_an_element},
    {14, "queue_insqueue", "makes an element that follows the tail the tail", inserts_after_the_tail},
    {15, "queue_insqueue", "inserts after the first occurrence of the predecessor", inserts_after_the_first_occurrence},
    {16, "queue_requeue", "inserts an element at the head", requeues_at_the_head},
    {17, "queue_requeue", "makes an element of an empty queue the tail too", requeues_into_an_empty_queue},
    {18, "queue_unqueue", "removes an element wherever it is in the queue", unqueues_any_element},
    {19, "queue_unqueue", "leaves a usable queue after it removes the only element", unqueues_the_only_element},
    {20, "queue_unqueue", "removes the first occurrence of an element", unqueues_the_first_occurrence},
    {21, "queue_unqueue", "ignores an element that is not in the queue", ignores_an_absent_element},
    {22, "queue_unqueue", "does not touch the link of an element that is not in the queue",
     absent_element_stays_elsewhere},
    {23, "queue_unqueue", "lets the memory of an entry be used again, like queue_dequeue",
     removed_elements_leave_nothing},
};
const Group zar_platform_check_queues = {"queues", "queue", promises, COUNT_OF(promises), NULL};
