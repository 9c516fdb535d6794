#include "chain.hpp"

#include <algorithm>
#include <cstdint>

#include <qvimage/colour.h>
#include <qvimage/data.h>
#include <qvimage/error.h>
#include <qvimage/views.h>

#include "failure.hpp"
#include "lut.hpp"
#include "text.hpp"
#include "words.hpp"

namespace tool {

void chain::put(const std::function<int32_t(qvimage *, qvimage *)> &construct, const std::string &reason) {
  qvimage *view = &views_.emplace_back().image;
  if (const int32_t code = construct(view, top_); code < 0) refuse(code, reason);
  top_ = view;
}

void put_converter(chain &chain, int32_t type, int32_t bits, real_values mode) {
  qvimagedata data;
  const qvimagedata old = chain.top()->d;
  qviminitdata(&data, type, bits, old.pixies, old.pixelhint);
  chain.put(
      [&](qvimage *view, qvimage *source) -> int32_t {
        if (source->d.pixietype == QVIM_UINT64) return QVERR_DATATYPE;
        return qvimage_converter(view, source, &data, 0, 0, static_cast<uint8_t>(bits), mode);
      },
      describe_type(old) + " pixels cannot be converted");
}

void chain::refuse(int32_t code, const std::string &reason) const {
  throw failure(file_, code, where_ + ": " + reason);
}

void recolour(chain &chain, int32_t hint) {
  const qvimagedata old = chain.top()->d;
  if (old.pixelhint == hint) return;
  // There is a way between RGB and everything else, and none beside it.
  if (!is_rgb(old.pixelhint) && !is_rgb(hint)) recolour(chain, QVIM_HINT_RGB);
  chain.put([=](qvimage *view, qvimage *source) { return qvimage_colorconverter(view, source, hint, 0); },
            describe_type(old) + " " + describe_colour(old) +
                formatted(" pixels of %d components", old.pixies) + " have no such colours");
}

namespace {

constexpr int32_t invalid_dimensions = -52;

using values = const arguments &;

int64_t one_number(const option &option, const std::string &text, int64_t least, int64_t most) {
  const auto found = numbers<int64_t>(text, ',', least, most);
  if (found && found->size() == 1) return found->front();
  throw usage_error(formatted("%s takes a number from %lld to %lld, not %s", option.name.data(),
                              static_cast<long long>(least), static_cast<long long>(most),
                              printable(text).c_str()));
}

bool is_real(const qvimage *image) { return image->d.pixietype >= QVIM_FLOAT32; }

step crop(const std::string &text, values) {
  const auto found = numbers<int64_t>(text, ',', 0, INT32_MAX);
  if (!found || found->size() != 4 || (*found)[2] == 0 || (*found)[3] == 0)
    throw usage_error("--crop takes X,Y,W,H, four numbers, not " + printable(text));
  const int64_t x = (*found)[0], y = (*found)[1], width = (*found)[2], height = (*found)[3];
  const auto take = [=](chain &chain) {
    qvimage *image = chain.top();
    const qvywindow seen = image->wind;
    const int32_t left = seen.nw.x, top = seen.nw.y;
    if (x + width > seen.se.x - left || y + height > seen.se.y - top)
      chain.refuse(invalid_dimensions, formatted("%s reaches outside its %d x %d pixels", text.c_str(),
                                                 seen.se.x - left, seen.se.y - top));
    qvywindow part = {{left + static_cast<int32_t>(x), top + static_cast<int32_t>(y)},
                      {left + static_cast<int32_t>(x + width), top + static_cast<int32_t>(y + height)}};
    if (image->xwind(image, &part, 's') == nullptr) chain.refuse(invalid_dimensions, text);
  };
  return {take, true};
}

// The flags of the view that turns.
constexpr uint32_t transposed = 1, mirrored_y = 2, mirrored_x = 4;
// In the order of the options' words.
constexpr uint32_t turns[] = {transposed | mirrored_x, mirrored_x | mirrored_y, transposed | mirrored_y};
constexpr uint32_t flips[] = {mirrored_x, mirrored_y};
// What brings the first row of each orientation, counted from 1, to the top and its first column to the left.
constexpr uint32_t orientations[] = {0,
                                     mirrored_x,
                                     mirrored_x | mirrored_y,
                                     mirrored_y,
                                     transposed,
                                     transposed | mirrored_x,
                                     transposed | mirrored_x | mirrored_y,
                                     transposed | mirrored_y};

step turned(uint32_t flags) {
  const auto take = [=](chain &chain) {
    chain.put(
        [=](qvimage *view, qvimage *source) { return qvimage_rotate_filt(view, source, 0, flags); },
        describe_type(chain.top()->d) + " pixels cannot be turned or mirrored, only 8- and 16-bit integers");
    if (flags & transposed) chain.transpose();
  };
  return {take, true,
          flags & transposed   ? row_order::columns
          : flags & mirrored_y ? row_order::backward
                               : row_order::kept};
}

step rotate(const std::string &text, values) { return turned(turns[chosen(rotate_option, text)]); }

step flip(const std::string &text, values) { return turned(flips[chosen(flip_option, text)]); }

int32_t width_of(int32_t type) { return 8 * qvimdatasize(static_cast<uint32_t>(type)); }

// Integers all of whose bits are used, and which have them all before other numbers of bits are made of them.
void from_real(chain &chain, int32_t type, int32_t bits, real_values mode) {
  put_converter(chain, type, width_of(type), mode);
  if (bits != width_of(type)) put_converter(chain, type, bits, same_numbers);
}

// The converter takes 1.0 for a pixie with all its bits set.
void to_real(chain &chain, int32_t type, real_values mode) {
  const qvimagedata old = chain.top()->d;
  if (mode == from_0_to_1 && old.i_bitsused < width_of(old.pixietype)) {
    if (old.i_bitsused > 16)
      chain.refuse(QVERR_UNSUPPORTED,
                   describe_type(old) + " pixels cannot be normalised, only up to 16 and 32 bits");
    fill_32_bits(chain);
  }
  put_converter(chain, type, 0, mode);
}

real_values mode_of(values given) { return given.has(normalise_option.name) ? from_0_to_1 : same_numbers; }

step bits(const std::string &text, values given) {
  const auto count = static_cast<int32_t>(one_number(bits_option, text, 1, 32));
  const real_values mode = mode_of(given);
  const auto take = [=](chain &chain) {
    const int32_t type = qvimdatabittype(count);
    if (!is_real(chain.top())) return put_converter(chain, type, count, same_numbers);
    if (mode == same_numbers && count != width_of(type))
      chain.refuse(QVERR_UNSUPPORTED,
                   formatted("floating-point numbers become integers of 8, 16 or 32 bits, of %d only with "
                             "--normalise",
                             count));
    from_real(chain, type, count, mode);
  };
  return {take, false};
}

constexpr int32_t types[] = {QVIM_UINT8, QVIM_UINT16, QVIM_UINT32, QVIM_FLOAT32, QVIM_FLOAT64};

step type(const std::string &text, values given) {
  const int32_t type = types[chosen(type_option, text)];
  const real_values mode = mode_of(given);
  const auto take = [=](chain &chain) {
    const bool real_before = is_real(chain.top()), real_after = type >= QVIM_FLOAT32;
    if (real_before == real_after)
      return put_converter(chain, type, real_after ? 0 : width_of(type), same_numbers);
    if (real_after)
      to_real(chain, type, mode);
    else
      from_real(chain, type, width_of(type), mode);
  };
  return {take, false};
}

step component(const std::string &text, values) {
  const int64_t number = one_number(component_option, text, 1, 32);
  const auto take = [=](chain &chain) {
    const int32_t components = chain.top()->d.pixies;
    chain.put(
        [=](qvimage *view, qvimage *source) {
          return qvimage_colorslice(view, source, 0, uint32_t{1} << (number - 1), 0);
        },
        formatted("component %d of %d", static_cast<int>(number), components));
    chain.top()->d.pixelhint = QVIM_HINT_GREY;
  };
  return {take, false};
}

constexpr int32_t colours[] = {QVIM_HINT_RGB,  QVIM_HINT_BGR, QVIM_HINT_GREY, QVIM_HINT_CMY,
                               QVIM_HINT_CMYK, QVIM_HINT_BSH, QVIM_HINT_YCRCB};

step colour(const std::string &text, values) {
  const int32_t hint = colours[chosen(colour_option, text)];
  return {[=](chain &chain) { recolour(chain, hint); }, false};
}

step decimate(const std::string &text, values) {
  const auto found = numbers<int64_t>(text, ',', 1, INT32_MAX);
  if (!found || found->size() > 2)
    throw usage_error("--decimate takes N or N,M, numbers from 1 on, not " + printable(text));
  const auto x = static_cast<uint32_t>(found->front()), y = static_cast<uint32_t>(found->back());
  const auto take = [=](chain &chain) {
    const qvimage *source = chain.top();
    std::string reason = "no pixel is left";
    if (source->d.pixies > 1)
      reason = formatted("pixels of %d components cannot be decimated (--component chooses one)",
                         source->d.pixies);
    else if (source->d.pixietype > QVIM_UINT16)
      reason = describe_type(source->d) + " pixels cannot be decimated, only 8- and 16-bit integers";
    chain.put([=](qvimage *view, qvimage *from) { return qvimage_decimate(view, from, 0, x, y, 0, 0); },
              reason);
  };
  return {take, true};
}

step bayer(const std::string &text, values) {
  const auto phase = static_cast<uint32_t>(chosen(bayer_option, text));
  const auto take = [=](chain &chain) {
    chain.put([=](qvimage *view, qvimage *source) { return qvimage_Beyer4_filter(view, source, 0, phase); },
              describe_type(chain.top()->d) + " pixels are no raw values, only 8- and 16-bit integers");
  };
  return {take, false};
}

step table(const std::string &path, values) { return lut(path); }

struct step_option {
  std::string_view name;
  step (*make)(const std::string &value, values given);
};

constexpr step_option step_options[] = {{crop_option.name, crop},     {rotate_option.name, rotate},
                                        {flip_option.name, flip},     {bits_option.name, bits},
                                        {type_option.name, type},     {component_option.name, component},
                                        {colour_option.name, colour}, {decimate_option.name, decimate},
                                        {bayer_option.name, bayer},   {lut_option.name, table}};

}  // namespace

std::vector<option> step_options_of_convert() {
  return {crop_option,      rotate_option, flip_option,     bits_option,  type_option, normalise_option,
          component_option, colour_option, decimate_option, bayer_option, lut_option};
}

step turned_upright(int orientation) { return turned(orientations[orientation - 1]); }

std::vector<step> steps_of(const arguments &arguments) {
  if (arguments.has(normalise_option.name) && !arguments.has(type_option.name) &&
      !arguments.has(bits_option.name))
    throw usage_error("--normalise goes with --type or --bits");
  std::vector<step> steps;
  for (const arguments::given &given : arguments.options()) {
    for (const step_option &option : step_options) {
      if (option.name == given.name) steps.push_back(option.make(given.value, arguments));
    }
  }
  return steps;
}

}  // namespace tool
