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

// The files to be read behind a word: those of a series in the order of their numbers. The standard input and
// pipes ("/dev/stdin", a shell's "<(...)") can be read only once and forward: each is copied to a file
// without a name when a word names it first. Throws failures and usage_error.
std::vector<source> sources_of(const std::string &word);

}  // namespace tool
