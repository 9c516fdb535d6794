#include "chain.hpp"

#include <cstdint>

#include "failure.hpp"
#include "text.hpp"

namespace tool {

namespace {

constexpr int32_t invalid_dimensions = -52;

step crop(const std::string &text) {
  const auto found = numbers<int64_t>(text, ',', 0, INT32_MAX);
  if (!found || found->size() != 4 || (*found)[2] == 0 || (*found)[3] == 0)
    throw usage_error("--crop takes X,Y,W,H, four numbers, not " + printable(text));
  const int64_t x = (*found)[0], y = (*found)[1], width = (*found)[2], height = (*found)[3];
  return [=](chain &chain, const std::string &file) {
    qvimage *image = chain.top();
    const qvywindow whole = image->imdim;
    if (x + width > whole.se.x || y + height > whole.se.y)
      throw failure(file, invalid_dimensions,
                    chain.where() + formatted(": %s reaches outside its %d x %d pixels", text.c_str(),
                                              whole.se.x, whole.se.y));
    qvywindow part = {{static_cast<int32_t>(x), static_cast<int32_t>(y)},
                      {static_cast<int32_t>(x + width), static_cast<int32_t>(y + height)}};
    if (image->xwind(image, &part, 's') == nullptr)
      throw failure(file, invalid_dimensions, chain.where() + ": " + text);
  };
}

struct step_option {
  std::string_view name;
  step (*make)(const std::string &value);
};

constexpr step_option step_options[] = {{crop_option.name, crop}};

}  // namespace

std::vector<step> steps_of(const arguments &arguments) {
  std::vector<step> steps;
  for (const arguments::given &given : arguments.options()) {
    for (const step_option &option : step_options) {
      if (option.name == given.name) steps.push_back(option.make(given.value));
    }
  }
  return steps;
}

}  // namespace tool
