// What a page says of its image and of its making: the tags but for strips and colours.
#include <cstdio>
#include <cstring>
#include <ctime>

#include <qvimage/data.h>
#include <qvimage/error.h>

#include "core/dimension.hpp"
#include "core/reason.hpp"
#include "core/result.hpp"
#include "files/rows/image_rows.hpp"
#include "files/tiff/writer.hpp"
#include "kernels/words.hpp"

namespace qvim::tiff {

namespace {

// With its terminator, and one more where that makes the count even; room for it in the text is not needed.
int32_t set_text(page &p, tag t, const char *text) {
  if (!text || !*text) return 0;
  const uint64_t size = std::strlen(text) + 1;
  array<char> &copy = p.text[text_index(t)];
  if (!copy.allocate(size)) return QVERR_MEMORY;
  std::memcpy(copy.data(), text, size);
  p.hold(t, size + size % 2);
  return 0;
}

void set_resolution(page &p, tag t, const uint32_t value[2]) {
  if (value[0] == 0) return;
  p.hold(t, 1);
  p.resolution[resolution_index(t)] = {value[0], value[1]};
}

int32_t set_time(page &p, const char *given) {
  if (given && *given) return set_text(p, DateTime, given);
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char text[64];
  std::snprintf(text, sizeof text, "%.4d:%.2d:%.2d %.2d:%.2d:%.2d", local.tm_year + 1900, local.tm_mon + 1,
                local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
  return set_text(p, DateTime, text);
}

int32_t refuse(words why) { return because(QVERR_USAGE, why); }

// Depth and format of the samples.
int32_t set_samples(page &p, const qvimagedata &d, uint32_t samples) {
  uint32_t bits, sample_format = 1;
  switch (d.pixietype) {
    case QVIM_UINT8:
    case QVIM_UINT16:
    case QVIM_UINT32: bits = uint32_t(d.i_bitsused); break;
    case QVIM_FLOAT32: bits = 32, sample_format = 3; break;
    case QVIM_FLOAT64: bits = 64, sample_format = 3; break;
    default: return refuse({"pixies of type ", d.pixietype, " are not stored in TIFF files"});
  }
  p.set(SamplesPerPixel, samples);
  p.hold(BitsPerSample, samples);
  p.bits().fill(uint16_t(bits));
  if (sample_format == 1) return 0;
  p.hold(SampleFormat, samples);
  p.sample_format().fill(uint16_t(sample_format));
  return 0;
}

int32_t set_compression(page &p, uint32_t asked, const qvimagedata &d) {
  uint32_t code = asked ? asked : uint32_t(uncompressed);
  const bool differenced = code == lzw_differenced || code == arithmetic_differenced;
  if (code == lzw_differenced) code = lzw;
  if (code == arithmetic_differenced) code = arithmetic;
  if (code != uncompressed && code != lzw && code != packbits && code != arithmetic)
    return refuse({"compression ", asked, " is not written"});
  const bool real = is_real(d.pixietype);
  if (real && code != uncompressed)
    return refuse({"floating-point pixels are stored without compression (1) only, not by ", asked});
  if (code == arithmetic && p.bits()[0] > 12)
    return refuse({"arithmetic coding takes samples of at most 12 bits, not ", p.bits()[0]});
  p.set(Compression, code);
  if (code == lzw || code == arithmetic) {
    // Differences are defined for whole bytes; the predictive coder has samples of any depth in whole bytes.
    const uint32_t bits = p.bits()[0];
    const bool possible = code == arithmetic || bits == 8 || bits == 16;
    p.set(Predictor, differenced && possible ? 2 : 1);
  }
  return 0;
}

struct colour {
  uint32_t photometric, samples;
  uint32_t channels;  // samples that the photometric interpretation speaks of; others are extra
};

colour colour_of(const qvimagedata &d, bool has_palette) {
  const bool is_rgb = d.pixelhint == QVIM_HINT_BGR || d.pixelhint == QVIM_HINT_BGRPAD ||
                      d.pixelhint == QVIM_HINT_RGBPAD || d.pixelhint == QVIM_HINT_RGB;
  const uint32_t pixies = uint32_t(d.pixies);
  if (pixies == 1) return {has_palette ? mapped : black_is_zero, 1, 1};
  if (pixies > 2 && is_rgb) return {rgb, 3, 3};
  if (pixies == 3 && (d.pixelhint == QVIM_HINT_YCRCB || d.pixelhint == QVIM_HINT_YCRCBPAD))
    return {ycbcr, 3, 3};
  if (pixies == 4 && d.pixelhint == QVIM_HINT_CMYK) return {separated, 4, 4};
  return {black_is_zero, pixies, 1};
}

}  // namespace

int32_t set_form(page &p, const qvimage &image, bool has_palette, const qvimagefileinfo *options) {
  if (const int32_t code = judge(image); code < 0) return code;
  const qvimagedata d = image.d;
  if (d.pixies < 1 || d.pixies > 4)
    return refuse({"pixels of ", d.pixies, " pixies are not stored: 1 to 4 are"});
  const colour c = colour_of(d, has_palette);
  p.set(NewSubfileType, 0);
  p.set(ImageWidth, uint32_t(width_of(image.wind)));
  p.set(ImageLength, uint32_t(height_of(image.wind)));
  if (const int32_t code = set_samples(p, d, c.samples); code < 0) return code;
  if (const int32_t code = set_compression(p, options ? options->compression : 0, d); code < 0) return code;
  p.set(Photometric, c.photometric);
  // Chroma of every pixel: without the tag readers must take it for one sample in four.
  if (c.photometric == ycbcr) p.hold(YCbCrSubSampling, 2);
  if (c.samples > c.channels) p.hold(ExtraSamples, c.samples - c.channels);
  p.set(PlanarConfiguration, 1);
  return 0;
}

int32_t set_texts(page &p, const qvimagefileinfo *options) {
  int32_t code = set_time(p, options ? options->datetime : nullptr);
  if (!options) return code;
  code = worst(code, set_text(p, ImageDescription, options->description));
  code = worst(code, set_text(p, Software, options->software));
  return worst(code, set_text(p, Copyright, options->copyright));
}

int32_t set_resolutions(page &p, const qvimagefileinfo &options) {
  if (options.resunit > 0xFFFF)
    return refuse({"resolution unit ", options.resunit, " has more than 16 bits"});
  set_resolution(p, XResolution, options.xres);
  set_resolution(p, YResolution, options.yres);
  if (p.present[XResolution] || p.present[YResolution])
    p.set(ResolutionUnit, options.resunit ? options.resunit : tags[ResolutionUnit].initial);
  return 0;
}

}  // namespace qvim::tiff
