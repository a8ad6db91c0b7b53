// spandsp's codec behind two functions, because its headers do not compile as C++.
#pragma once

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
void spandspEncode(uint8_t* codes, const int16_t* samples, size_t count);
void spandspDecode(int16_t* samples, const uint8_t* codes, size_t count);
#ifdef __cplusplus
}
#endif
