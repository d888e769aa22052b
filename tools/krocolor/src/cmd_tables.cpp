// krocolor formats / krocolor colors: the vocabulary, like ffmpeg -pix_fmts.
#include <cstdio>
#include <string>

#include "args.h"
#include "cli_error.h"
#include "color_names.h"
#include "commands.h"
#include "pixel_formats.h"

namespace krocolor {
namespace {

const char* memoryName(Memory m) {
    switch (m) {
        case Memory::Host: return "host";
        case Memory::GL: return "gles";
        case Memory::CUDA: return "cuda";
        case Memory::D3D11: return "d3d11";
    }
    return "?";
}

std::string componentText(const PixelFormatInfo& f) {
    std::string s;
    for (int i = 0; i < f.componentCount; ++i) s.push_back(f.components[i].name);
    return s.empty() ? "-" : s;
}

}  // namespace

int runFormats(int argc, char** argv, int first) {
    Args args(argc, argv, first, {});
    if (!args.positional().empty()) usageError("formats takes no arguments");
    std::printf("%-5s %-18s %-6s %-6s %-6s %-10s %-6s %s\n", "code", "name", "memory", "planes", "depth", "components",
                "chroma", "layout (aliases)");
    for (const auto& f : pixelFormats()) {
        std::string aliases = f.aliases[0] ? std::string(" (") + f.aliases + ")" : "";
        std::printf("%-5d %-18s %-6s %-6d %-6d %-10s %-6s %s%s\n", f.code, f.name, memoryName(f.memory), f.planeCount,
                    f.depth, componentText(f).c_str(), subsamplingText(f).c_str(), f.summary, aliases.c_str());
    }
    return 0;
}

int runColors(int argc, char** argv, int first) {
    Args args(argc, argv, first, {});
    if (!args.positional().empty()) usageError("colors takes no arguments");
    const ColorKind kinds[] = {ColorKind::Primaries, ColorKind::Transfer, ColorKind::Matrix, ColorKind::Range};
    const char* options[] = {"--primaries / --in-primaries", "--transfer / --in-transfer", "--matrix / --in-matrix",
                             "--range / --in-range"};
    for (int k = 0; k < 4; ++k) {
        std::printf("%s%s (%s)\n", k ? "\n" : "", colorKindName(kinds[k]), options[k]);
        std::printf("  %-5s %-18s %-40s %s\n", "code", "name", "aliases", "meaning");
        for (const auto& n : colorNames())
            if (n.kind == kinds[k])
                std::printf("  %-5d %-18s %-40s %s\n", n.code, n.name, n.aliases[0] ? n.aliases : "-", n.summary);
    }
    std::printf("\nAny decimal code is accepted as well and passed to the library as it is.\n");
    return 0;
}

}  // namespace krocolor
