#include "raw.hpp"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <optional>
#include <regex>

#include <qvimage/bufio.h>
#include <qvimage/colour.h>
#include <qvimage/data.h>
#include <qvimage/error.h>
#include <qvimage/raw.h>

#include "failure.hpp"
#include "progress.hpp"
#include "serial_writer.hpp"
#include "text.hpp"
#include "window.hpp"
#include "words.hpp"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr uint16_t foreign_order = 0x800;  // of i_endian
constexpr struct {
  std::string_view name;
  int32_t type;
} types[] = {{"u8", QVIM_UINT8},   {"u16", QVIM_UINT16},  {"u32", QVIM_UINT32},
             {"u64", QVIM_UINT64}, {"f32", QVIM_FLOAT32}, {"f64", QVIM_FLOAT64}};

constexpr char form_of_words[] =
    "raw:FILE:WxH[xN]:TYPE[xC][:BITS][:le|be][@OFFSET], TYPE u8 to u64, f32 or f64";

// How pixels lie in a file.
struct raw_form {
  uint32_t size[2];
  int64_t frames;  // 0: not said
  qvimagedata data;
  uint64_t offset;
  uint64_t frame_bytes() const {
    const auto pixel = static_cast<uint64_t>(qvimdatasize(static_cast<uint32_t>(data.pixietype))) *
                       static_cast<uint64_t>(data.pixies);
    return uint64_t{size[0]} * size[1] * pixel;
  }
  uint64_t place(int64_t page) const { return offset + static_cast<uint64_t>(page) * frame_bytes(); }
};

[[noreturn]] void complain(const std::string &word, const std::string &why) {
  throw usage_error(printable(word) + ": " + why + "; raw files are named " + form_of_words);
}

int64_t number(const std::string &word, const std::string &text, int64_t least, int64_t most) {
  const auto found = numbers<int64_t>(text, ',', least, most);
  if (!found || found->size() != 1) complain(word, text + " is no possible number");
  return found->front();
}

int32_t hint_of(int32_t components) {
  return components == 1 ? QVIM_HINT_GREY : components == 3 ? QVIM_HINT_RGB : QVIM_HINT_UNKNOWN;
}

// What stands behind the file's name; nothing where that is empty.
std::optional<raw_form> form_of(const std::string &word) {
  static const std::regex pattern(
      ":(\\d+)x(\\d+)(?:x(\\d+))?:([uf]\\d+)(?:x(\\d+))?(?::(\\d+))?(?::(le|be))?(?:@(\\d+))?");
  const std::string text = parts_of_raw(word).behind;
  if (text.empty()) return std::nullopt;
  std::smatch part;
  if (!std::regex_match(text, part, pattern)) complain(word, "this tells no form");
  raw_form form = {};
  for (size_t i = 0; i < 2; i++)
    form.size[i] = static_cast<uint32_t>(number(word, part[i + 1], 1, INT32_MAX));
  form.frames = part[3].matched ? number(word, part[3], 1, INT32_MAX) : 0;
  const auto type =
      std::ranges::find(types, part[4].str(), [](const auto &t) { return std::string(t.name); });
  if (type == std::end(types)) complain(word, "the type " + part[4].str() + " is not known");
  const auto components = part[5].matched ? static_cast<int32_t>(number(word, part[5], 1, 32)) : 1;
  const bool integer = type->type < QVIM_FLOAT32;
  if (!integer && (part[6].matched || part[7].matched))
    complain(word, "floating-point numbers have neither bits nor another order of bytes");
  const int32_t width = 8 * qvimdatasize(static_cast<uint32_t>(type->type));
  const auto bits = part[6].matched ? static_cast<int32_t>(number(word, part[6], 1, width)) : 0;
  qviminitdata(&form.data, type->type, bits, components, hint_of(components));
  const bool big = std::endian::native == std::endian::big;
  if (part[7].matched && (part[7] == "be") != big) form.data.i_endian = foreign_order;
  form.offset = part[8].matched ? static_cast<uint64_t>(number(word, part[8], 0, INT64_MAX)) : 0;
  return form;
}

raw_form known_form(const std::string &word) {
  const auto form = form_of(word);
  if (!form) complain(word, "size and type are missing");
  return *form;
}

// --- reading

int32_t info(qvimagefileinfo *info, const char *word, int64_t) {
  const raw_form form = known_form(word);
  std::error_code error;
  const uint64_t bytes = fs::file_size(parts_of_raw(word).file, error);
  if (error) throw failure(word, QVERR_NOTFOUND, "its length is not known: " + error.message());
  const uint64_t frame = form.frame_bytes();
  const uint64_t found = bytes > form.offset ? (bytes - form.offset) / frame : 0;
  const uint64_t frames = form.frames != 0 ? static_cast<uint64_t>(form.frames) : found;
  if (found == 0 || frames > found)
    throw failure(
        word, QVERR_FORMAT,
        formatted("%llu bytes of pixels from byte %llu on, the file has %llu",
                  static_cast<unsigned long long>(frame * std::max<uint64_t>(frames, 1)),
                  static_cast<unsigned long long>(form.offset), static_cast<unsigned long long>(bytes)));
  *info = {};
  info->width = form.size[0];
  info->height = form.size[1];
  info->wind.se.x = static_cast<int32_t>(form.size[0]);
  info->wind.se.y = static_cast<int32_t>(form.size[1]);
  info->data = form.data;
  info->pagecount = static_cast<uint32_t>(std::min<uint64_t>(frames, INT32_MAX));
  return 0;
}

void info_done(qvimagefileinfo *) {}

int32_t read(qvimage *image, qvimage *, void **handle, const char *word, int64_t page) {
  const raw_form form = known_form(word);
  auto stream = std::make_unique<bufio>();
  int32_t code = bufio_init(stream.get(), parts_of_raw(word).file.c_str(), "rb", 0, 0);
  if (code < 0) return code;
  bufio_tareset(stream.get(), form.place(page));
  code = qvimage_filebufio(image, stream.get(), form.size, &form.data);
  if (code < 0)
    bufio_done(stream.get());
  else
    *handle = stream.release();
  return code;
}

int32_t done(qvimage *, qvimage *, void **handle) {
  auto *stream = static_cast<bufio *>(*handle);
  if (stream != nullptr) bufio_done(stream);
  delete stream;
  *handle = nullptr;
  return 0;
}

std::string kind(const qvimagefileinfo &) { return "raw"; }

// --- writing

class raw_writer : public serial_writer {
 public:
  raw_writer(const std::string &file, const std::string &word, int64_t pages)
      : serial_writer(file, word), form_(form_of(word)), pages_(pages) {}
  ~raw_writer() override { end(); }

 private:
  // Pixels of the form that the word tells, or, where it tells none, of their own.
  int32_t begin(qvimage *image, qvimage *, qvimagefileinfo &) override {
    if (!form_) form_ = form_of_pixels(*image);
    if (form_->frames != 0 && form_->frames != pages_)
      refuse(formatted("%lld pages are not the %lld that the name tells", static_cast<long long>(pages_),
                       static_cast<long long>(form_->frames)));
    stream_ = std::make_unique<bufio>();
    const int32_t code = bufio_init(stream_.get(), path(), "w+b", 0, 0);
    if (code < 0) stream_.reset();
    return code;
  }

  int32_t page(qvimage *image, qvimage *, qvimagefileinfo &) override {
    check(form_of_pixels(*image));
    bufio_tareset(stream_.get(), form_->place(written_++));
    alignas(8) qvimage there, recoloured;
    if (blue_first(image->d.pixelhint)) {
      if (const int32_t code = qvimage_colorconverter(&recoloured, image, QVIM_HINT_RGB, 0); code < 0)
        return code;
      image = &recoloured;
    }
    const int32_t code = qvimage_filebufio(&there, stream_.get(), form_->size, &form_->data);
    return code < 0 ? code : copy_rows(image, &there);
  }

  int32_t end() override {
    if (!stream_) return 0;
    bufio_done(stream_.get());
    const int32_t code = bufio_err(stream_.get());
    stream_.reset();
    return code;
  }

  int32_t copy_rows(qvimage *from, qvimage *to) {
    const qvimagedata data = to->d;
    const auto type = static_cast<uint32_t>(data.pixietype) | QVIM_LSB;
    const uint32_t all = data.pixies >= 32 ? UINT32_MAX : (uint32_t{1} << data.pixies) - 1;
    const int32_t left = from->wind.nw.x, top = from->wind.nw.y, height = from->wind.se.y - top;
    for (qvimage *image : {from, to}) {
      if (const int32_t code = image->ioset(image, 0, type, all); code < 0) return code;
    }
    std::vector<std::byte> row(form_->frame_bytes() / form_->size[1]);
    for (int32_t y = 0; y < height; y++) {
      if (from->ioread(from, 0, row.data(), form_->size[0], left, top + y) != form_->size[0]) return QVERR_IO;
      to->iorite(to, 0, row.data(), form_->size[0], 0, y);
      if (progress::callback(y + 1, height) != 0) return QVERR_IO;
    }
    return bufio_err(stream_.get());
  }

  static raw_form form_of_pixels(const qvimage &image) {
    raw_form form = {};
    form.size[0] = static_cast<uint32_t>(width_of(image.wind));
    form.size[1] = static_cast<uint32_t>(height_of(image.wind));
    const qvimagedata d = image.d;
    qviminitdata(&form.data, d.pixietype, d.pixietype < QVIM_FLOAT32 ? d.i_bitsused : 0, d.pixies,
                 d.pixelhint);
    return form;
  }

  void check(const raw_form &page) const {
    if (page.size[0] != form_->size[0] || page.size[1] != form_->size[1])
      refuse(formatted("the page has %u x %u pixels, the name tells %u x %u", page.size[0], page.size[1],
                       form_->size[0], form_->size[1]));
    const qvimagedata mine = form_->data, its = page.data;
    if (mine.pixietype != its.pixietype || bits_of(mine) != bits_of(its))
      refuse("the name tells " + words_of(mine) + " pixels, not " + words_of(its) +
             " ones (--type and --bits make them)");
    if (mine.pixies != its.pixies)
      refuse(
          formatted("the name tells pixels of %d components, not of %d (--colour and --component make them)",
                    mine.pixies, its.pixies));
  }
  static std::string words_of(const qvimagedata &data) { return describe_type(data) + " " + type_name(data); }

  std::optional<raw_form> form_;
  const int64_t pages_;
  int64_t written_ = 0;
  std::unique_ptr<bufio> stream_;
};

std::unique_ptr<writer> create(const std::string &path, const std::string &shown, bool append,
                               int64_t pages) {
  if (append) throw failure(shown, QVERR_UNSUPPORTED, "pages are not added to raw files");
  // A name without a form is a path where its format was asked for by --format.
  return std::make_unique<raw_writer>(path, is_raw(shown) ? shown : std::string(raw_mark), pages);
}

constexpr qv::format_sign sign = {{}, "raw", "", "", qv::opens::page};

}  // namespace

raw_parts parts_of_raw(const std::string &word) {
  static const std::regex form(":\\d+x\\d+(x\\d+)?:[a-z][^/]*$");
  const std::string text = word.substr(std::min(raw_mark.size(), word.size()));
  std::smatch found;
  if (!std::regex_search(text, found, form)) return {text, ""};
  return {text.substr(0, static_cast<size_t>(found.position())), found.str()};
}

void check_raw_form(const std::string &word) { known_form(word); }

const file_format raw_format = {
    .sign = sign,
    .read = {.info = info, .info_done = info_done, .read = read, .done = done},
    .kind = kind,
    .holds = {.files = "raw files"},
    .create = create,
};

}  // namespace tool
