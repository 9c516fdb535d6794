#include "target.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <qvimage/error.h>

#include "failure.hpp"

namespace tool {

namespace {

namespace fs = std::filesystem;

std::string followed(const std::string &path) {
  std::error_code error;
  const fs::path real = fs::canonical(path, error);
  return error ? path : real.string();
}

// The permissions that the finished file shall have: those of the file it replaces, or a new file's.
mode_t permissions(const std::string &path) {
  struct stat existing;
  if (stat(path.c_str(), &existing) == 0) {
    if (!S_ISREG(existing.st_mode)) throw failure(path, QVERR_NOTCREATED, "this is not a regular file");
    if (access(path.c_str(), W_OK) != 0)
      throw failure(path, QVERR_NOTCREATED, system_detail(QVERR_NOTCREATED, "the existing file"));
    return existing.st_mode & 07777;
  }
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

target::target(const std::string &path) : path_(followed(path)) {
  const mode_t mode = permissions(path_);
  temporary_ = (fs::path(path_).parent_path() / ".qvimage-XXXXXX").string();
  const int descriptor = mkstemp(temporary_.data());
  if (descriptor < 0)
    throw failure(path, QVERR_NOTCREATED, system_detail(QVERR_NOTCREATED, "a file beside it cannot be made"));
  fchmod(descriptor, mode);
  close(descriptor);
}

target::~target() {
  if (!kept_) std::remove(temporary_.c_str());
}

void target::keep() {
  if (std::rename(temporary_.c_str(), path_.c_str()) != 0)
    throw failure(path_, QVERR_NOTCREATED,
                  system_detail(QVERR_NOTCREATED, "the finished file cannot be renamed"));
  kept_ = true;
}

}  // namespace tool
