// The elements of Java's arrays while the library works on them.
#pragma once

#include <jni.h>

#include <cstdint>

#include "core/owned.hpp"
#include "java/native/fields.hpp"

namespace qvim::java {

enum class purpose { read, write };  // by the library: what it only reads is not put back

// The array itself, which the collector has to leave where it is: for work that neither waits nor calls Java.
// Null when the virtual machine has no memory for it.
class critical_elements {
 public:
  critical_elements(JNIEnv *env, jarray array, purpose to)
      : env_(env), array_(array), to_(to), bytes_(env->GetPrimitiveArrayCritical(array, nullptr)) {}
  ~critical_elements() {
    if (bytes_) env_->ReleasePrimitiveArrayCritical(array_, bytes_, to_ == purpose::read ? JNI_ABORT : 0);
  }
  critical_elements(const critical_elements &) = delete;
  critical_elements &operator=(const critical_elements &) = delete;
  explicit operator bool() const { return bytes_ != nullptr; }
  uint8_t *bytes() const { return static_cast<uint8_t *>(bytes_); }

 private:
  JNIEnv *env_;
  jarray array_;
  purpose to_;
  void *bytes_;
};

// How regions of an array are copied.
template <class Array>
struct region;
#define QVIM_REGION(Array, Element, Name)                        \
  template <>                                                    \
  struct region<Array> {                                         \
    using element = Element;                                     \
    static constexpr auto get = &JNIEnv::Get##Name##ArrayRegion; \
    static constexpr auto set = &JNIEnv::Set##Name##ArrayRegion; \
  };
QVIM_REGION(jbyteArray, jbyte, Byte)
QVIM_REGION(jshortArray, jshort, Short)
QVIM_REGION(jintArray, jint, Int)
QVIM_REGION(jfloatArray, jfloat, Float)
QVIM_REGION(jdoubleArray, jdouble, Double)
#undef QVIM_REGION

// A copy of an array's beginning, of so many bytes at least, put back in the end: for work that may wait. A
// zero byte follows. Null when memory is short.
template <class Array>
class copied_elements {
  using element = typename region<Array>::element;

 public:
  copied_elements(JNIEnv *env, Array array, uint64_t bytes, purpose to)
      : env_(env), array_(array), count_(jsize((bytes + sizeof(element) - 1) / sizeof(element))), to_(to) {
    if (!copy_.allocate(uint32_t(count_) + uint64_t{1})) return;
    copy_[uint32_t(count_)] = 0;
    (env_->*region<Array>::get)(array_, 0, count_, copy_.data());
    forget_exception(env_);
  }
  ~copied_elements() {
    if (!*this || to_ == purpose::read) return;
    (env_->*region<Array>::set)(array_, 0, count_, copy_.data());
    forget_exception(env_);
  }
  copied_elements(const copied_elements &) = delete;
  copied_elements &operator=(const copied_elements &) = delete;
  explicit operator bool() const { return copy_.data() != nullptr; }
  uint8_t *bytes() { return reinterpret_cast<uint8_t *>(copy_.data()); }

 private:
  JNIEnv *env_;
  Array array_;
  jsize count_;
  purpose to_;
  array<element> copy_;
};

}  // namespace qvim::java
