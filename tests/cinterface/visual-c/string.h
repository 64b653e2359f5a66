#ifndef VISUAL_C_STRING_H
#define VISUAL_C_STRING_H

#include <stddef.h>

void* memset(void* bytes, int value, size_t size);
int strcmp(const char* first, const char* second);
int strncmp(const char* first, const char* second, size_t size);
size_t strcspn(const char* text, const char* rejected);
char* strcpy(char* to, const char* from);

#endif
