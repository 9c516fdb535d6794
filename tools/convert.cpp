// qvimage convert: pages of a file into another file, one at a time.
#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <utility>

#include <qvimage/error.h>

#include "chain.hpp"
#include "command.hpp"
#include "failure.hpp"
#include "format.hpp"
#include "interrupt.hpp"
#include "mean.hpp"
#include "pages.hpp"
#include "parallel.hpp"
#include "pixels.hpp"
#include "progress.hpp"
#include "settings.hpp"
#include "target.hpp"
#include "text.hpp"
#include "words.hpp"

namespace tool {

namespace {

namespace fs = std::filesystem;

class conversion {
 public:
  conversion(const arguments &arguments)
      : in_(arguments.operand(0)),
        out_(arguments.operand(1)),
        settings_(arguments),
        steps_(steps_of(arguments)),
        mean_(arguments.has(mean_option.name)),
        input_(in_, chosen_threads(arguments)),
        pages_(chosen_pages(arguments, in_, input_.of(0).pages())) {}

  // Beside the target under a temporary name, then renamed.
  void write_new() {
    const file_format &format = format_of_name(out_);
    target target(out_);
    write(format, target.temporary(), false);
    if (const int signal = noted_interrupt(); signal != 0) throw interrupted{signal};
    target.keep();
  }

  // In the target itself: a page becomes part of the file when it is complete.
  void append() {
    std::error_code ignored;
    if (fs::equivalent(in_, out_, ignored))
      throw failure(out_, QVERR_USAGE, "a file cannot be appended to itself");
    write(format_of_content(out_), out_, true);
  }

 private:
  void write(const file_format &format, const std::string &path, bool append) {
    progress progress(mean_ ? 1 : pages_.count());
    const auto writer = format.create(path, out_, append);
    const int64_t last = mean_ ? pages_.first : pages_.last;
    for (int64_t page = pages_.first; page <= last; page++) {
      progress.next_unit();
      write_page(*writer, page);
      if (const int signal = noted_interrupt(); signal != 0) throw interrupted{signal};
    }
    writer->finish();
  }

  void write_page(writer &writer, int64_t number) {
    qvimagefileinfo options = settings_.applied_to(input_.of(0).info(number));
    const bool coded = input_.of(0).info(number).compression > 1;
    // Pixels that are wanted in another order than their file gives them are taken out of it first.
    const auto reordering = std::ranges::find_if(steps_, [&](const step &step) {
      return step.rows == row_order::columns || (step.rows == row_order::backward && coded);
    });
    const std::span<const step> before(steps_.begin(), reordering), after(reordering, steps_.end());
    std::unique_ptr<pixels> page = opened(number, before), turned;
    if (!after.empty()) turned = kept_in_scratch(*page, out_, after, in_, where(number));
    pixels &result = turned ? *turned : *page;
    if (result.transposed()) settings_.exchange_resolution(options);
    writer.add(result, page->palette(), options, coded || mean_ || !steps_.empty());
  }

  std::string where(int64_t number) const {
    return mean_ ? "the mean" : formatted("page %lld", static_cast<long long>(number + 1));
  }

  std::unique_ptr<pixels> opened(int64_t number, std::span<const step> steps) {
    if (mean_) {
      const auto mean = [this](unsigned) { return mean_of(input_.of(0), pages_, in_, out_); };
      return std::make_unique<pixels>(1, mean, steps, in_, where(number));
    }
    const bool keeps_palette = std::ranges::all_of(steps_, &step::keeps_palette);
    return std::make_unique<pixels>(input_, number, keeps_palette ? colour_map::kept : colour_map::applied,
                                    steps);
  }

  const std::string in_, out_;
  settings settings_;
  const std::vector<step> steps_;
  const bool mean_;
  documents input_;
  const page_range pages_;
};

int run(const arguments &arguments) {
  const interrupts_noted noted;
  std::error_code ignored;
  const bool appends = arguments.has("--append") && fs::exists(arguments.operand(1), ignored);
  if (!appends) format_of_name(arguments.operand(1));  // before the work: a wrong name is wrong usage
  conversion conversion(arguments);
  if (appends) {
    conversion.append();
  } else {
    conversion.write_new();
  }
  return fine;
}

constexpr option options[] = {
    compression_option,
    bigtiff_option,
    pages_option,
    threads_option,
    {"--append", "", "add the pages to OUT, if it exists, behind its own"},
    mean_option,
    crop_option,
    rotate_option,
    flip_option,
    bits_option,
    type_option,
    normalise_option,
    component_option,
    colour_option,
    decimate_option,
    bayer_option,
    lut_option,
    description_option,
    software_option,
    copyright_option,
    resolution_option,
};

}  // namespace

const command convert_command = {
    "convert",
    "IN OUT",
    "write pages into another file",
    "Writes the pages of IN to OUT, whose name ends in .tif or .tiff. What no option changes stays as it is "
    "in IN:\n"
    "compression, resolution, strings, version, palettes. An existing OUT is replaced when the new file is\n"
    "complete; after a failure or an interrupt it is what it was.",
    2,
    2,
    options,
    run};

}  // namespace tool
