#include "core/selectors.hpp"

#include <gtest/gtest.h>

#include <qvimage/qvimage.h>

namespace {

constexpr uint32_t left = 8, right = 16, mask = 32, swap = 64;
constexpr uint32_t reading = 0, writing = 1;

qvimage image(int32_t type, int32_t bits, int32_t place, uint16_t dirty = 0, uint16_t endian = 0) {
  qvimage im;
  qvimage_defnull(&im);
  qviminitdata(&im.d, type, bits, 1, 0);
  im.d.i_bitsxsb = place;
  im.d.i_dirtyread = dirty;
  im.d.i_endian = endian;
  return im;
}

struct request {
  qvimage im;
  uint32_t direction, flags;
  uint32_t answer, param;
};

const request requests[] = {
    // All bits used: only the byte order can differ.
    {image(QVIM_UINT8, 8, 0x300), reading, QVIM_MSB, 0, 0},
    {image(QVIM_UINT16, 16, 0x300), reading, QVIM_MSB | QVIM_SWAPPED, swap, 0},
    {image(QVIM_UINT16, 16, 0x300, 0, 0x800), writing, QVIM_SWAPPED, 0, 0},
    // Bits at the other end of the container than asked for.
    {image(QVIM_UINT16, 12, QVIM_LSB), reading, QVIM_MSB, left, 4},
    {image(QVIM_UINT16, 12, QVIM_MSB), reading, QVIM_LSB, right, 4},
    {image(QVIM_UINT16, 12, QVIM_LSB), writing, QVIM_MSB, right, 4},
    {image(QVIM_UINT8, 3, QVIM_MSB), writing, QVIM_LSB, left, 5},
    {image(QVIM_UINT32, 20, QVIM_LSB, 0, 0x800), reading, QVIM_MSB, left | swap, 12},
    // Where they are already, or nothing asked.
    {image(QVIM_UINT16, 12, QVIM_LSB), reading, QVIM_LSB, 0, 0},
    {image(QVIM_UINT16, 12, QVIM_MSB), writing, 0, 0, 0},
    // Both ends asked for: the one that the image does not have.
    {image(QVIM_UINT16, 12, QVIM_LSB), reading, QVIM_MSB | QVIM_LSB, left, 4},
    {image(QVIM_UINT16, 12, QVIM_MSB), writing, QVIM_MSB | QVIM_LSB, left, 4},
    // Dirty bits that somebody does not tolerate.
    {image(QVIM_UINT16, 12, QVIM_LSB, QVIM_DIRTY), reading, 0, mask, 0x0FFF},
    {image(QVIM_UINT16, 12, QVIM_MSB, QVIM_DIRTY), reading, 0, mask, 0xFFF0},
    {image(QVIM_UINT16, 12, QVIM_LSB, QVIM_DIRTY), reading, QVIM_DIRTY, 0, 0},
    {image(QVIM_UINT32, 31, QVIM_MSB), writing, QVIM_DIRTY, mask, 0xFFFFFFFE},
    {image(QVIM_UINT16, 12, QVIM_LSB, QVIM_DIRTY), reading, QVIM_MSB, left, 4},
    // Floating pixies have neither bits nor byte order.
    {image(QVIM_FLOAT32, 0, 0x300), reading, QVIM_SWAPPED | QVIM_MSB, 0, 0},
};

TEST(Selectors, ClassifyWhatARequestNeeds) {
  for (const request &r : requests) {
    const uint32_t datatype = uint32_t(r.im.d.pixietype) | r.flags;
    uint32_t param = 99;
    EXPECT_EQ(qvimdatauint2modexxswabf16(&r.im, r.direction, datatype, nullptr, &param, nullptr), r.answer)
        << &r - requests;
    EXPECT_EQ(param, r.param) << &r - requests;
    // Other bits of the direction, a mode word's scan, do not count; all forms agree.
    EXPECT_EQ(qvimdatauintmodexxf16(&r.im, r.direction | QVIM_YSCAN, datatype, nullptr, nullptr), r.answer);
    const auto *im3 = reinterpret_cast<const qvimage3 *>(&r.im);
    EXPECT_EQ(qvim3datauintmodexxswabfapy(im3, r.direction, datatype, nullptr, nullptr, nullptr), r.answer);
    EXPECT_EQ(qvim3datauint2modexxfapy(im3, r.direction, datatype, nullptr, nullptr), r.answer);
  }
}

TEST(Selectors, NameTheKernels) {
  const struct {
    int32_t type;
    npfbix_fn *run[4], *run_swap;
    npfbixn_fn *block[4];
  } rows[] = {
      {QVIM_UINT8,
       {npfbix_0to0, npfbix_1to1_ln, npfbix_1to1_rn, npfbix_1to1_mn},
       npfbix_1to1_n,
       {npfbix0_nop, npfbix1_lshift, npfbix1_rshift, npfbix1_mask}},
      {QVIM_UINT16,
       {npfbix_0to0, npfbix_2to2_ln, npfbix_2to2_rn, npfbix_2to2_mn},
       npfbix_2to2_sbn,
       {npfbix0_nop, npfbix2_lshift, npfbix2_rshift, npfbix2_mask}},
      {QVIM_UINT32,
       {npfbix_0to0, npfbix_4to4_ln, npfbix_4to4_rn, npfbix_4to4_mn},
       npfbix_4to4_sbn,
       {npfbix0_nop, npfbix4_lshift, npfbix4_rshift, npfbix4_mask}},
  };
  for (const auto &row : rows) {
    const struct {
      qvimage im;
      uint32_t flags;
    } needs[] = {{image(row.type, 7, QVIM_LSB), 0},
                 {image(row.type, 7, QVIM_LSB), QVIM_MSB},
                 {image(row.type, 7, QVIM_MSB), QVIM_LSB},
                 {image(row.type, 7, QVIM_LSB, QVIM_DIRTY), 0}};
    for (int i = 0; i < 4; i++) {
      const uint32_t datatype = uint32_t(row.type) | needs[i].flags;
      npfbix_fn *run, *run_swap;
      npfbixn_fn *block, *block_swap;
      qvimdatauint2modexxswabf16(&needs[i].im, reading, datatype, &run, nullptr, &run_swap);
      qvimdatauintmodexxswabf16(&needs[i].im, reading, datatype, &block, nullptr, &block_swap);
      EXPECT_EQ(run, row.run[i]);
      EXPECT_EQ(run_swap, row.run_swap);
      EXPECT_EQ(block, row.block[i]);
      EXPECT_EQ(block_swap == npfbix0_nop, row.type == QVIM_UINT8);
    }
  }
  npfbix_fn *kernel;
  const qvimage f = image(QVIM_FLOAT32, 0, 0x300), d = image(QVIM_FLOAT64, 0, 0x300);
  qvimdatauint2modexxf16(&f, reading, QVIM_FLOAT32, &kernel, nullptr);
  EXPECT_EQ(kernel, npfbix_ftof_n);
  qvimdatauint2modexxf16(&d, writing, QVIM_FLOAT64, &kernel, nullptr);
  EXPECT_EQ(kernel, npfbix_dtod_n);
}

TEST(Selectors, PackItemsOfAnySize) {
  EXPECT_EQ(qvimdatapackf16(0), npfbix_0to0);
  EXPECT_EQ(qvimdatapackf16(3), npfbix_z3toz3_n);
  EXPECT_EQ(qvimdatapackf16(8), npfbix_z8toz8_n);
  for (uint32_t bytes : {9u, 10u, 12u, 256u, ~0u}) EXPECT_EQ(qvimdatapackfapy(bytes), npfbix_zntozn_n);
}

TEST(Selectors, ReverseBytesInPlaceForEverySize) {
  uint8_t bytes[] = {1, 2, 3, 4, 5, 6, 7, 8};
  qvim::swap_in_place(bytes, 1, 8);
  EXPECT_EQ(bytes[0], 1);
  qvim::swap_in_place(bytes, 8, 1);
  EXPECT_EQ(bytes[0], 8);
  qvim::swap_in_place(bytes, 4, 2);
  EXPECT_EQ(bytes[0], 5);
  qvim::swap_in_place(bytes, 2, 4);
  EXPECT_EQ(bytes[0], 6);
}

}  // namespace
