/* Texts of the platform's result codes. */
#ifndef RCODE_H
#define RCODE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** @return the text of a result code with its number; static, good until the next call */
const char* rcode_format(uint32_t code);

/** @return the name of a result code; static, good until the next call */
const char* rcode2str(uint32_t code);

#ifdef __cplusplus
}
#endif

#endif
