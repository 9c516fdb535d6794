// Random chains of up to five views over a memory image, under random set-ups. Each chain has a twin over a
// copy of the pixels: what the chain moves in runs and lists, the twin moves pixel by pixel, and both must
// agree on the values, on where a run ends and on every byte of the source.
#include <algorithm>
#include <cstring>
#include <deque>
#include <random>

#include <qvimage/qvimage.h>

#include "core/dimension.hpp"
#include "fuzz/input.hpp"

namespace {

using qvim::box;
using qvim::point;
using qvim::three_d;
using qvim::two_d;
using position = std::array<int32_t, 3>;

constexpr size_t guard = 64;
constexpr uint8_t guard_byte = 0xA5;

bool is_integer(uint32_t type) { return type & 0x0F; }

std::vector<uint8_t> random_bytes(uint32_t seed, size_t size) {
  std::minstd_rand generator(seed + 1);
  std::vector<uint8_t> bytes(size);
  for (uint8_t &b : bytes) b = uint8_t(generator() >> 8);
  return bytes;
}

// Bytes that hold any values of the type, unused bits clear; floating values are ordinary numbers.
std::vector<uint8_t> random_values(const qvimagedata &d, uint32_t seed, size_t size) {
  std::vector<uint8_t> bytes = random_bytes(seed, size);
  const size_t pixie = qvimdatasize(uint32_t(d.pixietype));
  for (size_t at = 0; at + pixie <= size; at += pixie) {
    uint64_t value = 0;
    std::memcpy(&value, &bytes[at], pixie);
    const float single = float(value % 1500) / 1000 - 0.2f;
    const double twice = single;
    if (is_integer(uint32_t(d.pixietype))) {
      if (d.i_bitsused < int(8 * pixie)) value &= (uint64_t{1} << d.i_bitsused) - 1;
      std::memcpy(&bytes[at], &value, pixie);
    } else {
      std::memcpy(&bytes[at], pixie == 4 ? static_cast<const void *>(&single) : &twice, pixie);
    }
  }
  return bytes;
}

// One record of a chain.
struct link {
  bool deep = false;
  alignas(4) qvimage flat;
  alignas(4) qvimage3 volume;
  template <class Work>
  auto with(Work work) {
    return deep ? work(&volume, three_d{}) : work(&flat, two_d{});
  }
  const qvimagedata &data() const { return deep ? volume.d : flat.d; }
};

// A memory image and the views over it. Made twice from the same input, it is the same chain twice.
class chain {
 public:
  explicit chain(fuzz_input &from) {
    make_image(from);
    for (uint32_t views = from.up_to(5); views > 0; views--) {
      if (from.up_to(2) == 0) set_window(from);
      links_.emplace_back();
      if (!add_view(from, links_[links_.size() - 2], links_.back())) links_.pop_back();
    }
    if (from.up_to(2) == 0) set_window(from);
  }
  link &top() { return links_.back(); }
  const std::vector<uint8_t> &bytes() const { return bytes_; }
  // The pixels' surroundings are as they were made.
  bool keeps_its_margins() const {
    for (size_t i = 0; i < guard; i++)
      if (bytes_[i] != guard_byte || bytes_[bytes_.size() - 1 - i] != guard_byte) return false;
    return true;
  }
  position size() {
    return top().with([](auto *im, auto dim) {
      const auto window = box<decltype(dim)>::of(&im->wind);
      position result{1, 1, 1};
      for (int axis = 0; axis < dim.axes; axis++) result[axis] = int32_t(window.extent(axis));
      return result;
    });
  }

 private:
  std::vector<uint8_t> bytes_;
  std::vector<std::vector<uint8_t>> tables_;
  std::deque<link> links_;

  void make_image(fuzz_input &from) {
    static const int32_t types[] = {QVIM_UINT8,  QVIM_UINT16,  QVIM_UINT8,  QVIM_UINT16,
                                    QVIM_UINT32, QVIM_FLOAT32, QVIM_FLOAT64};
    static const int32_t hints[] = {QVIM_HINT_GREY, QVIM_HINT_GREY, QVIM_HINT_RGB,    QVIM_HINT_BGR,
                                    QVIM_HINT_CMYK, QVIM_HINT_BSH,  QVIM_HINT_RGBPAD, QVIM_HINT_COMPLEX};
    qvimagedata d;
    const int32_t type = types[from.up_to(6)], hint = hints[from.up_to(7)];
    const uint32_t width = 8u * uint32_t(qvimdatasize(uint32_t(type)));
    const bool all_bits = !is_integer(uint32_t(type)) || from.up_to(2) == 0;
    require(qviminitdata(&d, type, all_bits ? 0 : int32_t(1 + from.up_to(width - 1)), hint & 15, hint) == 1);
    link &image = links_.emplace_back();
    image.deep = from.up_to(1);
    int32_t dims[3] = {int32_t(1 + from.up_to(200)), int32_t(1 + from.up_to(8)), 1};
    if (image.deep) dims[2] = int32_t(1 + from.up_to(3));
    const size_t pixel = size_t(d.pixies) * width / 8;
    const size_t pitch = size_t(dims[0]) * pixel + from.up_to(1) * width / 8, plane = pitch * size_t(dims[1]);
    bytes_ = random_values(d, from.byte(), plane * size_t(dims[2]));
    bytes_.insert(bytes_.begin(), guard, guard_byte);
    bytes_.insert(bytes_.end(), guard, guard_byte);
    uint8_t *pixels = bytes_.data() + guard;
    if (image.deep)
      require(qvimage3_memdata(&image.volume, pixels, 0, dims, uint32_t(pitch), uint32_t(plane), &d, nullptr,
                               0) == 0);
    else
      require(qvimage_memdata(&image.flat, pixels, 0, dims, uint32_t(pitch), &d, nullptr, 0) == 0);
  }

  void set_window(fuzz_input &from) {
    top().with([&](auto *im, auto dim) {
      const auto whole = box<decltype(dim)>::of(&im->imdim);
      box<decltype(dim)> part;
      for (int axis = 0; axis < dim.axes; axis++) {
        const uint32_t extent = whole.extent(axis), first = from.up_to(extent - 1);
        part.nw[axis] = int32_t(first);
        part.se[axis] = int32_t(first + 1 + from.up_to(extent - first - 1));
      }
      decltype(im->wind) window;
      std::memcpy(&window, &part, sizeof window);
      require(im->xwind(im, &window, 's') != nullptr);
    });
  }

  // Tables for every value of a pixie, whose entries are values that its bits hold.
  const void *table(const qvimagedata &d, uint32_t seed) {
    const size_t entries = size_t{1} << (d.pixietype == QVIM_UINT8 ? 8 : 16);
    tables_.push_back(random_values(d, seed, entries * qvimdatasize(uint32_t(d.pixietype))));
    return tables_.back().data();
  }

  bool add_tables(fuzz_input &from, link &source, link &view, uint8_t shared) {
    const qvimagedata d = source.data();
    const bool fits = d.pixietype == QVIM_UINT8 || d.pixietype == QVIM_UINT16;
    if (!fits) return false;
    const void *reads[4], *writes[4];
    for (int i = 0; i < 4; i++) {
      reads[i] = table(d, from.byte());
      writes[i] = table(d, from.byte());
    }
    const int32_t pixies = int32_t(from.up_to(4)), hint = QVIM_HINT_UNKNOWN + pixies;
    if (view.deep)
      return qvimage_lut3(&view.volume, &source.volume, shared, reads, writes, pixies, hint, 0) == 0;
    return qvimage_lut2(&view.flat, &source.flat, shared, reads, writes, pixies, hint, 0, from.up_to(3)) == 0;
  }

  bool add_view(fuzz_input &from, link &source, link &view) {
    const uint8_t shared = from.up_to(2) == 0;
    view.deep = source.deep;
    switch (from.up_to(source.deep ? 7 : 11)) {
      case 0: return add_converter(from, source, view, shared);
      case 1: return add_tables(from, source, view, shared);
      case 2: return add_colours(from, source, view, shared);
      case 3: {
        const uint32_t component = 1u << from.up_to(3);
        return view.deep ? qvimage3_colorslice(&view.volume, &source.volume, shared, component, 0) == 0
                         : qvimage_colorslice(&view.flat, &source.flat, shared, component, 0) == 0;
      }
      case 4: {
        const uint32_t phase = from.up_to(3);
        return view.deep ? qvimage3_Beyer4_filter(&view.volume, &source.volume, shared, phase) == 0
                         : qvimage_Beyer4_filter(&view.flat, &source.flat, shared, phase) == 0;
      }
      default:
        return source.deep ? add_of_volume(from, source, view, shared)
                           : add_of_flat(from, source, view, shared);
    }
  }

  bool add_converter(fuzz_input &from, link &source, link &view, uint8_t shared) {
    const uint8_t masked = from.up_to(1), bits = uint8_t(from.up_to(16)), mode = from.up_to(1);
    return view.deep
               ? qvimage3_converter(&view.volume, &source.volume, nullptr, shared, masked, bits, mode) == 0
               : qvimage_converter(&view.flat, &source.flat, nullptr, shared, masked, bits, mode) == 0;
  }

  bool add_colours(fuzz_input &from, link &source, link &view, uint8_t shared) {
    static const int32_t hints[] = {QVIM_HINT_RGB, QVIM_HINT_BGR, QVIM_HINT_RGBPAD, QVIM_HINT_YCRCB,
                                    QVIM_HINT_BSH, QVIM_HINT_CMY, QVIM_HINT_CMYK,   QVIM_HINT_GREY};
    const int32_t hint = hints[from.up_to(7)];
    return view.deep ? qvimage3_colorconverter(&view.volume, &source.volume, hint, shared) == 0
                     : qvimage_colorconverter(&view.flat, &source.flat, hint, shared) == 0;
  }

  bool add_of_volume(fuzz_input &from, link &source, link &view, uint8_t shared) {
    switch (from.up_to(2)) {
      case 0:
        return qvimage3_def3from3(&view.volume, &source.volume, int32_t(from.up_to(10)) - 5, 0, 0, shared) ==
               0;
      case 1: view.deep = false; return qvimage_stack(&view.flat, &source.volume) == 0;
      default: {
        view.deep = false;
        static const uint8_t flags[] = {0, 0, 0x80, 0x40};
        const uint32_t x = 2 * from.up_to(2), y = 2 * from.up_to(2);
        const int32_t plane = int32_t(from.up_to(3));
        return qvimage_def2from3(&view.flat, &source.volume, x, y, plane, flags[from.up_to(3)]) == 0;
      }
    }
  }

  bool add_of_flat(fuzz_input &from, link &source, link &view, uint8_t shared) {
    switch (from.up_to(5)) {
      case 0: return qvimage_rotate_filt(&view.flat, &source.flat, shared, from.up_to(7)) == 0;
      case 1: {
        const uint32_t x = 1 + from.up_to(3), y = 1 + from.up_to(3);
        const uint32_t first_x = from.up_to(x - 1), first_y = from.up_to(y - 1);
        return qvimage_decimate(&view.flat, &source.flat, 0, x, y, first_x, first_y) == 0;
      }
      case 2: return qvimage_yodd(&view.flat, &source.flat, shared, from.up_to(1)) == 0;
      case 3: return qvimage_cachemonitor(&view.flat, &source.flat, shared, from.up_to(1)) == 0;
      case 4: {
        const uint32_t entries = 1u << from.up_to(9);
        return qvimage_lutconvert(&view.flat, &source.flat, entries, from.up_to(1)) == 0;
      }
      default: view.deep = true; return qvimage_def3from2(&view.volume, &source.flat, shared) == 0;
    }
  }
};

struct request {
  uint32_t mode, datatype, mask;
  size_t pixel() const { return size_t(qvimdatasize(datatype)) * size_t(__builtin_popcount(mask)); }
};

request random_request(fuzz_input &from, const qvimagedata &d, bool deep) {
  static const uint32_t types[] = {QVIM_UINT8, QVIM_UINT16, QVIM_UINT32, QVIM_FLOAT32, QVIM_FLOAT64};
  static const uint32_t justified[] = {0, QVIM_MSB, QVIM_LSB};
  request r;
  r.mode = 2 * from.up_to(deep ? 2 : 1) | (from.up_to(1) ? QVIM_WRAP : 0);
  r.datatype = from.up_to(2) == 0 ? types[from.up_to(4)] : uint32_t(d.pixietype);
  if (is_integer(r.datatype)) r.datatype |= justified[from.up_to(2)] | (from.up_to(2) ? 0 : QVIM_SWAPPED);
  const uint32_t first = from.up_to(1) ? 0 : from.up_to(uint32_t(d.pixies - 1));
  const uint32_t count =
      from.up_to(1) ? uint32_t(d.pixies) - first : 1 + from.up_to(uint32_t(d.pixies) - first - 1);
  r.mask = ((1u << count) - 1) << first;
  return r;
}

// The positions that a run passes over, in its order.
std::vector<position> run_of(const position &size, bool deep, uint32_t mode, position at, size_t count) {
  const int scanned = int(mode & 6) / 2, axes = deep ? 3 : 2;
  std::vector<int> order{scanned};
  for (int axis = 0; axis < axes; axis++)
    if (axis != scanned) order.push_back(axis);
  std::vector<position> run;
  while (run.size() < count) {
    run.push_back(at);
    size_t turned = 0;
    while (turned < order.size() && ++at[order[turned]] == size[order[turned]]) at[order[turned++]] = 0;
    if (turned == order.size() || (turned > 0 && !(mode & QVIM_WRAP))) break;
  }
  return run;
}

template <class Dim>
point<Dim> as_point(const position &at) {
  point<Dim> result;
  std::copy_n(at.begin(), result.size(), result.begin());
  return result;
}

uint32_t read(link &im, void *buffer, size_t count, const position &at) {
  return im.with([&](auto *record, auto dim) {
    return qvim::call_read(record, 0, buffer, uint32_t(count), as_point<decltype(dim)>(at));
  });
}
uint32_t write(link &im, const void *buffer, size_t count, const position &at) {
  return im.with([&](auto *record, auto dim) {
    return qvim::call_write(record, 0, buffer, uint32_t(count), as_point<decltype(dim)>(at));
  });
}
uint32_t length(link &im, size_t count, const position &at) {
  return im.with([&](auto *record, auto dim) {
    return qvim::call_length(record, uint32_t(count), as_point<decltype(dim)>(at));
  });
}
int32_t set_up(link &im, const request &r) {
  return im.with([&](auto *record, auto) { return record->ioset(record, r.mode, r.datatype, r.mask); });
}

// Values that a caller may write: floating ones are numbers.
std::vector<uint8_t> given_values(const request &r, uint32_t seed, size_t size) {
  qvimagedata d;
  require(qviminitdata(&d, int32_t(r.datatype & 0xFF), 0, 1, 0) == 1);
  return random_values(d, seed, size);
}

class comparison {
 public:
  explicit comparison(fuzz_input &from) : comparison(from, from) {}

  void runs(fuzz_input &from) {
    const request r = random_request(from, chain_.top().data(), chain_.top().deep);
    const int32_t code = set_up(chain_.top(), r);
    require(set_up(twin_.top(), r) == code);
    if (code < 0) return;
    for (uint32_t calls = 1 + from.up_to(3); calls > 0; calls--) {
      const position size = chain_.size();
      if (size[0] < 1 || size[1] < 1 || size[2] < 1) return;
      position at;
      for (int axis = 0; axis < 3; axis++) at[axis] = int32_t(from.up_to(uint32_t(size[axis] - 1)));
      const size_t count = 1 + from.up_to(from.up_to(3) ? 255 : 3000);
      const auto run = run_of(size, chain_.top().deep, r.mode, at, count);
      if (from.up_to(1))
        read_run(r, run, count);
      else
        write_run(r, run, count, from.byte());
    }
  }

  void list(fuzz_input &from) {
    request r = random_request(from, chain_.top().data(), chain_.top().deep);
    r.mode = 0;
    const int32_t code =
        chain_.top().with([&](auto *im, auto) { return im->bxts(im, 0, r.datatype, r.mask); });
    const int32_t single = set_up(twin_.top(), r);
    if (code < 0 || single < 0) return;
    const position size = chain_.size();
    std::vector<qvxyzcoord> entries(1 + from.up_to(60));
    for (qvxyzcoord &entry : entries) {
      int32_t at[3];
      for (int axis = 0; axis < 3; axis++)
        at[axis] = int32_t(from.up_to(uint32_t(size[axis])));  // or outside
      entry = {at[0], at[1], chain_.top().deep ? at[2] : 0};
    }
    const bool reads = from.up_to(1);
    const size_t bytes = entries.size() * r.pixel();
    std::vector<uint8_t> buffer = given_values(r, from.byte(), bytes), expected = buffer;
    buffer.resize(bytes + guard, guard_byte);
    std::vector<qvxyzcoord> passed = entries;
    const uint32_t worked = chain_.top().with([&](auto *im, auto) {
      return im->bxta(im, QVIM_LIST, buffer.data(), passed.data(), uint32_t(passed.size()),
                      reads ? QVIM_OP_READ : QVIM_OP_WRITE);
    });
    require(worked == entries.size() || worked == 0);
    for (size_t i = 0; worked && i < entries.size(); i++) {
      const position at{entries[i].x, entries[i].y, entries[i].z};
      uint8_t *value = &expected[i * r.pixel()];
      reads ? read(twin_.top(), value, 1, at) : write(twin_.top(), value, 1, at);
    }
    require(!reads || std::equal(expected.begin(), expected.end(), buffer.begin()));
    check_guard(buffer, bytes);
    check_sources();
  }

 private:
  chain chain_, twin_;

  // The twin is made from a copy of the input where the chain began.
  comparison(fuzz_input &from, fuzz_input twin_from) : chain_(from), twin_(twin_from) {}

  void check_sources() {
    require(chain_.bytes() == twin_.bytes());
    require(chain_.keeps_its_margins());
  }
  static void check_guard(const std::vector<uint8_t> &buffer, size_t used) {
    for (size_t i = used; i < buffer.size(); i++) require(buffer[i] == guard_byte);
  }

  void read_run(const request &r, const std::vector<position> &run, size_t count) {
    std::vector<uint8_t> buffer(count * r.pixel() + guard, guard_byte), single(r.pixel());
    const size_t promised = length(chain_.top(), count, run[0]);
    const size_t moved = read(chain_.top(), buffer.data(), count, run[0]);
    require(moved <= run.size() && (moved == 0 || moved == promised));
    if (moved == 0) require(read(twin_.top(), single.data(), 1, run[0]) == 0);
    for (size_t i = 0; i < moved; i++) {
      single.assign(r.pixel(), guard_byte);
      require(read(twin_.top(), single.data(), 1, run[i]) == 1);
      require(std::memcmp(single.data(), &buffer[i * r.pixel()], r.pixel()) == 0);
    }
    check_guard(buffer, moved * r.pixel());
    check_sources();
  }

  void write_run(const request &r, const std::vector<position> &run, size_t count, uint32_t seed) {
    const std::vector<uint8_t> values = given_values(r, seed, count * r.pixel());
    std::vector<uint8_t> buffer = values;
    const size_t moved = write(chain_.top(), buffer.data(), count, run[0]);
    require(moved <= run.size() && buffer == values);
    if (moved == 0) require(write(twin_.top(), values.data(), 1, run[0]) == 0);
    for (size_t i = 0; i < moved; i++) require(write(twin_.top(), &values[i * r.pixel()], 1, run[i]) == 1);
    check_sources();
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz_input from(data, size);
  comparison chains(from);
  for (int i = 0; i < 6 && !from.empty(); i++) {
    if (from.up_to(2))
      chains.runs(from);
    else
      chains.list(from);
  }
  return 0;
}
