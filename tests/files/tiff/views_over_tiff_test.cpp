// A chain of views over the pages of a TIFF file - planes or joined frames of the sequence, turned, in other
// colours, in other types - against a model that follows each pixel down to the sample in the file; and the
// other way: through such a chain into memory, and into a file.
#include <gtest/gtest.h>

#include <qvimage/qvimage.h>

#include "tests/files.hpp"
#include "tests/files/tiff/frame.hpp"
#include "tests/files/tiff/opened.hpp"
#include "tests/files/tiff/parse.hpp"
#include "tests/views/model.hpp"

namespace {

using namespace model;
using namespace tiff_test;
using qvim::two_d;

// What the views of a chain do, the lowest one first.
struct recipe {
  uint32_t xaxis = QVIM_XSCAN, yaxis = QVIM_YSCAN;
  int plane = 0;
  uint8_t joined = 0;  // 0x80: frames one below another, 0x40: side by side
  uint32_t turns = 0;  // 1 transposed, 4 mirrored in x, 2 in y
  int32_t hint = QVIM_HINT_BGR;
  uint32_t type = QVIM_UINT8;
  int bits = 8;  // of integers
  bool normalised = false;

  std::string text() const {
    char line[120];
    std::snprintf(line, sizeof line,
                  "axes %u %u plane %d joined 0x%x turns %u hint %d type %u bits %d mode %d", xaxis, yaxis,
                  plane, joined, turns, hint, type, bits, normalised);
    return line;
  }
};

// Such views over a sequence of RGB pixels of `depth` bits, and their model.
class chain {
 public:
  chain(qvimage3 *sequence, const recipe &r) : r_(r), depth_(sequence->d.i_bitsused) {
    const auto seen = frame_of(sequence->wind);
    size_ = seen.size;
    EXPECT_EQ(qvimage_def2from3(&flat_, sequence, r.xaxis, r.yaxis, r.plane, r.joined), 0);
    EXPECT_EQ(qvimage_rotate_filt(&turned_, &flat_, 0, r.turns), 0);
    EXPECT_EQ(qvimage_colorconverter(&coloured_, &turned_, r.hint, 0), 0);
    const bool real = r.type >= QVIM_FLOAT32;
    qvimagedata d;
    EXPECT_EQ(qviminitdata(&d, int32_t(r.type), real ? 0 : r.bits, coloured_.d.pixies, r.hint), 1);
    EXPECT_EQ(qvimage_converter(&top, &coloured_, &d, 0, 0, uint8_t(real ? 0 : r.bits), r.normalised), 0);
  }
  chain(const chain &) = delete;

  extent size() const { return frame_of(top.imdim).size; }

  // Where a pixel of the topmost view lies in the sequence.
  pos voxel(pos at) const {
    const extent whole = size();
    if (r_.turns & 4) at[0] = whole[0] - 1 - at[0];
    if (r_.turns & 2) at[1] = whole[1] - 1 - at[1];
    if (r_.turns & 1) std::swap(at[0], at[1]);
    if (r_.joined & 0x80) return {at[0], at[1] % size_[1], at[1] / size_[1]};
    if (r_.joined & 0x40) return {at[0] % size_[0], at[1], at[0] / size_[0]};
    const int x = int(r_.xaxis / 2), y = int(r_.yaxis / 2);
    pos there;
    there[x] = at[0], there[y] = at[1], there[3 - x - y] = r_.plane;
    return there;
  }

  // What a pixel shows of red, green and blue.
  uint64_t presented(const std::array<uint64_t, 3> &rgb, int pixie) const {
    return as_asked(in_colours(rgb, pixie));
  }

  // Which of them lies below a component of these colours, and which number in it is meant by a value.
  static int below(int32_t hint, int pixie) { return hint == QVIM_HINT_BGR ? 2 - pixie : pixie; }
  uint64_t stored(uint64_t given) const {
    const uint64_t v = r_.bits > depth_ ? given >> (r_.bits - depth_) : given << (depth_ - r_.bits);
    return r_.hint == QVIM_HINT_CMY ? ones(depth_) - v : v;
  }

  qvimage top;

 private:
  uint64_t in_colours(const std::array<uint64_t, 3> &rgb, int pixie) const {
    const uint64_t most = std::max({rgb[0], rgb[1], rgb[2]}), full = ones(depth_);
    if (r_.hint == QVIM_HINT_CMY) return full - rgb[size_t(pixie)];
    if (r_.hint == QVIM_HINT_CMYK) return pixie == 3 ? full - most : most - rgb[size_t(pixie)];
    return rgb[size_t(below(r_.hint, pixie))];
  }
  uint64_t as_asked(uint64_t v) const {
    if (r_.type < QVIM_FLOAT32) return r_.bits > depth_ ? v << (r_.bits - depth_) : v >> (depth_ - r_.bits);
    const double one = depth_ > 8 ? 65535 : 255;
    if (r_.type == QVIM_FLOAT64)
      return ::frame::float_bits(QVIM_FLOAT64, r_.normalised ? double(v) * (1 / one) : double(v));
    const float value = r_.normalised ? float(v) * (1.0f / float(one)) : float(v);
    return ::frame::float_bits(QVIM_FLOAT32, double(value));
  }

  const recipe r_;
  const int depth_;
  extent size_;
  qvimage flat_, turned_, coloured_;
};

constexpr int32_t bijective[] = {QVIM_HINT_BGR, QVIM_HINT_CMY};

recipe random_recipe(generator &g, const extent &size, bool writable) {
  recipe r;
  const uint32_t axes[][2] = {{0, 2}, {0, 4}, {2, 0}, {2, 4}, {4, 0}, {4, 2}};
  const uint32_t(&pair)[2] = axes[between(g, 0, 5)];
  r.xaxis = pair[0], r.yaxis = pair[1];
  r.plane = between(g, 0, size[3 - pair[0] / 2 - pair[1] / 2] - 1);
  r.joined = chance(g, 40) ? chance(g, 50) ? 0x80 : 0x40 : 0;
  r.turns = uint32_t(between(g, 0, 7));
  r.hint = !writable && chance(g, 25) ? int32_t(QVIM_HINT_CMYK) : one_of(g, bijective);
  const uint32_t types[] = {QVIM_UINT8, QVIM_UINT16, QVIM_UINT32, QVIM_FLOAT32, QVIM_FLOAT64};
  r.type = writable ? types[between(g, 0, 2)] : one_of(g, types);
  r.bits = between(g, 1, std::min(16, 8 * qvimdatasize(r.type)));
  r.normalised = chance(g, 50);
  return r;
}

struct sequence {
  const char *name;
  uint32_t bits;
  bool big_endian;
  const coding &how;
};
const sequence sequences[] = {{"8 bits", 8, false, uncompressed},
                              {"8 bits, LZW", 8, true, by_differences},
                              {"16 bits of the other byte order", 16, true, uncompressed},
                              {"16 bits, PackBits", 16, false, packed},
                              {"12 bits in one stream", 12, true, by_lzw}};

std::vector<page_spec> pages_of(const sequence &s) {
  std::vector<page_spec> pages(6);
  for (size_t z = 0; z < pages.size(); z++) {
    page_spec &p = pages[z];
    p.width = 23, p.height = 11, p.bits = s.bits, p.samples = 3, p.photometric = 2, p.rows_per_strip = 4;
    p.compression = s.how.compression, p.differenced = s.how.differenced, p.seed = z + 1;
  }
  return pages;
}

bytes file_of(const sequence &s) {
  builder file(s.big_endian);
  for (const page_spec &p : pages_of(s)) file.page(p, s.how.compress);
  return file.file();
}

std::array<uint64_t, 3> sample_at(const std::vector<page_spec> &pages, const pos &v) {
  const page_spec &p = pages[size_t(v[2])];
  const auto x = uint32_t(v[0]), y = uint32_t(v[1]);
  return {p.sample(x, y, 0), p.sample(x, y, 1), p.sample(x, y, 2)};
}

void reads_over_a_file(const sequence &s, int seed) {
  generator g(static_cast<uint64_t>(seed));
  opened_stack file(file_of(s));
  ASSERT_EQ(file.code, 0);
  const auto pages = pages_of(s);
  const recipe how = random_recipe(g, frame_of(file.image.imdim).size, false);
  SCOPED_TRACE(how.text());
  chain views(&file.image, how);
  if (chance(g, 50)) {
    ASSERT_NO_FATAL_FAILURE(set_window(&views.top, random_part(g, views.size())));
  }
  const auto seen = frame_of(views.top.wind);
  const uint32_t every = uint32_t(ones(views.top.d.pixies));
  const auto expected = [&](const pos &at, int pixie) {
    return bits{views.presented(sample_at(pages, views.voxel(sum(seen.nw, at))), pixie)};
  };
  for (const uint32_t mode :
       {0u, uint32_t(QVIM_WRAP), uint32_t(QVIM_YSCAN), uint32_t(QVIM_YSCAN | QVIM_WRAP)}) {
    const uint32_t justified = how.type < QVIM_FLOAT32 ? QVIM_LSB : 0;
    const uint32_t swapped = chance(g, 30) ? uint32_t(QVIM_SWAPPED) : 0;
    const uint32_t mask = chance(g, 60) ? every : 1u << between(g, 0, views.top.d.pixies - 1);
    const request r{mode, how.type | justified | swapped, mask};
    ASSERT_EQ(views.top.ioset(&views.top, r.mode, r.datatype, r.mask), 1) << r.text();
    ASSERT_NO_FATAL_FAILURE(check_read<two_d>(&views.top, r, {0, 0, 0}, 5000, expected));  // whole
    for (int i = 0; i < 4; i++)
      ASSERT_NO_FATAL_FAILURE(
          check_read<two_d>(&views.top, r, random_pos(g, seen.size), uint32_t(between(g, 1, 60)), expected));
    uint8_t some[64] = {};
    EXPECT_EQ(views.top.iorite(&views.top, 0, some, 1, 0, 0), 0u) << "a file that is read";
  }
  EXPECT_EQ(file.error(), 0);
}

TEST(ViewsOverTiff, ReadWhatTheFileHolds) {
  for (const sequence &s : sequences) {
    SCOPED_TRACE(s.name);
    for_seeds(60, [&](int seed) { reads_over_a_file(s, seed); });
  }
}

// Whole frames of 12 bits in 16, at either end, in either byte order, and of bytes.
void writes_into_memory(int seed) {
  generator g(static_cast<uint64_t>(seed));
  pixels stored;
  const bool wide = chance(g, 70);
  ASSERT_EQ(qviminitdata(&stored.d, wide ? QVIM_UINT16 : QVIM_UINT8, wide ? between(g, 9, 16) : 8, 3,
                         QVIM_HINT_RGB),
            1);
  if (wide && chance(g, 50)) stored.d.i_endian = QVIM_SWAPPED;
  if (wide && stored.used() < 16 && chance(g, 50)) stored.d.i_bitsxsb = QVIM_MSB;
  stored.dims = {between(g, 1, 40), between(g, 1, 9), between(g, 1, 5)};
  stored.pitch = uint32_t(stored.dims[0] * 3 * stored.size() + between(g, 0, 5));
  stored.planepitch = stored.pitch * uint32_t(stored.dims[1]);
  stored.allocate();
  stored.fill(g, false);
  qvimage3 volume;
  ASSERT_NO_FATAL_FAILURE(build(&volume, stored));
  const recipe how = random_recipe(g, stored.dims, true);
  SCOPED_TRACE(how.text());
  chain views(&volume, how);
  if (chance(g, 50)) {
    ASSERT_NO_FATAL_FAILURE(set_window(&views.top, random_part(g, views.size())));
  }
  const auto seen = frame_of(views.top.wind);
  pixels expected = stored;
  const int high = stored.high() ? 16 - stored.used() : 0;
  for (int i = 0; i < 6; i++) {
    const request r{random_mode(g, 2), how.type | QVIM_LSB | (chance(g, 30) ? uint32_t(QVIM_SWAPPED) : 0), 7};
    ASSERT_EQ(views.top.ioset(&views.top, r.mode, r.datatype, r.mask), 1) << r.text();
    ASSERT_NO_FATAL_FAILURE(check_write<two_d>(
        &views.top, r, random_pos(g, seen.size), uint32_t(between(g, 1, i == 5 ? 2000 : 50)),
        [&] { return g() & ones(how.bits); },
        [&](const pos &at, int pixie, uint64_t v) {
          const pos there = views.voxel(sum(seen.nw, at));
          expected.put(there, chain::below(how.hint, pixie), {views.stored(v) << high});
        }));
  }
  expect_equal(stored, expected);
}

TEST(ViewsOverMemory, WriteWhatReadsSay) { for_seeds(400, writes_into_memory); }

// From file to file: the samples of the page written are the model's.
TEST(ViewsOverTiff, AreWrittenAsTheyPresentThemselves) {
  const recipe recipes[] = {{0, 4, 7, 0, 5, QVIM_HINT_CMYK, QVIM_UINT8, 8, false},
                            {4, 2, 3, 0, 2, QVIM_HINT_BGR, QVIM_UINT16, 12, false},
                            {0, 2, 5, 0, 3, QVIM_HINT_CMY, QVIM_UINT16, 16, false},
                            {0, 2, 0, 0x80, 6, QVIM_HINT_BGR, QVIM_UINT8, 5, false},
                            {0, 2, 0, 0x40, 1, QVIM_HINT_CMYK, QVIM_FLOAT32, 0, true}};
  const temporary_folder folder;
  for (const sequence &s : sequences)
    for (const recipe &how : recipes) {
      SCOPED_TRACE(std::string(s.name) + ": " + how.text());
      opened_stack file(file_of(s));
      ASSERT_EQ(file.code, 0);
      const auto pages = pages_of(s);
      chain views(&file.image, how);
      qvimagefileinfo options{};
      options.compression = 1;
      const std::string path = folder / "written.tif";
      ASSERT_EQ(qvimage_tiffwrite(nullptr, &views.top, nullptr, path.c_str(), nullptr, 0, 0, &options,
                                  how.hint == QVIM_HINT_BGR, 0, 0),
                0);
      const parsed_tiff parsed(file_bytes(path));
      bytes samples;
      for (const auto &strip : parsed.strips(parsed.pages.at(0)))
        samples.insert(samples.end(), strip.begin(), strip.end());
      bytes expected;
      const int width = views.size()[0], pixies = views.top.d.pixies;
      const int depth = how.type == QVIM_FLOAT32 ? 32 : how.bits;
      for (int y = 0; y < views.size()[1]; y++) {
        std::vector<uint64_t> row;
        for (int x = 0; x < width; x++)
          for (int c = 0; c < pixies; c++)
            row.push_back(
                views.presented(sample_at(pages, views.voxel({x, y, 0})), chain::below(how.hint, c)));
        const bytes line = packed_row(row, depth, parsed.big_endian);
        expected.insert(expected.end(), line.begin(), line.end());
      }
      EXPECT_EQ(parsed.pages.at(0).value(256), uint64_t(width));
      EXPECT_EQ(samples, expected);
    }
}

}  // namespace
