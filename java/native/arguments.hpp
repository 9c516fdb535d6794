// What natives pass to the library's constructors: each argument is made of what Java gives, reads it by
// take(env), and converts to what the library takes.
#pragma once

#include <jni.h>

#include <optional>

#include "java/native/descriptions.hpp"
#include "java/native/peer.hpp"
#include "java/native/strings.hpp"

namespace qvim::java {

// Memory that Java knows by its address.
struct memory {
  jlong address;
  operator void *() const { return reinterpret_cast<void *>(address); }
  friend auto as_logged(const memory &m) { return as_logged(m.address); }
};

// The extents of a window; null for a null window.
template <class Dim>
class extent {
 public:
  explicit extent(jobject window) : object_(window) {}
  void take(JNIEnv *env) {
    if (!object_) return;
    const typename Dim::window w = window_of<Dim>(env, object_);
    const auto corners = box<Dim>::of(&w);
    for (int axis = 0; axis < Dim::axes; axis++) size_[axis] = int32_t(corners.extent(axis));
  }
  operator const int32_t *() const { return object_ ? size_.data() : nullptr; }
  operator const uint32_t *() const {
    return reinterpret_cast<const uint32_t *>(static_cast<const int32_t *>(*this));
  }
  friend auto as_logged(const extent &e) {
    return std::apply([](const auto &...axis) { return std::tuple_cat(as_logged(axis)...); }, e.size_);
  }

 private:
  jobject object_;
  point<Dim> size_{};
};

// Descriptions, which the library takes by address; null for a null object.
template <class Part, Part (*Read)(JNIEnv *, jobject)>
class part {
 public:
  explicit part(jobject object) : object_(object) {}
  void take(JNIEnv *env) {
    if (object_) part_ = Read(env, object_);
  }
  operator const Part *() const { return part_ ? &*part_ : nullptr; }
  friend auto as_logged(const part &) { return std::tuple<>(); }

 private:
  jobject object_;
  std::optional<Part> part_;
};
using data = part<qvimagedata, data_of>;
using hints = part<qvimagehints, hints_of>;

// The null image that views are built over when their source has no record. It stays, and nothing writes it.
template <class Dim>
record<Dim> *null_source() {
  static record<Dim> none = [] {
    record<Dim> made;
    make_null(&made);
    return made;
  }();
  return &none;
}

// An object whose record an image is built over, and which it keeps reachable. A null object is one without a
// record, or none where that is possible.
enum class presence { needed, optional };
template <class Dim, presence Needed = presence::needed>
class source {
 public:
  explicit source(jobject object) : object_(object) {}
  void take(JNIEnv *env) { address_ = peer_fields<Dim>::address.long_of(env, object_); }
  operator record<Dim> *() const {
    if (Needed == presence::optional && !object_) return nullptr;
    return address_ ? reinterpret_cast<record<Dim> *>(address_) : null_source<Dim>();
  }
  jobject kept() const { return object_; }
  friend auto as_logged(const source &s) { return as_logged(s.address_); }

 private:
  jobject object_;
  jlong address_ = 0;
};

// A text for the system.
class path {
 public:
  explicit path(jstring text) : text_(text) {}
  void take(JNIEnv *env) { string_.take(env, text_); }
  operator const char *() const { return string_.bytes(); }
  const system_string &string() const { return string_; }
  friend auto as_logged(const path &p) { return as_logged(p.string_.bytes()); }

 private:
  jstring text_;
  system_string string_;
};

// The handle of an open file, which Java keeps in an array of one long: there again once the call is over.
template <class Handle>
class handle {
 public:
  explicit handle(jlongArray array) : array_(array) {}
  void take(JNIEnv *env) {
    if (array_ && env->GetArrayLength(array_) == 0) array_ = nullptr;
    if (array_) env->GetLongArrayRegion(array_, 0, 1, &value_);
    opened_ = reinterpret_cast<Handle *>(value_);
  }
  operator Handle **() { return &opened_; }
  void put_back(JNIEnv *env) {
    value_ = reinterpret_cast<jlong>(opened_);
    if (array_) env->SetLongArrayRegion(array_, 0, 1, &value_);
  }
  friend auto as_logged(const handle &h) { return as_logged(h.value_); }

 private:
  jlongArray array_;
  jlong value_ = 0;
  Handle *opened_ = nullptr;
};

}  // namespace qvim::java
