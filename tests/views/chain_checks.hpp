// Random chains of up to five views over a memory image, under random set-ups: what they read and write, how
// far their runs go, what they map and what they leave alone is what the models of the views say, one pixie
// at a time.
#pragma once

#include "tests/views/chain.hpp"

namespace model {

inline constexpr size_t guard = 64;
inline constexpr uint8_t guard_byte = 0xA5;
inline constexpr bits untouched{0xA5A5A5A5A5A5A5A5};

inline uint32_t read(chain_link &im, void *buffer, size_t count, const pos &at) {
  return im.with([&](auto *record, auto dim) {
    return qvim::call_read(record, 0, buffer, uint32_t(count), as_point<decltype(dim)>(at));
  });
}
inline uint32_t write(chain_link &im, const void *buffer, size_t count, const pos &at) {
  return im.with([&](auto *record, auto dim) {
    return qvim::call_write(record, 0, buffer, uint32_t(count), as_point<decltype(dim)>(at));
  });
}
inline uint32_t length(chain_link &im, size_t count, const pos &at) {
  return im.with([&](auto *record, auto dim) {
    return qvim::call_length(record, uint32_t(count), as_point<decltype(dim)>(at));
  });
}

inline request random_request(fuzz_input &from, const qvimagedata &d, bool deep) {
  request r;
  r.mode = 2 * from.up_to(deep ? 2 : 1) | (from.up_to(1) ? QVIM_WRAP : 0) | (from.up_to(3) ? 0 : QVIM_TRUST);
  r.datatype = from.up_to(2) == 0 ? from.one_of<uint32_t>({QVIM_UINT8, QVIM_UINT16, QVIM_UINT32, QVIM_FLOAT32,
                                                           QVIM_FLOAT64, QVIM_UINT64})
                                  : uint32_t(d.pixietype);
  r.datatype |= from.one_of<uint32_t>({0, QVIM_MSB, QVIM_LSB}) | (from.up_to(2) ? 0 : QVIM_SWAPPED) |
                (from.up_to(2) ? 0 : QVIM_DIRTY);
  const uint32_t pixies = uint32_t(d.pixies), first = from.up_to(1) ? 0 : from.up_to(pixies - 1);
  const uint32_t count = from.up_to(1) ? pixies - first : 1 + from.up_to(pixies - first - 1);
  r.mask = uint32_t(ones(int(count)) << first);
  return r;
}

inline pos random_position(fuzz_input &from, const extent &size) {
  pos at;
  for (int axis = 0; axis < 3; axis++) at[axis] = int(from.up_to(uint32_t(size[axis] - 1)));
  return at;
}

// Pixies in a caller's buffer.
struct caller_buffer {
  const request r;
  std::vector<uint8_t> bytes;

  caller_buffer(const request &asked, size_t pixels)
      : r(asked), bytes(pixels * pixel() + guard, guard_byte) {}
  size_t pixel() const { return size_t(r.size() * r.colours()); }
  uint8_t *at(size_t i) { return &bytes[i * pixel()]; }
  bits get(size_t i, int c) { return {load(at(i) + c * r.size(), r.size(), r.reversed())}; }
  std::vector<bits> pixel_values(size_t i) {
    std::vector<bits> values;
    for (int c = 0; c < r.colours(); c++) values.push_back(get(i, c));
    return values;
  }
  // Values that a caller may write; floating ones are ordinary numbers.
  void fill(uint32_t seed, size_t pixels, uint64_t allowed) {
    generator g(seed);
    for (size_t i = 0; i < pixels * size_t(r.colours()); i++) {
      uint64_t value = g() & allowed;
      if (!is_integer(r.datatype)) value = as_raw(double(int(g() % 1500) - 200) / 1000, r.size());
      store(&bytes[i * size_t(r.size())], r.size(), r.reversed(), value);
    }
  }
  void expect(size_t i, int c, const bits &v) {
    if (((get(i, c).value ^ v.value) & v.known & ones(8 * r.size())) && talks())
      std::fprintf(stderr, "pixel %zu pixie %d: 0x%llx, not 0x%llx of 0x%llx\n", i, c,
                   static_cast<unsigned long long>(get(i, c).value), static_cast<unsigned long long>(v.value),
                   static_cast<unsigned long long>(v.known & ones(8 * r.size())));
    require(((get(i, c).value ^ v.value) & v.known & ones(8 * r.size())) == 0);
  }
  void expect_untouched(size_t from) const {
    for (size_t i = from * pixel(); i < bytes.size(); i++) require(bytes[i] == guard_byte);
  }
};

// Leaves marks where the next call has its variables: what is read may not depend on them.
inline __attribute__((noinline)) void soil_stack(uint8_t mark) {
  uint8_t marks[20000];
  std::memset(marks, mark, sizeof marks);
  asm volatile("" : : "r"(marks) : "memory");
}

// What a run must deliver: these pixels, and then none at `stop`, if there is one.
struct expected_run {
  std::vector<pos> served;
  std::optional<pos> stop;
};

class comparison {
 public:
  explicit comparison(fuzz_input &from) : chain_(from) {}
  bool is_empty() { return top().window().size == extent{}; }

  void runs(fuzz_input &from) {
    const request r = random_request(from, top().data(), top().deep);
    const int32_t code =
        top().with([&](auto *record, auto) { return record->ioset(record, r.mode, r.datatype, r.mask); });
    tell("runs", r, code);
    const auto bytes = top().with([](auto *record, auto) { return qvim::buffer_pixel(record); });
    require(bytes == (code > 0 ? uint32_t(qvimdatasize(r.datatype) * std::popcount(r.mask)) : 0));
    const bool serves = model().serves(r);
    if (!chain_.runs_turn() && (r.mode & 6) < QVIM_ZSCAN) require((code >= 0) == serves);
    require(code < 0 || serves);
    require_nothing_outside(r);
    for (uint32_t calls = 1 + from.up_to(3); calls > 0; calls--) {
      const pos at = random_position(from, top().window().size);
      const size_t count = 1 + from.up_to(from.up_to(3) ? 255 : 3000);
      const expected_run run = code < 0 ? expected_run{{}, at} : expected_from(at, r.mode, count);
      chain_.begin();
      if (from.up_to(1))
        read_run(r, run, count);
      else
        write_run(r, run, count, from.byte());
      chain_.check();
    }
  }

  void list(fuzz_input &from) {
    const request r = random_request(from, top().data(), top().deep);
    how_ = transfer_way(from.up_to(2));
    block_ = {};
    const int32_t code = set_up_list(r);
    tell("list", r, code);
    require(chain_.runs_turn() ? code < 0 || lists(r) : (code >= 0) == lists(r));
    const std::vector<qvxyzcoord> entries = random_list(from);
    const uint32_t op = random_operation(from);
    if (talks()) std::fprintf(stderr, "op %u, %zu entries\n", op, entries.size());
    caller_buffer buffer(r, entries.size());
    const bool own = how_ == transfer_way::by_runs;
    buffer.fill(from.byte(), entries.size(),
                own ? model().image::list_allowed(r.datatype) : model().list_allowed(r.datatype));
    if (op != QVIM_OP_READ && !model().writable()) return;
    caller_buffer given = buffer;
    const std::vector<uint8_t> records = chain_.records();
    chain_.begin();
    soil_stack(0x11);
    const size_t worked = transfer(buffer, entries, op);
    require(worked == (code < 0 ? 0 : entries.size()));
    for (size_t i = 0; i < worked; i++) check_entry(buffer, given, i, entries[i], op);
    buffer.expect_untouched(entries.size());
    chain_.check();
    if (own && !chain_.notes_accesses()) require(records == chain_.records());
    if (op != QVIM_OP_READ) return;
    soil_stack(0xEE);
    transfer(given, entries, op);
    require(buffer.bytes == given.bytes);
  }

  // Into a file and out of it again.
  void save(fuzz_input &from) {
    const qvimagedata d = top().data();
    const request r{0, uint32_t(d.pixietype) | QVIM_LSB, uint32_t(ones(d.pixies))};
    if (!tiff_file::holds(d) || !model().serves(r)) return;
    tiff_file file;
    uint8_t place[sizeof(qvimage)], *array = place;
    chain_link saved{array, 0, top().deep};
    const int32_t code = file.write(top(), from.up_to(3), 1 + from.up_to(3000));
    tell("save", r, code);
    if (talks() && code < 0) std::fprintf(stderr, "%s\n", qvimage_reason());
    const extent size = top().window().size;
    const expected_run run =
        expected_from({}, QVIM_WRAP, size_t(size[0]) * size_t(size[1]) * size_t(size[2]));
    if (code < 0 && chain_.runs_turn()) return;
    require((code == 0) == !run.stop);
    if (code != 0) return;
    file.open(saved);
    const request whole{QVIM_WRAP, uint32_t(saved.data().pixietype) | QVIM_LSB, r.mask};
    require(saved.with([&](auto *im, auto) { return im->ioset(im, whole.mode, whole.datatype, r.mask); }) ==
            1);
    caller_buffer buffer(whole, run.served.size());
    require(read(saved, buffer.bytes.data(), run.served.size(), {}) == run.served.size());
    // A file has as many bits as the image says that it has, whatever a converter makes of them.
    const uint64_t kept = ones(form{d}.used());
    for (size_t i = 0; i < run.served.size(); i++)
      for (int c = 0; c < d.pixies; c++) {
        if (model().leaves_alone(c, r)) continue;
        const bits v = model().read(run.served[i], c, r);
        buffer.expect(i, c, {v.value & kept, v.known});
      }
  }

  void map(fuzz_input &from) {
    request r = random_request(from, top().data(), top().deep);
    r.mode = (r.mode & ~uint32_t{QVIM_TRUST}) | QVIM_STEP;
    r.mask = uint32_t(ones(top().data().pixies));
    const int32_t code =
        top().with([&](auto *im, auto) { return im->imapset(im, r.mode, r.datatype, r.mask); });
    tell("map", r, code);
    const pos at = random_position(from, top().window().size);
    qvimagemap mapped{};
    const int32_t answer = top().with(
        [&](auto *im, auto dim) { return qvim::call_map(im, &mapped, as_point<decltype(dim)>(at)); });
    require(answer == int32_t(mapped.count) && (code >= 0 || answer == 0));
    if (answer == 0) return require(code < 0 || !model().reaches(at));
    check_map(mapped, r, at);
    top().with([&](auto *im, auto) { return im->imapr(im, &mapped); });
    require(mapped.count == 0);
  }

 private:
  // Lists are served by the image, after its pointers were asked for or not, or by its runs.
  enum class transfer_way { at_once, by_pointers, by_runs };

  chain chain_;
  transfer_way how_ = transfer_way::at_once;
  qvimbxtstate block_{};

  void require_nothing_outside(const request &r) {
    if (r.mode & QVIM_TRUST) return;
    const extent size = top().window().size;
    uint8_t pixel[32 * 8] = {};
    for (const pos &at :
         {pos{-1, 0}, pos{0, -1}, pos{size[0], 0}, pos{0, size[1]}, pos{INT32_MAX, INT32_MIN}})
      require(length(top(), 1, at) == 0 && read(top(), pixel, 1, at) == 0 && write(top(), pixel, 1, at) == 0);
  }

  chain_link &top() { return chain_.top(); }
  image &model() { return chain_.as_modelled(); }

  static void tell(const char *what, const request &r, int32_t code) {
    if (talks()) std::fprintf(stderr, "%s %s: %d\n", what, r.text().c_str(), code);
  }

  expected_run expected_from(const pos &at, uint32_t mode, size_t count) {
    expected_run run{run_of(top().window().size, top().deep ? 3 : 2, mode, at, count), {}};
    const auto end =
        std::find_if(run.served.begin(), run.served.end(), [&](const pos &p) { return !model().reaches(p); });
    if (end == run.served.end()) return run;
    run.stop = *end;
    run.served.erase(end, run.served.end());
    return run;
  }

  void read_run(const request &r, const expected_run &run, size_t count) {
    soil_stack(0x11);
    caller_buffer buffer = delivered(r, run, count);
    const size_t done = run.served.size();
    for (size_t i = 0; i < done; i++)
      for (int c = 0; c < r.colours(); c++)
        buffer.expect(i, c,
                      model().leaves_alone(r.first() + c, r) ? untouched
                                                             : model().read(run.served[i], r.first() + c, r));
    buffer.expect_untouched(done);
    soil_stack(0xEE);
    require(buffer.bytes == delivered(r, run, count).bytes);
  }
  // What one call leaves over the next one moves.
  caller_buffer delivered(const request &r, const expected_run &run, size_t count) {
    caller_buffer buffer(r, count);
    size_t done = 0;
    while (done < run.served.size()) {
      const size_t promised = length(top(), count - done, run.served[done]);
      const size_t moved = read(top(), buffer.at(done), count - done, run.served[done]);
      require(moved == promised && moved > 0 && done + moved <= run.served.size());
      done += moved;
    }
    if (run.stop) {
      require(length(top(), count - done, *run.stop) == 0);
      require(read(top(), buffer.at(done), count - done, *run.stop) == 0);
    }
    return buffer;
  }

  void write_run(const request &r, const expected_run &run, size_t count, uint32_t seed) {
    caller_buffer buffer(r, count);
    buffer.fill(seed, count, model().allowed(r.datatype));
    const std::vector<uint8_t> given = buffer.bytes;
    const size_t wanted = model().writable() ? run.served.size() : 0;
    size_t done = 0;
    while (done < wanted) {
      const size_t moved = write(top(), buffer.at(done), count - done, run.served[done]);
      require(moved > 0 && done + moved <= wanted);
      done += moved;
    }
    if (run.stop || !model().writable())
      require(write(top(), buffer.at(done), count - done, run.stop ? *run.stop : run.served[0]) == 0);
    require(buffer.bytes == given);
    for (size_t i = 0; i < done; i++) model().write(run.served[i], buffer.pixel_values(i), r);
  }

  // Sums may leave the significant bits, and then the image is not what it says that it is.
  uint32_t random_operation(fuzz_input &from) {
    static const uint32_t ops[] = {QVIM_OP_READ,    QVIM_OP_WRITE, QVIM_OP_EXCHANGE,
                                   QVIM_OP_COMBINE, QVIM_OP_ADD,   QVIM_OP_SUBTRACT};
    const pixels &stored = chain_.stored();
    const bool any = stored.used() == 8 * stored.size() || stored.dirty();
    return ops[from.up_to(any ? 5 : 3)];
  }

  std::vector<qvxyzcoord> random_list(fuzz_input &from) {
    const extent size = top().window().size;
    std::vector<qvxyzcoord> entries(1 + from.up_to(60));
    for (qvxyzcoord &entry : entries) {
      int32_t at[3];
      for (int axis = 0; axis < 3; axis++)
        at[axis] = int32_t(from.up_to(uint32_t(size[axis])));  // or outside
      entry = {at[0], at[1], top().deep ? at[2] : 0};
    }
    return entries;
  }

  int32_t set_up_list(const request &r) {
    if (how_ != transfer_way::by_runs)
      return top().with([&](auto *im, auto) { return im->bxts(im, 0, r.datatype, r.mask); });
    return top().deep ? qvim3bxts(&block_, top().volume(), 0, r.datatype, r.mask)
                      : qvimbxts(&block_, top().flat(), 0, r.datatype, r.mask);
  }

  uint32_t transfer(caller_buffer &buffer, std::vector<qvxyzcoord> entries, uint32_t op) {
    const uint32_t n = uint32_t(entries.size());
    void *const values = buffer.bytes.data();
    if (how_ == transfer_way::by_runs)
      return top().deep ? qvim3bxta(&block_, top().volume(), QVIM_LIST, values, entries.data(), n, op)
                        : qvimbxta(&block_, top().flat(), QVIM_LIST, values, entries.data(), n, op);
    return top().with([&](auto *im, auto) {
      const bool pointers =
          how_ == transfer_way::by_pointers && im->bxtp(im, QVIM_LIST, values, entries.data(), n, op);
      return im->bxta(im, pointers ? 0 : uint32_t(QVIM_LIST), values, entries.data(), n, op);
    });
  }

  // What the image says of lists, or what every image's runs make of them.
  bool lists(const request &r) {
    return how_ == transfer_way::by_runs ? model().image::lists(r) : model().lists(r);
  }
  bits list_read(const pos &at, int pixie, const request &r) {
    return how_ == transfer_way::by_runs ? model().image::list_read(at, pixie, r)
                                         : model().list_read(at, pixie, r);
  }
  bool list_leaves_alone(int pixie, const request &r) {
    return how_ == transfer_way::by_runs ? model().image::list_leaves_alone(pixie, r)
                                         : model().list_leaves_alone(pixie, r);
  }
  void list_write(const pos &at, const std::vector<bits> &values, const request &r) {
    if (how_ == transfer_way::by_runs)
      model().image::list_write(at, values, r);
    else
      model().list_write(at, values, r);
  }

  void check_entry(caller_buffer &buffer, caller_buffer &given, size_t i, const qvxyzcoord &entry,
                   uint32_t op) {
    const request &r = buffer.r;
    const pos at{entry.x, entry.y, entry.z};
    const bool served = holds(top().window().size, at) && model().reaches(at);
    const bool reads = op == QVIM_OP_READ || op == QVIM_OP_EXCHANGE;
    for (int c = 0; c < r.colours() && reads; c++) {
      if (served)
        buffer.expect(
            i, c, list_leaves_alone(r.first() + c, r) ? given.get(i, c) : list_read(at, r.first() + c, r));
    }
    for (int c = 0; c < r.colours() && !served; c++) buffer.expect(i, c, given.get(i, c));
    if (!served || op == QVIM_OP_READ) return;
    std::vector<bits> values = given.pixel_values(i);
    if (op != QVIM_OP_WRITE && op != QVIM_OP_EXCHANGE)
      for (int c = 0; c < r.colours(); c++) values[size_t(c)] = combined(op, at, c, values[size_t(c)], r);
    list_write(at, values, r);
  }

  // Of a memory image itself: whatever a view adds up may be rounded and limited on its way.
  bits combined(uint32_t op, const pos &at, int c, const bits &given, const request &r) {
    const form f = model().described();
    if (!chain_.has_no_views()) return unknown;
    const bits old = list_read(at, r.first() + c, r);
    if (f.size() == 4 && !f.integer()) return combined_reals<float>(op, old, given);
    if (!f.integer()) return combined_reals<double>(op, old, given);
    const int low = model::place(f, r.datatype);
    const uint64_t meant = ones(f.used()) << low;
    // Dirt below the bits that mean something reaches them as it is added.
    const bool certain = (old.known & meant) == meant && !(f.dirty() && f.used() < 8 * f.size());
    const uint64_t a = old.value & meant, b = given.value & meant;
    const uint64_t sum = op == QVIM_OP_ADD ? a + b : op == QVIM_OP_SUBTRACT ? a - b : a ^ b;
    return {sum & meant, certain ? meant : 0};
  }
  template <class T>
  static bits combined_reals(uint32_t op, const bits &old, const bits &given) {
    T a, b;
    std::memcpy(&a, &old.value, sizeof a);
    std::memcpy(&b, &given.value, sizeof b);
    const T result = op == QVIM_OP_ADD ? a + b : op == QVIM_OP_SUBTRACT ? a - b : a * b;
    bits v{0};
    std::memcpy(&v.value, &result, sizeof result);
    if (!old.known || result != result) v.known = 0;
    return v;
  }

  // Every pixel that the mapping reaches is where the view's pixel is stored, in the form that was asked for.
  void check_map(const qvimagemap &mapped, const request &r, const pos &at) {
    const auto run = run_of(top().window().size, top().deep ? 3 : 2, r.mode, at, UINT32_MAX);
    const uint64_t length = mapped.length, address = mapped.address, step = mapped.step;
    require(length > 0 && length <= run.size());
    for (uint64_t i = 0; i < length; i++) {
      const std::optional<pos> there = model().in_memory(run[i]);
      require(there && model().reaches(run[i]));
      const auto *byte = &chain_.stored().bytes[chain_.stored().offset(*there, 0)];
      require(address + i * step == uint64_t(reinterpret_cast<uintptr_t>(byte)));
    }
    require(chain_.stores(r.datatype));
  }
};

// A chain and what is done with it, as the decisions have it; throws where something is not as it should be.
inline void check_chain(fuzz_input &from) {
  comparison chain(from);
  if (chain.is_empty()) return;
  for (int i = 0; i < 6 && !from.empty(); i++) {
    switch (from.up_to(12)) {
      case 0: chain.save(from); break;
      case 1:
      case 2:
      case 3: chain.list(from); break;
      case 4:
      case 5:
      case 6: chain.map(from); break;
      default: chain.runs(from);
    }
  }
}

}  // namespace model
