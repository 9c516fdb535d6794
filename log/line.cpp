#include "log/line.hpp"

#include <charconv>
#include <cstdio>
#include <ctime>
#include <iterator>

#include "log/fields.hpp"
#include "log/values.hpp"

namespace qvim {

namespace {

// Columns of a line: time ": " names " ret=" value ": " values.
constexpr uint64_t time_columns = 13, function_columns = 24, label_columns = 10,
                   name_columns = function_columns + 1 + label_columns, return_columns = 15;

std::string_view view_of(const char *s) { return s ? s : ""; }

void put_names(text &out, std::string_view function, std::string_view label, bool wide) {
  if (label.empty()) return out.put_left(function, name_columns);
  if (wide || label.size() > label_columns) {
    function = function.substr(0, function_columns);
    const uint64_t left = name_columns - function.size();
    out.put(function);
    return out.put_right(label.substr(0, left), left);
  }
  out.put_left(function, function_columns);
  out.put(" ");
  out.put_left(label, label_columns);
}

void put_returned(text &out, int32_t returned) {
  char s[16];
  const char *end = std::to_chars(s, std::end(s), returned).ptr;
  out.put(" ret=");
  out.put_right({s, size_t(end - s)}, return_columns - 4);
  out.put(": ");
}

// Both lines of values at once, so that what stands below each other is known together. The second one's
// values are those of the other list.
void put_values(text &line, text *below, field_reader fields, arguments &values, arguments &others) {
  for (argument v = values.next(); v.bytes; v = values.next()) {
    const field how = fields.take();
    const uint64_t begin = line.size();
    const uint64_t dump = put_value(line, how, {static_cast<const uint8_t *>(v.bytes), v.size});
    if (!below) continue;
    const argument other = others.next();
    if (!other.bytes) below = nullptr;  // no more of them
    if (!below) continue;
    const uint64_t end = below->size() + line.size() - begin;
    if (how.has_characters()) {
      below->blanks(dump);
      put_characters(*below, how, {static_cast<const uint8_t *>(other.bytes), other.size});
    }
    below->blanks(end - std::min(end, below->size()));
  }
}

bool any_has_characters(field_reader fields) {
  while (!fields.at_end())
    if (fields.take().has_characters()) return true;
  return false;
}

}  // namespace

uint64_t milliseconds() {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  return uint64_t(now.tv_sec) * 1000 + uint64_t(now.tv_nsec) / 1000000;
}

void put_time(text &out, uint64_t ms) {
  char s[24];
  const char *end = std::to_chars(s, std::end(s), ms).ptr;
  const uint64_t digits = uint64_t(end - s);
  out.fill('0', time_columns - std::min(time_columns, digits));
  out.put({s, digits});
  out.put(": ");
}

void put_header(text &out, uint64_t ms) {
  const auto put_date = [&](const char *which, const char *date) {
    put_time(out, ms);
    put_names(out, "Date/Time", which, false);
    out.put(" ");
    out.blanks(return_columns);
    out.put(": ");
    out.put(date);
    out.put("\n");
  };
  const time_t seconds = time_t(ms / 1000);
  tm local = {};
  localtime_r(&seconds, &local);
  char date[64];
  std::snprintf(date, sizeof date, "%3.02d/%2.02d/%4.04d %2.02d.%2.02d.%2.02d", local.tm_mon + 1,
                local.tm_mday, local.tm_year + 1900, local.tm_hour, local.tm_min, local.tm_sec);
  out.put("\n\n");
  put_date("Build", QVIM_BUILD_DATE);
  put_date("Current", date);
}

void put_call(text &out, uint64_t ms, const char *function, const char *label, const char *fields_text,
              arguments values) {
  field_reader fields(fields_text);
  const bool wide = fields.take_if('A', '+').has('+');
  const bool returns = fields.take_if('R', 'r').letters.size() > 1;
  const bool two_lines = any_has_characters(fields);

  put_time(out, ms);
  put_names(out, view_of(function), view_of(label), wide);
  if (returns) put_returned(out, values.returned());
  arguments first = values, others = values;
  if (!returns && first.next().bytes) {
    out.put(" ");
    out.blanks(return_columns);
    out.put(": ");
  }
  text below;
  if (two_lines) {
    others.pass_list();
    below.blanks(time_columns);
    below.put(": ");
    below.blanks(name_columns + 1 + return_columns + 2);
  }
  put_values(out, two_lines ? &below : nullptr, fields, values, others);
  out.put("\n");
  if (!two_lines) return;
  out.put(below);
  out.put("\n");
}

}  // namespace qvim
