// A chain of up to twelve views over a memory image, as a fuzz input says, with the model of each record.
#pragma once

#include <algorithm>
#include <bit>
#include <deque>
#include <memory>

#include "fuzz/input.hpp"
#include "tests/views/tiff_file.hpp"
#include "tests/views/value_models.hpp"

namespace model {

class chain {
 public:
  explicit chain(fuzz_input &from) : relative_(from.up_to(1)) {
    make_image(from);
    for (uint32_t views = from.up_to(from.up_to(9) ? 5 : 12); views > 0; views--) {
      if (from.up_to(2) == 0) set_window(from, top());
      links_.push_back({array_, links_.size()});
      if (!add_view(from, links_[links_.size() - 2], links_.back())) links_.pop_back();
    }
    if (from.up_to(2) == 0) set_window(from, top());
    if (from.up_to(7) == 0) shrink_below(from);
    if (relative_) move_records();
    if (talks())
      for (const chain_link &record : links_) record.tell();
  }
  chain(const chain &) = delete;
  chain &operator=(const chain &) = delete;

  chain_link &top() { return links_.back(); }
  image &as_modelled() { return *images_.back(); }
  bool runs_turn() const { return runs_turn_; }
  bool notes_accesses() const { return notes_accesses_; }
  bool has_no_views() const { return links_.size() == 1 && !file_.is_open(); }
  std::vector<uint8_t> records() const { return {array_, array_ + links_.size() * sizeof(qvimage)}; }

  // Call before pixels move and after: all bytes of the source and around it are as they should be. Values
  // that were not those that the image may hold have no place in it any longer.
  void begin() {
    if (!stored_.dirty())
      for (const auto &[p, pixie] : memory().doubtful)
        stored_.put(p, pixie, {stored_.get(p, pixie) & stored_.significant()});
    expected_ = stored_;
    memory().forget_writes();
  }
  void check() {
    for (size_t i = 0; i < stored_.bytes.size(); i++) {
      const int wrong = (stored_.bytes[i] ^ expected_.bytes[i]) & expected_.known[i];
      if (wrong && talks())
        std::fprintf(stderr, "byte %zu is 0x%02x, not 0x%02x of 0x%02x\n", i - pixels::margin,
                     stored_.bytes[i], expected_.bytes[i], expected_.known[i]);
      require(!wrong);
    }
  }
  const pixels &stored() const { return stored_; }
  // Are the source's pixies stored in that form?
  bool stores(uint32_t datatype) {
    return links_.front().with(
        [&](const auto *im, auto) { return bool(qvim::supported_without_conversion(im, datatype)); });
  }

 private:
  tiff_file file_;
  pixels stored_, expected_;  // the image's own, and those of the model
  // The records, one after the other, at an address that is a multiple of 4.
  static constexpr size_t most_records = 13;
  alignas(8) uint8_t places_[2][4 + most_records * sizeof(qvimage)]{};
  uint8_t *array_ = places_[0];
  const bool relative_;  // they refer to each other by where they lie in the array
  std::deque<chain_link> links_;
  std::vector<std::unique_ptr<image>> images_;
  std::deque<translation_tables> tables_;
  std::vector<bool> stays_;  // the window of that record may not change any more
  bool notes_accesses_ = false;
  bool runs_turn_ = false;  // along another axis of the source than their own

  memory_image &memory() { return static_cast<memory_image &>(*images_.front()); }

  qvimage *flat_below(const chain_link &source) const {
    return relative_ ? reinterpret_cast<qvimage *>(intptr_t{-66}) : source.flat();
  }
  qvimage3 *volume_below(const chain_link &source) const {
    return relative_ ? reinterpret_cast<qvimage3 *>(intptr_t{-66}) : source.volume();
  }
  void move_records() {
    array_ = places_[1] + 4;
    std::memcpy(array_, places_[0], links_.size() * sizeof(qvimage));
    std::memset(places_[0], 0xEE, sizeof places_[0]);
  }

  // --- the source ----------------------------------------------------------------------------------

  static form random_form(fuzz_input &from) {
    const int32_t type = from.one_of<int32_t>({QVIM_UINT8, QVIM_UINT16, QVIM_UINT8, QVIM_UINT16, QVIM_UINT32,
                                               QVIM_FLOAT32, QVIM_FLOAT64, QVIM_UINT64}),
                  hint = from.one_of<int32_t>({QVIM_HINT_GREY, QVIM_HINT_GREY, QVIM_HINT_RGB, QVIM_HINT_BGR,
                                               QVIM_HINT_CMYK, QVIM_HINT_BSH, QVIM_HINT_RGBPAD,
                                               QVIM_HINT_COMPLEX, QVIM_HINT_YCRCB, QVIM_HINT_CMY,
                                               QVIM_HINT_BGRPAD, 5, 31});
    const int width = 8 * qvimdatasize(uint32_t(type));
    const bool all_bits = !is_integer(uint32_t(type)) || width == 64 || from.up_to(2) == 0;
    form f;
    require(qviminitdata(&f.d, type, all_bits ? 0 : int32_t(1 + from.up_to(uint32_t(width - 1))), hint & 15,
                         hint) == 1);
    if (!f.integer()) return f;
    const uint32_t flags = from.byte();
    if (f.used() < width) {
      if (flags & 1) f.d.i_bitsxsb = QVIM_MSB;
      // What may be written as dirt is read as such.
      f.d.i_dirtyread = flags & 2 ? QVIM_DIRTY : 0;
      f.d.i_dirtyrite = flags & 2 && flags & 4 ? QVIM_DIRTY : 0;
    }
    if (width > 8 && flags & 8) f.d.i_endian = QVIM_SWAPPED;
    return f;
  }

  void make_image(fuzz_input &from) {
    chain_link &record = links_.emplace_back(chain_link{array_, 0});
    static_cast<form &>(stored_) = random_form(from);
    record.deep = from.up_to(1);
    stored_.dims = {int(1 + from.up_to(200)), int(1 + from.up_to(8)),
                    record.deep ? int(1 + from.up_to(3)) : 1};
    // Lines and columns that do not pass through a stage at once.
    const uint32_t longer = from.up_to(15);
    if (longer < 2) {
      stored_.dims[longer] = int(1500 + from.up_to(1500));
      stored_.dims[1 - longer] = std::min(stored_.dims[1 - longer], 4);
    }
    // Tables are images of one line.
    if (!record.deep && from.up_to(5) == 0) stored_.dims = {1 << from.up_to(8), 1, 1};
    stored_.pitch = uint32_t(stored_.dims[0] * stored_.d.pixies * stored_.size()) + from.up_to(3);
    stored_.planepitch = stored_.pitch * uint32_t(stored_.dims[1]) + from.up_to(2);
    stored_.allocate();
    generator g(from.byte());
    stored_.fill(g, stored_.dirty());
    expected_ = stored_;
    require(record.with([&](auto *im, auto) { return build(im, stored_); }) == 0);
    stays_.push_back(false);
    if (from.up_to(7) == 0 && comes_from_a_file(from, record)) {
      images_.push_back(std::make_unique<file_image>(record, expected_));
      return;
    }
    if (from.up_to(7) == 0) record.with([](auto *im, auto dim) { refuse_parts<decltype(dim)>(im); });
    images_.push_back(std::make_unique<memory_image>(record, expected_));
  }

  // Of pixels that a TIFF file holds as they are: the image becomes one over a file.
  bool comes_from_a_file(fuzz_input &from, chain_link &record) {
    if (!tiff_file::holds(stored_.d)) return false;
    require(file_.write(record, from.up_to(3), 1 + from.up_to(5000)) == 0);
    file_.open(record);
    pixels in_file = stored_;
    in_file.d = record.data();
    for (pos p{}; p[2] < stored_.dims[2]; p[2]++)
      for (p[1] = 0; p[1] < stored_.dims[1]; p[1]++)
        for (p[0] = 0; p[0] < stored_.dims[0]; p[0]++)
          for (int c = 0; c < stored_.d.pixies; c++)
            in_file.put(p, c, numbers_of(stored_, stored_.get(p, c)));
    expected_ = stored_ = in_file;
    return true;
  }
  static bits numbers_of(const form &f, uint64_t stored) {
    return as_read(f, stored, uint32_t(f.d.pixietype) | QVIM_LSB);
  }
  static int32_t build(qvimage *im, pixels &over) {
    return qvimage_memdata(im, over.base(), 0, over.dims.data(), over.pitch, &over.d, nullptr, 0);
  }
  static int32_t build(qvimage3 *im, pixels &over) {
    return qvimage3_memdata(im, over.base(), 0, over.dims.data(), over.pitch, over.planepitch, &over.d,
                            nullptr, 0);
  }

  static void set_window(fuzz_input &from, chain_link &of) {
    of.with([&](auto *im, auto dim) {
      const auto whole = qvim::box<decltype(dim)>::of(&im->imdim);
      qvim::box<decltype(dim)> part;
      for (int axis = 0; axis < dim.axes; axis++) {
        const uint32_t size = whole.extent(axis), first = from.up_to(size - 1);
        part.nw[axis] = int32_t(first);
        part.se[axis] = int32_t(first + 1 + from.up_to(size - first - 1));
      }
      auto window = std::bit_cast<decltype(im->wind)>(part);
      require(im->xwind(im, &window, 's') != nullptr);
    });
  }

  // A view with a window of its own may see less of its source than it was built with.
  void shrink_below(fuzz_input &from) {
    const size_t i = from.up_to(uint32_t(links_.size() - 1));
    if (i + 1 < links_.size() && !stays_[i]) set_window(from, links_[i]);
  }

  // --- views ---------------------------------------------------------------------------------------

  // Notes the view that was made over the latest record, if it was.
  template <class Image, class... Arguments>
  bool made(int32_t code, const chain_link &view, bool shared, Arguments &&...arguments) {
    if (code < 0) return false;
    images_.push_back(std::make_unique<Image>(view, *images_.back(), std::forward<Arguments>(arguments)...));
    stays_.back() = shared;
    stays_.push_back(false);
    return true;
  }
  template <class Kind>
  bool moves(int32_t code, const chain_link &view, bool shared, const Kind &how, bool passes_lists,
             bool own_type = false) {
    return made<moving<Kind>>(code, view, shared, how, shared, passes_lists, own_type);
  }

  bool add_view(fuzz_input &from, chain_link &source, chain_link &view) {
    const uint8_t shared = from.up_to(2) == 0;
    view.deep = source.deep;
    switch (from.up_to(source.deep ? 7 : 11)) {
      case 0: return add_converter(from, source, view, shared);
      case 1: return add_tables(from, source, view, shared);
      case 2: return add_colours(from, source, view, shared);
      case 3: return add_component(from, source, view, shared);
      case 4: return add_cells(from, source, view, shared);
      default:
        return source.deep ? add_of_volume(from, source, view, shared)
                           : add_of_flat(from, source, view, shared);
    }
  }

  bool add_converter(fuzz_input &from, chain_link &source, chain_link &view, uint8_t shared) {
    const form f{source.data()};
    converted how;
    how.bits = int(from.up_to(f.size() < 8 ? 16 : 0));
    const uint32_t flags = from.byte();
    how.normalised = flags & 1;
    how.masks = flags & 2 && !images_.back()->converts();
    const qvimagedata presented = presented_by(how, f);
    const qvimagedata *data = flags & 4 ? &presented : nullptr;
    const int32_t code = view.deep ? qvimage3_converter(view.volume(), volume_below(source), data, shared,
                                                        how.masks, uint8_t(how.bits), how.normalised)
                                   : qvimage_converter(view.flat(), flat_below(source), data, shared,
                                                       how.masks, uint8_t(how.bits), how.normalised);
    if (talks())
      std::fprintf(stderr, "converter: bits %d masks %d normalises %d shared %d\n", how.bits, how.masks,
                   how.normalised, shared);
    return made<converter_image>(code, view, shared, shared, how);
  }
  // The source's pixies with the bits that the converter gives them.
  static qvimagedata presented_by(const converted &how, const form &f) {
    qvimagedata d = f.d;
    const int bits = how.bits ? how.bits : f.used();
    if (f.integer() && bits <= 8 * f.size())
      require(qviminitdata(&d, f.d.pixietype, bits, f.d.pixies, f.d.pixelhint) == 1);
    return d;
  }

  bool add_tables(fuzz_input &from, chain_link &source, chain_link &view, uint8_t shared) {
    const form f{source.data()};
    if (f.d.pixietype != QVIM_UINT8 && f.d.pixietype != QVIM_UINT16) return false;
    const int pixies = int(from.up_to(4)), hint = QVIM_HINT_UNKNOWN + pixies;
    const uint32_t flags = view.deep ? 0 : from.up_to(3);
    translation_tables &tables = tables_.emplace_back();
    tables.pixie = f.size();
    tables.bits = flags & 2 ? 8 * f.size() : f.used();
    generator g(from.byte());
    const void *reads[4]{}, *writes[4]{};
    for (int i = 0; i < std::min(pixies ? pixies : f.d.pixies, flags & 1 ? 3 : 4); i++) {
      reads[i] = table(tables.read, tables, f, g);
      writes[i] = table(tables.write, tables, f, g);
    }
    const int32_t code =
        view.deep
            ? qvimage_lut3(view.volume(), volume_below(source), shared, reads, writes, pixies, hint, 0)
            : qvimage_lut2(view.flat(), flat_below(source), shared, reads, writes, pixies, hint, 0, flags);
    return made<table_image>(code, view, shared, shared, tables);
  }
  // A table whose entries are values that the image's bits hold.
  static const void *table(std::vector<std::vector<uint8_t>> &among, const translation_tables &of,
                           const form &f, generator &g) {
    std::vector<uint8_t> &entries = among.emplace_back(size_t(f.size()) << of.bits);
    const uint64_t start = g(), step = g() | 1;
    for (size_t i = 0; i < size_t{1} << of.bits; i++)
      store(&entries[i * size_t(f.size())], f.size(), false, (start + i * step) >> 20 & ones(f.used()));
    return entries.data();
  }

  bool add_colours(fuzz_input &from, chain_link &source, chain_link &view, uint8_t shared) {
    const int32_t hint =
        from.one_of<int32_t>({QVIM_HINT_RGB, QVIM_HINT_BGR, QVIM_HINT_RGBPAD, QVIM_HINT_BSH, QVIM_HINT_CMY,
                              QVIM_HINT_YCRCB, QVIM_HINT_CMYK, QVIM_HINT_GREY, QVIM_HINT_BGRPAD});
    const int32_t code = view.deep
                             ? qvimage3_colorconverter(view.volume(), volume_below(source), hint, shared)
                             : qvimage_colorconverter(view.flat(), flat_below(source), hint, shared);
    return made<colour_image>(code, view, shared, shared);
  }

  bool add_component(fuzz_input &from, chain_link &source, chain_link &view, uint8_t shared) {
    const int component = int(from.up_to(3));
    const int32_t code =
        view.deep ? qvimage3_colorslice(view.volume(), volume_below(source), shared, 1u << component, 0)
                  : qvimage_colorslice(view.flat(), flat_below(source), shared, 1u << component, 0);
    return made<component_image>(code, view, shared, shared, component);
  }

  bool add_cells(fuzz_input &from, chain_link &source, chain_link &view, uint8_t shared) {
    const uint32_t phase = from.up_to(7);
    const int32_t code = view.deep
                             ? qvimage3_Beyer4_filter(view.volume(), volume_below(source), shared, phase)
                             : qvimage_Beyer4_filter(view.flat(), flat_below(source), shared, phase);
    return made<cell_image>(code, view, shared, shared, int(phase & 3));
  }

  bool add_of_volume(fuzz_input &from, chain_link &source, chain_link &view, uint8_t shared) {
    const uint32_t kind = from.up_to(2);
    if (kind == 0) {
      renumbered how;
      how.offset = int32_t(from.up_to(10)) - 5;
      return moves(how.build(view.volume(), volume_below(source), shared), view, shared, how, true);
    }
    view.deep = false;
    if (kind == 1) return made<mean_image>(qvimage_stack(view.flat(), volume_below(source)), view, false);
    frames_presented how;
    how.xaxis = 2 * from.up_to(2);
    how.yaxis = 2 * from.up_to(2);
    how.plane = int32_t(from.up_to(3));
    how.flags = from.one_of<uint8_t>({0, 0, below, beside});
    runs_turn_ |= how.flags == 0;
    return moves(
        qvimage_def2from3(view.flat(), volume_below(source), how.xaxis, how.yaxis, how.plane, how.flags),
        view, false, how, false);
  }

  bool add_of_flat(fuzz_input &from, chain_link &source, chain_link &view, uint8_t shared) {
    switch (from.up_to(5)) {
      case 0: {
        rotated how;
        how.flags = from.up_to(7);
        return moves(how.build(view.flat(), flat_below(source), shared), view, shared, how, true);
      }
      case 1: {
        decimated how;
        for (int &period : how.period) period = int(1 + from.up_to(3));
        for (int axis = 0; axis < 2; axis++)
          how.phase[axis] = int(from.up_to(uint32_t(how.period[axis] - 1)));
        return moves(how.build(view.flat(), flat_below(source), false), view, false, how, false);
      }
      case 2: {
        halved how;
        how.odd = from.up_to(1);
        return moves(how.build(view.flat(), flat_below(source), shared), view, shared, how, true);
      }
      case 3:
        notes_accesses_ = true;
        return moves(monitored().build(view.flat(), flat_below(source), shared), view, shared, monitored(),
                     true);
      case 4: {
        const uint32_t logarithm = from.up_to(9), decimates = from.up_to(1);
        const resampled how{int(logarithm) - __builtin_ctz(uint32_t(source.whole().size[0])), decimates != 0};
        return moves(qvimage_lutconvert(view.flat(), flat_below(source), 1u << logarithm, decimates), view,
                     false, how, false, true);
      }
      default:
        view.deep = true;
        return moves(deepened().build(view.volume(), flat_below(source), shared), view, shared, deepened(),
                     true);
    }
  }
};

}  // namespace model
