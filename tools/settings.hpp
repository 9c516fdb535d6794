// What the command line of convert changes in a page's description.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <qvimage/fileinfo.h>

#include "command.hpp"
#include "format.hpp"

namespace tool {

// "300", "300,600", "118cm": pixels per inch, or per centimetre.
struct resolution_setting {
  uint32_t x[2], y[2], unit;
};

class settings {
 public:
  // `format` is that of the file to be written. Throws usage_error.
  settings(const arguments &arguments, const file_format &format);

  // The page is turned on its side; a resolution from the command line is meant as it is.
  void exchange_resolution(qvimagefileinfo &options) const;

  // A copy that borrows the strings of `info` and of this.
  qvimagefileinfo applied_to(const qvimagefileinfo &info);

 private:
  const arguments &arguments_;
  const file_format &format_;
  void set_resolution(qvimagefileinfo &options) const;
  std::optional<resolution_setting> resolution_;
  std::optional<std::string> description_, software_, copyright_;
};

constexpr option description_option = {"--description", "TEXT",
                                       "ImageDescription of every page written; \"\" removes it"};
constexpr option software_option = {"--software", "TEXT", "the same for Software"};
constexpr option copyright_option = {"--copyright", "TEXT", "the same for Copyright"};
constexpr option resolution_option = {"--resolution", "X[,Y][in|cm]",
                                      "pixels per inch, or with cm per centimetre"};

}  // namespace tool
