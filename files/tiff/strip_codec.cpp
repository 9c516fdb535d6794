// The codec of a page's strips, chosen by its Compression.
#include "files/tiff/strip_codec.hpp"

#include <limits>

#include <qvimage/error.h>

namespace qvim::tiff {

namespace {

int32_t start_lzw(void **state, const row_form &) { return ptiflzw_stateinit(state, nullptr); }

int32_t start_packbits(void **state, const row_form &r) {
  if (r.bytes() > uint64_t(std::numeric_limits<int32_t>::max())) return QVERR_USAGE;
  const int32_t bytes = int32_t(r.bytes());
  return ptifpabi_stateinit(state, &bytes);
}

int32_t start_arithmetic(void **state, const row_form &r) {
  const ptifprar_params params{int32_t(r.bits), int32_t(r.width), int32_t(r.samples)};
  return ptifprar_stateinit(state, &params);
}

}  // namespace

const strip_codec::operations strip_codec::all[] = {
    {lzw, start_lzw, ptiflzw_statereset, ptiflzw_statedone, ptiflzw_encode, ptiflzw_decode},
    {packbits, start_packbits, ptifpabi_statereset, ptifpabi_statedone, ptifpabi_encode, ptifpabi_decode},
    {arithmetic, start_arithmetic, ptifprar_statereset, ptifprar_statedone, ptifprar_encode, ptifprar_decode},
};

int32_t strip_codec::start(uint32_t compression, const row_form &r) {
  stop();
  if (compression == uncompressed) return 0;
  for (const operations &candidate : all) {
    if (candidate.compression != compression) continue;
    const int32_t code = candidate.start(&state_, r);
    if (code >= 0) operations_ = &candidate;
    return code;
  }
  return QVERR_UNSUPPORTED;
}

void strip_codec::stop() {
  if (operations_) operations_->stop(&state_);
  operations_ = nullptr;
}

}  // namespace qvim::tiff
