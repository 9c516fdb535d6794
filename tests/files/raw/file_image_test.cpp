// Images over raw files: against a memory image over the same bytes, which has a model of its own.
#include "tests/fault.hpp"
#include "tests/files.hpp"
#include "tests/files/alike.hpp"

namespace {

qvimagedata any_description(choices &from) {
  constexpr int types[] = {QVIM_UINT8, QVIM_UINT16, QVIM_UINT32, QVIM_UINT64, QVIM_FLOAT32, QVIM_FLOAT64};
  const int type = types[from.below(6)], container = 8 * qvimdatasize(uint32_t(type));
  qvimagedata d;
  EXPECT_EQ(qviminitdata(&d, type, from.below(2) ? 0 : 1 + int(from.below(uint32_t(container))),
                         1 + int(from.below(4)), 0),
            1);
  if (type > QVIM_UINT64) return d;
  if (d.i_bitsused < container && from.below(2)) d.i_bitsxsb = QVIM_MSB;
  if (from.below(2)) d.i_endian = QVIM_SWAPPED;
  return d;
}

TEST(RawFileImage, IsTheMemoryImageOfTheSameBytes) {
  const temporary_folder folder;
  const unsigned seed = std::random_device()();
  SCOPED_TRACE(seed);
  choices from{std::mt19937(seed)};
  for (int round = 0; round < 400; round++) {
    const qvimagedata d = any_description(from);
    qvimagefacts facts{};
    qviminitfacts(&facts, &d);
    const uint32_t size[2] = {5 + from.below(5), 5 + from.below(5)};
    const int32_t dims[2] = {int32_t(size[0]), int32_t(size[1])};
    bytes pixels(uint64_t{size[0]} * size[1] * uint32_t(facts.pixelsize));
    for (auto &b : pixels) b = uint8_t(from.random());
    const bool in_memory = from.below(2), from_nothing = from.below(4) == 0;
    if (from_nothing) std::fill(pixels.begin(), pixels.end(), uint8_t(0));
    const std::string path = folder / "raster";
    bytes whole(from.below(2) ? from.below(100) : 0, from_nothing ? 0 : 0xA5);
    const bytes head = whole;
    whole.insert(whole.end(), pixels.begin(), pixels.end());
    put_file(path, from_nothing ? bytes() : whole);
    bufio stream;
    const uint64_t block = uint64_t{1} << from.below(13);  // down to a byte: pixels across blocks
    ASSERT_EQ(bufio_init(&stream, path.c_str(), "r+b", block, BUFIO_NOZERO | (in_memory ? BUFIO_MEMORY : 0)),
              0);
    if (in_memory && !from_nothing) bufio_io(&stream, whole.data(), whole.size(), 'w');
    bufio_tareset(&stream, head.size());
    qvimage raw, memory;
    ASSERT_EQ(qvimage_filebufio(&raw, &stream, size, &d), 0);
    ASSERT_EQ(qvimage_memdata(&memory, pixels.data(), 0, dims, 0, &d, nullptr, 0), 0);
    expect_alike(from, raw, memory, true);
    if (HasFatalFailure()) return;
    const uint32_t latched = raw.aeiou(&raw, 'e', 1, 0, nullptr);
    EXPECT_TRUE(latched == 0 || (from_nothing && int32_t(latched) == QVERR_FORMAT));
    whole = head;
    whole.insert(whole.end(), pixels.begin(), pixels.end());
    bytes written(whole.size());
    stream.pos = 0;
    bufio_io(&stream, written.data(), written.size(), 'r');
    EXPECT_EQ(written, whole);
    bufio_done(&stream);
    if (in_memory) continue;
    written = file_bytes(path);
    written.resize(whole.size());
    EXPECT_EQ(written, whole);
  }
}

TEST(RawFileImage, OfAnySizeIsEditedInPlace) {
  const temporary_folder folder;
  const std::string path = folder / "large";
  put_file(path, {});
  const uint32_t size[2] = {1u << 17, 1u << 18};  // 96 GiB of 3-byte pixels
  std::filesystem::resize_file(path, uint64_t{3} << 35);
  qvimage image;
  bufio *h = nullptr;
  ASSERT_EQ(qvimage_file(&image, &h, path.c_str(), "r+b", size, QVIM_UINT8, 0, 3, QVIM_HINT_RGB, 0), 0);
  ASSERT_EQ(image.ioset(&image, 0, QVIM_UINT8, 2), 1);
  const uint8_t value = 77;
  ASSERT_EQ(image.iorite(&image, 0, &value, 1, (1 << 17) - 1, (1 << 18) - 1), 1u);
  ASSERT_EQ(qvimage_filedone(&image, &h), 0);
  ASSERT_EQ(qvimage_file(&image, &h, path.c_str(), "rb", size, QVIM_UINT8, 0, 3, QVIM_HINT_RGB, 4096), 0);
  uint8_t pixel[3] = {9, 9, 9};
  ASSERT_EQ(image.ioset(&image, 0, QVIM_UINT8, 7), 1);
  ASSERT_EQ(image.ioread(&image, 0, pixel, 1, (1 << 17) - 1, (1 << 18) - 1), 1u);
  EXPECT_EQ(std::vector<int>(pixel, pixel + 3), (std::vector<int>{0, 77, 0}));
  ASSERT_EQ(qvimage_filedone(&image, &h), 0);
  EXPECT_EQ(h, nullptr);
}

TEST(RawFileImage, PixiesThatNobodyWroteAreZeros) {
  const temporary_folder folder;
  const std::string path = folder / "new";
  const uint32_t size[2] = {40, 1}, block = 64;
  qvimage image;
  bufio *h = nullptr;
  ASSERT_EQ(qvimage_file(&image, &h, path.c_str(), nullptr, size, QVIM_UINT8, 0, 3, QVIM_HINT_RGB, block), 0);
  bytes expected(block / 3 * 3, 0xEE);  // what the stream's block holds before it is the next one's
  ASSERT_EQ(image.ioset(&image, 0, QVIM_UINT8, 7), 1);
  ASSERT_EQ(image.iorite(&image, 0, expected.data(), block / 3, 0, 0), block / 3);
  ASSERT_EQ(image.ioset(&image, 0, QVIM_UINT8, 2), 1);
  const uint8_t value = 7;
  ASSERT_EQ(image.iorite(&image, 0, &value, 1, 25, 0), 1u);
  ASSERT_EQ(qvimage_filedone(&image, &h), 0);
  expected.resize(26 * 3);
  expected[25 * 3 + 1] = value;
  EXPECT_EQ(file_bytes(path), expected);
}

TEST(RawFileImage, BeginsEmptyAndRefusesWhatIsNone) {
  const temporary_folder folder;
  const std::string path = folder / "new";
  const uint32_t size[2] = {640, 480}, none[2] = {0, 4}, huge[2] = {1u << 31, 4};
  qvimage image;
  bufio *h = nullptr;
  ASSERT_EQ(qvimage_file(&image, &h, path.c_str(), nullptr, size, QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 0), 0);
  uint8_t value = 5;
  ASSERT_EQ(image.ioset(&image, 0, QVIM_UINT8, 1), 1);
  EXPECT_EQ(image.ioread(&image, 0, &value, 1, 3, 3), 1u);
  EXPECT_EQ(value, 0);
  EXPECT_EQ(int32_t(image.aeiou(&image, 'e', 1, 0, nullptr)), QVERR_FORMAT);
  EXPECT_EQ(image.aeiou(&image, 'e', 0, 0, nullptr), 0u);
  qvimage_filedone(&image, &h);
  const std::string absent = folder / "absent";
  struct row {
    const char *path, *mode;
    const uint32_t *size;
    uint32_t pixies;
    int32_t code;
  };
  for (const row &r : {row{path.c_str(), "rb", none, 1, QVERR_LOGIC},
                       {absent.c_str(), "wb", huge, 1, QVERR_LOGIC},
                       {absent.c_str(), "wb", nullptr, 1, QVERR_USAGE},
                       {absent.c_str(), "wb", size, 0, QVERR_USAGE}}) {
    EXPECT_EQ(qvimage_file(&image, &h, r.path, r.mode, r.size, QVIM_UINT8, 0, r.pixies, 0, 0), r.code);
    EXPECT_EQ(h, nullptr);
    EXPECT_STREQ(image.devname, "NULL2");
  }
  EXPECT_FALSE(file_exists(absent));
}

TEST(RawFiles, AreTheWindowsPixels) {
  const temporary_folder folder;
  const std::string path = folder / "raster";
  std::vector<uint16_t> pixels(100 * 10 * 3);
  for (size_t i = 0; i < pixels.size(); i++) pixels[i] = uint16_t(i * 7);
  const int32_t dims[2] = {100, 10};
  qvimage image;
  ASSERT_EQ(qvimage_memory(&image, pixels.data(), dims, 0, QVIM_UINT16, 0, 3, QVIM_HINT_RGB, 0), 0);
  ASSERT_EQ(qvimage_filewrite(nullptr, &image, path.c_str(), nullptr, 0), 0);
  const auto *all = reinterpret_cast<const uint8_t *>(pixels.data());
  EXPECT_EQ(file_bytes(path), bytes(all, all + 6000));
  qvywindow window{{20, 3}, {60, 5}};
  image.xwind(&image, &window, 's');
  ASSERT_EQ(qvimage_filewrite(nullptr, &image, path.c_str(), "wb", 4096), 0);
  bytes expected(all + (3 * 100 + 20) * 6, all + (3 * 100 + 60) * 6);
  expected.insert(expected.end(), all + (4 * 100 + 20) * 6, all + (4 * 100 + 60) * 6);
  EXPECT_EQ(file_bytes(path), expected);
}

}  // namespace
