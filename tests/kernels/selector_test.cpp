// The choice of conversion kernels: kernel, shift and mask for what a caller asks and an image stores.
#include <gtest/gtest.h>

#include <qvimage/qvimage.h>

namespace {

constexpr uint32_t u8 = QVIM_UINT8, u16 = QVIM_UINT16, u32 = QVIM_UINT32, f32 = QVIM_FLOAT32,
                   f64 = QVIM_FLOAT64;
constexpr uint32_t full = QVIM_MSB | QVIM_LSB, high = QVIM_MSB, low = QVIM_LSB, dirty = QVIM_DIRTY;
constexpr uint32_t reading = 0, writing = 1, plain = 0, normalised = 1, strided = 2;

struct selected {
  npfbix_fn *kernel = nullptr;
  uint32_t shift = 0xDEAD, mask = 0xDEAD;
};

selected select(uint32_t from, uint32_t to, uint32_t direction, uint32_t frombits, uint32_t tobits,
                uint32_t how) {
  selected s;
  const int64_t more = how & strided ? 3 : 0;
  EXPECT_EQ(qvimselectpfbixfunc(qvimdatasize(from) + more, qvimdatasize(to) + more, from, to, direction,
                                frombits, tobits, how & normalised, &s.kernel, &s.shift, &s.mask),
            0);
  return s;
}

struct choice {
  const char *what;
  uint32_t from, to, direction, frombits, tobits, how;
  npfbix_fn *kernel;
  uint32_t shift, mask;
};

// The expected values are worked out by hand from: most significant bits agree; a caller without
// justification gets values as stored; a mask is there only for bits that would arrive.
const choice choices[] = {
    {"same form", u8 | full, u8, reading, 8, 8, plain, npfbix_1to1_i, 0, 0},
    {"same form, strides", u8 | full, u8, reading, 8, 8, strided, npfbix_1to1_n, 0, 0},
    {"fewer bits asked", u16 | full, u16 | low, reading, 16, 12, plain, npfbix_2to2_ri, 4, 0},
    {"fewer bits asked, strides", u16 | full, u16 | low, reading, 16, 12, strided, npfbix_2to2_rn, 4, 0},
    {"fewer bits, no justification asked", u16 | full, u16, reading, 16, 12, plain, npfbix_2to2_i, 0, 0},
    {"more bits asked", u16 | low, u16 | low, reading, 10, 12, plain, npfbix_2to2_li, 2, 0},
    {"low to high", u16 | low, u16 | high, reading, 12, 12, plain, npfbix_2to2_li, 4, 0},
    {"high to low", u32 | high, u32 | low, reading, 20, 20, plain, npfbix_4to4_ri, 12, 0},
    {"high to high", u32 | high, u32 | high, reading, 20, 20, plain, npfbix_4to4_i, 0, 0},
    {"narrowed as stored", u16 | full, u8, reading, 16, 16, plain, npfbix_2to1_i, 0, 0},
    {"bits beyond the container", u16 | full, u8 | low, reading, 16, 16, plain, npfbix_2to1_r8i, 8, 0},

    {"top byte of 16 bits", u16 | full, u8 | high, reading, 16, 16, plain, npfbix_2to1_r8i, 8, 0},
    {"top byte of 16 bits, strides", u16 | full, u8 | high, reading, 16, 16, strided, npfbix_2to1_r8n, 8, 0},
    {"top byte of 32 bits", u32 | full, u8 | high, reading, 32, 32, plain, npfbix_4to1_r24i, 24, 0},
    {"top half of 32 bits", u32 | full, u16 | high, reading, 32, 32, strided, npfbix_4to2_r16n, 16, 0},
    {"byte to the top of 16 bits", u8 | full, u16 | high, reading, 8, 8, plain, npfbix_1to2_l8i, 8, 0},
    {"byte to the top of 32 bits", u8 | full, u32 | high, reading, 8, 8, plain, npfbix_1to4_l24i, 24, 0},
    {"half to the top of 32 bits", u16 | full, u32 | high, reading, 16, 16, strided, npfbix_2to4_l16n, 16, 0},
    {"8 of 16 bits to the left is no byte shift", u16 | low, u16 | high, reading, 8, 8, plain, npfbix_2to2_li,
     8, 0},
    {"12 of 16 bits to a byte", u16 | low, u8 | high, reading, 12, 12, plain, npfbix_2to1_ri, 4, 0},

    {"dirt above the bits", u16 | low | dirty, u16, reading, 12, 12, plain, npfbix_2to2_mi, 0, 0x0FFF},
    {"dirt above the bits, strides", u16 | low | dirty, u16, reading, 12, 12, strided, npfbix_2to2_mn, 0,
     0x0FFF},
    {"dirt below the bits", u16 | high | dirty, u16, reading, 12, 12, plain, npfbix_2to2_mi, 0, 0xFFF0},
    {"dirt that the caller accepts", u16 | low | dirty, u16 | dirty, reading, 12, 12, plain, npfbix_2to2_i, 0,
     0},
    {"dirt shifted out on the right", u16 | high | dirty, u16 | low, reading, 12, 12, plain, npfbix_2to2_ri,
     4, 0},
    {"dirt shifted out on the left", u16 | low | dirty, u16 | high, reading, 12, 12, plain, npfbix_2to2_li, 4,
     0},
    {"dirt that a narrower pixie cuts off", u32 | low | dirty, u8 | low, reading, 8, 8, plain, npfbix_4to1_i,
     0, 0},
    {"dirt that arrives shifted", u32 | low | dirty, u32 | low, reading, 12, 10, plain, npfbix_4to4_mrn, 2,
     0x0FFF},
    {"dirt and a wider pixie", u8 | low | dirty, u16 | low, reading, 6, 9, strided, npfbix_1to2_mln, 3, 0x3F},
    {"dirt and a byte shift", u16 | low | dirty, u8 | low, reading, 12, 4, plain, npfbix_2to1_mrn, 8, 0x0FFF},
    {"no dirt where all bits are used", u16 | full | dirty, u16, reading, 16, 16, plain, npfbix_2to2_i, 0, 0},

    {"written low into high", u16 | low, u16 | high, writing, 12, 12, plain, npfbix_2to2_li, 4, 0},
    {"written as stored", u16, u16 | high, writing, 12, 12, plain, npfbix_2to2_i, 0, 0},
    {"written byte into the top", u8 | high, u16 | full, writing, 8, 16, plain, npfbix_1to2_l8i, 8, 0},
    {"written dirt", u16 | low | dirty, u16 | low, writing, 12, 12, plain, npfbix_2to2_mi, 0, 0x0FFF},
    {"written dirt that the image accepts", u16 | low | dirty, u16 | low | dirty, writing, 12, 12, plain,
     npfbix_2to2_i, 0, 0},

    {"to float", u8 | full, f32, reading, 8, 8, plain, npfbix_1tof_n, 0, 0},
    {"to double, high", u16 | high, f64, reading, 12, 12, plain, npfbix_2tod_rn, 4, 0},
    {"to double, more bits", u16 | low, f64, reading, 12, 14, plain, npfbix_2tod_ln, 2, 0},
    {"to float, dirt", u32 | low | dirty, f32, reading, 20, 20, plain, npfbix_4tof_mn, 0, 0xFFFFF},
    {"to float, dirt and shift", u16 | high | dirty, f32, reading, 12, 14, plain, npfbix_2tof_mrn, 2, 0xFFF0},
    {"to normalised float", u8 | full, f32, reading, 8, 8, normalised, npfbix_1tof_kn, 0, 0xFF},
    {"to normalised double, low", u16 | low, f64, reading, 12, 12, normalised, npfbix_2tod_kn, 0, 0xFFFF},
    {"to normalised double, high", u16 | high, f64, reading, 12, 12, normalised, npfbix_2tod_rkn, 4, 0xFFFF},
    {"to normalised float, dirt", u32 | low | dirty, f32, reading, 20, 9, normalised | strided,
     npfbix_4tof_mkn, 0, 0xFFFFFFFF},

    {"from double", f64, u16 | full, writing, 16, 16, plain, npfbix_dto2_an, 0, 0xFFFF},
    {"from float to fewer bits", f32, u16 | low, writing, 12, 12, plain, npfbix_fto2_an, 0, 0x0FFF},
    {"from float to the top", f32, u16 | high, writing, 12, 12, plain, npfbix_fto2_aln, 4, 0x0FFF},
    {"from float of more bits", f32, u8 | full, writing, 10, 8, plain, npfbix_fto1_arn, 2, 0xFF},
    {"from normalised double", f64, u8 | full, writing, 8, 8, normalised, npfbix_dto1_akn, 0, 0xFF},
    {"from normalised float to the top", f32, u32 | high, writing, 20, 20, normalised, npfbix_fto4_alkn, 12,
     0xFFFFFFFF},
    {"a real image, read as integers", f64, u16, reading, 12, 12, plain, npfbix_dto2_an, 0, 0xFFFF},
    {"a real image, read as high integers", f64, u16 | high, reading, 12, 12, plain, npfbix_dto2_aln, 4,
     0xFFFF},
    {"a normalised real image", f32, u16 | low, reading, 12, 12, normalised, npfbix_fto2_akn, 0, 0xFFFF},

    {"float to float", f32, f32, reading, 7, 9, normalised | strided, npfbix_ftof_n, 0, 0},
    {"float to double", f32, f64, reading, 0, 0, plain, npfbix_ftod_n, 0, 0},
    {"double to float", f64, f32, writing, 0, 0, plain, npfbix_dtof_n, 0, 0},
    {"double to double", f64, f64, writing, 0, 0, plain, npfbix_dtod_n, 0, 0},
};

TEST(Selector, ChoosesKernelShiftAndMask) {
  for (const choice &c : choices) {
    SCOPED_TRACE(c.what);
    const selected s = select(c.from, c.to, c.direction, c.frombits, c.tobits, c.how);
    EXPECT_EQ(s.kernel, c.kernel);
    EXPECT_EQ(s.shift, c.shift);
    EXPECT_EQ(s.mask, c.mask);
  }
}

// For every pair of integer forms: run the chosen kernel on a value and compare with moving its significant
// bits one by one, their most significant ones side by side.
TEST(Selector, KeepsMostSignificantBitsTogether) {
  const uint32_t types[] = {u8, u16, u32}, forms[] = {high, low};
  for (const uint32_t from : types)
    for (const uint32_t to : types)
      for (const uint32_t fromform : forms)
        for (const uint32_t toform : forms)
          for (const uint32_t direction : {reading, writing})
            for (uint32_t frombits = 1; frombits <= 8 * from; frombits += 3)
              for (uint32_t tobits = 1; tobits <= 8 * to; tobits += 5) {
                const uint32_t source = 0xB5E7293D & (8 * from == 32 ? ~0u : (1u << 8 * from) - 1);
                const selected s =
                    select(from | fromform | dirty, to | toform, direction, frombits, tobits, plain);
                const int fromtop = fromform == high ? int(8 * from) : int(frombits);
                const int totop = toform == high ? int(8 * to) : int(tobits);
                uint32_t expected = 0;
                for (int i = 1; i <= int(frombits); i++)
                  if (totop - i >= 0 && source >> (fromtop - i) & 1) expected |= 1u << (totop - i);
                uint32_t got = 0;
                s.kernel(&source, &got, from, to, 1, s.shift, s.mask);
                ASSERT_EQ(got, expected) << std::hex << (from | fromform) << " of " << frombits << " to "
                                         << (to | toform) << " of " << tobits;
              }
}

TEST(Selector, LeavesTheKernelAloneWhereThereIsNone) {
  npfbix_fn *kernel = npfbix_0to0;
  uint32_t shift = 1, mask = 1;
  EXPECT_EQ(qvimselectpfbixfunc(4, 4, f32, 48, reading, 0, 0, plain, &kernel, &shift, &mask), 0);
  EXPECT_EQ(kernel, npfbix_0to0);
  EXPECT_EQ(shift, 0u);
  EXPECT_EQ(mask, 0u);
}

}  // namespace
