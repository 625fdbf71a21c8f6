#include "simulator/repository/registrations.h"

#include <algorithm>

#include "engine/walk.h"
#include "platform/engine.h"

namespace simulator::registrations {

const zar_client_data *find_client(std::string_view name) {
  for (uint32_t at = 0; at < zar_current_max_clients; ++at) {
    const zar_client_data *client = zar_clients_info[at];
    if (client && client->name && client->name == name) return client;
  }
  return nullptr;
}

const zar_domain_entry *find_domain(std::string_view name) {
  for (const zar_domain_entry &entry : engine::Records<zar_domain_entry>(zar_domain_list)) {
    if (entry.domain == name) return &entry;
  }
  return nullptr;
}

bool is_same(const zar_client_data &registered, const Client &client) {
  return (registered.database != nullptr) == client.own_database;
}

bool is_same(const zar_domain_entry &registered, uint32_t owner) {
  return registered.owner_clid == owner;
}

namespace {

bool suits(const Client &client) {
  const zar_client_data *registered = find_client(client.name.value);
  return !registered || is_same(*registered, client);
}

// The library stores each parameter-map with the owner of this domain, whether the file names the domain or not.
bool suits_parameter_maps(const PolicyFile &file) {
  const zar_domain_entry *registered = find_domain(kel_parameter_map_subscriber_domain_str);
  return !registered || file.find_domain(kel_parameter_map_subscriber_domain_str) || is_same(*registered, kel_clid);
}

bool suits(const Domain &domain) {
  const zar_domain_entry *registered = find_domain(domain.name.value);
  if (!registered) return true;
  if (!domain.owner) return is_same(*registered, kel_clid);
  const zar_client_data *owner = find_client(domain.owner->value);
  return owner && is_same(*registered, owner->clid);
}

}  // namespace

bool suit(const PolicyFile &file) {
  if (!zar_clients_info || zar_current_max_clients == 0) return false;
  return std::all_of(file.clients.begin(), file.clients.end(), [](const Client &client) { return suits(client); }) &&
         std::all_of(file.domains.begin(), file.domains.end(), [](const Domain &domain) { return suits(domain); }) &&
         suits_parameter_maps(file);
}

}  // namespace simulator::registrations
