// The commands of the tool and their command lines. A command is one table entry: what its help says is what
// its command line takes.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

struct option {
  std::string_view name;  // with its dashes
  std::string_view
      argument;  // what it takes, as the help shows it: words with | between them are all there are
  std::string_view help;
};

class arguments;

struct command {
  std::string_view name;
  std::string_view operands;  // as the help shows them
  std::string_view summary;
  std::string_view details;
  size_t fewest_operands, most_operands;
  std::vector<option> (*options)();
  int (*run)(const arguments &);
};

extern const command info_command, check_command, convert_command, diff_command, stat_command, show_command;

// A command line taken apart. Options may stand anywhere before "--", as `--name value` or `--name=value`.
class arguments {
 public:
  arguments(const command &command, std::span<char *const> line);  // throws usage_error

  const std::vector<std::string> &operands() const { return operands_; }
  const std::string &operand(size_t index) const { return operands_[index]; }
  bool has(std::string_view name) const { return value(name).has_value(); }
  std::optional<std::string> value(std::string_view name) const;  // the last one given

  struct given {
    std::string_view name;
    std::string value;
  };
  const std::vector<given> &options() const { return given_; }  // in the order of the command line

 private:
  void take_option(const command &command, std::span<const option> known, std::string_view word,
                   std::span<char *const> &rest);
  std::vector<std::string> operands_;
  std::vector<given> given_;
};

std::string help(const command &command);  // for 80 columns

// Which of the words that the option takes it was given, from 0; throws usage_error.
size_t chosen(const option &option, std::string_view text);

}  // namespace tool
