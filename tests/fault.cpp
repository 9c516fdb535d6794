#include "tests/fault.hpp"

#include <fcntl.h>
#include <malloc.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <unordered_set>
#include <utility>

namespace {

// Counts down to the call that fails. Left at "never" while no fault is active.
class countdown {
 public:
  void start(int64_t n, bool for_ever) {
    left_ = n;
    for_ever_ = for_ever;
    fired_ = false;
    active_ = true;
  }
  void stop() { active_ = false; }
  bool fired() const { return fired_; }
  bool fails_now() {
    if (!active_) return false;
    const int64_t left = left_.fetch_sub(1);
    if (left > 0 || (left < 0 && !for_ever_)) return false;
    fired_ = true;
    return true;
  }

 private:
  std::atomic<bool> active_{false}, fired_{false}, for_ever_{false};
  std::atomic<int64_t> left_{0};
};

// The addresses that the wrappers handed out: memory that came from elsewhere (strdup, getline) may be freed
// through them without disturbing the count.
class address_set {
 public:
  void add(void *p) {
    if (!p) return;
    const std::lock_guard lock(mutex_);
    set_.insert(p);
  }
  bool remove(void *p) {
    if (!p) return false;
    const std::lock_guard lock(mutex_);
    return set_.erase(p);
  }
  int64_t size() {
    const std::lock_guard lock(mutex_);
    return int64_t(set_.size());
  }

 private:
  std::mutex mutex_;
  std::unordered_set<void *> set_;
};

// Never destroyed: wrappers run before main and after it.
address_set &live_memory() {
  static auto *set = new address_set;
  return *set;
}
address_set &live_streams() {
  static auto *set = new address_set;
  return *set;
}

// Memory that was handed out, with its size.
std::atomic<int64_t> held{0}, most_held{0};
void take(void *p) {
  live_memory().add(p);
  const int64_t now = held += int64_t(malloc_usable_size(p));
  for (int64_t most = most_held; now > most && !most_held.compare_exchange_weak(most, now);) {
  }
}
void give_back(void *p) {
  if (const auto size = int64_t(malloc_usable_size(p)); live_memory().remove(p)) held -= size;
}

countdown allocation_fault, call_fault;
std::atomic<uint64_t> allocations{0}, calls{0};
std::atomic<uint32_t> failing_calls{0};
std::atomic<int> failing_errno{0};
std::atomic<bool> comes_up_short{false}, fails_after_that{false}, fails_next{false};
std::atomic<uint64_t> most_bytes{0};
std::atomic<bool> disk_limited{false}, disk_full{false};
std::atomic<int64_t> disk_room{0};

bool allocation_fails() {
  allocations++;
  if (!allocation_fault.fails_now()) return false;
  errno = ENOMEM;
  return true;
}

bool call_fails(call kind) {
  calls++;
  if (!(failing_calls & kind) || comes_up_short || !call_fault.fails_now()) return false;
  errno = failing_errno;
  return true;
}

// How many bytes the transfer may move; -1 with errno set when it fails.
ssize_t allowed(call kind, size_t count) {
  if (call_fails(kind)) return -1;
  if ((failing_calls & kind) && comes_up_short) {
    if (fails_next.exchange(false)) {
      errno = ENOSPC;
      return -1;
    }
    if (call_fault.fails_now()) {
      count = std::min<uint64_t>(count, most_bytes);
      fails_next = fails_after_that.load();
    }
  }
  if (kind == call_write && disk_limited) {
    const int64_t room = disk_room.fetch_sub(int64_t(count));
    if (room < int64_t(count)) disk_full = true;
    if (room <= 0 && count > 0) {
      errno = ENOSPC;
      return -1;
    }
    count = std::min(count, size_t(room));
  }
  return ssize_t(count);
}

}  // namespace

int64_t live_allocations() { return live_memory().size(); }
int64_t open_files() { return live_streams().size(); }
uint64_t allocation_count() { return allocations; }
int64_t peak_bytes() {
  static int64_t held_then = 0;
  const int64_t now = held;
  return most_held.exchange(now) - std::exchange(held_then, now);
}
uint64_t call_count() { return calls; }

fail_allocation::fail_allocation(int64_t n, bool for_ever) { allocation_fault.start(n, for_ever); }
fail_allocation::~fail_allocation() { allocation_fault.stop(); }
bool fail_allocation::fired() const { return allocation_fault.fired(); }

fail_call::fail_call(uint32_t kinds, int64_t n, bool for_ever, int error) {
  comes_up_short = false;
  failing_errno = error;
  failing_calls = kinds;
  call_fault.start(n, for_ever);
}
fail_call::fail_call(uint32_t kinds, int64_t n, bool for_ever, short_count most) {
  comes_up_short = true;
  fails_after_that = most.then_fails;
  fails_next = false;
  most_bytes = most.bytes;
  failing_calls = kinds;
  call_fault.start(n, for_ever);
}
fail_call::~fail_call() {
  call_fault.stop();
  failing_calls = 0;
  comes_up_short = false;
}
bool fail_call::fired() const { return call_fault.fired(); }

full_disk::full_disk(uint64_t room) {
  disk_room = int64_t(room);
  disk_full = false;
  disk_limited = true;
}
full_disk::~full_disk() { disk_limited = false; }
bool full_disk::fired() const { return disk_full; }

extern "C" {

void *__real_malloc(size_t);
void *__real_calloc(size_t, size_t);
void *__real_realloc(void *, size_t);
void __real_free(void *);
int __real_open(const char *, int, ...);
int __real_fclose(FILE *);

void *__wrap_malloc(size_t n) {
  if (allocation_fails()) return nullptr;
  void *p = __real_malloc(n);
  take(p);
  return p;
}
void *__wrap_calloc(size_t n, size_t size) {
  if (allocation_fails()) return nullptr;
  void *p = __real_calloc(n, size);
  take(p);
  return p;
}
void *__wrap_realloc(void *p, size_t n) {
  if (allocation_fails()) return nullptr;
  give_back(p);  // first: another thread may get the address as soon as it is free
  void *moved = __real_realloc(p, n);
  take(moved || n == 0 ? moved : p);
  return moved;
}
void __wrap_free(void *p) {
  give_back(p);
  __real_free(p);
}

int __wrap_open(const char *path, int flags, ...) {
  if (call_fails(call_open)) return -1;
  va_list rest;
  va_start(rest, flags);
  const mode_t permissions = flags & O_CREAT ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  return __real_open(path, flags, permissions);
}
int __wrap_fclose(FILE *fp) {
  live_streams().remove(fp);
  const bool fails = call_fails(call_close);
  const int error = errno;
  const int result = __real_fclose(fp);
  if (!fails) return result;
  errno = error;
  return EOF;
}

// Calls that open a stream.
#define QVIM_WRAP_OPENING(name, parameters, ...) \
  FILE *__real_##name parameters;                \
  FILE *__wrap_##name parameters {               \
    if (call_fails(call_open)) return nullptr;   \
    FILE *fp = __real_##name(__VA_ARGS__);       \
    live_streams().add(fp);                      \
    return fp;                                   \
  }
QVIM_WRAP_OPENING(fopen, (const char *path, const char *mode), path, mode)
QVIM_WRAP_OPENING(fdopen, (int fd, const char *mode), fd, mode)

// Calls that move n bytes.
#define QVIM_WRAP_TRANSFER(kind, name, parameters, ...) \
  ssize_t __real_##name parameters;                     \
  ssize_t __wrap_##name parameters {                    \
    const ssize_t most = allowed(kind, n);              \
    return most < 0 ? -1 : __real_##name(__VA_ARGS__);  \
  }
QVIM_WRAP_TRANSFER(call_read, read, (int fd, void *p, size_t n), fd, p, size_t(most))
QVIM_WRAP_TRANSFER(call_read, pread, (int fd, void *p, size_t n, off_t at), fd, p, size_t(most), at)
QVIM_WRAP_TRANSFER(call_write, write, (int fd, const void *p, size_t n), fd, p, size_t(most))
QVIM_WRAP_TRANSFER(call_write, pwrite, (int fd, const void *p, size_t n, off_t at), fd, p, size_t(most), at)

// All others.
#define QVIM_WRAP(kind, type, name, parameters, ...) \
  type __real_##name parameters;                     \
  type __wrap_##name parameters { return call_fails(kind) ? -1 : __real_##name(__VA_ARGS__); }
QVIM_WRAP(call_sync, int, fdatasync, (int fd), fd)
QVIM_WRAP(call_wait, int, nanosleep, (const timespec *time, timespec *left), time, left)
QVIM_WRAP(call_seek, off_t, lseek, (int fd, off_t at, int whence), fd, at, whence)
QVIM_WRAP(call_truncate, int, ftruncate, (int fd, off_t length), fd, length)
QVIM_WRAP(call_stat, int, fstat, (int fd, struct stat *s), fd, s)
QVIM_WRAP(call_remove, int, remove, (const char *path), path)
QVIM_WRAP(call_remove, int, unlink, (const char *path), path)
QVIM_WRAP(call_rename, int, rename, (const char *from, const char *to), from, to)

}  // extern "C"
