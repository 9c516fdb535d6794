// Colour kernels: every member of the list, in every version, against a slow model that reads the member's
// name.
#include <gtest/gtest.h>

#include <limits>

#include <qvimage/npfclx.h>

#include "tests/kernels/colour/npfclx_model.hpp"
#include "tests/kernels/kernel_levels.hpp"

namespace {

using namespace qvim::test;

std::vector<member> members() {
  std::vector<member> members;
#define QVIM_MEMBER(name, form) add_member(members, QVIM_LEVELS_OF(name));
#include <qvimage/members/npfclx.inc>
  return members;
}

// The arguments of one call, and what param points to.
class arguments {
 public:
  arguments(const conversion &c, std::mt19937 &random, unsigned turn)
      : conversion_(c), palette_(palette_size(c, turn)), coefficients_(coefficient_bytes(c)) {
    const uint32_t width = uint32_t(8 * c.width);
    values.maxvalue = turn % 5 == 0 ? 0xFFFFFFFF : 0xFFFFFFFF >> (32 - (1 + random() % std::min(32u, width)));
    if (turn % 3 == 0) values.maxvalue = 0xFFFFFFFF >> (32 - std::min(32u, width));
    if (!c.real && c.takes_bits()) {
      const uint32_t beyond[] = {0, 33, 0xFFFFFFFF, 32};
      values.bits = turn % 7 ? turn % (width + 1) : beyond[turn / 7 % 4];
    }
    fill_matrices(random, turn);
    for (size_t i = 0; i < palette_.size(); ++i) palette_.data()[i] = uint8_t(random());
    values.palette = palette_.data();
  }
  // A count of 0 is sometimes a null pointer; real members must not look at theirs.
  const void *param(unsigned turn) const {
    if (conversion_.has("Lut")) return palette_.data();
    if (conversion_.takes_bits() && conversion_.real) return reinterpret_cast<const void *>(16);
    if (conversion_.takes_bits()) return values.bits || turn % 2 ? &values.bits : nullptr;
    return coefficients_.data();
  }
  uint32_t entries() const {
    return uint32_t(palette_.size() / conversion_.width / (conversion_.has("Lut4") ? 4 : 3));
  }

  colour_arguments values;

 private:
  static size_t palette_size(const conversion &c, unsigned turn) {
    const size_t entries = !c.has("Lut")  ? 0
                           : c.width == 1 ? (turn % 2 ? 256 : 7)
                           : c.width == 2 ? 3000
                                          : 500;
    return entries * c.width * (c.has("Lut4") ? 4 : 3);
  }
  void fill_matrices(std::mt19937 &random, unsigned turn) {
    const int32_t *standard[] = {clx_rgb_to_ycrcb8[0], clx_ycrcb_to_rgb8[0], clx_rgb_to_ycrcb16[0],
                                 clx_ycrcb_to_rgb16[0]};
    const double special[] = {0,   1e300, -1e300, 1e-320, std::numeric_limits<double>::infinity(),
                              NAN, 0.1,   -7};
    for (int i = 0; i < 12; ++i) {
      const int32_t any = int32_t(random());
      values.integer_matrix[i] = turn % 6 < 4    ? standard[turn % 6][i]
                                 : turn % 6 == 4 ? any
                                                 : any >> (18 + turn % 4);
      values.real_matrix[i] =
          turn % 4 == 3 ? special[random() % 8] : any / double(1u << (turn % 4 == 2 ? 20 : 31));
    }
    const void *from = values.integer_matrix;
    if (takes_reals(conversion_)) from = values.real_matrix;
    memcpy(coefficients_.data(), from, coefficients_.size());
  }
  static bool takes_reals(const conversion &c) { return c.width > 2 || c.real; }
  // No more than are to be read.
  static size_t coefficient_bytes(const conversion &c) {
    if (!c.takes_matrix()) return 0;
    return (c.inputs == 1 || c.outputs == 1 ? 3 : 12) * (takes_reals(c) ? sizeof(double) : sizeof(int32_t));
  }
  const conversion &conversion_;
  buffer palette_, coefficients_;
};

template <class T>
T special_real(std::mt19937 &random) {
  using limits = std::numeric_limits<T>;
  const T list[] = {0, T(-0.0), 1, -1, 60, 300, 360, T(360.5), std::nextafter(T(360), T(0))};
  const T ends[] = {limits::infinity(), -limits::infinity(), limits::quiet_NaN(),
                    limits::max(),      limits::min(),       limits::denorm_min()};
  const size_t which = random() % (std::size(list) + std::size(ends));
  return which < std::size(list) ? list[which] : ends[which - std::size(list)];
}

template <class T>
void put(uint8_t *p, T v) {
  memcpy(p, &v, sizeof v);
}

// A component: any value, or one at an end of what is in use, or equal to a neighbour's, which is where the
// rules have their edges.
void put_component(const conversion &c, const arguments &a, uint8_t *p, std::mt19937 &random) {
  const uint32_t kind = random() % 8;
  if (c.real) {
    const double scale = c.has("BSHto") && random() % 2 ? 370 : 1.5;
    const double v = scale * (double(random()) / 4294967296.0) - (kind == 0 ? 0.5 : 0);
    if (c.width == 4)
      put(p, kind == 1 ? special_real<float>(random) : kind == 2 ? 0.25f : float(v));
    else
      put(p, kind == 1 ? special_real<double>(random) : kind == 2 ? 0.25 : v);
    return;
  }
  const auto full = uint32_t(c.takes_bits() ? full_scale_of(c.width, a.values.bits) : a.values.maxvalue);
  uint32_t v = random();
  if (kind < 4) v &= full;
  if (kind == 4) v = full;
  if (kind == 5) v = full - random() % 3;
  if (kind == 6) v = random() % 3;
  if (c.has("Lut")) v = v % a.entries() + (c.has("Lut4") && c.width == 4 ? random() % 4 << 30 : 0);
  memcpy(p, &v, c.width);
}

// Which NaN a result is, is left open.
template <class T>
void settle_nans(uint8_t *pixel, size_t components) {
  for (size_t k = 0; k < components; ++k) {
    T v;
    memcpy(&v, pixel + k * sizeof v, sizeof v);
    if (std::isnan(v)) put(pixel + k * sizeof v, std::numeric_limits<T>::quiet_NaN());
  }
}
void settle_nans(const conversion &c, uint8_t *pixel) {
  if (c.real && !c.moves())
    c.width == 4 ? settle_nans<float>(pixel, c.outputs) : settle_nans<double>(pixel, c.outputs);
}

struct run_case {
  strides stride;
  uint64_t count;
  bool in_place;
};

bool check(const member &member, const conversion &c, const run_case &on, unsigned turn,
           std::mt19937 &random) {
  const arguments a(c, random, turn);
  const run r{on.stride, on.count,     c.inputs * c.width, c.outputs * c.width,
              turn % 4,  turn / 4 % 4, on.in_place};
  buffer source(r.from().bytes());
  for (uint64_t i = 0; i < r.count; ++i)
    for (size_t k = 0; k < c.inputs; ++k)
      put_component(c, a, source.data() + r.from().at(i) + k * c.width, random);
  const auto model = [&](const uint8_t *in, uint8_t *out) {
    if (r.in_place && c.has("YCrCbtoYCbCr")) return;
    model_pixel(c, in, out, a.values);
    settle_nans(c, out);
  };
  // Strides that the member must ignore are nonsense.
  const strides given = c.in_place_only() ? strides{777, 555} : r.stride;
  const auto call = [&](const auto &function, const uint8_t *src, uint8_t *dst) {
    function({src, dst, given, r.count, a.values.maxvalue, 0, a.param(turn)});
    for (uint64_t i = 0; i < r.count; ++i) settle_nans(c, dst + int64_t(i) * r.stride.destination);
  };
  const testing::AssertionResult result = does(member, r, source, model, call);
  EXPECT_TRUE(result) << "maxvalue " << a.values.maxvalue << " bits " << a.values.bits << " turn " << turn;
  return result;
}

std::vector<run_case> cases(const conversion &c) {
  const auto w = int64_t(c.width), in = int64_t(c.inputs) * w, out = int64_t(c.outputs) * w,
             both = std::max(in, out);
  const strides all[] = {{in, out},       {in + w, out},     {in, out + w}, {in + w, out + w},
                         {in + 1, out},   {in, out + 5},     {-in, out},    {in, -out},
                         {-4 * w, 4 * w}, {2 * in, 3 * out}, {0, out}};
  std::vector<run_case> list;
  for (uint64_t count :
       {0, 1, 2, 3, 5, 8, 15, 16, 17, 31, 33, 63, 64, 65, 67, 127, 129, 200, 255, 256, 257, 600}) {
    if (!c.in_place_only())
      for (auto [s, d] : all) list.push_back({{s, d}, count, false});
    for (int64_t stride : {both, both + w, both + 1, -both})
      if (!c.in_place_only() || stride == both) list.push_back({{stride, stride}, count, true});
  }
  for (uint64_t count = 0; c.takes_matrix() && count <= 200; ++count) {  // in steps of several pixels
    list.push_back({{in, out}, count, false});
    if (in == out) list.push_back({{in, out}, count, true});
  }
  for (uint64_t count : {1025, 2050, 4300}) {  // longer than any block
    if (!c.in_place_only())
      list.push_back({{in, out}, count, false}), list.push_back({{in + w, out + w}, count, false});
    list.push_back({{both, both}, count, true});
  }
  return list;
}

TEST(Npfclx, EveryMemberDoesWhatItsNameSays) {
  std::mt19937 random(1);
  const auto all = members();
  ASSERT_EQ(all.size(), 130u);
  for (const auto &member : all) {
    const conversion c(member.name);
    unsigned turn = 0;
    for (const run_case &run : cases(c))
      if (!check(member, c, run, turn++, random)) break;
  }
}

TEST(Npfclx, EveryFullScaleAndManyMatricesGiveTheModelsPixels) {
  std::mt19937 random(2);
  for (const auto &member : members()) {
    const conversion c(member.name);
    if (!c.takes_bits() && !c.takes_matrix()) continue;
    const auto in = int64_t(c.inputs * c.width), out = int64_t(c.outputs * c.width);
    for (unsigned turn = 0; turn < 120; ++turn)
      if (!check(member, c, {{in, out}, 300, false}, turn, random)) break;
  }
}

// Coefficients, among them the first ones that 16 bits do not hold, signed and unsigned.
constexpr int32_t edges[] = {0,      1,      -1,    256,   4096,   -4096,     32767,    32768,
                             -32768, -32769, 65535, 65536, -65536, INT32_MAX, INT32_MIN};
// Full scales: of fewer bits than components have, of all, of more, and of none.
constexpr uint32_t full_scales[] = {0, 1, 127, 255, 4095, 32767, 65535, 0xFFFFF, 0x7FFFFFFF, 0xFFFFFFFF};

// Pixels whose components are at the ends of their range, or a full scale, or anything.
buffer edge_pixels(const conversion &c, size_t count, uint32_t maxvalue, std::mt19937 &random) {
  buffer pixels(count * c.inputs * c.width);
  for (size_t at = 0; at < pixels.size(); at += c.width) {
    const uint32_t list[] = {0, 1, maxvalue, maxvalue - 1, ~0u, uint32_t(random())};
    memcpy(pixels.data() + at, &list[random() % std::size(list)], c.width);
  }
  return pixels;
}

// Coefficients and limits at their edges: sums at the ends of what 16 and 32 bits hold.
TEST(Npfclx, MatricesAtTheirEdgesGiveTheModelsPixels) {
  std::mt19937 random(4);
  for (const auto &member : members()) {
    const conversion c(member.name);
    if (!c.takes_matrix() || c.real || c.width > 2) continue;
    for (uint32_t maxvalue : full_scales)
      for (int turn = 0; turn < 40; ++turn) {
        colour_arguments values;
        values.maxvalue = maxvalue;
        // Small ones with one edge among them, or nothing but edges.
        for (int32_t &m : values.integer_matrix)
          m = turn < 30 ? int32_t(random()) >> (16 + random() % 12) : edges[random() % std::size(edges)];
        if (turn < 30) values.integer_matrix[random() % 12] = edges[size_t(turn) % std::size(edges)];
        const run r{{int64_t(c.inputs * c.width), int64_t(c.outputs * c.width)},
                    83,
                    c.inputs * c.width,
                    c.outputs * c.width,
                    0,
                    0};
        ASSERT_TRUE(does(member, r, edge_pixels(c, r.count, maxvalue, random),
                         [&](const uint8_t *in, uint8_t *out) { model_pixel(c, in, out, values); },
                         {nullptr, nullptr, r.stride, r.count, maxvalue, 0, values.integer_matrix}))
            << "maxvalue " << maxvalue;
      }
  }
}

TEST(Npfclx, ByteConversionsAgreeWithTheModelAllOverTheColourCube) {
  constexpr uint32_t step = 401, count = (1 << 24) / step;
  std::vector<uint8_t> source(3 * count);
  for (uint32_t i = 0; i < count; ++i)
    for (uint32_t k = 0; k < 3; ++k) source[3 * i + k] = uint8_t(i * step >> 8 * k);
  for (const auto &member : members()) {
    const conversion c(member.name);
    if (c.width != 1 || c.inputs != 3 || (!c.takes_bits() && !c.takes_matrix())) continue;
    colour_arguments values;
    const int32_t *matrix = c.has("toYCrCb") ? clx_rgb_to_ycrcb8[0]
                            : c.has("12")    ? clx_ycrcb_to_rgb16[0]
                                             : clx_ycrcb_to_rgb8[0];
    std::copy_n(matrix, 12, values.integer_matrix);
    for (values.bits = c.takes_bits() ? 1 : 8; values.bits <= 8; ++values.bits) {
      std::vector<uint8_t> expected(c.outputs * count);
      for (uint32_t i = 0; i < count; ++i) model_pixel(c, &source[3 * i], &expected[c.outputs * i], values);
      for (const auto &[level, function] : member.versions) {
        std::vector<uint8_t> result(expected.size());
        function({source.data(),
                  result.data(),
                  {3, int64_t(c.outputs)},
                  count,
                  255,
                  0,
                  c.takes_bits() ? &values.bits : static_cast<const void *>(matrix)});
        EXPECT_TRUE(result == expected) << member.name << " " << level << " bits " << values.bits;
      }
    }
  }
}

TEST(Npfclx, RunsOfNothingNeedNoMemory) { call_on_nothing(members()); }

template <class T>
std::vector<T> one(npfclx_fn *f, std::vector<T> in, size_t outputs, uint32_t maxvalue, const void *param) {
  std::vector<T> out(outputs);
  f(in.data(), out.data(), in.size() * sizeof(T), outputs * sizeof(T), 1, maxvalue, param);
  return out;
}

TEST(Npfclx, KnownPixels) {
  using bytes = std::vector<uint8_t>;
  auto bsh = [](bytes rgb) { return one<uint8_t>(npfclx1_RGBtoBSH, rgb, 3, 0, nullptr); };
  EXPECT_EQ(bsh({0, 255, 0}), (bytes{255, 255, 85}));
  EXPECT_EQ(bsh({0, 0, 255}), (bytes{255, 255, 171}));
  EXPECT_EQ(bsh({77, 77, 77}), (bytes{77, 0, 0}));
  EXPECT_EQ(one<uint8_t>(npfclx1_BSHtoRGB, {99, 0, 201}, 3, 0, nullptr), (bytes{99, 99, 99}));
  EXPECT_EQ(one<uint8_t>(npfclx1_RGBtoYCrCb8, {255, 255, 255}, 3, 0, clx_rgb_to_ycrcb8),
            (bytes{253, 129, 129}));
  EXPECT_EQ(one<uint8_t>(npfclx1_YCrCb8toRGB, {255, 255, 255}, 3, 0, clx_ycrcb_to_rgb8),
            (bytes{255, 121, 255}));
  EXPECT_EQ(one<uint8_t>(npfclx1_matrix34sl12r1, {3, 127, 9}, 3, 127, clx_rgb_to_ycrcb16),
            (bytes{127, 127, 127}));
  EXPECT_EQ(one<uint8_t>(npfclx1_CMYKtoRGB, {200, 0, 10, 100}, 3, 0, nullptr), (bytes{0, 155, 145}));
  const uint32_t bits = 4;
  EXPECT_EQ(one<uint8_t>(npfclx1_RGBtoCMY, {15, 16, 0}, 3, 0, &bits), (bytes{0, 255, 15}));
  EXPECT_EQ(one<uint8_t>(npfclx1_matrix3sl8r0, {255, 255, 255}, 1, 0, clx_rgb_to_grey), (bytes{254}));
  EXPECT_EQ(one<uint8_t>(npfclx1_matrix31sl8r0, {200}, 3, 0, clx_grey_to_rgb), (bytes{200, 200, 200}));
  using doubles = std::vector<double>;
  EXPECT_EQ(one<double>(npfclxd_RGBtoBSH, {0.5, 0.5, 1}, 3, 0, nullptr), (doubles{1, 0.5, 240}));
  EXPECT_EQ(one<double>(npfclxd_BSHtoRGB, {1, 0.5, 360}, 3, 0, nullptr), (doubles{1, 0.5, 0.5}));
  for (double hue : {-1.0, 361.0, double(NAN)})
    EXPECT_EQ(one<double>(npfclxd_BSHtoRGB, {1, 0.5, hue}, 3, 0, nullptr), (doubles{0, 0, 0})) << hue;
}

}  // namespace
