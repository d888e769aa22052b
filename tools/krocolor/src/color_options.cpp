#include "color_options.h"

#include "cli_error.h"
#include "color_names.h"

namespace krocolor {
namespace {

// 1280 x 720: from this pixel count on, unspecified values mean HD (BT.709).
constexpr long long kHdPixels = 921600;

int colorOption(const Args& args, const char* option, ColorKind kind, int fallback) {
    if (!args.has(option)) return fallback;
    int code = 0;
    const std::string text = args.value(option);
    if (!parseColorValue(kind, text, code))
        usageError("--" + std::string(option) + ": unknown " + colorKindName(kind) + " '" + text +
                   "' (see krocolor colors)");
    return code;
}

bool isRgbLike(const PixelFormatInfo& f) { return f.model != ColorModel::YUV; }

}  // namespace

ColorDescription resolveInputColor(const Args& args, const PixelFormatInfo& format, int width, int height,
                                   int fileRange) {
    const bool hd = static_cast<long long>(width) * height >= kHdPixels;
    const bool rgb = isRgbLike(format);
    ColorDescription c;
    c.primaries = colorOption(args, "in-primaries", ColorKind::Primaries, rgb || hd ? 1 : 5);
    c.transfer = colorOption(args, "in-transfer", ColorKind::Transfer, rgb ? 13 : hd ? 1 : 6);
    c.matrix = colorOption(args, "in-matrix", ColorKind::Matrix, rgb ? 0 : hd ? 1 : 6);
    c.range = colorOption(args, "in-range", ColorKind::Range, fileRange >= 0 ? fileRange : rgb ? 2 : 1);
    return c;
}

ColorDescription resolveOutputColor(const Args& args, const ColorDescription& in, const PixelFormatInfo& inFormat,
                                    const PixelFormatInfo& outFormat, int width, int height) {
    const bool hd = static_cast<long long>(width) * height >= kHdPixels;
    const bool outRgb = isRgbLike(outFormat), inRgb = isRgbLike(inFormat);
    ColorDescription c;
    c.primaries = colorOption(args, "primaries", ColorKind::Primaries, in.primaries);
    c.transfer = colorOption(args, "transfer", ColorKind::Transfer, in.transfer);
    c.matrix = colorOption(args, "matrix", ColorKind::Matrix, outRgb ? 0 : !inRgb ? in.matrix : hd ? 1 : 6);
    c.range = colorOption(args, "range", ColorKind::Range, outRgb ? 2 : !inRgb ? in.range : 1);
    return c;
}

std::string describeColor(const ColorDescription& c) {
    return "primaries " + describeColorValue(ColorKind::Primaries, c.primaries) + ", transfer " +
           describeColorValue(ColorKind::Transfer, c.transfer) + ", matrix " +
           describeColorValue(ColorKind::Matrix, c.matrix) + ", range " +
           describeColorValue(ColorKind::Range, c.range);
}

const PixelFormatInfo& requirePixelFormat(const std::string& option, const std::string& text) {
    const PixelFormatInfo* f = findPixelFormat(text);
    if (!f) usageError(option + ": unknown pixel format '" + text + "' (see krocolor formats)");
    return *f;
}

}  // namespace krocolor
