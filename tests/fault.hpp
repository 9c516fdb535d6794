// Faults on request. Calls that the library's objects and the test make directly - allocations and the
// system's file calls - run through counting wrappers (the linker's --wrap, set by qvimage_test); they do
// what they always do unless one of the objects below says otherwise. The C++ runtime's own calls (new,
// streams) are never touched.
//
//   expect_faults_reported(operation, -7);
//
// Faults count the calls of all threads together; one fault of a kind is active at a time.
#pragma once

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>

// Allocations that were made through the wrappers and not freed, since the program began.
int64_t live_allocations();
// Streams and descriptors that fopen opened and nobody closed.
int64_t open_files();
// All allocations so far: the difference over a transfer says how often it allocated.
uint64_t allocation_count();
// The most bytes that they held at once, beyond those held when this was asked last.
int64_t peak_bytes();
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
  call_open = 1,       // fopen, open, fdopen
  call_read = 2,       // read, pread
  call_write = 4,      // write, pwrite
  call_seek = 8,       // lseek
  call_truncate = 16,  // ftruncate
  call_close = 32,     // fclose: the stream is closed all the same
  call_stat = 64,      // fstat
  call_remove = 128,   // remove, unlink
  call_rename = 256,   // rename
  call_sync = 512,     // fdatasync
  call_wait = 1024,    // nanosleep: does not wait
  any_call = 1023,
  any_but_remove = any_call & ~call_remove
};

// Transfers move at most so many bytes instead of failing; calls of other kinds are left alone.
struct short_count {
  uint64_t bytes;
  bool then_fails = false;  // the call after it does, as when a disk has become full
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

// What an operation made of a fault.
struct faulted {
  int32_t code;
  bool fired, for_ever;
  uint32_t calls;  // the kind of call; 0: an allocation
};

// Makes all that an operation needs fail in turn - each allocation, then each file call of each of these
// kinds - once, and from then on for ever. It must answer -2 or `code` then, 0 once nothing failed, and leave
// nothing allocated or open. `check` sees what became of each run, when the fault is over.
template <class Operation, class Check>
void expect_faults_reported(Operation operation, int32_t code, uint32_t calls, Check check) {
  const auto run = [&](auto &fault, uint32_t kind, bool for_ever, int64_t live, int64_t open) {
    faulted result{0, false, for_ever, kind};
    {
      const auto active = fault();
      result.code = operation();
      result.fired = active.fired();
    }
    EXPECT_EQ(result.code, !result.fired ? 0 : kind ? code : -2);
    EXPECT_EQ(live_allocations(), live);
    EXPECT_EQ(open_files(), open);
    check(result);
    return result.fired;
  };
  const int64_t live = live_allocations(), open = open_files();
  for (uint32_t kind = 0; kind <= any_call; kind = kind ? kind << 1 : 1) {
    if (kind && !(calls & kind)) continue;
    for (const bool for_ever : {false, true})
      for (int n = 0;; n++) {
        SCOPED_TRACE(testing::Message() << (kind ? "call of kind " : "allocation ") << kind << ", " << n
                                        << (for_ever ? " for ever" : ""));
        const auto memory = [&] { return fail_allocation(n, for_ever); };
        const auto call = [&] { return fail_call(kind, n, for_ever, ENOSPC); };
        if (!(kind ? run(call, kind, for_ever, live, open) : run(memory, kind, for_ever, live, open))) break;
        ASSERT_LT(n, 5000);
      }
  }
}
template <class Operation>
void expect_faults_reported(Operation operation, int32_t code,
                            uint32_t calls = call_read | call_write | call_close) {
  expect_faults_reported(operation, code, calls, [](const faulted &) {});
}
