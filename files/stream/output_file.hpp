// The file behind a stream that is written: how it is opened, and what becomes of it in the end.
//
// Writers end it in one of three ways: keep() when all is well, drop() when it is not, close() where their
// caller decides. What drop() removes is only what open() made: a regular file that it created or truncated,
// while its own name still stands for it; never a link, a FIFO, a device, a socket, or what was only opened.
#pragma once

#include <sys/types.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include <qvimage/bufio.h>

struct stat;

namespace qvim {

// The mode to open with, for one that a caller gave.
struct open_mode {
  char text[8] = "";

  // "w+b" with the letters 'x' and 'e': writers go back to patch what they wrote. False for modes that do not
  // write, and for 'a', with which the system writes at the file's end whatever the position.
  bool set(const char *asked, bool updates) {
    const bool writes = asked[0] == 'w' && !updates;
    if (!writes && (asked[0] != 'r' || !std::strchr(asked, '+'))) return false;
    std::snprintf(text, sizeof text, "%c+b%s%s", asked[0], writes && std::strchr(asked, 'x') ? "x" : "",
                  std::strchr(asked, 'e') ? "e" : "");
    return true;
  }
};

class output_file {
 public:
  enum class way : uint8_t {
    // A new file beside the path, which takes the path's name in keep(): what stands there survives any
    // failure. On the path itself where that cannot be: special files, links to nothing, folders that take no
    // new file, owners that cannot be given.
    beside,
    itself,  // the path itself: created, or truncated
    update,  // a file that exists, locked against other writers of this kind while it is open
  };

  // How long an update waits for the lock, and how often it asks.
  static constexpr int64_t longest_wait_ms = 10000, pause_ms = 5;

  explicit output_file(bufio &stream) : stream_(stream) {}
  ~output_file();
  output_file(const output_file &) = delete;
  output_file &operator=(const output_file &) = delete;

  // Opens the stream for writing and reading back, with blocks of so many bytes as open_bufio takes them.
  // mode: as fopen's, null for the way's own, which close in programs that this one becomes; 'w' is opened as
  // "w+b" with the letters 'x' and 'e' that it has. 0, or: -1 for a null path, a mode that does not serve the
  // way (anything but 'w' and 'r+'; 'w' for updates) or a negative size; -2; -13 when a file that should
  // exist cannot be opened; -14 when one cannot be created, or others have it locked for too long.
  [[nodiscard]] int32_t open(const char *path, const char *mode, int64_t bufsize, way how);

  bool is_open() const { return is_open_; }
  // Is it a regular file that open() created or truncated?
  bool created() const { return made_; }

  // Writes what is left and closes the stream: 0, or the worst that happened to it.
  [[nodiscard]] int32_t close();
  // The same, and gives the file its name; on failure nothing is left of it. Also -14: the name cannot be
  // given.
  [[nodiscard]] int32_t keep();
  // Closes the stream and removes what open() made.
  void drop();

 private:
  enum class attempt : uint8_t { opened, not_here, failed };

  [[nodiscard]] int32_t open_itself(const char *path, const char *mode);
  [[nodiscard]] int32_t open_locked(const char *path, const char *mode);
  [[nodiscard]] attempt open_beside(const char *path);
  [[nodiscard]] attempt open_temporary(const struct stat *existing);
  [[nodiscard]] bool take(FILE *fp);
  void remove_made();
  [[nodiscard]] int32_t rename_temporary();

  bufio &stream_;
  bool is_open_ = false;
  bool is_regular_ = false;
  bool made_ = false;
  bool replaces_ = false;  // a file that has the name until keep()
  dev_t device_ = 0;
  ino_t inode_ = 0;
  char name_[PATH_MAX] = "";       // of the file in the end: absolute, links followed
  char temporary_[PATH_MAX] = "";  // its name until then; empty where it has its own from the beginning
};

}  // namespace qvim
