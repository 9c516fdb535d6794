// Fields of traced lines: any field string makes a line of values of any sizes, which begins with the names;
// nothing beyond the values is read.
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "fuzz/input.hpp"
#include "log/fields.hpp"
#include "log/line.hpp"

namespace {

// A value in memory of its own, with nothing behind it; the letter l needs the end of a string.
struct exact {
  std::unique_ptr<uint8_t[]> bytes;
  uint64_t size;

  exact(fuzz_input &choices, bool string) : size(choices.up_to(40)) {
    if (size == 40) size = choices.up_to(2000);
    bytes.reset(new uint8_t[size + string]());
    for (uint64_t i = 0; i < size; i++) bytes[i] = choices.byte();
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz_input choices(data, size);
  std::string texts[3];  // function, label, format
  for (std::string &text : texts) {
    text.resize(choices.up_to(48));
    for (char &c : text) c = char(choices.byte());
  }
  const qvim::call_format call(texts[2].c_str());
  const bool strings = texts[2].find_first_of("lL") != std::string::npos;
  std::vector<exact> values;
  std::vector<qvim::argument> lists;
  for (int list = 0; list < 2; list++) {
    for (uint32_t count = choices.up_to(6); count > 0; count--) {
      values.emplace_back(choices, strings);
      lists.push_back({values.back().bytes.get(), values.back().size});
    }
    lists.push_back({});
  }

  qvim::field_reader fields(call.fields);
  fields.take_if('A', '+');
  if (fields.take_if('R', 'r').letters.size() > 1) return 0;  // a return value comes by another way
  qvim::text line;
  qvim::put_call(line, 5, texts[0].c_str(), texts[1].c_str(), call.fields, qvim::arguments(lists.data()));
  require(line.whole() && line.view().ends_with('\n') && line.size() >= 13 + 2 + 35 + 1);
  require(line.view().starts_with("0000000000005: "));
  const std::string function = texts[0].c_str();
  require(line.view().substr(15).starts_with(function.substr(0, 24)));
  return 0;
}
