// What the options of convert do to a page's image before it is written: each option that changes the pixels
// is a step, and the steps are taken in the order of the command line.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <qvimage/record.h>

#include "command.hpp"

namespace tool {

// Images over images, the page at the bottom. The records stay where they are while the chain lives.
class chain {
 public:
  explicit chain(qvimage *page, std::string where) : top_(page), where_(std::move(where)) {}
  qvimage *top() const { return top_; }
  const std::string &where() const { return where_; }  // the page, for messages

 private:
  qvimage *top_;
  std::string where_;
};

using step = std::function<void(chain &, const std::string &file)>;

// The steps that the command line asks for; options that are none are passed over. Throws usage_error.
std::vector<step> steps_of(const arguments &arguments);

constexpr option crop_option = {"--crop", "X,Y,W,H", "only the W x H pixels from (X, Y) onward"};

}  // namespace tool
