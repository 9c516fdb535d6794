// Files for tests: a folder that goes away with its object, and whole files to and from memory.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

// A new empty folder; it is removed with all that it holds.
class temporary_folder {
 public:
  temporary_folder() {
    std::string name = (std::filesystem::temp_directory_path() / "qvimage-XXXXXX").string();
    if (!mkdtemp(name.data())) std::abort();
    path_ = name;
  }
  ~temporary_folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  temporary_folder(const temporary_folder &) = delete;
  temporary_folder &operator=(const temporary_folder &) = delete;

  // The path of a file of that name inside the folder.
  std::string operator/(const std::string &name) const { return (path_ / name).string(); }
  std::string path() const { return path_.string(); }
  bool empty() const { return std::filesystem::is_empty(path_); }
  size_t files() const { return size_t(std::distance(std::filesystem::directory_iterator(path_), {})); }

 private:
  std::filesystem::path path_;
};

inline bool file_exists(const std::string &path) { return std::filesystem::exists(path); }

inline std::vector<uint8_t> file_bytes(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void put_file(const std::string &path, const std::vector<uint8_t> &content) {
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char *>(content.data()), std::streamsize(content.size()));
}
