// qvimage convert: pages of a file into another file, one at a time.
#include <algorithm>
#include <cstdio>
#include <filesystem>

#include <qvimage/error.h>
#include <qvimage/types.h>

#include "chain.hpp"
#include "command.hpp"
#include "failure.hpp"
#include "format.hpp"
#include "interrupt.hpp"
#include "mean.hpp"
#include "operand.hpp"
#include "output.hpp"
#include "pages.hpp"
#include "parallel.hpp"
#include "pixels.hpp"
#include "progress.hpp"
#include "settings.hpp"
#include "text.hpp"
#include "words.hpp"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr option format_option = {"--format", "NAME",
                                  "OUT's: tiff, jpeg, pnm, bmp, fits, avi or raw; else by its name"};
constexpr option append_option = {"--append", "", "add the pages to OUT, if it exists, behind its own"};
constexpr option drop_alpha_option = {"--drop-alpha", "", "of RGB with alpha write the RGB"};
constexpr option upright_option = {"--upright", "", "turn and mirror pages as their Orientation says"};
constexpr option quiet_option = {"--quiet", "", "do not name what is not carried over"};

// The fourth sample becomes padding, which is not written.
step alpha_dropped() {
  return {[](chain &chain) { chain.top()->d.pixelhint = QVIM_HINT_RGBPAD; }, true};
}

// What pages say and the written file does not, each thing once.
class losses {
 public:
  void add(const page_notes &notes, bool upright, bool drops_alpha) {
    if (notes.orientation != 1 && !upright)
      add(formatted("Orientation %d (--upright applies it)", notes.orientation));
    for (const std::string &name : notes.lost) {
      if (name != "ExtraSamples" || !drops_alpha) add(name);
    }
  }
  // What the description says and the format to be written has no room for.
  void add(const qvimagefileinfo &info, const file_format &format) {
    const struct {
      text kind;
      const char *value, *name;
    } texts[] = {{datetime_text, info.datetime, "DateTime"},
                 {software_text, info.software, "Software"},
                 {description_text, info.description, "ImageDescription"},
                 {copyright_text, info.copyright, "Copyright"}};
    for (const auto &[kind, value, name] : texts) {
      if (value != nullptr && (format.texts & kind) == 0) add(name);
    }
    if (info.xres[0] != 0 && !format.has_resolution) add("resolution");
  }
  void tell(const std::string &file) const {
    if (names_.empty()) return;
    std::string all;
    for (const std::string &name : names_) all += (all.empty() ? "" : ", ") + name;
    std::fprintf(stderr, "qvimage: %s: not carried over: %s\n", printable(file).c_str(), all.c_str());
  }

 private:
  void add(const std::string &name) {
    if (std::ranges::find(names_, name) == names_.end()) names_.push_back(name);
  }
  std::vector<std::string> names_;
};

// For files that take three components for red, green and blue.
step red_brought_first() {
  return {[](chain &chain) {
            const int32_t hint = chain.top()->d.pixelhint;
            if (blue_first(hint)) recolour(chain, hint == QVIM_HINT_BGR ? QVIM_HINT_RGB : QVIM_HINT_RGBPAD);
          },
          true};
}

class conversion {
 public:
  conversion(const arguments &arguments, const operand &out, const file_format &format, bool appends)
      : out_(out),
        shown_(out.standard() ? "standard output" : out.word(out.path)),
        format_(format),
        settings_(arguments, format),
        steps_(steps_of(arguments)),
        mean_(arguments.has(mean_option.name)),
        drops_alpha_(arguments.has(drop_alpha_option.name)),
        takes_component_(arguments.has(component_option.name)),
        upright_(arguments.has(upright_option.name)),
        appends_(appends),
        input_(inputs(arguments), chosen_threads(arguments)),
        pages_(chosen_pages(arguments, arguments.operand(0), input_.of(0).pages())) {}

  const losses &lost() const { return lost_; }

  void write() {
    const int64_t count = mean_ ? 1 : pages_.count();
    progress progress(count);
    const auto writer = appends_ ? open_append(out_, format_, count) : open_output(out_, format_, count);
    const int64_t last = mean_ ? pages_.first : pages_.last;
    for (int64_t page = pages_.first; page <= last; page++) {
      progress.next_unit();
      write_page(*writer, page);
      if (const int signal = noted_interrupt(); signal != 0) throw interrupted{signal};
    }
    writer->finish();
  }

 private:
  static std::vector<std::string> inputs(const arguments &arguments) {
    return {arguments.operands().begin(), arguments.operands().end() - 1};
  }

  void write_page(writer &writer, int64_t number) {
    document &input = input_.of(0);
    qvimagefileinfo options = settings_.applied_to(input.info(number));
    const page_notes notes = input.notes(number);
    lost_.add(notes, upright_, drops_alpha_);
    lost_.add(options, format_);
    const std::vector<step> steps = steps_for(notes, number);
    // Pixels that are wanted in another order than their file gives them are taken out of it first.
    const bool coded = input.coded(number);
    const auto reordering = std::ranges::find_if(steps, [&](const step &step) {
      return step.rows == row_order::columns || (step.rows == row_order::backward && coded);
    });
    const std::span<const step> before(steps.begin(), reordering), after(reordering, steps.end());
    std::unique_ptr<pixels> page = opened(number, before), turned;
    if (!after.empty()) turned = kept_in_scratch(*page, beside(), after, where(number));
    pixels &result = turned ? *turned : *page;
    check_held(format_, shown_, result.data(), result.palette() != nullptr);
    if (result.transposed()) settings_.exchange_resolution(options);
    writer.add(result, page->palette(), options, coded || mean_ || !steps.empty());
  }

  // What the page itself asks for comes before what the command line does.
  std::vector<step> steps_for(const page_notes &notes, int64_t number) {
    std::vector<step> steps;
    if (notes.alpha && !takes_component_) {
      if (!drops_alpha_)
        throw failure(where(number).file, QVERR_UNSUPPORTED,
                      where(number).page + ": RGB with alpha is not written (--drop-alpha writes the RGB)");
      steps.push_back(alpha_dropped());
    }
    if (upright_ && notes.orientation != 1) steps.push_back(turned_upright(notes.orientation));
    steps.insert(steps.end(), steps_.begin(), steps_.end());
    if (format_.holds.red_first) steps.push_back(red_brought_first());
    return steps;
  }

  place where(int64_t number) {
    place found = input_.of(0).where(number);
    if (mean_) found.page = "the mean";
    return found;
  }

  // Where room for pixels may be made.
  std::string beside() const {
    return out_.standard() ? fs::temp_directory_path() / "-" : fs::path(out_.path);
  }

  std::unique_ptr<pixels> opened(int64_t number, std::span<const step> steps) {
    if (mean_) {
      const auto mean = [this](unsigned) { return mean_of(input_.of(0), pages_, beside()); };
      return std::make_unique<pixels>(1, mean, steps, where(number));
    }
    const bool keeps_palette = std::ranges::all_of(steps_, &step::keeps_palette);
    return std::make_unique<pixels>(input_, number, keeps_palette ? colour_map::kept : colour_map::applied,
                                    steps);
  }

  const operand out_;
  const std::string shown_;
  const file_format &format_;
  settings settings_;
  const std::vector<step> steps_;
  const bool mean_, drops_alpha_, takes_component_, upright_, appends_;
  losses lost_;
  documents input_;
  const page_range pages_;
};

// Something to append to must be there; where it is not, a file is made.
bool appends(const arguments &arguments, const operand &out) {
  if (!arguments.has(append_option.name)) return false;
  if (out.standard() || out.numbered) throw usage_error("--append takes one file");
  std::error_code ignored;
  if (!fs::exists(out.path, ignored)) return false;
  for (size_t i = 0; i + 1 < arguments.operands().size(); i++) {
    if (fs::equivalent(operand_of(arguments.operand(i)).path, out.path, ignored))
      throw failure(out.path, QVERR_USAGE, "a file cannot be appended to itself");
  }
  return true;
}

const file_format &format_of(const arguments &arguments, const operand &out, bool appends) {
  if (out.format != nullptr) return *out.format;
  if (const auto name = arguments.value(format_option.name)) return format_named(*name);
  if (appends) return format_of_content(out.path, out.path);
  if (out.standard())
    throw usage_error("--format tells the format of the standard output, or a name like pnm:-");
  return format_of_name(out.path);
}

int run(const arguments &arguments) {
  const interrupts_noted noted;
  const operand out = operand_of(arguments.operands().back());
  const bool appending = appends(arguments, out);
  conversion conversion(arguments, out, format_of(arguments, out, appending), appending);
  conversion.write();
  if (!arguments.has(quiet_option.name)) conversion.lost().tell(arguments.operand(0));
  return fine;
}

std::vector<option> options() {
  std::vector<option> all = {format_option,     pages_option,   append_option, mean_option,
                             drop_alpha_option, upright_option, quiet_option,  threads_option};
  for (const std::vector<option> &more :
       {step_options_of_convert(),
        {description_option, software_option, copyright_option, resolution_option},
        options_of_formats()})
    all.insert(all.end(), more.begin(), more.end());
  return all;
}

}  // namespace

const command convert_command = {
    "convert",
    "IN... OUT",
    "write pages into another file",
    "Writes the pages of IN to OUT, in the format that the end of its name tells. What no option changes "
    "stays as it is in IN: compression, resolution, strings, version, palettes; what of it is left behind is "
    "named. Pages are counted from 1, on through several INs. An existing OUT is replaced when the new file "
    "is "
    "complete; after a failure or an interrupt it is what it was. A file may also be the standard input "
    "or "
    "output, - or, say, pnm:-; a numbered series of files, frames-????.tif or series:img????.tif:1-500 "
    "(quote "
    "the pattern), a page a file when written; or bare pixels, "
    "raw:FILE:WxH[xN]:TYPE[xC][:BITS][:le|be][@OFFSET], "
    "where TYPE is u8, u16, u32, u64, f32 or f64.",
    2,
    SIZE_MAX,
    options,
    run};

}  // namespace tool
