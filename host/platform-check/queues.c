#include <stdlib.h>
#include <string.h>

#include "check.h"
#include "platform/runtime.h"

/* An element, like the library's records: the link first, followed by data that the service must not touch. */
typedef struct Element {
  queue_link link;
  char name;
} Element;

enum { kElements = 6 };
static Element elements[kElements];
static Element *const a = &elements[0], *const b = &elements[1], *const c = &elements[2], *const d = &elements[3];

static void start(queue_head *queue) {
  for (int i = 0; i < kElements; i++)
    elements[i] = (Element){.name = (char)('a' + i)};
  memset(queue, 0xa5, sizeof *queue);
  queue_init(queue, 0);
}

/* Initialises the queue and fills it with the elements named in 'names', in that order. */
static void fill(queue_head *queue, const char *names) {
  start(queue);
  for (; *names; names++)
    queue_enqueue(queue, &elements[*names - 'a']);
}

/* A walk of the queue returns exactly these elements, and its count is their number. */
static void holds(const queue_head *queue, const char *names) {
  char found[32] = "";
  size_t n_found = 0;
  queue_cursor cursor = {NULL};
  const Element *element;
  while ((element = queue_get_next(queue, &cursor)) != NULL && n_found + 1 < sizeof found) {
    found[n_found++] = element->name;
  }
  found[n_found] = '\0';
  EXPECT(strcmp(found, names) == 0, "the queue holds '%s' instead of '%s'", found, names);
  EXPECT(queue->count == strlen(names), "the queue holds '%s', but its count is %u", names, queue->count);
}

static void starts_empty(void) {
  queue_head queue;
  start(&queue);
  holds(&queue, "");
}

static void enqueues_at_the_tail(void) {
  queue_head queue;
  fill(&queue, "abc");
  holds(&queue, "abc");
}

static void holds_many_elements(void) {
  enum { kMany = 10000 };
  Element *many = calloc(kMany, sizeof *many);
  queue_head queue;
  queue_cursor cursor = {NULL};
  start(&queue);
  if (!many) abort();
  for (int i = 0; i < kMany; i++)
    queue_enqueue(&queue, &many[i]);
  EXPECT(queue.count == kMany, "it counts %u elements instead of %d", queue.count, kMany);
  for (int i = 0; i < kMany; i++) {
    EXPECT(queue_get_next(&queue, &cursor) == &many[i], "element %d of %d is not in its place", i, kMany);
  }
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

static void requeues_at_the_head(void) {
  queue_head queue;
  fill(&queue, "ab");
  queue_requeue(&queue, c);
  holds(&queue, "cab");
}

static void requeues_into_an_empty_queue(void) {
  queue_head queue;
  start(&queue);
  queue_requeue(&queue, a);
  queue_enqueue(&queue, b);
  holds(&queue, "ab");
}

static void unqueues_any_element(void) {
  static const char *const left[] = {"bc", "ac", "ab"};
  for (int i = 0; i < 3; i++) {
    queue_head queue;
    char with_d[8];
    fill(&queue, "abc");
    queue_unqueue(&queue, &elements[i]);
    holds(&queue, left[i]);
    queue_enqueue(&queue, d);
    memcpy(with_d, left[i], 2);
    memcpy(with_d + 2, "d", 2);
    holds(&queue, with_d);
  }
}

static void unqueues_the_only_element(void) {
  queue_head queue;
  fill(&queue, "a");
  queue_unqueue(&queue, a);
  holds(&queue, "");
  queue_enqueue(&queue, b);
  holds(&queue, "b");
}

static void ignores_an_absent_element(void) {
  queue_head queue, other;
  fill(&queue, "ab");
  queue_init(&other, 0);
  queue_enqueue(&other, c);
  queue_unqueue(&queue, c);
  queue_unqueue(&queue, d);
  holds(&queue, "ab");
  holds(&other, "c");
}

/* A shared action is in the rules of several policies. */
static void element_is_in_several_queues(void) {
  queue_head one, other;
  fill(&one, "abc");
  queue_init(&other, 0);
  queue_enqueue(&other, c);
  queue_enqueue(&other, b);
  holds(&one, "abc");
  holds(&other, "cb");
  queue_unqueue(&one, b);
  holds(&one, "ac");
  holds(&other, "cb");
}

/* The target list of a notification holds the same target once for each call. */
static void element_is_in_a_queue_several_times(void) {
  queue_head queue;
  fill(&queue, "aba");
  holds(&queue, "aba");
  queue_unqueue(&queue, a);
  holds(&queue, "ba");
}

static void only_the_link_is_written(void) {
  queue_head queue;
  fill(&queue, "abc");
  queue_unqueue(&queue, b);
  for (int i = 0; i < kElements; i++) {
    EXPECT(elements[i].name == 'a' + i, "it wrote past the link of an element");
  }
}

/* As the library does in every deletion: fetch the next element, then remove and free the previous one. */
static void walk_survives_removal(void) {
  enum { kMany = 8 };
  queue_head queue;
  queue_cursor cursor = {NULL};
  start(&queue);
  for (int i = 0; i < kMany; i++) {
    Element *new_element = malloc(sizeof *new_element);
    if (!new_element) abort();
    *new_element = (Element){.name = (char)('a' + i)};
    queue_enqueue(&queue, new_element);
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
  EXPECT(n_visited == kMany, "the walk returned %d of %d elements", n_visited, (int)kMany);
  EXPECT(queue.count == 0, "the count of a queue that was emptied is %u", queue.count);
}

static void walk_survives_insertion(void) {
  queue_head queue;
  queue_cursor cursor = {NULL};
  fill(&queue, "abc");
  queue_get_next(&queue, &cursor);
  queue_requeue(&queue, d);
  queue_insqueue(&queue, &elements[4], a);
  queue_enqueue(&queue, &elements[5]);
  const char *wanted = "ebcf";
  for (const Element *seen; (seen = queue_get_next(&queue, &cursor)) != NULL; wanted++) {
    EXPECT(*wanted == seen->name, "after insertions, the walk continues with '%c' instead of '%c'", seen->name,
           *wanted ? *wanted : '-');
  }
  EXPECT(*wanted == '\0', "after insertions, the walk ended before '%s'", wanted);
}

static const Promise promises[] = {
    {"queue_init", "initialises an empty queue, whatever the memory contained", starts_empty},
    {"queue_enqueue", "adds elements at the tail and counts them", enqueues_at_the_tail},
    {"queue_enqueue", "accepts any number of elements if the limit is 0", holds_many_elements},
    {"queue_enqueue", "accepts an element that is in another queue", element_is_in_several_queues},
    {"queue_enqueue", "accepts an element that is already in the queue", element_is_in_a_queue_several_times},
    {"queue_enqueue", "writes only to the first word of an element", only_the_link_is_written},
    {"queue_dequeue", "removes the head and returns it", dequeues_from_the_head},
    {"queue_dequeue", "returns NULL for an empty queue, which stays usable", dequeues_until_empty},
    {"queue_get_next", "continues after the previous element was removed and freed", walk_survives_removal},
    {"queue_get_next", "continues after elements were inserted around the cursor", walk_survives_insertion},
    {"queue_insqueue", "inserts an element right after another", inserts_after_an_element},
    {"queue_insqueue", "updates the tail if it inserts an element after the tail", inserts_after_the_tail},
    {"queue_requeue", "inserts an element at the head", requeues_at_the_head},
    {"queue_requeue", "updates the tail too if the queue is empty", requeues_into_an_empty_queue},
    {"queue_unqueue", "removes an element wherever it is in the queue", unqueues_any_element},
    {"queue_unqueue", "leaves a usable queue after it removes the only element", unqueues_the_only_element},
    {"queue_unqueue", "ignores an element that is not in the queue", ignores_an_absent_element},
};
const Group queues = {"queues", promises, COUNT_OF(promises)};
