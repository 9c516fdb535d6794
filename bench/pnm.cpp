// Anymap files in memory: this library, libnetpbm and plain calls over the same pixels, one thread.
#include <benchmark/benchmark.h>
extern "C" {
#include <netpbm/pam.h>
}

#include <bit>
#include <vector>

#include <qvimage/qvimage.h>

#include "bench/files.hpp"
#include "bench/frames.hpp"

namespace {

struct kind {
  const char *name;
  frames::frame frame;
  double write_target, read_target;  // against plain calls
};

int32_t type_of(const frames::frame &f) { return f.bits == 16 ? QVIM_UINT16 : QVIM_UINT8; }

void write_ours(const frames::frame &f, const std::string &path) {
  qvimage image;
  const int32_t dims[] = {int32_t(f.width), int32_t(f.height)};
  must(qvimage_memory(&image, const_cast<uint8_t *>(f.bytes.data()), dims, 0, type_of(f), 0,
                      int32_t(f.samples), f.samples == 3 ? QVIM_HINT_RGB : QVIM_HINT_GREY, 0) == 0,
       "memory");
  must(qvimage_pgmwrite(nullptr, &image, path.c_str(), "wb", 0, 0, nullptr, 0, 0) == 0, "write");
}

void read_ours(const frames::frame &f, const std::string &path, uint8_t *pixels) {
  qvimage3 image;
  pgmhandle *h = nullptr;
  must(qvimage3_pgmread(&image, nullptr, &h, path.c_str(), nullptr, 0, 0) == 0, "read");
  must(image.ioset(&image, QVIM_WRAP, uint32_t(image.d.pixietype), (1u << f.samples) - 1) == 1, "ioset");
  const uint32_t count = f.width * f.height;
  must(image.ioread(&image, 0, pixels, count, 0, 0, 0) == count, "ioread");
  must(qvimage3_pgmreaddone(&image, nullptr, &h) == 0, "done");
}

// libnetpbm has a word a sample: between its rows and the frame's bytes samples are copied.
uint32_t sample_at(const frames::frame &f, const uint8_t *row, uint32_t i) {
  return f.bits == 16 ? uint32_t(row[2 * i] | row[2 * i + 1] << 8) : row[i];
}

void write_netpbm(const frames::frame &f, const std::string &path) {
  FILE *const file = std::fopen(path.c_str(), "wb");
  if (f.samples == 3) {
    ppm_writeppminit(file, int(f.width), int(f.height), pixval((1u << f.bits) - 1), 0);
    std::vector<pixel> row(f.width);
    for (uint32_t y = 0; y < f.height; y++) {
      const uint8_t *const from = f.bytes.data() + y * f.row_bytes();
      for (uint32_t x = 0; x < f.width; x++)
        PPM_ASSIGN(row[x], sample_at(f, from, 3 * x), sample_at(f, from, 3 * x + 1),
                   sample_at(f, from, 3 * x + 2));
      ppm_writeppmrow(file, row.data(), int(f.width), pixval((1u << f.bits) - 1), 0);
    }
  } else {
    pgm_writepgminit(file, int(f.width), int(f.height), gray((1u << f.bits) - 1), 0);
    std::vector<gray> row(f.width);
    for (uint32_t y = 0; y < f.height; y++) {
      const uint8_t *const from = f.bytes.data() + y * f.row_bytes();
      for (uint32_t x = 0; x < f.width; x++) row[x] = sample_at(f, from, x);
      pgm_writepgmrow(file, row.data(), int(f.width), gray((1u << f.bits) - 1), 0);
    }
  }
  std::fclose(file);
}

void read_netpbm(const frames::frame &f, const std::string &path, uint8_t *pixels) {
  FILE *const file = std::fopen(path.c_str(), "rb");
  const auto put = [&](size_t i, uint32_t value) {
    if (f.bits == 16)
      pixels[2 * i] = uint8_t(value), pixels[2 * i + 1] = uint8_t(value >> 8);
    else
      pixels[i] = uint8_t(value);
  };
  int width, height, format;
  if (f.samples == 3) {
    pixval top;
    ppm_readppminit(file, &width, &height, &top, &format);
    std::vector<pixel> row(f.width);
    for (size_t y = 0, i = 0; y < f.height; y++) {
      ppm_readppmrow(file, row.data(), width, top, format);
      for (const pixel &p : row) put(i++, PPM_GETR(p)), put(i++, PPM_GETG(p)), put(i++, PPM_GETB(p));
    }
  } else {
    gray top;
    pgm_readpgminit(file, &width, &height, &top, &format);
    std::vector<gray> row(f.width);
    for (size_t y = 0, i = 0; y < f.height; y++) {
      pgm_readpgmrow(file, row.data(), width, top, format);
      for (const gray v : row) put(i++, v);
    }
  }
  std::fclose(file);
}

void register_pixels(const kind &k) {
  static std::vector<uint8_t> pixels(4000 * 3000 * 3);
  const frames::frame &f = k.frame;
  const double bytes = double(f.bytes.size());
  const std::string what = k.name, path = files() / (what + ".pnm"), out = files() / "out.pnm";
  const std::string plain = files() / (what + ".raw");
  write_netpbm(f, path);
  write_plain(f, plain);
  read_ours(f, path, pixels.data());
  must(std::memcmp(pixels.data(), f.bytes.data(), f.bytes.size()) == 0, "other pixels");
  time_it("pnm_write/" + what + "/qvimage", bytes, 1.4, [&f, out] { write_ours(f, out); });
  time_it("pnm_write/" + what + "/netpbm", bytes, 0, [&f, out] { write_netpbm(f, out); });
  time_it("pnm_read/" + what + "/qvimage", bytes, 1.8, [&f, path] { read_ours(f, path, pixels.data()); });
  time_it("pnm_read/" + what + "/netpbm", bytes, 0, [&f, path] { read_netpbm(f, path, pixels.data()); });
  time_it("pnm_write_plain/" + what + "/qvimage", bytes, k.write_target, [&f, out] { write_ours(f, out); });
  time_it("pnm_write_plain/" + what + "/pwrite", bytes, 0, [&f, out] { write_plain(f, out); });
  time_it("pnm_read_plain/" + what + "/qvimage", bytes, k.read_target,
          [&f, path] { read_ours(f, path, pixels.data()); });
  time_it("pnm_read_plain/" + what + "/pread", bytes, 0,
          [&f, plain] { read_plain(f, plain, pixels.data()); });
}

}  // namespace

int main(int argc, char **argv) {
  static_assert(std::endian::native == std::endian::little);
  benchmark::Initialize(&argc, argv);
  pm_init(argv[0], 0);
  // Where bytes change places there is more to do than to copy them.
  static const kind kinds[] = {{"rgb8", frames::rgb8(4000, 3000), 0.95, 0.85},
                               {"grey16", frames::grey16(4000, 3000), 0.75, 0.75}};
  for (const kind &k : kinds) register_pixels(k);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
