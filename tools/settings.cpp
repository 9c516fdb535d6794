#include "settings.hpp"

#include <utility>

#include "failure.hpp"
#include "text.hpp"
#include "words.hpp"

namespace tool {

namespace {

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

void set_text(char *&place, std::optional<std::string> &value) {
  if (value) place = value->empty() ? nullptr : value->data();
}

}  // namespace

settings::settings(const arguments &arguments, const file_format &format)
    : arguments_(arguments),
      format_(format),
      description_(arguments.value(description_option.name)),
      software_(arguments.value(software_option.name)),
      copyright_(arguments.value(copyright_option.name)) {
  if (const auto text = arguments.value(resolution_option.name)) resolution_ = parse_resolution(*text);
  // Wrong values are wrong usage before any work is done.
  check_options(arguments, format);
  qvimagefileinfo none = {};
  format.apply(arguments, none);
}

void settings::exchange_resolution(qvimagefileinfo &options) const {
  if (!resolution_) std::swap(options.xres, options.yres);
}

qvimagefileinfo settings::applied_to(const qvimagefileinfo &info) {
  qvimagefileinfo options = info;
  if (resolution_) set_resolution(options);
  set_text(options.description, description_);
  set_text(options.software, software_);
  set_text(options.copyright, copyright_);
  format_.apply(arguments_, options);
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
