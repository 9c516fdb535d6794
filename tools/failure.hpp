// How a command ends when something is wrong: a failure is reported and the exit status is 1, a bad command
// line gives 2, an interrupt ends the program by its own signal after everything was cleaned up.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace tool {

enum exit_status { fine = 0, failed = 1, wrong_usage = 2 };

// An operation on a file failed: a code of the library, and what exactly was wrong in the tool's own words.
class failure : public std::runtime_error {
 public:
  failure(std::string subject, int32_t error, std::string what_exactly);
  const std::string file;
  const int32_t code;
  const std::string detail;
};

struct usage_error : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct interrupted {
  int signal;
};

// Throws a failure when `code` is one.
void check(int32_t code, const std::string &file, const std::string &detail);

// What the system said, when `code` is one of those that it may have a say in; else `otherwise`. Clear errno
// before the operation.
std::string system_detail(int32_t code, const std::string &otherwise);

// Why the library's last call in this thread failed: in its own words, else what the system said, else
// `otherwise`.
std::string reason(int32_t code, const std::string &otherwise);

// "qvimage: FILE: message (code -10): what exactly was wrong" on the standard error.
void report(const failure &failure);

}  // namespace tool
