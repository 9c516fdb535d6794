// Rectangles of pixels between an image and a Java array or a direct buffer.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <qvimage/data.h>
#include <qvimage/error.h>
#include <qvimage/record.h>

#include "java/native/direct.hpp"

namespace qvim::java {

namespace {

// Rows are pinned together, so that a row costs no calls of the virtual machine, but not many of them: the
// collector waits meanwhile.
constexpr int64_t pinned_bytes = 1 << 20;
constexpr size_t staged_bytes = 16384;

struct rectangle {
  int32_t x, y, z, width, height;
};

// The rows of a rectangle, from and to an image whose runs are set up.
class rows {
 public:
  rows(void *record, int dimensions, bool write, const rectangle &r)
      : record_(record), three_(dimensions == 3), write_(write), at_(r) {}

  // Moves pixels of row y from column x on: how many, fewer than count where the image ends or fails.
  uint32_t move(std::byte *buffer, uint32_t count, int32_t x, int32_t y, int32_t pixel_bytes) const {
    uint32_t done = 0;
    while (done < count) {
      const uint32_t moved = run(buffer + size_t(done) * size_t(pixel_bytes), count - done,
                                 at_.x + x + int32_t(done), at_.y + y);
      if (moved == 0) break;
      done += moved;
    }
    return done;
  }

 private:
  uint32_t run(void *buffer, uint32_t count, int32_t x, int32_t y) const {
    if (three_) {
      auto *image = static_cast<qvimage3 *>(record_);
      return write_ ? image->iorite(image, 0, buffer, count, x, y, at_.z)
                    : image->ioread(image, 0, buffer, count, x, y, at_.z);
    }
    auto *image = static_cast<qvimage *>(record_);
    return write_ ? image->iorite(image, 0, buffer, count, x, y)
                  : image->ioread(image, 0, buffer, count, x, y);
  }

  void *record_;
  bool three_, write_;
  rectangle at_;
};

// A Java array, pinned while it is used.
class pinned {
 public:
  pinned(JNIEnv *env, jarray array, jint mode)
      : env_(env), array_(array), mode_(mode), items_(env->GetPrimitiveArrayCritical(array, nullptr)) {}
  ~pinned() {
    if (items_ != nullptr) env_->ReleasePrimitiveArrayCritical(array_, items_, mode_);
  }
  pinned(const pinned &) = delete;
  pinned &operator=(const pinned &) = delete;
  std::byte *data() const { return static_cast<std::byte *>(items_); }

 private:
  JNIEnv *env_;
  jarray array_;
  jint mode_;
  void *items_;
};

// One call's work: the rows of the rectangle and where they are in Java.
class transfer {
 public:
  transfer(JNIEnv *env, const rows &image, const rectangle &r, bool write, int32_t pixel_bytes, jlong offset)
      : env_(env),
        rows_(image),
        r_(r),
        mode_(write ? JNI_ABORT : 0),
        write_(write),
        pixel_bytes_(pixel_bytes),
        offset_(offset) {}

  int64_t with_buffer(std::byte *buffer) const { return band(buffer + offset_, 0, r_.height); }

  int64_t with_pinned(jarray array) const {
    const auto band_rows = int32_t(std::clamp<int64_t>(pinned_bytes / row_bytes(), 1, r_.height));
    int64_t done = 0;
    for (int32_t y = 0; y < r_.height; y += band_rows) {
      const int32_t height = std::min(band_rows, r_.height - y);
      const pinned items(env_, array, mode_);
      if (items.data() == nullptr) break;
      const int64_t moved = band(items.data() + offset_ + y * row_bytes(), y, height);
      done += moved;
      if (moved < int64_t{height} * r_.width) break;
    }
    return done;
  }

  // For images that may block: an array is pinned only while pixels are copied from and to the stack.
  int64_t with_staged(jarray array) const {
    alignas(64) std::byte stage[staged_bytes];
    const auto most = uint32_t(sizeof stage / size_t(pixel_bytes_));
    int64_t done = 0;
    for (int32_t y = 0; y < r_.height; y++) {
      for (uint32_t x = 0; x < uint32_t(r_.width);) {
        const uint32_t count = std::min(most, uint32_t(r_.width) - x);
        const jlong place = offset_ + y * row_bytes() + int64_t{x} * pixel_bytes_;
        if (write_ && !copy(array, place, stage, count)) return done;
        const uint32_t moved = rows_.move(stage, count, int32_t(x), y, pixel_bytes_);
        if (!write_ && !copy(array, place, stage, moved)) return done;
        done += moved;
        if (moved < count) return done;
        x += count;
      }
    }
    return done;
  }

 private:
  int64_t row_bytes() const { return int64_t{r_.width} * pixel_bytes_; }

  int64_t band(std::byte *first, int32_t y, int32_t height) const {
    int64_t done = 0;
    for (int32_t row = 0; row < height; row++) {
      const uint32_t moved =
          rows_.move(first + row * row_bytes(), uint32_t(r_.width), 0, y + row, pixel_bytes_);
      done += moved;
      if (moved < uint32_t(r_.width)) break;
    }
    return done;
  }

  bool copy(jarray array, jlong place, std::byte *stage, uint32_t count) const {
    const pinned items(env_, array, mode_);
    if (items.data() == nullptr) return false;
    const size_t bytes = size_t{count} * size_t(pixel_bytes_);
    if (write_)
      std::memcpy(stage, items.data() + place, bytes);
    else
      std::memcpy(items.data() + place, stage, bytes);
    return true;
  }

  JNIEnv *env_;
  const rows &rows_;
  rectangle r_;
  jint mode_;
  bool write_;
  int32_t pixel_bytes_;
  jlong offset_;
};

template <class Image>
int32_t set_up(void *record, uint32_t type, uint32_t mask, int32_t &pixies) {
  auto *image = static_cast<Image *>(record);
  pixies = qvimcolormap(image->d.pixies, mask, nullptr);
  return image->ioset(image, QVIM_XSCAN, type, mask);
}

// Does the rectangle fit `bytes`, from the offset on?
bool fits(const rectangle &r, int32_t pixel_bytes, jlong offset, jlong bytes) {
  uint64_t wanted;
  return offset >= 0 && offset <= bytes && r.width >= 0 && r.height >= 0 &&
         !__builtin_mul_overflow(uint64_t(r.width) * uint64_t(r.height), uint64_t(pixel_bytes), &wanted) &&
         wanted <= uint64_t(bytes - offset);
}

int64_t move(JNIEnv *env, void *record, int dimensions, bool write, bool pin, uint32_t type, uint32_t mask,
             const rectangle &r, jarray array, jobject buffer, jlong offset) {
  if (record == nullptr || (array == nullptr) == (buffer == nullptr)) return QVERR_USAGE;
  int32_t pixies = 0;
  const int32_t code = dimensions == 3 ? set_up<qvimage3>(record, type, mask, pixies)
                                       : set_up<qvimage>(record, type, mask, pixies);
  if (code < 0) return code;
  const int32_t pixie_bytes = qvimdatasize(type), pixel_bytes = pixies * pixie_bytes;
  const jlong bytes = array != nullptr ? jlong{env->GetArrayLength(array)} * pixie_bytes
                                       : env->GetDirectBufferCapacity(buffer);  // -1 for other buffers
  if (!fits(r, pixel_bytes, offset, bytes)) return QVERR_USAGE;
  if (r.width == 0 || r.height == 0 || pixel_bytes == 0) return 0;
  const rows image(record, dimensions, write, r);
  const transfer work(env, image, r, write, pixel_bytes, offset);
  if (buffer != nullptr)
    return work.with_buffer(static_cast<std::byte *>(env->GetDirectBufferAddress(buffer)));
  return pin ? work.with_pinned(array) : work.with_staged(array);
}

}  // namespace

jlong JNICALL move_rectangle(JNIEnv *env, jclass, jobject, jlong record, jint dimensions, jboolean write,
                             jboolean pinned, jint type, jint mask, jint x, jint y, jint z, jint width,
                             jint height, jobject array, jobject buffer, jlong offset) {
  return move(env, reinterpret_cast<void *>(record), dimensions, write != 0, pinned != 0, uint32_t(type),
              uint32_t(mask), {x, y, z, width, height}, static_cast<jarray>(array), buffer, offset);
}

}  // namespace qvim::java
