/* The two forms of the picture. */
#ifndef INSPECT_RENDER_H
#define INSPECT_RENDER_H

#include "host/inspect/output.h"

void zar_inspect_write_text(Output *out, uint32_t n_handles);
void zar_inspect_write_json(Output *out, uint32_t n_handles);

#endif
