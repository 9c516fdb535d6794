// qvimage info: what files say about their pages.
#include <cstdio>

#include "command.hpp"
#include "failure.hpp"
#include "format.hpp"
#include "json.hpp"
#include "text.hpp"
#include "words.hpp"

namespace tool {

namespace {

struct named_text {
  const char *key, *label;
  char *const qvimagefileinfo::*place;
};

constexpr named_text texts[] = {{"datetime", "date", &qvimagefileinfo::datetime},
                                {"software", "software", &qvimagefileinfo::software},
                                {"description", "description", &qvimagefileinfo::description},
                                {"copyright", "copyright", &qvimagefileinfo::copyright}};

std::string file_type(const qvimagefileinfo &info) { return info.version == 43 ? "BigTIFF" : "TIFF"; }

// The samples that the file holds: a page with a colour map is described to us as the colours it stands for.
qvimagedata stored_samples(const qvimagefileinfo &info) {
  qvimagedata data = info.data;
  if (info.palette != 0) {
    data.pixies = 1;
    data.pixelhint = QVIM_HINT_INDEX;
  }
  return data;
}

std::string size(const qvimagefileinfo &info) { return formatted("%u x %u", info.width, info.height); }

// Where the information goes: as text for people or as JSON.
class listing {
 public:
  virtual ~listing() = default;
  virtual void begin_file(const std::string &path, const file_format &format, int64_t pages,
                          const qvimagefileinfo &first) = 0;
  virtual void page(int64_t number, const qvimagefileinfo &info) = 0;
  virtual void failed_page(int64_t number, const failure &failure) = 0;
  virtual void end_file() = 0;
  virtual void failed_file(const failure &failure) = 0;
};

class text_listing : public listing {
 public:
  void begin_file(const std::string &path, const file_format &, int64_t pages,
                  const qvimagefileinfo &first) override {
    pages_ = pages;
    std::printf("%s: %s, %lld page%s\n", printable(path).c_str(), file_type(first).c_str(),
                static_cast<long long>(pages), pages == 1 ? "" : "s");
  }
  void page(int64_t number, const qvimagefileinfo &info) override {
    if (pages_ == 1) {
      in_full(info);
    } else {
      in_one_line(number, info);
    }
  }
  void failed_page(int64_t, const failure &failure) override { report(failure); }
  void end_file() override {}
  void failed_file(const failure &failure) override { report(failure); }

 private:
  static void line(const char *label, const std::string &value) {
    if (!value.empty()) std::printf("  %-13s%s\n", label, value.c_str());
  }
  static void in_full(const qvimagefileinfo &info) {
    const qvimagedata data = stored_samples(info);
    line("size", size(info));
    line("type", describe_type(data) + " (" + type_name(data) + ")");
    line("samples", formatted("%d", data.pixies));
    line("colour", describe_colour(data));
    line("compression", compression_name(info.compression));
    line("strips", describe_strips(info));
    line("resolution", describe_resolution(info));
    for (const named_text &text : texts) {
      if (info.*text.place != nullptr) line(text.label, printable(info.*text.place));
    }
  }
  static void in_one_line(int64_t number, const qvimagefileinfo &info) {
    const qvimagedata data = stored_samples(info);
    const std::string resolution = describe_resolution(info);
    std::printf("%6lld  %s, %d x %s, %s, %s%s%s\n", static_cast<long long>(number), size(info).c_str(),
                data.pixies, describe_type(data).c_str(), describe_colour(data).c_str(),
                compression_name(info.compression).c_str(), resolution.empty() ? "" : ", ",
                resolution.c_str());
  }
  int64_t pages_ = 0;
};

class json_listing : public listing {
 public:
  json_listing() { out_.begin_array(); }
  ~json_listing() override { out_.end(); }

  void begin_file(const std::string &path, const file_format &format, int64_t pages,
                  const qvimagefileinfo &first) override {
    out_.begin_object();
    out_.text("file", path);
    out_.text("format", format.name);
    out_.number("version", int64_t{first.version});
    out_.number("pagecount", pages);
    out_.begin_array("pages");
  }
  void page(int64_t number, const qvimagefileinfo &info) override {
    const qvimagedata data = stored_samples(info);
    out_.begin_object();
    out_.number("page", number);
    out_.number("width", int64_t{info.width});
    out_.number("height", int64_t{info.height});
    out_.text("type", type_name(data));
    out_.number("bits", int64_t{bits_of(data)});
    out_.number("samples", int64_t{data.pixies});
    out_.text("colour", describe_colour(data));
    out_.truth("palette", info.palette != 0);
    out_.text("compression", compression_name(info.compression));
    strips(info);
    resolution_of(info);
    for (const named_text &text : texts) {
      if (info.*text.place != nullptr) out_.text(text.key, info.*text.place);
    }
    out_.end();
  }
  void failed_page(int64_t number, const failure &failure) override {
    report(failure);
    out_.begin_object();
    out_.number("page", number);
    error(failure);
    out_.end();
  }
  void end_file() override {
    out_.end();
    out_.end();
  }
  void failed_file(const failure &failure) override {
    report(failure);
    out_.begin_object();
    out_.text("file", failure.file);
    error(failure);
    out_.end();
  }

 private:
  void strips(const qvimagefileinfo &info) {
    const bool one = info.stripsize == UINT64_MAX;
    out_.truth("single_strip", one);
    if (!one) out_.number("largest_strip", static_cast<int64_t>(info.stripsize));
  }
  void resolution_of(const qvimagefileinfo &info) {
    const double x = resolution(info.xres), y = resolution(info.yres);
    if (x == 0 && y == 0) return;
    out_.begin_object("resolution");
    out_.number("x", x);
    out_.number("y", y);
    out_.text("unit", resolution_unit(info));
    out_.end();
  }
  void error(const failure &failure) {
    out_.begin_object("error");
    out_.number("code", int64_t{failure.code});
    out_.text("detail", failure.detail);
    out_.end();
  }
  json out_{stdout};
};

bool list_pages(document &document, listing &listing) {
  bool good = true;
  for (int64_t page = 0; page < document.pages(); page++) {
    try {
      listing.page(page + 1, document.info(page));
    } catch (const failure &failure) {
      listing.failed_page(page + 1, failure);
      good = false;
    }
  }
  return good;
}

bool list_file(const std::string &path, listing &listing) {
  try {
    const file_format &format = format_of_content(path);
    const auto document = format.open(path);
    listing.begin_file(path, format, document->pages(), document->info(0));
    const bool good = list_pages(*document, listing);
    listing.end_file();
    return good;
  } catch (const failure &failure) {
    listing.failed_file(failure);
    return false;
  }
}

int run(const arguments &arguments) {
  std::unique_ptr<listing> listing;
  if (arguments.has("--json")) {
    listing = std::make_unique<json_listing>();
  } else {
    listing = std::make_unique<text_listing>();
  }
  bool good = true;
  for (const std::string &path : arguments.operands()) good &= list_file(path, *listing);
  return good ? fine : failed;
}

constexpr option options[] = {{"--json", "", "print a JSON array with an object for each file"}};

}  // namespace

const command info_command = {"info",
                              "FILE...",
                              "what files say about their pages",
                              "Prints size, type, colour, compression, strips, resolution and strings of "
                              "each file's page, or a line a page\n"
                              "for a file with several. Reads no pixels.",
                              1,
                              SIZE_MAX,
                              options,
                              run};

}  // namespace tool
