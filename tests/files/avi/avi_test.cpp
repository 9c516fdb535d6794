// AVI files: their chunks, and what frames become in them and again.
#include <map>

#include "tests/files.hpp"
#include "tests/files/formats.hpp"

namespace {

uint32_t number(const bytes &file, size_t at, int size = 4) {
  uint32_t value = 0;
  for (int i = 0; i < size; i++) value |= uint32_t(file.at(at + size_t(i))) << 8 * i;
  return value;
}

// Every chunk, lists opened, as its path ("RIFF AVI /LIST hdrl/avih") with where its data begin: a parser of
// the test's.
std::multimap<std::string, std::pair<size_t, uint32_t>> chunks_of(const bytes &file) {
  std::multimap<std::string, std::pair<size_t, uint32_t>> found;
  const auto walk = [&](auto self, size_t at, size_t end, const std::string &above) -> void {
    while (at + 8 <= end) {
      std::string code(file.begin() + long(at), file.begin() + long(at) + 4);
      const uint32_t size = number(file, at + 4);
      EXPECT_LE(at + 8 + size, end) << above << code;
      const bool is_list = code == "RIFF" || code == "LIST";
      if (is_list) code.append(" ").append(file.begin() + long(at) + 8, file.begin() + long(at) + 12);
      found.insert({above + code, {at + 8, size}});
      if (is_list) self(self, at + 12, at + 8 + size, above + code + "/");
      at += 8 + size + size % 2;
    }
  };
  walk(walk, 0, file.size(), "");
  return found;
}

class Avi : public testing::Test {
 protected:
  int32_t open(qvimage3 *image, qvimage *palette = nullptr, uint32_t lenient = 0) {
    return qvimage3_aviread(image, palette, &h_, path_.c_str(), nullptr, 0, lenient);
  }
  void close(qvimage3 *image) { ASSERT_EQ(qvimage3_avireaddone(image, nullptr, &h_), 0); }

  const temporary_folder folder_;
  const std::string path_ = folder_ / "a.avi";
  avihandle *h_ = nullptr;
};

TEST_F(Avi, ChunksAreWhereTheyBelong) {
  film f(QVIM_UINT8, 8, 1, 1, 320, 240, 3);
  qvimagefileinfo options{};
  char software[] = "test";
  options.software = software;
  options.avi_ratenum = 30000, options.avi_rateden = 1001;
  options.bmp_xppm = 100, options.bmp_yppm = 200;
  for (uint32_t mode : {1u, 2u}) {
    ASSERT_EQ(qvimage3_aviwrite(nullptr, &f.image, nullptr, path_.c_str(), nullptr, 0, &options, 0, 0, mode),
              0)
        << qvimage_reason();
    const bytes file = file_bytes(path_);
    const auto chunks = chunks_of(file);
    const auto at = [&](const std::string &name) {
      const auto found = chunks.find(std::string("RIFF AVI /").append(name));
      EXPECT_NE(found, chunks.end()) << name;
      return found == chunks.end() ? std::pair<size_t, uint32_t>() : found->second;
    };
    EXPECT_EQ(at("LIST hdrl/avih").second, 56u);
    const std::string main = "LIST hdrl/avih", stream = "LIST hdrl/LIST strl/strh",
                      form = "LIST hdrl/LIST strl/strf";
    constexpr uint32_t frame_bytes = 76800;
    for (const auto &[name, offset, value] :
         {std::tuple{main, 0, 33367u},
          {main, 4, frame_bytes * 30000 / 1001},
          {main, 12, 0x810u},
          {main, 16, 3u},  // frames
          {main, 24, 1u},
          {main, 28, frame_bytes},
          {main, 32, 320u},
          {main, 36, 240u},
          {stream, 20, 1001u},
          {stream, 24, 30000u},
          {stream, 32, 3u},
          {stream, 36, frame_bytes},
          {stream, 40, 1u},
          {stream, mode == 1 ? 56 : 52, mode == 1 ? 320u : 240u << 16 | 320},
          {form, 0, 40u},
          {form, 8, 240u},
          {form, 12, 8u << 16 | 1},
          {form, 20, frame_bytes},
          {form, 24, 100u},
          {form, 28, 200u},
          {form, 36, 0u},
          {form, 40 + 4 * 7, 0x070707u}})
      EXPECT_EQ(number(file, at(name).first + size_t(offset)), value) << name << ", byte " << offset;
    EXPECT_EQ(at("LIST hdrl/LIST strl/strh").second, mode == 1 ? 64u : 56u);
    EXPECT_EQ(at("LIST hdrl/LIST strl/strf").second, 40u + 1024);
    EXPECT_EQ(chunks.count("RIFF AVI /LIST movi/00db"), 3u);
    EXPECT_EQ(at("LIST movi/00db").second, 76800u);
    EXPECT_EQ(at("LIST INFO/ISFT").second, 5u);
    if (mode == 1) {
      EXPECT_EQ(at("idx1").second, 48u);
      EXPECT_EQ(number(file, at("idx1").first + 8), 4u);  // of the first frame, from the list's code
    } else {
      EXPECT_EQ((at("LIST movi").first - 8) % 8192, 0u);
      EXPECT_EQ(number(file, at("LIST hdrl/LIST odml/dmlh").first), 3u);
      const size_t index = at("ix00").first, super = at("LIST hdrl/LIST strl/indx").first;
      EXPECT_EQ(number(file, super + 4), 1u);
      EXPECT_EQ(number(file, super + 24), index - 8);
      EXPECT_EQ(number(file, index + 12) + number(file, index + 24), at("LIST movi/00db").first);
    }
  }
}

TEST_F(Avi, FramesComeBack) {
  struct row {
    int32_t bits, pixies, hint;
    bool rgb;
  };
  for (const row &r :
       {row{1, 1, 1, false}, {4, 1, 17, false}, {8, 1, 1, true}, {8, 3, 3, false}, {8, 3, 67, true}})
    for (uint32_t mode : {1u, 2u})
      for (uint32_t declared : {5u, 9u, 2u}) {
        SCOPED_TRACE(testing::Message()
                     << r.bits << " x " << r.pixies << ", mode " << mode << ", " << declared);
        film f(QVIM_UINT8, r.bits, r.pixies, r.hint, 19, 7, 5);
        bytes colours(3 << r.bits);
        for (size_t i = 0; i < colours.size(); i++) colours[i] = uint8_t(i * 5 + 1);
        const int32_t dims[2] = {1 << r.bits, 1};
        qvimage palette, first = f.frame(0), shown_palette;
        qvimage_memory(&palette, colours.data(), dims, 0, QVIM_UINT8, 0, 3, 3, 0);
        ASSERT_EQ(qvimage_aviwriteinit(nullptr, &h_, path_.c_str(), nullptr, &first, 0, nullptr,
                                       r.hint == 17 ? &palette : nullptr, nullptr, 0, 0, declared, mode),
                  0);
        for (int z = 0; z < 5; z++) {
          qvimage frame = f.frame(z);
          if (z == 2) {
            const auto stop = [](int64_t, int64_t) { return 3; };
            ASSERT_EQ(qvimage_aviwriteadd(stop, &h_, nullptr, nullptr, &frame, r.rgb), 3);
          }
          ASSERT_EQ(qvimage_aviwriteadd(nullptr, &h_, nullptr, nullptr, &frame, r.rgb), 0)
              << qvimage_reason();
        }
        ASSERT_EQ(qvimage_aviwritedone(nullptr, &h_, nullptr), 0);
        const bytes file = file_bytes(path_);
        for (const auto &[name, chunk] : chunks_of(file))
          if (const size_t place = name.ends_with("/avih")   ? 16
                                   : name.ends_with("/strh") ? 32
                                   : name.ends_with("/dmlh") ? 0
                                                             : file.size();
              place < file.size()) {
            EXPECT_EQ(number(file, chunk.first + place), 5u) << name;
          }
        qvimage3 image;
        ASSERT_EQ(open(&image, &shown_palette), 0) << qvimage_reason();
        EXPECT_EQ(image.imdim.se.z, 5);
        bytes expected = f.pixels;
        if (r.rgb && r.pixies == 3)
          for (size_t i = 0; i < expected.size(); i += 3) std::swap(expected[i], expected[i + 2]);
        EXPECT_EQ(pixels_of(image), expected);
        close(&image);
      }
}

TEST_F(Avi, MotionJpegFramesAreThoseOfTheCoder) {
  for (int32_t pixies : {1, 3}) {
    film f(QVIM_UINT8, 8, pixies, pixies == 1 ? 1 : 3, 40, 24, 4);
    qvimagefileinfo options{};
    std::memcpy(options.avi_handler, "MJPG", 4);
    options.jpg_quality = 900;
    ASSERT_EQ(qvimage3_aviwrite(nullptr, &f.image, nullptr, path_.c_str(), nullptr, 0, &options, 0, 0, 2), 0)
        << qvimage_reason();
    qvimage3 image;
    ASSERT_EQ(open(&image), 0) << qvimage_reason();
    const bytes shown = pixels_of(image);
    for (int32_t z = 3; z >= 0; z--) {
      qvimage frame = f.frame(z), view;
      if (pixies == 3) {
        ASSERT_EQ(qvimage_colorconverter(&view, &frame, 67, 0), 0);
      }
      const std::string alone = folder_ / "a.jpg";
      ASSERT_EQ(qvimage_jpegwrite(nullptr, pixies == 3 ? &view : &frame, alone.c_str(), nullptr, 0, nullptr,
                                  &options),
                0);
      const bytes expected = formats::opened(formats::jpeg, alone).shown();
      ASSERT_EQ(expected.size(), size_t(40 * 24 * pixies));
      const auto at = shown.begin() + long(expected.size()) * z;
      EXPECT_EQ(bytes(at, at + long(expected.size())), expected) << z;
    }
    close(&image);
  }
}

TEST_F(Avi, BrokenAndForeignFilesAreRefused) {
  film f(QVIM_UINT8, 8, 1, 1, 16, 8, 2);
  ASSERT_EQ(qvimage3_aviwrite(nullptr, &f.image, nullptr, path_.c_str(), nullptr, 0, nullptr, 0, 0, 1), 0);
  const bytes whole = file_bytes(path_);
  const auto chunks = chunks_of(whole);
  const size_t strh = chunks.find("RIFF AVI /LIST hdrl/LIST strl/strh")->second.first;
  const size_t strf = chunks.find("RIFF AVI /LIST hdrl/LIST strl/strf")->second.first;
  struct row {
    const char *what;
    size_t at;
    uint8_t value;
    int32_t strict, lenient;
  };
  for (const row &r : {row{"no RIFF", 0, 'X', -10, -10},
                       {"no AVI", 8, 'X', -10, -10},
                       {"sound", strh, 'a', -11, -11},
                       {"another handler", strh + 4, 'X', -11, 0},
                       {"no handler", strh - 8, 'X', -11, 0},
                       {"header size", strf, 41, -10, -10},
                       {"16 bits", strf + 14, 16, -10, -10},
                       {"compressed", strf + 16, 1, -11, 0},
                       {"257 colours", strf + 33, 2, -10, -10},
                       {"no width", strf + 4, 0, -10, -10}})
    for (uint32_t lenient : {0u, 1u}) {
      SCOPED_TRACE(r.what);
      bytes file = whole;
      file[r.at] = r.value;
      put_file(path_, file);
      qvimage3 image;
      EXPECT_EQ(open(&image, nullptr, lenient), lenient ? r.lenient : r.strict) << qvimage_reason();
      if (h_) close(&image);
    }
}

TEST_F(Avi, FailedStepsEndTheFile) {
  film f(QVIM_UINT8, 8, 1, 1, 16, 8, 1), wide(QVIM_UINT8, 8, 1, 1, 17, 8, 1);
  qvimage good = f.frame(0), other = wide.frame(0);
  for (qvimage *bad : {&other, static_cast<qvimage *>(nullptr)}) {
    ASSERT_EQ(qvimage_aviwriteinit(nullptr, &h_, path_.c_str(), nullptr, &good, 0, nullptr, nullptr, nullptr,
                                   0, 0, 1, 1),
              0);
    EXPECT_EQ(qvimage_aviwriteadd(nullptr, &h_, nullptr, nullptr, &good, 0), 0);
    EXPECT_EQ(qvimage_aviwriteadd(nullptr, &h_, nullptr, nullptr, bad, 0), QVERR_USAGE);
    EXPECT_EQ(h_, nullptr);
    EXPECT_TRUE(folder_.empty());
  }
}

}  // namespace
