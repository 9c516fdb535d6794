// JPEG files in memory: this library and libjpeg-turbo, in its fastest setting, over the same pixels.
// Quality 90, no subsampling, one thread unless said.
#include <benchmark/benchmark.h>

// jpeglib.h needs what comes before it.
#include <jpeglib.h>

#include <cstddef>
#include <cstdio>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <qvimage/qvimage.h>

#include "bench/files.hpp"
#include "kernels/processor.hpp"

namespace {

const frames::frame &picture(const std::string &name) {
  static const std::map<std::string, frames::frame> pictures = {
      {"grey-photograph", frames::photograph(4000, 3000, 1, 8, 8, 0.008)},
      {"rgb-photograph", frames::photograph(4000, 3000, 3, 8, 8, 0.008)},
      {"grey-synthetic", frames::photograph(4000, 3000, 1, 8, 8, 0)},
      {"rgb-synthetic", frames::photograph(4000, 3000, 3, 8, 8, 0)}};
  return pictures.at(name);
}

void open_memory(qvimage &im, const frames::frame &f) {
  const int32_t size[2] = {int32_t(f.width), int32_t(f.height)};
  must(qvimage_memory(&im, const_cast<uint8_t *>(f.bytes.data()), size, 0, 1, 8, int32_t(f.samples),
                      f.samples == 1 ? QVIM_HINT_GREY : QVIM_HINT_RGB, 0) == 0,
       "memory image");
}

void write_ours(const frames::frame &f, const std::string &path, uint16_t mode, uint32_t bands) {
  qvimage im;
  open_memory(im, f);
  qvimagefileinfo info{};
  info.jpg_quality = 900;
  info.jpg_encodemode = mode;
  std::vector<uint32_t> first_rows = {0};
  for (uint32_t i = 1; i < bands; i++) first_rows.push_back(f.height * i / bands / 8 * 8);
  first_rows.push_back(f.height);
  jpegcontext *c = nullptr;
  must(qvimage_jpegwrite0(&c, bands, nullptr, &im, first_rows.data() + 1, path.c_str(), nullptr, 0, nullptr,
                          &info) == 0,
       "jpegwrite0");
  std::vector<std::thread> threads;
  const auto encode = [&](uint32_t band) {
    qvimage record;
    open_memory(record, f);
    const int32_t rows[2] = {int32_t(first_rows[band]), int32_t(first_rows[band + 1])};
    must(qvimage_jpegwrite1(&c, band, nullptr, &record, rows) == 0, "jpegwrite1");
  };
  for (uint32_t band = 1; band < bands; band++) threads.emplace_back(encode, band);
  encode(0);
  for (std::thread &t : threads) t.join();
  must(qvimage_jpegwrite2(&c, nullptr, &im, path.c_str(), nullptr, 0) == 0, "jpegwrite2");
}

void read_ours(const frames::frame &f, const std::string &path, std::vector<uint8_t> &pixels) {
  qvimage im;
  jpegcontext *c = nullptr;
  must(qvimage_jpegread(&im, &c, path.c_str(), nullptr, 0, nullptr) == 0, "jpegread");
  must(im.ioset(&im, QVIM_WRAP, QVIM_UINT8, (1u << f.samples) - 1) == 1, "ioset");
  must(im.ioread(&im, 0, pixels.data(), f.width * f.height, 0, 0) == f.width * f.height, "ioread");
  qvimage_jpegreaddone(&im, &c);
}

void write_libjpeg(const frames::frame &f, std::vector<uint8_t> &file) {
  jpeg_compress_struct c;
  jpeg_error_mgr errors;
  c.err = jpeg_std_error(&errors);
  jpeg_create_compress(&c);
  unsigned char *to = file.data();
  unsigned long size = file.size();
  jpeg_mem_dest(&c, &to, &size);
  c.image_width = f.width;
  c.image_height = f.height;
  c.input_components = int(f.samples);
  c.in_color_space = f.samples == 1 ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(&c);
  jpeg_set_quality(&c, 90, TRUE);
  c.dct_method = JDCT_FASTEST;
  for (int i = 0; i < c.num_components; i++) c.comp_info[i].h_samp_factor = c.comp_info[i].v_samp_factor = 1;
  jpeg_start_compress(&c, TRUE);
  while (c.next_scanline < f.height) {
    JSAMPROW rows[16];
    unsigned n = 0;
    for (; n < 16 && c.next_scanline + n < f.height; n++)
      rows[n] = const_cast<uint8_t *>(f.bytes.data()) + (c.next_scanline + n) * f.row_bytes();
    jpeg_write_scanlines(&c, rows, n);
  }
  jpeg_finish_compress(&c);
  must(to == file.data(), "the file is larger than its pixels");
  file.resize(size);
  jpeg_destroy_compress(&c);
}

void read_libjpeg(const std::vector<uint8_t> &file, const frames::frame &f, std::vector<uint8_t> &pixels) {
  jpeg_decompress_struct d;
  jpeg_error_mgr errors;
  d.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&d);
  jpeg_mem_src(&d, file.data(), file.size());
  jpeg_read_header(&d, TRUE);
  d.dct_method = JDCT_FASTEST;
  jpeg_start_decompress(&d);
  while (d.output_scanline < f.height) {
    JSAMPROW rows[16];
    for (unsigned n = 0; n < 16; n++)
      rows[n] = pixels.data() + std::min(d.output_scanline + n, f.height - 1) * f.row_bytes();
    jpeg_read_scanlines(&d, rows, std::min(16u, f.height - d.output_scanline));
  }
  jpeg_finish_decompress(&d);
  jpeg_destroy_decompress(&d);
}

void register_picture(const std::string &name) {
  const frames::frame &f = picture(name);
  const double bytes = double(f.bytes.size());
  const std::string path = files() / (name + ".jpg");
  write_ours(f, path, 0, 1);
  time_it("jpeg_write/" + name + "/qvimage", bytes, 0.9, [&f, path] { write_ours(f, path + "w", 0, 1); });
  time_it("jpeg_write/" + name + "/libjpeg-turbo", bytes, 0, [&f] {
    static std::vector<uint8_t> file;
    file.resize(f.bytes.size());
    write_libjpeg(f, file);
  });
  time_it("jpeg_write_integers/" + name + "/qvimage", bytes, 1,
          [&f, path] { write_ours(f, path + "w", 105, 1); });
  time_it("jpeg_write_integers/" + name + "/floats", bytes, 0,
          [&f, path] { write_ours(f, path + "w", 0, 1); });
  time_it("jpeg_read/" + name + "/qvimage", bytes, 0.9, [&f, path] {
    static std::vector<uint8_t> pixels(4000 * 3000 * 3);
    read_ours(f, path, pixels);
  });
  std::vector<uint8_t> file(std::filesystem::file_size(path));
  FILE *in = fopen(path.c_str(), "rb");
  must(in && fread(file.data(), 1, file.size(), in) == file.size(), "reading back");
  fclose(in);
  time_it("jpeg_read/" + name + "/libjpeg-turbo", bytes, 0, [&f, file] {
    static std::vector<uint8_t> pixels(4000 * 3000 * 3);
    read_libjpeg(file, f, pixels);
  });
}

}  // namespace

int main(int argc, char **argv) {
  benchmark::Initialize(&argc, argv);
  benchmark::AddCustomContext("qvimage_level", qvim::level_names[qvim::level_in_use()]);
  for (const char *name : {"grey-photograph", "rgb-photograph", "grey-synthetic", "rgb-synthetic"})
    register_picture(name);
  const frames::frame &f = picture("rgb-photograph");
  const std::string path = files() / "bands.jpg";
  time_it("jpeg_write_bands/two/qvimage", double(f.bytes.size()), 1.7, [&f, path] {
    write_ours(f, path, 0, 2);
  })->UseRealTime();
  time_it("jpeg_write_bands/two/one", f.bytes.size(), 0, [&f, path] {
    write_ours(f, path, 0, 1);
  })->UseRealTime();
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
