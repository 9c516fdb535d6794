#include "settings.hpp"

#include <cmath>
#include <utility>

#include "failure.hpp"
#include "text.hpp"
#include "words.hpp"

namespace tool {

namespace {

// As a ratio: thousandths keep what people write.
void set_ratio(uint32_t ratio[2], double value) {
  const bool whole = value == std::floor(value);
  ratio[0] = static_cast<uint32_t>(whole ? value : std::lround(value * 1000));
  ratio[1] = whole ? 1 : 1000;
}

resolution_setting parse_resolution(const std::string &text) {
  const bool with_unit = text.ends_with("in") || text.ends_with("cm");
  const auto values = numbers(text.substr(0, text.size() - (with_unit ? 2 : 0)), ',', 0.001, 4e6);
  if (!values || values->size() > 2)
    throw usage_error("--resolution takes X or X,Y with in or cm behind, not " + printable(text));
  resolution_setting setting = {{}, {}, text.ends_with("cm") ? 3U : 2U};
  set_ratio(setting.x, values->front());
  set_ratio(setting.y, values->back());
  return setting;
}

// What the command line changes in a page's description.

void set_text(char *&place, std::optional<std::string> &value) {
  if (value) place = value->empty() ? nullptr : value->data();
}

}  // namespace

settings::settings(const arguments &arguments)
    : description_(arguments.value(description_option.name)),
      software_(arguments.value(software_option.name)),
      copyright_(arguments.value(copyright_option.name)),
      bigtiff_(arguments.has(bigtiff_option.name)) {
  if (const auto name = arguments.value(compression_option.name)) {
    compression_ = compression_code(*name);
    if (!compression_)
      throw usage_error("--compression takes " + compression_names() + ", not " + printable(*name));
  }
  if (const auto text = arguments.value(resolution_option.name)) resolution_ = parse_resolution(*text);
}

void settings::exchange_resolution(qvimagefileinfo &options) const {
  if (!resolution_) std::swap(options.xres, options.yres);
}

qvimagefileinfo settings::applied_to(const qvimagefileinfo &info) {
  qvimagefileinfo options = info;
  if (compression_) options.compression = *compression_;
  // Only the strips of pages that stay uncoded are kept: of a coded page the file tells the largest coded
  // strip alone, and one strip for a whole page cannot be coded by several threads.
  if (info.compression > 1 || options.compression > 1) options.stripsize = 0;
  if (bigtiff_) options.version = 43;
  if (resolution_) set_resolution(options);
  set_text(options.description, description_);
  set_text(options.software, software_);
  set_text(options.copyright, copyright_);
  return options;
}

void settings::set_resolution(qvimagefileinfo &options) const {
  for (int i = 0; i < 2; i++) {
    options.xres[i] = resolution_->x[i];
    options.yres[i] = resolution_->y[i];
  }
  options.resunit = resolution_->unit;
}

}  // namespace tool
