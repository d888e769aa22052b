// krocolor demo: the built-in HDR test frame converted to BT.709 SDR RGBA
// through every backend this machine has, one PNG per backend, with the
// time per frame and the largest difference from the scalar CPU result.
#include <chrono>
#include <cstdlib>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "args.h"
#include "backends.h"
#include "cli_error.h"
#include "commands.h"
#include "frame_pipeline.h"
#include "media_io.h"
#include "test_pattern.h"

namespace krocolor {
namespace {

struct BackendRun {
    const BackendInfo* backend;
    std::string note;  // why it did not run, or the PNG written
    bool ran = false;
    double msPerFrame = 0;
    int frames = 0;
    Image result;
};

PipelineSettings demoSettings(int width, int height, const BackendInfo& backend) {
    PipelineSettings s;
    s.inFormat = pixelFormatByCode(107);   // yuv420p10le
    s.outFormat = pixelFormatByCode(102);  // rgba
    s.inWidth = width;
    s.inHeight = height;
    s.inColor = {9, 16, 9, 1};   // BT.2020, PQ, BT.2020 NCL, limited
    s.outColor = {1, 1, 0, 2};   // BT.709, BT.709 transfer, RGB, full
    s.backend = &backend;
    return s;
}

}  // namespace

int runDemo(int argc, char** argv, int first) {
    Args args(argc, argv, first,
              {{"output", "o", true}, {"size", "s", true}, {"repeat", nullptr, true}, {"backend", nullptr, true},
               {"quiet", "q", false}});
    if (!args.positional().empty()) usageError("demo takes no file arguments (use -o DIR for the output folder)");
    const std::string folder = args.value("output", "krocolor-demo");
    int width = 1920, height = 1080;
    if (args.has("size")) parseSize("--size", args.value("size"), width, height);
    if (width % 2 || height % 2 || width < 16 || height < 12)
        usageError("--size: the demo frame needs even sides of at least 16x12");
    const int repeat = args.has("repeat") ? parseIntOption("--repeat", args.value("repeat"), 1, 1000) : 0;

    std::vector<BackendRun> runs;
    if (args.has("backend")) {
        for (const auto& name : args.all("backend")) {
            const BackendInfo* b = findBackend(name);
            if (!b) usageError("--backend: unknown backend '" + name + "' (one of " + backendNames() + ")");
            runs.push_back({b, "", false, 0, 0, Image()});
        }
    } else {
        for (const auto& b : backends()) runs.push_back({&b, "", false, 0, 0, Image()});
    }

    std::error_code ec;
    std::filesystem::create_directories(folder, ec);
    if (ec) failure(folder + ": cannot create the output folder: " + ec.message());

    Image source = makeTestPattern(width, height);
    {
        OutputSpec target{&source.format(), width, height, 1, "25:1"};
        auto writer = openWriter(folder + "/source.y4m", target);
        writer->write(source);
        writer->finish();
    }
    if (!args.has("quiet"))
        std::printf("krocolor demo: %dx%d yuv420p10le BT.2020 PQ limited range -> rgba BT.709 SDR full range\n",
                    width, height);

    for (auto& run : runs) {
        const std::string reason = backendUnavailableReason(*run.backend);
        if (!reason.empty()) {
            run.note = "not available: " + reason;
            continue;
        }
        try {
            FramePipeline pipeline(demoSettings(width, height, *run.backend));
            run.result = Image(*pixelFormatByCode(102), width, height);
            pipeline.run(source, run.result);  // warm-up, and the result kept
            using Clock = std::chrono::steady_clock;
            const auto start = Clock::now();
            double elapsed = 0;
            int frames = 0;
            // Fixed count with --repeat; otherwise at least 3 frames and about a second.
            while (repeat ? frames < repeat : (frames < 3 || (elapsed < 1.0 && frames < 50))) {
                pipeline.run(source, run.result);
                ++frames;
                elapsed = std::chrono::duration<double>(Clock::now() - start).count();
            }
            run.msPerFrame = elapsed * 1000.0 / frames;
            run.frames = frames;
            const std::string png = folder + "/" + run.backend->name + ".png";
            OutputSpec target{&run.result.format(), width, height, 2, "25:1"};
            auto writer = openWriter(png, target);
            writer->write(run.result);
            writer->finish();
            run.ran = true;
            run.note = png;
        } catch (const CliError& e) {
            run.note = std::string("failed: ") + e.what();
        }
    }

    const BackendRun* reference = nullptr;
    for (const auto& run : runs)
        if (run.ran && run.backend->hwType == 0) reference = &run;

    std::printf("%-8s %10s %15s  %s\n", "backend", "ms/frame", "max diff (cpu)", "output");
    bool any = false;
    for (const auto& run : runs) {
        if (!run.ran) {
            std::printf("%-8s %10s %15s  %s\n", run.backend->name, "-", "-", run.note.c_str());
            continue;
        }
        any = true;
        std::string diff = "-";
        if (reference) {
            int worst = 0;
            for (size_t i = 0; i < run.result.size(); ++i) {
                const int d = std::abs(int(run.result.data()[i]) - int(reference->result.data()[i]));
                if (d > worst) worst = d;
            }
            diff = std::to_string(worst);
        }
        std::printf("%-8s %10.2f %15s  %s\n", run.backend->name, run.msPerFrame, diff.c_str(), run.note.c_str());
    }
    if (!any) failure("no backend could convert the demo frame");
    return 0;
}

}  // namespace krocolor
