// No-op slots by dimension, and the ways in which records lose their transfers.
#pragma once

#include <cstdint>

#include <qvimage/null.h>

#include "core/dimension.hpp"
#include "core/record.hpp"

namespace qvim {

template <class Dim>
struct nops;

template <>
struct nops<two_d> {
  static constexpr auto ioread = qvimnopio;
  static constexpr auto iowait = qvimnopiowait;
  static constexpr auto ioset = qvimnopioset;
  static constexpr auto iolen = qvimnopiolen;
  static constexpr auto bxts = qvimnopbxts;
  static constexpr auto bxtp = qvimnopbxtp;
  static constexpr auto bxta = qvimnopbxta;
  static constexpr auto bxtw = qvimnopbxtw;
  static constexpr auto imapset = qvimnopimapset;
  static constexpr auto imap = qvimnopimap;
  static constexpr auto imapr = qvimnopimapr;
  // The read no-op with the write slot's signature: buffers differ in const only.
  static uint32_t iorite(qvimage *, uint32_t, const void *, uint32_t, int32_t, int32_t) { return 0; }
};

template <>
struct nops<three_d> {
  static constexpr auto ioread = qvim3nopio;
  static constexpr auto iowait = qvim3nopiowait;
  static constexpr auto ioset = qvim3nopioset;
  static constexpr auto iolen = qvim3nopiolen;
  static constexpr auto bxts = qvim3nopbxts;
  static constexpr auto bxtp = qvim3nopbxtp;
  static constexpr auto bxta = qvim3nopbxta;
  static constexpr auto bxtw = qvim3nopbxtw;
  static constexpr auto imapset = qvim3nopimapset;
  static constexpr auto imap = qvim3nopimap;
  static constexpr auto imapr = qvim3nopimapr;
  static uint32_t iorite(qvimage3 *, uint32_t, const void *, uint32_t, int32_t, int32_t, int32_t) {
    return 0;
  }
};

// Forgets what ioset installed.
template <class Dim>
void clear_runs(record<Dim> *im) {
  im->ioread = nops<Dim>::ioread;
  im->iorite = nops<Dim>::iorite;
  im->iowait = nops<Dim>::iowait;
  im->iolen = nops<Dim>::iolen;
  run_facts_of(im) = {};
}

// Forgets what bxts installed.
template <class Dim>
void clear_blocks(record<Dim> *im) {
  im->bxtp = nops<Dim>::bxtp;
  im->bxta = nops<Dim>::bxta;
  im->bxtw = nops<Dim>::bxtw;
}

// Forgets what imapset installed.
template <class Dim>
void clear_mapping(record<Dim> *im) {
  im->imap = nops<Dim>::imap;
  im->imapr = nops<Dim>::imapr;
}

template <class Dim>
void clear_transfers(record<Dim> *im) {
  clear_runs<Dim>(im);
  clear_blocks<Dim>(im);
  clear_mapping<Dim>(im);
}

// Leaves the null image in a record whose constructor failed, and passes the code on.
inline int32_t fail(qvimage *im, int32_t code) { return qvimage_defnull(im), code; }
inline int32_t fail(qvimage3 *im, int32_t code) { return qvimage3_defnull(im), code; }

}  // namespace qvim
