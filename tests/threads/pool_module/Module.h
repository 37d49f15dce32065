#pragma once

// What a library shows that makes and drops objects of a pooled type. It is built twice, and each has a copy
// of the pool's code.

#define POOL_MODULE_API extern "C" __attribute__((visibility("default")))

POOL_MODULE_API void* make();
POOL_MODULE_API void drop(void* object);
POOL_MODULE_API void* stack();
POOL_MODULE_API const void* code();
