// Uncompressed formats in memory: this library against plain calls over as many bytes, one thread. A table of
// formats, each with a function that writes a frame and one that reads it. libnetpbm is in pnm.cpp.
#include <benchmark/benchmark.h>

#include <bit>
#include <vector>

#include <qvimage/qvimage.h>

#include "bench/files.hpp"
#include "bench/frames.hpp"
#include "bench/raster_peers.hpp"

namespace {

using frames::frame;

int32_t type_of(const frame &f) { return f.bits == 16 ? QVIM_UINT16 : QVIM_UINT8; }
uint32_t pixels_of(const frame &f) { return f.width * f.height; }

// The frame as an image; colours as if blue stood first, as in bitmaps.
qvimage image_of(const frame &f) {
  qvimage image;
  const int32_t dims[] = {int32_t(f.width), int32_t(f.height)};
  must(qvimage_memory(&image, const_cast<uint8_t *>(f.bytes.data()), dims, 0, type_of(f), 0,
                      int32_t(f.samples), f.samples == 3 ? QVIM_HINT_BGR : QVIM_HINT_GREY, 0) == 0,
       "memory");
  return image;
}

void read_pixels(qvimage &image, const frame &f, uint8_t *pixels) {
  must(image.ioset(&image, QVIM_WRAP, uint32_t(type_of(f)), (1u << f.samples) - 1) == 1, "ioset");
  must(image.ioread(&image, 0, pixels, pixels_of(f), 0, 0) == pixels_of(f), "ioread");
}
void read_pixels(qvimage3 &image, const frame &f, uint8_t *pixels) {
  must(image.ioset(&image, QVIM_WRAP, uint32_t(type_of(f)), (1u << f.samples) - 1) == 1, "ioset");
  must(image.ioread(&image, 0, pixels, pixels_of(f), 0, 0, 0) == pixels_of(f), "ioread");
}

void write_bmp(const frame &f, const std::string &path, bool exchanged) {
  qvimage image = image_of(f);
  must(qvimage_bmpwrite(nullptr, &image, nullptr, path.c_str(), "wb", 0, nullptr, exchanged, 0, 0) == 0,
       "bmp");
}
void read_bmp(const frame &f, const std::string &path, uint8_t *pixels, bool exchanged) {
  qvimage image;
  bmphandle *h = nullptr;
  must(qvimage_bmpread(&image, nullptr, &h, path.c_str(), nullptr, 0, exchanged, 0, 0) == 0, "bmp");
  read_pixels(image, f, pixels);
  must(qvimage_bmpreaddone(&image, nullptr, &h) == 0, "done");
}

void write_fits(const frame &f, const std::string &path, bool) {
  qvimage image = image_of(f);
  must(qvimage_fitswrite(nullptr, &image, 0, path.c_str(), "wb", 0, nullptr) == 0, "fits");
}
void read_fits(const frame &f, const std::string &path, uint8_t *pixels, bool) {
  qvimage3 image;
  fitshandle *h = nullptr;
  must(qvimage3_fitsread(&image, nullptr, &h, path.c_str(), nullptr, 0, 0) == 0, "fits");
  read_pixels(image, f, pixels);
  must(qvimage3_fitsreaddone(&image, nullptr, &h) == 0, "done");
}

void write_avi(const frame &f, const std::string &path, bool exchanged) {
  constexpr uint32_t extended = 2;
  qvimage image = image_of(f);
  avihandle *h = nullptr;
  must(qvimage_aviwriteinit(nullptr, &h, path.c_str(), "wb", &image, 0, nullptr, nullptr, nullptr, 0, 0, 1,
                            extended) == 0,
       "avi");
  must(qvimage_aviwriteadd(nullptr, &h, path.c_str(), nullptr, &image, exchanged) == 0, "add");
  must(qvimage_aviwritedone(nullptr, &h, path.c_str()) == 0, "done");
}
void read_avi(const frame &f, const std::string &path, uint8_t *pixels, bool) {
  qvimage3 image;
  avihandle *h = nullptr;
  must(qvimage3_aviread(&image, nullptr, &h, path.c_str(), nullptr, 0, 0) == 0, "avi");
  read_pixels(image, f, pixels);
  must(qvimage3_avireaddone(&image, nullptr, &h) == 0, "done");
}

void write_raw(const frame &f, const std::string &path, bool) {
  qvimage image = image_of(f);
  must(qvimage_filewrite(nullptr, &image, path.c_str(), "wb", 0) == 0, "raw");
}
void read_raw(const frame &f, const std::string &path, uint8_t *pixels, bool) {
  qvimage image;
  bufio *h = nullptr;
  const uint32_t size[] = {f.width, f.height};
  must(qvimage_file(&image, &h, path.c_str(), "rb", size, uint32_t(type_of(f)), 0, f.samples,
                    f.samples == 3 ? QVIM_HINT_BGR : QVIM_HINT_GREY, 0) == 0,
       "raw");
  read_pixels(image, f, pixels);
  must(qvimage_filedone(&image, &h) == 0, "done");
}

// A series of one raw file: loaded into a frame buffer and read from there, written to it and saved.
void use_series(const frame &f, const std::string &path, uint8_t *pixels, bool writes) {
  static std::vector<uint8_t> buffer(f.bytes.size());
  qvimage held;
  const int32_t dims[] = {int32_t(f.width), int32_t(f.height)};
  must(qvimage_memory(&held, buffer.data(), dims, 0, type_of(f), 0, int32_t(f.samples), QVIM_HINT_GREY, 0) ==
           0,
       "memory");
  qvimage3 image;
  seqhandle *h = nullptr;
  must(qvimage3_bufbinseq(&h, &image, &held, nullptr, path.c_str(), 0, 1, 1, writes, 0) == 0, "series");
  if (writes) {
    must(image.ioset(&image, QVIM_WRAP, uint32_t(type_of(f)), (1u << f.samples) - 1) == 1, "ioset");
    must(image.iorite(&image, 0, f.bytes.data(), pixels_of(f), 0, 0, 0) == pixels_of(f), "iorite");
    must(image.aeiou(&image, 'f', 0, 0, nullptr) == 0, "save");
  } else {
    read_pixels(image, f, pixels);
  }
  must(qvimage3_bufbinseqdone(&h, &image) == 0, "done");
}
void write_series(const frame &f, const std::string &path, bool) {
  // A frame is loaded before it is changed.
  if (!std::filesystem::exists(path)) write_raw(f, path, false);
  use_series(f, path, nullptr, true);
}
void read_series(const frame &f, const std::string &path, uint8_t *pixels, bool) {
  use_series(f, path, pixels, false);
}

struct format {
  const char *name;
  const frame &content;
  void (*write)(const frame &, const std::string &path, bool exchanged);
  void (*read)(const frame &, const std::string &path, uint8_t *pixels, bool exchanged);
  bool exchanged;                    // components change places
  double write_target, read_target;  // against plain calls; 0: for the record
};

void register_format(const format &k) {
  static std::vector<uint8_t> pixels(4000 * 3000 * 3);
  const frame &f = k.content;
  const double bytes = double(f.bytes.size());
  const std::string what = k.name, path = files() / (what + ".in"), out = files() / (what + ".out");
  const std::string plain = files() / (what + ".plain");
  k.write(f, path, k.exchanged);
  write_plain(f, plain);
  k.read(f, path, pixels.data(), k.exchanged);
  must(std::memcmp(pixels.data(), f.bytes.data(), f.bytes.size()) == 0, "other pixels");
  time_it("write/" + what + "/qvimage", bytes, k.write_target,
          [k, out] { k.write(k.content, out, k.exchanged); });
  time_it("write/" + what + "/pwrite", bytes, 0, [&f, out] { write_plain(f, out); });
  time_it("read/" + what + "/qvimage", bytes, k.read_target,
          [k, path] { k.read(k.content, path, pixels.data(), k.exchanged); });
  time_it("read/" + what + "/pread", bytes, 0, [&f, plain] { read_plain(f, plain, pixels.data()); });
}

// Beside other libraries, which read what they wrote.
void register_peer(const format &k, const raster_peer &peer, double write_target, double read_target) {
  static std::vector<uint8_t> pixels(4000 * 3000 * 3);
  const frame &f = k.content;
  const double bytes = double(f.bytes.size());
  const std::string what = k.name, path = files() / (what + ".in"),
                    in = files() / (what + ".peer" + peer.ending),
                    out = files() / (what + ".new" + peer.ending);
  peer.write(f, in);
  peer.read(f, in, pixels.data());
  must(std::memcmp(pixels.data(), f.bytes.data(), f.row_bytes()) == 0, "other pixels");
  time_it("libraries write/" + what + "/qvimage", bytes, write_target,
          [k, out] { k.write(k.content, out, k.exchanged); });
  time_it("libraries write/" + what + "/" + peer.who, bytes, 0, [peer, &f, out] { peer.write(f, out); });
  time_it("libraries read/" + what + "/qvimage", bytes, read_target,
          [k, path] { k.read(k.content, path, pixels.data(), k.exchanged); });
  time_it("libraries read/" + what + "/" + peer.who, bytes, 0,
          [peer, &f, in] { peer.read(f, in, pixels.data()); });
}

// Files of many frames, or of a header of many cards: what opening takes, and a pixel of any frame.
constexpr int32_t many = 10000;

template <class Handle, auto Read, auto Done>
struct film {
  explicit film(const std::string &path) {
    must(Read(&image, nullptr, &h, path.c_str(), nullptr, 0, 0) == 0, "film");
  }
  ~film() { must(Done(&image, nullptr, &h) == 0, "done"); }
  qvimage3 image;
  Handle *h = nullptr;
};

template <class Film>
void register_film(const std::string &what, const std::string &path, int32_t frames) {
  // A file is opened by two dozen calls and blocks, however many frames it has; then it is 1 us for each.
  constexpr double opened = 100e3, of_each = 1e3, of_pixel = 20e3;
  const std::string opens = "open/" + what + "/qvimage", pixel = "pixel/" + what + "/qvimage";
  benchmark::RegisterBenchmark(opens.c_str(), [=](benchmark::State &state) {
    for (auto _ : state) Film f(path);
    state.counters["most"] = opened + of_each * many;
  });
  if (frames == 1) return;
  benchmark::RegisterBenchmark(pixel.c_str(), [=](benchmark::State &state) {
    Film f(path);
    must(f.image.ioset(&f.image, QVIM_WRAP, QVIM_UINT8, 1) == 1, "ioset");
    uint8_t value;
    for (int32_t z = 0; auto _ : state) {
      must(f.image.ioread(&f.image, 0, &value, 1, 5, 7, z) == 1, "ioread");
      z = (z + 7919) % frames;
    }
    state.counters["most"] = of_pixel;
  });
}

void register_films() {
  using avi_film = film<avihandle, qvimage3_aviread, qvimage3_avireaddone>;
  using fits_film = film<fitshandle, qvimage3_fitsread, qvimage3_fitsreaddone>;
  using pnm_film = film<pgmhandle, qvimage3_pgmread, qvimage3_pgmreaddone>;
  constexpr int32_t side = 64, dims[] = {side, side, many};
  std::vector<uint8_t> pixels(size_t(side) * side * many);
  qvimage3 image;
  must(qvimage3_memory(&image, pixels.data(), dims, 0, QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 0) == 0, "memory");
  const std::string path = files() / "film.", classic = path + "1.avi", extended = path + "2.avi",
                    pnm = path + "pgm", fits = path + "fits", cards = files() / "cards.fits";
  for (const uint32_t mode : {1u, 2u})
    must(qvimage3_aviwrite(nullptr, &image, nullptr, (mode == 1 ? classic : extended).c_str(), nullptr, 0,
                           nullptr, 0, 0, mode) == 0,
         "avi");
  must(qvimage_pgmwriteseq(nullptr, &image, pnm.c_str(), nullptr, 0, 0, nullptr, 0, 0) == 0, "pnm");
  must(qvimage3_fitswriteseq(nullptr, &image, 0, fits.c_str(), nullptr, 0, nullptr) == 0, "fits");

  std::string header;
  const auto card = [&](std::string text) { header += text.append(80 - text.size(), ' '); };
  for (const char *key :
       {"SIMPLE  =                    T", "BITPIX  =                    8", "NAXIS   =                    2",
        "NAXIS1  =                   64", "NAXIS2  =                   64"})
    card(key);
  for (int32_t i = 0; i < many; i++) card("COMMENT something about the instrument, " + std::to_string(i));
  card("END");
  header.append((2880 - header.size() % 2880) % 2880, ' ').append(2 * 2880, '\0');
  std::FILE *file = std::fopen(cards.c_str(), "wb");
  must(file && std::fwrite(header.data(), 1, header.size(), file) == header.size(), "cards");
  std::fclose(file);

  register_film<avi_film>("avi classic 10000 frames", classic, many);
  register_film<avi_film>("avi extended 10000 frames", extended, many);
  register_film<pnm_film>("pgm 10000 frames", pnm, many);
  register_film<fits_film>("fits 10000 frames", fits, many);
  register_film<fits_film>("fits 10000 cards", cards, 1);
}

}  // namespace

int main(int argc, char **argv) {
  static_assert(std::endian::native == std::endian::little);
  benchmark::Initialize(&argc, argv);
  static const frame colours = frames::rgb8(4000, 3000), deep = frames::grey16(4000, 3000);
  // Where bytes change places there is more to do than to copy them.
  static const format formats[] = {{"raw16", deep, write_raw, read_raw, false, 0.95, 0.85},
                                   {"raw_colours", colours, write_raw, read_raw, false, 0.95, 0.85},
                                   {"bmp", colours, write_bmp, read_bmp, false, 0.95, 0.85},
                                   {"bmp_exchanged", colours, write_bmp, read_bmp, true, 0.75, 0.75},
                                   {"avi", colours, write_avi, read_avi, false, 0.95, 0.85},
                                   {"fits16", deep, write_fits, read_fits, false, 0.75, 0.75},
                                   {"series16", deep, write_series, read_series, false, 0, 0}};
  for (const format &k : formats) register_format(k);
  [[maybe_unused]] const auto against = [&](const raster_peer &peer, double write_target,
                                            double read_target) {
    for (const format &k : formats)
      if (std::string(peer.what) == k.name) register_peer(k, peer, write_target, read_target);
  };
#ifdef QVIM_HAVE_OPENCV
  against(opencv_bmp, 1.4, 1.8);
#endif
#ifdef QVIM_HAVE_CFITSIO
  against(cfitsio_fits, 1.4, 1.8);
#endif
#ifdef QVIM_HAVE_LIBAVFORMAT
  against(libavformat_avi, 1.15, 1.1);
#endif
  register_films();
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
