// What holds of the files of every format: pixels come back in whatever order they are asked for, failures
// are reported and spoil nothing, callbacks stop what they hear of, and wrong arguments are refused.
#include "tests/files/formats.hpp"

#include <thread>

#include "tests/fault.hpp"
#include "tests/files.hpp"
#include "tests/files/alike.hpp"

namespace {

using formats::format, formats::opened;

constexpr int32_t width = formats::raw_size[0], height = formats::raw_size[1];

// The formats, and other pixels and codings of theirs.
std::vector<format> variants() {
  using namespace formats;
  std::vector<format> all(std::begin(formats::all), std::end(formats::all));
  const auto add = [&](const char *name, format f, formats::pixels of, decltype(f.write) write = nullptr) {
    f.name = name;
    f.of = of;
    if (write) f.write = write;
    all.push_back(f);
  };
  add("TiffPlain", tiff, {QVIM_UINT32, 29, 1, QVIM_HINT_GREY}, write_tiff<1>);
  add("TiffPacked", tiff, {QVIM_UINT16, 16, 3, QVIM_HINT_RGB}, write_tiff<32773>);
  add("TiffDifferences", tiff, {QVIM_UINT8, 8, 3, QVIM_HINT_RGB}, write_tiff<517>);
  add("TiffArithmetic", tiff, {QVIM_UINT8, 5, 1, QVIM_HINT_GREY}, write_tiff<33397>);
  add("TiffReal", tiff, {QVIM_FLOAT64, 0, 1, QVIM_HINT_GREY}, write_tiff<1>);
  add("JpegGrey", jpeg, {QVIM_UINT8, 8, 1, QVIM_HINT_GREY});
  add("Pbm", pnm, {QVIM_UINT8, 1, 1, QVIM_HINT_GREY});
  add("Pgm", pnm, {QVIM_UINT8, 8, 1, QVIM_HINT_GREY});
  add("BmpGrey", bmp, {QVIM_UINT8, 8, 1, QVIM_HINT_GREY});
  add("BmpPad", bmp, {QVIM_UINT8, 8, 4, QVIM_HINT_BGRPAD});
  add("FitsBytes", fits, {QVIM_UINT8, 8, 3, QVIM_HINT_RGB});
  add("FitsShorts", fits, {QVIM_UINT16, 16, 1, QVIM_HINT_GREY});
  add("AviGrey", avi, {QVIM_UINT8, 8, 1, QVIM_HINT_GREY}, write_avi<1>);
  add("AviJpeg", avi, {QVIM_UINT8, 8, 3, QVIM_HINT_RGB}, write_motion_jpeg);
  all.back().tolerance = jpeg.tolerance;
  return all;
}

class Format : public testing::TestWithParam<format> {
 protected:
  // With texts, which take memory when they are read.
  int32_t save(const char *mode = nullptr, int64_t buffer = 0) { return save(film_, mode, buffer); }
  int32_t save(film &f, const char *mode = nullptr, int64_t buffer = 0) {
    formats::saving how{mode, buffer, {}};
    how.options.description = how.options.software = how.options.fts_object = how.options.jpg_comment[0] =
        text_;
    return of_.save(f, path_, how);
  }
  bytes shown() { return opened(of_, path_).shown(); }
  // What is read of the file that the film becomes.
  bytes saved() {
    EXPECT_EQ(save(), 0) << qvimage_reason();
    return shown();
  }

  const format &of_ = GetParam();
  film film_ = of_.picture(width, height);
  const temporary_folder folder_;
  const std::string path_ = folder_ / "file";
  const bytes old_ = {1, 2, 3};
  char text_[5] = "text";
};
INSTANTIATE_TEST_SUITE_P(, Format, testing::ValuesIn(variants()),
                         [](const auto &f) { return std::string(f.param.name); });

TEST_P(Format, PixelsComeBackInAnyOrder) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE(seed);
  choices from{std::mt19937(seed)};
  const bytes first = saved();
  ASSERT_EQ(first.size(), film_.pixels.size());
  for (size_t i = 0; i < first.size(); i++) ASSERT_NEAR(first[i], film_.pixels[i], of_.tolerance) << i;
  film_.pixels = first;  // what a coder made of them
  for (int again = 0; again < 20 && !HasFatalFailure(); again++) {
    opened o(of_, path_, int64_t{1} << from.below(16));
    ASSERT_EQ(o.code, 0) << qvimage_reason();
    qvimage frame = film_.frame(0);
    qvimage3 frames = film_.image;
    if (of_.file.of_pages)
      expect_alike(from, o.page, frame, false);
    else
      expect_alike(from, o.frames, frames, false);
    EXPECT_EQ(o.error(), 0);
  }
}

TEST_P(Format, FailuresAreReportedAndLeaveTheOldFileOrNone) {
  for (const char *mode : {(const char *)nullptr, "w+b"}) {
    SCOPED_TRACE(mode ? "a new file" : "an old file is replaced");
    const auto prepare = [&] {
      std::filesystem::remove(path_);
      if (!mode) put_file(path_, old_);
    };
    const auto write = [&] { return save(mode, 4096); };
    const auto check = [&](const faulted &run) {
      EXPECT_EQ(file_exists(path_), !mode || !run.fired);
      EXPECT_EQ(file_bytes(path_) == old_, !mode && run.fired);
      EXPECT_EQ(folder_.files(), size_t{file_exists(path_)}) << "nothing else is left";
      prepare();
    };
    prepare();
    const uint32_t transfers = call_read | call_write | call_truncate | call_close;
    expect_faults_reported(write, QVERR_IO, mode ? transfers : transfers | call_sync, check);
    expect_faults_reported(write, QVERR_NOTCREATED, call_stat | (mode ? call_open : call_rename), check);
  }
  ASSERT_EQ(save(), 0);
  const uint64_t size = file_bytes(path_).size();
  for (uint64_t room = 0; room < size; room += 1 + size / 50) {
    std::filesystem::remove(path_);
    const full_disk disk(room);
    EXPECT_EQ(save("w+b", 4096), QVERR_IO) << room;
    EXPECT_TRUE(folder_.empty()) << room;
  }
}

TEST_P(Format, FailuresOfReadingAreReportedAndPass) {
  const bytes whole = saved();
  const auto read = [&] {
    opened o(of_, path_, 512);
    if (o.code == QVERR_IO) {
      EXPECT_NE(std::string(qvimage_reason()).find("reading"), std::string::npos) << qvimage_reason();
    }
    if (o.code < 0) return o.code;
    const bytes some = o.shown();
    const int32_t code = o.error();
    EXPECT_TRUE(code < 0 || some == whole);
    return code;
  };
  const auto tell = [&] {
    qvimagefileinfo info;
    const int32_t code = of_.file.info(&info, path_.c_str(), 512);
    of_.file.info_done(&info);
    return code;
  };
  expect_faults_reported(read, QVERR_IO, call_read);
  expect_faults_reported(read, QVERR_NOTFOUND, call_open | call_stat);
  if (!of_.file.info) return;
  expect_faults_reported(tell, QVERR_IO, call_read);
  expect_faults_reported(tell, QVERR_NOTFOUND, call_open | call_stat);
}

TEST_P(Format, AReadThatFailedSucceedsWhenItIsRepeated) {
  const bytes whole = saved();
  bool fired = true;
  for (int n = 0; fired; n++) {
    SCOPED_TRACE(n);
    opened o(of_, path_, 512);
    bytes some;
    {
      const fail_call fault(call_read, n);
      some = o.shown();
      fired = fault.fired();
    }
    const std::string reason = fired ? qvimage_reason() : "";
    const int32_t code = o.error();
    EXPECT_EQ(code, fired ? QVERR_IO : 0);
    EXPECT_EQ(reason.ends_with("Input/output error"), fired) << reason;
    EXPECT_EQ(o.shown(), whole);
    EXPECT_EQ(o.error(), 0);
  }
}

struct listener {
  std::vector<int64_t> steps;
  int64_t count = 0, stops_at = -1;

  static int32_t hear(void *p, int64_t step, int64_t count) {
    auto &self = *static_cast<listener *>(p);
    self.steps.push_back(step);
    self.count = count;
    return step == self.stops_at ? (step % 2 ? -4 : 17) : 0;
  }
};

TEST_P(Format, CallbacksHearOfEachStepAndStopAtAny) {
  const bool of_rows = of_.file.of_pages, of_groups = of_.write == formats::write_jpeg;
  std::vector<int64_t> expected;
  for (int64_t y = 0; of_groups && y < height; y += 8) expected.push_back(y);
  const int64_t first = of_.write != formats::write_raw;
  for (int64_t i = 0; !of_groups && i < (of_rows ? height : of_.frames); i++) expected.push_back(first + i);
  listener all;
  qvimage_progress(listener::hear, &all);
  EXPECT_EQ(save(), 0);
  EXPECT_EQ(all.steps, expected);
  EXPECT_EQ(all.count, of_rows ? height : of_.frames);
  for (const int64_t stop : expected)
    for (const char *mode : {(const char *)nullptr, "w+b"}) {
      std::filesystem::remove(path_);
      if (!mode) put_file(path_, old_);
      listener some{{}, 0, stop};
      qvimage_progress(listener::hear, &some);
      EXPECT_EQ(save(mode), stop % 2 ? -4 : 17);
      EXPECT_EQ(some.steps.back(), stop);
      EXPECT_EQ(file_bytes(path_), mode ? bytes() : old_);
      EXPECT_EQ(folder_.files(), mode ? 0u : 1u);
    }
  qvimage_progress(nullptr, nullptr);
}

TEST_P(Format, WrongArgumentsAreRefused) {
  ASSERT_EQ(save(), 0);
  const bytes before = file_bytes(path_);
  const std::string absent = folder_ / "none", nowhere = folder_ / "no/file";
  EXPECT_EQ(of_.save(film_, nowhere), QVERR_NOTCREATED);
  for (const char *mode : {"rb", "a+b", "x", ""}) EXPECT_EQ(save(mode), QVERR_USAGE) << mode;
  formats::saving how;
  EXPECT_EQ(of_.write(nullptr, nullptr, path_.c_str(), how), QVERR_USAGE);
  qvimage first = film_.frame(0);
  EXPECT_EQ(of_.write(&film_.image, &first, nullptr, how), QVERR_USAGE);
  first.wind = {{2, 2}, {2, 4}};
  film_.image.wind = {{2, 2, 0}, {2, 4, 1}};
  EXPECT_EQ(of_.write(&film_.image, &first, path_.c_str(), how), QVERR_USAGE) << "no pixels";
  EXPECT_EQ(file_bytes(path_), before);

  const formats::reading &file = of_.file;
  qvimage3 frames;
  qvimage page;
  void *h = nullptr;
  const auto open = [&](void **handle, const char *path, int64_t block = 0) {
    const int32_t code = file.open(&frames, &page, handle, path, block);
    EXPECT_STREQ(file.of_pages ? page.devname : frames.devname, file.of_pages ? "NULL2" : "NULL3");
    return code;
  };
  EXPECT_EQ(open(nullptr, path_.c_str()), QVERR_USAGE);
  EXPECT_EQ(open(&h, nullptr), QVERR_USAGE);
  EXPECT_EQ(open(&h, absent.c_str()), QVERR_NOTFOUND);
  EXPECT_EQ(file.open(nullptr, nullptr, &h, path_.c_str(), 0), QVERR_USAGE);
  EXPECT_EQ(h, nullptr);
  opened o(of_, path_);
  EXPECT_EQ(open(&o.handle, path_.c_str()), QVERR_USAGE) << "set already";
  if (!file.info) return;
  EXPECT_EQ(open(&h, path_.c_str(), -5), QVERR_USAGE);
  EXPECT_EQ(file.done(nullptr), QVERR_USAGE);
  EXPECT_EQ(file.done(&h), QVERR_USAGE);
  uint64_t memory[64] = {1};
  void *foreign = memory;
  EXPECT_EQ(file.done(&foreign), QVERR_HANDLE);
  qvimagefileinfo info;
  EXPECT_EQ(file.info(nullptr, path_.c_str(), 0), QVERR_USAGE);
  EXPECT_EQ(file.info(&info, nullptr, 0), QVERR_USAGE);
  EXPECT_EQ(file.info(&info, absent.c_str(), 0), QVERR_NOTFOUND);
  file.info_done(nullptr);
}

TEST(Formats, PixelsThatTheyDoNotHoldAreRefusedBeforeAFileIsTouched) {
  using namespace formats;
  const temporary_folder folder;
  const std::string path = folder / "file";
  const bytes old = {1, 2, 3};
  put_file(path, old);
  const struct {
    const format &file;
    formats::pixels of;
    int32_t code;
  } rows[] = {
      {bmp, {QVIM_UINT8, 5, 1, 0}, QVERR_UNSUPPORTED}, {bmp, {QVIM_UINT8, 8, 2, 0}, QVERR_UNSUPPORTED},
      {bmp, {QVIM_UINT16, 8, 1, 0}, QVERR_DATATYPE},   {bmp, {QVIM_UINT16, 16, 3, 0}, QVERR_DATATYPE},
      {pnm, {QVIM_UINT8, 8, 2, 0}, QVERR_USAGE},       {pnm, {QVIM_UINT8, 8, 4, 0}, QVERR_USAGE},
      {pnm, {QVIM_UINT32, 12, 1, 1}, QVERR_DATATYPE},  {pnm, {QVIM_FLOAT32, 0, 1, 0}, QVERR_DATATYPE},
      {fits, {QVIM_UINT64, 0, 1, 1}, QVERR_DATATYPE},  {jpeg, {QVIM_UINT8, 7, 3, 67}, QVERR_DATATYPE},
      {jpeg, {QVIM_UINT8, 8, 2, 0}, QVERR_DATATYPE},   {jpeg, {QVIM_UINT16, 16, 3, 67}, QVERR_DATATYPE}};
  for (const auto &r : rows) {
    film f(r.of.type, r.of.bits, r.of.pixies, r.of.hint, 64, 64, 1);
    EXPECT_EQ(r.file.save(f, path), r.code) << r.file.name << " of " << r.of.type << ", " << r.of.bits;
    EXPECT_EQ(file_bytes(path), old);
  }
}

// Cut off anywhere, a file gives the pixels before that or is refused.
TEST_P(Format, WhatIsThereOfAFileArrives) {
  if (!of_.file.info) return;  // raw files have no end of their own
  const bytes whole = saved(), file = file_bytes(path_);
  size_t most = 0;
  for (size_t length = 0; length < file.size(); length += 1 + file.size() / 100) {
    std::filesystem::remove(path_);
    put_file(path_, bytes(file.begin(), file.begin() + long(length)));
    opened o(of_, path_);
    if (o.code < 0) {
      EXPECT_EQ(o.code, QVERR_FORMAT) << length;
      EXPECT_STRNE(qvimage_reason(), "");
      continue;
    }
    const bytes some = o.shown();
    EXPECT_GE(some.size(), most) << length;
    most = some.size();
    EXPECT_TRUE(std::equal(some.begin(), some.end(), whole.begin())) << length;
    EXPECT_EQ(o.error(), some.size() < o.size() ? QVERR_FORMAT : 0) << length;
  }
}

// Each with a record of its own.
TEST_P(Format, ThreadsShareAFile) {
  const bytes whole = saved();
  opened o(of_, path_, 512);
  o.with([&](auto &image) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; t++)
      threads.emplace_back([&, mine = image]() mutable {
        for (int again = 0; again < 3; again++) EXPECT_TRUE(pixels_of(mine) == whole);
      });
    for (std::thread &t : threads) t.join();
    EXPECT_EQ(image.aeiou(&image, 'i', 0, 0, nullptr), 1u) << "the only one of its chain";
  });
}

// Of rows that are not coded, whatever lies before them.
TEST_P(Format, APixelTakesTwoReads) {
  if (of_.file.open == formats::tiff.file.open || of_.tolerance > 0) return;
  const bytes whole = saved();
  opened o(of_, path_, 512);
  o.with([&](auto &image) {
    constexpr bool flat = std::is_same_v<decltype(image), qvimage &>;
    const size_t pixel = size_t(image.f.pixelsize);
    // Components of FITS files are pictures of their own.
    const uint64_t most = of_.file.open == formats::fits.file.open ? std::max(2, image.d.pixies) : 2;
    ASSERT_EQ(image.ioset(&image, QVIM_WRAP, uint32_t(image.d.pixietype), (1u << image.d.pixies) - 1), 1);
    for (const size_t at : {whole.size() / pixel - 1, size_t{0}, whole.size() / pixel / 2 + width / 3}) {
      bytes one(pixel);
      const int32_t x = int32_t(at % width), y = int32_t(at / width % height),
                    z = int32_t(at / width / height);
      const uint64_t calls = call_count();
      if constexpr (flat)
        image.ioread(&image, 0, one.data(), 1, x, y);
      else
        image.ioread(&image, 0, one.data(), 1, x, y, z);
      EXPECT_LE(call_count() - calls, most) << at;
      EXPECT_TRUE(std::equal(one.begin(), one.end(), whole.begin() + long(at * pixel))) << at << ' ' << z;
    }
  });
}

// Rows, blocks and tables of frames are held, never a picture.
TEST_P(Format, MemoryDoesNotGrowWithThePicture) {
  const auto needed = [&](int32_t rows) {
    film f = of_.picture(width, rows);
    peak_bytes();
    EXPECT_EQ(save(f), 0);
    if (of_.file.info) shown();  // raw files have one size here
    return peak_bytes();
  };
  needed(height);  // what is allocated once
  const int64_t low = needed(height), high = needed(16 * height);
  constexpr int64_t tables = 8192;  // of strips, and of where rows of a coded picture begin
  EXPECT_GT(low, 0);
  EXPECT_LE(high, low + tables);
}

}  // namespace
