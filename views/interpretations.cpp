#include "views/interpretations.hpp"

#include <qvimage/npfclx.h>

#include "kernels/words.hpp"

namespace qvim {
namespace {

enum class colours : uint8_t { none, rgb, bgr, ycrcb, bsh, cmy, cmyk, grey };

colours colours_of(int32_t hint, int32_t pixies) {
  constexpr struct {
    int32_t hint, pixies;
    colours are;
  } known[] = {{QVIM_HINT_RGB, 3, colours::rgb},     {QVIM_HINT_RGBPAD, 4, colours::rgb},
               {QVIM_HINT_BGR, 3, colours::bgr},     {QVIM_HINT_BGRPAD, 4, colours::bgr},
               {QVIM_HINT_YCRCB, 3, colours::ycrcb}, {QVIM_HINT_BSH, 3, colours::bsh},
               {QVIM_HINT_CMY, 3, colours::cmy},     {QVIM_HINT_CMYK, 4, colours::cmyk},
               {QVIM_HINT_GREY, 1, colours::grey}};
  for (const auto &k : known)
    if (k.hint == hint && k.pixies == pixies) return k.are;
  return colours::none;
}
constexpr bool is_rgb(colours c) { return c == colours::rgb || c == colours::bgr; }

// A conversion's kernels by type, in the order of the types' codes.
struct by_type {
  npfclx_fn *kernel[5];

  npfclx_fn *of(int32_t pixietype) const {
    switch (pixietype) {
      case QVIM_UINT8: return kernel[0];
      case QVIM_UINT16: return kernel[1];
      case QVIM_UINT32: return kernel[2];
      case QVIM_FLOAT32: return kernel[3];
      case QVIM_FLOAT64: return kernel[4];
      default: return nullptr;
    }
  }
};

// From red, green, blue in either order to other colours, and back.
struct relation {
  by_type from_rgb, from_bgr, to_rgb, to_bgr;
};

#define QVIM_ALL_TYPES(name)                                                           \
  {                                                                                    \
    { npfclx1_##name, npfclx2_##name, npfclx4_##name, npfclxf_##name, npfclxd_##name } \
  }
#define QVIM_RELATION(other)                                                                  \
  {                                                                                           \
    QVIM_ALL_TYPES(RGBto##other), QVIM_ALL_TYPES(BGRto##other), QVIM_ALL_TYPES(other##toRGB), \
        QVIM_ALL_TYPES(other##toBGR)                                                          \
  }

constexpr by_type exchanged = QVIM_ALL_TYPES(RGBxtoBGRx_2n), copied = QVIM_ALL_TYPES(RGBxtoRGBx_2n);
constexpr relation bsh = QVIM_RELATION(BSH), cmy = QVIM_RELATION(CMY), cmyk = QVIM_RELATION(CMYK);
constexpr relation ycrcb = {{{npfclx1_RGBtoYCrCb, npfclx2_RGBtoYCrCb}},
                            {{npfclx1_BGRtoYCrCb, npfclx2_BGRtoYCrCb}},
                            {{npfclx1_YCrCbtoRGB, npfclx2_YCrCbtoRGB}},
                            {{npfclx1_YCrCbtoBGR, npfclx2_YCrCbtoBGR}}};
constexpr relation ycrcb_of_8_bits = {
    {{npfclx1_RGBtoYCrCb8}}, {{npfclx1_BGRtoYCrCb8}}, {{npfclx1_YCrCb8toRGB}}, {{npfclx1_YCrCb8toBGR}}};
constexpr by_type weighted = {{npfclx1_matrix3sl8r0, npfclx2_matrix3sl8r0, npfclx4_matrix3r0,
                               npfclxf_matrix3r0, npfclxd_matrix3r0}},
                  spread = {{npfclx1_matrix31sl8r0, npfclx2_matrix31sl8r0, npfclx4_matrix31r0,
                             npfclxf_matrix31r0, npfclxd_matrix31r0}};
constexpr relation grey = {weighted, weighted, spread, spread};

const relation *relation_of(colours other, const qvimagedata &d) {
  switch (other) {
    case colours::bsh: return &bsh;
    case colours::cmy: return &cmy;
    case colours::cmyk: return &cmyk;
    case colours::grey: return &grey;
    case colours::ycrcb: return d.pixietype == QVIM_UINT8 && d.i_bitsused == 8 ? &ycrcb_of_8_bits : &ycrcb;
    default: return nullptr;
  }
}

// Coefficients from red, green, blue in either order, and back; none where the bits used take their place.
struct coefficients {
  const void *from, *to;
};
coefficients coefficients_of(colours other, bool blue_first, int32_t pixietype) {
  const bool scaled = pixietype == QVIM_UINT8 || pixietype == QVIM_UINT16;  // integers times a power of two
  if (other == colours::ycrcb)
    return pixietype == QVIM_UINT8 ? coefficients{clx_rgb_to_ycrcb8, clx_ycrcb_to_rgb8}
                                   : coefficients{clx_rgb_to_ycrcb16, clx_ycrcb_to_rgb16};
  if (other == colours::grey && scaled)
    return {blue_first ? clx_bgr_to_grey : clx_rgb_to_grey, clx_grey_to_rgb};
  if (other == colours::grey) return {blue_first ? clx_bgr_to_grey_d : clx_rgb_to_grey_d, clx_grey_to_rgb_d};
  return {nullptr, nullptr};
}

}  // namespace

bool choose_colours(const qvimagedata &d, int32_t hint, colour_steps *steps) {
  const colours from = colours_of(d.pixelhint, d.pixies), to = colours_of(hint, components_of(hint));
  *steps = {};
  if (from == colours::none || to == colours::none || d.pixelhint == hint) return false;
  if (is_rgb(from) && is_rgb(to)) {
    steps->read.kernel = steps->write.kernel = (from == to ? copied : exchanged).of(d.pixietype);
    return steps->read.kernel;
  }
  // One side is red, green, blue: the steps of that image seen in the other's colours, or these exchanged.
  const bool forwards = is_rgb(from);
  const colours other = forwards ? to : from;
  const bool blue_first = (forwards ? from : to) == colours::bgr;
  const relation *r = is_rgb(forwards ? from : to) ? relation_of(other, d) : nullptr;
  if (!r) return false;
  const coefficients c = coefficients_of(other, blue_first, d.pixietype);
  const colour_step there{(blue_first ? r->from_bgr : r->from_rgb).of(d.pixietype), c.from},
      back{(blue_first ? r->to_bgr : r->to_rgb).of(d.pixietype), c.to};
  steps->read = forwards ? there : back;
  steps->write = forwards ? back : there;
  steps->take_bits = !c.from;
  return steps->read.kernel;
}

}  // namespace qvim
