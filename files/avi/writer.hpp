// An AVI file that is being written.
#pragma once

#include <cstdint>

#include "core/owned.hpp"
#include "core/progress.hpp"
#include "files/avi/handle.hpp"
#include "files/bmp/dib.hpp"
#include "files/rows/row_encoder.hpp"
#include "files/stream/output_file.hpp"

namespace qvim::avi {

// Classic files have one RIFF part and one index; extended ones (OpenDML) as many parts as it takes, each
// with its own.
enum class layout : uint32_t { classic = 1, extended = 2 };

struct request {
  const char *path, *fopenmode;
  int64_t bufsize;
  qvimage *palette;
  const qvimagefileinfo *options;
  bool exchanges_palette;
  uint32_t frames;  // expected
  uint32_t mode;
  uint64_t part_bytes = 0x40000000;     // of frames as bitmaps, after which another part begins
  uint64_t classic_bytes = 0xFFFFFFFF;  // the most that a classic file can tell as its length
};

class writer final : public avihandle {
 public:
  static constexpr uint32_t kind = writer_mark;

  writer() : avihandle(writer_mark), output_(file) {}
  ~writer();

  // What the file is to be, from an image of its first frame; then the file. In between nothing has been
  // touched.
  [[nodiscard]] int32_t plan(const qvimage &image, const request &r);
  [[nodiscard]] int32_t open(const request &r, output_file::way how);
  // options: of motion JPEG's coding, null for those of plan().
  [[nodiscard]] int32_t add(const progress &told, qvimage &frame, const qvimagefileinfo *options,
                            bool exchanges_rgb);
  // Completes and keeps the file, or, when the code is not 0, leaves nothing of it. The worst code of all.
  [[nodiscard]] int32_t end(int32_t code);

 private:
  struct written_frame {
    uint64_t position;  // of its data
    uint32_t bytes;
  };
  // Where numbers stand that are known later.
  struct place_of {
    uint64_t riff_length, movie_length, movie;  // of the part that is open; movie: the list's code
    uint64_t total_frames, stream_length, extended_frames, super_index;
  };

  int32_t copy_options(const qvimagefileinfo *options);
  uint32_t frame_code() const { return is_jpeg_ ? jpeg_frame : plain_frame; }
  bool is_extended() const { return layout_ == layout::extended; }

  // Chunks whose length is written when it is known.
  uint64_t begin_chunk(uint32_t code);
  uint64_t begin_list(uint32_t form, uint32_t code);
  void end_chunk(uint64_t length_place);
  void patch(uint64_t place, uint32_t value);

  void write_headers();
  void write_main_header();
  void write_stream_header();
  void write_super_index();
  void begin_movie();
  [[nodiscard]] int32_t end_part();
  void write_old_index();
  void write_texts();
  uint64_t text_bytes() const;  // what they take in the file
  [[nodiscard]] int32_t write_frame(const progress &told, qvimage &frame, const qvimagefileinfo *options);
  [[nodiscard]] int32_t reserve_frame();

  output_file output_;
  row_encoder encoder_;
  row_changes changes_;
  dib::header format_;
  dib::palette palette_;
  qvimagefileinfo options_{};  // with texts of its own
  layout layout_ = layout::classic;
  bool is_jpeg_ = false;
  uint32_t expected_ = 0, rate_ = 0, scale_ = 0;
  uint64_t frame_bytes_ = 0;      // of a plain frame
  uint64_t frames_per_part_ = 0;  // of extended files
  uint64_t classic_bytes_ = 0;
  uint32_t super_index_room_ = 0, parts_ = 0;
  place_of at_{};
  array<written_frame> frames_;
  uint64_t count_ = 0, part_begin_ = 0;  // frames written; the first of the open part
  uint64_t complete_ = 0;                // where the last frame ends
  int32_t worst_ = 0;
};

}  // namespace qvim::avi
