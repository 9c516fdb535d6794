// Frames that look like photographs to a codec: smooth structure, edges, shot noise. The same bytes on every
// machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace frames {

struct frame {
  uint32_t width, height, samples, bits;  // bits: of a stored sample, 8 or 16 (in the host's byte order)
  std::vector<uint8_t> bytes;

  size_t row_bytes() const { return size_t{width} * samples * bits / 8; }
  uint8_t *row(uint32_t y) { return bytes.data() + y * row_bytes(); }
};

class random {
 public:
  explicit random(uint64_t seed) : state_(seed) {}
  uint32_t next() {  // splitmix64
    uint64_t z = state_ += 0x9E3779B97F4A7C15;
    z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9;
    z = (z ^ z >> 27) * 0x94D049BB133111EB;
    return uint32_t(z >> 32);
  }
  // Roughly normal, mean 0, standard deviation 1: four uniform bytes twice.
  double normal() {
    double sum = 0;
    for (int i = 0; i < 2; i++)
      for (uint32_t bits = next(), k = 0; k < 4; k++, bits >>= 8) sum += double(bits & 255) - 127.5;
    return sum / 209.0;
  }

 private:
  uint64_t state_;
};

// A hill of height 1 over a period, without the rounding of a mathematical library.
inline double wave(double x) {
  x -= double(int64_t(x));
  const double up = x < 0.5 ? 2 * x : 2 - 2 * x;
  return up * up * (3 - 2 * up);
}

// Brightness of the scene, 0 to 1: a gradient, soft hills, some discs with sharp edges.
inline double scene(uint32_t x, uint32_t y, uint32_t channel) {
  const double u = x / 4000.0, v = y / 4000.0;
  double light = 0.15 + 0.25 * v + 0.2 * wave(2.3 * u + 0.7 * v + 0.1 * channel) +
                 0.15 * wave(5.1 * v - 1.7 * u + 9) + 0.05 * wave(41 * u) * wave(37 * v);
  const double du = wave(7 * u) - 0.5, dv = wave(6 * v) - 0.5;
  if (du * du + dv * dv < 0.04) light *= channel == 2 ? 0.4 : 0.6;
  return light;
}

// Light as a sensor sees it: its noise grows with the root of the light. `deviation` is that at full scale.
inline frame photograph(uint32_t width, uint32_t height, uint32_t samples, uint32_t bits,
                        uint32_t significant, double deviation) {
  frame f{width, height, samples, bits, {}};
  f.bytes.resize(f.row_bytes() * height);
  random noise(width * 31 + height * 7 + samples + significant);
  const double top = double((1u << significant) - 1);
  size_t at = 0;
  for (uint32_t y = 0; y < height; y++)
    for (uint32_t x = 0; x < width; x++)
      for (uint32_t s = 0; s < samples; s++) {
        const double light = scene(x, y, s);
        const double root = light * (1.3 - 0.3 * light);  // near enough to a root, and exact everywhere
        double value = top * (light + deviation * root * noise.normal());
        value = value < 0 ? 0 : value > top ? top : value;
        const uint16_t sample = uint16_t(value + 0.5);
        if (bits == 16)
          std::memcpy(&f.bytes[at], &sample, 2);
        else
          f.bytes[at] = uint8_t(sample);
        at += bits / 8;
      }
  return f;
}

inline frame grey12(uint32_t width, uint32_t height) { return photograph(width, height, 1, 16, 12, 0.008); }
inline frame grey16(uint32_t width, uint32_t height) { return photograph(width, height, 1, 16, 16, 0.004); }
inline frame rgb8(uint32_t width, uint32_t height) { return photograph(width, height, 3, 8, 8, 0.008); }

// Each sample becomes its difference from the same one of the pixel before, as TIFF's Predictor 2 does.
template <class T>
void difference_samples(frame &f) {
  for (uint32_t y = 0; y < f.height; y++)
    for (size_t i = size_t{f.width} * f.samples - 1; i >= f.samples; i--) {
      T sample, before;
      std::memcpy(&sample, f.row(y) + i * sizeof(T), sizeof(T));
      std::memcpy(&before, f.row(y) + (i - f.samples) * sizeof(T), sizeof(T));
      sample = T(sample - before);
      std::memcpy(f.row(y) + i * sizeof(T), &sample, sizeof(T));
    }
}
inline frame differenced(frame f) {
  f.bits == 16 ? difference_samples<uint16_t>(f) : difference_samples<uint8_t>(f);
  return f;
}

}  // namespace frames
