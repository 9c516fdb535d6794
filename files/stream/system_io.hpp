// Whole transfers at a position of a descriptor: interrupted and partial calls are continued.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <cstdint>

namespace qvim {

// Bytes read, fewer than asked for only at the end of the file; -1 after an error.
inline int64_t read_at(int fd, uint8_t *data, uint64_t count, uint64_t position) {
  uint64_t done = 0;
  while (done < count) {
    const ssize_t n = pread(fd, data + done, count - done, off_t(position + done));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return -1;
    if (n == 0) break;
    done += uint64_t(n);
  }
  return int64_t(done);
}

// Bytes written, fewer than asked for only after an error.
inline uint64_t write_at(int fd, const uint8_t *data, uint64_t count, uint64_t position) {
  uint64_t done = 0;
  while (done < count) {
    const ssize_t n = pwrite(fd, data + done, count - done, off_t(position + done));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    done += uint64_t(n);
  }
  return done;
}

}  // namespace qvim
