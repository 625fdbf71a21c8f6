// What is registered with the library in this process. Clients and domains cannot be unregistered, so they outlive the
// repository that registered them, and the next repository reuses the ones that it needs.
#pragma once

#include <string_view>

#include "simulator/policy/model.h"
#include "zar/zar.h"

namespace simulator::registrations {

// NULL when there is none with this name.
const zar_client_data *find_client(std::string_view name);
const zar_domain_entry *find_domain(std::string_view name);

// Whether a registered client is the one that a file describes, and whether a domain belongs to this client.
bool is_same(const zar_client_data &registered, const Client &client);
bool is_same(const zar_domain_entry &registered, uint32_t owner);

// Whether a repository of the file can use what is registered: the engine is, every name means the same, and parameter-maps
// would be stored in a database that the file knows.
bool suit(const PolicyFile &file);

}  // namespace simulator::registrations
