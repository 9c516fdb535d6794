// Owners of memory from the allocation wrappers; they free on every way out.
#pragma once

#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

#include <qvimage/alloc.h>

namespace qvim {

// An array of plain values. allocate() replaces it and says whether the memory was there; a size that does
// not fit 64 bits is refused, a size of 0 succeeds and holds nothing.
template <class T>
class array {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  array() = default;
  array(array &&other) noexcept
      : items_(std::exchange(other.items_, nullptr)), size_(std::exchange(other.size_, 0)) {}
  array &operator=(array &&other) noexcept {
    std::swap(items_, other.items_);
    std::swap(size_, other.size_);
    return *this;
  }
  ~array() { qvfree(items_); }

  [[nodiscard]] bool allocate(uint64_t count) {
    clear();
    uint64_t bytes;
    if (__builtin_mul_overflow(count, uint64_t{sizeof(T)}, &bytes)) return false;
    if (bytes == 0) return true;
    items_ = static_cast<T *>(qvmalloc(bytes));
    if (items_) size_ = count;
    return items_ != nullptr;
  }
  [[nodiscard]] bool allocate_zeroed(uint64_t count) {
    if (!allocate(count)) return false;
    if (size_) std::memset(static_cast<void *>(items_), 0, size_ * sizeof(T));
    return true;
  }
  // Keeps the items that fit the new size; on failure nothing changes.
  [[nodiscard]] bool resize(uint64_t count) {
    uint64_t bytes;
    if (__builtin_mul_overflow(count, uint64_t{sizeof(T)}, &bytes)) return false;
    if (bytes == 0) return clear(), true;
    void *grown = qvrealloc(items_, bytes);
    if (!grown) return false;
    items_ = static_cast<T *>(grown);
    size_ = count;
    return true;
  }
  void clear() {
    qvfree(items_);
    items_ = nullptr;
    size_ = 0;
  }
  T *release() {
    size_ = 0;
    return std::exchange(items_, nullptr);
  }

  uint64_t size() const { return size_; }
  T *data() { return items_; }
  const T *data() const { return items_; }
  T &operator[](uint64_t i) { return items_[i]; }
  const T &operator[](uint64_t i) const { return items_[i]; }
  T *begin() { return items_; }
  T *end() { return items_ + size_; }
  const T *begin() const { return items_; }
  const T *end() const { return items_ + size_; }

 private:
  T *items_ = nullptr;
  uint64_t size_ = 0;
};

// A single object made by make_owned; its destructor runs and its memory returns to the wrappers.
template <class T>
class owned {
 public:
  owned() = default;
  explicit owned(T *object) : object_(object) {}
  owned(owned &&other) noexcept : object_(other.release()) {}
  owned &operator=(owned &&other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~owned() {
    if (object_) object_->~T();
    qvfree(object_);
  }

  T *get() const { return object_; }
  T *release() { return std::exchange(object_, nullptr); }
  T *operator->() const { return object_; }
  T &operator*() const { return *object_; }
  explicit operator bool() const { return object_ != nullptr; }

 private:
  T *object_ = nullptr;
};

// A new object of the given type, or an empty owner when memory is short.
template <class T, class... Arguments>
[[nodiscard]] owned<T> make_owned(Arguments &&...arguments) {
  static_assert(alignof(T) <= 16);
  void *memory = qvmalloc(sizeof(T));
  return owned<T>(memory ? new (memory) T(std::forward<Arguments>(arguments)...) : nullptr);
}

}  // namespace qvim
