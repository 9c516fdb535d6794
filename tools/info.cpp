// qvimage info: what files say about their pages.
#include <cstdio>
#include <map>

#include "command.hpp"
#include "document.hpp"
#include "failure.hpp"
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

// The samples that the file holds: a page with a colour map is described to us as the colours it stands for.
qvimagedata stored_samples(const qvimagefileinfo &info) {
  qvimagedata data = info.data;
  if (info.palette != 0) {
    data.pixies = 1;
    data.pixelhint = QVIM_HINT_INDEX;
  }
  return data;
}

// Also of samples that no image holds.
std::string sample_type(const qvimagefileinfo &info) {
  constexpr uint16_t signed_integers = 2, reals = 3;
  if (info.data.pixietype != 0) return describe_type(stored_samples(info));
  const char *sort = info.sampleformat[0] == signed_integers ? " signed"
                     : info.sampleformat[0] == reals         ? " float"
                                                             : "";
  return formatted("%u-bit%s", info.bits[0], sort);
}

std::string size(const qvimagefileinfo &info) { return formatted("%u x %u", info.width, info.height); }

// Where the information goes: as text for people or as JSON.
class listing {
 public:
  virtual ~listing() = default;
  virtual void begin_file(const std::string &path, document &document) = 0;
  virtual void page(int64_t number, const file_format &format, const description &page) = 0;
  virtual void failed_page(int64_t number, const failure &failure) = 0;  // nothing is known of it
  virtual void end_file() = 0;
  virtual void failed_file(const failure &failure) = 0;
};

class text_listing : public listing {
 public:
  void begin_file(const std::string &path, document &document) override {
    pages_ = document.pages();
    said_.clear();
    std::printf("%s: %s, %lld page%s\n", printable(path).c_str(),
                document.format().kind(document.describe_first().info).c_str(),
                static_cast<long long>(pages_), pages_ == 1 ? "" : "s");
  }
  void page(int64_t number, const file_format &format, const description &page) override {
    if (pages_ == 1) {
      in_full(format, page.info);
    } else {
      in_one_line(number, format, page.info);
    }
    if (page.refused) report(*page.refused);
  }
  void failed_page(int64_t, const failure &failure) override { report(failure); }
  void end_file() override {}
  void failed_file(const failure &failure) override { report(failure); }

 private:
  static void line(const char *label, const std::string &value) {
    if (!value.empty()) std::printf("  %-13s%s\n", label, value.c_str());
  }
  void in_full(const file_format &format, const qvimagefileinfo &info) {
    const qvimagedata data = stored_samples(info);
    line("size", size(info));
    line("type", sample_type(info) + (data.pixietype != 0 ? " (" + type_name(data) + ")" : ""));
    line("samples", formatted("%d", data.pixies));
    if (data.pixietype != 0) line("colour", describe_colour(data));
    for (const fact &fact : format.facts(info)) {
      if (fact.label != nullptr) line(fact.label, fact.words);
    }
    line("resolution", describe_resolution(info));
    strings(info);
  }
  void in_one_line(int64_t number, const file_format &format, const qvimagefileinfo &info) {
    const qvimagedata data = stored_samples(info);
    std::string text = formatted("%6lld  %s, %d x %s", static_cast<long long>(number), size(info).c_str(),
                                 data.pixies, sample_type(info).c_str());
    if (data.pixietype != 0) text += ", " + describe_colour(data);
    for (const fact &fact : format.facts(info)) {
      if (fact.brief) text += ", " + fact.words;
    }
    const std::string resolution = describe_resolution(info);
    std::printf("%s%s%s\n", text.c_str(), resolution.empty() ? "" : ", ", resolution.c_str());
    strings(info);
  }
  // Pages of a stack often say the same: only what the page before did not say.
  void strings(const qvimagefileinfo &info) {
    for (const named_text &text : texts) {
      const char *found = info.*text.place;
      std::string &said = said_[text.key];
      if (found != nullptr && said != found) line(text.label, printable(found));
      said = found != nullptr ? found : "";
    }
  }
  std::map<std::string, std::string> said_;
  int64_t pages_ = 0;
};

class json_listing : public listing {
 public:
  json_listing() { out_.begin_array(); }
  ~json_listing() override { out_.end(); }

  void begin_file(const std::string &path, document &document) override {
    const int64_t version = document.describe_first().info.version;
    out_.begin_object();
    out_.text("file", path);
    out_.text("format", document.format().sign.name);
    if (version != 0) out_.number("version", version);
    out_.number("pagecount", document.pages());
    out_.begin_array("pages");
  }
  void page(int64_t number, const file_format &format, const description &page) override {
    const qvimagefileinfo &info = page.info;
    const qvimagedata data = stored_samples(info);
    out_.begin_object();
    out_.number("page", number);
    out_.number("width", int64_t{info.width});
    out_.number("height", int64_t{info.height});
    out_.text("type", data.pixietype != 0 ? type_name(data) : sample_type(info));
    out_.number("bits", data.pixietype != 0 ? int64_t{bits_of(data)} : int64_t{info.bits[0]});
    out_.number("samples", int64_t{data.pixies});
    if (data.pixietype != 0) out_.text("colour", describe_colour(data));
    out_.truth("palette", info.palette != 0);
    for (const fact &fact : format.facts(info)) {
      if (fact.key != nullptr) member(fact);
    }
    resolution_of(info);
    for (const named_text &text : texts) {
      if (info.*text.place != nullptr) out_.text(text.key, info.*text.place);
    }
    if (page.refused) {
      report(*page.refused);
      error(*page.refused);
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
  void member(const tool::fact &fact) {
    switch (fact.in_json) {
      case fact::as_words: return out_.text(fact.key, fact.words);
      case fact::as_number: return out_.number(fact.key, fact.value);
      case fact::as_truth: return out_.truth(fact.key, fact.value != 0);
    }
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
      const description &found = document.describe(page);
      listing.page(page + 1, document.format(), found);
      good &= !found.refused;
    } catch (const failure &failure) {
      listing.failed_page(page + 1, failure);
      good = false;
    }
  }
  return good;
}

bool list_file(const std::string &path, listing &listing) {
  try {
    const auto document = open_document(path);
    listing.begin_file(path, *document);
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

std::vector<option> options() { return {{"--json", "", "print a JSON array with an object for each file"}}; }

}  // namespace

const command info_command = {"info",
                              "FILE...",
                              "what files say about their pages",
                              "Prints size, type, colour, compression, resolution and strings of each file's "
                              "page, or a line a page for a "
                              "file with several, and the strings that differ from those of the page before. "
                              "Pages are counted from 1. Reads "
                              "no pixels; of pages whose pixels cannot be read it tells why.",
                              1,
                              SIZE_MAX,
                              options,
                              run};

}  // namespace tool
