// Faults on request. Calls that the library's objects and the test make directly - allocations and the
// system's file calls - run through counting wrappers (the linker's --wrap, set by qvimage_test); they do
// what they always do unless one of the objects below says otherwise. The C++ runtime's own calls (new,
// streams) are never touched.
//
//   for (bool for_ever : {false, true})
//     for (int n = 0;; n++) {
//       fail_allocation fault(n, for_ever);
//       const int32_t code = operation();
//       if (!fault.fired()) break;  // it needs only n allocations: done
//       EXPECT_EQ(code, -2);
//     }
//
// Faults count the calls of all threads together; one fault of a kind is active at a time.
#pragma once

#include <cerrno>
#include <cstdint>

// Allocations that were made through the wrappers and not freed, since the program began.
int64_t live_allocations();
// Streams and descriptors that fopen opened and nobody closed.
int64_t open_files();
// All allocations so far: the difference over a transfer says how often it allocated.
uint64_t allocation_count();
// All file calls so far, of the kinds below.
uint64_t call_count();

// While it lives, malloc, calloc and realloc fail once after n calls that succeed, or from then on for ever.
class fail_allocation {
 public:
  explicit fail_allocation(int64_t n, bool for_ever = false);
  ~fail_allocation();
  fail_allocation(const fail_allocation &) = delete;
  fail_allocation &operator=(const fail_allocation &) = delete;
  bool fired() const;
};

// File calls, to be combined with |.
enum call : uint32_t {
  call_open = 1,       // fopen
  call_read = 2,       // read, pread
  call_write = 4,      // write, pwrite
  call_seek = 8,       // lseek
  call_truncate = 16,  // ftruncate
  call_close = 32,     // fclose: the stream is closed all the same
  call_stat = 64,      // fstat
  call_remove = 128,   // remove, unlink
  call_rename = 256,   // rename
  any_call = 511,
  any_but_remove = any_call & ~call_remove
};

// Transfers move at most so many bytes instead of failing; calls of other kinds are left alone.
struct short_count {
  uint64_t bytes;
};

// While it lives, the calls of these kinds fail with that error, or come up short, once after n that succeed,
// or from then on for ever.
class fail_call {
 public:
  fail_call(uint32_t calls, int64_t n, bool for_ever = false, int error = EIO);
  fail_call(uint32_t calls, int64_t n, bool for_ever, short_count most);
  ~fail_call();
  fail_call(const fail_call &) = delete;
  fail_call &operator=(const fail_call &) = delete;
  bool fired() const;
};

// A disk with room for so many bytes more: the write that passes them is cut short, the next ones get ENOSPC.
class full_disk {
 public:
  explicit full_disk(uint64_t room);
  ~full_disk();
  full_disk(const full_disk &) = delete;
  full_disk &operator=(const full_disk &) = delete;
  bool fired() const;
};
