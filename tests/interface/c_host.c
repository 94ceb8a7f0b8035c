/* A C99 host: the header compiles, the record has the layout it promises, calls link. */
#include "c_host.h"

#include <korutex.h>
#include <stddef.h>

/* C99 has no static assertion; an array of -1 elements stops the compiler all the same. */
#define PIN_OFFSET(field, at) typedef char pin_##field[offsetof(KORU_Image, field) == (at) ? 1 : -1]

PIN_OFFSET(width, 0);
PIN_OFFSET(height, 4);
PIN_OFFSET(bitsPerPixel, 8);
PIN_OFFSET(bytesPerPixel, 12);
PIN_OFFSET(bitsPerChannel, 16);
PIN_OFFSET(dataSize, 20);
PIN_OFFSET(stride, 24);
PIN_OFFSET(rowPadding, 28);
PIN_OFFSET(reservedA, 32);
PIN_OFFSET(reservedB, 36);
PIN_OFFSET(reservedC, 40);
PIN_OFFSET(reservedD, 48);
PIN_OFFSET(pixels, 56);
typedef char pin_size[sizeof(KORU_Image) == 64 ? 1 : -1];
typedef char pin_char[sizeof(KORU_Char) == 2 ? 1 : -1];

size_t CHost_GetRecordBytes(void) { return sizeof(KORU_Image); }

int CHost_GetFirstPixel(const unsigned char* data, unsigned size, unsigned char rgba[4]) {
    KORU_Image* image;
    int i;
    KORU_Init();
    image = KORU_Load_ASTC_From_Memory(data, size, KORU_FLAG_RGBA);
    if (image == NULL) return 0;
    for (i = 0; i < 4; ++i) rgba[i] = image->pixels[i];
    KORU_Delete_Image(image);
    KORU_Exit();
    return 1;
}

int CHost_CallAllWithNull(void) {
    int results = 0;
    results += KORU_Load_ASTC_From_File(NULL, 0) != NULL;
    results += KORU_Load_KTX_From_File(NULL, 0) != NULL;
    results += KORU_Load_PVR_From_File(NULL, 0) != NULL;
    results += KORU_Load_ASTC_From_Memory(NULL, 16, 0) != NULL;
    results += KORU_Load_KTX_From_Memory(NULL, 16, 0) != NULL;
    results += KORU_Load_PVR_From_Memory(NULL, 16, 0) != NULL;
    results += KORU_Write_ASTC_To_File(NULL, NULL);
    results += KORU_Write_KTX_To_File(NULL, NULL);
    results += KORU_Write_PVR_To_File(NULL, NULL);
    KORU_Delete_Image(NULL);
    return results;
}
