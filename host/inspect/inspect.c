#include "zar/inspect.h"

#include "host/inspect/contents.h"
#include "host/inspect/render.h"

enum zar_status zar_inspect(enum zar_inspect_form form, zar_inspect_write_fn write, void *context) {
  if (form != ZAR_INSPECT_TEXT && form != ZAR_INSPECT_JSON) return ZAR_STATUS_INVALID_ARGUMENT;
  if (!write) return ZAR_STATUS_INVALID_ARGUMENT;
  if (!zar_clients_info) return ZAR_STATUS_STEP_FAILED;

  uint32_t n_handles = 0;
  if (!zar_inspect_count_handles(&n_handles)) return ZAR_STATUS_NO_MEMORY;
  Output out = {.write = write, .context = context};
  if (form == ZAR_INSPECT_TEXT)
    zar_inspect_write_text(&out, n_handles);
  else
    zar_inspect_write_json(&out, n_handles);
  zar_inspect_flush(&out);
  return out.refused ? ZAR_STATUS_STEP_FAILED : ZAR_STATUS_SUCCESS;
}
