// How the NumPy arrays of one side of a conversion must look, read from the
// command line's format table, and the check that turns arrays into the
// plane pointer and stride arrays the library takes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <pybind11/numpy.h>

#include "pixel_formats.h"

namespace krocolor_py {

namespace py = pybind11;

// One plane as an array: rows x cols sample positions, `channels` samples
// interleaved per position (a 2-D array when 1, H x W x C otherwise).
struct PlaneShape {
    int rows = 0;
    int cols = 0;
    int channels = 1;
    size_t rowBytes = 0;
};

struct SideLayout {
    const krocolor::PixelFormatInfo* format = nullptr;
    int width = 0;
    int height = 0;
    std::vector<PlaneShape> planes;
    py::dtype dtype;  // uint8, '<u2' or '>u2' as the format stores its words

    std::string expected(size_t plane) const;  // "a uint8 array of shape (540, 960, 2)"
};

// Refuses (ValueError) formats that do not live in host memory, byte formats
// the frame conversions do not take, and sizes the library cannot address.
SideLayout hostLayout(const krocolor::PixelFormatInfo& format, int width, int height, const char* side);

// Pointers and byte strides of the arrays, checked against the layout.
struct PlaneRefs {
    const uint8_t* planes[4] = {};
    int strides[4] = {};
    size_t count = 0;
};

// `arrays` is a sequence with one array per plane, or a lone array for a
// one-plane format. Raises ValueError naming the side, the plane and the
// expected shape when an array does not fit; never copies.
PlaneRefs checkPlanes(const SideLayout& layout, py::handle arrays, const char* side, bool writable,
                      std::vector<py::array>& keep);

// Fresh arrays of the layout, rows tightly packed.
std::vector<py::array> allocatePlanes(const SideLayout& layout);

// Whether any plane's row stride exceeds the bytes of its samples.
bool hasRowPadding(const SideLayout& layout, const PlaneRefs& refs);

}  // namespace krocolor_py
