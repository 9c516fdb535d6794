// The bands of a page that several threads code, and how they come into the file one behind the other.
#pragma once

#include <pthread.h>

#include <cstdint>

#include "core/owned.hpp"
#include "files/rows/row_encoder.hpp"
#include "files/stream/bufio.hpp"
#include "files/tiff/strip_codec.hpp"

namespace qvim::tiff {

// What one thread codes with. A band whose place in the file is not known yet is coded into memory.
struct coder {
  bufio memory{};
  row_encoder encoder;
  strip_codec codec;
  uint64_t page = 0;  // the one that it is prepared for, counted from 1
  coder *next_made = nullptr, *next_free = nullptr;

  ~coder() { bufio_done(&memory); }
};

// Consecutive rows of a page that are coded by themselves.
struct band {
  uint32_t first_row, end_row;
  uint64_t first_strip, end_strip;
  coder *coded;    // has the band in its memory until it is in the file
  uint64_t place;  // in the file
  bool complete;   // all rows of the current page are in the file
};

// The first band goes straight to the file. A later one is written by the thread that coded it, as soon as
// all bands before it are coded, or else by the thread that coded the last of these: at any time as many
// bands lie in memory as there are threads at work, and some that ran ahead.
class bands {
 public:
  bands() = default;
  bands(const bands &) = delete;
  bands &operator=(const bands &) = delete;
  ~bands();

  // Memory streams have blocks of so many bytes. False when memory is short.
  [[nodiscard]] bool make(uint32_t count, uint64_t block);
  uint32_t count() const { return uint32_t(bands_.size()); }
  band &operator[](uint32_t i) { return bands_[i]; }
  const band &operator[](uint32_t i) const { return bands_[i]; }

  // Nothing of the page is coded yet.
  void begin_page();
  uint64_t page() const { return page_; }

  // Is this band to be written straight to the file? One that is written once more is not.
  bool goes_straight(uint32_t number) const { return number == 0 && !bands_[0].complete; }

  // A coder for the caller alone, with nothing in its memory, or null. Any thread may ask.
  coder *take();
  void give_back(coder *c);

  // A band is coded, straight into the file (c null) or into the memory of a coder, which is given back: what
  // now has a place goes to the file, and the offsets of its strips move along. Any thread may say so.
  [[nodiscard]] int32_t add(uint32_t number, coder *c, bufio &file, array<uint64_t> &offsets);

  // The worst that happened to the memory streams.
  int32_t error() const;

 private:
  coder *take_coded(band &b);
  [[nodiscard]] int32_t write_out(band &b, const bufio &file, array<uint64_t> &offsets);

  array<band> bands_;
  uint64_t block_ = 0;
  uint64_t page_ = 0;

  pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;  // for what follows, and for which bands have a place
  coder *made_ = nullptr, *free_ = nullptr;
  uint32_t first_unplaced_ = 0;
};

}  // namespace qvim::tiff
