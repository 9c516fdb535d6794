// The strip codecs against libtiff's on the same strips: 4000 x 3000 pixels, strips of 64 KiB, everything in
// memory.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>

#include <qvimage/codec.h>

#include "bench/frames.hpp"
#ifdef QVIM_HAVE_LIBTIFF
#include <tiffio.h>
#endif

namespace {

using bytes = std::vector<uint8_t>;
using frames::frame;

struct codec {
  const char *name;
  uint16_t compression;
  int32_t (*init)(void **state, int32_t row_bytes);
  int32_t (*reset)(void *);
  void (*done)(void **);
  int32_t (*encode)(void *, codecstream *, codecstream *);
  int32_t (*decode)(void *, codecstream *, codecstream *);
};

constexpr codec lzw = {"lzw",
                       5,
                       [](void **state, int32_t) { return ptiflzw_stateinit(state, nullptr); },
                       ptiflzw_statereset,
                       ptiflzw_statedone,
                       ptiflzw_encode,
                       ptiflzw_decode};
constexpr codec packbits = {"packbits",
                            32773,
                            [](void **state, int32_t row) { return ptifpabi_stateinit(state, &row); },
                            ptifpabi_statereset,
                            ptifpabi_statedone,
                            ptifpabi_encode,
                            ptifpabi_decode};

void must(bool condition, const char *what) {
  if (condition) return;
  std::fprintf(stderr, "%s failed\n", what);
  std::exit(1);
}

// The pixels of a frame, cut into strips, and room for their code.
struct strips {
  strips(const frame &f, const codec &c) : pixels(f), kind(c) {
    rows = std::max<uint32_t>(1, uint32_t(65536 / f.row_bytes()));
    count = (f.height + rows - 1) / rows;
    coded.resize(count);
    room.resize(rows * f.row_bytes() * 2);
    must(c.init(&state, int32_t(f.row_bytes())) == 0, "stateinit");
    encode(room.size());
  }
  ~strips() { kind.done(&state); }
  strips(const strips &) = delete;
  strips &operator=(const strips &) = delete;

  uint8_t *strip(uint32_t i) { return pixels.row(i * rows); }
  size_t size(uint32_t i) const { return std::min(rows, pixels.height - i * rows) * pixels.row_bytes(); }

  // Runs one strip with input and room in pieces; rows of a PackBits input stay whole.
  template <class Coder>
  size_t run(Coder coder, uint8_t *from, size_t size, uint8_t *to, size_t in_piece, size_t out_piece) {
    must(kind.reset(state) == 0, "statereset");
    codecstream in{}, out{};
    in.next = in.end = from;
    out.next = to;
    int32_t code = 0;
    while (code == 0) {
      if (in.next == in.end) {
        in.start = in.next;
        in.end += std::min(in_piece, size_t(from + size - in.next));
      }
      in.more = in.end < from + size;
      out.end = out.next + out_piece;
      code = coder(state, &in, &out);
    }
    must(code == 1, "a codec");
    return out.count;
  }
  void encode(size_t piece) {
    const size_t row = pixels.row_bytes();
    const size_t in_piece = kind.compression == 5 ? piece : std::max(piece / row, size_t{1}) * row;
    for (uint32_t i = 0; i < count; i++) {
      const size_t n = run(kind.encode, strip(i), size(i), room.data(), in_piece, piece);
      coded[i].assign(room.data(), room.data() + n);
    }
  }
  void decode(size_t piece) {
    for (uint32_t i = 0; i < count; i++)
      run(kind.decode, coded[i].data(), coded[i].size(), room.data(), piece, piece);
  }

  frame pixels;
  codec kind;
  uint32_t rows, count;
  std::vector<bytes> coded;
  bytes room;
  void *state = nullptr;
};

#ifdef QVIM_HAVE_LIBTIFF
// A file in memory for libtiff, mapped when it reads.
struct memory_file {
  bytes content;
  size_t at = 0;

  static memory_file &of(thandle_t h) { return *static_cast<memory_file *>(h); }
  static tmsize_t read(thandle_t h, void *to, tmsize_t size) {
    memory_file &f = of(h);
    const size_t n = std::min(size_t(size), f.content.size() - std::min(f.at, f.content.size()));
    std::memcpy(to, f.content.data() + f.at, n);
    f.at += n;
    return tmsize_t(n);
  }
  static tmsize_t write(thandle_t h, void *from, tmsize_t size) {
    memory_file &f = of(h);
    if (f.content.size() < f.at + size_t(size)) f.content.resize(f.at + size_t(size));
    std::memcpy(f.content.data() + f.at, from, size_t(size));
    f.at += size_t(size);
    return size;
  }
  static toff_t seek(thandle_t h, toff_t to, int whence) {
    memory_file &f = of(h);
    return f.at = whence == SEEK_SET ? to : whence == SEEK_CUR ? f.at + to : f.content.size() + to;
  }
  static int close(thandle_t) { return 0; }
  static toff_t size(thandle_t h) { return of(h).content.size(); }
  static int map(thandle_t h, void **base, toff_t *size) {
    *base = of(h).content.data();
    *size = of(h).content.size();
    return 1;
  }
  static void unmap(thandle_t, void *, toff_t) {}

  TIFF *open(const char *mode) {
    at = 0;
    TIFF *tiff = TIFFClientOpen("memory", mode, this, read, write, seek, close, size, map, unmap);
    must(tiff != nullptr, "TIFFClientOpen");
    return tiff;
  }
};

void peer_encode(strips &s, memory_file &file) {
  file.content.clear();
  TIFF *tiff = file.open("w");
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, s.pixels.width);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, s.pixels.height);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, s.pixels.bits);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, s.pixels.samples);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, s.pixels.samples == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, s.kind.compression);
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, s.rows);
  for (uint32_t i = 0; i < s.count; i++)
    must(TIFFWriteEncodedStrip(tiff, i, s.strip(i), tmsize_t(s.size(i))) == tmsize_t(s.size(i)), "writing");
  TIFFClose(tiff);
}

void peer_decode(strips &s, memory_file &file) {
  TIFF *tiff = file.open("r");
  for (uint32_t i = 0; i < s.count; i++)
    must(TIFFReadEncodedStrip(tiff, i, s.room.data(), tmsize_t(s.size(i))) == tmsize_t(s.size(i)), "reading");
  TIFFClose(tiff);
}

// The peer's code of the same strips decodes to the same pixels.
void check_peer(strips &s, memory_file &file) {
  TIFF *tiff = file.open("r");
  bytes raw(s.room.size() * 2);
  for (uint32_t i = 0; i < s.count; i++) {
    const tmsize_t n = TIFFReadRawStrip(tiff, i, raw.data(), tmsize_t(raw.size()));
    const size_t room = s.room.size();
    must(n > 0 && s.run(s.kind.decode, raw.data(), size_t(n), s.room.data(), raw.size(), room) == s.size(i) &&
             std::memcmp(s.room.data(), s.strip(i), s.size(i)) == 0,
         "decoding the peer's strip");
  }
  TIFFClose(tiff);
}
#endif

void add(const std::string &name, const std::shared_ptr<strips> &s, double target,
         std::function<void()> work) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State &state) {
    for (auto _ : state) work();
    state.SetBytesProcessed(int64_t(state.iterations() * s->pixels.bytes.size()));
    if (target > 0) state.counters["target"] = target;
  })->Unit(benchmark::kMillisecond);
}

void compare(const char *what, const frame &f, const codec &c, double reading, double writing) {
  const auto s = std::make_shared<strips>(f, c);
  const std::string name = std::string(c.name) + " " + what;
  constexpr size_t whole = 1 << 20, piece = 4096;
  add(name + " read/qvimage", s, reading, [=] { s->decode(whole); });
  add(name + " write/qvimage", s, writing, [=] { s->encode(whole); });
#ifdef QVIM_HAVE_LIBTIFF
  const auto file = std::make_shared<memory_file>();
  peer_encode(*s, *file);
  check_peer(*s, *file);
  add(name + " read/libtiff", s, 0, [=] { peer_decode(*s, *file); });
  add(name + " write/libtiff", s, 0, [=] { peer_encode(*s, *file); });
  peer_encode(*s, *file);
#endif
  add(name + " read 4 KiB pieces/qvimage", s, 0.9, [=] { s->decode(piece); });
  add(name + " read 4 KiB pieces/whole strips", s, 0, [=] { s->decode(whole); });
  add(name + " write 4 KiB pieces/qvimage", s, 0.9, [=] { s->encode(piece); });
  add(name + " write 4 KiB pieces/whole strips", s, 0, [=] { s->encode(whole); });
}

}  // namespace

int main(int argc, char **argv) {
  benchmark::Initialize(&argc, argv);
  const frame grey12 = frames::grey12(4000, 3000), grey16 = frames::grey16(4000, 3000);
  const frame rgb = frames::rgb8(4000, 3000);
  compare("grey 12 of 16", grey12, lzw, 1.3, 1.5);
  compare("grey 16", grey16, lzw, 1.3, 1.5);
  compare("RGB 8", rgb, lzw, 1.6, 1.5);
  compare("grey 12 of 16 differenced", frames::differenced(grey12), lzw, 1.6, 1.5);
  compare("grey 16 differenced", frames::differenced(grey16), lzw, 1.6, 1.5);
  compare("RGB 8 differenced", frames::differenced(rgb), lzw, 1.6, 1.5);
  compare("grey 12 of 16", grey12, packbits, 1.0, 3.0);
  compare("RGB 8", rgb, packbits, 1.0, 3.0);
  benchmark::RunSpecifiedBenchmarks();
}
