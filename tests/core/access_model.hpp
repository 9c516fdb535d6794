// Memory images against a slow model that works pixel by pixel on numbers: a scenario of random set-ups and
// transfers, driven by any source of choices. A difference is thrown as a std::string that says what differs.
#pragma once

#include <cmath>

#include "core/record.hpp"
#include "tests/core/access_pieces.hpp"

namespace access_model {

template <class Record>
class scenario {
  static constexpr int axes = axes_of<Record>;

 public:
  explicit scenario(choices &from) : from_(from) {}

  void run() {
    build();
    for (int actions = 4 + int(from_.below(16)); actions > 0; actions--) {
      switch (from_.below(11)) {
        case 0: set_window(); break;
        case 1:
        case 2: set_runs(); break;
        case 3:
        case 4: read_run(); break;
        case 5: write_run(); break;
        case 6: set_blocks(); break;
        case 7: native_blocks(); break;
        case 8: generic_blocks(); break;
        case 9: map_pixels(); break;
        default: move_record(); break;
      }
      check(memory_->content() == model_, "image memory differs" + where());
      check(memory_->is_intact(), "touched outside the image" + where());
    }
  }

 private:
  struct run_setup {
    bool valid = false;
    int axis;
    bool wrap, trust;
    uint32_t datatype;
    int first, pixies;
  };

  // --- building

  void describe() {
    static constexpr int types[] = {QVIM_UINT8,  QVIM_UINT16,  QVIM_UINT32,
                                    QVIM_UINT64, QVIM_FLOAT32, QVIM_FLOAT64};
    const int type = types[from_.below(6)];
    const int pixies = from_.one_in(8) ? 1 + int(from_.below(32)) : 1 + int(from_.below(5));
    const int container = 8 * qvimdatasize(type);
    const int bits = from_.one_in(3) ? container : 1 + int(from_.below(container));
    check(qviminitdata(&d_, type, bits, pixies, 0) == 1, "description refused");
    if (is_real(d_)) return;
    if (bits < container) {
      if (from_.one_in(2)) d_.i_bitsxsb = QVIM_MSB;
      if (from_.one_in(2)) d_.i_dirtyread = QVIM_DIRTY;
      if (d_.i_dirtyread && from_.one_in(2)) d_.i_dirtyrite = QVIM_DIRTY;
    }
    if (from_.one_in(2)) d_.i_endian = QVIM_SWAPPED;
  }

  void build() {
    describe();
    image_ = image_form(d_);
    pixel_ = uint32_t(image_.size * d_.pixies);
    for (int axis = 0; axis < axes; axis++)
      extent_[axis] = 1 + int32_t(from_.below(axis == 0 && from_.one_in(4) ? 100 : 7));
    stride_[0] = pixel_;
    uint32_t given[3] = {};
    for (int axis = 1; axis < axes; axis++) {
      stride_[axis] = stride_[axis - 1] * uint32_t(extent_[axis - 1]);
      if (from_.one_in(2)) given[axis] = stride_[axis] += from_.below(7);
    }
    size_t size = pixel_;
    for (int axis = 0; axis < axes; axis++) size += size_t(stride_[axis]) * uint32_t(extent_[axis] - 1);
    memory_ = std::make_unique<guarded>(size);
    // Records may lie at any multiple of four.
    place_ = 4 * from_.below(3);
    int32_t code;
    if constexpr (axes == 2)
      code = qvimage_memdata(im(), memory_->data(), 0, extent_.data(), given[1], &d_, nullptr, 0);
    else
      code = qvimage3_memdata(im(), memory_->data(), 0, extent_.data(), given[1], given[2], &d_, nullptr, 0);
    check(code == 0, "not built: " + std::to_string(code));
    for (int axis = 0; axis < axes; axis++) size_[axis] = extent_[axis];
    fill();
    model_ = memory_->content();
  }

  // Every pixie of the image gets a value; bits that do not count are clean unless the image allows dirt.
  void fill() {
    position p{};
    for (p[2] = 0; p[2] < (axes == 3 ? extent_[2] : 1); p[2]++)
      for (p[1] = 0; p[1] < extent_[1]; p[1]++)
        for (p[0] = 0; p[0] < extent_[0]; p[0]++)
          for (int i = 0; i < d_.pixies; i++)
            any_pixie(image_, d_.i_dirtyread && !is_real(d_),
                      memory_->data() + offset(p, false) + i * image_.size);
  }

  void any_pixie(const form &f, bool dirty, uint8_t *at) {
    noise_ = noise_ * 6364136223846793005u + 1442695040888963407u + from_.below(3);
    const uint64_t n = noise_ >> 13 ^ noise_ << 40;
    if (d_.pixietype == QVIM_FLOAT32) {
      const float value = float(int32_t(n) % 1000) / 8;
      std::memcpy(at, &value, 4);
    } else if (d_.pixietype == QVIM_FLOAT64) {
      const double value = double(int32_t(n) % 1000) / 8;
      std::memcpy(at, &value, 8);
    } else {
      f.put(at, dirty ? n & f.container() : (n & f.mask()) << f.low);
    }
  }

  Record *im() { return reinterpret_cast<Record *>(records_.data() + place_); }

  uint64_t offset(const position &p, bool in_window = true) const {
    uint64_t result = 0;
    for (int axis = 0; axis < axes; axis++)
      result += uint64_t(p[axis] + (in_window ? corner_[axis] : 0)) * stride_[axis];
    return result;
  }

  std::string where() const {
    return " (type " + std::to_string(d_.pixietype) + ", pixies " + std::to_string(d_.pixies) + ", bits " +
           std::to_string(image_.bits) + " at " + std::to_string(image_.low) + ", action " + action_ + ")";
  }

  // --- choices of requests

  uint32_t any_datatype() {
    uint32_t word = from_.one_in(16) ? from_.below(256) : uint32_t(d_.pixietype);
    for (uint32_t flag : {QVIM_MSB, QVIM_LSB, QVIM_DIRTY, QVIM_SWAPPED})
      if (from_.one_in(3)) word |= flag;
    return word;
  }
  uint32_t all_pixies() const { return d_.pixies == 32 ? ~0u : (1u << d_.pixies) - 1; }
  uint32_t any_mask() {
    switch (from_.below(8)) {
      case 0: return from_.below(1u << std::min(d_.pixies + 1, 31));
      case 1:
      case 2: return 1u << from_.below(d_.pixies);
      case 3: {
        const int first = int(from_.below(d_.pixies)), n = 1 + int(from_.below(d_.pixies - first));
        return (n == 32 ? ~0u : (1u << n) - 1) << first;
      }
      default: return all_pixies();
    }
  }
  // Inside the window most of the time, unless it must be.
  position any_position(bool inside) {
    position p{};
    for (int axis = 0; axis < axes; axis++) p[axis] = int32_t(from_.below(size_[axis] ? size_[axis] : 1));
    if (!inside && from_.one_in(6)) {
      static constexpr int32_t wild[] = {-1, 1, INT32_MIN, INT32_MAX, -1000000, 1 << 30};
      p[from_.below(axes)] = wild[from_.below(6)];
      if (from_.one_in(2)) p[0] = size_[0];
    }
    return p;
  }
  bool is_inside(const position &p) const {
    for (int axis = 0; axis < axes; axis++)
      if (p[axis] < 0 || p[axis] >= size_[axis]) return false;
    return true;
  }
  bool has_pixels() const { return size_[0] > 0 && size_[1] > 0 && (axes == 2 || size_[2] > 0); }

  // --- windows

  void set_window() {
    action_ = "window";
    runs_.valid = blocks_.valid = false;
    std::array<int32_t, 2 * axes> w;
    for (int axis = 0; axis < axes; axis++) {
      w[axis] = int32_t(from_.below(extent_[axis]));
      w[axes + axis] = w[axis] + int32_t(from_.below(extent_[axis] - w[axis] + 1));
    }
    if (from_.one_in(4)) {
      for (int axis = 0; axis < axes; axis++) w[axis] = 0, w[axes + axis] = extent_[axis];
    }
    const bool outside = from_.one_in(8);
    if (outside) w[axes] = extent_[0] + 1;
    typename std::conditional_t<axes == 2, qvywindow, qvyzwindow> window;
    static_assert(sizeof window == sizeof w);
    std::memcpy(&window, &w, sizeof w);
    const void *answer = im()->xwind(im(), &window, 's');
    check(answer == (outside ? nullptr : im()), "xwind" + where());
    for (int axis = 0; axis < axes; axis++) {
      corner_[axis] = outside ? 0 : w[axis];
      size_[axis] = outside ? 0 : w[axes + axis] - w[axis];
    }
    null_windowed_ = outside;
  }

  // --- runs

  // An 8-byte pixie is moved as it is, never shifted or masked.
  bool needs_bits_moved(uint32_t datatype) const {
    if (is_real(d_) || image_.bits == 8 * image_.size) return false;
    return caller_form(d_, datatype).low != image_.low || (d_.i_dirtyread && !(datatype & QVIM_DIRTY)) ||
           (datatype & QVIM_DIRTY && !d_.i_dirtyrite);
  }

  int select(uint32_t mask, int *first) const {
    if (mask == 0) return 0;
    *first = std::countr_zero(mask);
    const int n = std::popcount(mask);
    return int(std::bit_width(mask)) == *first + n && *first + n <= d_.pixies ? n : 0;
  }

  void set_runs() {
    action_ = "ioset";
    static constexpr uint32_t scans[] = {0, 2, 4, 6};
    const uint32_t scan = scans[from_.one_in(12) ? from_.below(4) : from_.below(axes)];
    uint32_t mode = scan | (from_.one_in(2) ? QVIM_WRAP : 0) | (from_.one_in(5) ? QVIM_TRUST : 0);
    if (from_.one_in(4)) mode |= QVIM_STEP | 0x200;
    const uint32_t datatype = any_datatype(), mask = any_mask();
    run_setup wanted{true, int(scan / 2), (mode & QVIM_WRAP) != 0, (mode & QVIM_TRUST) != 0, datatype, 0, 0};
    wanted.pixies = select(mask, &wanted.first);
    int32_t code = 1;
    if ((datatype & 0xFF) != uint32_t(d_.pixietype))
      code = QVERR_DATATYPE;
    else if (wanted.pixies == 0)
      code = QVERR_COLOUR;
    else if (image_.size == 8 && needs_bits_moved(datatype))
      code = QVERR_DATATYPE;
    else if (wanted.axis >= axes)
      code = QVERR_UNSUPPORTED;
    if (null_windowed_) code = 0;
    const int32_t answer = im()->ioset(im(), mode, datatype, mask);
    check(answer == code,
          "ioset answered " + std::to_string(answer) + ", not " + std::to_string(code) + where());
    const uint32_t kept = code == 1 ? uint32_t(wanted.pixies * image_.size) : 0;
    check(qvim::buffer_pixel(im()) == kept,
          "a pixel of the buffer has not " + std::to_string(kept) + " bytes");
    runs_ = wanted;
    runs_.valid = code == 1;
  }

  // The pixels of a run, one by one.
  std::vector<position> run_from(position p, uint32_t count) const {
    std::vector<position> result;
    if (!runs_.valid || !is_inside(p)) return result;
    std::array<int, 3> order{runs_.axis, 0, 0};
    for (int axis = 0, i = 1; axis < axes; axis++)
      if (axis != runs_.axis) order[i++] = axis;
    while (result.size() < count) {
      result.push_back(p);
      int i = 0;
      while (i < axes && ++p[order[i]] == size_[order[i]]) p[order[i++]] = 0;
      if (i == axes || (i > 0 && !runs_.wrap)) break;
    }
    return result;
  }

  uint32_t any_count() {
    uint32_t most = from_.one_in(8) ? 0xFFFFFFFFu : 1;
    if (most == 1)
      for (int axis = 0; axis < axes; axis++) most *= uint32_t(extent_[axis]) + 1;
    return from_.below(most) + 1 - from_.one_in(16);
  }

  // A pixie as the caller should see it.
  void expect_pixie(const uint8_t *got, const form &f, uint64_t value, bool dirt_allowed, const char *what) {
    const uint64_t number = f.number(got);
    check(f.value(number) == value, std::string(what) + ": wrong value" + where());
    check(dirt_allowed || (number & f.unused()) == 0,
          std::string(what) + ": unused bits are dirty" + where());
  }

  struct run_request {
    position at;
    uint32_t count;
    std::vector<position> pixels;
    uint32_t pixel;  // bytes of the caller's pixels
  };
  run_request any_run() {
    run_request r;
    r.at = any_position(runs_.trust && runs_.valid);
    if (runs_.valid && runs_.trust && !has_pixels()) forget_setups();
    r.count = any_count();
    r.pixels = run_from(r.at, r.count);
    r.pixel = uint32_t(runs_.pixies * image_.size);
    check(length(im(), r.count, r.at) == r.pixels.size(), "iolen" + where());
    return r;
  }
  // Trusted positions need a window that has some.
  void forget_setups() {
    runs_.valid = blocks_.valid = false;
    im()->xwind(im(), &im()->wind, 's');
  }

  void read_run() {
    action_ = "ioread";
    const run_request r = any_run();
    guarded buffer(r.pixels.size() * r.pixel + 3);
    const bytes before = buffer.content();
    // A count beyond the run's end must not matter: the buffer has no room for it.
    const uint32_t moved = read(im(), buffer.data(), r.count, r.at);
    check(moved == r.pixels.size(), "ioread moved " + std::to_string(moved) + where());
    const form f = caller_form(d_, runs_.datatype);
    const uint8_t *got = buffer.data();
    for (const position &p : r.pixels)
      for (int i = 0; i < runs_.pixies; i++, got += f.size) {
        const uint64_t stored = image_.number(model_.data() + offset(p) + (runs_.first + i) * f.size);
        expect_pixie(got, f, image_.value(stored), runs_.datatype & QVIM_DIRTY, "ioread");
      }
    check(std::equal(got, static_cast<const uint8_t *>(buffer.data()) + buffer.size(), before.end() - 3),
          "ioread wrote too much" + where());
    check(buffer.is_intact(), "ioread wrote outside" + where());
  }

  // The image has a new number in that pixie: the bits that count are known, the others stay as the library
  // left them if they may be dirty.
  void expect_stored(uint64_t at, uint64_t number, bool dirt_allowed) {
    const uint64_t got = image_.number(memory_->data() + at);
    check(image_.value(got) == image_.value(number), "wrong value stored" + where());
    check(dirt_allowed || (got & image_.unused()) == 0, "dirty bits stored" + where());
    std::memcpy(model_.data() + at, memory_->data() + at, image_.size);
  }

  void write_run() {
    action_ = "iorite";
    const run_request r = any_run();
    const form f = caller_form(d_, runs_.datatype);
    guarded buffer(r.pixels.size() * r.pixel);
    for (size_t i = 0; i < r.pixels.size() * runs_.pixies; i++)
      any_pixie(f, runs_.datatype & QVIM_DIRTY, buffer.data() + i * f.size);
    const bytes before = buffer.content();
    const uint32_t moved = write(im(), buffer.data(), r.count, r.at);
    check(moved == r.pixels.size(), "iorite moved " + std::to_string(moved) + where());
    check(buffer.content() == before, "iorite changed its buffer" + where());
    const uint8_t *given = before.data();
    for (const position &p : r.pixels)
      for (int i = 0; i < runs_.pixies; i++, given += f.size)
        expect_stored(offset(p) + (runs_.first + i) * f.size, f.value(f.number(given)) << image_.low,
                      !is_real(d_) && d_.i_dirtyrite);
  }

  // --- block transfers

  void set_blocks() {
    action_ = "bxts";
    const uint32_t datatype = any_datatype(), mask = any_mask();
    blocks_ = {true, 0, false, false, datatype, 0, 0};
    blocks_.pixies = select(mask, &blocks_.first);
    int32_t code = 1;
    if ((datatype & 0xFF) != uint32_t(d_.pixietype))
      code = QVERR_DATATYPE;
    else if (blocks_.pixies == 0)
      code = QVERR_COLOUR;
    else if (d_.pixietype == QVIM_UINT64)
      code = QVERR_DATATYPE;
    if (null_windowed_) code = 0;
    const int32_t answer = im()->bxts(im(), from_.below(0x10000), datatype, mask);
    check(answer == code,
          "bxts answered " + std::to_string(answer) + ", not " + std::to_string(code) + where());
    blocks_.valid = code == 1;
  }

  struct block_request {
    std::vector<qvxyzcoord> list;
    std::unique_ptr<guarded> buffer;
    bytes before;
    uint32_t op;
  };
  block_request any_block(const run_setup &s, bool trusted) {
    block_request b;
    b.op = from_.one_in(12) ? from_.below(0x10000) : from_.below(6);
    const uint32_t count = from_.one_in(6) ? from_.below(400) : from_.below(12);
    const form f = caller_form(d_, s.datatype);
    for (uint32_t i = 0; i < count && has_pixels(); i++) {
      const position p = any_position(trusted);
      b.list.push_back({p[0], p[1], axes == 3 ? p[2] : int32_t(from_.below(3)) - 1});
    }
    b.buffer = std::make_unique<guarded>(b.list.size() * s.pixies * f.size);
    for (size_t i = 0; i < b.list.size() * s.pixies; i++)
      any_pixie(f, s.datatype & QVIM_DIRTY, b.buffer->data() + i * f.size);
    b.before = b.buffer->content();
    return b;
  }

  template <class T>
  static uint64_t combine_reals(uint32_t op, uint64_t p, uint64_t v) {
    T a, b;
    std::memcpy(&a, &p, sizeof a);
    std::memcpy(&b, &v, sizeof b);
    const T result = op == 1 ? a + b : op == 4 ? a * b : a - b;
    uint64_t n = 0;
    std::memcpy(&n, &result, sizeof result);
    return n;
  }
  uint64_t combine(uint32_t op, uint64_t p, uint64_t v) const {
    if (op == 0 || op == 3) return v;
    if (d_.pixietype == QVIM_FLOAT32) return combine_reals<float>(op, p, v);
    if (d_.pixietype == QVIM_FLOAT64) return combine_reals<double>(op, p, v);
    return op == 1 ? p + v : op == 4 ? p ^ v : p - v;
  }
  bool is_nan(uint64_t n) const {
    float f;
    double d;
    std::memcpy(&f, &n, 4);
    std::memcpy(&d, &n, 8);
    return d_.pixietype == QVIM_FLOAT32 ? std::isnan(f) : d_.pixietype == QVIM_FLOAT64 && std::isnan(d);
  }

  // What the block did, entry by entry. Numbers in the image keep their dirt in sums, as the hardware would.
  void expect_block(const block_request &b, const run_setup &s, bool masked, bool buffer_kept) {
    const form f = caller_form(d_, s.datatype);
    const bool real = is_real(d_), dirty_caller = !real && s.datatype & QVIM_DIRTY;
    const bool same_place = f.low == image_.low;
    const bool same_form =
        f.reversed == image_.reversed && same_place && (!image_.unused() || !dirty_caller || d_.i_dirtyrite);
    bytes expected = model_;
    size_t at = 0;
    for (const qvxyzcoord &entry : b.list) {
      const position p{entry.x, entry.y, axes == 3 ? entry.z : 0};
      for (int i = 0; i < s.pixies; i++, at += f.size) {
        const uint8_t *given = b.before.data() + at, *got = b.buffer->data() + at;
        if (!is_inside(p) || b.op > 5) {
          check(std::memcmp(got, given, f.size) == 0, "buffer touched for a pixel outside" + where());
          continue;
        }
        uint8_t *stored = expected.data() + offset(p) + (s.first + i) * f.size;
        uint64_t old = image_.number(stored);
        if (masked && !real && d_.i_dirtyread && !dirty_caller) old &= image_.container() & ~image_.unused();
        uint64_t v = f.value(f.number(given)) << image_.low;
        if (same_place && dirty_caller && d_.i_dirtyrite) v = f.number(given);
        if (b.op == 0 || b.op == 2)
          expect_pixie(got, f, image_.value(old), dirty_caller, "block");
        else if (buffer_kept || same_form)
          check(std::memcmp(got, given, f.size) == 0, "buffer changed" + where());
        const bool sum = !real && (b.op == QVIM_OP_ADD || b.op == QVIM_OP_SUBTRACT);
        const uint64_t kept = image_.container() & ~(masked && sum ? image_.unused() : 0);
        if (b.op != 2) image_.put(stored, combine(b.op, old, v) & kept);
      }
    }
    // The bits that count are as expected; elsewhere, nothing has changed.
    for (const qvxyzcoord &entry : b.list) {
      const position p{entry.x, entry.y, axes == 3 ? entry.z : 0};
      if (!is_inside(p) || b.op > 5 || b.op == 2) continue;
      for (int i = 0; i < s.pixies; i++) {
        const uint64_t byte = offset(p) + (s.first + i) * f.size;
        const uint64_t number = image_.number(expected.data() + byte);
        if (is_nan(number) && is_nan(image_.number(memory_->data() + byte)))
          std::memcpy(model_.data() + byte, memory_->data() + byte, f.size);
        else
          expect_stored(byte, number, !real && may_leave_dirt(b.op, masked));
      }
    }
    check(b.buffer->is_intact(), "block touched outside the buffer" + where());
  }

  bool may_leave_dirt(uint32_t op, bool masked) const {
    if (op == QVIM_OP_EXCHANGE || op == QVIM_OP_WRITE) return d_.i_dirtyrite;
    return d_.i_dirtyread || (!masked && op != QVIM_OP_COMBINE);
  }

  void native_blocks() {
    action_ = "bxta";
    if (!blocks_.valid) {
      qvxyzcoord entry{};
      check(im()->bxta(im(), QVIM_LIST, nullptr, &entry, 1, 2) == 0, "bxta without set-up" + where());
      return;
    }
    block_request b = any_block(blocks_, false);
    const auto count = uint32_t(b.list.size());
    std::vector<qvxyzcoord> list = b.list;
    uint32_t mode = QVIM_LIST;
    if (from_.one_in(2)) {
      check(im()->bxtp(im(), mode, b.buffer->data(), list.data(), count, b.op) != 0, "bxtp" + where());
      mode = 0;
    }
    check(im()->bxta(im(), mode, b.buffer->data(), list.data(), count, b.op) == count,
          "bxta count" + where());
    check(im()->bxtw(im(), mode, b.buffer->data(), list.data(), count, b.op) == 1, "bxtw" + where());
    expect_block(b, blocks_, false, false);
    clean_sums();
  }

  void generic_blocks() {
    action_ = "generic block";
    if (null_windowed_) return;
    qvimbxtstate state{};
    const uint32_t datatype = any_datatype(), mask = any_mask();
    const int colours = std::popcount(mask);
    int32_t code = 1;
    if ((datatype & 0xFF) != uint32_t(d_.pixietype) || d_.pixietype == QVIM_UINT64)
      code = QVERR_DATATYPE;
    else if (mask > all_pixies() || mask > 0xFF || (colours != 1 && colours != d_.pixies))
      code = QVERR_COLOUR;
    const int32_t answer = generic_set(&state, im(), datatype, mask);
    check(answer == code, "generic set-up answered " + std::to_string(answer) + where());
    run_setup s{code == 1, 0, false, false, datatype, 0, 0};
    if (!s.valid) {
      qvxyzcoord entry{};
      check(generic_act(&state, im(), nullptr, &entry, 1, 2) == 0, "generic block without set-up" + where());
      return;
    }
    s.pixies = select(mask, &s.first);
    const bytes record_before(records_.begin() + place_, records_.begin() + place_ + 452);
    block_request b = any_block(s, false);
    const std::vector<qvxyzcoord> list = b.list;
    const auto count = uint32_t(list.size());
    check(generic_act(&state, im(), b.buffer->data(), b.list.data(), count, b.op) == count,
          "generic count" + where());
    for (uint32_t i = 0; i < count; i++)
      check(std::memcmp(&b.list[i], &list[i], sizeof list[i]) == 0,
            "generic block changed the list" + where());
    expect_block(b, s, true, true);
    check(std::equal(record_before.begin(), record_before.end(), records_.begin() + place_),
          "generic block changed the record" + where());
    clean_sums();
  }

  // Sums without a mask may leave dirt that the image's description rules out; the next reads would show it.
  void clean_sums() {
    if (is_real(d_) || d_.i_dirtyread) return;
    position p{};
    for (p[2] = 0; p[2] < (axes == 3 ? extent_[2] : 1); p[2]++)
      for (p[1] = 0; p[1] < extent_[1]; p[1]++)
        for (p[0] = 0; p[0] < extent_[0]; p[0]++)
          for (int i = 0; i < d_.pixies; i++) {
            const uint64_t at = offset(p, false) + i * image_.size;
            for (uint8_t *pixie : {memory_->data() + at, model_.data() + at})
              image_.put(pixie, image_.number(pixie) & ~image_.unused());
          }
  }

  // --- mappings

  bool is_gapless() const {
    if (size_[0] != extent_[0] || stride_[1] != pixel_ * uint32_t(extent_[0])) return false;
    return axes == 2 ||
           (stride_[2] == stride_[1] * uint32_t(extent_[1]) && (size_[1] == extent_[1] || size_[2] == 1));
  }

  void map_pixels() {
    action_ = "imap";
    const uint32_t scan = from_.below(4);
    const uint32_t mode = scan * 2 | (from_.one_in(2) ? QVIM_WRAP : 0) | (from_.one_in(2) ? QVIM_STEP : 0);
    const uint32_t datatype = any_datatype(), mask = any_mask();
    const bool across = scan == 0 && mode & QVIM_WRAP && is_gapless();
    int32_t code = across ? 0x400D : 0x4005;
    if (!supported(im(), datatype))
      code = QVERR_DATATYPE;
    else if (mask != all_pixies())
      code = QVERR_COLOUR;
    else if (scan >= uint32_t(axes))
      code = QVERR_USAGE;
    else if (scan > 0 && !(mode & QVIM_STEP))
      code = QVERR_UNSUPPORTED;
    if (null_windowed_) code = QVERR_UNSUPPORTED;
    const int32_t answer = im()->imapset(im(), mode, datatype, mask);
    check(answer == code,
          "imapset answered " + std::to_string(answer) + ", not " + std::to_string(code) + where());
    const position p = any_position(false);
    qvimagemap m{7, 7, 7, 7};
    const bool mapped = code > 0 && is_inside(p);
    check(map(im(), &m, p) == mapped && m.count == uint32_t(mapped), "imap" + where());
    if (mapped) {
      check(m.address == uint64_t(reinterpret_cast<uintptr_t>(memory_->data() + offset(p))),
            "address" + where());
      check(m.step == stride_[scan], "step" + where());
      uint64_t length = uint64_t(size_[scan] - p[scan]);
      if (across) {
        length =
            uint64_t(size_[0]) * size_[1] * (axes == 3 ? size_[2] : 1) - (offset(p) - offset({})) / pixel_;
      }
      check(m.length == length, "length" + where());
    }
    check(im()->imapr(im(), &m) == 0 && m.count == 0, "imapr" + where());
  }

  // A record is bytes: a copy serves as well, whatever becomes of the original.
  void move_record() {
    action_ = "copy";
    const bytes copy(records_.begin() + place_, records_.begin() + place_ + 452);
    std::fill(records_.begin(), records_.end(), uint8_t{0xEE});
    place_ = 4 * from_.below(3);
    std::copy(copy.begin(), copy.end(), records_.begin() + place_);
  }

  choices &from_;
  uint64_t noise_ = 1;
  std::vector<uint8_t> records_ = std::vector<uint8_t>(452 + 8);
  uint32_t place_ = 0;
  qvimagedata d_{};
  form image_;
  uint32_t pixel_ = 0;
  position extent_{}, corner_{}, size_{};
  std::array<uint32_t, 3> stride_{};
  bool null_windowed_ = false;
  std::unique_ptr<guarded> memory_;
  bytes model_;
  run_setup runs_{}, blocks_{};
  std::string action_ = "build";
};

}  // namespace access_model
