// A file that appears complete or not at all.
#pragma once

#include <string>

namespace tool {

// Gives a temporary name beside the target. keep() renames it to the target's; without that the temporary
// file is removed at the end, and a target that existed stays as it was.
class target {
 public:
  explicit target(const std::string &path);  // throws a failure when no file can be made there
  ~target();
  target(const target &) = delete;
  target &operator=(const target &) = delete;

  const std::string &temporary() const { return temporary_; }
  void keep();

 private:
  std::string path_;  // symbolic links followed: they stay links
  std::string temporary_;
  bool kept_ = false;
};

}  // namespace tool
