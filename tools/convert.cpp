// qvimage convert: pages of a file into another file, one at a time.
#include <algorithm>
#include <cmath>
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
#include "progress.hpp"
#include "target.hpp"
#include "text.hpp"
#include "words.hpp"

namespace tool {

namespace {

namespace fs = std::filesystem;

// "300", "300,600", "118cm": pixels per inch, or per centimetre.
struct resolution_setting {
  uint32_t x[2], y[2], unit;
};

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
class settings {
 public:
  explicit settings(const arguments &arguments)
      : description_(arguments.value("--description")),
        software_(arguments.value("--software")),
        copyright_(arguments.value("--copyright")),
        bigtiff_(arguments.has("--bigtiff")) {
    if (const auto name = arguments.value("--compression")) {
      compression_ = compression_code(*name);
      if (!compression_)
        throw usage_error("--compression takes " + compression_names() + ", not " + printable(*name));
    }
    if (const auto text = arguments.value("--resolution")) resolution_ = parse_resolution(*text);
  }

  // The page is turned on its side; a resolution from the command line is meant as it is.
  void exchange_resolution(qvimagefileinfo &options) const {
    if (!resolution_) std::swap(options.xres, options.yres);
  }

  // A copy that borrows the strings of `info` and of this.
  qvimagefileinfo applied_to(const qvimagefileinfo &info) {
    qvimagefileinfo options = info;
    // For a coded page the file tells only the largest coded strip; as a size of uncoded rows it would make
    // the strips smaller with each conversion.
    if (info.compression != 1 && info.stripsize != UINT64_MAX) options.stripsize = 0;
    if (compression_) options.compression = *compression_;
    if (bigtiff_) options.version = 43;
    if (resolution_) set_resolution(options);
    set_text(options.description, description_);
    set_text(options.software, software_);
    set_text(options.copyright, copyright_);
    return options;
  }

 private:
  static void set_text(char *&place, std::optional<std::string> &value) {
    if (value) place = value->empty() ? nullptr : value->data();
  }
  void set_resolution(qvimagefileinfo &options) const {
    for (int i = 0; i < 2; i++) {
      options.xres[i] = resolution_->x[i];
      options.yres[i] = resolution_->y[i];
    }
    options.resunit = resolution_->unit;
  }
  std::optional<uint32_t> compression_;
  std::optional<resolution_setting> resolution_;
  std::optional<std::string> description_, software_, copyright_;
  const bool bigtiff_;
};

class conversion {
 public:
  conversion(const arguments &arguments)
      : in_(arguments.operand(0)),
        out_(arguments.operand(1)),
        settings_(arguments),
        steps_(steps_of(arguments)),
        mean_(arguments.has(mean_option.name)) {
    input_ = open_document(in_);
    pages_ = chosen_pages(arguments, in_, input_->pages());
  }

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
    qvimagefileinfo first = settings_.applied_to(input_->info(pages_.first));
    const auto writer = format.create(path, out_, first, append);
    const int64_t last = mean_ ? pages_.first : pages_.last;
    for (int64_t page = pages_.first; page <= last; page++) {
      progress.next_unit();
      write_page(*writer, page);
      if (const int signal = noted_interrupt(); signal != 0) throw interrupted{signal};
    }
    writer->finish();
  }

  void write_page(writer &writer, int64_t number) {
    qvimagefileinfo options = settings_.applied_to(input_->info(number));
    const auto page = open(number);
    chain chain(&page->image, in_,
                mean_ ? "the mean" : formatted("page %lld", static_cast<long long>(number + 1)));
    for (const step &step : steps_) step.take(chain);
    if (chain.transposed()) settings_.exchange_resolution(options);
    writer.add(chain.top(), page->has_palette ? &page->palette : nullptr, options);
  }

  std::unique_ptr<page> open(int64_t number) {
    if (mean_) return mean_of(*input_, pages_, in_, out_);
    const bool keeps_palette = std::ranges::all_of(steps_, &step::keeps_palette);
    return input_->open(number, keeps_palette ? colour_map::kept : colour_map::applied);
  }

  const std::string in_, out_;
  settings settings_;
  const std::vector<step> steps_;
  const bool mean_;
  std::unique_ptr<document> input_;
  page_range pages_{};
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
    {"--compression", "NAME", "none, lzw, lzw-predictor, packbits, arithmetic or\narithmetic-predictor"},
    {"--bigtiff", "", "write BigTIFF, which may grow beyond 4 GiB"},
    pages_option,
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
    {"--description", "TEXT", "ImageDescription of every page written; \"\" removes it"},
    {"--software", "TEXT", "the same for Software"},
    {"--copyright", "TEXT", "the same for Copyright"},
    {"--resolution", "X[,Y][in|cm]", "pixels per inch (unless cm says centimetre)"},
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
