// What holds for every kind of view: records that refer to each other work wherever they are copied,
// transfers allocate nothing, and a tall chain of all kinds presents what its members say.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <functional>
#include <vector>

#include <qvimage/qvimage.h>

#include "tests/fault.hpp"

namespace {

using bytes = std::vector<uint8_t>;

// Records of either dimension in an array, at a boundary of 4 bytes and not of 8.
class records {
 public:
  explicit records(size_t count) : bytes_(count * sizeof(qvimage) + 4) {}
  qvimage *two(size_t i) { return reinterpret_cast<qvimage *>(bytes_.data() + 4 + i * sizeof(qvimage)); }
  qvimage3 *three(size_t i) { return reinterpret_cast<qvimage3 *>(two(i)); }
  // A copy, after which nothing of the first one is left.
  records moved() {
    records copy = *this;
    std::fill(bytes_.begin(), bytes_.end(), uint8_t{0xEE});
    return copy;
  }

 private:
  bytes bytes_;
};
static_assert(sizeof(qvimage) == sizeof(qvimage3));

// The record after this one.
template <class Record = qvimage>
Record *next() {
  return reinterpret_cast<Record *>(intptr_t{-64});
}

uint32_t type_of(const qvimagedata &d) {
  return uint32_t(d.pixietype) | (d.pixietype < QVIM_FLOAT32 ? QVIM_LSB : 0);
}
uint32_t all_of(const qvimagedata &d) { return (uint32_t{1} << d.pixies) - 1; }

// All of an image in its own type, as bytes.
bytes whole(qvimage *im) {
  const uint32_t count = uint32_t(im->imdim.se.x) * uint32_t(im->imdim.se.y);
  bytes out(count * size_t(im->f.pixelsize));
  EXPECT_EQ(im->ioset(im, QVIM_XSCAN, type_of(im->d), all_of(im->d)), 1);
  for (int32_t y = 0; y < im->imdim.se.y; y++)
    for (int32_t x = 0; x < im->imdim.se.x;) {
      const size_t at = size_t(y) * size_t(im->imdim.se.x) + size_t(x);
      const uint32_t n =
          im->ioread(im, 0, &out[at * size_t(im->f.pixelsize)], uint32_t(im->imdim.se.x - x), x, y);
      if (n == 0) return ADD_FAILURE() << "nothing at " << x << ", " << y, out;
      x += int32_t(n);
    }
  return out;
}
bytes whole(qvimage3 *im) {
  bytes out;
  for (int32_t z = 0; z < im->imdim.se.z; z++) {
    qvimage plane;
    EXPECT_EQ(qvimage_def2from3(&plane, im, QVIM_XSCAN, QVIM_YSCAN, z, 0), 0);
    const bytes one = whole(&plane);
    out.insert(out.end(), one.begin(), one.end());
  }
  return out;
}

struct kind {
  const char *name;
  int axes, source_axes, pixies;
  std::function<int32_t(void *view, void *source)> make;
};

template <class View, class Source, class Make>
kind of(const char *name, int pixies, Make make) {
  return {name, std::is_same_v<View, qvimage> ? 2 : 3, std::is_same_v<Source, qvimage> ? 2 : 3, pixies,
          [=](void *view, void *source) {
            return make(static_cast<View *>(view), static_cast<Source *>(source));
          }};
}

uint8_t reversed_table[256];
const void *const tables[4] = {reversed_table, reversed_table, reversed_table, reversed_table};

const kind kinds[] = {
    of<qvimage, qvimage>("converter", 3,
                         [](auto *v, auto *s) { return qvimage_converter(v, s, nullptr, 0, 0, 5, 0); }),
    of<qvimage3, qvimage3>("converter 3", 3,
                           [](auto *v, auto *s) { return qvimage3_converter(v, s, nullptr, 0, 0, 5, 0); }),
    of<qvimage, qvimage>("lut2", 3,
                         [](auto *v, auto *s) { return qvimage_lut2(v, s, 0, tables, tables, 0, 0, 0, 0); }),
    of<qvimage, qvimage>(
        "pseudo-colour", 1,
        [](auto *v, auto *s) { return qvimage_lut2(v, s, 0, tables, tables, 3, QVIM_HINT_RGB, 0, 0); }),
    of<qvimage3, qvimage3>("lut3", 3,
                           [](auto *v, auto *s) { return qvimage_lut3(v, s, 0, tables, tables, 0, 0, 0); }),
    of<qvimage, qvimage>("decimate", 1,
                         [](auto *v, auto *s) { return qvimage_decimate(v, s, 0, 3, 2, 1, 1); }),
    of<qvimage, qvimage>("rotate", 3, [](auto *v, auto *s) { return qvimage_rotate_filt(v, s, 0, 5); }),
    of<qvimage, qvimage>("mirror", 3, [](auto *v, auto *s) { return qvimage_rotate_filt(v, s, 0, 4); }),
    of<qvimage, qvimage>("yodd", 3, [](auto *v, auto *s) { return qvimage_yodd(v, s, 0, 1); }),
    of<qvimage, qvimage>("cachemonitor", 3,
                         [](auto *v, auto *s) { return qvimage_cachemonitor(v, s, 0, 0); }),
    of<qvimage, qvimage3>(
        "def2from3", 3,
        [](auto *v, auto *s) { return qvimage_def2from3(v, s, QVIM_ZSCAN, QVIM_YSCAN, 2, 0); }),
    of<qvimage, qvimage3>("joined frames", 3,
                          [](auto *v, auto *s) { return qvimage_def2from3(v, s, 0, 0, 0, 0x40); }),
    of<qvimage3, qvimage>("def3from2", 3, [](auto *v, auto *s) { return qvimage_def3from2(v, s, 0); }),
    of<qvimage3, qvimage3>("def3from3", 3,
                           [](auto *v, auto *s) { return qvimage3_def3from3(v, s, 2, 0, 0, 0); }),
    of<qvimage, qvimage3>("stack", 3, [](auto *v, auto *s) { return qvimage_stack(v, s); }),
    of<qvimage, qvimage>("colorconverter", 3,
                         [](auto *v, auto *s) { return qvimage_colorconverter(v, s, QVIM_HINT_YCRCB, 0); }),
    of<qvimage3, qvimage3>("colorconverter 3", 3,
                           [](auto *v, auto *s) { return qvimage3_colorconverter(v, s, QVIM_HINT_CMYK, 0); }),
    of<qvimage, qvimage>("colorslice", 3, [](auto *v, auto *s) { return qvimage_colorslice(v, s, 0, 2, 0); }),
    of<qvimage3, qvimage3>("colorslice 3", 3,
                           [](auto *v, auto *s) { return qvimage3_colorslice(v, s, 0, 4, 0); }),
    of<qvimage, qvimage>("Bayer", 1, [](auto *v, auto *s) { return qvimage_Beyer4_filter(v, s, 0, 2); }),
    of<qvimage3, qvimage3>("Bayer 3", 1, [](auto *v, auto *s) { return qvimage3_Beyer4_filter(v, s, 0, 1); }),
};

struct EveryView : testing::Test {
  static constexpr int32_t width = 21, height = 8, depth = 5;
  static constexpr int32_t size[3] = {width, height, depth};

  void SetUp() override {
    for (int i = 0; i < 256; i++) reversed_table[i] = uint8_t(255 - i);
    for (size_t i = 0; i < pixels.size(); i++) pixels[i] = uint8_t(i * 37 ^ i >> 5);
  }
  void memory(records &array, size_t at, const kind &k) {
    const int hint = k.pixies == 3 ? QVIM_HINT_RGB : QVIM_HINT_GREY;
    ASSERT_EQ(
        k.source_axes == 2
            ? qvimage_memory(array.two(at), pixels.data(), size, 0, QVIM_UINT8, 0, k.pixies, hint, 0)
            : qvimage3_memory(array.three(at), pixels.data(), size, 0, QVIM_UINT8, 0, k.pixies, hint, 0),
        0);
  }
  static bytes read(records &array, size_t at, const kind &k) {
    return k.axes == 2 ? whole(array.two(at)) : whole(array.three(at));
  }
  bytes pixels = bytes(size_t(3 * width * height * depth));
};

TEST_F(EveryView, WorksWhereverItsRecordsAreCopied) {
  constexpr size_t place = 63;  // of the view, among 128 records: all relative references lead to one of them
  for (const kind &k : kinds) {
    SCOPED_TRACE(k.name);
    records fixed(2);
    ASSERT_NO_FATAL_FAILURE(memory(fixed, 1, k));
    ASSERT_EQ(k.make(fixed.two(0), fixed.two(1)), 0);
    const bytes expected = read(fixed, 0, k);
    for (const int reference : {-128, -66, -64, -1}) {
      SCOPED_TRACE(reference);
      records array(128);
      ASSERT_NO_FATAL_FAILURE(memory(array, size_t(int(place) + 65 + reference), k));
      ASSERT_EQ(k.make(array.two(place), reinterpret_cast<void *>(intptr_t{reference})), 0);
      EXPECT_EQ(read(array, place, k), expected);

      records copy = array.moved();
      if (k.axes == 2) {  // what was set up before still is
        qvimage *const im = copy.two(place);
        bytes first(size_t(im->f.pixelsize));
        ASSERT_EQ(im->ioread(im, 0, first.data(), 1, 0, 0), 1u);
        EXPECT_EQ(first, bytes(expected.begin(), expected.begin() + long(first.size())));
      }
      EXPECT_EQ(read(copy, place, k), expected);
    }
  }
}

TEST_F(EveryView, AllocatesNothing) {
  for (const kind &k : kinds) {
    SCOPED_TRACE(k.name);
    records array(2);
    ASSERT_NO_FATAL_FAILURE(memory(array, 1, k));
    const uint64_t before = allocation_count();
    ASSERT_EQ(k.make(array.two(0), next()), 0);
    const bytes out = read(array, 0, k);
    if (k.axes == 2) {
      qvimage *const im = array.two(0);
      bytes row = out;
      im->iorite(im, 0, row.data(), uint32_t(im->imdim.se.x), 0, 1);
      qvxyzcoord list[2] = {{0, 0, 0}, {1, 1, 0}};
      ASSERT_GE(im->bxts(im, 0, type_of(im->d), all_of(im->d)), 0);
      EXPECT_EQ(im->bxta(im, QVIM_LIST, row.data(), list, 2, QVIM_OP_READ), 2u);
    }
    EXPECT_EQ(allocation_count(), before);
  }
}

// --- a chain of them all -------------------------------------------------------------------------------

// Over a volume of RGB pixels of 12 bits whose bytes are reversed; each record's source is the next one.
struct Tower : testing::Test {
  enum place : size_t {
    reals,
    cells,
    mean,
    one_frame,
    thinned,
    green,
    curves,
    inks,
    turned,
    even_lines,
    watched,
    joined,
    curves_3,
    bytes_3,
    begun_later,
    volume,
    count
  };
  static constexpr int32_t size[3] = {16, 12, 5};
  static constexpr int32_t w = 60, h = 16;   // of the image turned
  static constexpr int32_t tw = 30, th = 5;  // of what is left of it

  void SetUp() override {
    for (size_t c = 0; c < 3; c++)
      for (int i = 0; i < 256; i++)
        for (const auto &[curve, factor, offset] : {std::tuple{&lower, 5, 17}, {&upper, 9, 3}}) {
          const auto to = uint8_t(i * (factor + 2 * int(c)) + offset);
          (*curve)[c][size_t(i)] = to;
          (*curve)[c + 3][to] = uint8_t(i);  // the way back
        }
    for (int z = 0; z < size[2]; z++)
      for (int y = 0; y < size[1]; y++)
        for (int x = 0; x < size[0]; x++)
          for (int c = 0; c < 3; c++)
            put(x, y, z, c, unsigned(z * 811 + y * 331 + x * 37 + c * 1201) & 0xFFF);
    ASSERT_NO_FATAL_FAILURE(build());
  }
  void build() {
    qvimagedata d, narrow, real;
    ASSERT_EQ(qviminitdata(&d, QVIM_UINT16, 12, 3, QVIM_HINT_RGB), 1);
    d.i_endian = QVIM_SWAPPED;
    qviminitdata(&narrow, QVIM_UINT8, 8, 3, QVIM_HINT_RGB);
    qviminitdata(&real, QVIM_FLOAT32, 0, 4, QVIM_HINT_UNKNOWN);
    ASSERT_EQ(qvimage3_memdata(all.three(volume), pixels.data(), 0, size, 0, 0, &d, nullptr, 0), 0);
    const auto read = tables_of(lower, 0), write = tables_of(lower, 3);
    const auto read_2 = tables_of(upper, 0), write_2 = tables_of(upper, 3);
    ASSERT_EQ(qvimage3_def3from3(all.three(begun_later), next<qvimage3>(), 2, 0, 0, 0), 0);
    ASSERT_EQ(qvimage3_converter(all.three(bytes_3), next<qvimage3>(), &narrow, 0, 0, 8, 0), 0);
    ASSERT_EQ(qvimage_lut3(all.three(curves_3), next<qvimage3>(), 0, read.data(), write.data(), 0, 0, 0), 0);
    ASSERT_EQ(qvimage_def2from3(all.two(joined), next<qvimage3>(), 0, 0, 0, 0x80), 0);
    ASSERT_EQ(qvimage_cachemonitor(all.two(watched), next(), 0, 0), 0);
    ASSERT_EQ(qvimage_yodd(all.two(even_lines), next(), 0, 0), 0);
    ASSERT_EQ(qvimage_rotate_filt(all.two(turned), next(), 0, 5), 0);
    ASSERT_EQ(qvimage_colorconverter(all.two(inks), next(), QVIM_HINT_CMY, 0), 0);
    ASSERT_EQ(qvimage_lut2(all.two(curves), next(), 0, read_2.data(), write_2.data(), 0, 0, 0, 0), 0);
    ASSERT_EQ(qvimage_colorslice(all.two(green), next(), 0, 2, 0), 0);
    ASSERT_EQ(qvimage_decimate(all.two(thinned), next(), 0, 2, 3, 1, 2), 0);
    ASSERT_EQ(qvimage_def3from2(all.three(one_frame), next(), 0), 0);
    ASSERT_EQ(qvimage_stack(all.two(mean), next<qvimage3>()), 0);
    ASSERT_EQ(qvimage_Beyer4_filter(all.two(cells), next(), 0, 0), 0);
    ASSERT_EQ(qvimage_converter(all.two(reals), next(), &real, 0, 0, 0, 1), 0);
  }

  using curve_set = std::array<std::array<uint8_t, 256>, 6>;  // three to read, three to write
  static std::array<const void *, 4> tables_of(const curve_set &set, size_t first) {
    return {set[first].data(), set[first + 1].data(), set[first + 2].data(), nullptr};
  }

  size_t offset(int x, int y, int z, int c) const {
    return 2 * size_t(c + 3 * (x + size[0] * (y + size[1] * z)));
  }
  unsigned get(int x, int y, int z, int c) const {
    const size_t at = offset(x, y, z, c);
    return unsigned(pixels[at] << 8 | pixels[at + 1]);
  }
  void put(int x, int y, int z, int c, unsigned v) {
    const size_t at = offset(x, y, z, c);
    pixels[at] = uint8_t(v >> 8);
    pixels[at + 1] = uint8_t(v);
  }

  // Where a pixel of the thinned image lies in the volume.
  struct voxel {
    int x, y, z;
  };
  static voxel below(int x, int y) {
    x = 1 + 2 * x, y = 2 + 3 * y;                                     // every second column, every third line
    const int across = y, down = w - 1 - x;                           // turned
    const int line = down & ~1;                                       // even lines only
    return {across, line % size[1], (line / size[1] + 2) % size[2]};  // frames one below another, renumbered
  }
  uint8_t shown(int x, int y) const {
    const voxel v = below(x, y);
    const auto byte = uint8_t(get(v.x, v.y, v.z, 1) >> 4);
    return upper[1][uint8_t(255 - lower[1][byte])];
  }
  // Four values of a cell of 2 x 2; lines that are not there are the nearest of their kind.
  uint8_t in_cell(int x, int y, int which) const {
    const int column = (x & ~1) + which % 2, line = (y & ~1) + which / 2;
    return shown(column, line < th ? line : line - 2);
  }

  curve_set lower{}, upper{};
  bytes pixels = bytes(2 * size_t(3 * size[0] * size[1] * size[2]));
  records all{count};
};

TEST_F(Tower, ReadsWhatItsViewsSayOneAfterAnother) {
  for (const bool copied : {false, true}) {
    if (copied) all = all.moved();
    qvimage *const top = all.two(reals);
    ASSERT_EQ(top->imdim.se.x, tw);
    ASSERT_EQ(top->imdim.se.y, th);
    const uint64_t before = allocation_count();
    for (const uint32_t scan : {uint32_t(QVIM_XSCAN), uint32_t(QVIM_YSCAN)}) {
      ASSERT_EQ(top->ioset(top, scan, QVIM_FLOAT32, 15), 1);
      for (int y = 0; y < th; y++)
        for (int x = 0; x < tw; x++) {
          std::array<float, 4> pixel;
          ASSERT_EQ(top->ioread(top, 0, pixel.data(), 1, x, y), 1u);
          for (int which = 0; which < 4; which++)
            ASSERT_EQ(pixel[size_t(which)], float(in_cell(x, y, which)) * (1.0f / 255))
                << x << ", " << y << ", " << which;
        }
    }
    EXPECT_EQ(allocation_count(), before);
  }
}

TEST_F(Tower, ReadsTheSameInRunsOfAnyLength) {
  qvimage *const im = all.two(mean);
  for (const uint32_t scan : {uint32_t(QVIM_XSCAN), uint32_t(QVIM_YSCAN)})
    for (const uint32_t wrap : {0u, uint32_t(QVIM_WRAP)})
      for (const uint32_t most : {1u, 4u, 7u, 1000u}) {
        ASSERT_EQ(im->ioset(im, scan | wrap, QVIM_UINT8, 1), 1);
        const int32_t line = scan == QVIM_XSCAN ? tw : th, lines = scan == QVIM_XSCAN ? th : tw;
        for (int32_t at = 0; at < line * lines;) {
          const int32_t along = at % line, across = at / line;
          uint8_t run[tw * th];
          const uint32_t n = scan == QVIM_XSCAN
                                 ? im->ioread(im, 0, run, std::min(most, uint32_t(tw * th)), along, across)
                                 : im->ioread(im, 0, run, std::min(most, uint32_t(tw * th)), across, along);
          ASSERT_GT(n, 0u);
          for (uint32_t i = 0; i < n; i++, at++) {
            const int32_t x = scan == QVIM_XSCAN ? at % line : at / line;
            const int32_t y = scan == QVIM_XSCAN ? at / line : at % line;
            ASSERT_EQ(run[i], shown(x, y)) << x << ", " << y;
          }
        }
      }
}

TEST_F(Tower, WritesReachThePixelsThatTheyMean) {
  qvimage *const im = all.two(thinned);
  bytes expected = pixels;
  const uint64_t allocations = allocation_count();
  ASSERT_EQ(im->ioset(im, QVIM_XSCAN, QVIM_UINT8, 1), 1);
  for (int32_t y = 0; y < th; y++) {
    uint8_t line[tw];
    for (int32_t x = 0; x < tw; x++) line[x] = uint8_t(x * 91 + y * 29);
    for (int32_t x = 0; x < tw;) {
      const uint32_t n = im->iorite(im, 0, line + x, uint32_t(tw - x), x, y);
      ASSERT_GT(n, 0u);
      x += int32_t(n);
    }
    for (int32_t x = 0; x < tw; x++) {
      const voxel v = below(x, y);
      for (int c = 0; c < 3; c++) {
        // The colour converter writes whole pixels: the others come back as the bytes they were read as.
        uint8_t *const stored = &expected[offset(v.x, v.y, v.z, c)];
        const unsigned before = unsigned(stored[0] << 8 | stored[1]) >> 4;
        const unsigned byte = c == 1 ? lower[4][uint8_t(255 - upper[4][line[x]])] : before;
        stored[0] = uint8_t(byte >> 4);
        stored[1] = uint8_t(byte << 4);
      }
    }
  }
  EXPECT_EQ(allocation_count(), allocations);
  EXPECT_EQ(pixels, expected);
  EXPECT_EQ(all.two(watched)->aeiou(all.two(watched), 'c' << 8 | 'm', 0, 0, nullptr) & 0x4000, 0x4000u);
}

}  // namespace
