#include "host/inspect/output.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>

void zar_inspect_flush(Output *out) {
  if (out->used > 0 && !out->refused) out->refused = out->write(out->context, out->buffer, out->used) != 0;
  out->used = 0;
}

static void put_bytes(Output *out, const char *bytes, size_t size) {
  while (size > 0) {
    size_t room = sizeof out->buffer - out->used;
    size_t part = size < room ? size : room;
    memcpy(out->buffer + out->used, bytes, part);
    out->used += part;
    bytes += part;
    size -= part;
    if (out->used == sizeof out->buffer) zar_inspect_flush(out);
  }
}

void zar_inspect_put(Output *out, const char *text) {
  put_bytes(out, text, strlen(text));
}

void zar_inspect_putf(Output *out, const char *format, ...) {
  char piece[64];
  va_list values;
  va_start(values, format);
  vsnprintf(piece, sizeof piece, format, values);
  va_end(values);
  zar_inspect_put(out, piece);
}

static bool is_control(unsigned char byte) {
  return byte < 0x20 || byte == 0x7f;
}

void zar_inspect_put_name(Output *out, const char *text) {
  for (; *text; ++text) {
    unsigned char byte = (unsigned char)*text;
    if (is_control(byte))
      zar_inspect_putf(out, "\\x%02x", byte);
    else
      put_bytes(out, text, 1);
  }
}

/* ---- JSON ---- */

/* What the first byte of a character in UTF-8 says: the number of bytes, and the range of the second one, which excludes
   overlong forms, surrogates and what is above U+10FFFF. */
typedef struct Lead {
  unsigned char first, last, length, second_from, second_to;
} Lead;
static const Lead leads[] = {
    {0x00, 0x7f, 1, 0, 0},       {0xc2, 0xdf, 2, 0x80, 0xbf}, {0xe0, 0xe0, 3, 0xa0, 0xbf},
    {0xe1, 0xec, 3, 0x80, 0xbf}, {0xed, 0xed, 3, 0x80, 0x9f}, {0xee, 0xef, 3, 0x80, 0xbf},
    {0xf0, 0xf0, 4, 0x90, 0xbf}, {0xf1, 0xf3, 4, 0x80, 0xbf}, {0xf4, 0xf4, 4, 0x80, 0x8f},
};

static bool is_within(unsigned char byte, unsigned char from, unsigned char to) {
  return from <= byte && byte <= to;
}

static const Lead *lead_of(unsigned char byte) {
  for (size_t at = 0; at < sizeof leads / sizeof leads[0]; ++at)
    if (is_within(byte, leads[at].first, leads[at].last)) return &leads[at];
  return NULL;
}

/* The bytes of the character at the beginning of the text, or 0 if there is none. A text that ends too early is noticed
   at its NUL, which continues no character. */
static size_t character_length(const char *text) {
  const Lead *lead = lead_of((unsigned char)text[0]);
  if (!lead) return 0;
  if (lead->length > 1 && !is_within((unsigned char)text[1], lead->second_from, lead->second_to)) return 0;
  for (size_t at = 2; at < lead->length; ++at)
    if (!is_within((unsigned char)text[at], 0x80, 0xbf)) return 0;
  return lead->length;
}

static void put_character(Output *out, const char *character, size_t length) {
  unsigned char byte = (unsigned char)*character;
  if (length == 0)
    zar_inspect_put(out, "\\ufffd");
  else if (byte == '"' || byte == '\\')
    zar_inspect_putf(out, "\\%c", byte);
  else if (is_control(byte))
    zar_inspect_putf(out, "\\u%04x", byte);
  else
    put_bytes(out, character, length);
}

static void put_escaped(Output *out, const char *text) {
  while (*text) {
    size_t length = character_length(text);
    put_character(out, text, length);
    text += length > 0 ? length : 1;
  }
}

static void begin_value(Output *out) {
  if (out->comma_is_due) zar_inspect_put(out, ",");
  out->comma_is_due = true;
}

void zar_inspect_open(Output *out, const char *bracket) {
  begin_value(out);
  zar_inspect_put(out, bracket);
  out->comma_is_due = false;
}

void zar_inspect_close(Output *out, const char *bracket) {
  zar_inspect_put(out, bracket);
  out->comma_is_due = true;
}

void zar_inspect_key(Output *out, const char *key) {
  begin_value(out);
  zar_inspect_put(out, "\"");
  zar_inspect_put(out, key);
  zar_inspect_put(out, "\":");
  out->comma_is_due = false;
}

void zar_inspect_number(Output *out, const char *key, uint32_t number) {
  zar_inspect_key(out, key);
  begin_value(out);
  zar_inspect_putf(out, "%lu", (unsigned long)number);
}

void zar_inspect_bool(Output *out, const char *key, bool value) {
  zar_inspect_key(out, key);
  begin_value(out);
  zar_inspect_put(out, value ? "true" : "false");
}

void zar_inspect_text(Output *out, const char *key, const char *text) {
  zar_inspect_key(out, key);
  if (text) {
    zar_inspect_element(out, &text, 1);
    return;
  }
  begin_value(out);
  zar_inspect_put(out, "null");
}

void zar_inspect_element(Output *out, const char *const texts[], size_t n_texts) {
  begin_value(out);
  zar_inspect_put(out, "\"");
  for (size_t at = 0; at < n_texts; ++at)
    if (texts[at]) put_escaped(out, texts[at]);
  zar_inspect_put(out, "\"");
}
