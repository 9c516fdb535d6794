// Why a call failed, in words: what qvimage_reason answers. One text of bounded length a thread, nothing
// allocated.
//
// Whoever finds the cause states it, and the layers above it add where it was found:
//
//   return because(QVERR_FORMAT, {"code ", code, " before it is defined"});
//   return within({"strip ", strip + 1, " at byte ", offset}, code);
//   return within({"page ", page + 1}, code);
//
// makes "page 3, strip 12 at byte 40960: code 413 before it is defined".
//
// Words are read by people: pages, strips, rows and samples count from 1 in them, bytes from 0.
//
// Exported functions that can fail are doors: they hold a public_call. Only the outermost one on the thread
// counts, so that the library may call its own functions. Transfers, which answer no code, hold a transfer.
#pragma once

#include <concepts>
#include <cstdint>
#include <initializer_list>

namespace qvim {

// A piece of a reason: text that ends with a zero, or a whole number.
class word {
 public:
  word(const char *text) : text_(text) {}
  template <std::integral T>
  word(T number)
      : negative_(std::signed_integral<T> && number < 0),
        magnitude_(negative_ ? 0 - uint64_t(number) : uint64_t(number)) {}

  // Writes it without a terminator; returns the end of what there was room for.
  char *put(char *to, const char *end) const;

 private:
  const char *text_ = nullptr;  // null: a number
  bool negative_ = false;
  uint64_t magnitude_ = 0;
};

using words = std::initializer_list<word>;

// States a cause, and passes its code on. Of several in one call the worst counts, and among equals the
// first: what follows it is mostly its consequence. Outside of exported functions nothing is stated.
int32_t because(int32_t code, words cause);

// Puts a place before the cause that was stated, if this is a failure, and passes its code on. When another
// cause was stated than this one, or none, the code's own text takes its place.
int32_t within(words place, int32_t code);

namespace reason {

// Two numbers that every call may touch: at fixed places of the thread's memory, which costs no function
// call. The text is touched by failures only.
struct state {
  int32_t code;      // of the cause that was stated; 0: none
  uint16_t doors;    // calls of exported functions inside each other
  bool is_quiet;     // nothing is stated
  bool is_placed;    // the text begins with a place
  bool is_outdated;  // the cause belongs to an earlier transfer: the next one replaces it
};
[[gnu::tls_model("initial-exec")]] extern thread_local constinit state current;

// What the outermost door makes of its result.
void settle(int32_t code);

}  // namespace reason

// While it lives nothing is stated: for failures that the library gets over by itself.
class quiet_reason {
 public:
  quiet_reason() : before_(reason::current.is_quiet) { reason::current.is_quiet = true; }
  ~quiet_reason() { reason::current.is_quiet = before_; }
  quiet_reason(const quiet_reason &) = delete;
  quiet_reason &operator=(const quiet_reason &) = delete;

 private:
  const bool before_;
};

// At the beginning of an exported function: `return public_call().result(work());`
class public_call {
 public:
  public_call() {
    if (reason::current.doors++ == 0) reason::current.code = 0;
  }
  ~public_call() { reason::current.doors--; }
  public_call(const public_call &) = delete;
  public_call &operator=(const public_call &) = delete;

  // Passes the code or count on. There is a reason afterwards exactly if it is negative.
  int32_t result(int32_t code) const {
    if (reason::current.doors == 1) reason::settle(code);
    return code;
  }
  int64_t result(int64_t count) const {
    result(count < 0 ? int32_t(count) : 0);
    return count;
  }
};

// At the beginning of a transfer: a failure replaces the reason, success leaves it.
class transfer_call {
 public:
  transfer_call() {
    if (reason::current.doors++ == 0) reason::current.is_outdated = true;
  }
  ~transfer_call() { reason::current.doors--; }
  transfer_call(const transfer_call &) = delete;
  transfer_call &operator=(const transfer_call &) = delete;
};

}  // namespace qvim
