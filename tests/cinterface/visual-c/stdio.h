#ifndef VISUAL_C_STDIO_H
#define VISUAL_C_STDIO_H

/* What product.c needs of the C library of Visual C++, which cannot be had on this system: the Universal C Runtime, as its
   programs call it. */

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>

typedef struct FILE FILE;
FILE* __acrt_iob_func(unsigned number);
#define stdin __acrt_iob_func(0)
#define stdout __acrt_iob_func(1)

int __stdio_common_vfprintf(uint64_t options, FILE* file, const char* format, void* locale, va_list arguments);
int fflush(FILE* file);
char* fgets(char* text, int size, FILE* file);

static inline int printf(const char* format, ...) {
    va_list arguments;
    int written;
    va_start(arguments, format);
    written = __stdio_common_vfprintf(0, stdout, format, 0, arguments);
    va_end(arguments);
    return written;
}

#endif
