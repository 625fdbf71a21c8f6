// The references between a policy-map and the class-maps that its rules use.
//
// A policy-map lists each class-map that its rules use once, with the number of those rules; a class-map lists each
// policy-map that uses it once, without a number. The first use creates both entries, the last removes both. If memory
// runs out between the two, the pair stays one-sided, which is only traced.
#include "compose/rules.h"
#include "core/debug/ledger.h"
#include "core/pool.h"

using namespace zar;

const char *const zar_db_pmap_cmap_ref_chunk_str = "ZAR DB pmap cmap ref chunk";
const char *const zar_db_cmap_pmap_ref_chunk_str = "ZAR DB cmap pmap ref chunk";

namespace {

zar_pmap_cmap_ref *find_cmap(const zar_pmap &pmap, const zar_cmap *cmap) {
  return find<zar_pmap_cmap_ref>(pmap.cmap_refs, [cmap](const zar_pmap_cmap_ref &ref) { return ref.cmap == cmap; });
}

zar_cmap_pmap_ref *find_pmap(const zar_cmap &cmap, const zar_pmap *pmap) {
  return find<zar_cmap_pmap_ref>(cmap.pmap_refs, [pmap](const zar_cmap_pmap_ref &ref) { return ref.pmap == pmap; });
}

// False if there was no memory for a new reference.
bool count_in_pmap(zar_pmap *pmap, zar_cmap *cmap) {
  if (zar_pmap_cmap_ref *ref = find_cmap(*pmap, cmap)) {
    TRACE_INFO("(info): Update reference: cmap:0x%p already refered by pmap:0x%p, incrementing ref count",
               address(cmap), address(pmap));
    ++ref->ref_count;
    return true;
  }
  TRACE_INFO("(info): Update reference: cmap:0x%p not refered by pmap:0x%p, adding to pmap", address(cmap),
             address(pmap));
  zar_pmap_cmap_ref *ref = pmap_cmap_ref_pool.take().keep();
  if (!ref) {
    TRACE_ERROR("(ERR): update reference: memory alloc for pmap:0x%p cmap:0x%p ref failed", address(pmap),
                address(cmap));
    debug::note_lost_reference(pmap);
    return false;
  }
  ref->cmap = cmap;
  ref->ref_count = 1;
  append(pmap->cmap_refs, ref);
  return true;
}

bool note_in_cmap(zar_pmap *pmap, zar_cmap *cmap) {
  if (find_pmap(*cmap, pmap)) {
    TRACE_INFO("(info): Update reference: pmap:0x%p already refered by cmap:0x%p", address(pmap), address(cmap));
    return true;
  }
  TRACE_INFO("(info): Update reference: pmap:0x%p not refered by cmap:0x%p, adding to cmap", address(pmap),
             address(cmap));
  zar_cmap_pmap_ref *ref = cmap_pmap_ref_pool.take().keep();
  if (!ref) {
    TRACE_ERROR("(ERR): update reference: memory alloc for pmap:0x%p in cmap:0x%p ref failed", address(pmap),
                address(cmap));
    debug::note_lost_reference(pmap);
    return false;
  }
  ref->pmap = pmap;
  append(cmap->pmap_refs, ref);
  return true;
}

void drop_from_pmap(zar_pmap &pmap, zar_pmap_cmap_ref *ref) {
  unlink(pmap.cmap_refs, ref);
  pmap_cmap_ref_pool.give_back(ref);
}

void drop_from_cmap(const zar_pmap *pmap, zar_cmap *cmap) {
  zar_cmap_pmap_ref *ref = find_pmap(*cmap, pmap);
  if (!ref) {
    TRACE_ERROR("(ERR): remove reference: pmap:0x%p not referred by cmap:0x%p", address(pmap), address(cmap));
    return;
  }
  TRACE_INFO("(info): remove reference: pmap:0x%p refered by cmap:0x%p, removing", address(pmap), address(cmap));
  unlink(cmap->pmap_refs, ref);
  cmap_pmap_ref_pool.give_back(ref);
}

}  // namespace

void zar::zar_update_references(zar_pmap *pmap, zar_cmap *cmap) {
  if (!cmap) return;
  TRACE_INFO("(info): Updating references between pmap:0x%x, cmap:0x%x", pmap->handle, cmap->handle);
  if (!count_in_pmap(pmap, cmap)) return;
  if (!note_in_cmap(pmap, cmap)) return;
  TRACE_INFO("(info): Updating references between pmap:0x%x, cmap:0x%x, success", pmap->handle, cmap->handle);
}

void zar::zar_remove_references(zar_pmap *pmap, zar_cmap *cmap) {
  if (!cmap) return;
  TRACE_INFO("(info): removing references between pmap:0x%x, cmap:0x%x", pmap->handle, cmap->handle);
  zar_pmap_cmap_ref *ref = find_cmap(*pmap, cmap);
  if (!ref) {
    TRACE_ERROR("(ERR): remove reference: cmap:0x%p not referred by pmap:0x%p", address(cmap), address(pmap));
    return;
  }
  TRACE_INFO("(info): removing reference: cmap:0x%p already refered by pmap:0x%p, decrementing ref count",
             address(cmap), address(pmap));
  if (--ref->ref_count == 0) {
    drop_from_pmap(*pmap, ref);
    drop_from_cmap(pmap, cmap);
  } else {
    TRACE_INFO("(info): remove reference: no need to remove pmap:0x%p from cmap:0x%p", address(pmap), address(cmap));
  }
}

void zar::drop_references(zar_pmap &pmap) {
  while (auto *ref = take_first<zar_pmap_cmap_ref>(pmap.cmap_refs)) {
    if (zar_cmap_pmap_ref *answer = find_pmap(*ref->cmap, &pmap)) {
      unlink(ref->cmap->pmap_refs, answer);
      cmap_pmap_ref_pool.give_back(answer);
    }
    pmap_cmap_ref_pool.give_back(ref);
  }
}
