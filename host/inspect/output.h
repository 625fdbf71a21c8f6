/*
 * What the inspection writes: pieces that are collected in a small buffer, and the two notations that are built from
 * them. Once the caller's function has refused a piece, everything else is discarded.
 */
#ifndef INSPECT_OUTPUT_H
#define INSPECT_OUTPUT_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#include "platform/runtime.h"
#include "zar/inspect.h"

typedef struct Output {
  zar_inspect_write_fn write;
  void *context;
  bool refused;      /* 'write' ended the inspection */
  bool comma_is_due; /* in JSON: a value precedes in the same object or array */
  size_t used;       /* bytes of the buffer */
  char buffer[1024];
} Output;

void zar_inspect_put(Output *out, const char *text);
/* For numbers and words: at most 63 bytes. */
void zar_inspect_putf(Output *out, const char *format, ...) PLATFORM_PRINTF(2, 3);
/* A name or a text that came from a client: control characters are written as \xHH, so that it stays in its line. */
void zar_inspect_put_name(Output *out, const char *text);
/* Passes on what is in the buffer. */
void zar_inspect_flush(Output *out);

/* JSON: a bracket or a value brings the comma that is due; a key belongs to the value that follows it. */
void zar_inspect_open(Output *out, const char *bracket);
void zar_inspect_close(Output *out, const char *bracket);
void zar_inspect_key(Output *out, const char *key);
void zar_inspect_number(Output *out, const char *key, uint32_t number);
void zar_inspect_bool(Output *out, const char *key, bool value);
/* NULL is written as null; bytes that are not UTF-8 are replaced by U+FFFD. */
void zar_inspect_text(Output *out, const char *key, const char *text);
/* An element of an array, made of several texts; NULL counts as empty. */
void zar_inspect_element(Output *out, const char *const texts[], size_t n_texts);

#endif
