// The bytes of a bufio without a file: blocks in ascending order, found by their number.
#pragma once

#include <cstdint>

#include <qvimage/bufio.h>

namespace qvim {

// Blocks until `end` lies within them; false when memory is short.
[[nodiscard]] bool grow_store(bufio &b, uint64_t end);
// The block that begins at this multiple of the block size, or null.
uint8_t *find_in_store(const bufio &b, uint64_t block);
void zero_store(bufio &b, uint64_t begin, uint64_t end);
void free_store(bufio &b);

}  // namespace qvim
