// A page's directory in the file.
#include <cstring>

#include "files/tiff/writer.hpp"

namespace qvim::tiff {

namespace {

// Numbers in the file's byte order, at the stream's position.
class numbers {
 public:
  explicit numbers(writer &w) : file_(&w.file), format_(w.format) {}

  void put(uint64_t value, int size) {
    uint8_t bytes[8];
    for (int i = 0; i < size; i++) bytes[format_.big_endian ? size - 1 - i : i] = uint8_t(value >> 8 * i);
    bufio_io(file_, bytes, uint64_t(size), 'w');
  }
  void offset(uint64_t value) { put(value, format_.offset_size()); }
  void zeros(uint64_t count) {
    uint8_t none[64] = {};
    for (; count > sizeof none; count -= sizeof none) bufio_io(file_, none, sizeof none, 'w');
    bufio_io(file_, none, count, 'w');
  }

 private:
  bufio *file_;
  format format_;
};

// The type in which a tag is written, given the page's values.
field type_of(const writer &w, tag t) {
  const page &p = w.page;
  switch (t) {
    case ImageWidth:
    case ImageLength: return p.width() >= 65536 || p.height() >= 65536 ? field::long_ : field::short_;
    case ColorMap: return p.count[ColorMap] > 3 * 65536 ? field::long_ : field::short_;
    default: return tags[t].written;
  }
}

// What the strip arrays are reserved as, until their values are known.
field reserved_type(const writer &w) { return w.format.bigtiff ? field::long8 : field::long_; }

uint64_t value_bytes(const writer &w, tag t) {
  const field type = tags[t].what == kind::strips ? reserved_type(w) : type_of(w, t);
  return w.page.count[t] * uint64_t(field_size(type));
}

bool is_inline(const writer &w, uint64_t bytes) { return bytes <= uint64_t(w.format.offset_size()); }

void put_value(numbers &out, const writer &w, tag t) {
  const page &p = w.page;
  const int size = field_size(type_of(w, t));
  switch (tags[t].what) {
    case kind::scalar: return out.put(p.scalar[t], size);
    case kind::per_sample:
      for (uint64_t i = 0; i < p.count[t]; i++) out.put(p.per_sample[per_sample_index(t)][i], size);
      return;
    case kind::constants:
      for (uint64_t i = 0; i < p.count[t]; i++) out.put(tags[t].initial, size);
      return;
    case kind::rational:
      for (uint32_t part : p.resolution[resolution_index(t)]) out.put(part, 4);
      return;
    case kind::text: {
      const array<char> &text = p.text[text_index(t)];
      for (uint64_t i = 0; i < p.count[t]; i++) out.put(i < text.size() ? uint8_t(text[i]) : 0, 1);
      return;
    }
    case kind::colours:
      for (uint64_t i = 0; i < p.count[t]; i++) out.put(p.colours[i], size);
      return;
    case kind::strips: return out.zeros(value_bytes(w, t));
  }
}

// An entry with its value, or with the place of its value, which is then counted into *values.
void put_entry(numbers &out, const writer &w, tag t, uint64_t *values) {
  const uint64_t bytes = value_bytes(w, t);
  out.put(tags[t].id, 2);
  out.put(uint64_t(tags[t].what == kind::strips ? reserved_type(w) : type_of(w, t)), 2);
  out.offset(w.page.count[t]);
  if (!is_inline(w, bytes)) {
    out.offset(*values);
    *values += bytes;
    return;
  }
  put_value(out, w, t);
  out.zeros(uint64_t(w.format.offset_size()) - bytes);
}

uint64_t entry_count(const page &p) {
  uint64_t count = 0;
  for (bool present : p.present) count += present;
  return count;
}

bool any_wide(const array<uint64_t> &values) {
  for (uint64_t value : values)
    if (value > 0xFFFFFFFF) return true;
  return false;
}

// Rewrites the entry of a strip array with its values; the place reserved for them is as large or larger.
void rewrite_strips(writer &w, tag t, uint64_t entry, const array<uint64_t> &values, field type,
                    uint64_t reserved) {
  numbers out(w);
  const uint64_t bytes = values.size() * uint64_t(field_size(type));
  w.file.pos = entry + 2;
  out.put(uint64_t(type), 2);
  out.offset(w.page.count[t]);
  if (is_inline(w, bytes)) {
    for (uint64_t value : values) out.put(value, field_size(type));
    return out.zeros(uint64_t(w.format.offset_size()) - bytes);
  }
  out.offset(reserved);
  w.file.pos = reserved;
  for (uint64_t value : values) out.put(value, field_size(type));
}

// Bands after the first go from memory to the end of the file; their strips' offsets move along.
int32_t collect_bands(writer &w) {
  for (uint32_t i = 1; i < w.band_count(); i++) {
    band &b = w.band_of(i);
    const uint64_t landed = w.file.filelen;
    w.file.pos = landed;
    b.memory.pos = 0;
    for (uint64_t left = b.memory.filelen; left > 0;) {
      uint8_t *bytes;
      const uint64_t taken = bufio_ptr2(&b.memory, left, 'r', &bytes);
      if (taken == 0) break;
      bufio_io(&w.file, bytes, taken, 'w');
      left -= taken;
    }
    if (const int32_t code = bufio_err(&b.memory); code < 0) return code;
    const uint64_t end = i + 1 < w.band_count() ? w.band_of(i + 1).first_strip : w.strip_count();
    for (uint64_t strip = b.first_strip; strip < end; strip++) w.page.offsets[strip] += landed;
    bufio_ptr2truncate(&b.memory, 0);
  }
  return bufio_err(&w.file);
}

}  // namespace

void put_link(writer &w, uint64_t position, uint64_t value) {
  w.file.pos = position;
  numbers(w).offset(value);
  bufio_flush(&w.file);
}

int32_t begin_directory(writer &w) {
  numbers out(w);
  w.complete = w.file.filelen;
  w.file.pos = w.file.filelen;
  if (w.file.pos % 2) out.zeros(1);  // directories begin at even positions
  w.directory = w.file.pos;

  const uint64_t count = entry_count(w.page);
  w.next_link = w.directory + uint64_t(w.format.count_size()) + count * uint64_t(w.format.entry_size());
  uint64_t values = w.next_link + uint64_t(w.format.offset_size());
  out.put(count, w.format.count_size());
  for (int t = 0; t < tag_count; t++)
    if (w.page.present[t]) put_entry(out, w, tag(t), &values);
  out.offset(0);
  for (int t = 0; t < tag_count; t++)
    if (w.page.present[t] && !is_inline(w, value_bytes(w, tag(t)))) put_value(out, w, tag(t));
  return bufio_err(&w.file);
}

int32_t finish_directory(writer &w) {
  for (const band *b : w.bands)
    if (!b->complete) return -1;
  if (const int32_t code = collect_bands(w); code < 0) return code;
  if (passes_classic_limit(w.format, w.file.filelen)) return -10;

  uint64_t entry = w.directory + uint64_t(w.format.count_size());
  uint64_t value = w.next_link + uint64_t(w.format.offset_size());
  for (int t = 0; t < tag_count; t++) {
    if (!w.page.present[t]) continue;
    if (tags[t].what == kind::strips) {
      const array<uint64_t> &strips = t == StripOffsets ? w.page.offsets : w.page.byte_counts;
      rewrite_strips(w, tag(t), entry, strips, any_wide(strips) ? field::long8 : field::long_, value);
    }
    entry += uint64_t(w.format.entry_size());
    if (const uint64_t bytes = value_bytes(w, tag(t)); !is_inline(w, bytes)) value += bytes;
  }

  // The page is whole before anything points to it.
  bufio_flush(&w.file);
  if (const int32_t code = bufio_err(&w.file); code < 0) return code;
  put_link(w, w.link, w.directory);
  if (const int32_t code = bufio_err(&w.file); code < 0) return code;
  w.link = w.next_link;
  w.complete = w.file.filelen;
  w.pages++;
  return 0;
}

}  // namespace qvim::tiff
