// Natives for peers, raw memory and texts.
#include <algorithm>
#include <cstring>

#include <qvimage/alloc.h>
#include <qvimage/data.h>
#include <qvimage/error.h>
#include <qvimage/log.h>

#include "java/native/arguments.hpp"
#include "java/native/elements.hpp"
#include "java/native/errors.hpp"
#include "java/native/natives.hpp"

using namespace qvim;
using namespace qvim::java;

namespace {

constexpr uint32_t filter_slots = 4;  // source references of a record

// Bytes of so many pixies; 0 where that is none, or more than there are addresses.
uint64_t bytes_of(jint type, jlong count) {
  const double bytes = double(qvimdatasize(uint32_t(type))) * double(count);
  return bytes > 0 && bytes < 0x1p64 ? uint64_t(qvimdatasize(uint32_t(type))) * uint64_t(count) : 0;
}

uint8_t *bytes_at(jlong address, jlong offset) { return reinterpret_cast<uint8_t *>(address) + offset; }

// Values lie at any address.
template <class Value>
Value load_at(jlong address, jlong offset) {
  Value value = 0;
  if (address) std::memcpy(&value, bytes_at(address, offset), sizeof value);
  return value;
}
template <class Value>
void store_at(jlong address, jlong offset, Value value) {
  if (address) std::memcpy(bytes_at(address, offset), &value, sizeof value);
}

// The source reference of a record; null where there is no such slot.
uint8_t *reference(jlong record, jint index) {
  if (!record || uint32_t(index) >= filter_slots) return nullptr;
  return bytes_at(record, offsetof(qvimage, source)) + sizeof(jlong) * uint32_t(index);
}
jlong referenced(jlong record, jint index) {
  const uint8_t *slot = reference(record, index);
  jlong value = 0;
  if (slot) std::memcpy(&value, slot, sizeof value);
  return value;
}

jstring text_or_null(JNIEnv *env, const char *text) { return text ? new_string(env, text) : nullptr; }

// Pixels of so many bytes as integers: the first byte lowest, all bits of the highest byte set.
template <int bytes>
void pack(JNIEnv *env, jbyteArray source, jintArray destination, jint offset, jint wanted) {
  if (!source || !destination || offset < 0) return;
  const jint room = env->GetArrayLength(destination) - offset;
  const jint count = std::min({wanted, env->GetArrayLength(source) / bytes, room});
  if (count <= 0) return;
  const critical_elements from(env, source, purpose::read), to(env, destination, purpose::write);
  if (!from || !to) return;
  const uint8_t *pixel = from.bytes();
  uint8_t *out = to.bytes() + sizeof(jint) * size_t(offset);
  for (jint i = 0; i < count; i++, pixel += bytes, out += sizeof(jint)) {
    const uint32_t value = pixel[0] | uint32_t{pixel[1]} << 8 | uint32_t{pixel[2]} << 16 | 0xFF000000;
    std::memcpy(out, &value, sizeof value);
  }
}

template <class Dim>
void show_record(JNIEnv *env, jobject self, const char *name, jlong address) {
  native_call(
      env, name,
      [&] {
        if (self && address) show<Dim>(env, self, reinterpret_cast<const record<Dim> *>(address));
      },
      address);
}

}  // namespace

jstring Java_Jqverrno_mesg(JNIEnv *env, jobject, jint code) {
  return native_call(
      env, "Jqverrno_mesg", [&] { return code < 0 ? new_string(env, qverrnomesg(code)) : nullptr; }, code);
}

jstring Java_Jqvimage_peerVersionId(JNIEnv *env, jobject, jint id) {
  constexpr jint version = 0, logging = 2;
  return native_call(
      env, "Jqvimage_peerVersionId",
      [&] {
        if (id == logging)
          liblog_setup(0x100 | LIBLOG_REGISTER | LIBLOG_ENABLE | LIBLOG_HEADER, nullptr,
                       "SOFTWARE\\QUORLAN\\DRAVO", "JQVIMAGEPEERLOG", 0);
        return id == version ? new_string(env, QVIM_VERSION_TEXT) : nullptr;
      },
      id);
}

jint Java_Jqvimage_peerHeapStatus(JNIEnv *env, jobject) {
  return native_call(env, "Jqvimage_peerHeapStatus", [] { return jint{0}; });
}

jint Java_Jqvimage_pixelptrsize(JNIEnv *env, jobject) {
  return native_call(env, "Jqvimage_pixelptrsize", [] { return jint{sizeof(void *)}; });
}

jint Java_Jqvimage_pixelsize(JNIEnv *env, jobject, jint type) {
  return native_call(
      env, "Jqvimage_pixelsize", [&] { return jint{qvimdatasize(uint32_t(type))}; }, type);
}

jint Java_Jqvimage_csize(JNIEnv *env, jobject) {
  return native_call(env, "Jqvimage_csize", [] { return jint{sizeof(qvimage)}; });
}
jint Java_Jqvimage3_csize(JNIEnv *env, jobject) {
  return native_call(env, "Jqvimage3_csize", [] { return jint{sizeof(qvimage3)}; });
}

jlong Java_Jqvimage_pixelalloc(JNIEnv *env, jobject, jint type, jlong count) {
  return native_call(
      env, "Jqvimage_pixelalloc",
      [&] {
        void *const made = qvmallocz(bytes_of(type, count));
        if (!made) thrown(env, QVERR_MEMORY, "Jqvimage_pixelmalloc");
        return reinterpret_cast<jlong>(made);
      },
      type, count);
}

void Java_Jqvimage_pixelfree(JNIEnv *env, jobject, jlong address) {
  native_call(
      env, "Jqvimage_pixelfree", [&] { qvfree(bytes_at(address, 0)); }, address);
}

void Java_Jqvimage_pixelcopy(JNIEnv *env, jobject, jlong destination, jlong source, jint type, jlong count) {
  native_call(
      env, "Jqvimage_pixelcopy",
      [&] {
        if (destination && source)
          std::memmove(bytes_at(destination, 0), bytes_at(source, 0), bytes_of(type, count));
      },
      destination, source, type, count);
}

void Java_Jqvimage_pixelzero(JNIEnv *env, jobject, jlong address, jlong offset, jlong length) {
  native_call(
      env, "Jqvimage_pixelzero",
      [&] {
        if (address && length > 0) std::memset(bytes_at(address, offset), 0, size_t(length));
      },
      address, offset, length);
}

void Java_Jqvimage_pixelsetint(JNIEnv *env, jobject, jlong address, jlong offset, jint value) {
  native_call(
      env, "Jqvimage_pixelsetint", [&] { store_at(address, offset, value); }, address, offset, value);
}
void Java_Jqvimage_pixelsetlong(JNIEnv *env, jobject, jlong address, jlong offset, jlong value) {
  native_call(
      env, "Jqvimage_pixelsetlong", [&] { store_at(address, offset, value); }, address, offset, value);
}
jint Java_Jqvimage_pixelgetint(JNIEnv *env, jobject, jlong address, jlong offset) {
  return native_call(
      env, "Jqvimage_pixelgetint", [&] { return load_at<jint>(address, offset); }, address, offset);
}
jlong Java_Jqvimage_pixelgetlong(JNIEnv *env, jobject, jlong address, jlong offset) {
  return native_call(
      env, "Jqvimage_pixelgetlong", [&] { return load_at<jlong>(address, offset); }, address, offset);
}

void Java_Jqvimage_setfilterip(JNIEnv *env, jobject, jlong record, jlong source, jint index) {
  native_call(
      env, "Jqvimage_setfilterip",
      [&] {
        if (uint8_t *slot = source ? reference(record, index) : nullptr)
          std::memcpy(slot, &source, sizeof source);
      },
      record, source, index);
}
jlong Java_Jqvimage_getfilterip(JNIEnv *env, jobject, jlong record, jint index) {
  return native_call(
      env, "Jqvimage_getfilterip", [&] { return referenced(record, index); }, record, index);
}
jboolean Java_Jqvimage_isfilterstack(JNIEnv *env, jobject, jlong record, jint index) {
  return native_call(
      env, "Jqvimage_isfilterstack",
      [&] {
        const jlong value = referenced(record, index);
        return jboolean(value >= -128 && value <= -1);
      },
      record, index);
}

void Java_Jqvimage_CtoJ(JNIEnv *env, jobject self, jlong record) {
  show_record<two_d>(env, self, "Jqvimage_CtoJ", record);
}
void Java_Jqvimage3_CtoJ(JNIEnv *env, jobject self, jlong record) {
  show_record<three_d>(env, self, "Jqvimage3_CtoJ", record);
}

void Java_Jqvimage_RGBToAwt(JNIEnv *env, jobject, jbyteArray source, jintArray destination, jint offset,
                            jint count) {
  native_call(
      env, "Jqvimage_RGBToAwt", [&] { pack<3>(env, source, destination, offset, count); }, offset, count);
}
void Java_Jqvimage_RGBXToAwt(JNIEnv *env, jobject, jbyteArray source, jintArray destination, jint offset,
                             jint count) {
  native_call(
      env, "Jqvimage_RGBXToAwt", [&] { pack<4>(env, source, destination, offset, count); }, offset, count);
}

jint Java_Jqvimage_qvimdatasupported(JNIEnv *env, jobject self, jint datatype) {
  return on_record<two_d>(
      env, self, "Jqvimage_qvimdatasupported",
      [](auto &own, jint asked) {
        return jint{qvimdatasupportedwoutconversion(own.get(), uint32_t(asked)) != 0};
      },
      datatype);
}
jint Java_Jqvimage3_qvimdatasupported(JNIEnv *env, jobject self, jint datatype) {
  return on_record<three_d>(
      env, self, "Jqvimage3_qvimdatasupported",
      [](auto &own, jint asked) {
        return jint{qvim3datasupportedwoutconversion(own.get(), uint32_t(asked)) != 0};
      },
      datatype);
}

jstring Java_Jqvimage_hinttostring(JNIEnv *env, jobject, jint hint) {
  return native_call(
      env, "Jqvimage_hinttostring", [&] { return text_or_null(env, qvimhinttostring(hint)); }, hint);
}
jstring Java_Jqvimage_unittostring(JNIEnv *env, jobject, jint unit) {
  return native_call(
      env, "Jqvimage_unittostring", [&] { return text_or_null(env, qvimunittostring(unit)); }, unit);
}
