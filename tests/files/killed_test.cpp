// Processes that are killed before any of their system calls: pictures that stood there stay whole until new
// ones take their place, and recordings keep the frames that reached them.
#include "tests/files/killed.hpp"

#include <sys/stat.h>

#include "tests/files.hpp"
#include "tests/files/formats.hpp"

namespace {

TEST(Killed, PicturesAreTheOldOrTheNewOnes) {
  const temporary_folder folder;
  const std::string path = folder / "picture";
  const auto check = [&](const bytes &old, const bytes &changed, const std::function<void()> &change) {
    ASSERT_NE(old, changed);
    struct stat before, after;
    kill_everywhere(
        [&] {
          put_file(path, old);
          ASSERT_EQ(chmod(path.c_str(), 0641), 0);
          static_cast<void>(chown(path.c_str(), 1234, 5678));  // where that is allowed
          ASSERT_EQ(stat(path.c_str(), &before), 0);
        },
        change,
        [&](bool whole) {
          const bytes now = file_bytes(path);
          ASSERT_TRUE(now == changed || (now == old && !whole));
          ASSERT_EQ(stat(path.c_str(), &after), 0);
          ASSERT_EQ(after.st_mode, before.st_mode);
          ASSERT_EQ(after.st_uid, before.st_uid);
          ASSERT_EQ(after.st_gid, before.st_gid);
        });
  };
  char date[] = "2026-11-25";
  for (const formats::format &f : formats::all) {
    SCOPED_TRACE(f.name);
    film one = f.picture(40, 30), two = f.picture(41, 30);
    formats::saving how;
    how.options.datetime = how.options.fts_date = date;
    ASSERT_EQ(f.save(two, path, how), 0) << qvimage_reason();
    const bytes after = file_bytes(path);
    ASSERT_EQ(f.save(one, path, how), 0) << qvimage_reason();
    check(file_bytes(path), after, [&] { f.save(two, path, how); });
  }
  // A frame of a series.
  film one = formats::raw.picture(40, 30), two = formats::raw.picture(40, 30);
  two.pixels.assign(two.pixels.size(), 7);
  ASSERT_EQ(formats::raw.save(one, path), 0);
  check(one.pixels, two.pixels, [&] {
    seqhandle *h = nullptr;
    qvimage3 series;
    film held = formats::raw.picture(40, 30);
    qvimage frame = held.frame(0);
    qvimage3_bufbinseq(&h, &series, &frame, nullptr, path.c_str(), 0, 1, 1, 1, 0);
    series.ioset(&series, QVIM_WRAP, QVIM_UINT32, 1);
    series.iorite(&series, 0, two.pixels.data(), 40 * 30, 0, 0, 0);
    series.aeiou(&series, 'f', 0, 0, nullptr);
    qvimage3_bufbinseqdone(&h, &series);
  });
}

// The frames that were there stay, one that was added is whole, and the next append works.
TEST(Killed, AppendsKeepTheFramesThatWereThere) {
  const temporary_folder folder;
  const std::string path = folder / "stack";
  const auto tiff = [](qvimage *frame, const char *name, uint64_t frames, uint32_t version) {
    qvimagefileinfo options{};
    options.version = version;
    options.compression = 32773;
    return qvimage_tiffwrite(nullptr, frame, nullptr, name, nullptr, 4096, int64_t(frames), &options, 0, 0,
                             0);
  };
  const auto pnm = [](qvimage *frame, const char *name, uint64_t frames, uint32_t) {
    return qvimage_pgmwrite(nullptr, frame, name, nullptr, 4096, frames, nullptr, 0, 0);
  };
  const struct {
    const formats::format &file;
    int32_t (*append)(qvimage *frame, const char *name, uint64_t frames, uint32_t version);
    uint32_t version;
  } cases[] = {{formats::tiff, tiff, 42}, {formats::tiff, tiff, 43}, {formats::pnm, pnm, 0}};
  for (const auto &c : cases) {
    SCOPED_TRACE(testing::Message() << c.file.name << " " << c.version);
    film f = c.file.picture(150, 40);
    const auto append = [&](int32_t frames) {
      qvimage frame = f.frame(frames % 3);
      return c.append(&frame, path.c_str(), uint64_t(frames), c.version);
    };
    std::filesystem::remove(path);
    for (int32_t frames : {0, 1}) ASSERT_EQ(append(frames), 0) << qvimage_reason();
    const bytes before = file_bytes(path);
    kill_everywhere([&] { put_file(path, before); }, [&] { append(2); },
                    [&](bool whole) {
                      const int32_t frames = formats::opened(c.file, path).frames.imdim.se.z;
                      ASSERT_TRUE(frames == 3 || (frames == 2 && !whole));
                      EXPECT_EQ(append(frames), 0) << qvimage_reason();
                      formats::opened o(c.file, path);
                      EXPECT_EQ(o.frames.imdim.se.z, frames + 1);
                      const bytes shown = o.shown();
                      EXPECT_TRUE(std::equal(f.pixels.begin(), f.pixels.end(), shown.begin()));
                    });
  }
}

TEST(Killed, RecordingsGiveTheFramesThatReachedThem) {
  const temporary_folder folder;
  const std::string path = folder / "recording";
  constexpr int frames = 3;
  film f(QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 40, 30, frames);
  const auto avi = [&] {
    avihandle *h = nullptr;
    qvimage first = f.frame(0);
    qvimage_aviwriteinit(nullptr, &h, path.c_str(), nullptr, &first, 512, nullptr, nullptr, nullptr, 0, 0, 9,
                         1);
    for (int z = 0; z < frames; z++) {
      qvimage image = f.frame(z);
      qvimage_aviwriteadd(nullptr, &h, nullptr, nullptr, &image, 0);
    }
    qvimage_aviwritedone(nullptr, &h, nullptr);
  };
  const auto fits = [&] {
    fitshandle *h = nullptr;
    qvimage first = f.frame(0);
    qvimage_fitswriteinit(&h, &first.wind, nullptr, &first, path.c_str(), nullptr, 512, 9, nullptr);
    for (int z = 0; z < frames; z++) {
      qvimage image = f.frame(z);
      qvimage_fitswriteadd(&h, nullptr, &image, nullptr);
    }
    qvimage_fitswritedone(&h);
  };
  const auto open_lenient = [](qvimage3 *image, qvimage *, void **h, const char *name, int64_t) {
    return qvimage3_fitsread(image, nullptr, reinterpret_cast<fitshandle **>(h), name, nullptr, 0, 1);
  };
  formats::format lenient = formats::fits;
  lenient.file.open = open_lenient;
  for (const auto &[format, record] :
       {std::pair<const formats::format &, std::function<void()>>{formats::avi, avi}, {lenient, fits}}) {
    int most = 0;
    kill_everywhere([&] { std::filesystem::remove(path); }, record,
                    [&](bool) {
                      formats::opened o(format, path);
                      if (o.code < 0) return;
                      most = std::max(most, o.frames.imdim.se.z);
                      const bytes shown = o.shown();
                      ASSERT_LE(o.frames.imdim.se.z, frames);
                      ASSERT_EQ(shown.size(), size_t(40 * 30 * o.frames.imdim.se.z));
                      ASSERT_TRUE(std::equal(shown.begin(), shown.end(), f.pixels.begin()));
                    });
    if (IsSkipped()) return;
    EXPECT_EQ(most, frames);
  }
}

}  // namespace
