// krocolor convert IN OUT: one conversion through the library, frame by
// frame, with optional crop, scale and orientation.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>

#include "args.h"
#include "backends.h"
#include "cli_error.h"
#include "color_options.h"
#include "commands.h"
#include "frame_pipeline.h"
#include "media_io.h"
#include "progress.h"

namespace krocolor {
namespace {

const std::vector<OptionSpec> kOptions = {
    {"in-format", nullptr, true},  {"out-format", nullptr, true}, {"size", "s", true},
    {"scale", nullptr, true},      {"crop", nullptr, true},       {"orientation", nullptr, true},
    {"backend", nullptr, true},    {"metadata", nullptr, true},   {"keep-source-color", nullptr, false},
    {"in-primaries", nullptr, true}, {"primaries", nullptr, true}, {"in-transfer", nullptr, true},
    {"transfer", nullptr, true},   {"in-matrix", nullptr, true},  {"matrix", nullptr, true},
    {"in-range", nullptr, true},   {"range", nullptr, true},      {"frames", "n", true},
    {"verbose", "v", false},       {"quiet", "q", false},
};

CropRect parseCrop(const std::string& text) {
    CropRect c;
    int v[4] = {};
    std::istringstream in(text);
    std::string part;
    int n = 0;
    while (std::getline(in, part, ':')) {
        if (n == 4) usageError("--crop: '" + text + "' is not x:y:w:h");
        v[n++] = parseIntOption("--crop", part, 0, kMaxSide);
    }
    if (n != 4) usageError("--crop: '" + text + "' is not x:y:w:h");
    c.enabled = true;
    c.x = v[0];
    c.y = v[1];
    c.width = v[2];
    c.height = v[3];
    return c;
}

const PixelFormatInfo& defaultOutputFormat(FileType type, const PixelFormatInfo& in, const std::string& path) {
    switch (type) {
        case FileType::PNG: return *pixelFormatByCode(102);
        case FileType::Y4M:
            if (in.y4mTag) return in;
            return *pixelFormatByCode(in.depth > 8 ? 107 : 104);
        case FileType::Raw: break;
    }
    usageError(path + ": raw output needs --out-format");
}

void requireHostFormat(const PixelFormatInfo& f, const char* side) {
    if (f.memory != Memory::Host)
        usageError(std::string(side) + " format " + f.name +
                   " lives in GPU memory; krocolor reads and writes host-memory frames");
}

bool isByteLayout(const PixelFormatInfo* f) { return f && f->model == ColorModel::Bytes; }

// Grey and alpha byte layouts have no colour description: they go through
// the library's byte-format converters (KROImageConvert), which also take
// rgb24 and rgba on the other side, and nothing else applies to them.
void refuseFrameOptionsForBytes(const Args& args) {
    for (const char* option : {"scale", "crop", "orientation", "backend", "metadata", "keep-source-color",
                               "in-primaries", "primaries", "in-transfer", "transfer", "in-matrix", "matrix",
                               "in-range", "range"})
        if (args.has(option))
            usageError(std::string("--") + option +
                       " does not apply to byte-layout conversions (grey, alpha: no colour meaning)");
}

int convertByteLayouts(FrameReader& reader, const std::string& outPath, const PixelFormatInfo& outFormat,
                       int64_t maxFrames, bool quiet) {
    const StreamInfo& in = reader.info();
    OutputSpec target;
    target.format = &outFormat;
    target.width = in.width;
    target.height = in.height;
    target.range = 2;
    target.frameRate = in.frameRate;
    auto writer = openWriter(outPath, target);
    Image source(*in.format, in.width, in.height), result(outFormat, in.width, in.height);
    Progress progress(in.frameCount, quiet);
    int64_t done = 0;
    while ((maxFrames < 0 || done < maxFrames) && reader.next(source)) {
        uint8_t* converted = nullptr;
        unsigned int convertedSize = 0;
        const auto rc = KROCOLOR::KROImageConvert::transcodeFormat(
            static_cast<KROCOLOR::KROPixelFormat>(in.format->code), source.data(),
            static_cast<unsigned int>(source.size()), static_cast<KROCOLOR::KROPixelFormat>(outFormat.code),
            &converted, &convertedSize);
        std::unique_ptr<uint8_t, decltype(&std::free)> owned(converted, &std::free);
        if (rc != KROCOLOR::kKROSuccess)
            libraryFailure(std::string("byte-format conversion ") + in.format->name + " to " + outFormat.name +
                               " failed",
                           rc);
        if (!converted || convertedSize != result.size())
            failure(std::string("byte-format conversion ") + in.format->name + " to " + outFormat.name +
                    " returned " + std::to_string(convertedSize) + " bytes instead of " +
                    std::to_string(result.size()));
        std::memcpy(result.data(), converted, convertedSize);
        writer->write(result);
        progress.update(++done);
    }
    progress.finish();
    if (done == 0) failure("no frames");
    writer->finish();
    return 0;
}

}  // namespace

int runConvert(int argc, char** argv, int first) {
    Args args(argc, argv, first, kOptions);
    if (args.positional().size() != 2) usageError("convert needs an input and an output file: krocolor convert IN OUT");
    const std::string inPath = args.positional()[0], outPath = args.positional()[1];
    const bool verbose = args.has("verbose"), quiet = args.has("quiet");

    InputHints hints;
    if (args.has("in-format")) hints.format = &requirePixelFormat("--in-format", args.value("in-format"));
    if (args.has("size")) parseSize("--size", args.value("size"), hints.width, hints.height);
    const PixelFormatInfo* outFormat = nullptr;
    if (args.has("out-format")) outFormat = &requirePixelFormat("--out-format", args.value("out-format"));

    PipelineSettings settings;
    const std::string backendName = args.value("backend", "cpu");
    settings.backend = findBackend(backendName);
    if (!settings.backend) usageError("--backend: unknown backend '" + backendName + "' (one of " + backendNames() + ")");
    if (args.has("scale")) parseSize("--scale", args.value("scale"), settings.scaleWidth, settings.scaleHeight);
    if (args.has("crop")) settings.crop = parseCrop(args.value("crop"));
    if (args.has("orientation")) settings.orientation = parseIntOption("--orientation", args.value("orientation"), 1, 8);
    for (const auto& kv : args.all("metadata")) {
        const size_t eq = kv.find('=');
        if (eq == std::string::npos || eq == 0) usageError("--metadata: '" + kv + "' is not key=value");
        settings.metadata.emplace_back(kv.substr(0, eq), kv.substr(eq + 1));
    }
    settings.keepSourceColor = args.has("keep-source-color");
    const int64_t maxFrames = args.has("frames") ? parseIntOption("--frames", args.value("frames"), 1, 1 << 30) : -1;
    if (hints.format) requireHostFormat(*hints.format, "input");
    if (outFormat) requireHostFormat(*outFormat, "output");
    if (isByteLayout(hints.format) || isByteLayout(outFormat)) {
        refuseFrameOptionsForBytes(args);
        auto reader = openReader(inPath, hints);
        const PixelFormatInfo* target = outFormat ? outFormat : pixelFormatByCode(102);
        return convertByteLayouts(*reader, outPath, *target, maxFrames, quiet);
    }

    const std::string unavailable = backendUnavailableReason(*settings.backend);
    if (!unavailable.empty())
        failure("backend " + std::string(settings.backend->name) + " is not available: " + unavailable);

    auto reader = openReader(inPath, hints);
    const StreamInfo& in = reader->info();
    const FileType outType = outputTypeFor(outPath);
    if (!outFormat) outFormat = &defaultOutputFormat(outType, *in.format, outPath);
    if (!formatFitsFileType(*outFormat, outType))
        usageError(std::string("output format ") + outFormat->name + " does not fit a " + fileTypeName(outType) +
                   " file (" + outPath + "); " + fileTypeName(outType) + " takes " + formatsForFileType(outType));

    settings.inFormat = in.format;
    settings.outFormat = outFormat;
    settings.inWidth = in.width;
    settings.inHeight = in.height;
    const int convWidth = settings.crop.enabled ? settings.crop.width : in.width;
    const int convHeight = settings.crop.enabled ? settings.crop.height : in.height;
    settings.inColor = resolveInputColor(args, *in.format, convWidth, convHeight, in.range);
    settings.outColor = resolveOutputColor(args, settings.inColor, *in.format, *outFormat,
                                           settings.scaleWidth ? settings.scaleWidth : convWidth,
                                           settings.scaleHeight ? settings.scaleHeight : convHeight);

    FramePipeline pipeline(settings);
    OutputSpec target;
    target.format = outFormat;
    target.width = pipeline.outWidth();
    target.height = pipeline.outHeight();
    target.range = settings.outColor.range;
    target.frameRate = in.frameRate;
    if (verbose) {
        std::fprintf(stderr, "krocolor: input  %s: %s %dx%d %s (%d), %s\n", inPath.c_str(),
                     fileTypeName(detectInputType(inPath)), in.width, in.height, in.format->name, in.format->code,
                     describeColor(settings.inColor).c_str());
        std::fprintf(stderr, "krocolor: output %s: %s %dx%d %s (%d), %s\n", outPath.c_str(), fileTypeName(outType),
                     target.width, target.height, outFormat->name, outFormat->code,
                     describeColor(settings.outColor).c_str());
        std::fprintf(stderr, "krocolor: backend %s (hardware type %d)\n", settings.backend->name,
                     settings.backend->hwType);
    }
    auto writer = openWriter(outPath, target);

    Image source(*in.format, in.width, in.height);
    Image result(*outFormat, target.width, target.height);
    int64_t total = in.frameCount;
    if (maxFrames > 0 && (total < 0 || total > maxFrames)) total = maxFrames;
    Progress progress(total, quiet);
    int64_t done = 0;
    while ((maxFrames < 0 || done < maxFrames) && reader->next(source)) {
        pipeline.run(source, result);
        writer->write(result);
        progress.update(++done);
    }
    progress.finish();
    if (done == 0) failure(inPath + ": no frames");
    writer->finish();
    if (verbose) std::fprintf(stderr, "krocolor: %lld frame%s written to %s\n", static_cast<long long>(done),
                              done == 1 ? "" : "s", outPath.c_str());
    return 0;
}

}  // namespace krocolor
