// The run and mapping set-ups of a record and of the chain below it, kept while something else uses them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "core/record.hpp"

namespace qvim {

// The set-up of one record, from construction to destruction: its iostate and the slots that ioset and
// imapset write. 2-D and 3-D records have the same bytes, and a chain may hold both.
class saved_setup {
 public:
  saved_setup(void *record, saved_setup *earlier)
      : record_(static_cast<uint8_t *>(record)), earlier_(earlier) {
    uint8_t *kept = kept_;
    for (const range &r : ranges) {
      std::memcpy(kept, record_ + r.begin, r.size());
      kept += r.size();
    }
  }
  ~saved_setup() {
    const uint8_t *kept = kept_;
    for (const range &r : ranges) {
      std::memcpy(record_ + r.begin, kept, r.size());
      kept += r.size();
    }
  }
  saved_setup(const saved_setup &) = delete;
  saved_setup &operator=(const saved_setup &) = delete;

  // The next record that this one names as a source and that is not saved yet; null when there is none.
  // `last` is the latest record saved.
  void *next_source(const saved_setup &last) {
    while (tried_ < 4) {
      int64_t reference;
      std::memcpy(&reference, record_ + offsetof(qvimage, source) + 8 * tried_++, sizeof reference);
      auto *source = resolve<uint8_t>(reinterpret_cast<qvimage *>(record_), reference);
      if (reference && !last.holds(source)) return source;
    }
    return nullptr;
  }
  saved_setup *earlier() const { return earlier_; }

 private:
  struct range {
    size_t begin, end;
    constexpr size_t size() const { return end - begin; }
  };
  static constexpr range ranges[] = {
      {offsetof(qvimage, iostate), offsetof(qvimage, source)},  // private state of the set-ups
      {offsetof(qvimage, ioread), offsetof(qvimage, ioset)},    // ioread, iorite, iowait
      {offsetof(qvimage, iolen), offsetof(qvimage, bxts)},      // iolen
      {offsetof(qvimage, imapset), offsetof(qvimage, aeiou)},   // imapset, imap, imapr
  };

  bool holds(const uint8_t *record) const {
    for (const saved_setup *s = this; s; s = s->earlier_)
      if (s->record_ == record) return true;
    return false;
  }

  uint8_t *record_;
  saved_setup *earlier_;
  int tried_ = 0;  // source references looked at
  uint8_t kept_[192 + 3 * 8 + 8 + 3 * 8];
};

// One stack frame a record: saves what is left of the chain, acts at the deepest point, restores on the way
// back. A record that is saved already is passed over, so that circular chains end.
template <class Act>
std::invoke_result_t<Act> keeping_chain(saved_setup &last, Act &act) {
  for (saved_setup *s = &last; s; s = s->earlier())
    if (void *source = s->next_source(last)) {
      saved_setup below(source, &last);
      return keeping_chain(below, act);
    }
  return act();
}

// The result of act(), which may set up runs and mappings of the image; the set-ups of its client, there and
// in all images below, are as before afterwards.
template <class Record, class Act>
auto keeping_setups(Record *im, Act act) {
  constexpr uint32_t save = '*' << 8 | 'x', restore = '*' << 8 | 'X';
  uint8_t kept_by_kind[sizeof im->iostate];
  saved_setup bytes(im, nullptr);
  const bool by_kind = im->aeiou(im, save, 0, 0, kept_by_kind);
  const auto result = keeping_chain(bytes, act);
  if (by_kind) im->aeiou(im, restore, 0, 0, kept_by_kind);
  return result;
}

}  // namespace qvim
