// What a chain of views presents, one pixie at a time: every record has a model that asks the model of its
// source for what it needs, in the words that the view is documented to use there.
#pragma once

#include <optional>

#include "core/null.hpp"
#include "core/pixel.hpp"
#include "tests/views/colours_model.hpp"
#include "tests/views/converter_model.hpp"
#include "tests/views/geometry_model.hpp"

namespace model {

// A record of either dimension, one of an array.
struct chain_link {
  uint8_t *const &array;
  size_t index;
  bool deep = false;

  qvimage *flat() const { return reinterpret_cast<qvimage *>(array + index * sizeof(qvimage)); }
  qvimage3 *volume() const { return reinterpret_cast<qvimage3 *>(array + index * sizeof(qvimage3)); }
  template <class Work>
  auto with(Work work) const {
    return deep ? work(volume(), three_d{}) : work(flat(), two_d{});
  }
  const qvimagedata &data() const { return deep ? volume()->d : flat()->d; }
  frame window() const { return deep ? frame_of(volume()->wind) : frame_of(flat()->wind); }
  frame whole() const { return deep ? frame_of(volume()->imdim) : frame_of(flat()->imdim); }

  void tell() const {
    const qvimagedata &d = data();
    const frame w = window(), all = whole();
    const bool integer = is_integer(uint32_t(d.pixietype));
    std::fprintf(stderr,
                 "%.8s: type %d pixies %d hint %d used %d xsb 0x%x dirty 0x%x/0x%x endian 0x%x, "
                 "(%d, %d, %d) + %d x %d x %d of %d x %d x %d\n",
                 deep ? volume()->devname : flat()->devname, d.pixietype, d.pixies, d.pixelhint,
                 integer ? d.i_bitsused : 0, integer ? d.i_bitsxsb : 0, integer ? d.i_dirtyread : 0,
                 integer ? d.i_dirtyrite : 0, integer ? d.i_endian : 0, w.nw[0], w.nw[1], w.nw[2], w.size[0],
                 w.size[1], w.size[2], all.size[0], all.size[1], all.size[2]);
  }
};

inline request asking(const request &r, uint32_t datatype, uint32_t mask) { return {r.mode, datatype, mask}; }
// Clean numbers at the low end.
inline request for_numbers(const request &r, uint32_t mask) {
  return asking(r, (r.datatype & ~0xF00u) | QVIM_LSB, mask);
}
inline bool has_kernels(uint32_t type) {
  for (const uint32_t known : {QVIM_UINT8, QVIM_UINT16, QVIM_UINT32, QVIM_FLOAT32, QVIM_FLOAT64})
    if (type == known) return true;
  return false;
}
// Is every bit that means something certain, and none set that means nothing?
inline bool as_described(const form &of, const bits &v) {
  const uint64_t others = ones(8 * of.size()) & ~of.significant();
  return (v.known & of.significant()) == of.significant() && (of.dirty() || !(v.value & v.known & others));
}
constexpr bits unknown{0, 0};

// An image, and what can be asked of it. Positions count from its window.
class image {
 public:
  explicit image(const chain_link &of) : record(of) {}
  virtual ~image() = default;

  const chain_link &record;
  form described() const { return {record.data()}; }

  // Runs: may this be asked for, which pixels can be had, what do they read as, what becomes of them.
  virtual bool serves(const request &) const = 0;
  virtual bool reaches(const pos &at) const = 0;
  virtual bool writable() const = 0;
  virtual bits read(const pos &at, int pixie, const request &) const = 0;
  virtual void write(const pos &at, const std::vector<bits> &, const request &) = 0;
  // Components that reads leave in the caller's buffer as they are.
  virtual bool leaves_alone(int, const request &) const { return false; }
  // The bits that a caller may set.
  virtual uint64_t allowed(uint32_t datatype) const = 0;

  // Lists: by the image's runs, in its own bits, unless a kind passes them on.
  virtual bool lists(const request &r) const {
    const qvimagedata d = record.data();
    const bool one_or_all = r.colours() == 1 || r.colours() == d.pixies;
    return uint32_t(d.pixietype) == (r.datatype & 0xFF) && d.pixietype != QVIM_UINT64 && one_or_all &&
           r.mask <= 0xFF && serves(in_own_bits(r));
  }
  virtual bits list_read(const pos &at, int pixie, const request &r) const {
    const bits v = read(at, pixie, in_own_bits(r));
    return as_described(described(), v) ? as_read(described(), v.value, r.datatype) : unknown;
  }
  virtual bool list_leaves_alone(int pixie, const request &r) const {
    return described().used() == 8 * described().size() && leaves_alone(pixie, in_own_bits(r));
  }
  virtual void list_write(const pos &at, const std::vector<bits> &values, const request &r) {
    std::vector<bits> own;
    for (const bits &v : values) own.push_back(in_own_bits(v, r.datatype));
    write(at, own, in_own_bits(r));
  }
  virtual uint64_t list_allowed(uint32_t datatype) const {
    const form f = described();
    if (!f.integer() || datatype & QVIM_DIRTY) return ones(8 * f.size());
    return ones(f.used()) << model::place(f, datatype);
  }

  // Where a pixel lies in memory, when the image is one that only moves pixels.
  virtual std::optional<pos> in_memory(const pos &) const { return {}; }
  // A converter whose values pass through here is the one that answers for a request's bits.
  virtual bool converts() const { return false; }

 private:
  // Dirt stays in values where the image has room for it.
  bits in_own_bits(const bits &v, uint32_t datatype) const {
    const form f = described();
    const uint64_t all = ones(8 * f.size()), meant = ones(f.used()) << model::place(f, datatype);
    if ((v.known & meant) != meant) return unknown;
    bits own = as_written(f, v.value, datatype);
    if (f.tolerant() && (v.value & all & ~meant || (v.known & all) != all)) own.known &= f.significant();
    return own;
  }
  request in_own_bits(const request &r) const {
    const uint32_t form_bits = QVIM_MSB | QVIM_LSB | (described().integer() ? QVIM_SWAPPED : 0);
    return asking(r, r.datatype & ~form_bits, r.mask);
  }
};

// A memory image without access to single components, until its window is set.
template <class Dim>
auto served_ioset = decltype(qvim::record<Dim>::ioset){};
template <class Dim>
int32_t whole_pixels_only(qvim::record<Dim> *im, uint32_t mode, uint32_t datatype, uint32_t mask) {
  qvim::clear_runs<Dim>(im);
  if (mask != uint32_t(ones(im->d.pixies))) return QVERR_COLOUR;
  return served_ioset<Dim>(im, mode, datatype, mask);
}
template <class Dim>
void refuse_parts(qvim::record<Dim> *im) {
  served_ioset<Dim> = im->ioset;
  im->ioset = whole_pixels_only<Dim>;
}

class memory_image : public image {
 public:
  memory_image(const chain_link &of, pixels &stored) : image(of), stored_(stored) {}
  bool serves(const request &r) const override {
    const bool parts =
        record.with([](auto *im, auto dim) { return im->ioset != whole_pixels_only<decltype(dim)>; });
    return int(r.datatype & 0xFF) == stored_.d.pixietype && selects(r.mask) &&
           (parts || r.colours() == stored_.d.pixies);
  }
  bool reaches(const pos &at) const override { return holds(record.window().size, at); }
  bool writable() const override { return true; }
  bits read(const pos &at, int pixie, const request &r) const override {
    const pos p = *in_memory(at);
    const uint8_t *known = &stored_.known[stored_.offset(p, pixie)];
    const bool certain = !(stored_.significant() & ~load(known, stored_.size(), stored_.reversed()));
    return certain ? as_read(stored_, stored_.get(p, pixie), r.datatype) : unknown;
  }
  // What is written twice before check() has seen it may be either.
  void write(const pos &at, const std::vector<bits> &values, const request &r) override {
    const pos p = *in_memory(at);
    const uint64_t all = ones(8 * stored_.size());
    for (size_t i = 0; i < values.size(); i++) {
      const int pixie = r.first() + int(i);
      bits v = as_written(stored_, values[i].value, r.datatype);
      const uint64_t meant = ones(stored_.used()) << model::place(stored_, r.datatype);
      if ((values[i].known & meant) != meant) v.known = 0;
      if ((values[i].known & all) != all || values[i].value & ~meant & all) v.known &= stored_.significant();
      if (written_[stored_.offset(p, pixie)]++) v.known = 0;
      stored_.put(p, pixie, v);
      if ((v.known & all) != all) doubtful.push_back({p, pixie});
    }
  }
  uint64_t allowed(uint32_t datatype) const override { return list_allowed(datatype); }
  bool lists(const request &r) const override {
    return int(r.datatype & 0xFF) == stored_.d.pixietype && selects(r.mask) &&
           stored_.d.pixietype != QVIM_UINT64;
  }
  bits list_read(const pos &at, int pixie, const request &r) const override { return read(at, pixie, r); }
  void list_write(const pos &at, const std::vector<bits> &v, const request &r) override { write(at, v, r); }
  std::optional<pos> in_memory(const pos &at) const override { return sum(record.window().nw, at); }
  void forget_writes() {
    written_.assign(stored_.bytes.size(), 0);
    doubtful.clear();
  }
  std::vector<std::pair<pos, int>> doubtful;  // pixies of which something that was written is not known

 private:
  pixels &stored_;
  std::vector<uint8_t> written_;

  bool selects(uint32_t mask) const { return qvimcolormap(stored_.d.pixies, mask, nullptr) > 0; }
};

// The same pixels out of a file, which is only read.
class file_image : public memory_image {
 public:
  using memory_image::memory_image;
  bool writable() const override { return false; }
  bool lists(const request &r) const override { return image::lists(r); }
  bits list_read(const pos &at, int pixie, const request &r) const override {
    return image::list_read(at, pixie, r);
  }
};

// A view. Unless a kind says otherwise its source serves what it is asked for, somewhere else.
class view : public image {
 public:
  view(const chain_link &of, image &source) : image(of), source_(source) {}
  bool serves(const request &r) const override { return source_.serves(r); }
  bool reaches(const pos &at) const override {
    return holds(record.window().size, at) && source_.reaches(place(at));
  }
  bool writable() const override { return source_.writable(); }
  bits read(const pos &at, int pixie, const request &r) const override {
    return source_.read(place(at), pixie, r);
  }
  void write(const pos &at, const std::vector<bits> &v, const request &r) override {
    source_.write(place(at), v, r);
  }
  uint64_t allowed(uint32_t datatype) const override { return source_.allowed(datatype); }
  bool converts() const override { return source_.converts(); }

 protected:
  image &source_;
  virtual pos place(const pos &at) const = 0;
};

// Views with the pixels of their source's window, or that share it.
class aligned : public view {
 public:
  aligned(const chain_link &of, image &source, bool shared) : view(of, source), shared_(shared) {}

 protected:
  const bool shared_;
  pos place(const pos &at) const override { return shared_ ? at : sum(record.window().nw, at); }
};

// Views that only move pixels: each has its model among the tests of the views.
template <class Kind>
class moving : public view {
 public:
  moving(const chain_link &of, image &source, const Kind &how, bool shared, bool passes_lists, bool own_type)
      : view(of, source),
        how_(how),
        shared_(shared),
        passes_lists_(passes_lists),
        own_type_(own_type),
        dims_(source.record.whole().size),
        presented_(source.record.window().size) {}

  bool serves(const request &r) const override {
    return (!own_type_ || int(r.datatype & 0xFF) == record.data().pixietype) && view::serves(r);
  }
  bool lists(const request &r) const override { return passes_lists_ ? source_.lists(r) : image::lists(r); }
  bool leaves_alone(int pixie, const request &r) const override { return source_.leaves_alone(pixie, r); }
  bool list_leaves_alone(int pixie, const request &r) const override {
    return passes_lists_ ? source_.list_leaves_alone(pixie, r) : image::list_leaves_alone(pixie, r);
  }
  bits list_read(const pos &at, int pixie, const request &r) const override {
    return passes_lists_ ? source_.list_read(place(at), pixie, r) : image::list_read(at, pixie, r);
  }
  void list_write(const pos &at, const std::vector<bits> &v, const request &r) override {
    return passes_lists_ ? source_.list_write(place(at), v, r) : image::list_write(at, v, r);
  }
  uint64_t list_allowed(uint32_t datatype) const override {
    return passes_lists_ ? source_.list_allowed(datatype) : image::list_allowed(datatype);
  }
  std::optional<pos> in_memory(const pos &at) const override { return source_.in_memory(place(at)); }

 protected:
  pos place(const pos &at) const override {
    const frame within = source_.record.window();
    const pos p = how_.place(geometry{within, record.window(), dims_, presented_, shared_}, at);
    return {p[0] - within.nw[0], p[1] - within.nw[1], p[2] - within.nw[2]};
  }

 private:
  const Kind how_;
  const bool shared_, passes_lists_, own_type_;
  const extent dims_, presented_;  // of the source, when the view was made
};

}  // namespace model
