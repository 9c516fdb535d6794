#include "nameless_file.hpp"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <vector>

#include <qvimage/error.h>

#include "failure.hpp"
#include "interrupt.hpp"
#include "text.hpp"

namespace tool {

namespace {

namespace fs = std::filesystem;

// A signal that comes just before a wait does not end it: so long at most, in milliseconds, until it is seen.
constexpr int longest_wait = 100;

// Until bytes can be read or written there, or never will be.
void wait_for(int descriptor, short event) {
  pollfd wanted = {descriptor, event, 0};
  do {
    if (const int signal = noted_interrupt(); signal != 0) throw interrupted{signal};
  } while (poll(&wanted, 1, longest_wait) <= 0);
}

bool may_go_on() { return errno == EINTR || errno == EAGAIN; }

// From one place to another, to the end.
void copy(int from, int to, const std::string &shown) {
  std::vector<char> block(size_t{1} << 18);
  for (;;) {
    wait_for(from, POLLIN);
    errno = 0;
    const ssize_t n = read(from, block.data(), block.size());
    if (n == 0) return;
    ssize_t done = 0;
    while (n > 0 && done < n) {
      wait_for(to, POLLOUT);
      const ssize_t part = write(to, block.data() + done, static_cast<size_t>(n - done));
      if (part < 0 && !may_go_on()) break;
      if (part > 0) done += part;
    }
    if (n < 0 && may_go_on()) continue;
    if (n < 0 || done < n) throw failure(shown, QVERR_IO, system_detail(QVERR_IO, "it cannot be copied"));
  }
}

}  // namespace

nameless_file::nameless_file(const std::string &shown) {
  std::error_code ignored;
  const fs::path folder = fs::temp_directory_path(ignored);
  std::string name = ((folder.empty() ? fs::path("/tmp") : folder) / "qvimage-XXXXXX").string();
  errno = 0;
  descriptor_ = mkostemp(name.data(), O_CLOEXEC);
  if (descriptor_ < 0)
    throw failure(shown, QVERR_NOTCREATED, system_detail(QVERR_NOTCREATED, name + " cannot be made for it"));
  unlink(name.c_str());
}

nameless_file::~nameless_file() { close(descriptor_); }

std::string nameless_file::path() const { return formatted("/proc/self/fd/%d", descriptor_); }

void nameless_file::fill(int descriptor, const std::string &shown) { copy(descriptor, descriptor_, shown); }

void nameless_file::fill_from_pipe(const std::string &path) {
  errno = 0;
  // Opened at once, whether something writes into it already or not: copy() waits for that.
  const int descriptor = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0)
    throw failure(path, QVERR_NOTFOUND, system_detail(QVERR_NOTFOUND, "it cannot be opened"));
  const struct closed {
    int descriptor;
    ~closed() { close(descriptor); }
  } at_the_end = {descriptor};
  fill(descriptor, path);
}

void nameless_file::copy_to(int descriptor, const std::string &shown) const {
  lseek(descriptor_, 0, SEEK_SET);
  copy(descriptor_, descriptor, shown);
}

}  // namespace tool
