// A numbered series of files, of which one frame at a time is in memory.
#pragma once

#include <pthread.h>

#include <cstdint>

#include <qvimage/series.h>

#include "core/owned.hpp"
#include "files/series/member.hpp"

// The public handle type.
struct seqhandle {
  uint32_t identity = 0;  // the member's

 protected:
  seqhandle() = default;
  ~seqhandle() { identity = 0; }
};

namespace qvim::series {

class numbered_files final : public seqhandle {
 public:
  struct request {
    frame held;
    const char *pattern;
    int64_t bufsize;
    int32_t first, last;
    bool writes_back, locks;
  };

  numbered_files() = default;
  ~numbered_files() { forget_info(); }
  numbered_files(const numbered_files &) = delete;
  numbered_files &operator=(const numbered_files &) = delete;

  // Describes a series, or another one: nothing of the former is saved. 0 or -2, which leaves it as it was.
  [[nodiscard]] int32_t set(const member &m, const request &r);

  // Makes a frame the current one, after the one before it was saved if it was changed. What fails is kept
  // for last_error(): a frame that cannot be read leaves the one before it current and as it was.
  [[nodiscard]] int32_t load(int64_t n);
  // Saves the current frame if it was changed and changes are to be written back.
  [[nodiscard]] int32_t save();
  // Puts a file into the place of frame n: -1 when that has no file, or the renaming fails.
  [[nodiscard]] int32_t replace(int64_t n, const char *path);

  const frame &held() const { return held_; }
  bool is_current(int64_t n) const { return n == current_; }
  void changed() { dirty_ = true; }
  int32_t last_error(bool clear) {
    const int32_t code = last_error_;
    if (clear) last_error_ = 0;
    return code;
  }
  pthread_mutex_t *lock() const { return locks_ ? &member_->lock : nullptr; }
  uint32_t frames() const { return uint32_t(last_ - first_ + 1); }

 private:
  static constexpr int64_t none = -1;

  [[nodiscard]] int32_t keep(int32_t code);
  [[nodiscard]] int32_t name(int64_t n, array<char> *path, bool *is_own) const;
  [[nodiscard]] int32_t save_current();
  [[nodiscard]] int32_t read_current(int64_t n);
  void forget_info();

  const member *member_ = nullptr;
  frame held_{};
  array<char> pattern_;
  int64_t bufsize_ = 0;
  int64_t first_ = 0, last_ = 0, current_ = none;
  int32_t last_error_ = 0;
  qvimagefileinfo info_{};
  int64_t info_frame_ = none;
  bool dirty_ = false, writes_back_ = false, locks_ = false;
};

// Held by the thread that holds it already, too, since a frame may itself be kept in a series.
class critical {
 public:
  explicit critical(const numbered_files &s) : lock_(s.lock()) {
    if (lock_) pthread_mutex_lock(lock_);
  }
  ~critical() {
    if (lock_) pthread_mutex_unlock(lock_);
  }
  critical(const critical &) = delete;
  critical &operator=(const critical &) = delete;

 private:
  pthread_mutex_t *const lock_;
};

// The record of an image, with its sources by their addresses: a copy that may be set up without changing the
// image.
qvimage copy_of(qvimage *image);

}  // namespace qvim::series
