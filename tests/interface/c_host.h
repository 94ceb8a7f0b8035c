/* What the C host offers to the C++ tests. */
#ifndef KORU_TEST_C_HOST_H
#define KORU_TEST_C_HOST_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

size_t CHost_GetRecordBytes(void);

/* 1 and the first pixel of an ".astc" file in memory, or 0. */
int CHost_GetFirstPixel(const unsigned char* data, unsigned size, unsigned char rgba[4]);

/* The sum of the results of all twelve functions on null arguments. */
int CHost_CallAllWithNull(void);

#ifdef __cplusplus
}
#endif

#endif
