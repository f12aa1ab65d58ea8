#pragma once

#include <stddef.h>
#include <stdint.h>

/* BLAKE3 in its plain hashing mode with the default 32-byte output, as published by O'Connor, Aumasson, Neves and
 * Wilcox-O'Hearn ("BLAKE3: one function, fast everywhere", 2020). The names below are those of the paper.
 *
 * A context is used by one thread at a time; no function but tf_blake3_create allocates. */

#ifdef __cplusplus
extern "C" {
#endif

typedef struct tf_blake3 tf_blake3;

/* A fresh context, owned by the caller until tf_blake3_destroy, or null when there is no memory for it. */
tf_blake3* tf_blake3_create(void);

/* Absorbs `length` bytes. Does nothing when the context or the data is null. */
void tf_blake3_update(tf_blake3* context, const void* data, size_t length);

/* Writes the digest of everything absorbed so far, 32 bytes: zero bytes when the context is null. Does nothing when
 * `output` is null. The context is unchanged: it may be finalized again, and absorb more. */
void tf_blake3_finalize(const tf_blake3* context, uint8_t* output);

/* Overwrites the context with zero bytes and frees it. Ignores null. */
void tf_blake3_destroy(tf_blake3* context);

/* The compression function: `chaining_value` has 8 words, `message` and `output` have 16. The first 8 words of the
 * output are the next chaining value, or the digest. */
void tf_b3_compress(const uint32_t* chaining_value, const uint32_t* message, uint64_t counter, uint32_t block_length,
                    uint32_t flags, uint32_t* output);

#ifdef __cplusplus
}
#endif
