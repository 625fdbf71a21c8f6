#include "core/kinds.h"

#include <algorithm>

namespace zar::kinds {

namespace {

constexpr uint32_t kHomes = 1u << 17;
constexpr uint32_t kMostHandles = kHomes / 4 * 3;

struct Cell {
  uint32_t handle;  // 0: empty
  uint32_t kind : 8;
  uint32_t next : 24;  // the cell of the next handle with the same home, or the next spare cell; 0: none
};
static_assert(sizeof(Cell) == 8, "eight cells share a cache line, and none lies in two");

// The homes, followed by a cell for each handle whose home is taken.
Cell cells[kHomes + kMostHandles];
uint32_t used;
uint32_t first_spare;  // a free cell after the homes; 0: none
uint32_t n_fresh;      // the number of cells after the homes that were ever used

// Handles issued in sequence nearly always differ in their low bits, and so are in adjacent cells: objects created
// together are looked up together. The multiplication spreads those that differ only in their high bits.
Cell &home_of(uint32_t handle) {
  return cells[(handle + (handle >> 16) * 0x9e37u) & (kHomes - 1)];
}

// The cell of 'handle' or, if it has none, the last cell of its home.
struct Place {
  Cell *cell;
  Cell *before;
};
Place place_of(uint32_t handle) {
  Place place{&home_of(handle), nullptr};
  while (place.cell->handle != handle && place.cell->next != 0)
    place = {&cells[place.cell->next], place.cell};
  return place;
}

uint32_t take_cell() {
  const uint32_t cell = first_spare;
  if (cell == 0) return kHomes + n_fresh++;
  first_spare = cells[cell].next;
  return cell;
}

void give_cell(uint32_t cell) {
  cells[cell] = {.handle = 0, .kind = 0, .next = first_spare & 0xffffff};
  first_spare = cell;
}

// The last cell of a home itself or, if that is taken, a new one linked to it.
Cell &empty_cell_at(Cell &last) {
  if (last.handle == 0) return last;
  const uint32_t cell = take_cell();
  cells[cell] = {};
  last.next = cell & 0xffffff;
  return cells[cell];
}

// A cell with others linked to it takes over the next one's content: the home is empty only if its whole chain is.
void empty(Place place) {
  const uint32_t next = place.cell->next;
  if (next != 0) {
    *place.cell = cells[next];
    give_cell(next);
  } else if (place.before) {
    give_cell(place.before->next);
    place.before->next = 0;
  } else {
    *place.cell = {};
  }
}

}  // namespace

Kind of(uint32_t handle) {
  const Cell *cell = place_of(handle).cell;
  return cell->handle == handle ? static_cast<Kind>(cell->kind) : Kind::none;
}

bool has_room() {
  return used < kMostHandles;
}

void remember(uint32_t handle, Kind kind) {
  if (kind == Kind::none) return forget(handle);
  Cell *cell = place_of(handle).cell;
  if (cell->handle != handle) {
    cell = &empty_cell_at(*cell);
    cell->handle = handle;
    ++used;
  }
  cell->kind = static_cast<uint8_t>(kind);
}

void retire(uint32_t handle) {
  Cell *cell = place_of(handle).cell;
  if (cell->handle == handle)
    cell->kind = static_cast<uint8_t>(Kind::ending);
  else if (has_room())
    remember(handle, Kind::ending);
}

void forget(uint32_t handle) {
  const Place place = place_of(handle);
  if (place.cell->handle != handle) return;
  empty(place);
  --used;
}

void forget_all() {
  if (used == 0) return;
  std::fill_n(cells, kHomes + n_fresh, Cell{});
  used = first_spare = n_fresh = 0;
}

}  // namespace zar::kinds
