#include "planes.h"

#include <climits>
#include <sstream>

namespace krocolor_py {
namespace {

std::string shapeText(const std::vector<py::ssize_t>& dims) {
    std::ostringstream s;
    s << '(';
    for (size_t i = 0; i < dims.size(); ++i) s << (i ? ", " : "") << dims[i];
    if (dims.size() == 1) s << ',';
    s << ')';
    return s.str();
}

std::vector<py::ssize_t> dimsOf(const PlaneShape& p) {
    if (p.channels == 1) return {p.rows, p.cols};
    return {p.rows, p.cols, p.channels};
}

std::string describeArray(const py::array& a) {
    std::vector<py::ssize_t> shape(a.shape(), a.shape() + a.ndim());
    std::vector<py::ssize_t> strides(a.strides(), a.strides() + a.ndim());
    return "shape " + shapeText(shape) + ", dtype " + py::str(a.dtype()).cast<std::string>() + ", strides " +
           shapeText(strides);
}

}  // namespace

std::string SideLayout::expected(size_t plane) const {
    return "a " + py::str(dtype).cast<std::string>() + " array of shape " + shapeText(dimsOf(planes[plane])) +
           " with contiguous samples in each row";
}

SideLayout hostLayout(const krocolor::PixelFormatInfo& f, int width, int height, const char* side) {
    using krocolor::ColorModel;
    using krocolor::Memory;
    if (f.memory != Memory::Host || f.model == ColorModel::Bytes || f.model == ColorModel::Texture)
        throw py::value_error(std::string(side) + " format " + f.name +
                              " is not a host frame format (see krocolor.formats())");
    krocolor::FrameGeometry g;
    std::string why;
    if (!krocolor::computeGeometry(f, width, height, g, why)) throw py::value_error(std::string(side) + ": " + why);
    SideLayout s;
    s.format = &f;
    s.width = width;
    s.height = height;
    for (int p = 0; p < f.planeCount; ++p) {
        PlaneShape shape;
        shape.rows = g.planeHeight[p];
        shape.cols = g.planeWidth[p];
        shape.channels = f.planes[p].interleave;
        shape.rowBytes = static_cast<size_t>(g.rowBytes[p]);
        s.planes.push_back(shape);
    }
    s.dtype = f.bytesPerSample == 1 ? py::dtype("u1") : py::dtype(f.bigEndian ? ">u2" : "<u2");
    return s;
}

PlaneRefs checkPlanes(const SideLayout& layout, py::handle arrays, const char* side, bool writable,
                      std::vector<py::array>& keep) {
    const size_t count = layout.planes.size();
    std::vector<py::handle> items;
    if (py::isinstance<py::array>(arrays)) {
        items.push_back(arrays);
    } else if (py::isinstance<py::sequence>(arrays) && !py::isinstance<py::str>(arrays)) {
        for (py::handle item : py::reinterpret_borrow<py::sequence>(arrays)) items.push_back(item);
    } else {
        throw py::type_error(std::string(side) + ": expected a sequence of " + std::to_string(count) +
                             " NumPy arrays, one per plane of " + layout.format->name);
    }
    if (items.size() != count)
        throw py::value_error(std::string(side) + ": " + layout.format->name + " has " + std::to_string(count) +
                              " plane" + (count == 1 ? "" : "s") + ", got " + std::to_string(items.size()) +
                              " array" + (items.size() == 1 ? "" : "s"));
    PlaneRefs refs;
    refs.count = count;
    for (size_t p = 0; p < count; ++p) {
        const PlaneShape& want = layout.planes[p];
        // The message is built only on failure: it costs more than the checks.
        auto where = [&] {
            return std::string(side) + " plane " + std::to_string(p) + ": expected " + layout.expected(p);
        };
        if (!py::isinstance<py::array>(items[p]))
            throw py::value_error(where() + ", got a " + py::str(py::type::of(items[p])).cast<std::string>());
        py::array a = py::reinterpret_borrow<py::array>(items[p]);
        const bool is3d = want.channels > 1;
        const py::ssize_t item = layout.dtype.itemsize();
        bool fits = a.dtype().is(layout.dtype) || a.dtype().equal(layout.dtype);
        fits = fits && a.ndim() == (is3d ? 3 : 2) && a.shape(0) == want.rows && a.shape(1) == want.cols &&
               (!is3d || a.shape(2) == want.channels);
        // Samples of a row must lie side by side; rows may be any distance
        // apart (a view of a wider array), but in order and within int range.
        fits = fits && (is3d ? a.strides(2) == item && a.strides(1) == item * want.channels : a.strides(1) == item);
        fits = fits && (want.rows == 1 || (a.strides(0) >= static_cast<py::ssize_t>(want.rowBytes) &&
                                           a.strides(0) <= INT_MAX));
        if (!fits) throw py::value_error(where() + ", got " + describeArray(a));
        if (writable && !a.writeable()) throw py::value_error(where() + ", got a read-only array");
        refs.planes[p] = static_cast<const uint8_t*>(a.data());
        refs.strides[p] = want.rows == 1 ? static_cast<int>(want.rowBytes) : static_cast<int>(a.strides(0));
        keep.push_back(std::move(a));
    }
    return refs;
}

std::vector<py::array> allocatePlanes(const SideLayout& layout) {
    std::vector<py::array> out;
    for (const PlaneShape& p : layout.planes) out.emplace_back(layout.dtype, dimsOf(p));
    return out;
}

bool hasRowPadding(const SideLayout& layout, const PlaneRefs& refs) {
    for (size_t p = 0; p < refs.count; ++p)
        if (static_cast<size_t>(refs.strides[p]) != layout.planes[p].rowBytes) return true;
    return false;
}

}  // namespace krocolor_py
