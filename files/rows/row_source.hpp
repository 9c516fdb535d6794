// Where the pixels of a file image come from: a format's reader, seen as rows of pixels in planes.
#pragma once

#include <pthread.h>

#include <cstdint>

#include <qvimage/bufio.h>

#include "core/result.hpp"
#include "files/rows/columns.hpp"

namespace qvim {

class row_source {
 public:
  row_source(const row_source &) = delete;
  row_source &operator=(const row_source &) = delete;

  // Turns to a plane (0 in 2-D images): its pixels are asked for next. 0, or the code for which it has none.
  [[nodiscard]] virtual int32_t select(uint64_t plane) = 0;
  // Size of the plane turned to. It may differ from the image's.
  virtual uint32_t width() const = 0;
  virtual uint32_t height() const = 0;

  // Pixels from (x, y) on, as the image describes them, all of them inside the plane: n along the row; whole
  // rows, of which *done came before a failure. 0, or -10, -7, -2.
  [[nodiscard]] virtual int32_t read(uint32_t y, uint32_t x, uint32_t n, uint8_t *to) = 0;
  [[nodiscard]] virtual int32_t read_rows(uint32_t y, uint32_t rows, uint8_t *to, uint32_t *done) = 0;
  // Where such pixels stand until the next call: *n is lowered to how many can be had at once, at least 1.
  [[nodiscard]] virtual int32_t view(uint32_t y, uint32_t x, uint32_t *n, const uint8_t **pixels) = 0;

  // Does a pixel cost as little by itself as among the others of its row?
  virtual bool finds_pixels() const { return false; }

  // For the image over the source.
  columns &kept_columns() { return columns_; }

  // Transfers cannot return errors: they leave the worst here, and the stream ready for another try.
  void latch(int32_t code) {
    latched_ = worst(latched_, code);
    bufio_errclear(stream_);
  }
  int32_t latched(bool clear) {
    const int32_t code = latched_;
    if (clear) latched_ = 0;
    return code;
  }

 protected:
  explicit row_source(bufio *stream) : stream_(stream) {}
  ~row_source() = default;

 private:
  friend class locked;
  bufio *stream_;
  int32_t latched_ = 0;
  columns columns_;
  pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
};

// Holds a source's lock: one thread at a time uses the stream behind it.
class locked {
 public:
  explicit locked(row_source &source) : mutex_(&source.mutex_) { pthread_mutex_lock(mutex_); }
  ~locked() { pthread_mutex_unlock(mutex_); }
  locked(const locked &) = delete;
  locked &operator=(const locked &) = delete;

 private:
  pthread_mutex_t *mutex_;
};

}  // namespace qvim
