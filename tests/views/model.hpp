// The slow model of images with the checks that compare a record with it. Views are described to it by two
// functions: where a pixel lies in the source, and what becomes of its value.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/views/values.hpp"

namespace model {

inline void expect_equal(const pixels &stored, const pixels &model) {
  ASSERT_EQ(stored.bytes.size(), model.bytes.size());
  for (size_t i = 0; i < stored.bytes.size(); i++)
    ASSERT_EQ(stored.bytes[i] & model.known[i], model.bytes[i] & model.known[i])
        << "at byte " << long(i) - pixels::margin;
}

inline void build(qvimage *im, pixels &over) {
  ASSERT_EQ(qvimage_memdata(im, over.base(), 0, over.dims.data(), over.pitch, &over.d, nullptr, 0), 0);
}
inline void build(qvimage3 *im, pixels &over) {
  ASSERT_EQ(qvimage3_memdata(im, over.base(), 0, over.dims.data(), over.pitch, over.planepitch, &over.d,
                             nullptr, 0),
            0);
}

inline void set_window(qvimage *im, const frame &f) {
  qvywindow w = {{f.nw[0], f.nw[1]}, {f.nw[0] + f.size[0], f.nw[1] + f.size[1]}};
  ASSERT_EQ(im->xwind(im, &w, 's'), im);
}
inline void set_window(qvimage3 *im, const frame &f) {
  qvyzwindow w = {{f.nw[0], f.nw[1], f.nw[2]},
                  {f.nw[0] + f.size[0], f.nw[1] + f.size[1], f.nw[2] + f.size[2]}};
  ASSERT_EQ(im->xwind(im, &w, 's'), im);
}
// --- accesses, compared with the model -----------------------------------------------------------

inline void expect_pixie(const uint8_t *buffer, const request &r, const bits &expected, const pos &at,
                         int pixie) {
  const uint64_t got = load(buffer, r.size(), r.reversed()), width = ones(8 * r.size());
  ASSERT_EQ(got & expected.known & width, expected.value & expected.known & width)
      << r.text() << " at (" << at[0] << ", " << at[1] << ", " << at[2] << ") pixie " << pixie;
}

// Block transfers and mappings are set up apart from runs: what they are asked for makes no difference to
// those.
template <class Dim>
void set_up_others(qvim::record<Dim> *im, uint64_t seed) {
  generator g(seed);
  const uint32_t types[] = {QVIM_UINT8, QVIM_UINT16, QVIM_UINT32, QVIM_FLOAT32, QVIM_FLOAT64};
  const uint32_t type = (chance(g, 50) ? uint32_t(im->d.pixietype) : one_of(g, types)) | random_flags(g),
                 mask = chance(g, 50) ? uint32_t(ones(im->d.pixies)) : 1;
  im->bxts(im, 0, type, mask);
  im->imapset(im, random_mode(g, Dim::axes) | QVIM_STEP, type, mask);
}

// Reads a run, going on where a call stopped short, and compares it with expected(position in the view's
// window, pixie). Nothing beyond the run may change in the buffer.
template <class Dim, class Expected>
void check_read(qvim::record<Dim> *im, const request &r, const pos &at, uint32_t count, Expected expected) {
  set_up_others<Dim>(im, count);
  const auto run = run_of(frame_of(im->wind).size, Dim::axes, r.mode, at, count);
  const size_t pixel = size_t(r.size() * r.colours());
  std::vector<uint8_t> buffer((count + 4) * pixel, 0xA5);
  size_t done = 0;
  while (done < run.size()) {
    const auto from = as_point<Dim>(run[done]);
    const uint32_t wanted = count - uint32_t(done);
    const uint32_t length = qvim::call_length(im, wanted, from);
    const uint32_t moved = qvim::call_read(im, 0, buffer.data() + done * pixel, wanted, from);
    ASSERT_EQ(moved, length) << r.text();
    ASSERT_GT(moved, 0u) << r.text();
    ASSERT_LE(done + moved, run.size()) << r.text();
    done += moved;
  }
  for (size_t i = 0; i < done; i++)
    for (int c = 0; c < r.colours(); c++)
      ASSERT_NO_FATAL_FAILURE(expect_pixie(&buffer[i * pixel + size_t(c * r.size())], r,
                                           expected(run[i], r.first() + c), run[i], r.first() + c));
  for (size_t i = done * pixel; i < buffer.size(); i++)
    ASSERT_EQ(buffer[i], 0xA5) << r.text() << " beyond the run";
}

// Writes a run of values from given() and tells apply(position, pixie, value) about each.
template <class Dim, class Given, class Apply>
void check_write(qvim::record<Dim> *im, const request &r, const pos &at, uint32_t count, Given given,
                 Apply apply) {
  set_up_others<Dim>(im, count);
  const auto run = run_of(frame_of(im->wind).size, Dim::axes, r.mode, at, count);
  const size_t pixel = size_t(r.size() * r.colours());
  std::vector<uint8_t> buffer((count + 4) * pixel, 0xA5);
  std::vector<uint64_t> values;
  for (size_t i = 0; i < run.size() * size_t(r.colours()); i++) {
    values.push_back(given());
    store(&buffer[i * size_t(r.size())], r.size(), r.reversed(), values.back());
  }
  const std::vector<uint8_t> before = buffer;
  size_t done = 0;
  while (done < run.size()) {
    const uint32_t moved = qvim::call_write(im, 0, buffer.data() + done * pixel, count - uint32_t(done),
                                            as_point<Dim>(run[done]));
    ASSERT_GT(moved, 0u) << r.text();
    ASSERT_LE(done + moved, run.size()) << r.text();
    done += moved;
  }
  ASSERT_EQ(buffer, before) << "the caller's buffer is not the view's to change";
  for (size_t i = 0; i < done; i++)
    for (int c = 0; c < r.colours(); c++)
      apply(run[i], r.first() + c, values[i * size_t(r.colours()) + size_t(c)]);
}

// Checks every seed of a range; a failure names its seed.
template <class Check>
void for_seeds(int seeds, Check check) {
  for (int seed = 1; seed <= seeds; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    ASSERT_NO_FATAL_FAILURE(check(seed));
  }
}

}  // namespace model
