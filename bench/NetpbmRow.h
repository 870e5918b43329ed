/* netpbm's PackBits encoder, called from a file in C: its header cannot be included in C++. */
#ifndef BENCH_NETPBMROW_H
#define BENCH_NETPBMROW_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The most bytes that a packed row can have. */
size_t MostNetpbmBytes(size_t rowBytes);

/* Packs a row and answers how many bytes it became. */
size_t PackNetpbmRow(const unsigned char* row, size_t rowBytes, unsigned char* codes);

#ifdef __cplusplus
}
#endif

#endif
