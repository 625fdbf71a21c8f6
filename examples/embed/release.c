/* Which release of the library is loaded, for a daemon's log: the library's file has it in a note of the owner "zar". It
 * makes no difference whether the daemon was linked with the library or has loaded it. */
#define _GNU_SOURCE
#include <elf.h>
#include <link.h>
#include <stdio.h>
#include <string.h>

#include "zar/zar.h"

static size_t padded(size_t size) { return (size + 3) / 4 * 4; }

/* The text of the note among the notes of a segment, or NULL. */
static const char *release_among(const char *note, const char *end) {
  while (note + sizeof(ElfW(Nhdr)) <= end) {
    const ElfW(Nhdr) *head = (const void *)note;
    const char *owner = note + sizeof *head;
    const char *text = owner + padded(head->n_namesz);
    if (head->n_namesz == 4 && head->n_type == 1 && memcmp(owner, "zar", 4) == 0) return text;
    note = text + padded(head->n_descsz);
  }
  return NULL;
}

/* Called for each loaded file until one has the note. */
static int look_into(struct dl_phdr_info *file, size_t size, void *release) {
  (void)size;
  for (int i = 0; i < file->dlpi_phnum; ++i) {
    const ElfW(Phdr) *segment = &file->dlpi_phdr[i];
    if (segment->p_type != PT_NOTE) continue;
    const char *notes = (const char *)(file->dlpi_addr + segment->p_vaddr);
    const char *found = release_among(notes, notes + segment->p_memsz);
    if (found != NULL) return *(const char **)release = found, 1;
  }
  return 0;
}

int main(void) {
  zar_init();
  const char *release = "unknown";
  dl_iterate_phdr(look_into, &release);
  printf("compiled for %s, running with %s\n", zar_version(), release);
  return 0;
}
