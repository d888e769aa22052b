// Builds small ICC profiles byte by byte for tests and fuzzer seeds: a
// header, a tag table and the tag elements in the order given.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

namespace KROCOLOR {
namespace iccbuild {

using Bytes = std::vector<uint8_t>;

// Big-endian numbers, signatures and s15Fixed16 values.
inline void put32(Bytes& b, uint32_t v) {
    for (int s = 24; s >= 0; s -= 8) b.push_back(static_cast<uint8_t>(v >> s));
}
inline void put16(Bytes& b, uint16_t v) { b.insert(b.end(), {static_cast<uint8_t>(v >> 8), static_cast<uint8_t>(v)}); }
inline void putSig(Bytes& b, const char* s) { b.insert(b.end(), s, s + 4); }
inline void putFixed(Bytes& b, double v) { put32(b, static_cast<uint32_t>(static_cast<int32_t>(v * 65536.0 + (v < 0 ? -0.5 : 0.5)))); }
inline void set32(Bytes& b, size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i) b[at + i] = static_cast<uint8_t>(v >> (24 - 8 * i));
}
// A tag element's type signature and reserved word.
inline Bytes element(const char* type) {
    Bytes b;
    putSig(b, type);
    put32(b, 0);
    return b;
}

inline Bytes xyz(double x, double y, double z) {
    Bytes b = element("XYZ ");
    for (double v : {x, y, z}) putFixed(b, v);
    return b;
}

inline Bytes curvTable(const std::vector<uint16_t>& entries) {
    Bytes b = element("curv");
    put32(b, static_cast<uint32_t>(entries.size()));
    for (uint16_t e : entries) put16(b, e);
    return b;
}
inline Bytes curvGamma(uint16_t u8Fixed8) { return curvTable({u8Fixed8}); }

inline Bytes para(uint16_t function, const std::vector<double>& params) {
    Bytes b = element("para");
    put16(b, function);
    put16(b, 0);
    for (double p : params) putFixed(b, p);
    return b;
}

inline Bytes textDesc(const std::string& text) {
    Bytes b = element("desc");
    put32(b, static_cast<uint32_t>(text.size() + 1));
    b.insert(b.end(), text.begin(), text.end());
    b.push_back(0);
    b.resize(b.size() + 4 + 4 + 2 + 1 + 67, 0);
    return b;
}

// "mft2" with identity input and output tables of two entries and a grid
// of `grid` points per input whose entries come from `gridValue(input
// coordinates in [0, 1], output channel)`.
template <typename F>
Bytes mft2(int inputs, int outputs, int grid, F gridValue) {
    Bytes b = element("mft2");
    b.insert(b.end(), {static_cast<uint8_t>(inputs), static_cast<uint8_t>(outputs), static_cast<uint8_t>(grid), 0});
    for (double v : {1, 0, 0, 0, 1, 0, 0, 0, 1}) putFixed(b, v);
    put16(b, 2);
    put16(b, 2);
    for (int i = 0; i < inputs; ++i) put32(b, 65535);  // entries 0 and 65535
    int total = 1;
    for (int i = 0; i < inputs; ++i) total *= grid;
    for (int k = 0; k < total; ++k) {
        double coord[4] = {0, 0, 0, 0};
        int rest = k;
        for (int i = inputs - 1; i >= 0; --i) {
            coord[i] = static_cast<double>(rest % grid) / (grid - 1);
            rest /= grid;
        }
        for (int o = 0; o < outputs; ++o) {
            double v = gridValue(coord, o);
            v = v < 0 ? 0 : (v > 1 ? 1 : v);
            put16(b, static_cast<uint16_t>(v * 65535.0 + 0.5));
        }
    }
    for (int o = 0; o < outputs; ++o) put32(b, 65535);
    return b;
}

struct Tag {
    std::string signature;
    Bytes data;
    int sharesWith = -1;  // index of an earlier tag whose element this one reuses
};

// Profile with the D50 illuminant; tags laid out in order, 4-byte aligned.
inline Bytes profile(const std::vector<Tag>& tags, const char* colorSpace = "RGB ", const char* pcs = "XYZ ",
                     uint32_t version = 0x04300000, const char* deviceClass = "mntr") {
    Bytes b(128, 0);
    set32(b, 8, version);
    std::memcpy(&b[12], deviceClass, 4);
    std::memcpy(&b[16], colorSpace, 4);
    std::memcpy(&b[20], pcs, 4);
    std::memcpy(&b[36], "acsp", 4);
    const Bytes d50 = xyz(0.9642, 1.0, 0.8249);
    std::memcpy(&b[68], &d50[8], 12);
    put32(b, static_cast<uint32_t>(tags.size()));
    const size_t tableAt = b.size();
    b.resize(b.size() + 12 * tags.size(), 0);
    std::vector<std::pair<uint32_t, uint32_t>> placed;
    for (size_t i = 0; i < tags.size(); ++i) {
        uint32_t offset, size;
        if (tags[i].sharesWith >= 0) {
            std::tie(offset, size) = placed[static_cast<size_t>(tags[i].sharesWith)];
        } else {
            while (b.size() % 4) b.push_back(0);
            offset = static_cast<uint32_t>(b.size());
            size = static_cast<uint32_t>(tags[i].data.size());
            b.insert(b.end(), tags[i].data.begin(), tags[i].data.end());
        }
        placed.emplace_back(offset, size);
        std::memcpy(&b[tableAt + 12 * i], tags[i].signature.data(), 4);
        set32(b, tableAt + 12 * i + 4, offset);
        set32(b, tableAt + 12 * i + 8, size);
    }
    while (b.size() % 4) b.push_back(0);
    set32(b, 0, static_cast<uint32_t>(b.size()));
    return b;
}

// A matrix/TRC RGB profile with sRGB-like colorants and the given curve,
// followed by any `extra` tags.
inline Bytes matrixProfile(const Bytes& curve, const std::vector<Tag>& extra = {}) {
    std::vector<Tag> tags = {{"rXYZ", xyz(0.4361, 0.2225, 0.0139)},
                             {"gXYZ", xyz(0.3851, 0.7169, 0.0971)},
                             {"bXYZ", xyz(0.1431, 0.0606, 0.7141)},
                             {"rTRC", curve},
                             {"gTRC", {}, 3},
                             {"bTRC", {}, 3}};
    tags.insert(tags.end(), extra.begin(), extra.end());
    return profile(tags);
}

}  // namespace iccbuild
}  // namespace KROCOLOR
