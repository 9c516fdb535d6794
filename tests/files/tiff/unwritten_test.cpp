// TIFF files that are not written: refusals, failures in any step, a callback that stops.
#include <gtest/gtest.h>

#include <qvimage/null.h>
#include <qvimage/tiff.h>

#include "tests/fault.hpp"
#include "tests/files.hpp"
#include "tests/files/tiff/saved.hpp"

namespace {

TEST(TiffWrite, BadArgumentsHaveTheirCodesAndLeaveNoFile) {
  temporary_folder folder;
  const std::string path = folder / "a.tif", nowhere = folder / "no/such/folder.tif";
  frame grey(4, 4, 1, 8, 1, QVIM_HINT_GREY), five(4, 4, 1, 8, 5, 0), wide(4, 4, 8, 64, 1, 0);
  frame empty(4, 4, 1, 8, 1, QVIM_HINT_GREY);
  qvywindow none{{2, 2}, {2, 4}};
  ASSERT_NE(empty.image.xwind(&empty.image, &none, 's'), nullptr);
  EXPECT_EQ(qvimage_tiffwrite(nullptr, nullptr, nullptr, path.c_str(), nullptr, 0, 0, nullptr, 0, 0, 0), -1);
  EXPECT_EQ(qvimage_tiffwrite(nullptr, &grey.image, nullptr, nullptr, nullptr, 0, 0, nullptr, 0, 0, 0), -1);
  EXPECT_EQ(qvimage_tiffwrite(nullptr, &grey.image, nullptr, path.c_str(), nullptr, -1, 0, nullptr, 0, 0, 0),
            -1);
  EXPECT_EQ(save(grey, path, nullptr, -1), -1);
  EXPECT_EQ(save(five, path), -1);
  EXPECT_EQ(save(wide, path), -1);
  EXPECT_EQ(save(empty, path), -1);
  qvimagefileinfo jpeg = options_for(7);
  EXPECT_EQ(save(grey, path, &jpeg), -1);
  qvimagefileinfo unit = options_for(1);
  unit.resunit = 65536;
  EXPECT_EQ(save(grey, path, &unit), -1);
  EXPECT_EQ(save(grey, nowhere), -14);
  EXPECT_EQ(save(grey, path, nullptr, 1), -13);
  EXPECT_TRUE(folder.empty());
  std::ofstream(path) << "not a TIFF file at all";
  EXPECT_EQ(save(grey, path, nullptr, 1), -10);
  EXPECT_TRUE(file_exists(path));
}

TEST(TiffWrite, AnExistingFileIsNotTouchedForAnImageThatCannotBeWritten) {
  temporary_folder folder;
  const std::string path = folder / "a.tif";
  const bytes before = {1, 2, 3, 4};
  put_file(path, before);
  frame grey(4, 4, 2, 16, 1, QVIM_HINT_GREY), five(4, 4, 1, 8, 5, 0), wide(4, 4, 8, 64, 1, 0),
      real(4, 4, QVIM_FLOAT32, 0, 1, 0);
  qvimage null_image;
  qvimage_defnull(&null_image);
  qvimagefileinfo jpeg = options_for(7), lzw = options_for(5), arithmetic = options_for(32885);
  EXPECT_EQ(save(five, path), -1);
  EXPECT_EQ(save(wide, path), -1);
  EXPECT_EQ(save(grey, path, &jpeg), -1);
  EXPECT_EQ(save(grey, path, &arithmetic), -1);
  EXPECT_EQ(save(real, path, &lzw), -1);
  grey.image.d.i_bitsused = 17;  // of 16
  EXPECT_EQ(save(grey, path), -1);
  EXPECT_EQ(qvimage_tiffwrite(nullptr, &null_image, nullptr, path.c_str(), nullptr, 0, 0, nullptr, 0, 0, 0),
            -1);
  // What such a mode writes goes to the file's end, links too.
  EXPECT_EQ(qvimage_tiffwrite(nullptr, &grey.image, nullptr, path.c_str(), "a+b", 0, 1, nullptr, 0, 0, 0),
            -1);
  EXPECT_EQ(file_bytes(path), before);
}

TEST(TiffWrite, StepsRefuseForeignHandlesAndWrongOrder) {
  frame f(4, 4, 1, 8, 1, QVIM_HINT_GREY);
  temporary_folder folder;
  const std::string path = folder / "a.tif";
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

TEST(TiffWrite, EveryFailureIsReportedAndLeavesTheOldFileOrNone) {
  temporary_folder folder;
  const std::string path = folder / "a.tif";
  const bytes old = {1, 2, 3};
  frame f(300, 40, 2, 16, 1, QVIM_HINT_GREY), palette(256, 1, 1, 8, 3, QVIM_HINT_RGB),
      index(50, 50, 1, 8, 1, QVIM_HINT_INDEX);
  for (uint32_t compression : {1u, 517u, 32773u, 33397u})
    for (const char *mode : {(const char *)nullptr, "w+b"}) {
      frame &source = compression == 33397 ? index : f;
      qvimagefileinfo options = options_for(compression, 3000);
      char text[] = "text";
      options.description = text;
      const bool existed = !mode && compression != 517;
      const auto write = [&] {
        return qvimage_tiffwrite(nullptr, &source.image, &source == &index ? &palette.image : nullptr,
                                 path.c_str(), mode, 4096, 0, &options, 0, 0, 0);
      };
      const auto prepare = [&] {
        std::remove(path.c_str());
        if (existed) put_file(path, old);
      };
      const auto check = [&](const faulted &run) {
        if (run.fired && existed)
          EXPECT_EQ(file_bytes(path), old);
        else
          EXPECT_EQ(file_exists(path), !run.fired);
        EXPECT_EQ(folder.files(), existed || !run.fired ? 1u : 0u) << "nothing else is left";
        prepare();
      };
      prepare();
      expect_faults_reported(write, -7, transfers | (existed ? uint32_t(call_sync) : 0u), check);
      if (existed) expect_faults_reported(write, -14, call_rename, check);
      std::remove(path.c_str());
      ASSERT_EQ(write(), 0);
      const uint64_t size = file_bytes(path).size();
      for (uint64_t room = 0; room < size; room += 1 + size / 50) {
        std::remove(path.c_str());
        full_disk disk(room);
        EXPECT_EQ(write(), -7) << room;
        EXPECT_TRUE(folder.empty()) << room;
      }
    }
}

TEST(TiffWrite, EveryFailureOfAPageInBandsIsReported) {
  temporary_folder folder;
  const std::string path = folder / "a.tif";
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

TEST(TiffWrite, AFailedAppendLeavesTheFileAsItWas) {
  temporary_folder folder;
  const std::string path = folder / "a.tif";
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

TEST(TiffWrite, TheCallbackStopsAtAnyRow) {
  temporary_folder folder;
  const std::string path = folder / "a.tif";
  frame f(20, 12, 1, 8, 1, QVIM_HINT_GREY);
  static int64_t stop_at, last;
  const auto callback = [](int64_t step, int64_t steps) -> int32_t {
    EXPECT_EQ(steps, 12);
    EXPECT_EQ(step, last + 1);
    last = step;
    return step == stop_at ? (step % 2 ? -4 : 17) : 0;
  };
  for (stop_at = 1; stop_at <= 13; stop_at++) {
    last = 0;
    const int32_t code = save(f, path, nullptr, 0, {}, nullptr, callback);
    EXPECT_EQ(code, stop_at > 12 ? 0 : stop_at % 2 ? -4 : 17);
    EXPECT_EQ(file_exists(path), stop_at > 12);
  }
  EXPECT_EQ(last, 12);
}

}  // namespace
