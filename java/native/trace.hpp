// Log lines of the natives. While logging is off they cost a load and a branch.
#pragma once

#include <jni.h>

#include <cstring>
#include <tuple>
#include <type_traits>

#include <qvimage/log.h>

namespace qvim::java {

// How a value stands in a line of the log: its letters (see qvimage/log.h), its address and its size. Values
// of more parts, or of none that are worth telling, are as many of these.
struct logged {
  const char *letters;
  const void *bytes;
  int size;
};
inline auto as_logged(const jint &value) { return std::tuple(logged{"D", &value, sizeof value}); }
inline auto as_logged(const jlong &value) { return std::tuple(logged{"J", &value, sizeof value}); }
inline auto as_logged(const jfloat &value) { return std::tuple(logged{"F", &value, sizeof value}); }
inline auto as_logged(const char *text) { return std::tuple(logged{"lS", text ? text : "(null)", 0}); }

// A line with the call's arguments.
template <class... Values>
void log_entry(const char *name, const Values &...values) {
  char letters[64] = "";
  const auto add = [&](const logged &value) {
    std::strncat(letters, value.letters, sizeof letters - 1 - std::strlen(letters));
  };
  const auto parts = std::tuple_cat(as_logged(values)...);
  std::apply([&](const auto &...value) { (add(value), ...); }, parts);
  std::apply(
      [&](const auto &...part) { liblog_aasrbz(name, nullptr, letters, part..., nullptr); },
      std::apply([](const auto &...value) { return std::tuple_cat(std::tuple(value.bytes, value.size)...); },
                 parts));
}

// A line with what it answered: numbers only.
inline void log_exit(const char *name) { liblog_aasrbz(name, "'ed", nullptr, nullptr); }
inline void log_exit(const char *name, jint result) { liblog_aasrbz(name, "'ed", "rR", result, nullptr); }
inline void log_exit(const char *name, jboolean result) { log_exit(name, jint{result}); }
inline void log_exit(const char *name, jlong result) {
  liblog_aasrbz(name, "'ed", "rJ", &result, int{sizeof result}, nullptr);
}
inline void log_exit(const char *name, jstring) { log_exit(name); }

template <class Act, class... Values>
[[gnu::noinline, gnu::cold]] auto logged_call(const char *name, Act &act, const Values &...values) {
  log_entry(name, values...);
  if constexpr (std::is_void_v<std::invoke_result_t<Act>>) {
    act();
    log_exit(name);
  } else {
    const auto result = act();
    log_exit(name, result);
    return result;
  }
}

// The result of act(), a native's work, with a line before and after it.
template <class Act, class... Values>
auto traced(const char *name, Act act, const Values &...values) {
  if (__builtin_expect(__atomic_load_n(&liblog_active, __ATOMIC_RELAXED) == 0, 1)) return act();
  return logged_call(name, act, values...);
}

// The same for natives without a record. Nothing happens while an exception is pending.
template <class Act, class... Values>
auto native_call(JNIEnv *env, const char *name, Act act, const Values &...values) {
  using result = std::invoke_result_t<Act>;
  return env->ExceptionCheck() ? result() : traced(name, act, values...);
}

}  // namespace qvim::java
