#include "tiff.hpp"

#include <algorithm>

#include <qvimage/tiff.h>

#include "audit/audit.hpp"
#include "failure.hpp"
#include "handle.hpp"
#include "text.hpp"
#include "words.hpp"

namespace tool {

namespace {

constexpr int64_t info_block = 4096;  // bytes; descriptions are small and lie scattered
constexpr uint32_t bigtiff_version = 43;

// --- reading

int32_t info(qvimagefileinfo *info, const char *path, int64_t page) {
  return qvimage_tiffinfo(info, path, nullptr, info_block, static_cast<uint64_t>(page));
}

int64_t info_many(qvimagefileinfo *infos, int64_t count, const char *path, int64_t first) {
  return qvimage_tiffinfoN(infos, count, path, nullptr, info_block, first);
}

int32_t read(qvimage *image, qvimage *palette, void **handle, const char *path, int64_t page) {
  return with_handle<tiffhandle>(handle, [&](tiffhandle **h) {
    return qvimage_tiffread(image, palette, h, path, nullptr, 0, static_cast<uint64_t>(page), 0);
  });
}

int32_t read_all(qvimage3 *image, qvimage *, void **handle, const char *path) {
  return with_handle<tiffhandle>(
      handle, [&](tiffhandle **h) { return qvimage3_tiffread(image, nullptr, h, path, nullptr, 0, 0); });
}

// --- words

struct compression_entry {
  uint32_t code;
  std::string_view name;
};

// Those of --compression in its order, by the writer's codes; then those that are only recognised.
constexpr compression_entry compressions[] = {{1, "none"},
                                              {5, "lzw"},
                                              {517, "lzw-predictor"},
                                              {32773, "packbits"},
                                              {32885, "arithmetic"},
                                              {33397, "arithmetic-predictor"}};
constexpr compression_entry foreign[] = {{2, "CCITT RLE"},     {3, "CCITT Group 3"}, {4, "CCITT Group 4"},
                                         {6, "old JPEG"},      {7, "JPEG"},          {8, "Deflate"},
                                         {32946, "Deflate"},   {34712, "JPEG 2000"}, {34925, "LZMA"},
                                         {50000, "Zstandard"}, {50001, "WebP"},      {50002, "JPEG XL"}};

std::string compression_name(uint32_t code) {
  for (const std::span<const compression_entry> list :
       {std::span<const compression_entry>(compressions), std::span<const compression_entry>(foreign)}) {
    const auto found = std::ranges::find(list, code, &compression_entry::code);
    if (found != list.end()) return std::string(found->name);
  }
  return formatted("code %u", code);
}

bool coded(const qvimagefileinfo &info) { return info.compression > 1; }

std::string kind(const qvimagefileinfo &info) { return info.version == bigtiff_version ? "BigTIFF" : "TIFF"; }

std::vector<fact> facts(const qvimagefileinfo &info) {
  std::vector<fact> facts = {{"compression", "compression", compression_name(info.compression)}};
  facts[0].brief = true;
  const bool one = info.stripsize == UINT64_MAX;
  const auto size = static_cast<int64_t>(info.stripsize);
  if (size == 0) return facts;  // a page that is not read
  const std::string strips = one ? "one" : formatted("of at most %lld bytes", static_cast<long long>(size));
  facts.push_back({"single_strip", "strips", strips, fact::as_truth, one});
  if (!one) facts.push_back({"largest_strip", nullptr, "", fact::as_number, size});
  return facts;
}

// --- writing

constexpr option compression_option = {"--compression",
                                       "none|lzw|lzw-predictor|packbits|arithmetic|arithmetic-predictor",
                                       "of TIFF files; predictor: of the differences between neighbours"};
constexpr option bigtiff_option = {"--bigtiff", "", "write BigTIFF, which may grow beyond 4 GiB"};
constexpr option options[] = {compression_option, bigtiff_option};

void apply(const arguments &arguments, qvimagefileinfo &info) {
  const bool was_coded = coded(info);
  if (const auto name = arguments.value(compression_option.name))
    info.compression = compressions[chosen(compression_option, *name)].code;
  // Only the strips of pages that stay uncoded are kept: of a coded page the file tells the largest coded
  // strip alone, and one strip for a whole page cannot be coded by several threads.
  if (was_coded || coded(info)) info.stripsize = 0;
  if (info.datetime != nullptr && !is_datetime(info.datetime)) info.datetime = nullptr;
  if (arguments.has(bigtiff_option.name)) info.version = bigtiff_version;
}

}  // namespace

bool compression_is_arithmetic(uint32_t compression) { return compression == 32885 || compression == 33397; }

const file_format tiff_format = {
    .sign = qv::sign_of(qv::format::tiff),
    .read = {.info = info,
             .info_many = info_many,
             .info_done = qvimage_tiffinfodone,
             .read = read,
             .done = closing<qvimage_tiffreaddone>::call,
             .read_all = read_all,
             .done_all = closing<qvimage3_tiffreaddone>::call},
    .extras = tiff_extras,
    .coded = coded,
    .kind = kind,
    .facts = facts,
    .texts = all_texts,
    .has_resolution = true,
    .options = options,
    .apply = apply,
    .create = create_tiff,
    .audit = audit_tiff,
};

}  // namespace tool
