// Logging on and off, and the file. All state is guarded by one mutex, which is free in a forked child.
#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <qvimage/log.h>

#include "log/fields.hpp"
#include "log/line.hpp"

int32_t liblog_active = 0;
extern const char *const liblog_null = "";

namespace qvim {

namespace {

constexpr char usual_variable[] = "QUORLAN_LOGGING";
constexpr uint32_t option_open = 1, option_close = 8;  // of liblog_aabzso

pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
char *path = nullptr;
bool header_written = false;
enum { application, key_path, variable, name_count };
char *names[name_count] = {};

int32_t active() { return __atomic_load_n(&liblog_active, __ATOMIC_RELAXED); }
void set_active(int32_t value) { __atomic_store_n(&liblog_active, value, __ATOMIC_RELAXED); }

void lock() { pthread_mutex_lock(&mutex); }
void unlock() { pthread_mutex_unlock(&mutex); }

// While it lives the state is this thread's, and errno comes out as it went in.
class held_lock {
 public:
  held_lock() {
    static pthread_once_t once = PTHREAD_ONCE_INIT;
    pthread_once(&once, [] { pthread_atfork(lock, unlock, unlock); });
    lock();
  }
  ~held_lock() {
    unlock();
    errno = error_;
  }
  held_lock(const held_lock &) = delete;
  held_lock &operator=(const held_lock &) = delete;

 private:
  int error_ = errno;
};

// Appends the text to the file, by one call unless the system takes less at once. A pipe that nobody reads is
// no reason to wait.
bool append(std::string_view s) {
  const int fd = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0666);
  if (fd < 0) return false;
  while (!s.empty()) {
    const ssize_t n = write(fd, s.data(), s.size());
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    s.remove_prefix(size_t(n));
  }
  close(fd);
  return s.empty();
}

bool append(const text &line) { return line.whole() && append(line.view()); }

void disable() {
  qvfreep(&path);
  set_active(0);
}

void enable(uint32_t level) {
  if (path) return;
  const char *file = secure_getenv(names[variable] ? names[variable] : usual_variable);
  if (!file || !*file) return;
  path = qvmalstrdup(file);
  if (!path || active()) return;
  if (append(std::string_view()))
    set_active(int32_t(std::min<uint32_t>(level, INT32_MAX - 1)) + 1);
  else
    disable();
}

void write_header() {
  if (!active() || !path) return;
  text header;
  put_header(header, milliseconds());
  header_written = append(header) || header_written;
}

void register_names(const char *const (&given)[name_count]) {
  for (int i = 0; i < name_count; i++)
    if (!names[i]) names[i] = qvmalstrdup(given[i]);
}

void unregister_names(const char *const (&given)[name_count]) {
  bool any = false;
  for (int i = 0; i < name_count; i++) {
    if (names[i] && given[i] && std::string_view(names[i]) == given[i]) qvfreep(&names[i]);
    any = any || names[i];
  }
  if (!any) disable();
}

// Turns logging on for one call. Was it off?
bool enable_for_call(bool header) {
  if (active()) return false;
  enable(0);
  if (header) write_header();
  return true;
}

void trace(const char *function, const char *label, const char *format, const arguments &values) {
  const call_format call(format);
  if (call.suppressed || (!call.opens && !active())) return;
  const held_lock state;
  const bool opened = call.opens && enable_for_call(!header_written);
  if (active() && path && call.level >= active()) {
    text line;
    put_call(line, milliseconds(), function, label, call.fields, values);
    append(line);
  }
  if (opened && call.closes) disable();
}

}  // namespace

}  // namespace qvim

using namespace qvim;

void liblog_setup(int16_t flags, const char *appname, const char *keypath, const char *envname,
                  uint32_t level) {
  const char *const given[name_count] = {appname, keypath, envname};
  const held_lock state;
  if (flags & LIBLOG_REGISTER) register_names(given);
  if (flags & LIBLOG_ENABLE) enable(level);
  if (flags & LIBLOG_HEADER) write_header();
  if (flags & LIBLOG_DISABLE) disable();
  if (flags & LIBLOG_UNREGISTER) unregister_names(given);
}

void liblog_printf(const char *format, ...) {
  if (!format) return;
  va_list values, again;
  va_start(values, format);
  va_copy(again, values);
  const held_lock state;
  const bool opened = enable_for_call(true);
  if (active() && path) {
    text line;
    put_time(line, milliseconds());
    const int count = std::vsnprintf(nullptr, 0, format, values);
    char *to = count >= 0 ? line.extend(uint64_t(count) + 1) : nullptr;  // and the end of the string
    if (to && std::vsnprintf(to, size_t(count) + 1, format, again) == count)
      append(line.view().substr(0, line.size() - 1));
  }
  if (opened) disable();
  va_end(again);
  va_end(values);
}

void liblog_aasrbz(const char *function, const char *label, const char *fields, ...) {
  va_list values;
  va_start(values, fields);
  trace(function, label, fields, arguments(values));
  va_end(values);
}

void liblog_aabzso(const char *function, const char *label, const void *bytes, uint64_t size,
                   const char *string, uint32_t options) {
  const argument as_bytes[] = {{bytes, size}, {}}, as_string[] = {{&size, sizeof size}, {string, 0}, {}},
                 none[] = {{}};
  char format[8], *end = format;
  if (options & option_open) *end++ = '{';
  end = stpcpy(end, bytes ? "B" : string ? "DlS" : "");
  if (options & option_close) *end++ = '}';
  *end = '\0';
  trace(function, label, format, arguments(bytes ? as_bytes : string ? as_string : none));
}
