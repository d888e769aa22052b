// krocolor: the command line of libKROColorFunctions. Built on the public
// API only.
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

#include "cli_error.h"
#include "commands.h"

namespace {

const char kUsage[] =
    "usage: krocolor COMMAND [options]\n"
    "\n"
    "commands:\n"
    "  demo                 convert a built-in HDR test frame through every backend\n"
    "                       [-o DIR] [-s WxH] [--backend NAME]... [--repeat N] [-q]\n"
    "  convert IN OUT       convert a raw, .y4m or .png file\n"
    "                       [--in-format F] [--out-format F] [-s WxH] [--scale WxH]\n"
    "                       [--crop x:y:w:h] [--orientation 1-8] [--backend cpu|simd|swscale|d3d11]\n"
    "                       [--in-primaries P] [--primaries P] [--in-transfer T] [--transfer T]\n"
    "                       [--in-matrix M] [--matrix M] [--in-range R] [--range R]\n"
    "                       [--metadata key=value]... [--keep-source-color] [-n N] [-v] [-q]\n"
    "  icc IN OUT           convert by ICC profiles: --icc-in P --icc-out P\n"
    "                       (P: a profile file, displayp3, adobergb or srgb)\n"
    "  lab R G B            one signal (0-1) to CIE L*a*b*: [--primaries P] [--transfer T]\n"
    "  compare A B          per-component max difference and PSNR [-f F] [-s WxH] [--max-diff N]\n"
    "  formats              list the pixel formats\n"
    "  colors               list the primaries, transfers, matrices and ranges\n"
    "\n"
    "Exit status: 0 success, 1 a file or conversion failed, 2 a bad command line.\n"
    "See docs/krocolor.md for the full manual.\n";

}  // namespace

int main(int argc, char** argv) {
    using namespace krocolor;
    if (argc < 2 || !std::strcmp(argv[1], "help") || !std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "-h")) {
        std::fputs(kUsage, argc < 2 ? stderr : stdout);
        return argc < 2 ? kExitUsage : 0;
    }
    const std::string command = argv[1];
    try {
        if (command == "demo") return runDemo(argc, argv, 2);
        if (command == "convert") return runConvert(argc, argv, 2);
        if (command == "icc") return runIcc(argc, argv, 2);
        if (command == "lab") return runLab(argc, argv, 2);
        if (command == "compare") return runCompare(argc, argv, 2);
        if (command == "formats") return runFormats(argc, argv, 2);
        if (command == "colors" || command == "colours") return runColors(argc, argv, 2);
        usageError("unknown command '" + command + "' (try krocolor --help)");
    } catch (const CliError& e) {
        std::fprintf(stderr, "krocolor: %s\n", e.what());
        return e.status();
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "krocolor: out of memory\n");
        return kExitFailure;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "krocolor: %s\n", e.what());
        return kExitFailure;
    }
}
