// The two functions that the compiler may call on its own for structures.
#include <stddef.h>
#include <stdint.h>

void* memcpy(void* target, const void* source, size_t bytes) {
  uint8_t* to = target;
  const uint8_t* from = source;
  while (bytes-- > 0) *to++ = *from++;
  return target;
}

void* memset(void* target, int value, size_t bytes) {
  uint8_t* to = target;
  while (bytes-- > 0) *to++ = (uint8_t)value;
  return target;
}
