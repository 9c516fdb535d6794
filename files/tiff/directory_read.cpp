// A directory becomes the values of a page: one short function a kind of tag, then the checks.
#include "files/tiff/directory_read.hpp"

#include <algorithm>
#include <limits>

namespace qvim::tiff {

namespace {

constexpr uint64_t longest_side = std::numeric_limits<int32_t>::max();

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
    if (!is_unsigned_integer(at.type) || at.count != 1) return -10;
    const uint64_t value = number(at, 0);
    const bool is_side = t == ImageWidth || t == ImageLength;
    const uint64_t highest = is_side ? longest_side : tags[t].written == field::short_ ? 0xFFFF : 0xFFFFFFFF;
    if (value > highest) return is_side ? -11 : -10;
    p.scalar[t] = uint32_t(value);
    return 0;
  }

  // Further samples than four are counted, so that the page is refused for their number.
  int32_t per_sample(tag t, const place &at) const {
    if (!is_unsigned_integer(at.type)) return -10;
    auto &values = p.per_sample[per_sample_index(t)];
    for (uint64_t i = 0; i < std::min(at.count, uint64_t{values.size()}); i++) {
      const uint64_t value = number(at, i);
      if (value > 0xFFFF) return -10;
      values[i] = uint16_t(value);
    }
    return 0;
  }

  int32_t rational(tag t, const place &at) const {
    if (at.type != field::rational || at.count != 1) return -10;
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
      case kind::text: return at.type == field::ascii ? 0 : -10;
      case kind::strips:
      case kind::colours: return is_unsigned_integer(at.type) ? 0 : -10;
    }
    return -10;
  }

  // One entry: its values lie inside it when they fit the room of an offset.
  int32_t entry(const uint8_t *bytes, uint64_t position) const {
    const int room = f.offset_size();
    const uint16_t id = from_bytes<uint16_t>(bytes, f.order());
    place at{field(from_bytes<uint16_t>(bytes + 2, f.order())),
             unsigned_from_bytes(bytes + 4, room, f.order()), position + 4 + uint64_t(room)};
    const uint64_t size = uint64_t(field_size(at.type));
    if (size == 0) return -10;
    if (at.count > uint64_t(room) / size)
      at.position = unsigned_from_bytes(bytes + 4 + room, room, f.order());
    if (!in.holds_at(at.position, at.count, size)) return -10;

    const auto *facts = std::lower_bound(tags.begin(), tags.end(), id,
                                         [](const tag_facts &t, uint16_t i) { return t.id < i; });
    if (facts == tags.end() || facts->id != id) return 0;
    const tag t = tag(facts - tags.begin());
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
      for (uint64_t i = 0; i < n; i++)
        if (const int32_t code = entry(bytes + i * entry_size, position + i * entry_size); code < 0)
          return code;
      position += n * entry_size;
      count -= n;
    }
    return in.code();
  }
};

// Do the tags agree with each other?
bool is_consistent(page &p) {
  const uint32_t samples = p.samples();
  if (p.width() == 0 || p.height() == 0 || samples == 0 || p.scalar[RowsPerStrip] == 0) return false;
  if ((p.present[BitsPerSample] ? p.count[BitsPerSample] : 1) != samples) return false;
  if (p.present[SampleFormat] && p.count[SampleFormat] != samples) return false;
  for (uint32_t i = 0; i < std::min(samples, 4u); i++)
    if (p.bits()[i] == 0) return false;
  if (p.present[StripByteCounts] && p.count[StripByteCounts] != p.count[StripOffsets]) return false;
  p.scalar[RowsPerStrip] = std::min(p.scalar[RowsPerStrip], p.height());
  const uint32_t rows = p.scalar[RowsPerStrip];
  if (p.count[StripOffsets] != (uint64_t(p.height()) + rows - 1) / rows) return false;
  const uint32_t planes = p.scalar[PlanarConfiguration];
  if (planes != 1 && !(planes == 2 && samples == 1)) return false;
  if (!p.present[ColorMap]) return true;
  return samples == 1 && p.bits()[0] < 32 && p.count[ColorMap] == uint64_t{3} << p.bits()[0];
}

bool is_integer_page(const page &p) { return p.sample_format()[0] == 1; }

bool compression_is_served(const page &p, uint16_t bits) {
  const uint32_t predictor = p.scalar[Predictor];
  switch (p.scalar[Compression]) {
    case uncompressed:
    case packbits: return true;
    case lzw: return predictor == 1 || (predictor == 2 && (bits == 8 || bits == 16));
    case arithmetic: return predictor == 1 || predictor == 2;
    default: return false;
  }
}

bool samples_are_served(const page &p, uint16_t bits) {
  for (uint32_t i = 1; i < p.samples(); i++)
    if (p.bits()[i] != bits || p.sample_format()[i] != p.sample_format()[0]) return false;
  if (is_integer_page(p)) return bits <= 32 || bits == 64;
  return p.sample_format()[0] == 3 && (bits == 32 || bits == 64) && !p.present[ColorMap];
}

bool is_served(const page &p, const directory &d) {
  if (p.samples() > 4) return false;
  const uint16_t bits = p.bits()[0];
  if (p.present[ColorMap] && bits > 16) return false;
  if (p.scalar[Photometric] == ycbcr && p.samples() == 3 && d.subsampled) return false;
  return compression_is_served(p, bits) && samples_are_served(p, bits);
}

}  // namespace

int32_t read_directory(bufio *file, const format &f, uint64_t offset, page *p, directory *d) {
  *p = page();
  *d = directory();
  checked_reader in(*file, f.order());
  in.seek(offset);
  const uint64_t count = in.get_unsigned(uint32_t(f.count_size()));
  const uint64_t entries = in.position();
  if (!in.holds(count, uint64_t(f.entry_size()))) in.fail();
  in.skip(count * uint64_t(f.entry_size()) + uint64_t(f.offset_size()));
  if (const int32_t code = in.code(); code < 0) return code;
  const directory_reader reader{in, f, *p, *d};
  if (const int32_t code = reader.entries(entries, count); code < 0) return code;
  if (!is_consistent(*p)) return -10;
  return is_served(*p, *d) ? 0 : -11;
}

}  // namespace qvim::tiff
