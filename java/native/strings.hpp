// Texts from and to Java.
#pragma once

#include <jni.h>

#include <cstdint>
#include <string_view>

#include "core/owned.hpp"

namespace qvim::java {

// A Java string of these bytes; those that are not ASCII become U+FFFD. Null when memory is short, without an
// exception.
jstring new_string(JNIEnv *env, std::string_view text);

// A string as the system's calls take it: in the platform's encoding, or in UTF-8 when that lacks some of its
// characters. One that holds U+0000 or half a character has no such form.
class system_string {
 public:
  void take(JNIEnv *env, jstring text);

  int32_t code() const { return code_; }        // 0, or QVERR_USAGE for such a one, or QVERR_MEMORY
  const char *cause() const { return cause_; }  // in words
  // Null for a null string.
  const char *bytes() const { return bytes_.data(); }

 private:
  void refuse(int32_t code, const char *cause) { code_ = code, cause_ = cause; }

  array<char> bytes_;
  int32_t code_ = 0;
  const char *cause_ = nullptr;
};

}  // namespace qvim::java
