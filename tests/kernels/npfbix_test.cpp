// Conversion, copy and in-place kernels: every member of the list, in every version, against a slow model
// that reads the member's name.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>

#include <qvimage/npfbix.h>

#include "tests/kernels/kernel_levels.hpp"
#include "tests/kernels/operands.hpp"

namespace {

using namespace qvim::test;

std::vector<member> two_run_members() {
  std::vector<member> members;
#define QVIM_COLLECT(name, ...) add_member(members, QVIM_LEVELS_OF(name));
#define QVIM_INTEGER QVIM_COLLECT
#define QVIM_TO_REAL QVIM_COLLECT
#define QVIM_FROM_REAL QVIM_COLLECT
#define QVIM_REAL QVIM_COLLECT
#define QVIM_COPY QVIM_COLLECT
#define QVIM_COPY_SIZED QVIM_COLLECT
#define QVIM_TWO_RUNS QVIM_COLLECT
#include <qvimage/members/npfbix.inc>
  return members;
}

std::vector<member> in_place_members() {
  std::vector<member> members;
#define QVIM_IN_PLACE QVIM_COLLECT
#define QVIM_IN_PLACE3 QVIM_COLLECT
#include <qvimage/members/npfbix.inc>
  return members;
}

size_t size_of_type(char type) { return type == 'f' ? 4 : type == 'd' ? 8 : size_t(type - '0'); }
bool is_real(char type) { return type == 'f' || type == 'd'; }

// What a name says: npfbix_<source>to<destination>_<letters>, or npfbix_z<size>toz<size>_<i|n>.
struct meaning {
  char source = 0, destination = 0;  // 'z': opaque items
  size_t source_size = 0, destination_size = 0;
  bool masks = false, clamps = false, scales = false, swaps = false, sized = false;
  char direction = 0;          // 'r', 'l'
  int fixed_shift = -1;        // of the name
  bool fixed_strides = false;  // the stride arguments are ignored
  int64_t source_stride = 0, destination_stride = 0;

  explicit meaning(const std::string &name) {
    const char *p = name.c_str() + strlen("npfbix_");
    auto type = [&](char &letter, size_t &size) {
      letter = *p++;
      if (letter != 'z')
        size = size_of_type(letter);
      else if (*p == 'n')
        sized = true, size = 1, ++p;
      else
        size = size_t(strtol(p, const_cast<char **>(&p), 10));
    };
    type(source, source_size);
    p += strlen("to");
    type(destination, destination_size);
    for (++p; *p;) {
      switch (*p++) {
        case 'm': masks = true; break;
        case 'a': clamps = true; break;
        case 'k': scales = true; break;
        case 's': swaps = true, ++p; break;
        case 'r':
        case 'l':
          direction = p[-1];
          if (isdigit(*p)) fixed_shift = int(strtol(p, const_cast<char **>(&p), 10));
          break;
        case 'i':
          fixed_strides = true;
          source_stride = int64_t(source_size), destination_stride = int64_t(destination_size);
          break;
        case 'n': {
          if (!*p) break;
          fixed_strides = true;
          auto stride = [&p](bool wide) {
            const std::string digits(p, wide ? 2 : 1);
            p += digits.size();
            return int64_t(int8_t(strtol(digits.c_str(), nullptr, 16)));
          };
          source_stride = stride(*p == 'F');
          destination_stride = stride(*p == 'F');
        }
      }
    }
  }
};

template <class T>
T read_real(const uint8_t *p) {
  T v;
  memcpy(&v, p, sizeof v);
  return v;
}

uint32_t shifted(uint32_t v, const meaning &m, uint32_t shift) {
  const uint64_t count = m.fixed_shift >= 0 ? uint32_t(m.fixed_shift) : shift % 32;
  return m.direction == 'r' ? uint32_t(v >> count) : m.direction == 'l' ? uint32_t(uint64_t(v) << count) : v;
}

template <class Real>
uint32_t saturate(Real v) {
  if (std::isnan(v) || v <= 0) return 0;
  return v >= Real(4294967296.0) ? 0xFFFFFFFFu : uint32_t(std::trunc(v));
}

template <class Real>
uint32_t integer_of(Real v, const meaning &m, uint32_t k) {
  if (m.clamps && m.scales && m.destination_size < 4) k &= (1u << 8 * m.destination_size) - 1;
  const Real real_k = Real(k);
  if (m.clamps && m.scales && k == 0) return 0;
  const Real threshold = m.scales ? Real(1) : real_k;
  if (m.clamps && v >= threshold) return k;
  return saturate(m.scales ? Real(v * real_k) : v);
}

template <class Real>
void write_real(uint8_t *to, uint32_t v, const meaning &m, uint32_t k) {
  Real real = Real(v);
  if (m.scales) real = real * (Real(1) / Real(k));
  memcpy(to, &real, sizeof real);
}

void model_value(const meaning &m, const uint8_t *from, uint8_t *to, uint32_t shift, uint32_t mask) {
  if (m.source == 'z' || (is_real(m.source) && m.source == m.destination)) {
    memmove(to, from, m.source_size);
  } else if (m.source == 'f' && m.destination == 'd') {
    const double wide = read_real<float>(from);
    memcpy(to, &wide, sizeof wide);
  } else if (m.source == 'd' && m.destination == 'f') {
    const double v = read_real<double>(from), most = 3.4028234663852886e38;
    const float narrow = v > most ? float(most) : v < -most ? float(-most) : float(v);
    memcpy(to, &narrow, sizeof narrow);
  } else if (is_real(m.source)) {
    const uint32_t v = m.source == 'f' ? integer_of(read_real<float>(from), m, mask)
                                       : integer_of(read_real<double>(from), m, mask);
    write(to, m.destination_size, shifted(v, m, shift));
  } else {
    uint32_t v = uint32_t(read(from, m.source_size));
    if (m.masks) v &= mask;
    v = shifted(v, m, shift);
    if (m.destination == 'f')
      write_real<float>(to, v, m, mask);
    else if (m.destination == 'd')
      write_real<double>(to, v, m, mask);
    else
      write(to, m.destination_size, v);
    if (m.swaps) std::reverse(to, to + m.destination_size);
  }
}

// Values of a type, among them the ones at which something changes.
void fill(const meaning &m, const layout &run, buffer &b, std::mt19937 &random) {
  static const double special[] = {
      0.0,          -0.0,         0.5,          1.0,          -1.0,    0.99999994, 12.9,       255.0,
      255.9,        256.0,        300.7,        65535.0,      65535.5, 16777216.0, 16777217.0, 2147483647.0,
      2147483648.0, 4294967040.0, 4294967295.0, 4294967296.0, 1e10,    1e300,      -1e300,     FLT_MAX,
      3.4028235e38, 1e-310,       INFINITY,     -INFINITY,    NAN};
  for (size_t i = 0; i < b.size(); ++i) b.data()[i] = uint8_t(random());
  if (!is_real(m.source)) return;
  for (uint64_t i = 0; i < run.count; ++i) {
    double v;
    switch (random() % 4) {
      case 0: v = special[random() % std::size(special)]; break;
      case 1: v = double(random()) / 4e9; break;
      case 2: v = double(random()) * 1.1; break;
      default: v = double(random() % 70000) / 3 - 20; break;
    }
    uint8_t *p = b.data() + run.at(i);
    if (m.source == 'd') memcpy(p, &v, sizeof v);
    const float narrow = float(v);
    if (m.source == 'f') memcpy(p, &narrow, sizeof narrow);
  }
}

std::vector<strides> stride_cases(const meaning &m) {
  const auto s = int64_t(m.source_size), d = int64_t(m.destination_size), both = std::max(s, d);
  if (m.fixed_strides) return {{m.source_stride, m.destination_stride}};
  return {{s, d},         {2 * s, d},     {3 * s, d},      {4 * s, d},
          {s, 2 * d},     {s, 3 * d},     {s, 4 * d},      {2 * s + 1, d + 3},
          {-s, d},        {s, -d},        {-3 * s, 3 * d}, {0, d},
          {both, both},   {-both, -both}, {s, 0},          {both + 1, both + 1},
          {4 * s, 3 * d}, {s + s / 3, d}, {s, d + d / 3},  {3 * s, 3 * d}};
}

std::vector<uint64_t> counts() {
  std::vector<uint64_t> list;
  for (uint64_t i = 0; i <= 67; ++i) list.push_back(i);
  for (uint64_t i : {127, 128, 200, 512, 513, 1100}) list.push_back(i);
  return list;
}

constexpr uint32_t shifts[] = {0, 3, 33, 8, 13, 31},
                   masks[] = {0xFFFFFFFF, 0x5A5A5A5A, 255, 65535, 1023, 0x00010100, 0};
constexpr size_t offsets[] = {0, 1, 3};

// All strides and counts, from run to run and, where the strides agree and leave room, in place.
void check_two_runs(const member &member, const meaning &m, unsigned &turn, std::mt19937 &random) {
  for (strides stride : stride_cases(m))
    for (uint64_t count : counts()) {
      const bool same = stride.source == stride.destination &&
                        std::abs(stride.source) >= int64_t(std::max(m.source_size, m.destination_size));
      for (bool in_place : {false, true}) {
        if (in_place && !same) continue;
        const run r{
            stride,  count, m.source_size, m.destination_size, offsets[turn % 3], offsets[turn / 3 % 3],
            in_place};
        const uint32_t shift = shifts[turn % std::size(shifts)], mask = masks[turn % std::size(masks)];
        ++turn;
        buffer source(r.from().bytes());
        fill(m, r.from(), source, random);
        // Strides that the member must ignore are nonsense.
        const run_call call{nullptr,
                            nullptr,
                            m.fixed_strides ? strides{777, -555} : stride,
                            count,
                            m.sized ? uint32_t(m.source_size) : shift,
                            mask};
        ASSERT_TRUE(does(
            member, r, source,
            [&](const uint8_t *from, uint8_t *to) { model_value(m, from, to, shift, mask); }, call))
            << "shift " << shift << " mask " << mask;
      }
    }
}

TEST(Npfbix, EveryMemberDoesWhatItsNameSays) {
  std::mt19937 random(1);
  for (const auto &member : two_run_members()) {
    const std::string width(1, member.name[6]);  // npfbix2_2swab
    const bool swab = member.name.ends_with("_2swab");
    meaning m(swab ? "npfbix_" + width + "to" + width + "_sbn" : member.name);
    unsigned turn = 0;
    if (!m.sized) {
      check_two_runs(member, m, turn, random);
      continue;
    }
    for (size_t size = 1; size <= 13; ++size) {
      m.source_size = m.destination_size = size;
      if (m.fixed_strides) m.source_stride = m.destination_stride = int64_t(size);
      ASSERT_NO_FATAL_FAILURE(check_two_runs(member, m, turn, random));
    }
  }
}

// npfbix<width>_<operation>: one value after another.
uint64_t in_place_model(const std::string &operation, size_t size, uint64_t v, uint32_t value) {
  if (operation == "rshift") return v >> value % 32;
  if (operation == "lshift") return v << value % 32;
  if (operation == "mask") return v & value;
  if (operation == "set") return value;
  if (operation == "set0") return 0;
  if (operation == "rshifta") {
    for (uint32_t i = 0; i < value % 32; ++i) v = v >> 1 | (v & 1ull << (8 * size - 1));
    return v;
  }
  uint64_t reversed = 0;  // swab
  for (size_t i = 0; i < size; ++i) reversed = reversed << 8 | (v >> 8 * i & 0xFF);
  return reversed;
}

TEST(Npfbix, InPlaceMembersChangeEachValueWhereItLies) {
  for (const auto &member : in_place_members()) {
    std::mt19937 random(3);
    const size_t size = size_t(member.name[6] - '0');
    const std::string operation = member.name.substr(8);
    const auto s = int64_t(size);
    unsigned turn = 0;
    // With a stride of 0 the run stays: one pixie is changed again and again.
    for (int64_t stride : {s, 2 * s, 3 * s, s + 1, -s, int64_t(16), int64_t(0)})
      for (uint64_t count : counts())
        for (uint32_t value :
             {0u, 1u, 3u, 7u, 8u, 15u, 31u, 32u, 33u, 255u, 65535u, 0xFFFFFFFFu, 0x12345678u}) {
          const run r{{stride, stride}, count, size, size, offsets[turn++ % 3], 0, true};
          buffer before(r.from().bytes());
          for (size_t i = 0; i < before.size(); ++i) before.data()[i] = uint8_t(random());
          const auto model = [&](const uint8_t *, uint8_t *p) {
            write(p, size, in_place_model(operation, size, read(p, size), value));
          };
          ASSERT_TRUE(does(member, r, before, model, {nullptr, nullptr, r.stride, count, value}))
              << "value " << value;
        }
  }
}

TEST(Npfbix, MaskOfAllBitsAndShiftOfNothingDoNotTouchTheRun) {
  // No run is there at all.
  npfbix1_mask(nullptr, 1, 100, 255);
  npfbix2_mask(nullptr, 2, 100, 65535);
  npfbix4_mask(nullptr, 4, 100, 0xFFFFFFFF);
  for (uint32_t shift : {0u, 32u, 64u})
    for (npfbixn_fn *f : {npfbix1_rshift, npfbix2_rshift, npfbix4_rshift, npfbix1_rshifta, npfbix2_rshifta,
                          npfbix4_rshifta, npfbix1_lshift, npfbix2_lshift, npfbix4_lshift})
      f(nullptr, 1, 100, shift);
}

TEST(Npfbix, RunsOfNothingNeedNoMemory) {
  call_on_nothing(two_run_members());
  call_on_nothing(in_place_members());
}

template <class S, class D>
D one(npfbix_fn *f, S v, uint32_t shift = 0, uint32_t mask = 0) {
  D result;
  f(&v, &result, sizeof v, sizeof result, 1, shift, mask);
  return result;
}

TEST(Npfbix, KnownValues) {
  EXPECT_EQ((one<uint32_t, uint32_t>(npfbix_4to4_rn, 0x80000001, 33)), 0x40000000u);
  const std::pair<double, uint16_t> scaled[] = {
      {-0.5, 0}, {0.5, 32767}, {1.0, 65535}, {7.0, 65535}, {NAN, 0}};
  for (auto [v, expected] : scaled)
    EXPECT_EQ((one<double, uint16_t>(npfbix_dto2_akn, v, 0, 65535)), expected) << v;
  EXPECT_EQ((one<double, uint8_t>(npfbix_dto1_an, 12.9, 0, 255)), 12);
  EXPECT_EQ((one<double, uint16_t>(npfbix_dto2_akn, 7.0, 0, 0x10000)), 0);  // k is 0 in 16 bits
  EXPECT_EQ((one<float, uint32_t>(npfbix_fto4_an, 4294967296.0f, 0, 0xFFFFFFFF)), 0xFFFFFFFFu);
  EXPECT_EQ((one<float, uint8_t>(npfbix_fto1_arn, 2000.0f, 2, 1023)),
            255);  // the largest value is shifted too
  EXPECT_EQ((one<uint16_t, double>(npfbix_2tod_kn, 65535, 0, 65535)), 1.0);
  EXPECT_EQ((one<double, float>(npfbix_dtof_n, 1e300)), 3.4028234663852886e38f);
}

TEST(Npfbix, CopyKernelsAreChosenByItemSize) {
  for (uint32_t size = 0; size <= 300; ++size) {
    npfbix_fn *f = npfbix_ztoz_n_func(size);
    const bool listed = (size >= 1 && size <= 8) || size == 10 || size == 12;
    ASSERT_EQ(f != nullptr, listed) << size;
    if (!f) continue;
    std::vector<uint8_t> item(size), copy(size + 1, 0xEE);
    for (uint32_t i = 0; i < size; ++i) item[i] = uint8_t(i + 1);
    f(item.data(), copy.data(), 99, 99, 1, 0, 0);
    EXPECT_TRUE(std::equal(item.begin(), item.end(), copy.begin()) && copy[size] == 0xEE) << size;
  }
}

TEST(Npfbix, DoNothingKernelsDoNothing) {
  npfbix0_nop(nullptr, 1, 100, 0);
  npfbix0_stub(nullptr, 1, 100, 0);
  npfbix_0to0(nullptr, nullptr, 1, 1, 100, 0, 0);
}

}  // namespace
