// What the options of convert do to a page's image before it is written: each option that changes the pixels
// is a step, and the steps are taken in the order of the command line.
#pragma once

#include <functional>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include <qvimage/record.h>

#include "command.hpp"

namespace tool {

// Images over images, the page at the bottom. The records stay where they are while the chain lives.
class chain {
 public:
  explicit chain(qvimage *page, std::string file, std::string where)
      : top_(page), file_(std::move(file)), where_(std::move(where)) {}
  chain(const chain &) = delete;
  chain &operator=(const chain &) = delete;

  qvimage *top() const { return top_; }

  // Puts a view on the top. `construct(view, source)` gives a code; of a failure, `reason` is told.
  void put(const std::function<int32_t(qvimage *, qvimage *)> &construct, const std::string &reason);
  [[noreturn]] void refuse(int32_t code, const std::string &reason) const;

  // Whether x and y have changed places on the way up.
  bool transposed() const { return transposed_; }
  void transpose() { transposed_ = !transposed_; }

  // What a view refers to lives as long as the chain.
  void keep(std::shared_ptr<const void> what) { kept_.push_back(std::move(what)); }

 private:
  struct record {
    alignas(8) qvimage image;
  };
  std::list<record> views_;
  std::vector<std::shared_ptr<const void>> kept_;
  qvimage *top_;
  std::string file_, where_;
  bool transposed_ = false;
};

// In which order a step asks its source for rows; files are fast from the first to the last only.
enum class row_order { kept, backward, columns };

struct step {
  std::function<void(chain &)> take;
  bool keeps_palette;  // works on colour numbers as well as on colours
  row_order rows = row_order::kept;
};

// The steps that the command line asks for; options that are none are passed over. Throws usage_error.
std::vector<step> steps_of(const arguments &arguments);
std::vector<option> step_options_of_convert();

// Brings a page's first row to the top and its first column to the left; orientations from 1 to 8.
step turned_upright(int orientation);

// The colours of a hint, which the pixels have already, or are converted to.
void recolour(chain &chain, int32_t hint);

// Whether floating-point values are the same numbers as integers, or 0 to 1 stand for all that a pixie holds.
enum real_values : uint8_t { same_numbers = 0, from_0_to_1 = 1 };

// `bits` are those of integers, 0 for floating-point types.
void put_converter(chain &chain, int32_t type, int32_t bits, real_values mode);

constexpr option crop_option = {"--crop", "X,Y,W,H",
                                "only the W x H pixels from (X, Y) onward, counted from 0"};
constexpr option rotate_option = {
    "--rotate", "90|180|270",
    "turn clockwise; takes up to 64 MiB of memory, for larger pages room for their "
    "pixels beside OUT"};
constexpr option flip_option = {"--flip", "x|y", "mirror left to right (x) or top to bottom (y)"};
constexpr option bits_option = {"--bits", "N", "integers of 1 to 32 bits, scaled by a power of two"};
constexpr option type_option = {"--type", "u8|u16|u32|f32|f64",
                                "another type; integers are scaled as by --bits"};
constexpr option normalise_option = {
    "--normalise", "",
    "with --type or --bits: floating-point 0 to 1 stand for the whole range of "
    "the integers; else values are the same numbers"};
constexpr option component_option = {"--component", "N", "only this component, counted from 1"};
constexpr option colour_option = {"--colour", "rgb|bgr|grey|cmy|cmyk|bsh|ycrcb", "as these colours"};
constexpr option decimate_option = {"--decimate", "N[,M]", "every Nth pixel of every Mth row (M: N)"};
constexpr option lut_option = {
    "--lut", "FILE",
    "values through a table of text lines, an entry a line: one number, or three that "
    "make grey pixels RGB ones"};
constexpr option bayer_option = {
    "--bayer", "rggb|grbg|gbrg|bggr",
    "raw values behind colour filters, named by their first two rows, as pixels of "
    "four components"};

}  // namespace tool
