// A directory becomes the values of a page: one short function a kind of tag, then the checks.
#include "files/tiff/directory_read.hpp"

#include <algorithm>
#include <limits>

#include <qvimage/error.h>

#include "core/reason.hpp"

namespace qvim::tiff {

namespace {

constexpr uint16_t tile_width = 322;  // what only pages of tiles have
constexpr uint64_t longest_side = std::numeric_limits<int32_t>::max();

// Compressions that other programs write and that are not read, by name.
struct named_compression {
  uint32_t code;
  const char *name;
};
constexpr named_compression foreign_compressions[] = {{2, "CCITT RLE"},
                                                      {3, "CCITT Group 3"},
                                                      {4, "CCITT Group 4"},
                                                      {6, "old JPEG"},
                                                      {7, "JPEG"},
                                                      {8, "Deflate"},
                                                      {32946, "Deflate"},
                                                      {32766, "NeXT"},
                                                      {32809, "ThunderScan"},
                                                      {32908, "Pixar Film"},
                                                      {32909, "Pixar Deflate"},
                                                      {32895, "JBIG"},
                                                      {34661, "JBIG"},
                                                      {34676, "SGI LogLuv"},
                                                      {34677, "SGI 24-bit LogLuv"},
                                                      {34712, "JPEG 2000"},
                                                      {34887, "LERC"},
                                                      {34925, "LZMA"},
                                                      {50000, "Zstandard"},
                                                      {50001, "WebP"},
                                                      {50002, "JPEG XL"},
                                                      {52546, "JPEG XL"}};

// An entry's type and number of values as text, and what is wrong with them.
int32_t refuse_type(const place &at, const char *expected) {
  return because(QVERR_FORMAT,
                 {"has ", at.count, " values of type ", uint32_t(at.type), ", expected ", expected});
}

struct directory_reader {
  checked_reader &in;
  const format &f;
  page &p;
  directory &d;

  uint64_t number(const place &at, uint64_t i) const {
    const int size = field_size(at.type);
    in.seek(at.position + i * uint64_t(size));
    return in.get_unsigned(uint32_t(size));
  }

  int32_t scalar(tag t, const place &at) const {
    if (!is_unsigned_integer(at.type) || at.count != 1) return refuse_type(at, "one unsigned integer");
    const uint64_t value = number(at, 0);
    const bool is_side = t == ImageWidth || t == ImageLength;
    const uint64_t highest = is_side ? longest_side : tags[t].written == field::short_ ? 0xFFFF : 0xFFFFFFFF;
    if (value > highest)
      return because(is_side ? QVERR_UNSUPPORTED : QVERR_FORMAT, {"is ", value, ", more than ", highest});
    p.scalar[t] = uint32_t(value);
    return 0;
  }

  // Further samples than four are counted, so that the page is refused for their number.
  int32_t per_sample(tag t, const place &at) const {
    if (!is_unsigned_integer(at.type)) return refuse_type(at, "unsigned integers");
    auto &values = p.per_sample[per_sample_index(t)];
    for (uint64_t i = 0; i < std::min(at.count, uint64_t{values.size()}); i++) {
      const uint64_t value = number(at, i);
      if (value > 0xFFFF) return because(QVERR_FORMAT, {"is ", value, ", more than 65535"});
      values[i] = uint16_t(value);
    }
    return 0;
  }

  int32_t rational(tag t, const place &at) const {
    if (at.type != field::rational || at.count != 1) return refuse_type(at, "one rational number");
    auto &value = p.resolution[resolution_index(t)];
    in.seek(at.position);
    for (uint32_t &part : value) part = in.get<uint32_t>();
    return 0;
  }

  // Extra samples are samples like the others; chroma that serves several pixels is not served.
  int32_t constants(tag t, const place &at) const {
    if (t == YCbCrSubSampling && is_unsigned_integer(at.type))
      for (uint64_t i = 0; i < std::min(at.count, uint64_t{2}); i++) d.subsampled |= number(at, i) != 1;
    return 0;
  }

  int32_t value(tag t, const place &at) const {
    switch (tags[t].what) {
      case kind::scalar: return scalar(t, at);
      case kind::per_sample: return per_sample(t, at);
      case kind::rational: return rational(t, at);
      case kind::constants: return constants(t, at);
      case kind::text: return at.type == field::ascii ? 0 : refuse_type(at, "text");
      case kind::strips:
      case kind::colours: return is_unsigned_integer(at.type) ? 0 : refuse_type(at, "unsigned integers");
    }
    return QVERR_FORMAT;
  }

  // One entry: its values lie inside it when they fit the room of an offset.
  int32_t entry(const uint8_t *bytes, uint64_t position) const {
    const int room = f.offset_size();
    const uint16_t id = from_bytes<uint16_t>(bytes, f.order());
    place at{field(from_bytes<uint16_t>(bytes + 2, f.order())),
             unsigned_from_bytes(bytes + 4, room, f.order()), position + 4 + uint64_t(room)};
    const auto *facts = std::lower_bound(tags.begin(), tags.end(), id,
                                         [](const tag_facts &t, uint16_t i) { return t.id < i; });
    const bool is_known = facts != tags.end() && facts->id == id;
    int32_t code = locate(bytes + 4 + room, &at);
    if (code == 0 && is_known) code = keep(tag(facts - tags.begin()), at);
    d.tiled |= id == tile_width;
    if (code == 0) return 0;
    return is_known ? within({"tag ", id, " (", facts->name, ")"}, code) : within({"tag ", id}, code);
  }

  // Where the values stand: in the file, or in the entry, as they did so far.
  int32_t locate(const uint8_t *offset, place *at) const {
    const uint64_t size = uint64_t(field_size(at->type));
    if (size == 0)
      return because(QVERR_FORMAT, {"has the type ", uint32_t(at->type), ", which there is not"});
    const int room = f.offset_size();
    if (at->count > uint64_t(room) / size) at->position = unsigned_from_bytes(offset, room, f.order());
    if (in.holds_at(at->position, at->count, size)) return 0;
    return because(QVERR_FORMAT, {"its ", at->count, " values of ", size, " bytes at byte ", at->position,
                                  " do not lie in the file"});
  }

  int32_t keep(tag t, const place &at) const {
    p.present[t] = true;
    p.count[t] = at.count;
    d.at[t] = at;
    return value(t, at);
  }

  // Entries are fetched many at a time: values elsewhere in the file would change the resident block between
  // one entry and the next.
  int32_t entries(uint64_t position, uint64_t count) const {
    uint8_t bytes[64 * 20];
    const uint64_t entry_size = uint64_t(f.entry_size());
    while (count > 0) {
      const uint64_t n = std::min(count, sizeof bytes / entry_size);
      in.seek(position);
      in.get_bytes(bytes, n * entry_size);
      if (in.code() < 0) break;
      for (uint64_t i = 0; i < n; i++)
        if (const int32_t code = entry(bytes + i * entry_size, position + i * entry_size); code < 0)
          return code;
      position += n * entry_size;
      count -= n;
    }
    return in.code();
  }
};

// What a tag must say for the others to make sense.
int32_t contradiction(tag t, uint64_t has, const char *what, uint64_t expected) {
  return because(QVERR_FORMAT,
                 {"tag ", tags[t].id, " (", tags[t].name, ") has ", has, what, ", expected ", expected});
}

int32_t check_numbers(const page &p) {
  for (const tag t : {ImageWidth, ImageLength, SamplesPerPixel, RowsPerStrip})
    if (p.scalar[t] == 0)
      return because(QVERR_FORMAT,
                     {"tag ", tags[t].id, " (", tags[t].name, p.present[t] ? ") is 0" : ") is missing"});
  for (uint32_t i = 0; i < std::min(p.samples(), 4u); i++)
    if (p.bits()[i] == 0) return because(QVERR_FORMAT, {"sample ", i + 1, " has no bits"});
  return 0;
}

// Do the tags agree with each other?
int32_t check_consistency(page &p, const directory &d) {
  const uint32_t samples = p.samples();
  if (const int32_t code = check_numbers(p); code < 0) return code;
  const uint64_t depths = p.present[BitsPerSample] ? p.count[BitsPerSample] : 1;
  if (depths != samples) return contradiction(BitsPerSample, depths, " values", samples);
  if (p.present[SampleFormat] && p.count[SampleFormat] != samples)
    return contradiction(SampleFormat, p.count[SampleFormat], " values", samples);
  const uint32_t planes = p.scalar[PlanarConfiguration];
  if (planes == 2 && samples != 1)
    return because(QVERR_FORMAT,
                   {"its ", samples, " samples lie in separate planes; only interleaved ones are read"});
  if (planes != 1 && planes != 2)
    return because(QVERR_FORMAT, {"PlanarConfiguration is ", planes, ", expected 1 or 2"});
  if (d.tiled && !p.present[StripOffsets])
    return because(QVERR_FORMAT, {"its pixels lie in tiles; only strips are read"});
  if (p.present[StripByteCounts] && p.count[StripByteCounts] != p.count[StripOffsets])
    return contradiction(StripByteCounts, p.count[StripByteCounts], " values", p.count[StripOffsets]);
  p.scalar[RowsPerStrip] = std::min(p.scalar[RowsPerStrip], p.height());
  const uint64_t strips = (uint64_t(p.height()) + p.scalar[RowsPerStrip] - 1) / p.scalar[RowsPerStrip];
  if (!p.present[StripOffsets])
    return because(QVERR_FORMAT, {"tag 273 (StripOffsets) is missing: it does not say where its pixels are"});
  if (p.count[StripOffsets] != strips)
    return contradiction(StripOffsets, p.count[StripOffsets], " strips", strips);
  if (!p.present[ColorMap]) return 0;
  if (samples != 1) return because(QVERR_FORMAT, {"a colour map for ", samples, " samples a pixel"});
  const uint64_t entries = p.bits()[0] < 32 ? uint64_t{3} << p.bits()[0] : 0;
  return p.count[ColorMap] == entries ? 0 : contradiction(ColorMap, p.count[ColorMap], " values", entries);
}

bool is_integer_page(const page &p) { return p.sample_format()[0] == 1; }

int32_t check_compression(const page &p, uint16_t bits) {
  const uint32_t predictor = p.scalar[Predictor], compression = p.scalar[Compression];
  switch (compression) {
    case uncompressed:
    case packbits: return 0;
    case lzw:
      if (predictor == 1 || (predictor == 2 && (bits == 8 || bits == 16))) return 0;
      break;
    case arithmetic:
      if (predictor == 1 || predictor == 2) return 0;
      break;
    default: {
      for (const named_compression &known : foreign_compressions)
        if (known.code == compression)
          return because(QVERR_UNSUPPORTED, {known.name, " compression (", compression, ") is not read"});
      return because(QVERR_UNSUPPORTED, {"compression ", compression, " is not read"});
    }
  }
  return because(QVERR_UNSUPPORTED,
                 {"predictor ", predictor, " with samples of ", bits, " bits is not read"});
}

int32_t check_samples(const page &p, uint16_t bits) {
  const uint32_t sample_format = p.sample_format()[0];
  for (uint32_t i = 1; i < p.samples(); i++) {
    if (p.bits()[i] != bits)
      return because(QVERR_UNSUPPORTED, {"samples of different depths: ", bits, " bits and ", p.bits()[i]});
    if (p.sample_format()[i] != sample_format)
      return because(QVERR_UNSUPPORTED,
                     {"samples of different formats: ", sample_format, " and ", p.sample_format()[i]});
  }
  const bool real = sample_format == 3;
  if (!is_integer_page(p) && !real)
    return sample_format == 2
               ? because(QVERR_UNSUPPORTED, {"signed samples are not read"})
               : because(QVERR_UNSUPPORTED, {"samples of format ", sample_format, " are not read"});
  if (real && p.present[ColorMap])
    return because(QVERR_UNSUPPORTED, {"floating-point samples with a colour map"});
  if (real ? bits == 32 || bits == 64 : bits <= 32 || bits == 64) return 0;
  return because(QVERR_UNSUPPORTED,
                 {real ? "floating-point " : "", "samples of ", bits, " bits are not read"});
}

int32_t check_service(const page &p, const directory &d) {
  if (p.samples() > 4) return because(QVERR_UNSUPPORTED, {p.samples(), " samples a pixel, more than 4"});
  const uint16_t bits = p.bits()[0];
  if (const int32_t code = check_compression(p, bits); code < 0) return code;
  if (p.present[ColorMap] && bits > 16)
    return because(QVERR_UNSUPPORTED, {"a colour map for samples of ", bits, " bits, more than 16"});
  if (p.scalar[Photometric] == ycbcr && p.samples() == 3 && d.subsampled)
    return because(QVERR_UNSUPPORTED, {"subsampled chroma is not read"});
  return check_samples(p, bits);
}

}  // namespace

int32_t read_directory(bufio *file, const format &f, uint64_t offset, page *p, directory *d) {
  *p = page();
  *d = directory();
  checked_reader in(*file, f.order());
  in.seek(offset);
  const uint64_t count = in.get_unsigned(uint32_t(f.count_size()));
  const uint64_t entries = in.position();
  uint64_t size;
  if (in.code() < 0 || !fit_directory(in, f, offset, count, &size)) return in.code();
  const directory_reader reader{in, f, *p, *d};
  if (const int32_t code = reader.entries(entries, count); code < 0) return code;
  d->complete = true;
  const int32_t code = check_consistency(*p, *d);
  return code < 0 ? code : check_service(*p, *d);
}

bool fit_directory(checked_reader &in, const format &f, uint64_t offset, uint64_t entries, uint64_t *size) {
  const uint64_t ends = uint64_t(f.count_size() + f.offset_size());
  if (!__builtin_mul_overflow(entries, uint64_t(f.entry_size()), size) &&
      !__builtin_add_overflow(*size, ends, size) && in.holds_at(offset, *size, 1))
    return true;
  in.fail({"directory at byte ", offset, " of ", entries, " entries does not fit into the file"});
  return false;
}

}  // namespace qvim::tiff
