#include "scratch.hpp"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <new>

#include <qvimage/error.h>

#include "failure.hpp"
#include "text.hpp"

namespace tool {

namespace {

namespace fs = std::filesystem;

int nameless_file(const fs::path &folder) {
  std::string name = (folder / ".qvimage-XXXXXX").string();
  const int descriptor = mkostemp(name.data(), O_CLOEXEC);
  if (descriptor >= 0) {
    unlink(name.c_str());
    errno = 0;
  }
  return descriptor;
}

void *mapped_memory(size_t bytes) {
  void *map = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (map == MAP_FAILED) throw std::bad_alloc();
  // Columns are read from it: with large pages, each pixel of one does not cost a look into the page table.
  madvise(map, bytes, MADV_HUGEPAGE);
  return map;
}

void *mapped_file(size_t bytes, const std::string &beside) {
  void *map = MAP_FAILED;
  errno = 0;
  const int descriptor = nameless_file(fs::path(beside).parent_path());
  // All of its room is taken at once: a full disk is an error here and not a signal later.
  if (descriptor >= 0) errno = posix_fallocate(descriptor, 0, static_cast<off_t>(bytes));
  if (errno == 0) map = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
  const std::string why =
      system_detail(QVERR_NOTCREATED, formatted("no room of %zu bytes beside it for unpacked pixels", bytes));
  if (descriptor >= 0) close(descriptor);
  if (map == MAP_FAILED) throw failure(beside, QVERR_NOTCREATED, why);
  return map;
}

}  // namespace

scratch::scratch(size_t bytes, const std::string &beside)
    : map_(bytes <= most_memory ? mapped_memory(bytes) : mapped_file(bytes, beside)), bytes_(bytes) {}

scratch::~scratch() { munmap(map_, bytes_); }

}  // namespace tool
