// Access to the private parts of a record: its state bytes, source references and name.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#include <qvimage/record.h>

namespace qvim {

// What ioset of every kind keeps at the end of the iostate, for callers that know nothing of the request. All
// zero while no runs are set up.
struct [[gnu::packed]] run_facts {
  uint16_t buffer_pixel;  // bytes of a pixel in the caller's buffer
  uint16_t source_pixel;  // of a view: bytes of a pixel that its source was set up for
  uint8_t in_memory;      // transfers touch memory alone: they neither wait nor call anyone back
  uint8_t has_source;     // it is a view's
  uint8_t zero[2];
};

// The private state of a kind, kept in the record's first 184 private bytes. Records lie at any 4-byte
// boundary, so a state is a packed struct; take its members by value.
template <class State, class Record>
State &state_of(Record *im) {
  static_assert(sizeof(State) <= sizeof(Record::iostate) - sizeof(run_facts),
                "the state must fit its place in the record");
  static_assert(alignof(State) == 1, "a state is a packed struct");
  static_assert(std::is_trivially_copyable_v<State>, "records are copied byte for byte");
  return *reinterpret_cast<State *>(im->iostate);
}

template <class Record>
auto &run_facts_of(Record *im) {
  using facts = std::conditional_t<std::is_const_v<Record>, const run_facts, run_facts>;
  return *reinterpret_cast<facts *>(im->iostate + sizeof im->iostate - sizeof(run_facts));
}
template <class Record>
uint32_t buffer_pixel(const Record *im) {
  return run_facts_of(im).buffer_pixel;
}
template <class Record>
void set_buffer_pixel(Record *im, uint32_t bytes) {
  run_facts_of(im).buffer_pixel = uint16_t(bytes);
}

// The record that a source reference names, seen from the record that holds it: a value from -128 to -1
// counts in records from the holder (-65 is the holder itself), any other value is an address.
template <class Target, class Holder>
Target *resolve(Holder *holder, int64_t reference) {
  static_assert(sizeof(Holder) == 452);
  if (reference >= -128 && reference <= -1)
    return reinterpret_cast<Target *>(reinterpret_cast<intptr_t>(holder) + (65 + reference) * 452);
  return reinterpret_cast<Target *>(intptr_t(reference));
}

// Device names are eight bytes, NUL-padded, not NUL-terminated when all are used.
template <class Record>
void set_device_name(Record *im, const char *name) {
  std::memset(im->devname, 0, sizeof im->devname);
  std::memcpy(im->devname, name, strnlen(name, sizeof im->devname));
}
template <class Record>
bool has_device_name(const Record *im, const char *name) {
  Record named;
  set_device_name(&named, name);
  return std::memcmp(im->devname, named.devname, sizeof named.devname) == 0;
}

}  // namespace qvim
