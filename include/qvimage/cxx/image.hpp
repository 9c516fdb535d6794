// Images as values: the record, access to its pixels, images over memory. Part of qvimage/qvimage.hpp.
//
// image and image3 are the C records (qvimage/record.h) and nothing more: 452 bytes that are copied as bytes,
// passed to any C function by address, and own nothing. What holds for records holds for them: a copy has
// set-ups of its own and shares the pixels; two that share a source must not be used by two threads at once,
// so give each thread a copy of a chain (qvimage/cxx/chain.hpp). What is said of an image here holds for
// chains and open files, too.
//
// Positions are those of the window, (0, 0) its first pixel; width() and height() are the window's.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>
#include <vector>

#include <qvimage/cxx/status.hpp>
#include <qvimage/data.h>
#include <qvimage/memory.h>
#include <qvimage/null.h>
#include <qvimage/window.h>

namespace qv {

// A size in pixels, of a picture and of a volume.
struct extent {
  constexpr extent(int32_t width, int32_t height) noexcept : size{width, height} {}
  int32_t size[2];
};
struct extent3 {
  constexpr extent3(int32_t width, int32_t height, int32_t depth) noexcept : size{width, height, depth} {}
  int32_t size[3];
};

// A part of a picture, and of a volume.
struct region {
  int32_t x, y, width, height;
};
struct region3 {
  int32_t x, y, z, width, height, depth;
};

// Flags of a request: values with their significant bits at the low end (what access takes when it is told
// nothing else), at the high end, or bits as they are stored. Reals have no such ends.
inline constexpr uint32_t low_end = QVIM_LSB, high_end = QVIM_MSB, as_stored = 0;

// Component masks: bit i is component i.
inline constexpr uint32_t all_components = ~uint32_t{0};

namespace detail {

template <class T>
constexpr int32_t pixie_type_of() {
  using U = std::remove_cv_t<T>;
  constexpr int size = static_cast<int>(sizeof(U));
  if constexpr (std::is_floating_point_v<U>) {
    static_assert(size == 4 || size == 8, "reals are float or double");
    return size == 4 ? QVIM_FLOAT32 : QVIM_FLOAT64;
  } else {
    static_assert(std::is_unsigned_v<U> && !std::is_same_v<U, bool> && size <= 8,
                  "components are unsigned integers, float or double");
    return size;
  }
}

// A stretch of an axis, and the part of it that begins so far behind its begin; (-1, -1) where it has none
// such.
struct stretch {
  int32_t from, to;
  constexpr stretch part(int32_t at, int32_t size) const noexcept {
    if (at < 0 || size < 0 || int64_t{at} + size > int64_t{to} - from) return {-1, -1};
    return {from + at, from + at + size};
  }
};

// What differs between pictures and volumes.
template <class Record>
struct dimension;

template <>
struct dimension<::qvimage> {
  static constexpr int axes = 2;
  using window = qvywindow;
  using extent = qv::extent;
  using region = qv::region;
  static window part(const window &of, const region &r) noexcept {
    const stretch x = stretch{of.nw.x, of.se.x}.part(r.x, r.width);
    const stretch y = stretch{of.nw.y, of.se.y}.part(r.y, r.height);
    return {{x.from, y.from}, {x.to, y.to}};
  }
  static void make_null(::qvimage *im) noexcept { qvimage_defnull(im); }
  static int32_t make(::qvimage *im, void *at, uint64_t bytes, const extent &e, uint32_t pitch,
                      const qvimagedata *d) noexcept {
    return qvimage_memdata(im, at, bytes, e.size, pitch, d, nullptr, 0);
  }
  static int32_t depth(const ::qvimage &) noexcept { return 1; }
  static uint32_t read(::qvimage *im, void *to, uint32_t n, int32_t y, int32_t) noexcept {
    return im->ioread(im, 0, to, n, 0, y);
  }
  static uint32_t write(::qvimage *im, const void *from, uint32_t n, int32_t y, int32_t) noexcept {
    return im->iorite(im, 0, from, n, 0, y);
  }
};

template <>
struct dimension<::qvimage3> {
  static constexpr int axes = 3;
  using window = qvyzwindow;
  using extent = qv::extent3;
  using region = qv::region3;
  static window part(const window &of, const region &r) noexcept {
    const stretch x = stretch{of.nw.x, of.se.x}.part(r.x, r.width);
    const stretch y = stretch{of.nw.y, of.se.y}.part(r.y, r.height);
    const stretch z = stretch{of.nw.z, of.se.z}.part(r.z, r.depth);
    return {{x.from, y.from, z.from}, {x.to, y.to, z.to}};
  }
  static void make_null(::qvimage3 *im) noexcept { qvimage3_defnull(im); }
  static int32_t make(::qvimage3 *im, void *at, uint64_t bytes, const extent &e, uint32_t pitch,
                      const qvimagedata *d) noexcept {
    return qvimage3_memdata(im, at, bytes, e.size, pitch, 0, d, nullptr, 0);
  }
  static int32_t depth(const ::qvimage3 &im) noexcept { return im.wind.se.z - im.wind.nw.z; }
  static uint32_t read(::qvimage3 *im, void *to, uint32_t n, int32_t y, int32_t z) noexcept {
    return im->ioread(im, 0, to, n, 0, y, z);
  }
  static uint32_t write(::qvimage3 *im, const void *from, uint32_t n, int32_t y, int32_t z) noexcept {
    return im->iorite(im, 0, from, n, 0, y, z);
  }
};

// Memory as it is given: a pointer, whose extent is not known; an array; or what has data() and size().
template <class T>
struct memory {
  T *at;
  uint64_t bytes;  // 0: not known
};
template <class Given>
auto memory_of(Given &given) noexcept {
  if constexpr (std::is_array_v<Given>) {
    using T = std::remove_all_extents_t<Given>;
    return memory<T>{reinterpret_cast<T *>(&given), sizeof given};
  } else if constexpr (std::is_pointer_v<Given>) {
    return memory<std::remove_pointer_t<Given>>{given, 0};
  } else {
    using T = std::remove_pointer_t<decltype(given.data())>;
    return memory<T>{given.data(), uint64_t{given.size()} * sizeof(T)};
  }
}

// Memory that knows its size.
template <class Given>
concept sized_memory = std::is_array_v<std::remove_reference_t<Given>> || requires(Given &given) {
  given.size();
};

// An image, a chain, an open file.
template <class Image>
concept has_record = requires(Image &im) {
  im.record();
};

// The code of the first transfer that failed since it was asked for last.
template <class Record>
status take_error(Record &im, int32_t otherwise = 0) noexcept {
  const int32_t kept = static_cast<int32_t>(im.aeiou(&im, 'e', 1, 0, nullptr));
  return kept < 0 ? status(kept, {}, qvimage_reason()) : status::of(otherwise);
}

}  // namespace detail

// Runs of pixels, set up once: what access() gives. It refers to the image, which must stay where it is, and
// serves until the image is set up anew or its window changes; then runs move nothing, or in the new form.
// T is the type of a component. Used by one thread at a time, as the image.
template <class T, class Record = ::qvimage>
class runs {
 public:
  runs(Record &image, uint32_t components) noexcept : image_(&image), components_(components) {}

  // How many components of a pixel were selected.
  uint32_t components() const noexcept { return components_; }

  // Reads pixels from a position on, to the end of the line or of the buffer, whichever comes first. Answers
  // the part of the buffer that was filled: empty outside of the window, short where something failed.
  template <std::convertible_to<int32_t>... At>
  std::span<T> read(std::span<T> to, At... at) const noexcept {
    static_assert(sizeof...(At) == detail::dimension<Record>::axes, "a position has a number for each axis");
    const uint32_t moved =
        image_->ioread(image_, 0, to.data(), pixels_of(to.size()), static_cast<int32_t>(at)...);
    image_->iowait(image_, 0, to.data());
    return to.first(std::size_t{moved} * components_);
  }

  // Writes pixels; answers how many were written.
  template <std::convertible_to<int32_t>... At>
  uint32_t write(std::span<const T> from, At... at) const noexcept {
    static_assert(sizeof...(At) == detail::dimension<Record>::axes, "a position has a number for each axis");
    const uint32_t moved =
        image_->iorite(image_, 0, from.data(), pixels_of(from.size()), static_cast<int32_t>(at)...);
    image_->iowait(image_, 0, const_cast<T *>(from.data()));
    return moved;
  }

  // Why a transfer of this image, or of one below it, moved less than there was: the first since this was
  // asked for last.
  status error() const noexcept { return detail::take_error(*image_); }

 private:
  uint32_t pixels_of(std::size_t components) const noexcept {
    const std::size_t pixels = components_ == 1 ? components : components / components_;
    return pixels < UINT32_MAX ? static_cast<uint32_t>(pixels) : UINT32_MAX;
  }

  Record *image_;
  uint32_t components_;
};

// Scattered pixels, set up once: what scattered() gives. It refers to the image as runs do.
template <class T, class Record = ::qvimage>
class points {
 public:
  points(Record &image, uint32_t components) noexcept : image_(&image), components_(components) {}

  // Applies an operation (QVIM_OP_...) to the listed pixels, whose values lie packed in `values`. The list,
  // of positions of the window, is used up: it holds something else afterwards. Answers the entries worked
  // on, those outside of the window counted although nothing happens to them. Operations but QVIM_OP_READ may
  // leave the values in the image's own form.
  uint32_t apply(uint32_t operation, std::span<T> values, std::span<qvxyzcoord> list) const noexcept {
    std::size_t count = values.size() / components_;
    if (list.size() < count) count = list.size();
    const uint32_t n = count < UINT32_MAX ? static_cast<uint32_t>(count) : UINT32_MAX;
    const uint32_t done = image_->bxta(image_, QVIM_LIST, values.data(), list.data(), n, operation);
    image_->bxtw(image_, 0, values.data(), list.data(), n, operation);
    return done;
  }
  uint32_t read(std::span<T> values, std::span<qvxyzcoord> list) const noexcept {
    return apply(QVIM_OP_READ, values, list);
  }
  uint32_t write(std::span<T> values, std::span<qvxyzcoord> list) const noexcept {
    return apply(QVIM_OP_WRITE, values, list);
  }

 private:
  Record *image_;
  uint32_t components_;
};

// Pixels where they lie in memory, as far as they follow each other at one distance: what map() gives.
template <class T>
class mapping {
 public:
  explicit mapping(const qvimagemap &map) noexcept
      : at_(reinterpret_cast<std::byte *>(static_cast<uintptr_t>(map.address))),
        step_(static_cast<std::ptrdiff_t>(map.step)),
        size_(static_cast<std::size_t>(map.length)) {}
  std::size_t size() const noexcept { return size_; }     // in pixels
  std::ptrdiff_t step() const noexcept { return step_; }  // bytes from one to the next
  T *operator[](std::size_t i) const noexcept {           // the components of pixel i
    return reinterpret_cast<T *>(at_ + static_cast<std::ptrdiff_t>(i) * step_);
  }

 private:
  std::byte *at_;
  std::ptrdiff_t step_;
  std::size_t size_;
};

// What images, chains and open files have in common. Self gives the record by record().
template <class Self, class Record>
class image_calls {
  using dim = detail::dimension<Record>;

 public:
  using record_type = Record;
  using region_type = typename dim::region;

  // The window's size in pixels; depth() is 1 for pictures, pixel_count() all of them.
  int32_t width() const noexcept { return record().wind.se.x - record().wind.nw.x; }
  int32_t height() const noexcept { return record().wind.se.y - record().wind.nw.y; }
  int32_t depth() const noexcept { return dim::depth(record()); }
  uint64_t pixel_count() const noexcept {
    const uint64_t plane = static_cast<uint64_t>(width()) * static_cast<uint32_t>(height());
    uint64_t all = 0;
    return __builtin_mul_overflow(plane, static_cast<uint32_t>(depth()), &all) ? UINT64_MAX : all;
  }

  // What a pixel is made of: components, their type (QVIM_UINT8 ...), the significant bits of integers (those
  // of the type for reals), what the components mean (QVIM_HINT_...).
  int32_t components() const noexcept { return record().d.pixies; }
  int32_t type() const noexcept { return record().d.pixietype; }
  int32_t bits() const noexcept { return is_real() ? 8 * record().f.pixiesize : record().d.i_bitsused; }
  int32_t hint() const noexcept { return record().d.pixelhint; }
  bool is_real() const noexcept { return type() >= QVIM_FLOAT32; }

  // A null image has no pixels: what is left where a constructor failed, and in owners that own nothing.
  bool is_null() const noexcept { return record().imdim.se.x == 0; }

  // Makes a region of the window the window, and discards what was set up. A region that is not inside it
  // leaves no window, QVERR_USAGE: nothing is transferred until there is one again.
  status set_window(const region_type &part) noexcept {
    auto window = dim::part(record().wind, part);
    return put_window(&window);
  }

  // The whole image again.
  status reset_window() noexcept { return put_window(nullptr); }

  // A copy that shows a region of the window. One that is not inside it makes an image without pixels, whose
  // set-ups answer QVERR_USAGE. Of an open file: the file must outlive it.
  auto crop(const region_type &part) const {
    auto shown = self().copy();
    (void)shown.set_window(part);
    return shown;
  }

  // Sets up runs of components of the image's type, or, over a converter, of any.
  //   flags   where significant bits are: low_end, high_end, as_stored, with QVIM_DIRTY, QVIM_SWAPPED
  //   mask    the components, one run of bits
  //   mode    QVIM_XSCAN: along rows; QVIM_YSCAN, QVIM_ZSCAN; with QVIM_WRAP on to the next line
  // Fails with the codes of ioset (qvimage/record.h): QVERR_DATATYPE for another type than the image serves,
  // QVERR_COLOUR, QVERR_UNSUPPORTED; QVERR_USAGE without a window.
  template <class T>
  result<runs<T, Record>> access(uint32_t flags = low_end, uint32_t mask = all_components,
                                 uint32_t mode = QVIM_XSCAN) & {
    Record &im = record();
    const uint32_t selected = mask == all_components ? whole_pixel() : mask;
    const int32_t code = im.ioset(&im, mode, request<T>(flags), selected);
    if (code <= 0) return refusal(code);
    return runs<T, Record>(im, static_cast<uint32_t>(__builtin_popcount(selected)));
  }

  // Sets up scattered pixels, in the same form.
  template <class T>
  result<points<T, Record>> scattered(uint32_t flags = low_end, uint32_t mask = all_components) & {
    Record &im = record();
    const uint32_t selected = mask == all_components ? whole_pixel() : mask;
    const int32_t code = im.bxts(&im, 0, request<T>(flags), selected);
    if (code < 0 || is_null()) return refusal(code < 0 ? code : 0);
    return points<T, Record>(im, static_cast<uint32_t>(__builtin_popcount(selected)));
  }

  // The pixels themselves from a position on, along the rows or, with QVIM_YSCAN, columns, for images that
  // are memory and store them so. The answer is valid as long as the memory. Fails with the codes of imapset.
  template <class T, std::convertible_to<int32_t>... At>
  result<mapping<T>> map(uint32_t mode, At... at) noexcept {
    static_assert(sizeof...(At) == dim::axes, "a position has a number for each axis");
    Record &im = record();
    const int32_t code = im.imapset(&im, mode | QVIM_STEP, request<T>(as_stored), whole_pixel());
    if (code < 0) return status(code, {}, "pixels are not reached in memory in that form");
    qvimagemap found;
    if (im.imap(&im, &found, static_cast<int32_t>(at)...) != 1) return refusal(0);
    const mapping<T> pixels(found);
    im.imapr(&im, &found);
    return pixels;
  }

  // Reads the whole window, row by row and plane by plane, into memory that is there: an array, a vector, a
  // span, with room for pixel_count() times the selected components, or QVERR_USAGE is answered. Set-ups are
  // replaced. Beyond the codes of access: what made a transfer stop (of files QVERR_FORMAT, QVERR_IO), with
  // the pixels before it read.
  template <detail::sized_memory Memory>
  status read(Memory &&to, uint32_t flags = low_end, uint32_t mask = all_components) noexcept {
    return all_lines(detail::memory_of(to), flags, mask,
                     [](Record *im, auto *at, uint32_t n, int32_t y, int32_t z) {
                       const uint32_t moved = dim::read(im, at, n, y, z);
                       im->iowait(im, 0, at);
                       return moved;
                     });
  }

  // Writes the whole window from memory, likewise.
  template <detail::sized_memory Memory>
  status write(const Memory &from, uint32_t flags = low_end, uint32_t mask = all_components) noexcept {
    return all_lines(
        detail::memory_of(from), flags, mask, [](Record *im, auto *at, uint32_t n, int32_t y, int32_t z) {
          const uint32_t moved = dim::write(im, at, n, y, z);
          im->iowait(im, 0, const_cast<std::remove_const_t<std::remove_pointer_t<decltype(at)>> *>(at));
          return moved;
        });
  }

  // The pixels of the whole window as an array, which is allocated: packed, row by row and plane by plane.
  // Fails as read does, and with QVERR_MEMORY where no array has room for them; memory that is short is the
  // vector's to report.
  template <class T>
  result<std::vector<T>> pixels(uint32_t flags = low_end, uint32_t mask = all_components) {
    const auto selected =
        static_cast<uint32_t>(__builtin_popcount(mask == all_components ? whole_pixel() : mask));
    std::vector<T> values;
    if (pixel_count() > values.max_size() / 32) return status(QVERR_MEMORY, {}, "more pixels than addresses");
    values.resize(static_cast<std::size_t>(pixel_count()) * selected);
    if (status s = read(values, flags, mask); !s) return s;
    return values;
  }

  // Why a transfer moved less than there was: the first failure since this was asked for last, of this image
  // or one below it.
  status error() noexcept { return detail::take_error(record()); }

 private:
  Self &self() noexcept { return static_cast<Self &>(*this); }
  const Self &self() const noexcept { return static_cast<const Self &>(*this); }
  Record &record() noexcept { return self().record(); }
  const Record &record() const noexcept { return self().record(); }

  uint32_t whole_pixel() const noexcept {
    const int32_t pixies = components();
    return pixies < 1 || pixies > 32 ? 1 : ~uint32_t{0} >> (32 - pixies);
  }

  template <class T>
  static constexpr uint32_t request(uint32_t flags) noexcept {
    return static_cast<uint32_t>(detail::pixie_type_of<T>()) | flags;
  }

  // Why a set-up was refused: the library states no reasons of set-ups.
  static status refusal(int32_t code) noexcept {
    switch (code) {
      case 0: return status(QVERR_USAGE, {}, "an image without pixels, or without a window");
      case QVERR_DATATYPE:
        return status(code, {}, "the image has no components of that type; qv::convert gives them");
      case QVERR_COLOUR: return status(code, {}, "the mask is no run of components that the image serves");
      default: return status::of(code);
    }
  }

  status put_window(typename dim::window *window) noexcept {
    Record &im = record();
    if (im.xwind(&im, window, 's') != nullptr) return {};
    return status(QVERR_USAGE, {}, "the region lies outside of the window");
  }

  // Moves line after line between the window and memory, by `one`.
  template <class T, class Move>
  status all_lines(const detail::memory<T> &memory, uint32_t flags, uint32_t mask, Move one) noexcept {
    auto set_up = access<T>(flags, mask);
    if (!set_up) return set_up.error();
    const uint64_t line = static_cast<uint64_t>(width()) * set_up->components();
    const uint64_t lines = static_cast<uint64_t>(height()) * static_cast<uint64_t>(depth());
    if (line > 0 && memory.bytes / sizeof(T) / line < lines)
      return status(QVERR_USAGE, {}, "the memory is smaller than the window");
    Record &im = record();
    T *at = memory.at;
    for (int32_t z = 0; z < depth(); z++) {
      for (int32_t y = 0; y < height(); y++, at += line) {
        const auto wanted = static_cast<uint32_t>(width());
        if (one(&im, at, wanted, y, z) != wanted) return detail::take_error(im, QVERR_IO);
      }
    }
    return {};
  }
};

// The C record as a value. Made by over() and by C functions that take its address; a new one is a null
// image.
template <class Record>
class basic_view;

template <class Record>
class basic_image : public Record, public image_calls<basic_image<Record>, Record> {
 public:
  // The null image: every call is safe and does nothing.
  basic_image() noexcept { detail::dimension<Record>::make_null(this); }

  // A record that C code made; it is copied.
  explicit basic_image(const Record &made) noexcept : Record(made) {}

  // The top of a chain is found by its place among the chain's records: copy the chain.
  basic_image(const basic_view<Record> &) = delete;
  basic_image &operator=(const basic_view<Record> &) = delete;

  // The record itself, for C functions.
  Record &record() noexcept { return *this; }
  const Record &record() const noexcept { return *this; }

  // An image of its own over the same pixels.
  basic_image copy() const noexcept { return *this; }
};

using image = basic_image<::qvimage>;
using image3 = basic_image<::qvimage3>;

static_assert(sizeof(image) == 452 && sizeof(image3) == 452);
static_assert(std::is_trivially_copyable_v<image> && std::is_trivially_copyable_v<image3>);
static_assert(std::is_standard_layout_v<image> && std::is_standard_layout_v<image3>);

namespace detail {

// What pixels of so many components are taken for when nobody says.
constexpr int32_t usual_hint(int32_t components) {
  return components == 1 ? QVIM_HINT_GREY : components == 3 ? QVIM_HINT_RGB : QVIM_HINT_UNKNOWN;
}

template <class Record, class T>
result<basic_image<Record>> over(const memory<T> &pixels, const typename dimension<Record>::extent &size,
                                 int32_t components, int32_t bits, uint32_t pitch, int32_t hint) noexcept {
  static_assert(!std::is_const_v<T>, "an image can be written: its memory is not constant");
  qvimagedata d;
  if (!qviminitdata(&d, pixie_type_of<T>(), bits, components, hint < 0 ? usual_hint(components) : hint))
    return status(QVERR_USAGE, {}, "pixels have 1 to 32 components, and integers as many bits as their type");
  basic_image<Record> im;
  const int32_t code = dimension<Record>::make(&im, pixels.at, pixels.bytes, size, pitch, &d);
  if (code < 0) return status::of_file(code, {});
  return im;
}

}  // namespace detail

// An image over pixels that are there: an array, a pointer, a vector, a span of the caller's, which must
// outlive the image and its copies.
//   size         width, height, and depth of a volume
//   components   of a pixel, 1 to 32, side by side
//   bits         significant bits of an integer component, at the low end; 0: all
//   pitch        bytes from a row to the next; 0: rows without gaps
//   hint         what the components mean, QVIM_HINT_...; without it 1 is grey, 3 are red, green, blue
// The type of a component is that of the memory: unsigned integers, float, double. What knows its size
// must have room for the image; a pointer is trusted. Fails with QVERR_USAGE for a size below 1, memory
// that is too small, bits or components that are none.
template <class Memory>
result<image> over(Memory &&memory, extent size, int32_t components = 1, int32_t bits = 0, uint32_t pitch = 0,
                   int32_t hint = -1) noexcept {
  return detail::over<::qvimage>(detail::memory_of(memory), size, components, bits, pitch, hint);
}
template <class Memory>
result<image3> over(Memory &&memory, extent3 size, int32_t components = 1, int32_t bits = 0,
                    uint32_t pitch = 0, int32_t hint = -1) noexcept {
  return detail::over<::qvimage3>(detail::memory_of(memory), size, components, bits, pitch, hint);
}

}  // namespace qv
