/* Adaptive arithmetic coder. */
#ifndef QVIMAGE_ARITH_H
#define QVIMAGE_ARITH_H

#include <qvimage/codec.h>

QVIM_BEGIN_DECLS

int32_t parth_stateinit(void **state);
int32_t parth_statereset(void *state);
void    parth_statedone(void **state);
int32_t parth_modelinit(void **model, uint32_t symbols, int32_t maxfreq, int32_t withend);
int32_t parth_modelreset(void *model);
void    parth_modeldone(void **model);
int32_t parth_encode(void *state, void *model, int32_t symbol);
int32_t parth_encodeout(void *state, codecstream *out);
int32_t parth_decodein(void *state, codecstream *in);
int32_t parth_decode(void *state, void *model);
int32_t parth_symbolcost(void *model, int32_t symbol, uint32_t *freq_out, uint32_t *total_out);
int32_t parth_modelskew(void *model, const uint64_t *counts, const uint32_t *counts32);
int32_t parth_freqout(void *model, codecstream *out, int32_t restart);
int32_t parth_freqin(void *model, codecstream *in, int32_t restart);

QVIM_END_DECLS

#endif
