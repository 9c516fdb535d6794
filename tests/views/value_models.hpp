// The models of views that change values: converters, tables, colours, single components, cells, means.
#pragma once

#include <cmath>

#include "tests/views/image_model.hpp"

namespace model {

class converter_image : public aligned {
 public:
  converter_image(const chain_link &of, image &source, bool shared, const converted &how)
      : aligned(of, source, shared), how_(how) {}

  bool serves(const request &r) const override {
    return passed(r) || (converts_from(r) && source_.serves(stored(r)));
  }
  bits read(const pos &at, int pixie, const request &r) const override {
    if (passed(r)) return source_.read(place(at), pixie, r);
    return bring(source_.read(place(at), pixie, stored(r)), r);
  }
  void write(const pos &at, const std::vector<bits> &values, const request &r) override {
    if (passed(r)) return source_.write(place(at), values, r);
    source_.write(place(at), take(values, r), stored(r));
  }
  uint64_t allowed(uint32_t datatype) const override {
    const request r = asking({}, datatype, 1);
    return passed(r) ? source_.allowed(datatype) : allowed_here(r);
  }

  bool leaves_alone(int pixie, const request &r) const override {
    return source_.leaves_alone(pixie, passed(r) ? r : stored(r));
  }
  bool list_leaves_alone(int pixie, const request &r) const override {
    return list_passed(r) ? source_.list_leaves_alone(pixie, r) : source_.leaves_alone(pixie, stored(r));
  }

  bool lists(const request &r) const override {
    return list_passed(r) || (converts_from(r) && source_.lists(stored(r)));
  }
  bits list_read(const pos &at, int pixie, const request &r) const override {
    if (list_passed(r)) return source_.list_read(place(at), pixie, r);
    return bring(source_.list_read(place(at), pixie, stored(r)), r);
  }
  void list_write(const pos &at, const std::vector<bits> &values, const request &r) override {
    if (list_passed(r)) return source_.list_write(place(at), values, r);
    source_.list_write(place(at), take(values, r), stored(r));
  }
  uint64_t list_allowed(uint32_t datatype) const override {
    const request r = asking({}, datatype, 1);
    return list_passed(r) ? source_.list_allowed(datatype) : allowed_here(r);
  }

  bool converts() const override { return true; }
  std::optional<pos> in_memory(const pos &at) const override { return source_.in_memory(place(at)); }

 private:
  const converted how_;

  form from() const { return source_.described(); }
  request stored(const request &r) const {
    const qvimagedata d = from().d;
    uint32_t word = uint32_t(d.pixietype);
    if (from().integer()) word |= uint32_t(d.i_bitsxsb) | d.i_dirtyread;
    return asking(r, word, r.mask);
  }
  bool passed(const request &r) const { return transparent(from(), how_, r) && source_.serves(r); }
  bool list_passed(const request &r) const { return transparent(from(), how_, r) && source_.lists(r); }
  bool converts_from(const request &r) const {
    return has_kernels(r.datatype & 0xFF) && has_kernels(uint32_t(from().d.pixietype));
  }

  bits bring(const bits &v, const request &r) const {
    if (!as_described(from(), v)) return unknown;
    const bits result = read_converted(from(), v.value, how_, r);
    return is_integer(r.datatype) || !std::isnan(as_real(result.value, r.size())) ? result : unknown;
  }
  // What becomes of values beyond their bits, of which nothing was said, is not settled.
  std::vector<bits> take(const std::vector<bits> &values, const request &r) const {
    const uint64_t all = ones(8 * r.size()), meant = allowed_here(r);
    std::vector<bits> result;
    for (const bits &v : values) {
      const bool settled = (v.known & all) == all && !(v.value & all & ~meant);
      result.push_back(settled ? write_converted(from(), v.value, how_, r) : unknown);
    }
    return result;
  }
  uint64_t allowed_here(const request &r) const {
    const int width = 8 * r.size(), shown = presented(from(), how_, r), top = caller_top(r, shown);
    if (!is_integer(r.datatype) || r.datatype & QVIM_DIRTY) return ones(width);
    if (!top) return from().integer() ? from().significant() & ones(width) : ones(width);
    const int n = std::min(shown, width);
    return ones(n) << (top - n);
  }
};

// Views that compute with clean numbers.
class computing : public aligned {
 public:
  using aligned::aligned;
  bool serves(const request &r) const override {
    const bool as_it_is =
        record.with([&](const auto *im, auto) { return qvim::supported_without_conversion(im, r.datatype); });
    return as_it_is && selects(r) && source_.serves(below(r));
  }
  uint64_t allowed(uint32_t datatype) const override { return image::list_allowed(datatype); }
  bool converts() const override { return false; }

 protected:
  bool selects(const request &r) const {
    const int pixies = record.data().pixies, n = qvimcolormap(pixies, r.mask, nullptr);
    return n == 1 || n == pixies;
  }
  bool whole(const request &r) const { return r.colours() == record.data().pixies; }
  virtual request below(const request &r) const = 0;
};

// Tables by component; `bits` of a value are the index.
struct translation_tables {
  std::vector<std::vector<uint8_t>> read, write;
  int bits;
  int pixie;  // bytes

  static uint64_t entry(const std::vector<std::vector<uint8_t>> &tables, int of, uint64_t index, int size) {
    return load(&tables[size_t(of)][size_t(index) * size_t(size)], size, false);
  }
};

class table_image : public computing {
 public:
  table_image(const chain_link &of, image &source, bool shared, const translation_tables &tables)
      : computing(of, source, shared), tables_(tables) {}
  bool writable() const override { return !pseudo() && source_.writable(); }
  bits read(const pos &at, int pixie, const request &r) const override {
    return translate(tables_.read, pixie, source_.read(place(at), pseudo() ? 0 : pixie, below(r)));
  }
  void write(const pos &at, const std::vector<bits> &values, const request &r) override {
    std::vector<bits> entries;
    for (size_t i = 0; i < values.size(); i++)
      entries.push_back(translate(tables_.write, r.first() + int(i), values[i]));
    source_.write(place(at), entries, below(r));
  }

 protected:
  request below(const request &r) const override { return for_numbers(r, pseudo() ? 1 : r.mask); }

 private:
  const translation_tables &tables_;

  bool pseudo() const { return record.data().pixies != source_.record.data().pixies; }
  bits translate(const std::vector<std::vector<uint8_t>> &tables, int pixie, const bits &v) const {
    const uint64_t index = ones(tables_.bits);
    if (size_t(pixie) >= tables.size()) return v;
    if ((v.known & index) != index) return unknown;
    return {translation_tables::entry(tables, pixie, v.value & index, tables_.pixie)};
  }
};

class colour_image : public computing {
 public:
  using computing::computing;
  bits read(const pos &at, int pixie, const request &r) const override {
    if (leaves_alone(pixie, r)) return unknown;
    return presented_at(at, r)[size_t(pixie)];
  }
  bool leaves_alone(int pixie, const request &r) const override {
    return hint() != source_hint() && padded(hint()) && pixie == 3 && whole(r);
  }
  void write(const pos &at, const std::vector<bits> &values, const request &r) override {
    std::vector<bits> pixel = values;
    if (!whole(r)) {
      pixel = presented_at(at, r);
      pixel[size_t(r.first())] = values[0];
    }
    std::vector<bits> result = changed(hint(), source_hint(), pixel);
    if (padded(source_hint()) && !whole(r)) result[3] = unknown;
    source_.write(place(at), result, below(r));
  }

 protected:
  request below(const request &r) const override {
    return for_numbers(r, uint32_t(ones(source_.record.data().pixies)));
  }

 private:
  int hint() const { return record.data().pixelhint; }
  int source_hint() const { return source_.record.data().pixelhint; }
  std::vector<bits> presented_at(const pos &at, const request &r) const {
    std::vector<bits> pixel;
    for (int c = 0; c < (source_hint() & 15); c++) pixel.push_back(source_.read(place(at), c, below(r)));
    return changed(source_hint(), hint(), pixel);
  }
  // Numbers within the image's bits, or without the dirt that it tolerates; pads do not matter.
  std::vector<bits> changed(int from, int to, const std::vector<bits> &pixel) const {
    const form f = described();
    const uint64_t most = ones(f.used()), all = ones(8 * f.size());
    std::vector<uint64_t> in, out(size_t(to & 15), 0);
    for (size_t c = 0; c < pixel.size(); c++) {
      const bits &v = pixel[c];
      const bool pad = padded(from) && c == 3, clean = (v.known & all) == all && !(v.value & all & ~most),
                 certain = clean || (f.tolerant() && from == hint() && (v.known & most) == most);
      if (!pad && !certain) return std::vector<bits>(out.size(), unknown);
      in.push_back(v.value & most);
    }
    convert_pixel(source_.record.data(), from, to, in, out);
    std::vector<bits> result;
    for (const uint64_t v : out)
      result.push_back(f.integer() || !std::isnan(as_real(v, f.size())) ? bits{v} : unknown);
    return result;
  }
};

class component_image : public aligned {
 public:
  component_image(const chain_link &of, image &source, bool shared, int component)
      : aligned(of, source, shared), component_(component) {}
  bool serves(const request &r) const override {
    const bool taken_apart = has_kernels(r.datatype & 0xFF) && source_.serves(all(r));
    return r.mask == 1 && (source_.serves(single(r)) || taken_apart);
  }
  bits read(const pos &at, int, const request &r) const override {
    return source_.read(place(at), component_, source_.serves(single(r)) ? single(r) : all(r));
  }
  void write(const pos &at, const std::vector<bits> &values, const request &r) override {
    if (source_.serves(single(r))) return source_.write(place(at), values, single(r));
    std::vector<bits> pixel;
    for (int c = 0; c < source_.record.data().pixies; c++)
      pixel.push_back(c == component_ ? values[0] : source_.read(place(at), c, all(r)));
    source_.write(place(at), pixel, all(r));
  }

 private:
  const int component_;
  request single(const request &r) const { return asking(r, r.datatype, 1u << component_); }
  request all(const request &r) const {
    return asking(r, r.datatype, uint32_t(ones(source_.record.data().pixies)));
  }
};

class cell_image : public aligned {
 public:
  cell_image(const chain_link &of, image &source, bool shared, int phase)
      : aligned(of, source, shared), phase_(phase) {}
  bool serves(const request &r) const override { return r.mask == 15 && source_.serves(value(r)); }
  bool writable() const override { return false; }
  bool reaches(const pos &at) const override {
    bool all = view::reaches(at);
    for (int component = 0; component < 4 && all; component++)
      all = source_.reaches(of_component(at, component));
    return all;
  }
  bits read(const pos &at, int component, const request &r) const override {
    return source_.read(of_component(at, component), 0, value(r));
  }

 private:
  const int phase_;
  static request value(const request &r) { return asking(r, r.datatype, 1); }
  pos of_component(const pos &at, int component) const {
    const frame reach = source_.record.window();
    const pos first = shared_ ? reach.nw : pos{};
    const pos p = cell_value({first, reach.size}, sum(record.window().nw, at), phase_, component);
    return {p[0] - first[0], p[1] - first[1], p[2] - first[2]};
  }
};

class mean_image : public aligned {
 public:
  mean_image(const chain_link &of, image &source)
      : aligned(of, source, false), frames_(source.record.window().size[2]) {}
  bool serves(const request &r) const override {
    return int(r.datatype & 0xFF) == record.data().pixietype && source_.serves(for_numbers(r, r.mask));
  }
  bool writable() const override { return false; }
  bool reaches(const pos &at) const override {
    bool all = holds(record.window().size, at);
    for (int z = 0; z < frames_ && all; z++) all = source_.reaches(in_frame(at, z));
    return all;
  }
  bits read(const pos &at, int pixie, const request &r) const override {
    uint64_t total = 0;
    for (int z = 0; z < frames_; z++) {
      const bits v = source_.read(in_frame(at, z), pixie, for_numbers(r, r.mask));
      if ((v.known & ones(8 * described().size())) != ones(8 * described().size())) return unknown;
      total += v.value;
    }
    const bits mean{(2 * total + uint64_t(frames_)) / (2 * uint64_t(frames_))};
    return as_described(described(), mean) ? as_read(described(), mean.value, r.datatype) : unknown;
  }

 private:
  const int frames_;
  pos in_frame(const pos &at, int z) const {
    pos p = place(at);
    p[2] = z;
    return p;
  }
};

}  // namespace model
