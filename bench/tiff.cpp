// TIFF files in memory: this library and libtiff over the same pixels, one thread.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <malloc.h>
#include <tiffio.h>

#include <memory>
#include <string>

#include <qvimage/qvimage.h>

#include "bench/files.hpp"
#include "bench/frames.hpp"

namespace {

const frames::frame &picture(const std::string &name) {
  static const frames::frame grey = frames::grey16(4000, 3000), rgb = frames::rgb8(4000, 3000);
  return name == "grey16" ? grey : rgb;
}

struct coding {
  const char *name;
  uint32_t compression, libtiff, predictor;
};
constexpr coding codings[] = {{"none", 1, COMPRESSION_NONE, 1},
                              {"lzw", 5, COMPRESSION_LZW, 1},
                              {"lzw-predictor", 517, COMPRESSION_LZW, 2},
                              {"packbits", 32773, COMPRESSION_PACKBITS, 1}};

uint32_t rows_per_strip(const frames::frame &f) {
  return uint32_t(std::max<size_t>(65536 / f.row_bytes(), 1));
}

// --- ours
// ---------------------------------------------------------------------------------------------------------

void write_ours(const frames::frame &f, const coding &c, const std::string &path) {
  qvimage image;
  const int32_t dims[] = {int32_t(f.width), int32_t(f.height)};
  must(qvimage_memory(&image, const_cast<uint8_t *>(f.bytes.data()), dims, 0,
                      f.bits == 16 ? QVIM_UINT16 : QVIM_UINT8, 0, int32_t(f.samples),
                      f.samples == 3 ? QVIM_HINT_RGB : QVIM_HINT_GREY, 0) == 0,
       "memory");
  qvimagefileinfo options{};
  options.compression = c.compression;
  must(qvimage_tiffwrite(nullptr, &image, nullptr, path.c_str(), nullptr, 0, 0, &options, 0, 0, 0) == 0,
       "write");
}

void read_ours(const frames::frame &f, const std::string &path, uint8_t *pixels) {
  qvimage image;
  tiffhandle *h = nullptr;
  must(qvimage_tiffread(&image, nullptr, &h, path.c_str(), nullptr, 0, 0, 0) == 0, "read");
  must(image.ioset(&image, QVIM_WRAP, uint32_t(image.d.pixietype), (1u << f.samples) - 1) == 1, "ioset");
  const uint32_t count = f.width * f.height;
  must(image.ioread(&image, 0, pixels, count, 0, 0) == count, "ioread");
  must(qvimage_tiffreaddone(&image, nullptr, &h) == 0, "done");
}

// --- libtiff
// ------------------------------------------------------------------------------------------------------

void write_libtiff(const frames::frame &f, const coding &c, const std::string &path) {
  TIFF *tif = TIFFOpen(path.c_str(), "w");
  TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, f.width);
  TIFFSetField(tif, TIFFTAG_IMAGELENGTH, f.height);
  TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, f.bits);
  TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, f.samples);
  TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, f.samples == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
  TIFFSetField(tif, TIFFTAG_COMPRESSION, c.libtiff);
  if (c.predictor == 2) TIFFSetField(tif, TIFFTAG_PREDICTOR, 2);
  const uint32_t rows = rows_per_strip(f);
  TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, rows);
  static std::vector<uint8_t> strip;  // libtiff differences in the caller's buffer
  strip.resize(rows * f.row_bytes());
  for (uint32_t y = 0; y < f.height; y += rows) {
    const size_t bytes = std::min(rows, f.height - y) * f.row_bytes();
    std::memcpy(strip.data(), f.bytes.data() + y * f.row_bytes(), bytes);
    must(TIFFWriteEncodedStrip(tif, y / rows, strip.data(), tmsize_t(bytes)) >= 0, "libtiff writes");
  }
  TIFFClose(tif);
}

void read_libtiff(const frames::frame &f, const std::string &path, uint8_t *pixels) {
  TIFF *tif = TIFFOpen(path.c_str(), "rm");  // without mapping: by read calls, as ours
  const uint32_t rows = rows_per_strip(f);
  for (uint32_t y = 0; y < f.height; y += rows) {
    const size_t bytes = std::min(rows, f.height - y) * f.row_bytes();
    must(TIFFReadEncodedStrip(tif, y / rows, pixels + y * f.row_bytes(), tmsize_t(bytes)) >= 0,
         "libtiff reads");
  }
  TIFFClose(tif);
}

// --- row by row into the same row, as cameras' frames and scans are gone through
// ---------------------------------

void read_rows_ours(const frames::frame &f, const std::string &path, uint8_t *row) {
  qvimage image;
  tiffhandle *h = nullptr;
  must(qvimage_tiffread(&image, nullptr, &h, path.c_str(), nullptr, 0, 0, 0) == 0, "read");
  must(image.ioset(&image, 0, uint32_t(image.d.pixietype), (1u << f.samples) - 1) == 1, "ioset");
  for (uint32_t y = 0; y < f.height; y++)
    must(image.ioread(&image, 0, row, f.width, 0, int32_t(y)) == f.width, "ioread");
  must(qvimage_tiffreaddone(&image, nullptr, &h) == 0, "done");
}
void read_rows_libtiff(const frames::frame &f, const std::string &path, uint8_t *row) {
  TIFF *tif = TIFFOpen(path.c_str(), "rm");
  for (uint32_t y = 0; y < f.height; y++) must(TIFFReadScanline(tif, row, y, 0) == 1, "libtiff scanline");
  TIFFClose(tif);
}
// The same bytes by blocks of 64 KiB, each row copied out of its block.
void read_rows_plain(const frames::frame &f, const std::string &path, uint8_t *row) {
  static std::vector<uint8_t> block(65536);
  const int fd = open(path.c_str(), O_RDONLY);
  size_t have = 0, used = 0;
  for (uint32_t y = 0; y < f.height; y++)
    for (size_t done = 0; done < f.row_bytes();) {
      if (used == have) have = size_t(read(fd, block.data(), block.size())), used = 0;
      must(have > 0 && have <= block.size(), "plain read");
      const size_t n = std::min(f.row_bytes() - done, have - used);
      std::memcpy(row + done, block.data() + used, n);
      done += n, used += n;
    }
  close(fd);
}

// --- directories
// --------------------------------------------------------------------------------------------------

const std::string &many_pages(int count) {
  static std::string thousand, ten_thousand;
  std::string &path = count == 1000 ? thousand : ten_thousand;
  if (path.empty()) {
    path = files() / (std::to_string(count) + ".tif");
    std::vector<uint8_t> pixels(32 * 32 * 2 * size_t(count));
    for (size_t i = 0; i < pixels.size(); i++) pixels[i] = uint8_t(i * 7);
    const int32_t dims[] = {32, 32, count};
    qvimage3 volume;
    must(qvimage3_memory(&volume, pixels.data(), dims, 0, QVIM_UINT16, 0, 1, QVIM_HINT_GREY, 0) == 0,
         "volume");
    qvimagefileinfo options{};
    char software[] = "a microscope's camera program", description[] = "exposure 20 ms, gain 4";
    options.software = software;
    options.description = description;
    options.xres[0] = options.yres[0] = 300;
    options.xres[1] = options.yres[1] = 1;
    must(qvimage3_tiffwrite(nullptr, &volume, nullptr, path.c_str(), nullptr, 0, 0, &options, 0, 0, 0) == 0,
         "pages");
  }
  return path;
}

void describe_ours(const std::string &path) {
  static std::vector<qvimagefileinfo> infos(1000);
  must(qvimage_tiffinfoN(infos.data(), 1000, path.c_str(), nullptr, 0, 0) == 1000, "infoN");
  for (qvimagefileinfo &info : infos) qvimage_tiffinfodone(&info);
}
void describe_libtiff(const std::string &path) {
  TIFF *tif = TIFFOpen(path.c_str(), "rm");
  int pages = 1;
  while (TIFFReadDirectory(tif)) pages++;
  must(pages == 1000, "libtiff pages");
  TIFFClose(tif);
}

void open_ours(const std::string &path) {
  qvimage3 image;
  tiffhandle *h = nullptr;
  must(qvimage3_tiffread(&image, nullptr, &h, path.c_str(), nullptr, 0, 0) == 0 && image.imdim.se.z == 10000,
       "3-D");
  must(qvimage3_tiffreaddone(&image, nullptr, &h) == 0, "done");
}
void walk_libtiff(const std::string &path) {
  TIFF *tif = TIFFOpen(path.c_str(), "rm");
  must(TIFFNumberOfDirectories(tif) == 10000, "libtiff walks");
  TIFFClose(tif);
}

// --- registration
// -------------------------------------------------------------------------------------------------

double write_target(uint32_t compression) {
  return compression == 1 ? 1.0 : compression == 32773 ? 3.0 : 1.5;
}
double read_target(const std::string &kind, uint32_t compression) {
  if (compression == 1 || compression == 32773) return 1.0;
  return compression == 5 && kind == "grey16" ? 1.3 : 1.6;
}

void register_pixels(const std::string &kind) {
  static std::vector<uint8_t> pixels(4000 * 3000 * 3);
  const frames::frame &f = picture(kind);
  const double bytes = double(f.bytes.size());
  for (const coding &c : codings) {
    const std::string what = kind + "/" + c.name, path = files() / (kind + c.name + ".tif");
    write_libtiff(f, c, path);
    // The reader must deliver what was written before it is timed.
    read_ours(f, path, pixels.data());
    must(std::memcmp(pixels.data(), f.bytes.data(), f.bytes.size()) == 0, "other pixels");
    const std::string out = files() / "out.tif";
    time_it("tiff_write/" + what + "/qvimage", bytes, write_target(c.compression),
            [&f, c, out] { write_ours(f, c, out); });
    time_it("tiff_write/" + what + "/libtiff", bytes, 0, [&f, c, out] { write_libtiff(f, c, out); });
    time_it("tiff_read/" + what + "/qvimage", bytes, read_target(kind, c.compression),
            [&f, path] { read_ours(f, path, pixels.data()); });
    time_it("tiff_read/" + what + "/libtiff", bytes, 0, [&f, path] { read_libtiff(f, path, pixels.data()); });
    time_it("tiff_rows/" + what + "/qvimage", bytes, 1.0,
            [&f, path] { read_rows_ours(f, path, pixels.data()); });
    time_it("tiff_rows/" + what + "/libtiff", bytes, 0,
            [&f, path] { read_rows_libtiff(f, path, pixels.data()); });
  }
  const std::string path = files() / (kind + "none.tif"), out = files() / "out.tif";
  time_it("tiff_write_plain/" + kind + "/qvimage", bytes, 0.9, [&f, out] { write_ours(f, codings[0], out); });
  time_it("tiff_write_plain/" + kind + "/pwrite", bytes, 0, [&f, out] { write_plain(f, out); });
  time_it("tiff_read_plain/" + kind + "/qvimage", bytes, 0.9,
          [&f, path] { read_ours(f, path, pixels.data()); });
  time_it("tiff_rows_plain/" + kind + "/qvimage", bytes, 0.9,
          [&f, path] { read_rows_ours(f, path, pixels.data()); });
  time_it("tiff_rows_plain/" + kind + "/read", bytes, 0,
          [&f, path] { read_rows_plain(f, path, pixels.data()); });
  time_it("tiff_read_plain/" + kind + "/pread", bytes, 0, [&f, path] { read_plain(f, path, pixels.data()); });
}

// One pixel somewhere in a huge page, from opening to closing; tells how much memory the open file holds.
double read_one_pixel(const std::string &path) {
  const auto allocated = [] { return mallinfo2().uordblks + mallinfo2().hblkhd; };
  const size_t before = allocated();
  qvimage image;
  tiffhandle *h = nullptr;
  uint8_t pixel;
  must(qvimage_tiffread(&image, nullptr, &h, path.c_str(), nullptr, 0, 0, 0) == 0, "open");
  must(image.ioset(&image, 0, uint32_t(image.d.pixietype), 1) == 1, "ioset");
  must(image.ioread(&image, 0, &pixel, 1, 54321, 43210) == 1, "pixel");
  const size_t held = allocated() - before;
  must(qvimage_tiffreaddone(&image, nullptr, &h) == 0, "done");
  return double(held) / 1024;
}
void read_one_pixel_libtiff(const std::string &path) {
  static std::vector<uint8_t> row(65536);
  TIFF *tif = TIFFOpen(path.c_str(), "rm");
  must(TIFFReadScanline(tif, row.data(), 43210, 0) == 1, "libtiff scanline");
  TIFFClose(tif);
}

// A BigTIFF file of 65536 x 65536 bytes, none of which is on disk.
std::string sparse_file() {
  const std::string path = files() / "sparse.tif";
  constexpr uint64_t side = 65536, arrays = 4096, pixels = uint64_t{2} << 20;
  struct [[gnu::packed]] entry {
    uint16_t tag, type;
    uint64_t count, value;
  };
  const entry entries[] = {{256, 4, 1, side}, {257, 4, 1, side}, {258, 3, 1, 8},
                           {259, 3, 1, 1},    {262, 3, 1, 1},    {273, 16, side, arrays},
                           {277, 3, 1, 1},    {278, 4, 1, 1},    {279, 16, side, arrays + 8 * side}};
  const uint64_t header[] = {0x00000008002B4949, 16, std::size(entries)};
  std::vector<uint64_t> offsets(side), counts(side, side);
  for (uint64_t i = 0; i < side; i++) offsets[i] = pixels + i * side;
  const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0666);
  const auto put = [fd](const void *data, size_t bytes, uint64_t at) {
    must(pwrite(fd, data, bytes, off_t(at)) == ssize_t(bytes), "pwrite");
  };
  put(header, sizeof header, 0);
  put(entries, sizeof entries, sizeof header);
  put(offsets.data(), 8 * side, arrays);
  put(counts.data(), 8 * side, arrays + 8 * side);
  must(ftruncate(fd, off_t(pixels + side * side)) == 0, "ftruncate");
  close(fd);
  return path;
}

void register_directories() {
  static const std::string sparse = sparse_file();
  benchmark::RegisterBenchmark("tiff_pixel/sparse-4GiB/qvimage", [](benchmark::State &state) {
    double held = 0;
    for (auto _ : state) held = read_one_pixel(sparse);
    state.counters["target"] = 1.0;
    state.counters["KiB"] = held;
  })->Unit(benchmark::kMillisecond);
  time_it("tiff_pixel/sparse-4GiB/libtiff", 0, 0, [] { read_one_pixel_libtiff(sparse); });
  time_it("tiff_describe/1000-pages/qvimage", 0, 3.0, [] { describe_ours(many_pages(1000)); });
  time_it("tiff_describe/1000-pages/libtiff", 0, 0, [] { describe_libtiff(many_pages(1000)); });
  time_it("tiff_open/10000-pages/qvimage", 0, 1.0, [] { open_ours(many_pages(10000)); });
  time_it("tiff_open/10000-pages/libtiff", 0, 0, [] { walk_libtiff(many_pages(10000)); });
}

}  // namespace

int main(int argc, char **argv) {
  benchmark::Initialize(&argc, argv);
  TIFFSetWarningHandler(nullptr);
  for (const char *kind : {"grey16", "rgb8"}) register_pixels(kind);
  register_directories();
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
