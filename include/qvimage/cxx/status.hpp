// How calls end: status, result<T>, and the exception that value() throws. Part of qvimage/qvimage.hpp.
//
// Every call that can fail answers a status, or a result: a value or the status that says why there is none.
// Ask it by `if (!s)`, or let value() ask: where there is nothing to take it throws qv::error, and in a
// program compiled without exceptions it prints the text to standard error and aborts. There is no third way.
// One program should be compiled in one of these ways, since the linker keeps one value() for all of it.
//
// Objects belong to the thread that uses them; nothing here allocates.
#pragma once

#include <exception>
#include <string_view>
#include <utility>
#if !defined(__cpp_exceptions)
#include <cstdio>
#include <cstdlib>
#endif
#if __cplusplus > 202002L && __has_include(<expected>)
#include <expected>
#endif

#include <qvimage/error.h>

namespace qv {

// How a call ended: nothing but a code where all is well, else also the file and the reason, in words.
class [[nodiscard]] status {
 public:
  // All is well.
  constexpr status() noexcept { text_[0] = 0; }

  // The end of a call that answered this code: 0 and positive numbers are well.
  static status of(int32_t code) noexcept { return code < 0 ? status(code, {}, {}) : status(); }

  // The same of a call that states its reason (qvimage_reason), about the file of that path.
  static status of_file(int32_t code, std::string_view path) noexcept {
    return code < 0 ? status(code, path, qvimage_reason()) : status();
  }

  // The end of a call that a callback may stop: its answer, other than 0, is the code then.
  static status of_work(int32_t code, std::string_view path) noexcept {
    return code == 0 ? status() : status(code, path, code < 0 ? qvimage_reason() : "");
  }

  // A failure with a reason of the caller's own.
  status(int32_t code, std::string_view path, std::string_view reason) noexcept : code_(code) {
    const char *const message = code > 0 ? "Stopped" : qverrnomesg(code);
    append(message == nullptr ? "Unknown error" : message, "");
    // Of a path that is very long the end is kept: it names the file.
    if (path.size() > longest_path) path.remove_prefix(path.size() - longest_path);
    path_at_ = append(path, ": ");
    path_size_ = static_cast<uint16_t>(path.size());
    if (reason.size() > QVIM_REASON_SIZE) reason = reason.substr(0, QVIM_REASON_SIZE);
    reason_at_ = append(reason, ": ");
  }

  // Copies what there is of the text.
  status(const status &other) noexcept { *this = other; }
  status &operator=(const status &other) noexcept {
    code_ = other.code_;
    size_ = other.size_;
    path_at_ = other.path_at_;
    path_size_ = other.path_size_;
    reason_at_ = other.reason_at_;
    for (int i = 0; i <= size_; i++) text_[i] = other.text_[i];
    return *this;
  }

  // Is all well?
  explicit operator bool() const noexcept { return code_ == 0; }

  // 0; a negative code (QVERR_..., qvimage/error.h); or the answer by which a callback stopped the work.
  int32_t code() const noexcept { return code_; }

  // All in one line: what the code means, the file, the reason. Empty when all is well. It belongs to this
  // object.
  const char *text() const noexcept { return text_; }

  // The file's path, if it was about one, and the reason that the library stated, if it did. They belong to
  // this object; of a path above 256 bytes the end.
  std::string_view path() const noexcept { return {text_ + path_at_, path_size_}; }
  std::string_view reason() const noexcept {
    return {text_ + reason_at_, static_cast<std::size_t>(size_ - reason_at_)};
  }

  // Nothing when all is well; else throws an error, or aborts.
  void value() const;

 private:
  static constexpr std::size_t longest_path = 256;

  // Puts text behind what is there, with something between them; answers where it begins.
  uint16_t append(std::string_view text, std::string_view between) noexcept {
    if (!text.empty()) put(between);
    const uint16_t at = size_;
    put(text);
    return at;
  }
  void put(std::string_view text) noexcept {
    for (const char c : text) {
      if (size_ + 1 < static_cast<int>(sizeof text_)) text_[size_++] = c;
    }
    text_[size_] = 0;
  }

  int32_t code_ = 0;
  uint16_t size_ = 0, path_at_ = 0, path_size_ = 0, reason_at_ = 0;
  char text_[longest_path + QVIM_REASON_SIZE + 128];
};

#pragma GCC visibility push(default)
// What value() throws: a status as an exception. Made, copied and asked by any thread; what it answers
// belongs to it. It is one type in all shared libraries of a program.
class error : public std::exception {
 public:
  explicit error(const status &why) noexcept : why_(why) {}
  const char *what() const noexcept override { return why_.text(); }  // text(), all in one line
  int32_t code() const noexcept { return why_.code(); }
  std::string_view path() const noexcept { return why_.path(); }
  std::string_view reason() const noexcept { return why_.reason(); }
  const status &why() const noexcept { return why_; }

 private:
  status why_;
};
#pragma GCC visibility pop

namespace detail {

[[noreturn]] inline void give_up(const status &why) {
#if defined(__cpp_exceptions)
  throw error(why);
#else
  std::fprintf(stderr, "%s\n", why.text());
  std::abort();
#endif
}

}  // namespace detail

inline void status::value() const {
  if (code_ != 0) detail::give_up(*this);
}

// A value, or the status that says why there is none. As std::expected, which it becomes where there is one;
// a type of its own, so that it is the same in programs of every C++ standard. Movable, and copyable when the
// value is.
template <class T>
class [[nodiscard]] result {
 public:
  using value_type = T;
  using error_type = status;

  result(T value) : holds_(true), value_(std::move(value)) {}
  // A failure; its code is not 0.
  result(const status &why) noexcept : holds_(false), why_(why) {}
  result(result &&other) noexcept : holds_(other.holds_) { take(std::move(other)); }
  result(const result &other) requires std::is_copy_constructible_v<T> : holds_(other.holds_) { take(other); }
  result &operator=(result other) noexcept {
    this->~result();
    holds_ = other.holds_;
    take(std::move(other));
    return *this;
  }
  ~result() {
    if (holds_) {
      value_.~T();
    } else {
      why_.~status();
    }
  }

  explicit operator bool() const noexcept { return holds_; }
  bool has_value() const noexcept { return holds_; }

  // The value; where there is none an error is thrown, or the program aborted. Of a result that ends with the
  // statement it is a value of its own, so that a loop may go over it.
  T &value() & { return checked(), value_; }
  const T &value() const & { return checked(), value_; }
  T value() && { return checked(), std::move(value_); }

  // The value, which must be there.
  T &operator*() & { return value_; }
  const T &operator*() const & { return value_; }
  T operator*() && { return std::move(value_); }
  T *operator->() noexcept { return &value_; }
  const T *operator->() const noexcept { return &value_; }

  // Why there is no value; well where there is one.
  status error() const noexcept { return holds_ ? status() : why_; }

  // The value, or another one where there is none.
  template <class U>
  T value_or(U &&other) && {
    return holds_ ? std::move(value_) : static_cast<T>(std::forward<U>(other));
  }

  // What f makes of the value: another result (and_then), or a value (transform); the failure where there is
  // none.
  template <class F>
  auto and_then(F &&f) && -> decltype(std::forward<F>(f)(std::declval<T>())) {
    if (!holds_) return why_;
    return std::forward<F>(f)(std::move(value_));
  }
  template <class F>
  auto transform(F &&f) && -> result<decltype(std::forward<F>(f)(std::declval<T>()))> {
    if (!holds_) return why_;
    return std::forward<F>(f)(std::move(value_));
  }

#if defined(__cpp_lib_expected)
  // The same as the standard's type.
  operator std::expected<T, status>() && {
    if (holds_) return std::move(value_);
    return std::unexpected(why_);
  }
#endif

 private:
  void checked() const {
    if (!holds_) detail::give_up(why_);
  }
  template <class Other>
  void take(Other &&other) {
    if (holds_) {
      ::new (static_cast<void *>(&value_)) T(std::forward<Other>(other).value_);
    } else {
      ::new (static_cast<void *>(&why_)) status(other.why_);
    }
  }

  bool holds_;
  union {
    T value_;
    status why_;
  };
};

}  // namespace qv
