#include "files/stream/memory_store.hpp"

#include <unistd.h>

#include <algorithm>
#include <cstring>

#include <qvimage/alloc.h>

#include "files/stream/aligned.hpp"

namespace qvim {
namespace {

struct block {
  uint8_t *data;
  void *allocation;
};

// What bufio::memblocks points to: the header of an array of blocks, which doubles when it is full.
struct directory {
  uint64_t count, capacity;
  block *blocks() { return reinterpret_cast<block *>(this + 1); }
};

directory *directory_of(const bufio &b) { return static_cast<directory *>(b.memblocks); }

bool reserve_entry(bufio &b) {
  directory *list = directory_of(b);
  if (list && list->count < list->capacity) return true;
  const uint64_t count = list ? list->count : 0, capacity = list ? 2 * list->capacity : 16;
  void *grown = qvrealloc(list, sizeof(directory) + capacity * sizeof(block));
  if (!grown) return false;
  *static_cast<directory *>(grown) = {count, capacity};
  b.memblocks = grown;
  return true;
}

bool append_block(bufio &b) {
  if (!reserve_entry(b)) return false;
  // Zero even with BUFIO_NOZERO: fresh pages are, for nothing, and no old memory can get into a file this
  // way.
  void *allocation = qvmallocz(b.bufsize + page_bytes);
  if (!allocation) return false;
  directory *list = directory_of(b);
  list->blocks()[list->count++] = {page_aligned(allocation), allocation};
  b.memcap += b.bufsize;
  return true;
}

// A position far beyond what the machine has must not take all of its memory before it fails.
uint64_t physical_memory() { return uint64_t(sysconf(_SC_PHYS_PAGES)) * uint64_t(sysconf(_SC_PAGESIZE)); }

}  // namespace

bool grow_store(bufio &b, uint64_t end) {
  if (end <= b.memcap) return true;
  if (end - b.memcap > physical_memory()) return false;
  while (b.memcap < end)
    if (!append_block(b)) return false;
  return true;
}

uint8_t *find_in_store(const bufio &b, uint64_t at) {
  directory *list = directory_of(b);
  const uint64_t number = at >> b.bufshift;
  return list && number < list->count ? list->blocks()[number].data : nullptr;
}

void zero_store(bufio &b, uint64_t begin, uint64_t end) {
  while (begin < end) {
    const uint64_t offset = begin & (b.bufsize - 1), n = std::min(end - begin, b.bufsize - offset);
    uint8_t *data = find_in_store(b, begin - offset);
    if (!data) return;
    std::memset(data + offset, 0, n);
    begin += n;
  }
}

void free_store(bufio &b) {
  if (directory *list = directory_of(b))
    for (uint64_t i = 0; i < list->count; i++) qvfree(list->blocks()[i].allocation);
  qvfreep(&b.memblocks);
  b.memcap = 0;
}

}  // namespace qvim
