// krocolor compare A B: per-component largest absolute difference and PSNR
// over every frame, the way conversions are usually checked.
#include <cmath>
#include <cstdio>
#include <vector>

#include "args.h"
#include "cli_error.h"
#include "color_options.h"
#include "commands.h"
#include "media_io.h"

namespace krocolor {

int runCompare(int argc, char** argv, int first) {
    Args args(argc, argv, first,
              {{"in-format", "f", true}, {"size", "s", true}, {"frames", "n", true}, {"max-diff", nullptr, true},
               {"quiet", "q", false}});
    if (args.positional().size() != 2) usageError("compare needs two files: krocolor compare A B");
    const std::string pathA = args.positional()[0], pathB = args.positional()[1];
    InputHints hints;
    if (args.has("in-format")) hints.format = &requirePixelFormat("--in-format", args.value("in-format"));
    if (args.has("size")) parseSize("--size", args.value("size"), hints.width, hints.height);
    const int64_t maxFrames = args.has("frames") ? parseIntOption("--frames", args.value("frames"), 1, 1 << 30) : -1;
    const long maxDiffAllowed = args.has("max-diff") ? parseIntOption("--max-diff", args.value("max-diff"), 0, 65535) : -1;

    auto readerA = openReader(pathA, hints);
    auto readerB = openReader(pathB, hints);
    const StreamInfo& a = readerA->info();
    const StreamInfo& b = readerB->info();
    if (a.format != b.format || a.width != b.width || a.height != b.height)
        failure("compare needs the same size and format: " + pathA + " is " + std::to_string(a.width) + "x" +
                std::to_string(a.height) + " " + a.format->name + ", " + pathB + " is " + std::to_string(b.width) +
                "x" + std::to_string(b.height) + " " + b.format->name);
    const PixelFormatInfo& f = *a.format;
    if (f.componentCount == 0) usageError(std::string("format ") + f.name + " has no addressable samples");

    Image frameA(f, a.width, a.height), frameB(f, b.width, b.height);
    std::vector<uint32_t> maxDiff(f.componentCount, 0);
    std::vector<double> squared(f.componentCount, 0.0);
    std::vector<double> count(f.componentCount, 0.0);
    int64_t frames = 0;
    while (maxFrames < 0 || frames < maxFrames) {
        const bool gotA = readerA->next(frameA);
        const bool gotB = readerB->next(frameB);
        if (gotA != gotB)
            failure("the files hold different numbers of frames: " + (gotA ? pathB : pathA) + " ends after frame " +
                    std::to_string(frames));
        if (!gotA) break;
        ++frames;
        for (int c = 0; c < f.componentCount; ++c) {
            const int p = f.components[c].plane;
            const FrameGeometry& g = frameA.geometry();
            for (int y = 0; y < g.planeHeight[p]; ++y)
                for (int x = 0; x < g.planeWidth[p]; ++x) {
                    const int64_t va = frameA.sample(c, x, y), vb = frameB.sample(c, x, y);
                    const uint32_t d = static_cast<uint32_t>(va > vb ? va - vb : vb - va);
                    if (d > maxDiff[c]) maxDiff[c] = d;
                    squared[c] += static_cast<double>(d) * d;
                }
            count[c] += static_cast<double>(g.planeWidth[p]) * g.planeHeight[p];
        }
    }
    if (frames == 0) failure(pathA + ": no frames");

    const double peak = std::ldexp(1.0, f.depth) - 1.0;
    std::printf("%-9s %8s %9s\n", "component", "max-diff", "psnr-db");
    uint32_t worst = 0;
    for (int c = 0; c < f.componentCount; ++c) {
        const double mse = squared[c] / count[c];
        if (mse == 0.0)
            std::printf("%-9c %8u %9s\n", f.components[c].name, maxDiff[c], "inf");
        else
            std::printf("%-9c %8u %9.2f\n", f.components[c].name, maxDiff[c], 10.0 * std::log10(peak * peak / mse));
        if (maxDiff[c] > worst) worst = maxDiff[c];
    }
    std::printf("frames: %lld, format %s, %dx%d\n", static_cast<long long>(frames), f.name, a.width, a.height);
    if (maxDiffAllowed >= 0 && worst > static_cast<uint32_t>(maxDiffAllowed))
        failure("largest difference " + std::to_string(worst) + " exceeds --max-diff " + std::to_string(maxDiffAllowed));
    return 0;
}

}  // namespace krocolor
