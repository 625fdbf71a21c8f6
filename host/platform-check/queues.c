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

/* A new queue of the elements named in 'names', in that order. */
static void fill(queue_head *queue, const char *names) {
  start(queue);
  for (; *names; names++)
    queue_enqueue(queue, &elements[*names - 'a']);
}

/* The queue holds exactly these elements, by a walk and by its count. */
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
  EXPECT(queue->count == strlen(names), "the count of '%s' is %u", names, queue->count);
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

static void takes_many(void) {
  enum { kMany = 10000 };
  Element *many = calloc(kMany, sizeof *many);
  queue_head queue;
  queue_cursor cursor = {NULL};
  start(&queue);
  if (!many) abort();
  for (int i = 0; i < kMany; i++)
    queue_enqueue(&queue, &many[i]);
  EXPECT(queue.count == kMany, "of %d elements it counts %u", kMany, queue.count);
  for (int i = 0; i < kMany; i++) {
    EXPECT(queue_get_next(&queue, &cursor) == &many[i], "element %d of %d is not at its place", i, kMany);
  }
}

static void dequeues_from_the_head(void) {
  queue_head queue;
  fill(&queue, "abc");
  EXPECT(queue_dequeue(&queue) == a, "it did not give the first element");
  holds(&queue, "bc");
  queue_enqueue(&queue, a);
  holds(&queue, "bca");
}

static void dequeues_until_empty(void) {
  queue_head queue;
  fill(&queue, "a");
  queue_dequeue(&queue);
  EXPECT(queue_dequeue(&queue) == NULL, "an empty queue gave an element");
  holds(&queue, "");
  queue_enqueue(&queue, b);
  holds(&queue, "b");
}

static void inserts_behind(void) {
  queue_head queue;
  fill(&queue, "abc");
  queue_insqueue(&queue, d, b);
  holds(&queue, "abdc");
}

static void inserts_behind_the_tail(void) {
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

static void unqueues_anywhere(void) {
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

static void unqueues_the_only_one(void) {
  queue_head queue;
  fill(&queue, "a");
  queue_unqueue(&queue, a);
  holds(&queue, "");
  queue_enqueue(&queue, b);
  holds(&queue, "b");
}

static void passes_over_the_absent(void) {
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
static void stands_in_several_queues(void) {
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
static void stands_several_times_in_one(void) {
  queue_head queue;
  fill(&queue, "aba");
  holds(&queue, "aba");
  queue_unqueue(&queue, a);
  holds(&queue, "ba");
}

static void element_is_left_alone(void) {
  queue_head queue;
  fill(&queue, "abc");
  queue_unqueue(&queue, b);
  for (int i = 0; i < kElements; i++) {
    EXPECT(elements[i].name == 'a' + i, "it wrote behind the link of an element");
  }
}

/* Like every deletion: fetch the next one, then remove and free the previous one. */
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
  int n_seen = 0;
  while (current) {
    Element *next = queue_get_next(&queue, &cursor);
    EXPECT(current->name == 'a' + n_seen, "element %d of the walk is '%c'", n_seen, current->name);
    n_seen++;
    queue_unqueue(&queue, current);
    memset(current, 0xa5, sizeof *current);
    free(current);
    current = next;
  }
  EXPECT(n_seen == kMany, "the walk saw %d of %d elements", n_seen, (int)kMany);
  EXPECT(queue.count == 0, "%u elements are left of a queue that was emptied", queue.count);
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
    EXPECT(*wanted == seen->name, "after insertions the walk goes on with '%c' instead of '%c'", seen->name,
           *wanted ? *wanted : '-');
  }
  EXPECT(*wanted == '\0', "after insertions the walk ended before '%s'", wanted);
}

static const Promise promises[] = {
    {"queue_init", "makes an empty queue, whatever the memory held", starts_empty},
    {"queue_enqueue", "puts elements at the tail, and counts them", enqueues_at_the_tail},
    {"queue_enqueue", "takes any number of elements when the limit is 0", takes_many},
    {"queue_enqueue", "takes an element that stands in another queue", stands_in_several_queues},
    {"queue_enqueue", "takes an element that stands in the same queue", stands_several_times_in_one},
    {"queue_enqueue", "writes nothing of an element but its first word", element_is_left_alone},
    {"queue_dequeue", "takes the head", dequeues_from_the_head},
    {"queue_dequeue", "answers NULL for an empty queue, which stays usable", dequeues_until_empty},
    {"queue_get_next", "goes on when the element before has been taken out and freed", walk_survives_removal},
    {"queue_get_next", "goes on when elements are inserted around the cursor", walk_survives_insertion},
    {"queue_insqueue", "puts an element right behind another", inserts_behind},
    {"queue_insqueue", "makes an element behind the tail the new tail", inserts_behind_the_tail},
    {"queue_requeue", "puts an element at the head", requeues_at_the_head},
    {"queue_requeue", "makes an element in an empty queue the tail as well", requeues_into_an_empty_queue},
    {"queue_unqueue", "takes an element out wherever it stands", unqueues_anywhere},
    {"queue_unqueue", "leaves an empty queue usable", unqueues_the_only_one},
    {"queue_unqueue", "does nothing about an element that is not in the queue", passes_over_the_absent},
};
const Group queues = {"queues", promises, COUNT_OF(promises)};
