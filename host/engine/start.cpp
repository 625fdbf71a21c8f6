// The engine as a client of the repository.
#include "engine/engine.h"
#include "platform/engine.h"

uint32_t engine::start() {
  zar_db *database = nullptr;
  if (const uint32_t status = zar_create_database(&database)) return status;
  return zar_client_register(kClientName, database, &kel_clid);
}
