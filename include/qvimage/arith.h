/* Adaptive arithmetic coder: symbols of changing frequency, coded in close to the least possible number of
 * bits.
 *
 * A coder state is one end of a code stream, for one direction. A model holds the frequencies of a set of
 * symbols 0, 1, 2 and so on; encoder and decoder keep equal models, which they update with each symbol.
 * Several models may take turns on one state. The code's bits fill bytes from the least significant bit on.
 *
 *   for (each symbol) {
 *     parth_encode(state, model, symbol);
 *     while (!parth_encodeout(state, &out)) make_room(&out);
 *   }
 *   parth_encode(state, model, -1);  // the end symbol
 *   while (!parth_encodeout(state, &out)) make_room(&out);
 *   if (out.bitcnt) *out.next++ = out.bitacc >> (8 - out.bitcnt);  // bits that fill no byte
 *
 *   do {
 *     while (!parth_decodein(state, &in)) get_input(&in);  // zeros behind the end
 *     symbol = parth_decode(state, model);
 *   } while (symbol >= 0);
 *
 * No code is invalid: any bytes decode to some symbols. A state or a model is used by one thread at a time.
 */
#ifndef QVIMAGE_ARITH_H
#define QVIMAGE_ARITH_H

#include <qvimage/codec.h>

QVIM_BEGIN_DECLS

/* Makes a state at the beginning of a stream. 0; -1 null pointer or *state already set; -2 memory. */
int32_t parth_stateinit(void **state);

/* Back to the beginning of a stream. 0; -1 null state. */
int32_t parth_statereset(void *state);

/* Frees the state and sets *state to null. Null pointers are fine, here and in parth_modeldone. */
void parth_statedone(void **state);

/* Makes a model of so many symbols, all of frequency 1, with one more, the end symbol, when withend is not 0.
 * When the frequencies' sum reaches max(2 x symbols, min(maxfreq, 16383)), end symbol counted, all are
 * halved; a low maxfreq follows changes faster. maxfreq 0: the model is static, no frequency changes by
 * itself.
 * 0; -1: null pointer, *model already set, no symbols, or more than 8191 with the end symbol; -2: memory. */
int32_t parth_modelinit(void **model, uint32_t symbols, int32_t maxfreq, int32_t withend);

/* Back to frequency 1 for all symbols. 0; -1 null model. */
int32_t parth_modelreset(void *model);
void parth_modeldone(void **model);

/* Codes a symbol and counts it; a negative one codes the end symbol and asks for the bits that end the code.
 * The output that it makes due must be taken (parth_encodeout) before the next symbol. 0; -1: null pointer,
 * no such symbol, one of frequency 0, or output is still due. */
int32_t parth_encode(void *state, void *model, int32_t symbol);

/* Stores all bytes that are complete. 1: nothing more is settled, or, after the end symbol, the code has
 * ended; 0: out is full, call again; -1 null pointer. Bits that fill no byte stay in out->bitacc and
 * out->bitcnt: they are the highest bitcnt ones of its 8. */
int32_t parth_encodeout(void *state, codecstream *out);

/* Takes the bits that the next symbol needs. 1: a symbol can be decoded; 0: the input ran out; -1 null
 * pointer. */
int32_t parth_decodein(void *state, codecstream *in);

/* The next symbol, which is counted. -1: the end symbol, a null pointer, or parth_decodein has not
 * answered 1. */
int32_t parth_decode(void *state, void *model);

/* Stores the symbol's frequency and the sum of all: its next code takes log2(total / freq) bits. A negative
 * symbol is the end symbol; either pointer may be null. 0; -1: null model or no such symbol. */
int32_t parth_symbolcost(void *model, int32_t symbol, uint32_t *freq_out, uint32_t *total_out);

/* Sets the frequencies from counts, one each symbol but the end symbol (which gets 1): counts if it is not
 * null, else counts32, else 1 each. They are scaled down when their sum passes the model's limit; none but 0
 * becomes 0. 0; -1: null model, or all counts are 0; -2: memory. */
int32_t parth_modelskew(void *model, const uint64_t *counts, const uint32_t *counts32);

/* Write and read the frequencies of all symbols, the end symbol last, as 14 bits each, least significant bit
 * first. restart not 0 begins, 0 continues. 1: done; 0: out is full, or the input ran out and more will
 * follow; -1: null pointer. parth_freqin also: -2: memory; -10: the final input is too short, or the sum of
 * the frequencies is 0 or passes the model's limit. The model changes only when all have been read. */
int32_t parth_freqout(void *model, codecstream *out, int32_t restart);
int32_t parth_freqin(void *model, codecstream *in, int32_t restart);

QVIM_END_DECLS

#endif
