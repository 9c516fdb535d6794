// What holds for every kind of view: what it refuses and says of itself, that records which refer to each
// other work wherever they are copied, and that transfers allocate nothing.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <vector>

#include <qvimage/qvimage.h>

#include "core/dimension.hpp"
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

struct facts {
  const char *device;
  uint32_t blocks, images, flag;  // what it adds to the counts of a chain, 'b' and 'i', and sets there
  bool forwards;                  // other queries
  int32_t scan_code;              // for a scan order that there is not
  bool maps, writes;
};

struct kind : facts {
  const char *name;
  int axes, source_axes, pixies;
  std::function<int32_t(void *view, void *source)> make;
};

template <class View, class Source, class Make>
kind of(const char *name, const facts &f, int pixies, Make make) {
  constexpr auto axes = [](auto *record) { return std::is_same_v<decltype(record), qvimage *> ? 2 : 3; };
  return {f,
          name,
          axes(static_cast<View *>(nullptr)),
          axes(static_cast<Source *>(nullptr)),
          pixies,
          [=](void *v, void *s) { return make(static_cast<View *>(v), static_cast<Source *>(s)); }};
}

uint8_t reversed_table[256];
const void *const tables[4] = {reversed_table, reversed_table, reversed_table, reversed_table};

const kind kinds[] = {
    of<qvimage, qvimage>("converter", {"QVIMCONV", 1, 1, 0x40000, false, -1, true, true}, 3,
                         [](auto *v, auto *s) { return qvimage_converter(v, s, nullptr, 0, 0, 5, 0); }),
    of<qvimage3, qvimage3>("converter 3", {"QVIMCONV", 1, 1, 0x40000, false, -1, true, true}, 3,
                           [](auto *v, auto *s) { return qvimage3_converter(v, s, nullptr, 0, 0, 5, 0); }),
    of<qvimage, qvimage>("lut2", {"QVIMLUT2", 2, 1, 0x40000, true, -1, false, true}, 3,
                         [](auto *v, auto *s) { return qvimage_lut2(v, s, 0, tables, tables, 0, 0, 0, 0); }),
    of<qvimage, qvimage>(
        "pseudo-colour", {"QVIMLUT2", 2, 1, 0x40000, true, -1, false, false}, 1,
        [](auto *v, auto *s) { return qvimage_lut2(v, s, 0, tables, tables, 3, QVIM_HINT_RGB, 0, 0); }),
    of<qvimage3, qvimage3>("lut3", {"QVIMLUT3", 2, 1, 0x40000, true, -1, false, true}, 3,
                           [](auto *v, auto *s) { return qvimage_lut3(v, s, 0, tables, tables, 0, 0, 0); }),
    of<qvimage, qvimage>("decimate", {"QVIMDECI", 2, 1, 0x10000, true, -1, false, true}, 1,
                         [](auto *v, auto *s) { return qvimage_decimate(v, s, 0, 3, 2, 1, 1); }),
    of<qvimage, qvimage>("rotate", {"QVIMROTA", 2, 1, 0x20000, false, -11, false, true}, 3,
                         [](auto *v, auto *s) { return qvimage_rotate_filt(v, s, 0, 5); }),
    of<qvimage, qvimage>("mirror", {"QVIMROTA", 2, 1, 0x20000, false, -11, false, true}, 3,
                         [](auto *v, auto *s) { return qvimage_rotate_filt(v, s, 0, 4); }),
    of<qvimage, qvimage>("yodd", {"QVIMYOdd", 1, 1, 0x10000, true, -11, true, true}, 3,
                         [](auto *v, auto *s) { return qvimage_yodd(v, s, 0, 1); }),
    of<qvimage, qvimage>("cachemonitor", {"QVIMCAM", 0, 0, 0, true, -11, true, true}, 3,
                         [](auto *v, auto *s) { return qvimage_cachemonitor(v, s, 0, 0); }),
    of<qvimage, qvimage3>(
        "def2from3", {"QVIM3to2", 1, 1, 0, true, -11, false, true}, 3,
        [](auto *v, auto *s) { return qvimage_def2from3(v, s, QVIM_ZSCAN, QVIM_YSCAN, 2, 0); }),
    of<qvimage, qvimage3>("joined frames", {"QVIM3to2", 1, 1, 0, true, -11, false, true}, 3,
                          [](auto *v, auto *s) { return qvimage_def2from3(v, s, 0, 0, 0, 0x40); }),
    of<qvimage3, qvimage>("def3from2", {"QVIM2to3", 1, 1, 0, true, -11, true, true}, 3,
                          [](auto *v, auto *s) { return qvimage_def3from2(v, s, 0); }),
    of<qvimage3, qvimage3>("def3from3", {"QVIM3to3", 1, 1, 0, true, -11, true, true}, 3,
                           [](auto *v, auto *s) { return qvimage3_def3from3(v, s, 2, 0, 0, 0); }),
    of<qvimage, qvimage3>("stack", {"QVIMSTAK", 2, 1, 0x2000000, false, -11, false, false}, 3,
                          [](auto *v, auto *s) { return qvimage_stack(v, s); }),
    of<qvimage, qvimage>("colorconverter", {"QVIMCLR", 2, 1, 0x40000, false, -1, false, true}, 3,
                         [](auto *v, auto *s) { return qvimage_colorconverter(v, s, QVIM_HINT_YCRCB, 0); }),
    of<qvimage3, qvimage3>("colorconverter 3", {"QVIMCLR3", 2, 1, 0x40000, false, -1, false, true}, 3,
                           [](auto *v, auto *s) { return qvimage3_colorconverter(v, s, QVIM_HINT_CMYK, 0); }),
    of<qvimage, qvimage>("colorslice", {"ClrSlice", 1, 1, 0, true, -1, false, true}, 3,
                         [](auto *v, auto *s) { return qvimage_colorslice(v, s, 0, 2, 0); }),
    of<qvimage3, qvimage3>("colorslice 3", {"ClrSlice", 1, 1, 0, true, -1, false, true}, 3,
                           [](auto *v, auto *s) { return qvimage3_colorslice(v, s, 0, 4, 0); }),
    of<qvimage, qvimage>("Bayer", {"Bayer*4", 2, 1, 0x10000, true, -11, false, false}, 1,
                         [](auto *v, auto *s) { return qvimage_Beyer4_filter(v, s, 0, 2); }),
    of<qvimage3, qvimage3>("Bayer 3", {"Bayer*4", 2, 1, 0x10000, true, -11, false, false}, 1,
                           [](auto *v, auto *s) { return qvimage3_Beyer4_filter(v, s, 0, 1); }),
};

class EveryView : public testing::TestWithParam<kind> {
 protected:
  static constexpr int32_t width = 21, height = 8, depth = 5;
  static constexpr int32_t size[3] = {width, height, depth};

  void SetUp() override {
    for (int i = 0; i < 256; i++) reversed_table[i] = uint8_t(255 - i);
    for (size_t i = 0; i < pixels.size(); i++) pixels[i] = uint8_t(i * 37 ^ i >> 5);
    ASSERT_NO_FATAL_FAILURE(memory(array, 1));
    ASSERT_EQ(k.make(array.two(0), next()), 0);
  }
  void memory(records &in, size_t at) {
    const int hint = k.pixies == 3 ? QVIM_HINT_RGB : QVIM_HINT_GREY;
    ASSERT_EQ(k.source_axes == 2
                  ? qvimage_memory(in.two(at), pixels.data(), size, 0, QVIM_UINT8, 0, k.pixies, hint, 0)
                  : qvimage3_memory(in.three(at), pixels.data(), size, 0, QVIM_UINT8, 0, k.pixies, hint, 0),
              0);
  }
  bytes read(records &in, size_t at) { return k.axes == 2 ? whole(in.two(at)) : whole(in.three(at)); }
  // Calls work with the view or its source, as the record that it is.
  template <class Work>
  void with_view(Work work) {
    k.axes == 2 ? work(array.two(0)) : work(array.three(0));
  }
  template <class Work>
  auto with_source(Work work) {
    return k.source_axes == 2 ? work(array.two(1)) : work(array.three(1));
  }

  const kind &k = GetParam();
  bytes pixels = bytes(size_t(3 * width * height * depth));
  records array{2};  // the view and its source
};
void PrintTo(const kind &k, std::ostream *out) { *out << k.name; }
INSTANTIATE_TEST_SUITE_P(, EveryView, testing::ValuesIn(kinds));

TEST_P(EveryView, WorksWhereverItsRecordsAreCopied) {
  constexpr size_t place = 63;  // of the view, among 128 records: all relative references lead to one of them
  const bytes expected = read(array, 0);
  for (const int reference : {-128, -66, -64, -1}) {
    SCOPED_TRACE(reference);
    records many(128);
    ASSERT_NO_FATAL_FAILURE(memory(many, size_t(int(place) + 65 + reference)));
    ASSERT_EQ(k.make(many.two(place), reinterpret_cast<void *>(intptr_t{reference})), 0);
    EXPECT_EQ(read(many, place), expected);

    records copy = many.moved();
    if (k.axes == 2) {  // what was set up before still is
      qvimage *const im = copy.two(place);
      bytes first(size_t(im->f.pixelsize));
      im->bxts(im, 0, QVIM_FLOAT64, all_of(im->d));  // apart from it
      ASSERT_EQ(im->ioread(im, 0, first.data(), 1, 0, 0), 1u);
      EXPECT_EQ(first, bytes(expected.begin(), expected.begin() + long(first.size())));
    }
    EXPECT_EQ(read(copy, place), expected);
  }
}

TEST_P(EveryView, AllocatesNothing) {
  const uint64_t before = allocation_count();
  ASSERT_EQ(k.make(array.two(0), next()), 0);
  const bytes out = read(array, 0);
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

TEST_P(EveryView, TellsItsPlaceInTheChain) {
  const auto below = [&](uint32_t code) {
    return with_source([&](auto *im) { return im->aeiou(im, code, 0, 0, nullptr); });
  };
  with_view([&](auto *im) {
    const auto answer = [&](uint32_t code) { return im->aeiou(im, code, 0, 0, nullptr); };
    EXPECT_EQ(std::strncmp(im->devname, k.device, 8), 0);
    EXPECT_EQ(answer('b'), (below('b') + k.blocks) | k.flag);
    EXPECT_EQ(answer('i'), (below('i') + k.images) | k.flag);
    EXPECT_EQ(answer('m'), (below('m') + k.images) | k.flag);
    EXPECT_EQ(answer('I'), k.forwards ? below('I') : 0xFFFFFFFF / uint32_t(im->f.pixelsize));
    EXPECT_EQ(answer('B'), 357913941u);
    EXPECT_EQ(answer('*' << 8 | 'x'), 0u);
    EXPECT_EQ(answer('q'), 0u);
  });
  // 'e' asks the source when its last number says so, or as all other queries do.
  with_source([](auto *im) {
    im->aeiou = [](decltype(im), uint32_t, int32_t clear, int32_t, void *) { return uint32_t(70 + clear); };
  });
  with_view([&](auto *im) {
    EXPECT_EQ(im->aeiou(im, 'e', 1, 0, nullptr), k.forwards ? 71u : 0u);
    EXPECT_EQ(im->aeiou(im, 'e', 1, 1, nullptr), 71u);
  });
}

TEST_P(EveryView, RefusesWithTheCodeOfTheReason) {
  EXPECT_EQ(k.make(nullptr, next()), -1);
  EXPECT_EQ(k.make(array.two(0), nullptr), -1);
  EXPECT_STREQ(array.two(0)->devname, k.axes == 2 ? "NULL2" : "NULL3");
  ASSERT_EQ(k.make(array.two(0), next()), 0);
  with_view([&](auto *im) {
    const uint32_t type = type_of(im->d), all = all_of(im->d);
    const struct {
      uint32_t mode, type, mask;
      int32_t code;
    } refused[] = {{QVIM_XSCAN, 3, all, -19},
                   {QVIM_XSCAN, type, 0, -21},
                   {QVIM_XSCAN, type, 0x80000000, -21},
                   {QVIM_YSCAN | QVIM_ZSCAN, type, all, k.scan_code}};
    const bool flat = k.axes == 2;
    EXPECT_EQ(flat ? im->ioset(im, QVIM_ZSCAN, type, all) : k.scan_code, k.scan_code);
    EXPECT_EQ(im->imapset(im, 0, uint32_t(im->d.pixietype), all), k.maps ? 0x4005 : -11);
    for (const auto &r : refused) {
      uint8_t out[64];
      EXPECT_EQ(im->ioset(im, QVIM_XSCAN, type, all), 1);
      EXPECT_EQ(im->ioset(im, r.mode, r.type, r.mask), r.code) << r.mode << " " << r.type << " " << r.mask;
      EXPECT_EQ(qvim::call_length(im, 1, {}), 0u) << "what was set up before is gone";
      EXPECT_EQ(qvim::call_read(im, 0, out, 1, {}) + qvim::call_write(im, 0, out, 1, {}), 0u);
      if (r.mode) continue;
      ASSERT_GE(im->bxts(im, 0, type, all), 0);
      EXPECT_EQ(im->bxts(im, 0, r.type, r.mask), r.code);
      qvxyzcoord where{0, 0, 0};
      EXPECT_EQ(im->bxta(im, QVIM_LIST, out, &where, 1, QVIM_OP_READ), 0u);
    }
    im->source[0] = -65;  // over itself
    EXPECT_EQ(im->ioset(im, QVIM_XSCAN, type, all), -5);
    EXPECT_EQ(im->bxts(im, 0, type, all), -5);
    EXPECT_EQ(im->aeiou(im, 'e', 0, 1, nullptr), 0u);
  });
}

TEST_P(EveryView, ForgetsItsSetUpsWithItsWindow) {
  if (k.axes == 3) return;
  qvimage *const im = array.two(0);
  const uint32_t type = uint32_t(im->d.pixietype), all = all_of(im->d);
  uint8_t out[64] = {};
  qvxyzcoord where{0, 0, 0};
  qvimagemap map;
  const auto moves = [&](bool anything) {
    EXPECT_EQ(im->iolen(im, 1, 0, 0), anything);
    EXPECT_EQ(im->ioread(im, 0, out, 1, 0, 0), anything);
    EXPECT_EQ(im->iorite(im, 0, out, 1, 0, 0), anything && k.writes);
    EXPECT_EQ(im->bxta(im, QVIM_LIST, out, &where, 1, QVIM_OP_READ), anything);
    EXPECT_EQ(im->imap(im, &map, 0, 0), anything && k.maps);
  };
  const auto set_up = [&](bool possible) {
    EXPECT_EQ(im->ioset(im, 0, type, all), possible);
    EXPECT_EQ(im->bxts(im, 0, type, all) > 0, possible);
    EXPECT_EQ(im->imapset(im, 0, type, all) > 0, possible && k.maps);
  };
  moves(false);
  set_up(true);
  moves(true);
  qvywindow part = im->imdim, got, outside = im->imdim;
  part.se.x--, outside.se.x++;
  ASSERT_EQ(im->xwind(im, &part, 's'), im);
  moves(false);
  EXPECT_EQ(im->xwind(im, &got, 'w'), &im->wind);
  EXPECT_EQ(std::memcmp(&got, &part, sizeof got), 0);
  EXPECT_EQ(im->xwind(im, &got, 'i'), &im->imdim);
  EXPECT_EQ(im->xwind(im, &got, 'x'), nullptr);
  EXPECT_EQ(im->xwind(im, &outside, 's'), nullptr);
  set_up(false);
  moves(false);
  ASSERT_EQ(im->xwind(im, nullptr, 's'), im);
  set_up(true);
  moves(true);
}

// A null-windowed source accepts every set-up and moves nothing: so do its views.
TEST_P(EveryView, MovesNothingOfASourceWithoutAWindow) {
  if (k.axes == 3) return;
  k.source_axes == 2 ? qvimnullwind(array.two(1)) : qvim3nullwind(array.three(1));
  qvimage *const im = array.two(0);
  for (const uint32_t type : {0u, 3u, uint32_t(QVIM_UINT8), uint32_t(QVIM_UINT64)})
    for (const uint32_t mask : {0u, 1u, 7u, 15u}) {
      SCOPED_TRACE(std::to_string(type) + " " + std::to_string(mask));
      im->ioset(im, 0, type, mask);
      uint8_t out[64] = {};
      EXPECT_EQ(im->ioread(im, 0, out, 1, 0, 0), 0u);
      EXPECT_EQ(im->iorite(im, 0, out, 1, 0, 0), 0u);
      EXPECT_EQ(im->iolen(im, 1, 0, 0), 0u);
    }
}

}  // namespace
