// krocolor icc IN OUT --icc-in P --icc-out P: conversion by two ICC profiles
// (a file, or one of the names displayp3, adobergb, srgb) through the
// library's ICC path. The path takes packed RGB/RGBA (and CMYK as a source).
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include <KROColorFunctions.h>

#include "args.h"
#include "cli_error.h"
#include "color_options.h"
#include "commands.h"
#include "file_handle.h"
#include "media_io.h"
#include "progress.h"

namespace krocolor {
namespace {

using namespace KROCOLOR;

constexpr long kMaxProfileBytes = 16L << 20;

// Profile bytes: empty for sRGB (the library's built-in default).
std::vector<uint8_t> loadProfile(const std::string& option, const std::string& what) {
    if (what == "srgb") return {};
    const uint8_t* embedded = nullptr;
    int size = 0;
    if (what == "displayp3" || what == "display-p3") {
        embedded = KROColorFunctions::getDisplayP3ICCProfile();
        size = KROColorFunctions::getDisplayP3ICCProfileSize();
    } else if (what == "adobergb" || what == "adobe-rgb" || what == "adobe") {
        embedded = KROColorFunctions::getAdobeRGBICCProfile();
        size = KROColorFunctions::getAdobeRGBICCProfileSize();
    } else {
        FileHandle f(std::fopen(what.c_str(), "rb"));
        if (!f) failure(option + ": cannot open profile " + what + ": " + std::strerror(errno));
        std::vector<uint8_t> bytes;
        uint8_t chunk[65536];
        size_t got = 0;
        while ((got = std::fread(chunk, 1, sizeof chunk, f.get())) > 0) {
            bytes.insert(bytes.end(), chunk, chunk + got);
            if (static_cast<long>(bytes.size()) > kMaxProfileBytes) failure(option + ": " + what + " is too large for an ICC profile");
        }
        if (bytes.empty()) failure(option + ": " + what + " is empty");
        return bytes;
    }
    if (!embedded || size <= 0)
        failure(option + ": this build of the library carries no embedded " + what + " profile");
    return std::vector<uint8_t>(embedded, embedded + size);
}

}  // namespace

int runIcc(int argc, char** argv, int first) {
    Args args(argc, argv, first,
              {{"icc-in", nullptr, true}, {"icc-out", nullptr, true}, {"in-format", nullptr, true},
               {"out-format", nullptr, true}, {"size", "s", true}, {"scale", nullptr, true},
               {"frames", "n", true}, {"verbose", "v", false}, {"quiet", "q", false}});
    if (args.positional().size() != 2)
        usageError("icc needs an input and an output file: krocolor icc IN OUT --icc-in P --icc-out P");
    const std::string inPath = args.positional()[0], outPath = args.positional()[1];
    const std::vector<uint8_t> srcProfile = loadProfile("--icc-in", args.value("icc-in", "srgb"));
    const std::vector<uint8_t> dstProfile = loadProfile("--icc-out", args.value("icc-out", "srgb"));

    InputHints hints;
    if (args.has("in-format")) hints.format = &requirePixelFormat("--in-format", args.value("in-format"));
    if (args.has("size")) parseSize("--size", args.value("size"), hints.width, hints.height);
    auto reader = openReader(inPath, hints);
    const StreamInfo& in = reader->info();
    const FileType outType = outputTypeFor(outPath);
    const PixelFormatInfo* outFormat = args.has("out-format")
                                           ? &requirePixelFormat("--out-format", args.value("out-format"))
                                           : (outType == FileType::Raw ? nullptr : pixelFormatByCode(102));
    if (!outFormat) usageError(outPath + ": raw output needs --out-format");
    int outW = in.width, outH = in.height;
    if (args.has("scale")) parseSize("--scale", args.value("scale"), outW, outH);
    const int64_t maxFrames = args.has("frames") ? parseIntOption("--frames", args.value("frames"), 1, 1 << 30) : -1;

    std::unique_ptr<KROColorFunctions> convert(KROColorFunctions::create(
        in.width, in.height, static_cast<KROPixelFormat>(in.format->code), outW, outH,
        static_cast<KROPixelFormat>(outFormat->code)));
    if (!convert) failure("out of memory creating the conversion");
    convert->setType(kKROProfileTypeICC);
    convert->setICCProfile(srcProfile.empty() ? nullptr : srcProfile.data(), static_cast<int>(srcProfile.size()),
                           dstProfile.empty() ? nullptr : dstProfile.data(), static_cast<int>(dstProfile.size()));
    if (args.has("verbose"))
        std::fprintf(stderr, "krocolor: icc %s (%s, %zu bytes) -> %s (%s, %zu bytes), %dx%d %s -> %dx%d %s\n",
                     inPath.c_str(), args.value("icc-in", "srgb").c_str(), srcProfile.size(), outPath.c_str(),
                     args.value("icc-out", "srgb").c_str(), dstProfile.size(), in.width, in.height, in.format->name,
                     outW, outH, outFormat->name);

    OutputSpec target;
    target.format = outFormat;
    target.width = outW;
    target.height = outH;
    target.range = 2;
    target.frameRate = in.frameRate;
    auto writer = openWriter(outPath, target);
    Image source(*in.format, in.width, in.height), result(*outFormat, outW, outH);
    Progress progress(in.frameCount, args.has("quiet"));
    int64_t done = 0;
    while ((maxFrames < 0 || done < maxFrames) && reader->next(source)) {
        auto a = source.pointers();
        auto b = result.pointers();
        const KROReturn rc = convert->transcode(a.src, a.strides, b.dst, b.strides);
        if (rc != kKROSuccess)
            libraryFailure(std::string("ICC conversion ") + in.format->name + " to " + outFormat->name + " failed", rc);
        writer->write(result);
        progress.update(++done);
    }
    progress.finish();
    if (done == 0) failure(inPath + ": no frames");
    writer->finish();
    return 0;
}

}  // namespace krocolor
