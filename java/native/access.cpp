// Natives that call the slots of a record.
#include <algorithm>
#include <cstring>

#include <qvimage/error.h>

#include "java/native/arguments.hpp"
#include "java/native/elements.hpp"
#include "java/native/errors.hpp"
#include "java/native/natives.hpp"
#include "views/chain.hpp"

using namespace qvim;
using namespace qvim::java;

namespace {

// The result of act(slot); a record without the slot was never made by a constructor.
template <class Slot, class Act>
jint with_slot(JNIEnv *env, const char *name, Slot slot, Act act) {
  return slot ? jint(act(slot)) : (thrown(env, QVERR_LOGIC, name), 0);
}

// Bytes of a pixel of the set-up. A kind that is not the library's keeps none: its own pixels' are taken.
template <class Dim>
uint32_t pixel_of(const record<Dim> *im) {
  const uint32_t kept = buffer_pixel(im);
  return kept ? kept : uint32_t(std::max(im->f.pixelsize, 1));
}

template <class Array>
uint64_t bytes_of(JNIEnv *env, Array array) {
  return uint64_t(env->GetArrayLength(array)) * sizeof(typename region<Array>::element);
}

// Was nothing in a chain of views set up for other pixels since the views above it were?
template <class Dim>
bool set_ups_agree(const record<Dim> *im) {
  const auto *record =
      reinterpret_cast<const qvimage *>(im);  // those of three dimensions have the same bytes
  for (int step = 0; step < longest_chain; step++) {
    const run_facts own = run_facts_of(record);
    if (!own.has_source) return true;
    record = resolve<const qvimage>(record, record->source[0]);
    const run_facts source = run_facts_of(record);
    if (source.buffer_pixel != own.source_pixel || source.in_memory != own.in_memory) return false;
  }
  return false;
}

// The count that move(bytes, pixels) answers for the elements of an array. They stay where they are only
// where transfers cannot wait.
template <class Dim, class Array, class Move>
jint with_elements(JNIEnv *env, const char *name, record<Dim> *im, Array array, jint count, purpose to,
                   Move move) {
  if (!array || !set_ups_agree<Dim>(im)) return 0;
  const uint64_t pixel = pixel_of<Dim>(im);
  const auto pixels = uint32_t(std::min(uint64_t(std::max(count, 0)), bytes_of(env, array) / pixel));
  if (run_facts_of(im).in_memory) {
    if (const critical_elements elements(env, array, to); elements)
      return jint(move(elements.bytes(), pixels));
  } else {
    if (copied_elements<Array> elements(env, array, pixels * pixel, to); elements)
      return jint(move(elements.bytes(), pixels));
  }
  return thrown(env, QVERR_MEMORY, name), 0;
}

template <class Dim, class Array>
jint read(JNIEnv *env, jobject self, const char *name, jint mode, Array buffer, jint count,
          const point<Dim> &at) {
  const auto work = [&](peer<Dim> &own, jint, jint, auto...) {
    record<Dim> *const im = own.get();
    return with_slot(env, name, im->ioread, [&](auto) {
      return with_elements<Dim>(
          env, name, im, buffer, count, purpose::write,
          [&](uint8_t *bytes, uint32_t pixels) { return call_read(im, uint32_t(mode), bytes, pixels, at); });
    });
  };
  return std::apply(
      [&](auto... axis) { return on_record<Dim>(env, self, name, work, mode, count, jint{axis}...); }, at);
}

template <class Dim, class Array>
jint write(JNIEnv *env, jobject self, const char *name, jint mode, Array buffer, jint count,
           const point<Dim> &at) {
  const auto work = [&](peer<Dim> &own, jint, jint, auto...) {
    record<Dim> *const im = own.get();
    return with_slot(env, name, im->iorite, [&](auto) {
      return with_elements<Dim>(
          env, name, im, buffer, count, purpose::read,
          [&](uint8_t *bytes, uint32_t pixels) { return call_write(im, uint32_t(mode), bytes, pixels, at); });
    });
  };
  return std::apply(
      [&](auto... axis) { return on_record<Dim>(env, self, name, work, mode, count, jint{axis}...); }, at);
}

// Nothing is moved: the buffer only names a transfer.
template <class Dim, class Array>
jint wait(JNIEnv *env, jobject self, const char *name, jint mode, Array buffer) {
  return on_record<Dim>(
      env, self, name,
      [&](peer<Dim> &own, jint) {
        record<Dim> *const im = own.get();
        return with_slot(env, name, im->iowait, [&](auto slot) {
          return with_elements<Dim>(env, name, im, buffer, 0, purpose::read, [&](uint8_t *bytes, uint32_t) {
            return slot(im, uint32_t(mode), bytes);
          });
        });
      },
      mode);
}

// Positions are checked in any case: no program in Java may reach memory beside an image.
template <class Dim>
jint set_up(JNIEnv *env, jobject self, jint mode, jint type, jint colours) {
  return on_record<Dim>(
      env, self, "ioset",
      [&](peer<Dim> &own, auto...) {
        return with_slot(env, "ioset", own->ioset, [&](auto slot) {
          const uint32_t checked = uint32_t(mode) & ~uint32_t{QVIM_TRUST};
          return thrown(env, slot(own.get(), checked, uint32_t(type), uint32_t(colours)), "ioset");
        });
      },
      mode, type, colours);
}

template <class Dim>
jint length(JNIEnv *env, jobject self, jint count, const point<Dim> &at) {
  const auto work = [&](peer<Dim> &own, jint, auto...) {
    return with_slot(env, "iolen", own->iolen,
                     [&](auto) { return call_length(own.get(), uint32_t(count), at); });
  };
  return std::apply(
      [&](auto... axis) { return on_record<Dim>(env, self, "iolen", work, count, jint{axis}...); }, at);
}

constexpr uint32_t save_iostate = '*' << 8 | 'x', restore_iostate = '*' << 8 | 'X';

// The answer with a buffer of so many bytes. Codes that need more are not passed on.
template <class Dim>
uint32_t ask(record<Dim> *im, jint code, jint arg1, jint arg2, void *buffer, uint64_t bytes) {
  const bool whole_state = uint32_t(code) == save_iostate || uint32_t(code) == restore_iostate;
  if (whole_state && bytes < sizeof im->iostate) return 0;
  return im->aeiou(im, uint32_t(code), arg1, arg2, buffer);
}

template <class Dim>
jint query(JNIEnv *env, jobject self, jint code, jint arg1, jint arg2) {
  return on_record<Dim>(
      env, self, "aeiou",
      [&](peer<Dim> &own, auto... asked) {
        return with_slot(env, "aeiou", own->aeiou,
                         [&](auto) { return ask<Dim>(own.get(), asked..., nullptr, 0); });
      },
      code, arg1, arg2);
}

// The window given stays as it is.
template <class Dim>
jint set_window(JNIEnv *env, jobject self, jobject window, jint letter) {
  return on_record<Dim>(
      env, self, "xwindpeer",
      [&](peer<Dim> &own, jint) {
        return with_slot(env, "xwindpeer", own->xwind, [&](auto slot) {
          typename Dim::window given{};
          if (window) given = window_of<Dim>(env, window);
          const bool answered = slot(own.get(), window ? &given : nullptr, letter) != nullptr;
          show_window<Dim>(env, self, own.get());
          return answered;
        });
      },
      letter);
}

template <class Dim>
void set_hints(JNIEnv *env, jobject self, jobject hints) {
  on_record<Dim>(env, self, "xhintspeer", [&](peer<Dim> &own) {
    if (hints) own->h = hints_of(env, hints);
  });
}

}  // namespace

#define QVIM_ACCESS(Type, Array)                                                                             \
  jint Java_Jqvimage_ioread_1##Type(JNIEnv *env, jobject self, jint mode, Array buffer, jint count, jint x,  \
                                    jint y) {                                                                \
    return read<two_d>(env, self, "ioread_" #Type, mode, buffer, count, {x, y});                             \
  }                                                                                                          \
  jint Java_Jqvimage3_ioread_1##Type(JNIEnv *env, jobject self, jint mode, Array buffer, jint count, jint x, \
                                     jint y, jint z) {                                                       \
    return read<three_d>(env, self, "ioread_" #Type, mode, buffer, count, {x, y, z});                        \
  }                                                                                                          \
  jint Java_Jqvimage_iorite_1##Type(JNIEnv *env, jobject self, jint mode, Array buffer, jint count, jint x,  \
                                    jint y) {                                                                \
    return write<two_d>(env, self, "iorite_" #Type, mode, buffer, count, {x, y});                            \
  }                                                                                                          \
  jint Java_Jqvimage3_iorite_1##Type(JNIEnv *env, jobject self, jint mode, Array buffer, jint count, jint x, \
                                     jint y, jint z) {                                                       \
    return write<three_d>(env, self, "iorite_" #Type, mode, buffer, count, {x, y, z});                       \
  }                                                                                                          \
  jint Java_Jqvimage_iowait_1##Type(JNIEnv *env, jobject self, jint mode, Array buffer) {                    \
    return wait<two_d>(env, self, "iowait_" #Type, mode, buffer);                                            \
  }                                                                                                          \
  jint Java_Jqvimage3_iowait_1##Type(JNIEnv *env, jobject self, jint mode, Array buffer) {                   \
    return wait<three_d>(env, self, "iowait_" #Type, mode, buffer);                                          \
  }
QVIM_ACCESS(byte, jbyteArray)
QVIM_ACCESS(short, jshortArray)
QVIM_ACCESS(int, jintArray)
QVIM_ACCESS(float, jfloatArray)
QVIM_ACCESS(double, jdoubleArray)
#undef QVIM_ACCESS

jint Java_Jqvimage_iolen(JNIEnv *env, jobject self, jint count, jint x, jint y) {
  return length<two_d>(env, self, count, {x, y});
}
jint Java_Jqvimage3_iolen(JNIEnv *env, jobject self, jint count, jint x, jint y, jint z) {
  return length<three_d>(env, self, count, {x, y, z});
}

#define QVIM_BOTH(Class, Dim)                                                                \
  jint Java_##Class##_ioset(JNIEnv *env, jobject self, jint mode, jint type, jint colours) { \
    return set_up<Dim>(env, self, mode, type, colours);                                      \
  }                                                                                          \
  jint Java_##Class##_aeiou(JNIEnv *env, jobject self, jint code, jint arg1, jint arg2) {    \
    return query<Dim>(env, self, code, arg1, arg2);                                          \
  }                                                                                          \
  jint Java_##Class##_xwindpeer(JNIEnv *env, jobject self, jobject window, jint letter) {    \
    return set_window<Dim>(env, self, window, letter);                                       \
  }                                                                                          \
  void Java_##Class##_xhintspeer(JNIEnv *env, jobject self, jobject hints) {                 \
    set_hints<Dim>(env, self, hints);                                                        \
  }
QVIM_BOTH(Jqvimage, two_d)
QVIM_BOTH(Jqvimage3, three_d)
#undef QVIM_BOTH

jint Java_Jqvimage3_aeiou_1r(JNIEnv *env, jobject self, jint code, jint arg1, jint arg2, jstring text) {
  constexpr const char *name = "aeiou_r";
  const auto work = [&](peer<three_d> &own, jint, jint, jint, const path &given) {
    return with_slot(env, name, own->aeiou, [&](auto) -> jint {
      const int32_t refused = given.string().code();
      if (refused < 0) return thrown(env, refused, name);
      const char *const bytes = given;
      return jint(ask<three_d>(own.get(), code, arg1, arg2, const_cast<char *>(bytes),
                               bytes ? std::strlen(bytes) + 1 : 0));
    });
  };
  return on_record<three_d>(env, self, name, work, code, arg1, arg2, path(text));
}

// Answers may wait for files, and texts end with a zero byte: a copy.
jint Java_Jqvimage3_aeiou_1ts(JNIEnv *env, jobject self, jint code, jint arg1, jint arg2, jbyteArray bytes) {
  constexpr const char *name = "aeiou_ts";
  const auto work = [&](peer<three_d> &own, auto... asked) {
    return with_slot(env, name, own->aeiou, [&](auto) -> jint {
      if (!bytes) return jint(ask<three_d>(own.get(), asked..., nullptr, 0));
      const uint64_t size = bytes_of(env, bytes);
      copied_elements<jbyteArray> copy(env, bytes, size, purpose::write);
      return copy ? jint(ask<three_d>(own.get(), asked..., copy.bytes(), size))
                  : thrown(env, QVERR_MEMORY, name);
    });
  };
  return on_record<three_d>(env, self, name, work, code, arg1, arg2);
}
