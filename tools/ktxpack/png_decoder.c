// The one implementation of the header-only PNG decoder, with the same settings as its user has.
#define STBI_ONLY_PNG
#define STBI_NO_STDIO
#define STB_IMAGE_IMPLEMENTATION
#include <stb_image.h>
