// A file in memory with a path, emptied and filled for each input.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/input.hpp"

class scratch_file {
 public:
  scratch_file() : fd_(memfd_create("fuzz", 0)) { require(fd_ >= 0); }
  ~scratch_file() { close(fd_); }
  scratch_file(const scratch_file &) = delete;
  scratch_file &operator=(const scratch_file &) = delete;
  std::string path() const { return "/proc/self/fd/" + std::to_string(fd_); }
  void fill(const uint8_t *data, size_t size) const {
    require(ftruncate(fd_, 0) == 0);
    require(pwrite(fd_, data, size, 0) == ssize_t(size));
  }
  void fill(const std::vector<uint8_t> &bytes) const { fill(bytes.data(), bytes.size()); }
  std::vector<uint8_t> content() const {
    std::vector<uint8_t> b(size_t(lseek(fd_, 0, SEEK_END)));
    require(pread(fd_, b.data(), b.size(), 0) == ssize_t(b.size()));
    return b;
  }

 private:
  int fd_;
};
