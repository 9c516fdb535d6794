// Room for a whole file that has no place of its own.
#pragma once

#include <string>

namespace tool {

// A file without a name in the folder for temporary files. It goes with the program, whatever ends it. What
// fills it and where it is copied to may be slow or never come: an interrupt ends the wait. All throw
// failures, in which `shown` is the name.
class nameless_file {
 public:
  explicit nameless_file(const std::string &shown);
  nameless_file(const nameless_file &) = delete;
  nameless_file &operator=(const nameless_file &) = delete;
  ~nameless_file();

  std::string path() const;                             // by which it can be opened as long as this lives
  void fill(int descriptor, const std::string &shown);  // with all that can be read from there
  void fill_from_pipe(const std::string &path);
  void copy_to(int descriptor, const std::string &shown) const;

 private:
  int descriptor_;
};

}  // namespace tool
