// Lets the kernel source compile twice: by nvcc into the PTX the library
// carries, and by a host C++ compiler into the CPU stand-in driver that the
// tests load. On the host, a kernel is an ordinary function run once per
// thread of the grid; the launcher sets the thread coordinates below before
// each call.
#pragma once

#if defined(__CUDACC__)

#define KRO_KERNEL extern "C" __global__
#define KRO_DEVICE static __device__ __forceinline__
#define KRO_DEVICE_OUTOFLINE __device__ __noinline__

#else

#include <math.h>

#define __device__
#define KRO_KERNEL extern "C"
#define KRO_DEVICE static inline
#define KRO_DEVICE_OUTOFLINE

struct KroDim3 {
    unsigned x, y, z;
};
// The coordinates of the thread being run, set by the stand-in's launcher.
extern thread_local KroDim3 threadIdx, blockIdx, blockDim, gridDim;

struct float4 {
    float x, y, z, w;
};
static inline float4 make_float4(float x, float y, float z, float w) { return float4{x, y, z, w}; }

#endif
