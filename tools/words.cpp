#include "words.hpp"

#include <array>
#include <cmath>
#include <string_view>

#include <qvimage/data.h>

#include "text.hpp"

namespace tool {

namespace {

struct component_words {
  int32_t hint;
  std::array<const char *, 4> names;
};

constexpr component_words components[] = {
    {QVIM_HINT_GREY, {"grey"}},
    {QVIM_HINT_COMPLEX, {"real", "imaginary"}},
    {QVIM_HINT_INDEX, {"index"}},
    {QVIM_HINT_BGR, {"blue", "green", "red"}},
    {QVIM_HINT_BGRPAD, {"blue", "green", "red", "pad"}},
    {QVIM_HINT_RGB, {"red", "green", "blue"}},
    {QVIM_HINT_RGBPAD, {"red", "green", "blue", "pad"}},
    {QVIM_HINT_YCRCB, {"Y", "Cr", "Cb"}},
    {QVIM_HINT_YCRCBPAD, {"Y", "Cr", "Cb", "pad"}},
    {QVIM_HINT_CMY, {"cyan", "magenta", "yellow"}},
    {QVIM_HINT_CMYK, {"cyan", "magenta", "yellow", "black"}},
};

bool is_float(const qvimagedata &data) { return data.pixietype >= QVIM_FLOAT32; }

}  // namespace

int32_t bits_of(const qvimagedata &data) {
  return is_float(data) ? 8 * qvimdatasize(static_cast<uint32_t>(data.pixietype)) : data.i_bitsused;
}

std::string describe_type(const qvimagedata &data) {
  return formatted("%d-bit%s", bits_of(data), is_float(data) ? " float" : "");
}

std::string type_name(const qvimagedata &data) {
  return formatted("%s%d", is_float(data) ? "float" : "uint",
                   8 * qvimdatasize(static_cast<uint32_t>(data.pixietype)));
}

bool blue_first(int32_t hint) { return hint == QVIM_HINT_BGR || hint == QVIM_HINT_BGRPAD; }

bool is_datetime(const std::string &text) {
  constexpr std::string_view form = "0000:00:00 00:00:00";
  if (text.size() != form.size()) return false;
  for (size_t i = 0; i < form.size(); i++) {
    const bool digit = text[i] >= '0' && text[i] <= '9';
    if (form[i] == '0' ? !digit : text[i] != form[i]) return false;
  }
  return true;
}

bool is_rgb(int32_t hint) {
  return hint == QVIM_HINT_RGB || hint == QVIM_HINT_BGR || hint == QVIM_HINT_RGBPAD ||
         hint == QVIM_HINT_BGRPAD;
}

std::string describe_colour(const qvimagedata &data) {
  const char *name = qvimhinttostring(data.pixelhint);
  return name != nullptr ? name : formatted("hint %d", data.pixelhint);
}

std::string component_name(const qvimagedata &data, int32_t component) {
  const int32_t hint = data.pixelhint;
  for (const component_words &words : components) {
    if (words.hint == hint && component < 4 && words.names[static_cast<size_t>(component)] != nullptr)
      return words.names[static_cast<size_t>(component)];
  }
  return formatted("%d", component + 1);
}

void set_ratio(uint32_t ratio[2], double value) {
  const auto thousandths = static_cast<uint32_t>(std::llround(value * 1000));
  const bool whole = thousandths % 1000 == 0;
  ratio[0] = whole ? thousandths / 1000 : thousandths;
  ratio[1] = whole ? 1 : 1000;
}

double resolution(const uint32_t ratio[2]) {
  return ratio[1] == 0 ? 0.0 : static_cast<double>(ratio[0]) / ratio[1];
}

std::string resolution_unit(const qvimagefileinfo &info) {
  return info.resunit == 2 ? "inch" : info.resunit == 3 ? "centimetre" : "none";
}

std::string describe_resolution(const qvimagefileinfo &info) {
  const double x = resolution(info.xres), y = resolution(info.yres);
  if (x == 0 && y == 0) return "";
  const std::string unit = info.resunit == 2 || info.resunit == 3 ? " per " + resolution_unit(info) : "";
  return formatted("%.6g x %.6g", x, y) + unit;
}

}  // namespace tool
