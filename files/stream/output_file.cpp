#include "files/stream/output_file.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <qvimage/error.h>

#include "core/reason.hpp"
#include "files/stream/bufio.hpp"

namespace qvim {

namespace {

// Waits for the lock as long as it is others'. File systems without locks have none to wait for.
bool lock(int fd, int64_t *waited_ms) {
  while (flock(fd, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EINTR) continue;
    if (errno != EWOULDBLOCK) return true;
    if (*waited_ms >= output_file::longest_wait_ms) return false;
    const timespec pause{0, output_file::pause_ms * 1000000};
    nanosleep(&pause, nullptr);
    *waited_ms += output_file::pause_ms;
  }
  return true;
}

bool is_named(const char *path, int fd) {
  struct stat named, opened;
  return stat(path, &named) == 0 && fstat(fd, &opened) == 0 && named.st_dev == opened.st_dev &&
         named.st_ino == opened.st_ino;
}

// The absolute name of a file that does not exist yet: its folder's, links followed, and its own.
bool name_in_folder(const char *path, char (&name)[PATH_MAX]) {
  const char *const slash = std::strrchr(path, '/');
  const char *const own = slash ? slash + 1 : path;
  char folder[PATH_MAX] = ".";
  if (slash) {
    const size_t length = std::max<size_t>(size_t(slash - path), 1);  // of "/": itself
    if (length >= sizeof folder) return false;
    std::memcpy(folder, path, length);
    folder[length] = 0;
  }
  if (!*own || !realpath(folder, name)) return false;
  const size_t length = std::strlen(name), left = sizeof name - length;
  return size_t(std::snprintf(name + length, left, "%s%s", length > 1 ? "/" : "", own)) < left;
}

// A new file in the folder of that name, under a name of its own: its descriptor, or -1 with errno set.
int create_beside(const char *name, char (&own)[PATH_MAX], mode_t permissions) {
  static std::atomic<uint32_t> names_so_far{0};
  const int folder = int(std::strrchr(name, '/') - name);
  int fd;
  do {
    const int length = std::snprintf(own, sizeof own, "%.*s/.qvimage-%x-%x", folder, name, unsigned(getpid()),
                                     unsigned(names_so_far++));
    errno = ENAMETOOLONG;
    fd = length < PATH_MAX ? ::open(own, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, permissions) : -1;
  } while (fd < 0 && errno == EEXIST);
  return fd;
}

bool give_owner(int fd, const struct stat &own, const struct stat &existing) {
  const bool same = own.st_uid == existing.st_uid && own.st_gid == existing.st_gid;
  return (same || fchown(fd, existing.st_uid, existing.st_gid) == 0) &&
         fchmod(fd, existing.st_mode & 07777) == 0;
}

}  // namespace

output_file::~output_file() {
  if (temporary_[0])
    drop();
  else
    static_cast<void>(close());
}

int32_t output_file::open(const char *path, const char *mode, int64_t bufsize, way how) {
  open_mode given;
  if (!path) return because(QVERR_USAGE, {"no path is given"});
  if (mode && !given.set(mode, how == way::update))
    return because(QVERR_USAGE, {"files are not opened by \"", mode, "\" for this"});
  // The last allocation: what follows touches files.
  if (const int32_t code = reserve_bufio(&stream_, bufsize, BUFIO_NOZERO); code < 0) return code;
  const attempt made = how == way::beside ? open_beside(path) : attempt::not_here;
  int32_t code = made == attempt::failed ? cannot_open(true) : 0;
  if (how == way::update)
    code = open_locked(path, mode ? given.text : "r+be");
  else if (made == attempt::not_here)
    code = open_itself(path, mode ? given.text : "w+be");
  is_open_ = code == 0;
  if (code < 0) bufio_done(&stream_);
  return code;
}

int32_t output_file::open_itself(const char *path, const char *mode) {
  const bool creates = mode[0] == 'w';
  FILE *const fp = fopen(path, mode);
  if (!fp) return cannot_open(creates);
  if (!take(fp)) {
    const int32_t code = cannot_open(creates);
    if (creates) remove_regular(path);
    return code;
  }
  made_ = creates && is_regular_ && realpath(path, name_);
  return 0;
}

// The lock is a file's, not a name's: a file that lost its name while this one waited is not the one to
// write.
int32_t output_file::open_locked(const char *path, const char *mode) {
  for (int64_t waited_ms = 0;;) {
    FILE *const fp = fopen(path, mode);
    if (!fp) return cannot_open(false);
    const bool locked = lock(fileno(fp), &waited_ms);
    if (locked && is_named(path, fileno(fp))) return take(fp) ? 0 : cannot_open(false);
    fclose(fp);
    if (!locked || waited_ms >= longest_wait_ms)
      return because(QVERR_NOTCREATED, {"locked by others for ", longest_wait_ms / 1000, " seconds"});
    waited_ms += pause_ms;
  }
}

output_file::attempt output_file::open_beside(const char *path) {
  struct stat existing, link;
  replaces_ = realpath(path, name_);
  if (!replaces_) {
    const bool absent = errno == ENOENT && lstat(path, &link) != 0;
    return absent && name_in_folder(path, name_) ? open_temporary(nullptr) : attempt::not_here;
  }
  const bool replaceable = stat(name_, &existing) == 0 && S_ISREG(existing.st_mode) &&
                           faccessat(AT_FDCWD, name_, W_OK, AT_EACCESS) == 0;
  return replaceable ? open_temporary(&existing) : attempt::not_here;
}

// With the owner and the permissions of the file that it will replace.
output_file::attempt output_file::open_temporary(const struct stat *existing) {
  const int fd = create_beside(name_, temporary_, existing ? 0600 : 0666);
  if (fd < 0) {
    temporary_[0] = 0;
    const bool forbidden = errno == EACCES || errno == EPERM || errno == EROFS || errno == ENAMETOOLONG;
    return forbidden ? attempt::not_here : attempt::failed;
  }
  struct stat own;
  const bool known = fstat(fd, &own) == 0, owned = known && (!existing || give_owner(fd, own, *existing));
  FILE *const fp = owned ? fdopen(fd, "w+b") : nullptr;
  if (!fp) ::close(fd);
  if (fp && take(fp)) {
    made_ = true;
    return attempt::opened;
  }
  unlink(temporary_);
  temporary_[0] = 0;
  return known && !owned ? attempt::not_here : attempt::failed;
}

// Hands the open file to the stream; false, and it is closed, when nothing can be learned of it.
bool output_file::take(FILE *fp) {
  struct stat now;
  if (fstat(fileno(fp), &now) != 0) {
    fclose(fp);
    return false;
  }
  is_regular_ = S_ISREG(now.st_mode);
  device_ = now.st_dev;
  inode_ = now.st_ino;
  attach(stream_, fp, uint64_t(std::max<off_t>(now.st_size, 0)));
  return true;
}

int32_t output_file::close() {
  if (is_open_) bufio_done(&stream_);
  is_open_ = false;
  return bufio_err(&stream_);
}

int32_t output_file::keep() {
  int32_t code = close();
  if (code == 0 && temporary_[0]) code = rename_temporary();
  if (code < 0) remove_made();
  temporary_[0] = 0;
  return code;
}

// Where a whole file had the name, none may come to have it whose bytes a crash of the system could lose.
int32_t output_file::rename_temporary() {
  if (replaces_) {
    const int fd = ::open(temporary_, O_RDONLY | O_CLOEXEC);
    const bool stored = fd >= 0 && (fdatasync(fd) == 0 || errno == EINVAL || errno == ENOSYS);
    const int error = errno;
    if (fd >= 0) ::close(fd);
    if (!stored) return because(QVERR_IO, {"cannot be stored: ", strerrordesc_np(error)});
  }
  if (rename(temporary_, name_) == 0) return 0;
  return because(QVERR_NOTCREATED, {"cannot be given its name: ", strerrordesc_np(errno)});
}

void output_file::drop() {
  static_cast<void>(close());
  remove_made();
  temporary_[0] = 0;
}

void output_file::remove_made() {
  const char *const name = temporary_[0] ? temporary_ : name_;
  struct stat now;
  if (made_ && lstat(name, &now) == 0 && S_ISREG(now.st_mode) && now.st_dev == device_ &&
      now.st_ino == inode_)
    unlink(name);
}

}  // namespace qvim
