// The compiled half of the krocolor package: conversion objects working on
// NumPy planes, and the command line's format and colour-name tables. The
// Python half (krocolor/__init__.py) turns names and mappings into codes and
// gives the API its keyword form.
#include <chrono>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <KROColorFunctions.h>

#include "color_names.h"
#include "pixel_formats.h"
#include "planes.h"

namespace krocolor_py {
namespace {

using namespace KROCOLOR;

[[noreturn]] void raiseReturn(KROReturn rc) {
    py::object error = py::module_::import("krocolor._errors").attr("Error");
    PyErr_SetObject(error.ptr(), error(static_cast<int>(rc), queryKROReturn(rc)).ptr());
    throw py::error_already_set();
}

const krocolor::PixelFormatInfo& formatOf(const std::string& key) {
    const krocolor::PixelFormatInfo* f = krocolor::findPixelFormat(key);
    if (!f) throw py::value_error("unknown pixel format '" + key + "' (see krocolor.formats())");
    return *f;
}

krocolor::ColorKind kindOf(const std::string& kind) {
    for (auto k : {krocolor::ColorKind::Primaries, krocolor::ColorKind::Transfer, krocolor::ColorKind::Matrix,
                   krocolor::ColorKind::Range})
        if (kind == krocolor::colorKindName(k)) return k;
    throw py::value_error("unknown colour key '" + kind + "' (primaries, transfer, matrix or range)");
}

// A source whose rows are padded must not meet the library's whole-plane copy
// (same format, size and strides), which moves stride x rows bytes and so
// would touch memory outside a NumPy view. A tight copy of the source makes
// the strides differ; every other path touches only each row's samples.
struct TightCopy {
    std::vector<std::vector<uint8_t>> bytes;
    void make(const SideLayout& layout, PlaneRefs& refs) {
        for (size_t p = 0; p < refs.count; ++p) {
            const PlaneShape& s = layout.planes[p];
            bytes.emplace_back(s.rowBytes * static_cast<size_t>(s.rows));
            for (int y = 0; y < s.rows; ++y)
                std::memcpy(bytes.back().data() + s.rowBytes * y, refs.planes[p] + static_cast<size_t>(refs.strides[p]) * y,
                            s.rowBytes);
            refs.planes[p] = bytes.back().data();
            refs.strides[p] = static_cast<int>(s.rowBytes);
        }
    }
};

// Runs one transcode of `T` (colour, crop or rotate object) on NumPy planes.
template <typename T>
py::list runOnPlanes(T& object, std::mutex& lock, const SideLayout& src, const SideLayout& dst, py::handle planes,
                     py::handle out) {
    std::vector<py::array> keep;
    PlaneRefs in = checkPlanes(src, planes, "src", false, keep);
    std::vector<py::array> results = out.is_none() ? allocatePlanes(dst) : std::vector<py::array>{};
    PlaneRefs o = checkPlanes(dst, out.is_none() ? py::cast(results) : out, "out", true, results);
    TightCopy tight;
    KROReturn rc;
    {
        py::gil_scoped_release released;
        const bool sameShape = src.format == dst.format && src.width == dst.width && src.height == dst.height;
        if (sameShape && hasRowPadding(src, in) && std::memcmp(in.strides, o.strides, sizeof in.strides) == 0)
            tight.make(src, in);
        uint8_t* dstPlanes[4];
        for (size_t p = 0; p < 4; ++p) dstPlanes[p] = const_cast<uint8_t*>(o.planes[p]);
        std::lock_guard<std::mutex> guard(lock);
        rc = object.transcode(in.planes, in.strides, dstPlanes, o.strides);
    }
    if (rc != kKROSuccess) raiseReturn(rc);
    py::list list;
    // With `out` given the checked arrays were appended after the sources.
    for (size_t p = results.size() - dst.planes.size(); p < results.size(); ++p) list.append(results[p]);
    return list;
}

class Converter {
public:
    Converter(const std::string& srcKey, int srcW, int srcH, const std::string& dstKey, int dstW, int dstH,
              int hwType, const std::vector<int>& colors, bool keepSourceColor,
              const std::map<std::string, std::string>& metadata, py::object srcProfile, py::object dstProfile)
        : src_(hostLayout(formatOf(srcKey), srcW, srcH, "src")),
          dst_(hostLayout(formatOf(dstKey), dstW, dstH, "dst")) {
        if (colors.size() != 8) throw py::value_error("eight colour values expected");
        object_.reset(KROColorFunctions::create(srcW, srcH, static_cast<KROPixelFormat>(src_.format->code), dstW,
                                                dstH, static_cast<KROPixelFormat>(dst_.format->code)));
        if (!object_) throw std::bad_alloc();
        KROReturn rc = object_->setColorspaceDetails(
            static_cast<KROColorPrimaries>(colors[0]), static_cast<KROColorTransfer>(colors[1]),
            static_cast<KROColorMatrix>(colors[2]), static_cast<KROColorRange>(colors[3]),
            static_cast<KROColorPrimaries>(colors[4]), static_cast<KROColorTransfer>(colors[5]),
            static_cast<KROColorMatrix>(colors[6]), static_cast<KROColorRange>(colors[7]));
        if (rc != kKROSuccess) raiseReturn(rc);
        KROHWContext context;
        context.srcType = hwType;
        context.dstType = hwType;
        if ((rc = object_->setHWContext(context)) != kKROSuccess) raiseReturn(rc);
        object_->setKeepSourceColor(keepSourceColor);
        for (const auto& kv : metadata) object_->setMetaData(kv.first.c_str(), kv.second.c_str());
        if (!srcProfile.is_none() || !dstProfile.is_none()) {
            const std::string s = srcProfile.is_none() ? std::string() : srcProfile.cast<std::string>();
            const std::string d = dstProfile.is_none() ? std::string() : dstProfile.cast<std::string>();
            if ((rc = object_->setType(kKROProfileTypeICC)) != kKROSuccess) raiseReturn(rc);
            rc = object_->setICCProfile(reinterpret_cast<const uint8_t*>(s.data()), static_cast<int>(s.size()),
                                        reinterpret_cast<const uint8_t*>(d.data()), static_cast<int>(d.size()));
            if (rc != kKROSuccess) raiseReturn(rc);
        }
    }

    py::list convert(py::handle planes, py::handle out) { return runOnPlanes(*object_, lock_, src_, dst_, planes, out); }

    // Seconds for `count` transcodes of the same planes from C++ alone: the
    // baseline the binding's per-call cost is measured against.
    double transcodeLoop(py::handle planes, py::handle out, int count) {
        std::vector<py::array> keep;
        PlaneRefs in = checkPlanes(src_, planes, "src", false, keep);
        PlaneRefs o = checkPlanes(dst_, out, "out", true, keep);
        uint8_t* dstPlanes[4];
        for (size_t p = 0; p < 4; ++p) dstPlanes[p] = const_cast<uint8_t*>(o.planes[p]);
        py::gil_scoped_release released;
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < count; ++i) object_->transcode(in.planes, in.strides, dstPlanes, o.strides);
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }

    py::tuple srcShape() const { return py::make_tuple(src_.width, src_.height); }
    py::tuple dstShape() const { return py::make_tuple(dst_.width, dst_.height); }
    std::string srcFormat() const { return src_.format->name; }
    std::string dstFormat() const { return dst_.format->name; }

private:
    SideLayout src_, dst_;
    std::unique_ptr<KROColorFunctions> object_;
    std::mutex lock_;
};

// Size of a frame from its first plane, which is full resolution in every
// host format.
std::pair<int, int> sizeFromPlanes(py::handle planes) {
    py::handle first = py::isinstance<py::array>(planes) ? planes : planes[py::int_(0)];
    if (!py::isinstance<py::array>(first) || py::reinterpret_borrow<py::array>(first).ndim() < 2)
        throw py::value_error("src plane 0: expected a NumPy array with rows and columns");
    py::array a = py::reinterpret_borrow<py::array>(first);
    return {static_cast<int>(a.shape(1)), static_cast<int>(a.shape(0))};
}

py::list crop(py::handle planes, const std::string& key, int x, int y, int width, int height, py::handle out) {
    const auto [w, h] = sizeFromPlanes(planes);
    const auto& f = formatOf(key);
    SideLayout src = hostLayout(f, w, h, "src");
    std::unique_ptr<KROCropFunctions> object(
        KROCropFunctions::create(w, h, static_cast<KROPixelFormat>(f.code), x, y, width, height));
    if (!object) throw py::value_error("crop rectangle " + std::to_string(width) + "x" + std::to_string(height) +
                                       "+" + std::to_string(x) + "+" + std::to_string(y) + " is empty or not inside " +
                                       std::to_string(w) + "x" + std::to_string(h));
    std::mutex lock;
    return runOnPlanes(*object, lock, src, hostLayout(f, width, height, "dst"), planes, out);
}

py::list rotate(py::handle planes, const std::string& key, int orientation, py::handle out) {
    const auto [w, h] = sizeFromPlanes(planes);
    const auto& f = formatOf(key);
    SideLayout src = hostLayout(f, w, h, "src");
    std::unique_ptr<KRORotateFunctions> object(
        KRORotateFunctions::create(w, h, static_cast<KROPixelFormat>(f.code), orientation));
    if (!object) throw py::value_error("orientation " + std::to_string(orientation) + " is not an EXIF orientation (1-8)");
    int dw = 0, dh = 0;
    object->getDstWH(&dw, &dh);
    std::mutex lock;
    return runOnPlanes(*object, lock, src, hostLayout(f, dw, dh, "dst"), planes, out);
}

py::bytes embeddedProfile(const std::string& which) {
    if (which == "displayp3")
        return py::bytes(reinterpret_cast<const char*>(KROColorFunctions::getDisplayP3ICCProfile()),
                         KROColorFunctions::getDisplayP3ICCProfileSize());
    if (which == "adobergb")
        return py::bytes(reinterpret_cast<const char*>(KROColorFunctions::getAdobeRGBICCProfile()),
                         KROColorFunctions::getAdobeRGBICCProfileSize());
    throw py::value_error("no embedded profile '" + which + "'");
}

py::list formatTable() {
    static const char* memory[] = {"host", "gl", "cuda", "d3d11"};
    py::list rows;
    for (const auto& f : krocolor::pixelFormats())
        rows.append(py::make_tuple(f.code, f.name, f.aliases, memory[static_cast<int>(f.memory)],
                                   static_cast<int>(f.planeCount), static_cast<int>(f.depth),
                                   static_cast<int>(f.bytesPerSample), krocolor::subsamplingText(f), f.summary));
    return rows;
}

py::list colorTable() {
    py::list rows;
    for (const auto& n : krocolor::colorNames())
        rows.append(py::make_tuple(krocolor::colorKindName(n.kind), n.code, n.name, n.aliases, n.summary));
    return rows;
}

}  // namespace
}  // namespace krocolor_py

PYBIND11_MODULE(_krocolor, m) {
    using namespace krocolor_py;
    m.doc() = "Compiled part of krocolor; use the krocolor package.";
    py::class_<Converter>(m, "Converter")
        .def(py::init<const std::string&, int, int, const std::string&, int, int, int, const std::vector<int>&, bool,
                      const std::map<std::string, std::string>&, py::object, py::object>())
        .def("convert", &Converter::convert, py::arg("planes"), py::arg("out") = py::none())
        .def("transcode_loop", &Converter::transcodeLoop)
        .def_property_readonly("src_size", &Converter::srcShape)
        .def_property_readonly("dst_size", &Converter::dstShape)
        .def_property_readonly("src_format", &Converter::srcFormat)
        .def_property_readonly("dst_format", &Converter::dstFormat);
    m.def("crop", &crop);
    m.def("rotate", &rotate);
    m.def("embedded_profile", &embeddedProfile);
    m.def("formats", &formatTable);
    m.def("colors", &colorTable);
    m.def("format_name", [](const std::string& key) { return std::string(formatOf(key).name); });
    m.def("parse_color", [](const std::string& kind, const std::string& text) {
        int code = 0;
        if (!krocolor::parseColorValue(kindOf(kind), text, code))
            throw py::value_error("unknown " + kind + " '" + text + "' (see krocolor.colors())");
        return code;
    });
    m.def("lab", [](int primaries, int transfer, float r, float g, float b) {
        float L = 0, A = 0, B = 0;
        KROCOLOR::convertToLab(static_cast<KROCOLOR::KROColorPrimaries>(primaries),
                               static_cast<KROCOLOR::KROColorTransfer>(transfer), r, g, b, &L, &A, &B);
        return py::make_tuple(L, A, B);
    });
    m.def("message", [](int code) { return std::string(KROCOLOR::queryKROReturn(static_cast<KROCOLOR::KROReturn>(code))); });
}
