#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>
#include <vector>

#include <qvimage/qvimage.h>

#include "core/dimension.hpp"
#include "tests/fault.hpp"

namespace {

template <class Record>
class MemoryImage : public testing::Test {};
using Records = testing::Types<qvimage, qvimage3>;
TYPED_TEST_SUITE(MemoryImage, Records);

// The functions of both dimensions, called in the same way.
template <class Record, class Flat, class Deep>
constexpr auto either(Flat flat, Deep deep) {
  if constexpr (std::is_same_v<Record, qvimage>)
    return flat;
  else
    return deep;
}
template <class Record>
int32_t memory(Record *im, void *buffer, const int32_t *dims, int32_t type, int32_t bits, int32_t pixies) {
  return either<Record>(qvimage_memory, qvimage3_memory)(im, buffer, dims, 0, type, bits, pixies,
                                                         QVIM_HINT_GREY, 0);
}
template <class Record>
int32_t memmalloc(Record *im, void *pp, const int32_t *dims, int32_t type, int32_t pixies) {
  return either<Record>(qvimage_memmalloc, qvimage3_memmalloc)(im, pp, dims, type, 0, pixies, 0);
}
template <class Record>
constexpr auto memfree = either<Record>(qvimage_memfree, qvimage3_memfree);
template <class Record>
constexpr auto memfree2 = either<Record>(qvimage_memfree2, qvimage3_memfree2);
int32_t memdata(qvimage *im, void *buffer, uint64_t size, const int32_t *dims, const qvimagedata *d) {
  return qvimage_memdata(im, buffer, size, dims, 0, d, nullptr, 0);
}
int32_t memdata(qvimage3 *im, void *buffer, uint64_t size, const int32_t *dims, const qvimagedata *d) {
  return qvimage3_memdata(im, buffer, size, dims, 0, 0, d, nullptr, 0);
}
void memmalloc2(qvimage **im, void *buffer, int32_t type, int32_t x, int32_t y, int32_t) {
  *im = qvimage_memmalloc2(buffer, type, 0, 1, 0, x, y, QVIM_UNIT_INCH, 0.5f, 0.25f);
}
void memmalloc2(qvimage3 **im, void *buffer, int32_t type, int32_t x, int32_t y, int32_t z) {
  *im = qvimage3_memmalloc2(buffer, type, 0, 1, 0, x, y, QVIM_UNIT_INCH, z, QVIM_UNIT_SECOND, 0.5f, 0.25f,
                            2.0f);
}

template <class Record>
constexpr int axes_of = std::is_same_v<Record, qvimage> ? 2 : 3;
template <class Record>
const char *kind = axes_of<Record> == 2 ? "QVIMMEM" : "QVIMMEM3";
template <class Record>
const char *null_kind = axes_of<Record> == 2 ? "NULL2" : "NULL3";
template <class Record>
testing::AssertionResult is_a(const Record &im, const char *name) {
  return std::strncmp(im.devname, name, 8) == 0 ? testing::AssertionSuccess()
                                                : testing::AssertionFailure() << std::string(im.devname, 8);
}

TYPED_TEST(MemoryImage, RefusesArgumentsThatDescribeNoImage) {
  uint8_t buffer[64];
  const int32_t good[3] = {2, 2, 2};
  EXPECT_EQ(memory(static_cast<TypeParam *>(nullptr), buffer, good, QVIM_UINT8, 0, 1), -1);
  struct {
    void *buffer;
    int32_t dims[3];
    int32_t type, bits, pixies;
  } const cases[] = {
      {nullptr, {2, 2, 2}, QVIM_UINT8, 0, 1},        {buffer, {0, 2, 2}, QVIM_UINT8, 0, 1},
      {buffer, {2, 0, 2}, QVIM_UINT8, 0, 1},         {buffer, {-5, 2, 2}, QVIM_UINT8, 0, 1},
      {buffer, {2, INT32_MIN, 2}, QVIM_UINT8, 0, 1}, {buffer, {2, 2, 2}, 3, 0, 1},
      {buffer, {2, 2, 2}, QVIM_UINT8, 9, 1},         {buffer, {2, 2, 2}, QVIM_UINT8, 0, 33},
      {buffer, {2, 2, 2}, QVIM_UINT8 | 0x100, 0, 1},
  };
  for (const auto &c : cases) {
    TypeParam im;
    EXPECT_EQ(memory(&im, c.buffer, c.dims, c.type, c.bits, c.pixies), -1);
    EXPECT_TRUE(is_a(im, null_kind<TypeParam>));
  }
  TypeParam im;
  EXPECT_EQ(memory(&im, buffer, nullptr, QVIM_UINT8, 0, 1), -1);
  EXPECT_EQ(memdata(&im, buffer, 0, good, nullptr), -1);
}

TYPED_TEST(MemoryImage, ChecksTheSizeOfTheBufferWhenItIsKnown) {
  uint8_t buffer[64];
  const int32_t dims[3] = {4, 3, 2};
  qvimagedata d;
  qviminitdata(&d, QVIM_UINT16, 0, 1, 0);
  const uint64_t needed = axes_of<TypeParam> == 2 ? 24 : 48;
  TypeParam im;
  EXPECT_EQ(memdata(&im, buffer, needed, dims, &d), 0);
  EXPECT_TRUE(is_a(im, kind<TypeParam>));
  EXPECT_EQ(memdata(&im, buffer, needed - 1, dims, &d), -1);
  EXPECT_TRUE(is_a(im, null_kind<TypeParam>));
}

TYPED_TEST(MemoryImage, TakesItsOwnFieldsAsArguments) {
  uint8_t buffer[64];
  const int32_t dims[3] = {4, 3, 2};
  TypeParam im;
  ASSERT_EQ(memory(&im, buffer, dims, QVIM_UINT16, 12, 1), 0);
  EXPECT_EQ(memdata(&im, buffer, 0, &im.imdim.se.x, &im.d), 0);
  EXPECT_EQ(im.d.i_bitsused, 12);
  EXPECT_EQ(im.wind.se.y, 3);
}

// With a size of the buffer or without: 0.
int32_t memory_in_inches(qvimage *im, void *buffer, uint64_t size, const int32_t *dims) {
  if (!size)
    return qvimage_memory2(im, buffer, dims, 8, QVIM_UINT16, 12, 1, QVIM_HINT_GREY, 7, QVIM_UNIT_INCH, 0.5f,
                           0.25f);
  return qvimage_memory3(im, buffer, size, dims, 8, QVIM_UINT16, 12, 1, QVIM_HINT_GREY, 7, QVIM_UNIT_INCH,
                         0.5f, 0.25f);
}
int32_t memory_in_inches(qvimage3 *im, void *buffer, uint64_t size, const int32_t *dims) {
  if (!size)
    return qvimage3_memory2(im, buffer, dims, 8, QVIM_UINT16, 12, 1, QVIM_HINT_GREY, 7, QVIM_UNIT_INCH,
                            QVIM_UNIT_SECOND, 0.5f, 0.25f, 2);
  return qvimage3_memory3(im, buffer, size, dims, 8, QVIM_UINT16, 12, 1, QVIM_HINT_GREY, 7, QVIM_UNIT_INCH,
                          QVIM_UNIT_SECOND, 0.5f, 0.25f, 2);
}

TYPED_TEST(MemoryImage, TakesThePhysicalSizeOfAPixel) {
  constexpr bool deep = axes_of<TypeParam> == 3;
  constexpr uint64_t needed = deep ? 48 : 24;
  uint8_t buffer[64];
  const int32_t dims[3] = {4, 3, 2};
  TypeParam im;
  for (const uint64_t size : {uint64_t{0}, needed}) {
    ASSERT_EQ(memory_in_inches(&im, buffer, size, dims), 0);
    EXPECT_TRUE(im.h.widthunits == QVIM_UNIT_INCH && im.h.heightunits == QVIM_UNIT_INCH &&
                im.h.depthunits == (deep ? QVIM_UNIT_SECOND : 0));
    EXPECT_TRUE(im.h.pixelwidth == 0.5f && im.h.pixelheight == 0.25f && im.h.pixeldepth == (deep ? 2 : 0));
    EXPECT_TRUE(im.d.i_bitsused == 12 && im.d.pixelhint == QVIM_HINT_GREY);
    EXPECT_EQ(im.aeiou(&im, 'm', 0, 0, nullptr), 8u);
  }
  EXPECT_EQ(memory_in_inches(&im, buffer, needed - 1, dims), -1);
  EXPECT_TRUE(is_a(im, null_kind<TypeParam>));
}

// Packed lines or planes of 2^32 bytes or more have no pitch.
TYPED_TEST(MemoryImage, RefusesStridesThatDoNotFitTheirField) {
  uint8_t buffer[1];
  TypeParam im;
  const int32_t wide[3] = {INT32_MAX, 1, 1};
  EXPECT_EQ(memory(&im, buffer, wide, QVIM_UINT32, 0, 1), -2);
  EXPECT_TRUE(is_a(im, null_kind<TypeParam>));
  if constexpr (axes_of<TypeParam> == 3) {
    const int32_t plane[3] = {65536, 65536, 1};
    EXPECT_EQ(memory(&im, buffer, plane, QVIM_UINT8, 0, 1), -2);
  }
}

TYPED_TEST(MemoryImage, RefusesSetUpsWithTheCodeOfTheirReason) {
  alignas(8) uint8_t buffer[512] = {};
  const int32_t dims[3] = {2, 2, 2};
  constexpr int32_t along_z = axes_of<TypeParam> == 3 ? 1 : -11;
  const struct {
    int32_t stored, bits, pixies;
    uint32_t mode, type, mask;
    int32_t runs, blocks;
  } cases[] = {{QVIM_UINT16, 12, 3, 0, QVIM_UINT16 | QVIM_MSB, 7, 1, 1},
               {QVIM_UINT16, 12, 3, 0, QVIM_UINT8, 7, -19, -19},
               {QVIM_UINT16, 12, 3, 0, 3, 7, -19, -19},
               {QVIM_UINT16, 12, 3, 0, QVIM_UINT16, 0, -21, -21},
               {QVIM_UINT16, 12, 3, 0, QVIM_UINT16, 5, -21, -21},
               {QVIM_UINT16, 12, 3, 0, QVIM_UINT16, 8, -21, -21},
               {QVIM_UINT16, 12, 3, 0, QVIM_UINT16, 15, -21, -21},
               {QVIM_UINT16, 12, 3, QVIM_ZSCAN, QVIM_UINT16, 7, along_z, 1},
               {QVIM_UINT16, 12, 3, QVIM_YSCAN | QVIM_ZSCAN, QVIM_UINT16, 7, -11, 1},
               {QVIM_UINT16, 12, 3, QVIM_YSCAN | QVIM_ZSCAN, QVIM_UINT8, 0, -19, -19},
               {QVIM_UINT8, 8, 32, 0, QVIM_UINT8, 0xFFFFFFFF, 1, 1},
               {QVIM_UINT64, 64, 1, 0, QVIM_UINT64 | QVIM_MSB | QVIM_SWAPPED, 1, 1, -19},
               {QVIM_UINT64, 60, 1, 0, QVIM_UINT64 | QVIM_LSB, 1, 1, -19},
               {QVIM_UINT64, 60, 1, 0, QVIM_UINT64 | QVIM_MSB, 1, -19, -19},
               {QVIM_UINT64, 60, 1, 0, QVIM_UINT64 | QVIM_DIRTY, 1, -19, -19}};
  for (const auto &c : cases) {
    SCOPED_TRACE(testing::Message() << c.stored << ": " << c.mode << ", " << c.type << ", " << c.mask);
    TypeParam im;
    ASSERT_EQ(memory(&im, buffer, dims, c.stored, c.bits, c.pixies), 0);
    EXPECT_EQ(im.ioset(&im, c.mode, c.type, c.mask), c.runs);
    uint8_t pixel[32];
    EXPECT_EQ(qvim::call_length(&im, 1, {}), c.runs == 1);
    EXPECT_EQ(qvim::call_read(&im, 0, pixel, 1, {}), c.runs == 1);
    EXPECT_EQ(im.bxts(&im, c.mode, c.type, c.mask), c.blocks);
  }
}

TYPED_TEST(MemoryImage, ServesNoMoreThanItHas) {
  uint8_t buffer[8] = {1, 2, 3, 4, 5, 6, 7, 8}, out[8];
  const int32_t dims[3] = {2, 2, 2};
  constexpr uint32_t all = axes_of<TypeParam> == 2 ? 4 : 8;
  TypeParam im;
  ASSERT_EQ(memory(&im, buffer, dims, QVIM_UINT8, 0, 1), 0);
  ASSERT_EQ(im.ioset(&im, QVIM_WRAP, QVIM_UINT8, 1), 1);
  EXPECT_EQ(qvim::call_read(&im, 0, out, UINT32_MAX, {}), all);
  EXPECT_EQ(std::memcmp(out, buffer, all), 0);
}

TYPED_TEST(MemoryImage, AnswersQueries) {
  uint8_t buffer[64];
  const int32_t dims[3] = {2, 2, 2};
  TypeParam im;
  ASSERT_EQ(memory(&im, buffer, dims, QVIM_UINT8, 0, 3), 0);
  EXPECT_EQ(im.aeiou(&im, 'I', 0, 0, nullptr), 1431655765u);
  EXPECT_EQ(im.aeiou(&im, 'B', 0, 0, nullptr), 357913941u);
  for (uint32_t code : {'i', 'm', 'b'}) EXPECT_EQ(im.aeiou(&im, code, 0, 0, nullptr), 513u);
  for (uint32_t code : {uint32_t('e'), uint32_t('*' << 8 | 'x'), ~0u})
    EXPECT_EQ(im.aeiou(&im, code, 0, 0, nullptr), 0u);
  EXPECT_EQ(im.iowait(&im, 0, nullptr), 1);
}

// Offsets beyond 4 GiB, by arithmetic alone: nothing is read there.
TEST(MemoryImage2, ReachesPixelsBeyondFourGigabytes) {
  uint8_t pixels[1];
  const uint64_t pitch = 0xF0000000u;
  const int32_t dims[2] = {2, 3};
  qvimage im;
  ASSERT_EQ(qvimage_memory(&im, pixels, dims, uint32_t(pitch), QVIM_UINT8, 0, 1, 0, 0), 0);
  ASSERT_EQ(im.imapset(&im, 0, QVIM_UINT8, 1), 0x4005);
  qvimagemap first, third;
  ASSERT_EQ(im.imap(&im, &first, 0, 0), 1);
  ASSERT_EQ(im.imap(&im, &third, 1, 2), 1);
  EXPECT_EQ(+third.address - first.address, 2 * pitch + 1);
  ASSERT_EQ(im.bxts(&im, 0, QVIM_UINT8, 1), 1);
  qvxyzcoord list[] = {{1, 2, 77}, {2, 0, 77}};
  im.bxtp(&im, QVIM_LIST, nullptr, list, 2, 0);
  uint64_t offset;
  std::memcpy(&offset, &list[0], 8);
  EXPECT_EQ(offset, 2 * pitch + 1);
  EXPECT_EQ(list[0].z, 77);
}

TYPED_TEST(MemoryImage, AllocatesItsPixelsAndFreesThem) {
  const int64_t before = live_allocations();
  TypeParam im;
  void *buffer = nullptr;
  const int32_t dims[3] = {5, 4, 3};
  ASSERT_EQ(memmalloc(&im, &buffer, dims, QVIM_UINT16, 2), 0);
  ASSERT_NE(buffer, nullptr);
  std::memset(buffer, 0, axes_of<TypeParam> == 2 ? 80 : 240);
  EXPECT_EQ(im.aeiou(&im, 'i', 0, 0, nullptr), 2u);
  void *const kept = buffer;
  EXPECT_EQ(memmalloc(&im, &buffer, dims, QVIM_UINT16, 2), -1);
  EXPECT_EQ(buffer, kept);
  EXPECT_EQ(memfree<TypeParam>(&im, &buffer), 0);
  EXPECT_EQ(buffer, nullptr);
  EXPECT_TRUE(is_a(im, null_kind<TypeParam>));
  EXPECT_EQ(live_allocations(), before);
}

TYPED_TEST(MemoryImage, RefusesToAllocateWhatCannotBe) {
  struct {
    int32_t dims[3];
    int32_t type, pixies, code;
  } const cases[] = {
      {{0, 4, 4}, QVIM_UINT8, 1, -1},
      {{4, -4, 4}, QVIM_UINT8, 1, -1},
      {{4, 4, 4}, 3, 1, -2},
      {{4, 4, 4}, QVIM_UINT8, 0, -2},
      {{INT32_MAX, INT32_MAX, INT32_MAX}, QVIM_FLOAT64, 32, -2},
      {{1 << 29, 1 << 29, 1 << 1}, QVIM_UINT8, 32, -2},  // 2^64 bytes in 3-D
  };
  for (const auto &c : cases) {
    TypeParam im;
    void *buffer = nullptr;
    EXPECT_EQ(memmalloc(&im, &buffer, c.dims, c.type, c.pixies), c.code);
    EXPECT_EQ(buffer, nullptr);
    EXPECT_TRUE(is_a(im, null_kind<TypeParam>));
  }
  void *buffer = nullptr;
  const int32_t dims[3] = {1, 1, 1};
  TypeParam im;
  EXPECT_EQ(memmalloc(static_cast<TypeParam *>(nullptr), &buffer, dims, QVIM_UINT8, 1), -1);
  EXPECT_EQ(memmalloc(&im, nullptr, dims, QVIM_UINT8, 1), -1);
  EXPECT_EQ(memmalloc(&im, &buffer, nullptr, QVIM_UINT8, 1), -1);
  TypeParam *created;
  memmalloc2(&created, nullptr, QVIM_UINT8, 0, 1, 1);
  EXPECT_EQ(created, nullptr);
  memmalloc2(&created, nullptr, 3, 1, 1, 1);
  EXPECT_EQ(created, nullptr);
}

TYPED_TEST(MemoryImage, CreatesRecordAndPixelsTogether) {
  const int64_t before = live_allocations();
  TypeParam *im;
  memmalloc2(&im, nullptr, QVIM_UINT16, 5, 4, 3);
  ASSERT_NE(im, nullptr);
  EXPECT_TRUE(is_a(*im, kind<TypeParam>));
  EXPECT_EQ(im->h.widthunits, QVIM_UNIT_INCH);
  EXPECT_EQ(im->h.pixelheight, 0.25f);
  EXPECT_EQ(live_allocations(), before + 2);
  EXPECT_EQ(memfree2<TypeParam>(im, 0), 0);
  EXPECT_EQ(live_allocations(), before);

  uint16_t own[60];
  memmalloc2(&im, own, QVIM_UINT16, 5, 4, 3);
  ASSERT_NE(im, nullptr);
  EXPECT_EQ(live_allocations(), before + 1);
  EXPECT_EQ(memfree2<TypeParam>(im, 1), 0);
  EXPECT_EQ(live_allocations(), before);
  EXPECT_EQ(memfree2<TypeParam>(nullptr, 0), 0);
}

TEST(MemoryImage2, FreesOnlyItsOwnKind) {
  uint8_t buffer[8];
  const int32_t dims[3] = {2, 2, 2};
  qvimage3 im3;
  ASSERT_EQ(qvimage3_memory(&im3, buffer, dims, 0, QVIM_UINT8, 0, 1, 0, 0), 0);
  EXPECT_EQ(qvimage_memfree2(reinterpret_cast<qvimage *>(&im3), 1), -1);
  qvimage im;
  ASSERT_EQ(qvimage_memory(&im, buffer, dims, 0, QVIM_UINT8, 0, 1, 0, 0), 0);
  EXPECT_EQ(qvimage3_memfree2(reinterpret_cast<qvimage3 *>(&im), 1), -1);
  qvimage_defnull(&im);
  EXPECT_EQ(qvimage_memfree2(&im, 0), -1);
}

TYPED_TEST(MemoryImage, SurvivesEveryAllocationFailure) {
  const int32_t dims[3] = {5, 4, 3};
  const auto allocate = [&] {
    TypeParam im;
    void *buffer = nullptr;
    const int32_t code = memmalloc(&im, &buffer, dims, QVIM_UINT16, 2);
    EXPECT_EQ(code < 0, buffer == nullptr);
    EXPECT_TRUE(is_a(im, code < 0 ? null_kind<TypeParam> : kind<TypeParam>));
    if (code == 0) memfree<TypeParam>(&im, &buffer);
    return code;
  };
  const auto create = [] {
    TypeParam *im;
    memmalloc2(&im, nullptr, QVIM_UINT16, 5, 4, 3);
    if (!im) return -2;
    return memfree2<TypeParam>(im, 0);
  };
  expect_faults_reported(allocate, 0, 0);
  expect_faults_reported(create, 0, 0);
}

TEST(MemoryImage2, TransfersAllocateNothing) {
  std::vector<uint16_t> pixels(64 * 32 * 3), buffer(pixels.size());
  const int32_t dims[2] = {64, 32};
  qvimage im;
  qvimagedata d;
  qviminitdata(&d, QVIM_UINT16, 12, 3, QVIM_HINT_RGB);
  d.i_endian = QVIM_SWAPPED;
  ASSERT_EQ(qvimage_memdata(&im, pixels.data(), 0, dims, 0, &d, nullptr, 0), 0);
  qvxyzcoord list[] = {{3, 4, 0}, {60, 31, 0}};
  qvimbxtstate state{};
  const uint64_t before = allocation_count();
  for (uint32_t mode : {QVIM_XSCAN | QVIM_WRAP, QVIM_YSCAN | QVIM_WRAP})
    for (uint32_t mask : {7u, 2u}) {
      ASSERT_EQ(im.ioset(&im, mode, QVIM_UINT16 | QVIM_MSB, mask), 1);
      EXPECT_EQ(im.ioread(&im, 0, buffer.data(), 64 * 32, 0, 0), 64u * 32);
      EXPECT_EQ(im.iorite(&im, 0, buffer.data(), 64 * 32, 0, 0), 64u * 32);
      ASSERT_EQ(im.bxts(&im, 0, QVIM_UINT16 | QVIM_MSB, mask), 1);
      ASSERT_EQ(qvimbxts(&state, &im, 0, QVIM_UINT16 | QVIM_MSB, mask), 1);
      for (uint32_t op = 0; op < 6; op++) {
        EXPECT_EQ(qvimbxta(&state, &im, QVIM_LIST, buffer.data(), list, 2, op), 2u);
        qvxyzcoord copy[] = {list[0], list[1]};
        EXPECT_EQ(im.bxta(&im, QVIM_LIST, buffer.data(), copy, 2, op), 2u);
      }
    }
  EXPECT_EQ(allocation_count(), before);
}

}  // namespace
