// What the words of the command line stand for: a file, the standard input or output ("-", "pnm:-"), a
// numbered series of files ("frames-????.tif", "series:img????.tif:1-500"), a file of bare pixels
// ("raw:FILE:640x480:u16").
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tool {

struct file_format;

struct operand {
  std::string before, path, after;      // path is that of the file; the others are of raw files' words
  const file_format *format = nullptr;  // that the word names
  bool numbered = false;                // path is a pattern, each '?' of which is a digit
  int64_t first = 1, last = -1;         // numbers of the files; last -1: no end
  bool given_first = false;             // by the word
  std::string word(const std::string &name) const { return before + name + after; }
  bool standard() const { return path == "-"; }
};

// Throws usage_error.
operand operand_of(const std::string &word);

// The pattern's name of that number; throws a failure when it has too few digits.
std::string numbered_name(const operand &series, int64_t number);

// A file to be read.
struct source {
  std::string path;   // as the format's reader takes it
  std::string shown;  // for messages
  const file_format *format;
};

// The files to be read behind a word: those of a series in the order of their numbers. The standard input is
// copied to a file without a name, once. Throws failures and usage_error.
std::vector<source> sources_of(const std::string &word);

// A file without a name in the folder for temporary files. It goes with the program, whatever ends it.
class nameless_file {
 public:
  explicit nameless_file(const std::string &shown);  // throws a failure
  nameless_file(const nameless_file &) = delete;
  nameless_file &operator=(const nameless_file &) = delete;
  ~nameless_file();

  std::string path() const;                             // by which it can be opened as long as this lives
  void fill(int descriptor, const std::string &shown);  // with all that can be read from there
  void copy_to(int descriptor, const std::string &shown) const;

 private:
  int descriptor_;
};

}  // namespace tool
