#include "color_names.h"

#include <cstdlib>
#include <sstream>

namespace krocolor {
namespace {

using K = ColorKind;

const std::vector<ColorName> kNames = {
    {K::Primaries, 0, "reserved0", "", "reserved"},
    {K::Primaries, 1, "bt709", "709 bt.709 srgb", "BT.709 / sRGB"},
    {K::Primaries, 2, "unknown", "unspecified unspec", "unspecified (chosen by frame size)"},
    {K::Primaries, 3, "reserved", "", "reserved"},
    {K::Primaries, 4, "bt470m", "470m bt.470m", "BT.470 System M"},
    {K::Primaries, 5, "bt470bg", "470bg bt.601-625 625", "BT.601 625-line (PAL)"},
    {K::Primaries, 6, "smpte170m", "170m 601 bt601 bt.601-525 525", "BT.601 525-line (NTSC)"},
    {K::Primaries, 7, "smpte240m", "240m", "SMPTE 240M"},
    {K::Primaries, 8, "film", "film-c", "generic film (illuminant C)"},
    {K::Primaries, 9, "bt2020", "2020 bt.2020 bt2100", "BT.2020 / BT.2100"},
    {K::Primaries, 10, "smpte428", "smpte428_1 st428 xyz", "SMPTE ST 428-1 (CIE XYZ)"},
    {K::Primaries, 11, "smpte431", "st431-2 dci-p3 dcip3 p3-dci", "DCI-P3 (SMPTE RP 431-2)"},
    {K::Primaries, 12, "smpte432", "st432-1 display-p3 displayp3 p3 p3-d65", "Display P3 (P3 with D65 white)"},
    {K::Primaries, 22, "ebu3213", "jedec-p22 ebu3213-e", "EBU Tech 3213-E"},
    {K::Primaries, 23, "adobe", "adobergb adobe-rgb adobe1998", "Adobe RGB (1998)"},
    {K::Primaries, 24, "prophoto", "pro-photo romm", "ProPhoto RGB (ROMM)"},

    {K::Transfer, 0, "reserved0", "", "reserved"},
    {K::Transfer, 1, "bt709", "709 bt.709 bt1886 bt.1886", "BT.709"},
    {K::Transfer, 2, "unknown", "unspecified unspec", "unspecified (chosen by frame size)"},
    {K::Transfer, 3, "reserved", "", "reserved"},
    {K::Transfer, 4, "gamma22", "bt470m 470m gamma2.2", "pure power 2.2"},
    {K::Transfer, 5, "gamma28", "bt470bg 470bg gamma2.8", "pure power 2.8"},
    {K::Transfer, 6, "smpte170m", "170m 601 bt601", "BT.601"},
    {K::Transfer, 7, "smpte240m", "240m", "SMPTE 240M"},
    {K::Transfer, 8, "linear", "", "linear light"},
    {K::Transfer, 9, "log100", "log", "logarithmic, 100:1"},
    {K::Transfer, 10, "log316", "log_sqrt", "logarithmic, 316:1"},
    {K::Transfer, 11, "iec61966-2-4", "iec61966_2_4 xvycc", "IEC 61966-2-4 (xvYCC)"},
    {K::Transfer, 12, "bt1361e", "bt1361 bt1361_ecg", "BT.1361 extended gamut"},
    {K::Transfer, 13, "iec61966-2-1", "iec61966_2_1 srgb", "IEC 61966-2-1 (sRGB)"},
    {K::Transfer, 14, "bt2020-10", "bt2020_10 2020_10", "BT.2020, 10-bit"},
    {K::Transfer, 15, "bt2020-12", "bt2020_12 2020_12", "BT.2020, 12-bit"},
    {K::Transfer, 16, "smpte2084", "st2084 pq smptest2084", "SMPTE ST 2084 (PQ)"},
    {K::Transfer, 17, "smpte428", "smpte428_1 st428", "SMPTE ST 428-1"},
    {K::Transfer, 18, "arib-std-b67", "std-b67 hlg", "ARIB STD-B67 (HLG)"},
    {K::Transfer, 19, "gamma18", "gamma1.8 prophoto", "pure power 1.8"},
    {K::Transfer, 100, "gamma26", "gamma2.6 dci dcip3 dci-p3", "pure power 2.6 (DCI)"},

    {K::Matrix, 0, "gbr", "rgb", "identity (RGB)"},
    {K::Matrix, 1, "bt709", "709 bt.709", "BT.709"},
    {K::Matrix, 2, "unknown", "unspecified unspec", "unspecified (chosen by frame size)"},
    {K::Matrix, 3, "reserved", "", "reserved"},
    {K::Matrix, 4, "fcc", "", "FCC Title 47"},
    {K::Matrix, 5, "bt470bg", "470bg bt.601-625", "BT.601 625-line"},
    {K::Matrix, 6, "smpte170m", "170m 601 bt601 bt.601", "BT.601 525-line"},
    {K::Matrix, 7, "smpte240m", "240m smpte-240m", "SMPTE 240M"},
    {K::Matrix, 8, "ycgco", "ycocg", "YCgCo"},
    {K::Matrix, 9, "bt2020nc", "bt2020_ncl 2020_ncl 2020 bt2020 bt.2020-ncl", "BT.2020 non-constant luminance"},
    {K::Matrix, 10, "bt2020c", "bt2020_cl 2020_cl bt.2020-cl", "BT.2020 constant luminance"},
    {K::Matrix, 11, "smpte2085", "", "SMPTE ST 2085"},
    {K::Matrix, 12, "chroma-derived-nc", "chroma-derived-ncl", "chromaticity-derived non-constant luminance"},
    {K::Matrix, 13, "chroma-derived-c", "chroma-derived-cl", "chromaticity-derived constant luminance"},
    {K::Matrix, 14, "ictcp", "", "ICtCp"},

    {K::Range, 0, "unknown", "unspecified auto", "unspecified (treated as limited)"},
    {K::Range, 1, "tv", "mpeg limited", "limited (video) range"},
    {K::Range, 2, "pc", "jpeg full", "full range"},
};

std::string lower(std::string s) {
    for (char& c : s)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return s;
}

bool parseSignedInt(const std::string& s, int& out) {
    size_t i = (!s.empty() && s[0] == '-') ? 1 : 0;
    if (i == s.size() || s.size() - i > 9) return false;
    for (size_t k = i; k < s.size(); ++k)
        if (s[k] < '0' || s[k] > '9') return false;
    out = std::atoi(s.c_str());
    return true;
}

}  // namespace

const std::vector<ColorName>& colorNames() { return kNames; }

const char* colorKindName(ColorKind kind) {
    switch (kind) {
        case K::Primaries: return "primaries";
        case K::Transfer: return "transfer";
        case K::Matrix: return "matrix";
        case K::Range: return "range";
    }
    return "?";
}

bool parseColorValue(ColorKind kind, const std::string& text, int& code) {
    // Names first: zscale spells some values as numbers ("709", "2020").
    const std::string key = lower(text);
    for (const auto& n : kNames) {
        if (n.kind != kind) continue;
        if (key == n.name) {
            code = n.code;
            return true;
        }
        std::istringstream aliases(n.aliases);
        std::string alias;
        while (aliases >> alias)
            if (key == alias) {
                code = n.code;
                return true;
            }
    }
    return parseSignedInt(text, code);
}

std::string describeColorValue(ColorKind kind, int code) {
    for (const auto& n : kNames)
        if (n.kind == kind && n.code == code) return std::string(n.name) + " (" + std::to_string(code) + ")";
    return std::to_string(code) + " (no name)";
}

}  // namespace krocolor
