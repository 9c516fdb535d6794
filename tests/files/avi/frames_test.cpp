// Frames of AVI files: in several parts, beyond 4 GiB, indexed wrongly; motion JPEG and its callback.
#include <algorithm>

#include "core/owned.hpp"
#include "files/avi/writer.hpp"
#include "tests/fault.hpp"
#include "tests/files.hpp"
#include "tests/files/pictures.hpp"

namespace {

constexpr int32_t width = 40, height = 24, count = 5;
constexpr size_t frame_pixels = size_t{width} * height;

// Where a chunk's data begin, from a place on.
size_t chunk(const bytes &file, const char *code, size_t from = 0) {
  const auto found = std::search(file.begin() + long(from), file.end(), code, code + 4);
  EXPECT_NE(found, file.end()) << code;
  return size_t(found - file.begin()) + 8;
}

void add_to(bytes &file, size_t at, uint64_t more) {
  uint64_t value;
  std::memcpy(&value, &file[at], sizeof value);
  value += more;
  std::memcpy(&file[at], &value, sizeof value);
}

class AviFrames : public testing::Test {
 protected:
  // The pixels of a file, or none.
  bytes shown() {
    qvimage3 image;
    avihandle *h = nullptr;
    if (qvimage3_aviread(&image, nullptr, &h, path_.c_str(), nullptr, 0, 0) < 0) return {};
    const bytes all = pixels_of(image);
    EXPECT_EQ(qvimage3_avireaddone(&image, nullptr, &h), 0);
    return all;
  }

  int32_t save(const qvim::avi::request &r, int32_t frames = count) {
    using namespace qvim;
    auto writer = make_owned<avi::writer>();
    int32_t code = writer->plan(film_.frame(0), r);
    if (code == 0) code = writer->open(r, output_file::way::itself);
    for (int32_t z = 0; z < frames && code == 0; z++) {
      qvimage one = film_.frame(z % count);
      code = writer->add(progress(), one, nullptr, false);
    }
    return writer->end(code);
  }
  // Wherever a file ends, and whether its last lists had their lengths by then or not.
  void expect_whole_frames_of_cut_files() {
    const bytes file = file_bytes(path_);
    const uint8_t head[] = {'0', '0', 'd', 'b', frame_pixels & 0xFF, frame_pixels >> 8, 0, 0};
    std::vector<size_t> ends;
    for (auto at = file.begin(); ends.size() < count; ends.push_back(size_t(at - file.begin())))
      at = std::search(at, file.end(), std::begin(head), std::end(head)) + sizeof head + frame_pixels;
    for (size_t length = ends[0], whole = 1; length < file.size(); length += 5) {
      while (whole < count && ends[whole] <= length) whole++;
      bytes part(file.begin(), file.begin() + long(length));
      for (const bool unfinished : {false, true}) {
        if (unfinished && length < ends[count - 1] && length > ends[count - 2] + 100)
          for (const char *code : {"RIFF", "LIST"}) {
            const auto last = std::find_end(part.begin(), part.end(), code, code + 4);
            std::fill_n(last + 4, 4, uint8_t{0});
          }
        put_file(path_, part);
        EXPECT_EQ(shown(), bytes(film_.pixels.begin(), film_.pixels.begin() + long(whole * frame_pixels)))
            << length << " bytes of " << file.size();
        if (HasFailure()) return;
      }
    }
    put_file(path_, file);
  }

  const temporary_folder folder_;
  const std::string path_ = folder_ / "a.avi";
  film film_{QVIM_UINT8, 0, 1, QVIM_HINT_GREY, width, height, count};
};

// Parts of two frames, as if they were of 1 GiB; then with 5 GiB of nothing before the second one.
TEST_F(AviFrames, PartsFollowEachOtherWhereverTheyAre) {
  qvim::avi::request r{path_.c_str(), nullptr, 0, nullptr, nullptr, false, count, 2};
  r.part_bytes = 2 * frame_pixels;
  ASSERT_EQ(save(r), 0);
  EXPECT_EQ(shown(), film_.pixels);
  expect_whole_frames_of_cut_files();

  constexpr uint64_t hole = uint64_t{5} << 30;
  constexpr size_t head_bytes = 24, entry_bytes = 16, base = 12;
  bytes file = file_bytes(path_);
  const size_t super = chunk(file, "indx") + head_bytes, second = chunk(file, "AVIX") - 16;
  const size_t first_index = chunk(file, "ix00", second), second_index = chunk(file, "ix00", first_index);
  for (const size_t at :
       {super + entry_bytes, super + 2 * entry_bytes, first_index + base, second_index + base})
    add_to(file, at, hole);
  put_file(path_, bytes(file.begin(), file.begin() + long(second)));
  std::filesystem::resize_file(path_, second + hole);
  std::ofstream(path_, std::ios::binary | std::ios::app)
      .write(reinterpret_cast<const char *>(&file[second]), long(file.size() - second));
  EXPECT_EQ(shown(), film_.pixels);
}

// As many parts as the index of indexes has room for.
TEST_F(AviFrames, FillTheIndexOfIndexes) {
  qvim::avi::request r{path_.c_str(), nullptr, 0, nullptr, nullptr, false, 0, 2};
  r.part_bytes = 1;
  ASSERT_EQ(save(r, 256), 0);
  EXPECT_EQ(shown().size(), 256 * frame_pixels);
  EXPECT_EQ(save(r, 257), QVERR_SPACE);
  r.frames = 300;
  EXPECT_EQ(save(r, 257), 0);
  r.frames = 0xFFFFFFFF;
  EXPECT_EQ(save(r, 1), 0);
}

// The same of a classic file, whose index is the last that it has.
TEST_F(AviFrames, ThatAreWholeAreReadOfAFileThatWasCutOff) {
  ASSERT_EQ(qvimage3_aviwrite(nullptr, &film_.image, nullptr, path_.c_str(), nullptr, 0, nullptr, 0, 0, 1),
            0);
  expect_whole_frames_of_cut_files();
}

// As if 4 GiB were as many bytes as the file has, and one less; texts of odd lengths belong to it.
TEST_F(AviFrames, FillAClassicFileToTheLastByteThatItCanTellOf) {
  char text[] = "four", longer[] = "seven";
  qvimagefileinfo options{};
  options.software = text, options.copyright = longer;
  qvim::avi::request r{path_.c_str(), nullptr, 0, nullptr, &options, false, count, 1};
  ASSERT_EQ(save(r), 0);
  r.classic_bytes = file_bytes(path_).size() - 8;
  EXPECT_EQ(save(r), 0);
  r.classic_bytes--;
  EXPECT_EQ(save(r), QVERR_FORMAT);
  EXPECT_TRUE(folder_.empty());
}

// The index of indexes points to one of them again and again.
TEST_F(AviFrames, AreIndexedOnce) {
  constexpr int32_t frames = 40;
  constexpr uint32_t entries = 256;
  constexpr size_t head_bytes = 24, entry_bytes = 16;
  const int32_t size[3] = {1, 1, frames};
  qvimage3 image;
  ASSERT_EQ(qvimage3_memory(&image, film_.pixels.data(), size, 0, QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 0), 0);
  ASSERT_EQ(qvimage3_aviwrite(nullptr, &image, nullptr, path_.c_str(), nullptr, 0, nullptr, 0, 0, 2), 0);
  bytes file = file_bytes(path_);
  const auto index = file.begin() + long(chunk(file, "indx"));
  std::memcpy(&index[4], &entries, sizeof entries);
  for (size_t i = 1; i < entries; i++)
    std::copy_n(index + head_bytes, entry_bytes, index + long(head_bytes + i * entry_bytes));
  put_file(path_, file);
  avihandle *h = nullptr;
  EXPECT_EQ(qvimage3_aviread(&image, nullptr, &h, path_.c_str(), nullptr, 0, 0), QVERR_FORMAT);
}

// The callback hears of every eighth row; of a frame that it stops nothing stays.
TEST_F(AviFrames, OfMotionJpegAreToldToTheCallback) {
  qvimagefileinfo options{};
  std::memcpy(options.avi_handler, "MJPG", 4);
  qvimage picture = film_.frame(0);
  static std::vector<int64_t> heard;
  heard.clear();
  const auto hear = [](int64_t row, int64_t) { return heard.push_back(row), row == 16 ? 9 : 0; };
  avihandle *h = nullptr;
  ASSERT_EQ(qvimage_aviwriteinit(nullptr, &h, path_.c_str(), nullptr, &picture, 0, nullptr, nullptr, &options,
                                 0, 0, 2, 1),
            0);
  EXPECT_EQ(qvimage_aviwriteadd(hear, &h, nullptr, nullptr, &picture, 0), 9);
  EXPECT_EQ(heard, (std::vector<int64_t>{0, 8, 16}));
  EXPECT_EQ(qvimage_aviwriteadd(nullptr, &h, nullptr, nullptr, &picture, 0), 0);
  ASSERT_EQ(qvimage_aviwritedone(nullptr, &h, nullptr), 0);
  EXPECT_EQ(shown().size(), frame_pixels);

  // Frames far taller than they are, read downwards: little memory for a small file.
  bytes file = file_bytes(path_);
  file[chunk(file, "strf") + 11] = 1;
  put_file(path_, file);
  peak_bytes();
  qvimage3 image;
  ASSERT_EQ(qvimage3_aviread(&image, nullptr, &h, path_.c_str(), nullptr, 0, 0), 0);
  EXPECT_EQ(image.imdim.se.y, height + (1 << 24));
  EXPECT_EQ(image.ioset(&image, QVIM_YSCAN, QVIM_UINT8, 1), 1);
  EXPECT_LT(peak_bytes(), 64 << 20);
  EXPECT_EQ(qvimage3_avireaddone(&image, nullptr, &h), 0);
}

}  // namespace
