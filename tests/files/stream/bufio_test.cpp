#include "files/stream/bufio.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <thread>

#include <qvimage/bufio.h>

#include "tests/fault.hpp"
#include "tests/files.hpp"
#include "tests/files/pictures.hpp"

// The model of a stream is that of the fuzz target, driven by seeds here (fuzz/bufio.cpp).
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

bytes pattern(size_t count, uint32_t seed = 1) {
  std::mt19937 random(seed);
  bytes result(count);
  for (uint8_t &b : result) b = uint8_t(random() | 1);  // never zero, so that zeros stand out
  return result;
}

bytes session(unsigned seed) {
  std::mt19937 random(seed);
  bytes choices(random() % 500);
  for (uint8_t &b : choices) b = uint8_t(random());
  return choices;
}

// A record that is closed with its test.
struct stream : bufio {
  stream() : bufio{} {}
  stream(const std::string &path, const char *mode, uint64_t size = 8, uint32_t flags = 0) {
    EXPECT_EQ(bufio_init(this, path.c_str(), mode, size, flags), 0);
  }
  ~stream() { bufio_done(this); }

  void put(const bytes &b) { bufio_io(this, const_cast<uint8_t *>(b.data()), b.size(), 'w'); }
  void put_at(uint64_t at, const bytes &b) {
    pos = at;
    put(b);
  }
  bytes get(size_t count) {
    bytes result(count, 0xEE);
    bufio_io(this, result.data(), count, 'r');
    return result;
  }
  bytes get_at(uint64_t at, size_t count) {
    pos = at;
    return get(count);
  }
};

struct memory_stream : stream {
  explicit memory_stream(uint64_t size = 8, uint32_t flags = 0) {
    EXPECT_EQ(bufio_init(this, nullptr, nullptr, size, flags | BUFIO_MEMORY), 0);
  }
};

bytes slice(const bytes &b, size_t begin, size_t count) {
  return bytes(b.begin() + long(begin), b.begin() + long(begin + count));
}

class Bufio : public testing::Test {
 protected:
  temporary_folder folder;
  std::string path = folder / "file";
};

TEST_F(Bufio, BlockSizeFollowsItsTwoMeanings) {
  const struct {
    uint64_t size;
    uint32_t flags;
    uint64_t block, shift;
  } cases[] = {{0, 0, 65536, 16},
               {0, BUFIO_NOZERO, 65536, 16},
               {12, 0, 4096, 12},
               {1, 0, 2, 1},
               {1, BUFIO_NOZERO, 1, 0},
               {2, BUFIO_NOZERO, 2, 1},
               {3000, BUFIO_NOZERO, 4096, 12},
               {4096, BUFIO_NOZERO, 4096, 12},
               {4097, BUFIO_NOZERO, 8192, 13}};
  for (const auto &c : cases) {
    stream b(path, "wb", c.size, c.flags);
    EXPECT_EQ(b.bufsize, c.block) << c.size;
    EXPECT_EQ(b.bufshift, c.shift) << c.size;
    EXPECT_EQ(b.modeflags, c.size ? c.flags : 0) << c.size;
    EXPECT_EQ(reinterpret_cast<uintptr_t>(b.bufp) % 4096, 0u) << c.size;
  }
}

TEST_F(Bufio, FormatsGiveBytes) {
  const struct {
    int64_t size;
    uint64_t block;
  } cases[] = {{0, 65536}, {2, 2}, {1000, 1024}, {65536, 65536}};
  for (const uint32_t flags : {0u, BUFIO_NOZERO, BUFIO_MEMORY})
    for (const auto &c : cases) {
      stream b;
      ASSERT_EQ(qvim::open_bufio(&b, path.c_str(), "wb", c.size, flags), 0);
      EXPECT_EQ(b.bufsize, c.block);
      EXPECT_EQ(b.modeflags, flags);
    }
  stream b;
  EXPECT_EQ(qvim::open_bufio(&b, path.c_str(), "wb", -1, 0), -1);
  ASSERT_EQ(qvim::open_bufio(&b, nullptr, nullptr, INT64_MAX, BUFIO_MEMORY), 0);
  EXPECT_EQ(b.bufsize, uint64_t{1} << 30);
}

TEST_F(Bufio, OpeningFailsWithTheCauseAndHoldsNothing) {
  bufio b;
  const std::string nowhere = folder / "no/file";
  EXPECT_EQ(bufio_init(nullptr, path.c_str(), "rb", 0, 0), -1);
  EXPECT_EQ(bufio_init(&b, nullptr, "rb", 0, 0), -1);
  EXPECT_EQ(bufio_init(&b, path.c_str(), nullptr, 0, 0), -1);
  EXPECT_EQ(bufio_init(&b, path.c_str(), "wb", 48, 0), -1);
  EXPECT_EQ(bufio_init(&b, path.c_str(), "wb", (uint64_t{1} << 47) + 1, BUFIO_NOZERO), -1);
  EXPECT_EQ(bufio_init(&b, path.c_str(), "rb", 0, 0), -13);
  EXPECT_EQ(bufio_init(&b, path.c_str(), "r+b", 0, 0), -13);
  EXPECT_EQ(bufio_init(&b, nowhere.c_str(), "w+b", 0, 0), -14);
  EXPECT_EQ(bufio_init(&b, nowhere.c_str(), "ab", 0, 0), -13);
  EXPECT_FALSE(file_exists(path));
  // What is left does nothing and says so.
  uint8_t byte = 1;
  bufio_io(&b, &byte, 1, 'w');
  EXPECT_EQ(bufio_err(&b), -7);
  bufio_done(&b);
  EXPECT_EQ(live_allocations(), 0);
}

TEST_F(Bufio, NullRecordsAreHarmless) {
  uint8_t byte, *p = &byte;
  bufio_io(nullptr, &byte, 1, 'r');
  bufio_flush(nullptr);
  bufio_seekplus(nullptr, 1);
  bufio_putc(nullptr, 1);
  bufio_errclear(nullptr);
  bufio_EnterCritical(nullptr);
  bufio_LeaveCritical(nullptr);
  bufio_done(nullptr);
  EXPECT_EQ(bufio_getc(nullptr), -1);
  EXPECT_EQ(bufio_ungetc(nullptr), -1);
  EXPECT_EQ(bufio_ptr(nullptr, 1, 'r'), nullptr);
  EXPECT_EQ(bufio_ptr2(nullptr, 1, 'r', &p), 0u);
  EXPECT_EQ(p, &byte);
  EXPECT_EQ(bufio_err(nullptr), -1);
}

// Sessions of reads, writes, gaps, pointers, queues and truncations, in files and in memory.
TEST_F(Bufio, AnySessionIsThatOfAnArrayOfBytes) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE(seed);
  for (unsigned i = 0; i < 3000; i++) {
    const bytes choices = session(seed + i);
    EXPECT_NO_THROW(LLVMFuzzerTestOneInput(choices.data(), choices.size())) << i;
  }
}

TEST_F(Bufio, PointersReachOnlyIntoTheResidentBlock) {
  const bytes data = pattern(1000);
  put_file(path, data);
  stream b(path, "rb");
  uint8_t *p = nullptr;
  EXPECT_EQ(bufio_ptr(&b, 1, 'r'), nullptr) << "nothing is resident yet";
  b.pos = 246;
  EXPECT_EQ(bufio_ptr2(&b, 1000, 'r', &p), 10u) << "up to the block's end";
  EXPECT_EQ(bufio_ptr(&b, 1, 'r'), nullptr) << "the next block is not resident";
  b.pos = 250;
  EXPECT_EQ(bufio_ptr(&b, 7, 'r'), nullptr) << "does not fit the block";
  EXPECT_EQ(*bufio_ptr(&b, 6, 'r'), data[250]);
}

TEST_F(Bufio, WhatAFileLostWhileItWasOpenFailsEachTimeAndTheRestIsRead) {
  const bytes data = pattern(1000);
  put_file(path, data);
  stream b(path, "rb");
  std::filesystem::resize_file(path, 700);
  const auto expect_read = [&](uint64_t at, size_t count) {
    EXPECT_EQ(b.get_at(at, count), bytes(data.begin() + long(at), data.begin() + long(at + count))) << at;
    EXPECT_EQ(bufio_err(&b), 0) << at;
  };
  for (int again = 0; again < 3; again++) {
    b.get_at(720, 40);  // within one block, of which the file has the first part
    EXPECT_EQ(bufio_err(&b), -7) << again;
    bufio_errclear(&b);
  }
  expect_read(300, 100);
  expect_read(150, 200);  // ends in the resident block, begins before it
}

TEST_F(Bufio, TruncationCutsTheFileWhenItCloses) {
  const bytes data = pattern(3000);
  put_file(path, data);
  stream b(path, "r+b");
  b.put_at(700, {1});  // the resident block lies beyond the new end
  bufio_ptr2truncate(&b, 600);
  bufio_flush(&b);
  EXPECT_EQ(file_bytes(path).size(), 3000u) << "not before";
  bufio_done(&b);
  EXPECT_EQ(file_bytes(path), slice(data, 0, 600));
}

TEST_F(Bufio, LimitOf32Bits) {
  stream b(path, "w+b", 0, BUFIO_LIMIT32);
  b.put_at(0xFFFFFFFE, {1});
  EXPECT_EQ(bufio_err(&b), 0);
  bufio_putc(&b, 1);
  EXPECT_EQ(bufio_err(&b), -7);
}

TEST_F(Bufio, HostilePositionsAreRefused) {
  for (const bool memory : {false, true})
    for (const uint64_t at : {UINT64_MAX, UINT64_MAX - 10, uint64_t{1} << 63, (uint64_t{1} << 63) - 1}) {
      put_file(path, pattern(100));
      stream b;
      ASSERT_EQ(bufio_init(&b, path.c_str(), "r+b", 8, memory ? BUFIO_MEMORY : 0), 0);
      EXPECT_EQ(b.get_at(at, 20), bytes(20));
      EXPECT_LT(bufio_err(&b), 0);
      b.put_at(at, bytes(20, 1));
      EXPECT_LT(bufio_err(&b), 0);
      uint8_t *p = nullptr;
      b.pos = at;
      EXPECT_EQ(bufio_ptr2(&b, 20, 'r', &p), 0u);
      EXPECT_EQ(bufio_ptr2(&b, 20, 'w', &p), 0u);
      bufio_io(&b, nullptr, UINT64_MAX, 'w');
      bufio_io(&b, nullptr, UINT64_MAX, 'r');
      EXPECT_EQ(b.filelen, memory ? 0u : 100u);
      bufio_done(&b);
      EXPECT_EQ(file_bytes(path), pattern(100));
    }
  stream b(path, "r+b");
  b.pos = UINT64_MAX;
  bufio_seekplus(&b, 1);
  EXPECT_EQ(bufio_err(&b), -7);
  bufio_errclear(&b);
  b.tare = UINT64_MAX;
  EXPECT_EQ(bufio_queuewrite(&b, 1, "x", 1), -1);
  EXPECT_EQ(bufio_queuewrite(&b, 0, "x", UINT64_MAX), -2);
}

TEST_F(Bufio, MemoryGrowsWithWritesOnly) {
  memory_stream b;
  EXPECT_EQ(b.memcap, 0u);
  EXPECT_EQ(b.get(10), bytes(10));
  EXPECT_EQ(b.memcap, 0u) << "a read beyond the data";
  EXPECT_EQ(bufio_err(&b), -10);
  bufio_errclear(&b);
  b.put_at(3 * 256, {5});
  EXPECT_EQ(b.memcap, 4 * 256u);
  EXPECT_EQ(b.filelen, 3 * 256 + 1u);
  EXPECT_EQ(b.get_at(0, 3 * 256), bytes(3 * 256));
  EXPECT_EQ(b.get_at(3 * 256, 1), bytes{5});
  b.pos = 2000;
  bufio_io(&b, nullptr, 3000, 'w');
  EXPECT_EQ(b.memcap, 20 * 256u) << "room for 5000 bytes";
  EXPECT_EQ(b.filelen, 3 * 256 + 1u);
  EXPECT_EQ(bufio_err(&b), 0);
}

// ---- faults ----

// A session that touches everything: seeks, rereads, partial and whole blocks, queue, truncation.
int32_t edit_file(const std::string &path) {
  bufio b;
  const int32_t code = bufio_init(&b, path.c_str(), "r+b", 8, 0);
  if (code < 0) return code;
  bytes data = pattern(900, 8);
  bufio_io(&b, data.data(), 900, 'w');
  b.pos = 2000;
  bufio_io(&b, data.data(), 10, 'w');
  b.pos = 100;
  bufio_io(&b, data.data(), 700, 'r');
  const int32_t queued = bufio_queuewrite(&b, 1200, "queue", 5);
  bufio_ptr2truncate(&b, 2500);
  bufio_done(&b);
  return queued < 0 ? queued : bufio_err(&b);
}

bytes edited(const bytes &old) {
  bytes result = slice(old, 0, 2500), data = pattern(900, 8);
  std::copy(data.begin(), data.end(), result.begin());
  std::copy(data.begin(), data.begin() + 10, result.begin() + 2000);
  std::copy_n("queue", 5, result.begin() + 1200);
  return result;
}

TEST_F(Bufio, EveryFailingCallIsReportedAndSpoilsNothing) {
  const bytes old = pattern(3000, 9), now = edited(old);
  const auto edit = [&] { return edit_file(path); };
  const auto check = [&](const faulted &run) {
    const bytes found = file_bytes(path);
    EXPECT_TRUE(run.fired || found == now);
    // Every byte is either what was there or what should be.
    ASSERT_GE(found.size(), now.size());
    for (size_t i = 0; i < found.size(); i++)
      ASSERT_TRUE(found[i] == old[i] || (i < now.size() && found[i] == now[i])) << i;
    put_file(path, old);
  };
  put_file(path, old);
  expect_faults_reported(edit, -13, call_open | call_stat, check);
  expect_faults_reported(edit, -7, any_but_remove & ~(call_open | call_stat), check);
}

TEST_F(Bufio, InterruptedAndPartialCallsAreContinued) {
  const bytes old = pattern(3000, 9);
  const auto check = [&](int n) {
    EXPECT_EQ(edit_file(path), 0) << n;
    EXPECT_EQ(file_bytes(path), edited(old)) << n;
  };
  for (int n = 0; n < 12; n++) {
    put_file(path, old);
    {
      fail_call fault(call_read | call_write | call_truncate, n, false, EINTR);
      check(n);
    }
    put_file(path, old);
    fail_call fault(call_read | call_write, n, true, short_count{1});
    check(n);
  }
}

TEST_F(Bufio, EveryFailingAllocationIsReported) {
  put_file(path, pattern(3000, 9));
  expect_faults_reported([&] { return edit_file(path); }, 0, 0);
  const auto fill_memory = [] {
    bufio b;
    int32_t code = bufio_init(&b, nullptr, nullptr, 8, BUFIO_MEMORY);
    if (code < 0) return code;
    bytes data = pattern(5000);
    bufio_io(&b, data.data(), data.size(), 'w');
    code = bufio_err(&b);
    bufio_errclear(&b);
    EXPECT_EQ(bufio_err(&b), code) << "stays latched";
    bufio_done(&b);
    return code;
  };
  expect_faults_reported(fill_memory, 0, 0);
}

TEST_F(Bufio, AFullDiskIsNeverReportedAsSuccess) {
  const bytes data = pattern(100);
  for (uint64_t room = 0; room <= data.size(); room++) {
    stream b(path, "wb", 16, BUFIO_NOZERO);
    full_disk disk(room);
    b.put(slice(data, 0, 30));
    b.put(slice(data, 30, 70));
    bufio_done(&b);
    EXPECT_EQ(bufio_err(&b), room < data.size() ? -7 : 0) << room;
    EXPECT_LE(file_bytes(path).size(), data.size());
    EXPECT_EQ(slice(file_bytes(path), 0, room), slice(data, 0, room)) << "what fitted is right";
  }
}

TEST_F(Bufio, ABlockThatCouldNotBeReadIsNotWrittenBack) {
  const bytes data = pattern(1000);
  put_file(path, data);
  stream b(path, "r+b");
  EXPECT_EQ(b.get(1), slice(data, 0, 1));
  {
    fail_call fault(call_read, 0, true);
    EXPECT_EQ(b.get_at(300, 5), bytes(5));
    b.put_at(300, {1, 2});
    EXPECT_EQ(bufio_err(&b), -7);
  }
  bufio_done(&b);
  EXPECT_EQ(file_bytes(path), data);

  stream w(path, "wb");  // cannot read what it wrote
  w.put(pattern(300));
  w.put_at(10, {1});
  EXPECT_EQ(bufio_err(&w), -7);
  bufio_done(&w);
  EXPECT_EQ(file_bytes(path), pattern(300));
}

TEST_F(Bufio, TransfersAllocateNothing) {
  stream b(path, "w+b");
  const bytes data = pattern(1000);
  bytes back(1000);
  const uint64_t before = allocation_count();
  for (uint64_t at = 0; at < 5000; at += 700) b.put_at(at, data);
  b.pos = 123;
  bufio_io(&b, back.data(), 1000, 'r');
  bufio_flush(&b);
  EXPECT_EQ(allocation_count(), before);
}

TEST_F(Bufio, TheLockSerialisesSeekAndTransferOfThreads) {
  const bytes data = pattern(4000);
  put_file(path, data);
  stream b(path, "rb", 4, BUFIO_LOCKED);
  EXPECT_EQ(b.locking, 1);
  const auto reader = [&](uint64_t first) {
    for (uint64_t at = first; at < 4000; at += 2) {
      bufio_EnterCritical(&b);
      b.pos = at;
      bufio_EnterCritical(&b);  // as an image over the stream does
      const int32_t byte = bufio_getc(&b);
      bufio_LeaveCritical(&b);
      bufio_LeaveCritical(&b);
      ASSERT_EQ(byte, data[at]);
    }
  };
  std::thread other(reader, 1);
  reader(0);
  other.join();
}

}  // namespace
