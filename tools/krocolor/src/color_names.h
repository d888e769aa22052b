// Names of the colour-description values (ITU-T H.273 numbering with the
// library's additions) in the spellings users already type: FFmpeg's long
// names first (the canonical name), then zscale and mpv aliases.
#pragma once

#include <string>
#include <vector>

namespace krocolor {

enum class ColorKind { Primaries, Transfer, Matrix, Range };

struct ColorName {
    ColorKind kind;
    int code;
    const char* name;     // canonical
    const char* aliases;  // space-separated
    const char* summary;
};

const std::vector<ColorName>& colorNames();
const char* colorKindName(ColorKind kind);  // "primaries", "transfer", ...

// Resolves a name, alias or decimal code (any integer is passed on to the
// library, which decides what it accepts). False when the text is neither.
bool parseColorValue(ColorKind kind, const std::string& text, int& code);

// "bt2020 (9)"; values without a name print as "25 (no name)".
std::string describeColorValue(ColorKind kind, int code);

}  // namespace krocolor
