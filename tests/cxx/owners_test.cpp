// Files: every format there and back, who closes what, what refusals say, how saves are followed.
#include <gtest/gtest.h>

#include <qvimage/qvimage.hpp>

#include "tests/fault.hpp"
#include "tests/files.hpp"

namespace {

constexpr int width = 24, height = 16;

class Owners : public testing::Test {
 protected:
  Owners() {
    for (size_t i = 0; i < grey_.size(); i++) grey_[i] = static_cast<uint8_t>(3 * i);
    for (size_t i = 0; i < deep_.size(); i++) deep_[i] = static_cast<uint16_t>(7 * i);
  }
  ~Owners() override {
    EXPECT_EQ(live_allocations(), allocations_);
    EXPECT_EQ(open_files(), 0);
  }
  qv::image grey() { return qv::over(grey_, {width, height}).value(); }
  qv::image deep() { return qv::over(deep_, {width, height}, 1, 12).value(); }
  qv::image3 film() { return qv::over(deep_, {width, height / 4, 4}, 1, 12).value(); }
  std::string make(const std::string &name, const qv::saving &how = {}) {
    qv::save(deep(), folder_ / name, how).value();
    return folder_ / name;
  }

  const int64_t allocations_ = live_allocations();
  temporary_folder folder_;
  std::vector<uint8_t> grey_ = std::vector<uint8_t>(width * height);
  std::vector<uint16_t> deep_ = std::vector<uint16_t>(width * height);
};

TEST_F(Owners, EveryFormatGoesThereAndBack) {
  for (const char *name : {"a.tif", "a.pgm", "a.jpg", "a.bmp", "a.fits", "a.avi"}) {
    SCOPED_TRACE(name);
    const std::string path = folder_ / name;
    ASSERT_TRUE(qv::save(grey(), path, {.quality = 100, .description = "a ramp"}));
    auto file = qv::open(path).value();
    EXPECT_EQ(file.pages(), 1);
    const auto pixels = file.pixels<uint8_t>().value();
    ASSERT_EQ(pixels.size(), grey_.size());
    for (size_t i = 0; i < pixels.size(); i++)
      ASSERT_NEAR(pixels[i], grey_[i], name == std::string("a.jpg") ? 2 : 0);

    auto stack = qv::open_stack(path).value();
    EXPECT_EQ(stack.pages(), 1);
    EXPECT_EQ(stack.page(0).value().pixels<uint8_t>().value(), pixels);
    EXPECT_FALSE(stack.page(1).value().pixels<uint8_t>());
    const auto about = qv::info::of(path).value();
    EXPECT_EQ(about->width, uint32_t{width});
  }
}

// An icon is a bitmap of twice the height, without its first 14 bytes, behind a head of its own.
TEST_F(Owners, IconsAreFoundByTheirFirstBytes) {
  std::vector<uint8_t> nibbles(8 * 16);
  for (size_t i = 0; i < nibbles.size(); i++) nibbles[i] = i % 16;
  ASSERT_TRUE(qv::save(qv::over(nibbles, {8, 16}, 1, 4).value(), folder_ / "a.bmp"));
  auto bitmap = file_bytes(folder_ / "a.bmp");
  const auto size = static_cast<uint8_t>(bitmap.size() - 14);
  std::vector<uint8_t> icon = {0, 0, 1, 0, 1, 0, 8, 8, 16, 0, 1, 0, 4, 0, size, 0, 0, 0, 22, 0, 0, 0};
  icon.insert(icon.end(), bitmap.begin() + 14, bitmap.end());
  put_file(folder_ / "a.ico", icon);
  auto file = qv::open(folder_ / "a.ico", {.palette = true}).value();
  EXPECT_EQ(file.height(), 8);
  EXPECT_EQ(file.pixels<uint8_t>().value()[5], nibbles[5]);
  EXPECT_EQ(std::string_view(qv::info::of(folder_ / "a.ico").value()->type, 3), "ico");
}

TEST_F(Owners, FilesOfOneFormatHaveItsNameAndHandle) {
  make("a.tif", {.compression = 5, .description = "twelve bits"});
  make("a.pgm");
  make("a.fits");
  auto tiff = qv::tiff::open(folder_ / "a.tif").value();
  EXPECT_NE(tiff.handle(), nullptr);
  EXPECT_EQ(tiff.bits(), 12);
  const auto about = tiff.info().value();
  EXPECT_EQ(about->compression, 5u);
  EXPECT_STREQ(about->description, "twelve bits");
  EXPECT_EQ(qv::pnm::open(folder_ / "a.pgm").value().page(0).value().pixels<uint16_t>().value(), deep_);
  EXPECT_EQ(qv::fits::open(folder_ / "a.fits").value().page(0).value().pixels<uint16_t>().value(), deep_);
  EXPECT_EQ(qv::jpeg::open(folder_ / "a.tif").error().code(), QVERR_FORMAT);
}

TEST_F(Owners, VolumesAndFramesOneByOneMakeTheSameFiles) {
  for (const char *name : {"a.tif", "a.pgm", "a.fits"}) {
    SCOPED_TRACE(name);
    const std::string path = folder_ / name;
    ASSERT_TRUE(qv::save(film(), path, {.datetime = "2024:05:06 07:08:09"}));
    auto whole = qv::open_stack(path).value();
    EXPECT_EQ(whole.pages(), 4);
    EXPECT_EQ(whole.pixels<uint16_t>().value(), deep_);
    EXPECT_EQ(qv::open(path, {.page = 2}).value().pixels<uint16_t>().value()[0],
              deep_[2 * width * height / 4]);
    EXPECT_EQ(qv::open(path, {.page = 4}).error().path(), path);

    auto all = film();
    auto first = (all | qv::plane{0}).value();
    auto writer = qv::writer::create(path, first).value();
    for (int z = 0; z < 4; z++) ASSERT_TRUE(writer.add((all | qv::plane{z}).value()));
    ASSERT_TRUE(writer.finish());
    ASSERT_TRUE(writer.finish());  // nothing more
    EXPECT_EQ(writer.add(first).code(), QVERR_USAGE);
    EXPECT_EQ(qv::open_stack(path).value().pixels<uint16_t>().value(), deep_);
  }
  auto bytes = qv::over(grey_, {width, height / 4, 4}).value();
  auto first = (bytes | qv::plane{0}).value();
  auto writer = qv::writer::create(folder_ / "a.avi", first, {.rate = 10}, 4).value();
  for (int z = 0; z < 4; z++) ASSERT_TRUE(writer.add((bytes | qv::plane{z}).value()));
  writer = qv::writer();  // completes it, too
  auto film = qv::avi::open(folder_ / "a.avi").value();
  EXPECT_EQ(film.pixels<uint8_t>().value(), grey_);
  EXPECT_EQ(film.info().value()->avi_ratenum, 10u);
}

// Colours arrive in the order that the hint tells, whatever the order of the file and of the memory.
TEST_F(Owners, ColoursKeepTheirMeaning) {
  uint8_t rgb[3 * 64];
  for (int i = 0; i < 3 * 64; i += 3) rgb[i] = 200, rgb[i + 1] = 100, rgb[i + 2] = 50;
  const auto image = qv::over(rgb, {8, 8}, 3).value();
  auto reversed = (image | qv::recolour{QVIM_HINT_BGR}).value();
  auto yes = (image | qv::recolour{QVIM_HINT_YCRCB}).value();
  for (const char *name : {"a.tif", "a.ppm", "a.jpg", "a.bmp", "a.avi"}) {
    SCOPED_TRACE(name);
    const auto expect_red = [&](qv::status saved, int most) {
      ASSERT_TRUE(saved) << saved.text();
      auto file = qv::open(folder_ / name).value();
      auto shown = file.copy();
      const auto found = file.hint() == QVIM_HINT_RGB
                             ? shown.pixels<uint8_t>().value()
                             : (shown | qv::recolour{QVIM_HINT_RGB}).value().pixels<uint8_t>().value();
      for (int i = 0; i < 3; i++) EXPECT_NEAR(found[i], rgb[i], most);
    };
    expect_red(qv::save(image.copy(), folder_ / name), 3);
    expect_red(qv::save(reversed, folder_ / name), 3);
    if (name != std::string("a.avi")) expect_red(qv::save(yes, folder_ / name), 4);
  }
}

TEST_F(Owners, PalettesAreAskedFor) {
  uint8_t colours[256 * 3];
  for (int i = 0; i < 256; i++)
    colours[3 * i] = static_cast<uint8_t>(i), colours[3 * i + 1] = 7, colours[3 * i + 2] = 9;
  auto map = qv::over(colours, {256, 1}, 3).value();
  for (const char *name : {"a.tif", "a.bmp", "a.avi"}) {
    SCOPED_TRACE(name);
    ASSERT_TRUE(qv::save(grey(), folder_ / name, {.palette = &map}));
    EXPECT_EQ(qv::open(folder_ / name).value().components(), 3);
    auto indices = qv::open(folder_ / name, {.palette = true}).value();
    EXPECT_EQ(indices.pixels<uint8_t>().value(), grey_);
    EXPECT_EQ(indices.palette().width(), 256);
    auto moved = std::move(indices);
    EXPECT_TRUE(indices.palette().is_null());
    EXPECT_FALSE(moved.palette().is_null());
  }
  EXPECT_EQ(qv::save(grey(), folder_ / "a.jpg", {.palette = &map}).code(), QVERR_UNSUPPORTED);
}

TEST_F(Owners, OwnersAreMovedClosedTwiceOrNeverOpened) {
  const std::string path = make("a.pgm");  // opened through a view over the file's planes
  auto file = qv::open(path).value();
  auto rows_of = file.copy();
  auto other = std::move(file);
  EXPECT_EQ(other.pixels<uint16_t>().value(), deep_);
  EXPECT_EQ(rows_of.pixels<uint16_t>().value(), deep_);
  EXPECT_FALSE(file.is_open());
  EXPECT_FALSE(file.pixels<uint16_t>());
  EXPECT_TRUE(file.close());

  other = qv::open(path).value();  // the one before is closed
  other = std::move(other);        // NOLINT: itself
  EXPECT_TRUE(other.is_open());
  EXPECT_TRUE(other.close());
  EXPECT_TRUE(other.close());
  EXPECT_EQ(other.info().error().code(), QVERR_USAGE);
  EXPECT_EQ(other.pages(), 0);

  qv::tiff never;
  EXPECT_EQ(never.handle(), nullptr);
  EXPECT_FALSE(never.access<uint8_t>());
  qv::stack no_stack;
  EXPECT_EQ(no_stack.pages(), 0);
  EXPECT_FALSE(no_stack.page(0).and_then([](auto page) { return page.template pixels<uint8_t>(); }));
  qv::writer no_writer;
  EXPECT_TRUE(no_writer.finish());
  qv::series no_series;
  EXPECT_TRUE(no_series.close());
  qv::info about = qv::info::of(make("a.tif", {.description = "text"})).value(), taken = std::move(about);
  EXPECT_STREQ(taken->description, "text");
  EXPECT_EQ(about->description, nullptr);
}

TEST_F(Owners, ErrorsCarryCodePathAndReason) {
  const std::string none = folder_ / "none.tif", text = folder_ / "text.tif";
  put_file(text, {'t', 'e', 'x', 't'});
  try {
    qv::tiff::open(none).value();
    FAIL() << "it was opened";
  } catch (const qv::error &e) {
    EXPECT_EQ(e.code(), QVERR_NOTFOUND);
    EXPECT_EQ(e.path(), none);
    EXPECT_NE(e.reason().find("No such file"), std::string_view::npos);
    EXPECT_TRUE(std::string_view(e.what()).starts_with("File not found: " + none + ": "));
  }
  const struct {
    qv::status why;
    int32_t code;
    std::string path;
  } cases[] = {
      {qv::open(none).error(), QVERR_NOTFOUND, none},
      {qv::open(text).error(), QVERR_FORMAT, text},
      {qv::open(nullptr).error(), QVERR_NOTFOUND, ""},
      {qv::info::of(none).error(), QVERR_NOTFOUND, none},
      {qv::tiff::open(text).error(), QVERR_FORMAT, text},
      {qv::tiff::open(make("a.tif"), {.page = 7}).error(), QVERR_FORMAT, folder_ / "a.tif"},
      {qv::raw::open<uint8_t>(none, {4, 4}).error(), QVERR_NOTFOUND, none},
      {qv::save(deep(), folder_ / "a.xyz"), QVERR_UNSUPPORTED, folder_ / "a.xyz"},
      {qv::save(deep(), folder_ / "a.ico"), QVERR_UNSUPPORTED, folder_ / "a.ico"},
      {qv::save(deep(), folder_ / "a.jpg"), QVERR_DATATYPE, folder_ / "a.jpg"},
      {qv::save(film(), folder_ / "a.bmp"), QVERR_UNSUPPORTED, folder_ / "a.bmp"},
      {qv::save(grey(), folder_ / "a.bmp", {.append = true}), QVERR_UNSUPPORTED, folder_ / "a.bmp"},
      {qv::save(grey(), folder_ / "no/a.tif"), QVERR_NOTCREATED, folder_ / "no/a.tif"},
      {qv::writer::create(folder_ / "a.jpg", grey()).error(), QVERR_UNSUPPORTED, folder_ / "a.jpg"},
      {qv::series::open(folder_ / "n??.tif", 0, 3).error(), QVERR_NOTFOUND, folder_ / "n00.tif"},
      {qv::series::open(folder_ / "n??.avi", 0, 3).error(), QVERR_UNSUPPORTED, folder_ / "n??.avi"},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(c.why.code(), c.code) << c.why.text();
    EXPECT_EQ(c.why.path(), c.path);
    EXPECT_FALSE(c.why.reason().empty()) << c.why.text();
  }
}

TEST_F(Owners, APictureThatIsCutOffSaysSo) {
  put_file(folder_ / "a.pgm", {'P', '5', ' ', '4', ' ', '4', ' ', '2', '5', '5', ' '});
  EXPECT_EQ(qv::open(folder_ / "a.pgm").error().code(), QVERR_FORMAT);

  auto file = qv::open(make("b.pgm")).value();
  std::filesystem::resize_file(folder_ / "b.pgm", 300);
  const auto pixels = file.pixels<uint16_t>();
  EXPECT_EQ(pixels.error().code(), QVERR_IO);
  EXPECT_FALSE(pixels.error().reason().empty());
  EXPECT_TRUE(file.error());  // it was taken
}

TEST_F(Owners, SavesAreFollowedStoppedAndLeftByExceptions) {
  for (const char *name : {"a.tif", "a.pgm", "a.jpg", "a.bmp", "a.fits"}) {
    SCOPED_TRACE(name);
    const std::string path = folder_ / name;
    int64_t last = 0;
    ASSERT_TRUE(qv::save(grey(), path, {}, [&](auto row, auto rows) {
      last = row;
      EXPECT_LE(row, rows);
    }));
    EXPECT_GE(last, height - 8);
    const auto before = file_bytes(path);
    const auto stopped = qv::save(grey(), path, {}, [](auto row, auto) { return row >= 8 ? 5 : 0; });
    EXPECT_EQ(stopped.code(), 5);
    EXPECT_EQ(stopped.path(), path);
    EXPECT_THROW((void)qv::save(grey(), path, {}, [](auto, auto) -> int { throw std::string("mine"); }),
                 std::string);
    EXPECT_EQ(file_bytes(path), before);
  }
  // A save within the callback of another one has its own.
  int inner = 0, outer = 0;
  ASSERT_TRUE(qv::save(grey(), folder_ / "b.tif", {}, [&](auto row, auto) {
    outer++;
    if (row == 1) (void)qv::save(grey(), folder_ / "c.tif", {}, [&](auto, auto) { inner++; });
  }));
  EXPECT_EQ(inner, height);
  EXPECT_EQ(outer, height);
  // While a callback runs, and afterwards, the thread's is the one that was there.
  int heard = 0;
  qvimage_progress([](void *user, int64_t, int64_t) { return ++*static_cast<int *>(user), 0; }, &heard);
  ASSERT_TRUE(qv::save(grey(), folder_ / "b.tif", {}, [&](auto row, auto) {
    if (row == 1) (void)qv::save(grey(), folder_ / "c.tif");
  }));
  EXPECT_EQ(heard, height);
  ASSERT_TRUE(qv::save(grey(), folder_ / "c.tif"));
  EXPECT_EQ(heard, 2 * height);
  qvimage_progress(nullptr, nullptr);
  EXPECT_EQ(folder_.files(), 7u);
}

TEST_F(Owners, PagesAreAddedBehindOthers) {
  make("a.tif");
  make("a.tif", {.append = true});
  EXPECT_EQ(qv::tiff_stack::open(folder_ / "a.tif").value().pages(), 2);
  auto writer = qv::writer::create(folder_ / "a.tif", deep(), {.append = true}).value();
  EXPECT_TRUE(writer.add(deep()));
  EXPECT_EQ(writer.add(deep(), [](auto, auto) { return 3; }).code(), 3);
  EXPECT_EQ(writer.add(deep()).code(), QVERR_USAGE);
  EXPECT_EQ(qv::tiff_stack::open(folder_ / "a.tif").value().pages(), 3);
}

TEST_F(Owners, RawPixelsAreEditedWhereTheyLie) {
  const std::string path = folder_ / "a.raw";
  ASSERT_TRUE(qv::save_raw(deep(), path));
  {
    auto raw = qv::raw::open<uint16_t>(path, {width, height}, 1, 12, true).value();
    EXPECT_EQ(raw.pixels<uint16_t>().value(), deep_);
    const std::vector<uint16_t> row(width, 77);
    EXPECT_TRUE(raw.crop({0, 3, width, 1}).write(row));
    EXPECT_TRUE(raw.close());
  }
  EXPECT_EQ(qv::raw::open<uint16_t>(path, {width, height}).value().pixels<uint16_t>().value()[3 * width], 77);
  auto made = qv::raw::create<uint16_t>(path, {width, height}).value();
  EXPECT_TRUE(made.write(deep_));
  const full_disk full(0);
  EXPECT_EQ(made.close().code(), QVERR_IO);
}

TEST_F(Owners, SeriesAreVolumesThatAreWritten) {
  for (const char *name : {"n0.tif", "n1.tif", "n2.tif"}) make(name);
  {
    auto series = qv::series::open(folder_ / "n?.tif", 0, 2, {.writeback = true}).value();
    EXPECT_EQ(series.pages(), 3);
    auto second = series.page(1).value(), third = series.page(2).value();
    const uint16_t pixel = 4095;
    EXPECT_EQ(second.access<uint16_t>().value().write({&pixel, 1}, 20, 10), 1u);
    EXPECT_EQ(third.pixels<uint16_t>().value(), deep_);  // saves the second
    auto moved = std::move(series);
    EXPECT_EQ(moved.load(5).code(), QVERR_USAGE);
    EXPECT_EQ(moved.copy().crop({20, 10, 1, 1, 1, 1}).pixels<uint16_t>().value()[0], pixel);
    EXPECT_TRUE(moved.copy().crop({0, 0, 0, 1, 1, 1}).write(std::span(&pixel, 1)));
  }  // saves the first
  EXPECT_EQ(qv::open(folder_ / "n0.tif").value().pixels<uint16_t>().value()[0], 4095);
  EXPECT_EQ(qv::open(folder_ / "n1.tif").value().pixels<uint16_t>().value()[10 * width + 20], 4095);
}

TEST_F(Owners, FilesThatCannotBeOpenedLeaveNothingBehind) {
  make("a.pgm");
  for (int n = 0;; n++) {
    const fail_allocation fault(n);
    const auto file = qv::open(folder_ / "a.pgm");
    if (!fault.fired()) break;
    EXPECT_FALSE(file);
  }
}

}  // namespace
