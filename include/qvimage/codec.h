/* Strip codecs: LZW, PackBits and predictive arithmetic coding, as resumable streams.
 *
 * The three codecs of TIFF strips have the same five operations. A state serves one image and, after each
 * reset, one strip in one direction; it is used by one thread at a time. The caller owns input and room; a
 * codec touches neither outside the bytes that the stream records offer, keeps no pointer into them between
 * calls, and may stop at any byte of either:
 *
 *   stateinit     Makes a state for rows as the parameters say. *state must be null before.
 *                 0; -1: null pointer, *state already set, a parameter out of range; -2: memory.
 *   statereset    Back to the beginning of a strip; also ends the failure of the strip before.
 *                 0; -1: null state; -2: memory.
 *   statedone     Frees everything and sets *state to null. Null pointers are fine.
 *   encode        Turns samples (`in`) into code (`out`).
 *                 1: all of the final input is consumed and the code is closed and written;
 *                 0: call again with more input or more room, whichever has run out.
 *   decode        Turns code (`in`) into samples (`out`).
 *                 1: the code has ended; 0: call again with more input or more room.
 *
 * encode and decode fail with -1 on a null state or record. A failure that concerns the strip (named with
 * each codec) is answered again by every call until statereset. What was written before a failure counts:
 * `out` tells. Bytes of the room behind the new `next` may have been overwritten.
 *
 *   codecstream in = {0}, out = {0};
 *   in.start = in.next = samples;  in.end = samples + size;            // more = 0: this is all
 *   out.next = room;  out.end = room + sizeof room;
 *   while ((code = ptiflzw_encode(state, &in, &out)) == 0) {           // full
 *     fwrite(room, 1, out.next - room, file);
 *     out.next = room;
 *   }
 *   // code 1: write the rest; out.count bytes in all */
#ifndef QVIMAGE_CODEC_H
#define QVIMAGE_CODEC_H

#include <qvimage/base.h>

QVIM_BEGIN_DECLS

/* One end of a codec. Zero both records at each strip, then set next and end (start, more) before each call;
 * count and the bits of a byte that is not complete carry on from call to call. */
typedef struct codecstream {
  uint32_t bitacc; /* bits that wait between calls: read and not used, or not yet a byte to write */
  int32_t bitcnt;  /* how many: bitacc's low ones, but see ptifprar_encode */
  uint8_t *next;   /* first byte to read or write; moved by the codec */
  uint8_t *end;    /* one behind the last byte offered; next at or behind it: none */
  uint64_t count;  /* bytes consumed or produced since the record was zeroed */
  uint8_t *start;  /* input of the PackBits encoder: where the rows offered begin */
  int32_t more;    /* input only: above 0 while further input follows this, else it is the last */
} codecstream;
QVIM_ASSERT(sizeof(codecstream) == 48);

/* LZW (TIFF Compression 5): codes of 9 to 12 bits, most significant bit first. A strip begins with Clear
 * (256) and ends with End of Information (257) and zero bits up to a whole byte. Where the encoder's table
 * keeps a string is a secret of the state, so that no input can make it slow; the code does not depend on it.
 * The state takes some 80 KiB and no other memory; parameters are ignored. A strip goes one way: calling the
 * other operation before statereset gives -1. */
int32_t ptiflzw_stateinit(void **state, const void *unused);
int32_t ptiflzw_statereset(void *state);
void ptiflzw_statedone(void **state);

/* The table starts anew when its 4094th code would be assigned. Input may come in any pieces. */
int32_t ptiflzw_encode(void *state, codecstream *in, codecstream *out);

/* Also reads strips without a first Clear. After the code has ended, bytes that follow are left alone.
 * -1: the final input ends without End of Information. A caller that has all its rows by then can ignore it.
 * -10: a code that the table does not hold, more strings than it holds, or a strip of the kind that very old
 * writers packed least significant bit first. */
int32_t ptiflzw_decode(void *state, codecstream *in, codecstream *out);

/* PackBits (TIFF Compression 32773): a header byte h, then h + 1 bytes as they are (h 0 to 127), or one byte
 * that comes 257 - h times (h 129 to 255), or nothing (h 128). *rowbytes: bytes of a row, at least 1. */
int32_t ptifpabi_stateinit(void **state, const int32_t *rowbytes);
int32_t ptifpabi_statereset(void *state);
void ptifpabi_statedone(void **state);

/* Codes each row by itself. The input of a call, start to end, is whole rows; `next` moves on by a row when
 * all of its code is written, so after a 0 for lack of room the row must be offered again, unchanged.
 * -1: the input is not whole rows. */
int32_t ptifpabi_encode(void *state, codecstream *in, codecstream *out);

/* Needs no rows. -10: the final input ends inside a run. */
int32_t ptifpabi_decode(void *state, codecstream *in, codecstream *out);

/* Predictive arithmetic coding (TIFF Compression 32885), lossless: each sample is predicted from its
 * neighbours to the left and above, and the difference is coded by an adaptive arithmetic coder
 * (<qvimage/arith.h>) with a model for each sample of a pixel. Samples take one byte up to 8 bits, else two,
 * least significant first; bits above the significant ones are ignored and decode as 0. */
typedef struct {
  int32_t bits;    /* significant bits of a sample, 1 to 12 */
  int32_t width;   /* pixels of a row, at least 1 */
  int32_t samples; /* samples of a pixel, 1 to 4 */
} ptifprar_params;

/* A state takes 2 bytes a sample of a row, and 8 bytes for each of the 2^bits values and each sample of a
 * pixel. */
int32_t ptifprar_stateinit(void **state, const ptifprar_params *params);
int32_t ptifprar_statereset(void *state);
void ptifprar_statedone(void **state);

/* When it answers 1, up to 7 bits fill no byte. They are the out->bitcnt highest of out->bitacc's low 8: if
 * there are any, the caller stores the strip's last byte as out->bitacc >> (8 - out->bitcnt). -1: the final
 * input ends inside a sample. */
int32_t ptifprar_encode(void *state, codecstream *in, codecstream *out);

/* Never answers 1: any bytes decode, and zero bits follow the final input, so the caller offers room for the
 * samples that it knows to be there. */
int32_t ptifprar_decode(void *state, codecstream *in, codecstream *out);

QVIM_END_DECLS

#endif
