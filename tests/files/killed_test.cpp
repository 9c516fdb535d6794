// Processes that are killed before any of their system calls: pictures that stood there stay whole until new
// ones take their place, and recordings keep the frames that reached them.
#include "tests/files/killed.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <qvimage/qvimage.h>

#include "tests/files.hpp"

namespace {

constexpr int width = 40, height = 30, frames = 3;

struct film {
  explicit film(uint8_t seed) : pixels(size_t(width * height * frames)) {
    for (size_t i = 0; i < pixels.size(); i++) pixels[i] = uint8_t(seed + i * 7);
    const int32_t size[2] = {width, height}, sizes[3] = {width, height, frames};
    qvimage_memory(&image, pixels.data(), size, 0, QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 0);
    qvimage3_memory(&volume, pixels.data(), sizes, 0, QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 0);
  }
  std::vector<uint8_t> pixels;
  qvimage image;
  qvimage3 volume;
};

// Calls `check` after the work was killed before its first, second, ... system call, until it comes to its
// end.
void kill_everywhere(const std::function<void()> &prepare, const std::function<void()> &work,
                     const std::function<void(int)> &check) {
  ended how = ended::killed;
  for (int n = 0; how == ended::killed && n < 2000; n++) {
    prepare();
    how = run_and_kill(work, n);
    if (how == ended::not_traceable) GTEST_SKIP() << "this system does not let processes be traced";
    check(n);
    if (testing::Test::HasFatalFailure()) return;
  }
  EXPECT_EQ(how, ended::by_itself);
}

TEST(Killed, PicturesAreTheOldOrTheNewOnes) {
  const temporary_folder folder;
  const std::string path = folder / "picture";
  qvimagefileinfo dated{};
  char date[] = "2026-11-25";
  dated.fts_date = date;
  using save = std::function<int32_t(film &)>;
  const save saves[] = {
      [&](film &f) {
        return qvimage_bmpwrite(nullptr, &f.image, nullptr, path.c_str(), nullptr, 0, nullptr, 0, 0, 0);
      },
      [&](film &f) { return qvimage3_fitswriteseq(nullptr, &f.volume, 0, path.c_str(), nullptr, 0, &dated); },
      [&](film &f) {
        return qvimage3_aviwrite(nullptr, &f.volume, nullptr, path.c_str(), nullptr, 0, nullptr, 0, 0, 2);
      },
      [&](film &f) { return qvimage_filewrite(nullptr, &f.image, path.c_str(), nullptr, 0); },
      [&](film &f) {  // a frame of a series
        seqhandle *h = nullptr;
        qvimage3 series;
        film held(0);
        int32_t code = qvimage3_bufbinseq(&h, &series, &held.image, nullptr, path.c_str(), 0, 1, 1, 1, 0);
        if (code == 0 && series.ioset(&series, QVIM_WRAP, QVIM_UINT8, 1) == 1)
          series.iorite(&series, 0, f.pixels.data(), width * height, 0, 0, 0);
        if (code == 0) code = int32_t(series.aeiou(&series, 'f', 0, 0, nullptr));
        qvimage3_bufbinseqdone(&h, &series);
        return code;
      }};
  for (const save &s : saves) {
    SCOPED_TRACE(&s - saves);
    film first(1), second(90);
    std::filesystem::remove(path);
    if (&s == &saves[4]) {
      ASSERT_EQ(saves[3](first), 0);
    }
    ASSERT_EQ(s(first), 0) << qvimage_reason();
    const auto before = file_bytes(path);
    ASSERT_EQ(s(second), 0);
    const auto after = file_bytes(path);
    ASSERT_NE(before, after);
    kill_everywhere([&] { put_file(path, before); }, [&] { static_cast<void>(s(second)); },
                    [&](int n) {
                      const auto now = file_bytes(path);
                      ASSERT_TRUE(now == before || now == after) << n;
                    });
  }
}

TEST(Killed, RecordingsGiveTheFramesThatReachedThem) {
  const temporary_folder folder;
  const std::string path = folder / "recording";
  film f(5);
  const auto plane = [&](int z) {
    qvimage image;
    qvimage_def2from3(&image, &f.volume, 0, 2, z, 0);
    return image;
  };
  const auto expect_frames = [&](qvimage3 &image, int n) {
    std::vector<uint8_t> shown(size_t(width * height * image.imdim.se.z));
    ASSERT_LE(image.imdim.se.z, frames) << n;
    ASSERT_EQ(image.ioset(&image, QVIM_WRAP, QVIM_UINT8, 1), 1);
    ASSERT_EQ(image.ioread(&image, 0, shown.data(), uint32_t(shown.size()), 0, 0, 0), shown.size()) << n;
    ASSERT_TRUE(std::equal(shown.begin(), shown.end(), f.pixels.begin())) << n;
  };
  const auto nothing = [&] { std::filesystem::remove(path); };
  int most = 0;
  kill_everywhere(
      nothing,
      [&] {
        avihandle *h = nullptr;
        qvimage first = plane(0);
        qvimage_aviwriteinit(nullptr, &h, path.c_str(), nullptr, &first, 512, nullptr, nullptr, nullptr, 0, 0,
                             9, 1);
        for (int z = 0; z < frames; z++) {
          qvimage image = plane(z);
          qvimage_aviwriteadd(nullptr, &h, nullptr, nullptr, &image, 0);
        }
        qvimage_aviwritedone(nullptr, &h, nullptr);
      },
      [&](int n) {
        qvimage3 image;
        avihandle *h = nullptr;
        if (qvimage3_aviread(&image, nullptr, &h, path.c_str(), nullptr, 0, 0) < 0) return;
        most = std::max(most, image.imdim.se.z);
        expect_frames(image, n);
        qvimage3_avireaddone(&image, nullptr, &h);
      });
  if (IsSkipped()) return;
  EXPECT_EQ(most, frames);
  most = 0;
  kill_everywhere(
      nothing,
      [&] {
        fitshandle *h = nullptr;
        qvimage first = plane(0);
        qvimage_fitswriteinit(&h, &first.wind, nullptr, &first, path.c_str(), nullptr, 512, 9, nullptr);
        for (int z = 0; z < frames; z++) {
          qvimage image = plane(z);
          qvimage_fitswriteadd(&h, nullptr, &image, nullptr);
        }
        qvimage_fitswritedone(&h);
      },
      [&](int n) {
        qvimage3 image;
        fitshandle *h = nullptr;
        if (qvimage3_fitsread(&image, nullptr, &h, path.c_str(), nullptr, 0, 1) < 0) return;
        most = std::max(most, image.imdim.se.z);
        expect_frames(image, n);
        qvimage3_fitsreaddone(&image, nullptr, &h);
      });
  EXPECT_EQ(most, frames);
}

}  // namespace
