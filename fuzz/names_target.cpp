// Names and domains of any characters and lengths, in the operations that make keys from them and look keys up. The
// input begins with the names: their number, then the length and the characters of each.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "fuzz/target.h"

namespace {

using enum calls::Op;

constexpr std::array kOnNames = {
    zar_create_policy,
    zar_create_class,
    zar_create_pmtr_map,
    zar_store_policy,
    zar_store_class,
    zar_store_pmtr_map,
    zar_retrieve_policy,
    zar_retrieve_class,
    zar_retrieve_pmtr_map,
    zar_delete_stored_policy_by_name,
    zar_delete_stored_policy,
    zar_delete_stored_class_by_name,
    zar_delete_stored_class,
    zar_delete_stored_pmtr_map,
    zar_delete_policy,
    zar_get_first_policy,
    zar_get_next_policy,
    zar_get_first_class,
    zar_get_next_class,
    zar_get_first_pmtr_map,
    zar_get_next_pmtr_map,
    zar_avl_search_pmap,
    zar_avl_search_cmap,
    zar_avl_search_pmtr_map,
    zar_avl_delete_pmap,
    zar_avl_delete_cmap,
    zar_avl_delete_pmtr_map,
    zar_get_pmap_name,
    zar_get_pmap_domain,
    zar_get_cmap_name,
    zar_get_pmtr_map_name,
    zar_is_autoconf_policy,
    zar_is_policy_hidden,
    zar_is_pmap_hidden,
    zar_register_domain,
    zar_get_owner_for_domain,
    zar_client_register,
    zar_create_event,
    zar_add_event,
    zar_add_class_to_stored_policy,
    zar_add_target,
    zar_activate_policy_by_name,
    zar_deactivate_policy_by_name,
    zar_print_policymap,
    zar_print_classmap,
    kel_is_policy_created,
    kel_is_pmap_created,
    kel_create_subscriber_parameter_map,
    kel_delete_subscriber_parameter_map,
    kel_find_subscriber_parameter_map_by_name,
    zar_pmtr_create_or_add_filter,
    zar_pmtr_delete_filter,
};

// A name contains no NUL.
std::string name_of(calls::Decoder &decoder) {
  std::string name(decoder.byte(), '\0');
  for (char &character : name)
    character = static_cast<char>(std::max<uint8_t>(1, decoder.byte()));
  return name;
}

calls::Alphabet alphabet_of(calls::Decoder &decoder) {
  calls::Alphabet alphabet;
  const size_t names = 1 + decoder.byte() % 8;
  while (alphabet.names.size() < names)
    alphabet.names.push_back(name_of(decoder));
  alphabet.domains = alphabet.names;
  alphabet.domains.emplace_back("subscriber");
  return alphabet;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  calls::Decoder names({data, size});
  const calls::Alphabet alphabet = alphabet_of(names);
  walk::Options options;
  options.alphabet = &alphabet;
  walk::run_target(options, [&](walk::Session &session) {
    calls::Decoder decoder = names;
    while (!decoder.done())
      if (!session.step(decoder.call_among(kOnNames))) return false;
    return true;
  });
  return 0;
}
