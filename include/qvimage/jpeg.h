/* JPEG files: baseline (sequential DCT, Huffman codes), 8-bit samples, one component or three without
 * subsampling. The public interface of writer and reader is below the tables. */
#ifndef QVIMAGE_JPEG_H
#define QVIMAGE_JPEG_H

#include <qvimage/bufio.h>
#include <qvimage/fileinfo.h>
#include <qvimage/record.h>

QVIM_BEGIN_DECLS

/* The Huffman codes that the writer uses, Tables K.3 to K.6 of ISO/IEC 10918-1: code and length in bits by
 * symbol; length 0 where there is no code. Symbols of the DC tables are the bits of a difference (0 to 11);
 * those of the AC tables have the zeros before a coefficient in the high four bits and the coefficient's bits
 * in the low four. */
extern const uint16_t huffCodeLumaDC[12], huffSizeLumaDC[12], huffCodeLumaAC[256], huffSizeLumaAC[256];
extern const uint16_t huffCodeChromaDC[12], huffSizeChromaDC[12], huffCodeChromaAC[256], huffSizeChromaAC[256];

QVIM_END_DECLS

#endif
