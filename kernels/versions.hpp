// What there is once for each processor level, and the level in use.
#pragma once

#include "kernels/processor.hpp"

namespace qvim {

// Tables that each level has one of, name_sse2 and so on, and these by level as name[].
#define QVIM_VERSION(level, type, name) extern const type name##_##level;
#define QVIM_VERSION_ADDRESS(level, name) &name##_##level,
#define QVIM_VERSIONS(type, name)           \
  QVIM_EACH_LEVEL(QVIM_VERSION, type, name) \
  inline constexpr const type *const name[] = {QVIM_EACH_LEVEL(QVIM_VERSION_ADDRESS, name)};

// The level in use. It is chosen when the library is loaded; tests go through all that the machine has.
int chosen_level();
void choose_level(int level);

template <class Table>
const Table &in_use(const Table *const (&versions)[level_count]) {
  return *versions[chosen_level()];
}

}  // namespace qvim
