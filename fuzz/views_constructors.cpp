// Every constructor of views over a source that says anything of its pixels and its size, and serves whatever
// it is asked for, or over a buffer: nothing is divided by zero, goes on for ever, or reaches beyond a
// buffer.
#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include <qvimage/qvimage.h>

#include "fuzz/credulous.hpp"

namespace {

using qvim::call_length, qvim::call_read, qvim::call_write, qvim::three_d, qvim::two_d;

// Room for the entries of any pixie of 16 bits.
const uint16_t entries[65536] = {};

// The view's constructor, in the 3-D form where the source is that. Indices of 32 bits would need larger
// tables.
int32_t make(qvimage *v, qvimage *s, fuzz_input &from) {
  const uint8_t shared = uint8_t(from.up_to(1));
  const void *const tables[4] = {entries, entries, entries, entries};
  const auto any = [&] { return int32_t(from.up_to(300)) - 20; };
  switch (from.up_to(9)) {
    case 0: return qvimage_converter(v, s, nullptr, shared, from.byte() & 1, from.byte(), from.byte() & 1);
    case 1:
      return (s->d.pixietype & 0xFF) == QVIM_UINT32
                 ? -1
                 : qvimage_lut2(v, s, shared, tables, tables, any() % 6, any(), 0, from.up_to(3));
    case 2: return qvimage_lutconvert(v, s, 1u << from.up_to(31), from.up_to(1));
    case 3: return qvimage_decimate(v, s, 0, from.up_to(9), from.up_to(9), from.up_to(4), from.up_to(4));
    case 4: return qvimage_rotate_filt(v, s, shared, from.byte());
    case 5: return qvimage_yodd(v, s, shared, from.up_to(1));
    case 6: return qvimage_cachemonitor(v, s, shared, from.up_to(1));
    case 7: return qvimage_colorconverter(v, s, any(), shared);
    case 8: return qvimage_colorslice(v, s, shared, 1u << from.up_to(31), 0);
    default: return qvimage_Beyer4_filter(v, s, shared, from.byte());
  }
}
int32_t make(qvimage *v, qvimage3 *s, fuzz_input &from) {
  if (from.up_to(1)) return qvimage_stack(v, s);
  const int32_t plane = int32_t(from.byte()) - 9;
  return qvimage_def2from3(v, s, from.up_to(5), from.up_to(5), plane, from.byte());
}
int32_t make(qvimage3 *v, qvimage *s, fuzz_input &from) { return qvimage_def3from2(v, s, from.up_to(1)); }
int32_t make(qvimage3 *v, qvimage3 *s, fuzz_input &from) {
  const uint8_t shared = uint8_t(from.up_to(1));
  switch (from.up_to(4)) {
    case 0: return qvimage3_converter(v, s, nullptr, shared, from.byte() & 1, from.byte(), from.byte() & 1);
    case 1: return qvimage3_def3from3(v, s, int32_t(from.up_to(9)) - 5, 0, 0, shared);
    case 2: return qvimage3_colorconverter(v, s, from.byte(), shared);
    case 3: return qvimage3_colorslice(v, s, shared, 1u << from.up_to(31), 0);
    default: return qvimage3_Beyer4_filter(v, s, shared, from.byte());
  }
}

template <class Dim>
void use(qvim::record<Dim> *im, fuzz_input &from) {
  const uint32_t datatype =
      (from.up_to(1) ? uint32_t(im->d.pixietype) & 0xFF : from.one_of<uint32_t>({1, 2, 4, 8, 16, 32, 0, 3})) |
      from.up_to(15) << 8;
  const uint32_t mode = from.byte() & (QVIM_YSCAN | QVIM_ZSCAN | QVIM_WRAP);
  const uint32_t mask = from.one_of<uint32_t>({1, 7, 15, 0, 3, 0xFF, 0xFFFFFFFF, 0x80000000}),
                 count = 1 + from.up_to(3000);
  const uint64_t bytes = uint64_t(count) * bytes_asked_for(datatype, mask);
  const auto buffer = std::make_unique<uint8_t[]>(bytes);
  qvim::point<Dim> at{};
  for (int32_t &coordinate : at) coordinate = int32_t(from.up_to(20));
  im->ioset(im, mode, datatype, mask);
  require(call_length(im, count, at) <= count);
  require(call_read(im, 0, buffer.get(), count, at) <= count);
  require(call_write(im, 0, buffer.get(), count, at) <= count);
  im->bxts(im, 0, datatype, mask);
  std::array<qvxyzcoord, 300> list{};
  for (qvxyzcoord &entry : list) entry = {int32_t(from.up_to(20)), int32_t(from.up_to(7)), 0};
  require(im->bxta(im, QVIM_LIST, buffer.get(), list.data(), std::min(count, 300u), from.up_to(6)) <= 300);
  qvimagemap map{};
  im->imapset(im, mode | QVIM_STEP, datatype, mask);
  qvim::call_map(im, &map, at);
  im->aeiou(im, 'I', 0, 0, nullptr);
  im->aeiou(im, 'i', 0, 0, nullptr);
}

// A memory image of that description over a buffer of any size, or what is left of one that is refused.
template <class Dim>
void lay_over(qvim::record<Dim> &im, std::vector<uint8_t> &buffer, fuzz_input &from) {
  buffer.resize(1 + from.up_to(5000));
  const uint32_t pitch = from.up_to(1) ? from.up_to(300) : 0, plane = from.up_to(1) ? from.up_to(3000) : 0;
  const qvimagedata d = im.d;
  const auto size = std::bit_cast<std::array<int32_t, sizeof im.imdim.se / 4>>(im.imdim.se);
  int32_t code;
  if constexpr (Dim::axes == 2)
    code = qvimage_memdata(&im, buffer.data(), buffer.size(), size.data(), pitch, &d, nullptr, 0);
  else
    code = qvimage3_memdata(&im, buffer.data(), buffer.size(), size.data(), pitch, plane, &d, nullptr, 0);
  require(code <= 0);
  use<Dim>(&im, from);
}

template <class View, class Source>
void judge(fuzz_input &from) {
  std::vector<uint8_t> buffer;
  qvim::record<Source> source;
  credulous<Source>::build(&source, from);
  if (from.up_to(1)) lay_over<Source>(source, buffer, from);
  qvim::record<View> view;
  qvim::fail(&view, 0);  // for what is not made at all
  const int32_t code = make(&view, &source, from);
  require(code <= 0);
  use<View>(&view, from);
  if constexpr (View::axes == 2) {
    qvimage above;
    qvim::fail(&above, 0);
    make(&above, &view, from);
    use<two_d>(&above, from);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz_input from(data, size);
  switch (from.up_to(4)) {
    case 0: judge<three_d, three_d>(from); break;
    case 1: judge<two_d, three_d>(from); break;
    case 2: judge<three_d, two_d>(from); break;
    default: judge<two_d, two_d>(from);
  }
  return 0;
}
