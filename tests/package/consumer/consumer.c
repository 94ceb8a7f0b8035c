/* A plain C99 host: loads a one-block ASTC image of one color from memory. */
#include <korutex.h>
#include <stdio.h>

/* Header of a 4 x 4 image, then a block that gives one 16-bit color to all its pixels. */
static const uint8_t file[32] = {0x13, 0xAB, 0xA1, 0x5C, 4,    4,    1,    4,    0,    0,    4,
                                 0,    0,    1,    0,    0,    0xFC, 0xFD, 0xFF, 0xFF, 0xFF, 0xFF,
                                 0xFF, 0xFF, 0x00, 0x00, 0xFF, 0xFF, 0x33, 0x33, 0xFF, 0xFF};

int main(void) {
    static const uint8_t color[4] = {0x00, 0xFF, 0x33, 0xFF};
    static const KORU_Char missing[] = {'?', '/', 'n', 'o', 'n', 'e', 0};
    KORU_Image* image;
    uint32_t i;
    int correct;

    KORU_Init();
    if (KORU_Load_KTX_From_File(missing, 0) != NULL) {
        puts("a missing file was loaded");
        return 1;
    }
    image = KORU_Load_ASTC_From_Memory(file, sizeof file, KORU_FLAG_RGBA);
    if (image == NULL) {
        puts("the image was not loaded");
        return 2;
    }
    correct =
        image->width == 4 && image->height == 4 && image->stride == 16 && image->dataSize == 64;
    for (i = 0; correct && i < image->dataSize; ++i) {
        correct = image->pixels[i] == color[i % 4];
    }
    KORU_Delete_Image(image);
    KORU_Exit();
    puts(correct ? "korutex " KORU_VERSION_STRING " works" : "the pixels are wrong");
    return correct ? 0 : 3;
}
