// The generic block transfer over kinds of image that have nothing but runs.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include <qvimage/qvimage.h>

#include "core/dimension.hpp"
#include "core/record.hpp"

namespace {

// A view that shows its source and keeps in its iostate how it was set up last; it has no mapping of its own.
// `Source` may have another dimension: a 2-D view of a 3-D source shows plane 1.
template <class Source>
struct runs_only {
  static Source *source(qvimage *im) { return qvim::resolve<Source>(im, im->source[0]); }

  static int32_t ioset(qvimage *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    std::memcpy(im->iostate, &mode, 4);
    std::memcpy(im->iostate + 4, &datatype, 4);
    im->ioread = [](qvimage *v, uint32_t m, void *b, uint32_t n, int32_t x, int32_t y) {
      return qvim::call_read(source(v), m, b, n, place(x, y));
    };
    im->iorite = [](qvimage *v, uint32_t m, const void *b, uint32_t n, int32_t x, int32_t y) {
      return qvim::call_write(source(v), m, b, n, place(x, y));
    };
    return source(im)->ioset(source(im), mode, datatype, colourmask);
  }

  static auto place(int32_t x, int32_t y) {
    qvim::point<qvim::dimension_of<Source>> at{x, y};
    if constexpr (std::is_same_v<Source, qvimage3>) at[2] = 1;
    return at;
  }

  static qvimage over(Source *source) {
    qvimage im;
    const int32_t dims[] = {source->imdim.se.x, source->imdim.se.y};
    qvimage_defnop(&im, dims, &source->d, nullptr);
    im.source[0] = int64_t(reinterpret_cast<intptr_t>(source));
    im.ioset = ioset;
    return im;
  }
};

std::vector<uint8_t> bytes_of(const auto &record) {
  const auto *begin = reinterpret_cast<const uint8_t *>(&record);
  return {begin, begin + sizeof record};
}

struct chain {
  std::vector<uint16_t> pixels = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11,
                                  12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23};
  qvimage3 volume;     // 4 x 3 x 2
  qvimage plane, top;  // plane 1, and a view of it
  qvimbxtstate state{};

  chain() {
    const int32_t dims[] = {4, 3, 2};
    qvimage3_memory(&volume, pixels.data(), dims, 0, QVIM_UINT16, 12, 1, QVIM_HINT_GREY, 0);
    plane = runs_only<qvimage3>::over(&volume);
    top = runs_only<qvimage>::over(&plane);
  }
};

TEST(BlockTransfer, WorksThroughRunsAlone) {
  chain c;
  ASSERT_EQ(qvimbxts(&c.state, &c.top, 0, QVIM_UINT16, 1), 1);
  qvxyzcoord list[] = {{3, 2, 0}, {0, 0, 0}, {1, 1, 0}};
  uint16_t values[3];
  EXPECT_EQ(qvimbxta(&c.state, &c.top, QVIM_LIST, values, list, 3, QVIM_OP_READ), 3u);
  EXPECT_EQ(std::vector<uint16_t>(values, values + 3), std::vector<uint16_t>({23, 12, 17}));
  uint16_t added[] = {1, 4090, 3};
  EXPECT_EQ(qvimbxta(&c.state, &c.top, QVIM_LIST, added, list, 3, QVIM_OP_ADD), 3u);
  EXPECT_EQ(c.pixels[23], 24);
  EXPECT_EQ(c.pixels[12], 6);  // 12 + 4090 keeps 12 bits
  EXPECT_EQ(c.pixels[17], 20);
  EXPECT_EQ(qvimbxtp(&c.state, &c.top, QVIM_LIST, values, list, 3, 2), 0u);
  EXPECT_EQ(qvimbxtw(&c.state, &c.top, QVIM_LIST, values, list, 3, 2), 1);
  EXPECT_EQ(qvimbxta(&c.state, &c.top, QVIM_LIST, nullptr, nullptr, 0, QVIM_OP_READ), 0u);
}

TEST(BlockTransfer, LeavesEverySetUpOfTheChainAsItWas) {
  chain c;
  ASSERT_EQ(qvimbxts(&c.state, &c.top, 0, QVIM_UINT16, 1), 1);
  // The client reads columns, upside of the container; somebody else maps the volume.
  ASSERT_EQ(c.top.ioset(&c.top, QVIM_YSCAN | QVIM_WRAP, QVIM_UINT16 | QVIM_MSB, 1), 1);
  ASSERT_EQ(c.volume.imapset(&c.volume, QVIM_YSCAN | QVIM_STEP, QVIM_UINT16, 1), 0x4005);
  const auto top = bytes_of(c.top), plane = bytes_of(c.plane), volume = bytes_of(c.volume);
  qvxyzcoord list[] = {{3, 2, 0}};
  uint16_t value = 0;
  for (uint32_t op = 0; op < 6; op++)
    EXPECT_EQ(qvimbxta(&c.state, &c.top, QVIM_LIST, &value, list, 1, op), 1u);
  qvimbxtstate other{};
  EXPECT_EQ(qvimbxts(&other, &c.top, 0, QVIM_UINT16, 1), 1);
  EXPECT_EQ(bytes_of(c.top), top);
  EXPECT_EQ(bytes_of(c.plane), plane);
  EXPECT_EQ(bytes_of(c.volume), volume);
  uint16_t column[4];
  EXPECT_EQ(c.top.ioread(&c.top, 0, column, 4, 0, 0), 4u);
  EXPECT_EQ(std::vector<uint16_t>(column, column + 4),
            std::vector<uint16_t>({12 << 4, 16 << 4, 20 << 4, 13 << 4}));
}

// A view of several sources sets all of them up; records may refer to themselves and to each other.
TEST(BlockTransfer, KeepsTheSetUpsOfFurtherSourcesAndEndsOnCircularChains) {
  chain c, other;
  c.top.source[1] = -65;  // itself
  c.top.source[2] = int64_t(reinterpret_cast<intptr_t>(&other.plane));
  c.plane.source[1] = int64_t(reinterpret_cast<intptr_t>(&c.top));
  c.plane.source[3] = int64_t(reinterpret_cast<intptr_t>(&c.volume));  // twice below
  c.top.ioset = [](qvimage *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    auto *const further = qvim::resolve<qvimage>(im, im->source[2]);
    further->ioset(further, mode, datatype, colourmask);
    return runs_only<qvimage>::ioset(im, mode, datatype, colourmask);
  };
  ASSERT_EQ(other.plane.ioset(&other.plane, QVIM_YSCAN, QVIM_UINT16, 1), 1);
  const auto plane = bytes_of(other.plane), volume = bytes_of(other.volume);
  ASSERT_EQ(qvimbxts(&c.state, &c.top, 0, QVIM_UINT16, 1), 1);
  qvxyzcoord list[] = {{1, 0, 0}};
  uint16_t value = 0;
  EXPECT_EQ(qvimbxta(&c.state, &c.top, QVIM_LIST, &value, list, 1, QVIM_OP_READ), 1u);
  EXPECT_EQ(value, 13);
  EXPECT_EQ(bytes_of(other.plane), plane);
  EXPECT_EQ(bytes_of(other.volume), volume);
}

TEST(BlockTransfer, AsksTheKindToKeepItsState) {
  static std::vector<uint32_t> asked;
  asked.clear();
  chain c;
  c.top.aeiou = [](qvimage *, uint32_t code, int32_t, int32_t, void *buffer) -> uint32_t {
    asked.push_back(code);
    std::memset(buffer, 0, 192);
    return 1;
  };
  ASSERT_EQ(qvimbxts(&c.state, &c.top, 0, QVIM_UINT16, 1), 1);
  EXPECT_EQ(asked, std::vector<uint32_t>({10872, 10840}));
}

// The state may lie in the record's own iostate, under what ioset writes there.
TEST(BlockTransfer, TakesAStateInsideTheRecord) {
  chain c;
  auto *state = reinterpret_cast<qvimbxtstate *>(c.top.iostate);
  ASSERT_EQ(qvimbxts(state, &c.top, 0, QVIM_UINT16 | QVIM_MSB, 1), 1);
  qvxyzcoord list[] = {{1, 0, 0}, {2, 0, 0}};
  uint16_t values[2] = {};
  EXPECT_EQ(qvimbxta(state, &c.top, QVIM_LIST, values, list, 2, QVIM_OP_READ), 2u);
  EXPECT_EQ(values[0], 13 << 4);
  EXPECT_EQ(qvimbxta(state, &c.top, QVIM_LIST, values, list, 2, QVIM_OP_READ), 2u);
  EXPECT_EQ(values[1], 14 << 4);
}

TEST(BlockTransfer, RefusesWhatItDoesNotServe) {
  std::vector<uint64_t> pixels(4 * 16);
  const int32_t dims[] = {2, 2};
  const struct {
    int32_t type, pixies;
    uint32_t datatype, mask;
    int32_t code;
  } cases[] = {
      {QVIM_UINT8, 3, QVIM_UINT8, 2, 1},        {QVIM_UINT8, 3, QVIM_UINT8, 7, 1},
      {QVIM_UINT8, 3, QVIM_UINT8, 3, -21},      {QVIM_UINT8, 3, QVIM_UINT8, 5, -21},
      {QVIM_UINT8, 3, QVIM_UINT8, 0, -21},      {QVIM_UINT8, 3, QVIM_UINT8, 8, -21},
      {QVIM_UINT8, 3, QVIM_UINT16, 7, -19},     {QVIM_UINT64, 1, QVIM_UINT64, 1, -19},
      {QVIM_UINT8, 9, QVIM_UINT8, 0x80, 1},     {QVIM_UINT8, 9, QVIM_UINT8, 0x100, -21},
      {QVIM_UINT8, 9, QVIM_UINT8, 0x1FF, -21},  {QVIM_UINT8, 32, QVIM_UINT8, ~0u, -21},
      {QVIM_FLOAT64, 8, QVIM_FLOAT64, 0xFF, 1},
  };
  for (const auto &c : cases) {
    qvimage im;
    ASSERT_EQ(qvimage_memory(&im, pixels.data(), dims, 0, c.type, 0, c.pixies, 0, 0), 0);
    qvimbxtstate state{};
    ASSERT_EQ(qvimbxts(&state, &im, 0, uint32_t(c.type), 1), c.type == QVIM_UINT64 ? -19 : 1);
    EXPECT_EQ(qvimbxts(&state, &im, 0, c.datatype, c.mask), c.code);
    qvxyzcoord list[] = {{0, 0, 0}};
    uint8_t buffer[64] = {};
    EXPECT_EQ(qvimbxta(&state, &im, QVIM_LIST, buffer, list, 1, QVIM_OP_READ), c.code > 0);
  }
}

TEST(BlockTransfer, PassesTheRefusalOfTheImageOn) {
  chain c;
  c.plane.ioset = [](qvimage *, uint32_t, uint32_t, uint32_t) -> int32_t { return -11; };
  EXPECT_EQ(qvimbxts(&c.state, &c.top, 0, QVIM_UINT16, 1), -11);
  qvxyzcoord list[] = {{0, 0, 0}};
  uint16_t value = 5;
  EXPECT_EQ(qvimbxta(&c.state, &c.top, QVIM_LIST, &value, list, 1, QVIM_OP_READ), 0u);
  EXPECT_EQ(value, 5);
}

// An image that has lost a pixel: nothing is made up for the buffer, nothing is written over the pixel.
TEST(BlockTransfer, SkipsPixelsThatCannotBeRead) {
  chain c;
  static bool broken;
  static int written;
  broken = false, written = 0;
  c.top.ioset = [](qvimage *im, uint32_t, uint32_t, uint32_t) {
    im->ioread = [](qvimage *, uint32_t, void *b, uint32_t, int32_t x, int32_t) -> uint32_t {
      if (broken && x == 1) return 0;
      const auto value = uint16_t(100 + x);
      return std::memcpy(b, &value, 2), 1;
    };
    im->iorite = [](qvimage *, uint32_t, const void *, uint32_t, int32_t, int32_t) -> uint32_t {
      return written++, 1;
    };
    return 1;
  };
  ASSERT_EQ(qvimbxts(&c.state, &c.top, 0, QVIM_UINT16 | QVIM_SWAPPED, 1), 1);
  broken = true;
  qvxyzcoord list[] = {{0, 0, 0}, {1, 0, 0}, {-1, 0, 0}, {2, 0, 0}, {4, 0, 0}};
  uint16_t values[5] = {7, 7, 7, 7, 7};
  EXPECT_EQ(qvimbxta(&c.state, &c.top, QVIM_LIST, values, list, 5, QVIM_OP_READ), 5u);
  EXPECT_EQ(std::vector<uint16_t>(values, values + 5), std::vector<uint16_t>({100 << 8, 7, 7, 102 << 8, 7}));
  EXPECT_EQ(qvimbxta(&c.state, &c.top, QVIM_LIST, values, list, 5, QVIM_OP_ADD), 5u);
  EXPECT_EQ(written, 2);
}

TEST(BlockTransfer, AsksItsImageForTrustedPositionsInItsOwnBits) {
  static std::vector<uint32_t> modes, datatypes;
  modes.clear(), datatypes.clear();
  chain c;
  c.top.ioset = [](qvimage *, uint32_t mode, uint32_t datatype, uint32_t) {
    modes.push_back(mode), datatypes.push_back(datatype);
    return 1;
  };
  const uint32_t word = QVIM_UINT16 | QVIM_MSB | QVIM_LSB | QVIM_DIRTY | QVIM_SWAPPED;
  ASSERT_EQ(qvimbxts(&c.state, &c.top, 0xFFFFFFFF, word, 1), 1);
  ASSERT_EQ(qvimbxts(&c.state, &c.top, QVIM_YSCAN, word, 1), 1);
  EXPECT_EQ(modes, std::vector<uint32_t>({0x12000, 0x2000}));
  EXPECT_EQ(datatypes, std::vector<uint32_t>(2, QVIM_UINT16 | QVIM_DIRTY));
}

}  // namespace
