// Allocation wrappers.
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include <qvimage/alloc.h>

namespace {

void free_and_clear(void *pp) {
  if (!pp) return;
  void *p;
  std::memcpy(&p, pp, sizeof p);
  std::free(p);
  std::memset(pp, 0, sizeof p);
}

}  // namespace

extern "C" {

void *qvmalloc(uint64_t n) { return n ? std::malloc(n) : nullptr; }

void *qvmallocz(uint64_t n) { return n ? std::calloc(1, n) : nullptr; }

void *qvrealloc(void *p, uint64_t n) {
  if (!p && !n) return nullptr;
  return std::realloc(p, n);
}

void qvfree(void *p) { std::free(p); }
void qvfreep(void *pp) { free_and_clear(pp); }

// Pixel buffers are aligned for every pixie type: what malloc does anyway on the platforms served.
static_assert(alignof(std::max_align_t) >= 16);
void *qvmallocf16(uint64_t n) { return qvmalloc(n); }
void *qvmallocfapy(uint64_t n) { return qvmalloc(n); }
void qvfreef16(void *p) { std::free(p); }
void qvfreefapy(void *p) { std::free(p); }
void qvfreef16p(void *pp) { free_and_clear(pp); }

char *qvmalstrdup(const char *s) {
  if (!s) return nullptr;
  const size_t size = std::strlen(s) + 1;
  char *copy = static_cast<char *>(qvmalloc(size));
  if (copy) std::memcpy(copy, s, size);
  return copy;
}

}  // extern "C"
