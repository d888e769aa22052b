// krocolor lab --primaries P --transfer T R G B: one colour to CIE L*a*b*.
#include <cstdio>

#include <KROColorFunctions.h>

#include "args.h"
#include "cli_error.h"
#include "color_names.h"
#include "commands.h"

namespace krocolor {

int runLab(int argc, char** argv, int first) {
    Args args(argc, argv, first,
              {{"primaries", nullptr, true}, {"transfer", nullptr, true}, {"verbose", "v", false}});
    if (args.positional().size() != 3)
        usageError("lab needs three signal values: krocolor lab [--primaries P] [--transfer T] R G B (0 to 1)");
    int primaries = 1, transfer = 13;
    if (args.has("primaries") && !parseColorValue(ColorKind::Primaries, args.value("primaries"), primaries))
        usageError("--primaries: unknown primaries '" + args.value("primaries") + "' (see krocolor colors)");
    if (args.has("transfer") && !parseColorValue(ColorKind::Transfer, args.value("transfer"), transfer))
        usageError("--transfer: unknown transfer '" + args.value("transfer") + "' (see krocolor colors)");
    const float r = static_cast<float>(parseNumber("R", args.positional()[0]));
    const float g = static_cast<float>(parseNumber("G", args.positional()[1]));
    const float b = static_cast<float>(parseNumber("B", args.positional()[2]));
    float L = 0, A = 0, B = 0;
    const KROCOLOR::KROReturn rc =
        KROCOLOR::convertToLab(static_cast<KROCOLOR::KROColorPrimaries>(primaries),
                               static_cast<KROCOLOR::KROColorTransfer>(transfer), r, g, b, &L, &A, &B);
    if (rc != KROCOLOR::kKROSuccess) libraryFailure("convertToLab failed", rc);
    if (args.has("verbose"))
        std::fprintf(stderr, "krocolor: primaries %s, transfer %s, signal (%g, %g, %g)\n",
                     describeColorValue(ColorKind::Primaries, primaries).c_str(),
                     describeColorValue(ColorKind::Transfer, transfer).c_str(), r, g, b);
    std::printf("L*=%.4f a*=%.4f b*=%.4f\n", L, A, B);
    return 0;
}

}  // namespace krocolor
