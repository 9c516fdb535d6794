/* Strip codecs: LZW, PackBits and predictive arithmetic coding, as resumable streams. */
#ifndef QVIMAGE_CODEC_H
#define QVIMAGE_CODEC_H

#include <qvimage/base.h>

QVIM_BEGIN_DECLS

typedef struct codecstream {        /* 48 bytes, natural alignment (not said to be packed) */
  uint32_t       bitacc;            /*  0 */
  int32_t        bitcnt;            /*  4 */
  uint8_t       *next;              /*  8 */
  uint8_t       *end;               /* 16 */
  uint64_t       count;             /* 24 */
  uint8_t       *start;             /* 32 */
  int32_t        more;              /* 40 */
} codecstream;
QVIM_ASSERT(sizeof(codecstream) == 48);

typedef struct { int32_t bits, width, samples; } ptifprar_params;    /* "a record of three 32-bit integers" */
int32_t ptiflzw_stateinit(void **state, const void *unused);
int32_t ptiflzw_statereset(void *state);   void ptiflzw_statedone(void **state);
int32_t ptiflzw_encode(void *state, codecstream *in, codecstream *out);
int32_t ptiflzw_decode(void *state, codecstream *in, codecstream *out);
int32_t ptifpabi_stateinit(void **state, const int32_t *rowbytes);
int32_t ptifpabi_statereset(void *state);  void ptifpabi_statedone(void **state);
int32_t ptifpabi_encode(void *state, codecstream *in, codecstream *out);
int32_t ptifpabi_decode(void *state, codecstream *in, codecstream *out);
int32_t ptifprar_stateinit(void **state, const ptifprar_params *params);
int32_t ptifprar_statereset(void *state);  void ptifprar_statedone(void **state);
int32_t ptifprar_encode(void *state, codecstream *in, codecstream *out);
int32_t ptifprar_decode(void *state, codecstream *in, codecstream *out);

QVIM_END_DECLS

#endif
