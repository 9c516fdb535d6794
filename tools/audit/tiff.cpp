#include <algorithm>
#include <map>
#include <numeric>
#include <set>
#include <vector>

#include "../text.hpp"
#include "audit.hpp"

namespace tool {

namespace {

enum tag : uint16_t {
  image_width = 256,
  image_length = 257,
  bits_per_sample = 258,
  compression = 259,
  photometric = 262,
  strip_offsets = 273,
  samples_per_pixel = 277,
  rows_per_strip = 278,
  strip_byte_counts = 279,
  planar_configuration = 284,
  colour_map = 320,
  tile_width = 322,
  tile_length = 323,
  tile_offsets = 324,
  tile_byte_counts = 325,
  sample_format = 339,
  ycbcr_subsampling = 530
};

// Types by their numbers.
constexpr unsigned type_bytes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 0, 0, 8, 8, 8};
constexpr unsigned ascii = 2;
constexpr uint32_t type(unsigned number) { return 1U << number; }
// Numbers may have fewer bytes than their tags ask for.
constexpr uint32_t text = type(ascii), shorts = type(1) | type(3), longs = type(4) | type(13),
                   ratios = type(5);
constexpr uint32_t lengths = shorts | longs, sizes = lengths | type(16) | type(18);

// How the values of a tag are stored, and how many there are; 0: any number.
struct tag_rule {
  uint16_t tag;
  const char *name;
  uint32_t types;
  uint64_t count;
};
constexpr tag_rule tag_rules[] = {{254, "NewSubfileType", lengths, 1},
                                  {image_width, "ImageWidth", sizes, 1},
                                  {image_length, "ImageLength", sizes, 1},
                                  {bits_per_sample, "BitsPerSample", shorts, 0},
                                  {compression, "Compression", shorts, 1},
                                  {photometric, "PhotometricInterpretation", shorts, 1},
                                  {266, "FillOrder", shorts, 1},
                                  {269, "DocumentName", text, 0},
                                  {270, "ImageDescription", text, 0},
                                  {271, "Make", text, 0},
                                  {272, "Model", text, 0},
                                  {strip_offsets, "StripOffsets", sizes, 0},
                                  {274, "Orientation", shorts, 1},
                                  {samples_per_pixel, "SamplesPerPixel", shorts, 1},
                                  {rows_per_strip, "RowsPerStrip", sizes, 1},
                                  {strip_byte_counts, "StripByteCounts", sizes, 0},
                                  {282, "XResolution", ratios, 1},
                                  {283, "YResolution", ratios, 1},
                                  {planar_configuration, "PlanarConfiguration", shorts, 1},
                                  {296, "ResolutionUnit", shorts, 1},
                                  {305, "Software", text, 0},
                                  {306, "DateTime", text, 0},
                                  {315, "Artist", text, 0},
                                  {316, "HostComputer", text, 0},
                                  {317, "Predictor", shorts, 1},
                                  {colour_map, "ColorMap", shorts, 0},
                                  {tile_width, "TileWidth", sizes, 1},
                                  {tile_length, "TileLength", sizes, 1},
                                  {tile_offsets, "TileOffsets", sizes, 0},
                                  {tile_byte_counts, "TileByteCounts", sizes, 0},
                                  {338, "ExtraSamples", shorts, 0},
                                  {sample_format, "SampleFormat", shorts, 0},
                                  {ycbcr_subsampling, "YCbCrSubSampling", shorts, 2},
                                  {33432, "Copyright", text, 0}};

const tag_rule *rule_of(uint16_t tag) {
  const auto *const found = std::ranges::find(tag_rules, tag, &tag_rule::tag);
  return found == std::end(tag_rules) ? nullptr : found;
}

std::string name_of(uint16_t tag) {
  const tag_rule *const rule = rule_of(tag);
  return rule != nullptr ? formatted("tag %d (%s)", tag, rule->name) : formatted("tag %d", tag);
}

std::string number(uint64_t value) { return std::to_string(value); }

struct entry {
  uint64_t place;  // of the entry
  unsigned type;
  uint64_t count, values;  // where these are
};

// Bytes of the file that belong to one thing.
struct range {
  uint64_t begin, end;
  std::string owner;
};

// A page's pieces: strips or tiles.
struct piece_kind {
  const char *name;
  uint16_t offsets, counts;
};
constexpr piece_kind strips = {"strip", strip_offsets, strip_byte_counts};
constexpr piece_kind tiles = {"tile", tile_offsets, tile_byte_counts};

class auditor {
 public:
  explicit auditor(audited_file &file) : file_(file) {}

  void run() {
    const uint64_t order = file_.number(0, 2);
    file_.big_endian = order == 0x4D4D;
    const uint64_t version = file_.number(2, 2);
    is_big_ = version == 43;
    if ((order != 0x4D4D && order != 0x4949) || (!is_big_ && version != 42)) return;  // readers tell
    if (is_big_ && (file_.number(4, 2) != 8 || file_.number(6, 2) != 0))
      file_.tell(4, "offsets of other than 8 bytes");
    used_.push_back({0, is_big_ ? 16U : 8U, "the header"});
    std::set<uint64_t> seen;
    uint64_t link = is_big_ ? 8 : 4;
    while (const uint64_t directory = file_.number(link, offset_bytes())) {
      page_ = "page " + number(seen.size() + 1);
      if (!seen.insert(directory).second) {
        file_.tell(link,
                   "the link behind the last page leads back to the directory at byte " + number(directory));
        break;
      }
      link = audit_page(link, directory);
      if (link == 0) break;
    }
    if (seen.empty()) file_.tell(link, "there is no page");
    audit_overlaps();
  }

 private:
  unsigned offset_bytes() const { return is_big_ ? 8 : 4; }
  unsigned count_bytes() const { return is_big_ ? 8 : 2; }
  unsigned entry_bytes() const { return is_big_ ? 20 : 12; }
  void tell(uint64_t place, const std::string &rule) { file_.tell(place, page_ + ": " + rule); }
  void tell(const entry &where, uint16_t tag, const std::string &rule) {
    tell(where.place, name_of(tag) + " " + rule);
  }

  // Returns where the link to the next page is; 0 when it is not in the file.
  uint64_t audit_page(uint64_t link, uint64_t directory) {
    entries_.clear();
    directory_ = directory;
    const uint64_t size = file_.size();
    if (directory > size || count_bytes() > size - directory)
      return file_.tell(link, "the link to " + page_ + " leads to byte " + number(directory) +
                                  ", beyond the file's end"),
             0;
    const uint64_t count = file_.number(directory, count_bytes());
    const uint64_t first = directory + count_bytes();
    if (count > (size - first) / entry_bytes() || size - first - count * entry_bytes() < offset_bytes())
      return tell(directory, "the directory of " + number(count) + " entries does not fit into the file"), 0;
    if (!has_room_for(count)) return tell_shared(), 0;
    const uint64_t end = first + count * entry_bytes();
    used_.push_back({directory, end + offset_bytes(), "the directory of " + page_});
    uint64_t last_tag = 0;
    for (uint64_t place = first; place < end; place += entry_bytes()) {
      const auto tag = static_cast<uint16_t>(file_.number(place, 2));
      if (place > first && tag <= last_tag)
        tell(place,
             name_of(tag) + (tag == last_tag ? " is there twice" : " stands behind tag " + number(last_tag)));
      last_tag = tag;
      audit_entry(tag, place);
    }
    audit_required();
    audit_samples();
    audit_pieces();
    return end;
  }

  // Values that nothing else is made of have a byte each. Files whose directories and pages share them could
  // tell of any number; the work stays in proportion to the file's length.
  bool has_room_for(uint64_t values) {
    if (values > file_.size() - told_of_) return false;
    told_of_ += values;
    return true;
  }
  void tell_shared() {
    tell(directory_, "with those of the pages before it, it has more values than the file has room for");
  }

  void audit_entry(uint16_t tag, uint64_t place) {
    entry one = {place, static_cast<unsigned>(file_.number(place + 2, 2)),
                 file_.number(place + 4, offset_bytes()), place + 4 + offset_bytes()};
    const unsigned width = one.type < std::size(type_bytes) ? type_bytes[one.type] : 0;
    if (width == 0) return tell(one, tag, "has the type " + number(one.type) + ", which there is not");
    const uint64_t size = file_.size();
    if (one.count > size / width)
      return tell(one, tag, "has " + number(one.count) + " values, more than the file");
    if (one.count * width > offset_bytes()) one.values = file_.number(one.values, offset_bytes());
    if (one.values > size || one.count * width > size - one.values)
      return tell(one, tag, "has values at byte " + number(one.values) + ", beyond the file's end");
    if (const tag_rule *const rule = rule_of(tag)) {
      if ((rule->types & type(one.type)) == 0)
        tell(one, tag, "has the type " + number(one.type) + ", not its own");
      if (one.count == 0 || (rule->count != 0 && one.count != rule->count))
        tell(one, tag, "has " + number(one.count) + " values");
    }
    if (one.type == ascii && one.count > 0 && file_.byte(one.values + one.count - 1) != 0)
      tell(one, tag, "is a text without a zero at its end");
    entries_.emplace(tag, one);
  }

  bool has(uint16_t tag) const { return entries_.contains(tag); }
  uint64_t value(uint16_t tag, uint64_t index, uint64_t fallback) {
    const auto found = entries_.find(tag);
    if (found == entries_.end() || index >= found->second.count || (sizes & type(found->second.type)) == 0)
      return fallback;
    const unsigned width = type_bytes[found->second.type];
    return file_.number(found->second.values + index * width, width);
  }
  uint64_t count(uint16_t tag) const {
    const auto found = entries_.find(tag);
    return found == entries_.end() ? 0 : found->second.count;
  }
  uint64_t place(uint16_t tag) const { return entries_.at(tag).place; }

  const piece_kind &pieces() const { return has(tile_offsets) || has(tile_width) ? tiles : strips; }

  void audit_required() {
    std::vector<uint16_t> required = {image_width, image_length, photometric, pieces().offsets,
                                      pieces().counts};
    if (value(photometric, 0, 0) == 3) required.push_back(colour_map);
    for (const uint16_t tag : required) {
      if (!has(tag)) tell(directory_, name_of(tag) + " is missing");
    }
  }

  void audit_samples() {
    const uint64_t samples = value(samples_per_pixel, 0, 1);
    for (const uint16_t tag : {bits_per_sample, sample_format}) {
      // One format for all samples is common.
      if (has(tag) && count(tag) != samples && (tag != sample_format || count(tag) != 1))
        tell(place(tag),
             name_of(tag) + " has " + number(count(tag)) + " values for " + number(samples) + " samples");
    }
    const uint64_t bits = value(bits_per_sample, 0, 1);
    if (value(photometric, 0, 0) == 3 && has(colour_map) && bits <= 16 &&
        count(colour_map) != uint64_t{3} << bits)
      tell(place(colour_map), name_of(colour_map) + " has " + number(count(colour_map)) + " values for " +
                                  number(bits) + " bits");
  }

  // The last value counts for all samples behind it.
  uint64_t sample_bits(uint64_t sample) {
    const uint64_t stored = count(bits_per_sample);
    return stored == 0 ? 1 : value(bits_per_sample, std::min(sample, stored - 1), 1);
  }
  uint64_t pixel_bits(uint64_t samples) {
    const uint64_t stored = std::clamp<uint64_t>(count(bits_per_sample), 1, samples);
    uint64_t bits = 0;
    for (uint64_t i = 0; i < stored; i++) bits = sum(bits, sample_bits(i));
    return sum(bits, product(samples - stored, sample_bits(stored)));
  }

  // What is too large for 64 bits is as large as can be.
  static uint64_t sum(uint64_t a, uint64_t b) {
    uint64_t all;
    return __builtin_add_overflow(a, b, &all) ? UINT64_MAX : all;
  }
  static uint64_t product(uint64_t a, uint64_t b) {
    uint64_t all;
    return __builtin_mul_overflow(a, b, &all) ? UINT64_MAX : all;
  }
  static uint64_t divided(uint64_t value, uint64_t by) { return value / by + (value % by != 0); }

  void audit_pieces() {
    const piece_kind &kind = pieces();
    if (!has(kind.offsets) || !has(kind.counts)) return;
    const uint64_t width = value(image_width, 0, 0), height = value(image_length, 0, 0);
    const uint64_t high = kind.offsets == tile_offsets ? value(tile_length, 0, 0)
                                                       : std::min(value(rows_per_strip, 0, height), height);
    const uint64_t wide = kind.offsets == tile_offsets ? value(tile_width, 0, 0) : width;
    const uint64_t samples = value(samples_per_pixel, 0, 1);
    if (width == 0 || height == 0 || high == 0 || wide == 0 || samples == 0)
      return tell(directory_, "a size is 0");
    const bool planar = value(planar_configuration, 0, 1) == 2;
    const uint64_t planes = planar ? samples : 1, down = divided(height, high), across = divided(width, wide);
    const uint64_t in_plane = product(down, across), expected = product(in_plane, planes);
    for (const uint16_t tag : {kind.offsets, kind.counts}) {
      if (count(tag) != expected)
        return tell(place(tag), name_of(tag) + " has " + number(count(tag)) + " values for " +
                                    number(expected) + " " + kind.name + "s");
    }
    if (!has_room_for(sum(2 * expected, count(bits_per_sample)))) return tell_shared();
    const uint64_t all_samples = pixel_bits(samples);
    for (uint64_t i = 0; i < expected; i++) {
      const uint64_t row = i % in_plane / across * high;
      const uint64_t rows = kind.offsets == tile_offsets ? high : std::min(high, height - row);
      const uint64_t bits = product(wide, planar ? sample_bits(i / in_plane) : all_samples);
      audit_piece(kind, i, has_plain_rows() ? product(divided(bits, 8), rows) : 0);
    }
  }

  // Whether a piece's size follows from its rows.
  bool has_plain_rows() {
    const bool subsampled = value(photometric, 0, 0) == 6 &&
                            (value(ycbcr_subsampling, 0, 2) != 1 || value(ycbcr_subsampling, 1, 2) != 1);
    return value(compression, 0, 1) == 1 && !subsampled;
  }

  // rows: bytes that its rows have; 0: unknown.
  void audit_piece(const piece_kind &kind, uint64_t index, uint64_t rows) {
    const uint64_t begin = value(kind.offsets, index, 0), bytes = value(kind.counts, index, 0);
    const std::string name = std::string(kind.name) + " " + number(index + 1);
    if (begin == 0 && bytes == 0) return;  // one that was never written
    if (begin > file_.size() || bytes > file_.size() - begin)
      return tell(begin, name + " of " + number(bytes) + " bytes lies beyond the file's end");
    if (rows != 0 && bytes != rows)
      tell(begin, name + " has " + number(bytes) + " bytes, its rows " + number(rows));
    used_.push_back({begin, begin + bytes, name + " of " + page_});
  }

  // Nothing is pointed to from two places.
  void audit_overlaps() {
    std::ranges::sort(used_, {}, &range::begin);
    for (size_t i = 1; i < used_.size(); i++) {
      const range &one = used_[i - 1], &next = used_[i];
      if (next.begin < one.end) file_.tell(next.begin, next.owner + " lies inside of " + one.owner);
    }
  }

  audited_file &file_;
  bool is_big_ = false;
  std::string page_;
  uint64_t directory_ = 0;             // of the page
  uint64_t told_of_ = 0;               // values, of all pages so far
  std::map<uint16_t, entry> entries_;  // of the page
  std::vector<range> used_;
};

}  // namespace

void audit_tiff(audited_file &file) { auditor(file).run(); }

}  // namespace tool
