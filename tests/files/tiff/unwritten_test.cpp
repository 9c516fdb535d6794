// TIFF files that are not written: refusals, failures in any step, a callback that stops.
#include <gtest/gtest.h>

#include <qvimage/null.h>
#include <qvimage/tiff.h>
#include <qvimage/views.h>

#include "tests/fault.hpp"
#include "tests/files/tiff/saved.hpp"

namespace {

TEST_F(TiffWrite, WhatCannotBeWrittenIsRefusedBeforeAFileIsTouched) {
  const bytes before = {1, 2, 3, 4};
  put_file(path, before);
  frame grey(4, 4, 2, 16, 1, QVIM_HINT_GREY), five(4, 4, 1, 8, 5, 0), wide(4, 4, 8, 64, 1, 0),
      real(4, 4, QVIM_FLOAT32, 0, 1, 0), empty(4, 4, 1, 8, 1, QVIM_HINT_GREY), none(4, 4, 1, 8, 1, 0),
      beyond(4, 4, 2, 16, 1, 0), index(9, 5, 1, 4, 1, QVIM_HINT_INDEX), few(15, 1, 1, 8, 3, QVIM_HINT_RGB),
      colourless(16, 1, 1, 8, 1, 1), closed(16, 1, 1, 8, 3, QVIM_HINT_RGB);
  empty.image.wind = {{2, 2}, {2, 4}};
  closed.image.wind = {};
  beyond.image.d.i_bitsused = 17;  // of 16
  qvimage_defnull(&none.image);
  qvimagefileinfo jpeg = options_for(7), lzw = options_for(5), arithmetic = options_for(32885),
                  unit = options_for(1);
  unit.resunit = 65536;
  const struct {
    frame &f;
    qvimagefileinfo *options;
    frame *palette;
  } cases[] = {{five, nullptr, nullptr},     {wide, nullptr, nullptr},   {empty, nullptr, nullptr},
               {none, nullptr, nullptr},     {beyond, nullptr, nullptr}, {grey, &jpeg, nullptr},
               {grey, &arithmetic, nullptr}, {grey, &unit, nullptr},     {real, &lzw, nullptr},
               {index, nullptr, &few},       {index, nullptr, &closed},  {index, nullptr, &colourless}};
  for (const auto &c : cases)
    for (const char *mode : {(const char *)nullptr, "w+b"}) {
      qvimage *const palette = c.palette ? &c.palette->image : nullptr;
      EXPECT_EQ(qvimage_tiffwrite(nullptr, &c.f.image, palette, path.c_str(), mode, 0, 0, c.options, 0, 0, 0),
                -1)
          << &c - cases;
      qvimage3 planes;
      if (palette || qvimage_def3from2(&planes, &c.f.image, 0) < 0) continue;
      EXPECT_EQ(qvimage3_tiffwrite(nullptr, &planes, nullptr, path.c_str(), mode, 0, 0, c.options, 0, 0, 0),
                -1)
          << &c - cases;
    }
  // What "a+b" writes goes to the file's end, links too.
  for (const char *mode : {"w+b", "r", "a+", "a+b", "x", ""})
    EXPECT_EQ(qvimage_tiffwrite(nullptr, &grey.image, nullptr, path.c_str(), mode, 0, 1, nullptr, 0, 0, 0),
              -1)
        << mode;
  EXPECT_EQ(save(grey, path, nullptr, -1), -1);
  EXPECT_EQ(save(grey, path, nullptr, 1), -10) << "no TIFF file";
  EXPECT_EQ(file_bytes(path), before);
  EXPECT_EQ(save(real, folder / "none", nullptr, 1), -13);
  EXPECT_EQ(folder.files(), 1u);
  EXPECT_EQ(save(index, path, nullptr, 0, {}, &none.image), 0);  // the palette of a page without a map
  EXPECT_EQ(parsed_tiff(file_bytes(path)).pages.at(0).value(262), 1u);
}

TEST_F(TiffWrite, StepsRefuseForeignHandlesAndWrongOrder) {
  frame f(4, 4, 1, 8, 1, QVIM_HINT_GREY);
  tiffhandle *none = nullptr;
  uint64_t memory[64] = {1, 2, 3};
  tiffhandle *foreign = reinterpret_cast<tiffhandle *>(memory);
  for (auto [h, code] : {std::pair<tiffhandle **, int32_t>{nullptr, -1}, {&none, -1}, {&foreign, -64}}) {
    EXPECT_EQ(qvimage_tiffwritesetup(h, &f.image, nullptr, nullptr, 0, 0, 0, 0), code);
    EXPECT_EQ(qvimage_tiffwriteifdinit(h), code);
    EXPECT_EQ(qvimage_tiffwritedata(h, nullptr, &f.image, 0), code);
    EXPECT_EQ(qvimage_tiffwriteifdfini(h), code);
    EXPECT_EQ(qvimage_tiffclose(h), code);
    EXPECT_EQ(qvimage_tifffini(h, 1), code);
    EXPECT_EQ(qvimage_tifferror(h), code);
    EXPECT_EQ(qvimage_tifffileopened(h), code);
  }
  tiffhandle *h = nullptr;
  ASSERT_EQ(qvimage_tiffwriteopen(&h, 1, nullptr, nullptr, path.c_str(), nullptr, 0, 0, nullptr), 0);
  EXPECT_EQ(qvimage_tifffileopened(&h), 1);
  EXPECT_EQ(qvimage_tiffwriteopen(&h, 1, nullptr, nullptr, path.c_str(), nullptr, 0, 0, nullptr), -1)
      << "set already";
  EXPECT_EQ(qvimage_tiffwriteifdinit(&h), -1);
  EXPECT_EQ(qvimage_tiffwritedata(&h, nullptr, &f.image, 0), -1);
  EXPECT_EQ(qvimage_tiffwriteifdfini(&h), -1);
  ASSERT_EQ(qvimage_tiffwritesetup(&h, &f.image, nullptr, nullptr, 0, 0, 0, 0), 0);
  ASSERT_EQ(qvimage_tiffwriteifdinit(&h), 0);
  frame other(5, 4, 1, 8, 1, QVIM_HINT_GREY);
  EXPECT_EQ(qvimage_tiffwritedata(&h, nullptr, &other.image, 0), -1) << "another size";
  frame shallow(4, 4, 1, 5, 1, QVIM_HINT_GREY);
  EXPECT_EQ(qvimage_tiffwritedata(&h, nullptr, &shallow.image, 0), -1) << "another depth";
  EXPECT_EQ(qvimage_tiffwritedata(&h, nullptr, &f.image, 1), -1) << "no such band";
  EXPECT_EQ(qvimage_tiffclose(&h), 0);
  EXPECT_EQ(qvimage_tifffini(&h, 1), 0);
  EXPECT_EQ(parsed_tiff(file_bytes(path)).pages.size(), 0u) << "the unfinished page is gone";
}

constexpr uint32_t transfers = call_read | call_write | call_close;

TEST_F(TiffWrite, EveryFailureOfAPageInBandsIsReported) {
  frame f(300, 40, 2, 16, 1, QVIM_HINT_GREY);
  for (uint32_t compression : {1u, 5u, 32773u}) {
    qvimagefileinfo options = options_for(compression, 3000);
    const auto write = [&] {
      tiffhandle *h = nullptr;
      int32_t code = qvimage_tiffwriteopen(&h, 3, nullptr, nullptr, path.c_str(), nullptr, 1024, 0, &options);
      if (!h) return code;
      code = add_page(&h, f, &options, 3);
      const int32_t released = qvimage_tifffini(&h, 3);
      return code < 0 ? code : released;
    };
    expect_faults_reported(write, -7, transfers);
  }
}

TEST_F(TiffWrite, AFailedAppendLeavesTheFileAsItWas) {
  frame first(10, 10, 1, 8, 1, QVIM_HINT_GREY), flat(200, 90, 2, 16, 1, QVIM_HINT_GREY);
  const int32_t dims[] = {200, 30, 3};
  qvimage3 volume;
  ASSERT_EQ(
      qvimage3_memdata(&volume, flat.stored.data(), flat.stored.size(), dims, 0, 0, &flat.d, nullptr, 0), 0);
  ASSERT_EQ(save(first, path), 0);
  ASSERT_EQ(save(first, path, nullptr, 1), 0);
  const bytes before = file_bytes(path);
  qvimagefileinfo options = options_for(5);
  const auto append = [&] {
    return qvimage3_tiffwrite(nullptr, &volume, nullptr, path.c_str(), nullptr, 4096, 1, &options, 0, 0, 0);
  };
  // A disk that takes nothing more cannot be restored, either: what was there still reads then.
  const auto check = [&](const faulted &run) {
    const bytes now = file_bytes(path);
    if (!run.fired)
      EXPECT_EQ(parsed_tiff(now).pages.size(), 4u);
    else if (run.calls == 0 || !run.for_ever)
      EXPECT_EQ(now, before);
    else
      EXPECT_GE(parsed_tiff(now).pages.size(), 1u);
    if (now != before) put_file(path, before);
  };
  expect_faults_reported(append, -7, call_write, check);
  // Any write may be cut short behind the link that it carries.
  for (const uint64_t most : {200u, 4000u})
    for (int n = 0;; n++) {
      SCOPED_TRACE(testing::Message() << "write " << n << " ends after " << most << " bytes");
      faulted run{0, false, false, call_write};
      {
        fail_call fault(call_write, n, false, short_count{most, true});
        run.code = append();
        run.fired = fault.fired();
      }
      if (run.code == 0) run.fired = false;  // a write that was not longer
      check(run);
      if (!run.fired && n > 20) break;
    }
}

}  // namespace
