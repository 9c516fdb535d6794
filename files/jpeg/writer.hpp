// The state of a JPEG file being written.
#pragma once

#include <cstdint>

#include <qvimage/record.h>

#include "core/owned.hpp"
#include "files/jpeg/block_writer.hpp"
#include "files/jpeg/context.hpp"
#include "files/jpeg/quantisation.hpp"
#include "files/rows/image_rows.hpp"
#include "files/stream/output_file.hpp"

namespace qvim::jpeg {

constexpr uint32_t mcus_at_once = 8;
constexpr uint32_t most_bands = 246384;

// Rows that are coded by themselves, so that several threads may code one picture. The first band goes
// straight to the output, the others go into memory until they are joined. A band's coding touches nothing
// but the band.
struct band {
  bufio memory{};
  bit_writer bits;
  array<uint8_t> lines;  // eight rows; zeros beyond the picture's width
  uint32_t first_row = 0, end_row = 0;
  uint32_t next_row = 0;                     // all before it are coded
  bool has_predictors = false;               // those of a band that has rows before it
  int32_t predictors[most_components] = {};  // the DC coefficients of the MCU before
  int32_t result = 0;                        // why it stopped

  ~band() { bufio_done(&memory); }
};

struct writer final : jpegcontext {
  writer() : jpegcontext(writer_mark) {}
  ~writer();

  static constexpr uint32_t kind = writer_mark;

  // Checks and sets what the image and the options ask for. -1, -19.
  [[nodiscard]] int32_t set_form(const qvimage &image, const qvimagefileinfo *options);
  [[nodiscard]] int32_t make_bands(uint32_t count, const uint32_t *first_rows);
  // A new file, or a caller's stream.
  [[nodiscard]] int32_t open(const char *path, const char *fopenmode, int64_t bufsize, output_file::way how);
  void open(bufio *callers);
  void put_head(const qvimagefileinfo *options);

  // Codes rows from `first` to before `end` of a band.
  [[nodiscard]] int32_t encode(uint32_t number, const progress &told, qvimage &image, uint32_t first,
                               uint32_t end);

  // Joins the bands and keeps the file, unless that code is negative or a band's result not 0.
  [[nodiscard]] int32_t finish(int32_t error);

  uint32_t slot_of(uint32_t component) const { return component != 0; }

  bufio file{};
  bufio *out = nullptr;  // the file or the caller's stream
  output_file output{file};
  uint32_t width = 0, height = 0, components = 0;
  bool is_integer = false;
  uint16_t quantisation[2][block_size];
  factors divisors[2];
  steps integer_steps[2];
  code_tables codes[2];
  array<band *> bands;

 private:
  uint32_t mcus() const { return (width + block_side - 1) / block_side; }
  uint64_t pitch() const { return uint64_t(mcus()) * block_side * components; }
  [[nodiscard]] int32_t check(const qvimage &image) const;
  [[nodiscard]] int32_t fetch(band &b, image_rows &image, uint32_t row) const;
  void transform(const band &b, uint32_t first, uint32_t count, block *blocks) const;
  [[nodiscard]] int32_t find_predictors(band &b, image_rows &image) const;
  [[nodiscard]] int32_t encode_group(band &b) const;
  [[nodiscard]] int32_t join();
  void put_end();
};

// A whole picture into a caller's stream. The codes of qvimage_jpegwrite; what `told` answers unless it is 0.
[[nodiscard]] int32_t write_picture(qvimage &image, bufio *stream, const qvimagefileinfo *options,
                                    const progress &told);

}  // namespace qvim::jpeg
