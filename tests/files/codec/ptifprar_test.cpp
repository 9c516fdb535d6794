#include <gtest/gtest.h>

#include <random>
#include <vector>

#include <qvimage/codec.h>

#include "files/codec/codec.hpp"
#include "tests/fault.hpp"
#include "tests/files/codec/arith_model.hpp"

namespace {

using bytes = std::vector<uint8_t>;

struct codec {
  void *state = nullptr;
  explicit codec(ptifprar_params p) { EXPECT_EQ(ptifprar_stateinit(&state, &p), 0); }
  ~codec() { ptifprar_statedone(&state); }
};

using operation = int32_t (*)(void *, codecstream *, codecstream *);

// Runs an operation over the input in pieces of in_piece bytes into rooms of out_piece bytes, each of exactly
// that size, until it answers 1 or has made `most` bytes.
bytes run(operation op, void *state, const bytes &input, size_t in_piece, size_t out_piece,
          size_t most = SIZE_MAX) {
  codecstream in{}, out{};
  bytes result;
  size_t offered = 0;
  bytes piece;
  for (int idle = 0; idle < 3;) {
    if (in.next == in.end) {
      const size_t n = std::min(in_piece, input.size() - offered);
      piece.assign(input.begin() + long(offered), input.begin() + long(offered + n));
      offered += n;
      in.next = piece.data();
      in.end = in.next + n;
      in.more = offered < input.size();
    }
    bytes room(std::min(out_piece, most - result.size()));
    out.next = room.data();
    out.end = out.next + room.size();
    const int32_t code = op(state, &in, &out);
    EXPECT_GE(code, 0);
    const bool moved = out.next != room.data();
    result.insert(result.end(), room.data(), out.next);
    if (code == 1) {
      uint8_t last;
      out.next = &last;
      out.end = &last + 1;
      if (out.bitcnt > 0) {
        EXPECT_TRUE(qvim::finish_bits(&out));
        result.push_back(last);
      }
      EXPECT_EQ(out.count, result.size());
      EXPECT_EQ(in.count, input.size());
      return result;
    }
    if (result.size() == most) return result;
    idle = moved || in.more > 0 ? 0 : idle + 1;
  }
  ADD_FAILURE() << "no progress";
  return result;
}

// A picture with edges, slopes and noise; samples in their one or two bytes.
bytes picture(ptifprar_params p, int rows, uint32_t seed) {
  std::mt19937 random(seed);
  bytes result;
  const int top = (1 << p.bits) - 1;
  for (int y = 0; y < rows; y++)
    for (int x = 0; x < p.width; x++)
      for (int s = 0; s < p.samples; s++) {
        int value = (x * (s + 1) + y * 3) * top / 200 + int(random() % 3);
        if (x / 8 % 4 == 1) value = top - value;
        if (y == 5) value = int(random());
        value &= top;
        result.push_back(uint8_t(value));
        if (p.bits > 8) result.push_back(uint8_t(value >> 8));
      }
  return result;
}

int sample_at(const bytes &b, ptifprar_params p, int x, int y, int s) {
  const size_t i = (size_t(y) * size_t(p.width) + size_t(x)) * size_t(p.samples) + size_t(s);
  return p.bits > 8 ? b[2 * i] | b[2 * i + 1] << 8 : b[i];
}

// The coder's definition on whole pictures: every sample's neighbours are looked up in the picture itself.
bytes slow_encode(const bytes &b, ptifprar_params p) {
  const int rows = int(b.size()) / (p.width * p.samples * (p.bits > 8 ? 2 : 1)), values = 1 << p.bits;
  std::vector<slow_model> models(size_t(p.samples), slow_model(values, std::max(2 * values, 16383)));
  slow_coder coder;
  for (int y = 0; y < rows; y++)
    for (int x = 0; x < p.width; x++)
      for (int s = 0; s < p.samples; s++) {
        const int left = x ? sample_at(b, p, x - 1, y, s) : values / 2;
        int prediction = left;
        if (x && y) {
          const int above = sample_at(b, p, x, y - 1, s), corner = sample_at(b, p, x - 1, y - 1, s);
          prediction = ((above + left) * 9 - corner * 8 + 5) / 10;
        }
        coder.encode(models[size_t(s)], (sample_at(b, p, x, y, s) - prediction) & (values - 1));
      }
  return coder.finish();
}

TEST(Ptifprar, BytesAreThoseOfTheSlowModel) {
  for (const ptifprar_params p :
       {ptifprar_params{1, 17, 1}, {4, 40, 2}, {8, 40, 3}, {9, 20, 4}, {12, 30, 1}}) {
    const bytes data = picture(p, 12, 3);
    codec c(p);
    ASSERT_EQ(run(ptifprar_encode, c.state, data, 100, 100), slow_encode(data, p)) << p.bits;
  }
}

TEST(Ptifprar, EveryShapeRoundTrips) {
  for (int bits = 1; bits <= 12; bits++)
    for (int samples = 1; samples <= 4; samples++)
      for (const int width : {1, 2, 37}) {
        const ptifprar_params p{bits, width, samples};
        const bytes data = picture(p, 9, uint32_t(bits));
        codec c(p);
        const bytes code = run(ptifprar_encode, c.state, data, SIZE_MAX, 4096);
        ASSERT_EQ(ptifprar_statereset(c.state), 0);
        ASSERT_EQ(run(ptifprar_decode, c.state, code, SIZE_MAX, SIZE_MAX / 2, data.size()), data)
            << bits << " " << samples << " " << width;
      }
}

TEST(Ptifprar, RampsOfTwelveBitsInTwoBytesBecomeSmall) {
  bytes ramp;
  for (int y = 0; y < 64; y++)
    for (int x = 0; x < 256; x++) {
      ramp.push_back(uint8_t(x * 15 + y));
      ramp.push_back(uint8_t((x * 15 + y) >> 8));
    }
  codec c({12, 256, 1});
  const bytes code = run(ptifprar_encode, c.state, ramp, SIZE_MAX, 4096);
  EXPECT_LT(code.size(), ramp.size() / 4);
  ptifprar_statereset(c.state);
  EXPECT_EQ(run(ptifprar_decode, c.state, code, SIZE_MAX, 4096, ramp.size()), ramp);
}

TEST(Ptifprar, ItDoesNotMatterHowStreamsAreCut) {
  const ptifprar_params p{10, 9, 3};
  const bytes data = picture(p, 6, 8);
  codec c(p);
  const bytes whole = run(ptifprar_encode, c.state, data, SIZE_MAX, 4096);
  for (const size_t in_piece : {1, 2, 3, 7, 1000})
    for (const size_t out_piece : {1, 2, 5, 1000}) {
      ptifprar_statereset(c.state);
      ASSERT_EQ(run(ptifprar_encode, c.state, data, in_piece, out_piece), whole)
          << in_piece << " " << out_piece;
      ptifprar_statereset(c.state);
      ASSERT_EQ(run(ptifprar_decode, c.state, whole, in_piece, out_piece, data.size()), data)
          << in_piece << " " << out_piece;
    }
}

TEST(Ptifprar, BitsAboveTheSignificantOnesAreIgnored) {
  const ptifprar_params p{10, 20, 1};
  const bytes data = picture(p, 5, 1);
  bytes dirty = data;
  for (size_t i = 1; i < dirty.size(); i += 2) dirty[i] |= 0xA4;
  codec c(p);
  const bytes code = run(ptifprar_encode, c.state, dirty, SIZE_MAX, 4096);
  ptifprar_statereset(c.state);
  EXPECT_EQ(run(ptifprar_decode, c.state, code, SIZE_MAX, 4096, data.size()), data);
}

TEST(Ptifprar, GarbageDecodesToSomething) {
  std::mt19937 random(4);
  for (int round = 0; round < 200; round++) {
    const ptifprar_params p{int(1 + random() % 12), int(1 + random() % 50), int(1 + random() % 4)};
    bytes garbage(random() % 200);
    for (uint8_t &b : garbage) b = uint8_t(random() % (round % 2 ? 256 : 2));
    codec c(p);
    const bytes samples = run(ptifprar_decode, c.state, garbage, 16, 33, 3000);
    EXPECT_EQ(samples.size(), 3000u);
    for (size_t i = 0; i < samples.size(); i++)
      ASSERT_LT(samples[i], p.bits < 8 || (p.bits > 8 && i % 2) ? 1 << (p.bits % 8 ? p.bits % 8 : 8) : 256);
  }
}

TEST(Ptifprar, RefusesWhatItCannotServe) {
  void *state = nullptr, *used = &state;
  const ptifprar_params good{8, 1, 1};
  for (const ptifprar_params p :
       {ptifprar_params{0, 1, 1}, {13, 1, 1}, {-1, 1, 1}, {8, 0, 1}, {8, -5, 1}, {8, 1, 0}, {8, 1, 5}})
    EXPECT_EQ(ptifprar_stateinit(&state, &p), -1);
  EXPECT_EQ(ptifprar_stateinit(nullptr, &good), -1);
  EXPECT_EQ(ptifprar_stateinit(&used, &good), -1);
  EXPECT_EQ(ptifprar_stateinit(&state, nullptr), -1);
  EXPECT_EQ(state, nullptr);
  EXPECT_EQ(ptifprar_statereset(nullptr), -1);
  ptifprar_statedone(nullptr);
  ptifprar_statedone(&state);
  codecstream s{};
  EXPECT_EQ(ptifprar_encode(nullptr, &s, &s), -1);
  codec c(good);
  EXPECT_EQ(ptifprar_decode(c.state, nullptr, &s), -1);
  EXPECT_EQ(ptifprar_encode(c.state, &s, nullptr), -1);
}

TEST(Ptifprar, HalfASampleAtTheEndIsAnErrorUntilReset) {
  codec c({12, 4, 1});
  bytes data(7), room(100);
  codecstream in{}, out{};
  in.next = data.data();
  in.end = in.next + data.size();
  out.next = room.data();
  out.end = out.next + room.size();
  EXPECT_EQ(ptifprar_encode(c.state, &in, &out), -1);
  in.next = data.data();
  EXPECT_EQ(ptifprar_encode(c.state, &in, &out), -1);
  ptifprar_statereset(c.state);
  in.next = data.data() + 1;
  EXPECT_EQ(ptifprar_encode(c.state, &in, &out), 1);
}

TEST(Ptifprar, EveryFailingAllocationIsReported) {
  const ptifprar_params p{12, 100, 4};
  const int64_t before = live_allocations();
  for (const bool for_ever : {false, true})
    for (int n = 0;; n++) {
      fail_allocation fault(n, for_ever);
      void *state = nullptr;
      const int32_t code = ptifprar_stateinit(&state, &p);
      ptifprar_statedone(&state);
      EXPECT_EQ(live_allocations(), before);
      if (!fault.fired()) break;
      EXPECT_EQ(code, -2);
    }
}

}  // namespace
