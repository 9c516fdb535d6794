// What a colour converter makes of a pixel, by the models of the kernels that are named for the two
// interpretations.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include <qvimage/qvimage.h>

#include "tests/kernels/colour/npfclx_model.hpp"
#include "tests/views/values.hpp"

namespace model {

inline bool padded(int hint) { return hint == QVIM_HINT_RGBPAD || hint == QVIM_HINT_BGRPAD; }
inline bool blue_first(int hint) { return hint == QVIM_HINT_BGR || hint == QVIM_HINT_BGRPAD; }
inline bool is_rgb(int hint) { return hint == QVIM_HINT_RGB || hint == QVIM_HINT_RGBPAD || blue_first(hint); }

// The member that converts, "" where none does.
inline std::string member(const qvimagedata &d, int from, int to) {
  if (from == to || (!is_rgb(from) && !is_rgb(to))) return "";
  const bool narrow = d.pixietype == QVIM_UINT8 || d.pixietype == QVIM_UINT16;
  const std::string width = d.pixietype == QVIM_FLOAT32   ? "npfclxf_"
                            : d.pixietype == QVIM_FLOAT64 ? "npfclxd_"
                                                          : "npfclx" + std::to_string(d.pixietype) + "_";
  if (is_rgb(from) && is_rgb(to))
    return width + (blue_first(from) == blue_first(to) ? "RGBxtoRGBx_2n" : "RGBxtoBGRx_2n");
  if (to == QVIM_HINT_GREY) return width + (narrow ? "matrix3sl8r0" : "matrix3r0");
  if (from == QVIM_HINT_GREY) return width + (narrow ? "matrix31sl8r0" : "matrix31r0");
  const bool chroma = from == QVIM_HINT_YCRCB || to == QVIM_HINT_YCRCB;
  if (chroma && !narrow) return "";
  const std::string eight = d.pixietype == QVIM_UINT8 && d.i_bitsused == 8 ? "8" : "";
  const auto name = [&](int hint) -> std::string {
    switch (hint) {
      case QVIM_HINT_BSH: return "BSH";
      case QVIM_HINT_CMY: return "CMY";
      case QVIM_HINT_CMYK: return "CMYK";
      case QVIM_HINT_YCRCB: return "YCrCb" + eight;
      default: return blue_first(hint) ? "BGR" : "RGB";
    }
  };
  return width + name(from) + "to" + name(to);
}

// One pixel converted, as numbers. Components without a value keep what `out` has.
inline void convert_pixel(const qvimagedata &d, int from, int to, const std::vector<uint64_t> &in,
                          std::vector<uint64_t> &out) {
  const std::string name = member(d, from, to);
  qvim::test::colour_arguments a;
  const bool integer = is_integer(uint32_t(d.pixietype));
  if (integer) a.maxvalue = uint32_t(ones(d.i_bitsused)), a.bits = uint32_t(d.i_bitsused);
  const bool bytes = d.pixietype == QVIM_UINT8, blue = blue_first(from);
  const auto coefficients = [&](const auto &whole, const auto &real) {
    std::memcpy(a.integer_matrix, whole, sizeof whole);
    std::memcpy(a.real_matrix, real, sizeof real);
  };
  if (to == QVIM_HINT_GREY && blue)
    coefficients(clx_bgr_to_grey, clx_bgr_to_grey_d);
  else if (to == QVIM_HINT_GREY)
    coefficients(clx_rgb_to_grey, clx_rgb_to_grey_d);
  else if (from == QVIM_HINT_GREY)
    coefficients(clx_grey_to_rgb, clx_grey_to_rgb_d);
  else if (to == QVIM_HINT_YCRCB)
    std::memcpy(a.integer_matrix, bytes ? clx_rgb_to_ycrcb8 : clx_rgb_to_ycrcb16, sizeof a.integer_matrix);
  else
    std::memcpy(a.integer_matrix, bytes ? clx_ycrcb_to_rgb8 : clx_ycrcb_to_rgb16, sizeof a.integer_matrix);
  const int size = qvimdatasize(uint32_t(d.pixietype));
  uint8_t source[4 * 8] = {}, result[4 * 8] = {};
  for (size_t i = 0; i < in.size(); i++) store(source + i * size_t(size), size, false, in[i]);
  for (size_t i = 0; i < out.size(); i++) store(result + i * size_t(size), size, false, out[i]);
  qvim::test::model_pixel(qvim::test::conversion(name), source, result, a);
  for (size_t i = 0; i < out.size(); i++) out[i] = load(result + i * size_t(size), size, false);
}

}  // namespace model
