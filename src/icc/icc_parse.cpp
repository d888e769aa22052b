// Parsing of ICC.1 profiles. Profiles are untrusted bytes: every offset is
// checked against the declared size (which is itself checked against the
// bytes actually given) before anything is read, in 64-bit arithmetic.
#include <cmath>
#include <cstring>

#include "icc/icc_curves.h"
#include "icc/icc_engine.h"

namespace KROCOLOR {
namespace {

using icc::replaceIdentityTable;

constexpr uint32_t kHeaderSize = 128;
constexpr uint32_t kTagTableStart = 132;

uint16_t readU16(const uint8_t* p) { return static_cast<uint16_t>((p[0] << 8) | p[1]); }
uint32_t readU32(const uint8_t* p) {
    return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | uint32_t(p[3]);
}
float readS15Fixed16(const uint8_t* p) {
    return static_cast<float>(static_cast<int32_t>(readU32(p))) * (1.0f / 65536.0f);
}

struct Tag {
    uint32_t signature;
    uint32_t type;  // first four bytes of the element
    uint32_t size;
    const uint8_t* data;
};

// Tag directory entries were all checked to lie within the profile.
bool findTag(const ICCProfile& p, uint32_t signature, Tag* tag) {
    for (uint32_t i = 0; i < p.tagCount; ++i) {
        const uint8_t* entry = p.buffer + kTagTableStart + 12 * i;
        if (readU32(entry) != signature) continue;
        tag->signature = signature;
        tag->data = p.buffer + readU32(entry + 4);
        tag->size = readU32(entry + 8);
        tag->type = readU32(tag->data);
        return true;
    }
    return false;
}

// One curve element ("curv" or "para") at `data` with `size` bytes available;
// `used` receives the bytes the element occupies.
bool parseCurve(const uint8_t* data, uint64_t size, ICCCurve* curve, uint64_t* used) {
    if (size < 12) return false;
    *curve = ICCCurve{};
    const uint32_t type = readU32(data);
    if (type == iccSignature('c', 'u', 'r', 'v')) {
        const uint32_t n = readU32(data + 8);
        const uint64_t bytes = 12 + 2 * uint64_t(n);
        if (size < bytes) return false;
        *used = bytes;
        if (n == 0) {
            curve->parametric = icc::kIdentityTransferFunction;
        } else if (n == 1) {
            curve->parametric = icc::kIdentityTransferFunction;
            curve->parametric.g = readU16(data + 12) * (1.0f / 256.0f);  // u8Fixed8
        } else {
            curve->tableEntries = n;
            curve->table16 = data + 12;
        }
        return true;
    }
    if (type == iccSignature('p', 'a', 'r', 'a')) {
        static const uint32_t kParamBytes[5] = {4, 12, 16, 20, 28};
        const uint32_t function = readU16(data + 8);
        if (function > 4) return false;
        const uint64_t bytes = 12 + uint64_t(kParamBytes[function]);
        if (size < bytes) return false;
        *used = bytes;
        float v[7] = {0, 0, 0, 0, 0, 0, 0};
        for (uint32_t i = 0; i < kParamBytes[function] / 4; ++i) v[i] = readS15Fixed16(data + 12 + 4 * i);
        ICCTransferFunction tf{v[0], 1.0f, 0, 0, 0, 0, 0};
        switch (function) {
            case 0:  // Y = X^g
                break;
            case 1:  // Y = (aX + b)^g for X >= -b/a, else 0
            case 2:  // Y = (aX + b)^g + c for X >= -b/a, else c
                tf.a = v[1];
                tf.b = v[2];
                if (tf.a == 0.0f) return false;
                tf.d = -tf.b / tf.a;
                if (function == 2) tf.e = tf.f = v[3];  // the constant belongs to both pieces
                break;
            case 3:  // Y = (aX + b)^g for X >= d, else cX
                tf.a = v[1];
                tf.b = v[2];
                tf.c = v[3];
                tf.d = v[4];
                break;
            default:  // Y = (aX + b)^g + e for X >= d, else cX + f
                tf.a = v[1];
                tf.b = v[2];
                tf.c = v[3];
                tf.d = v[4];
                tf.e = v[5];
                tf.f = v[6];
                break;
        }
        if (!icc::isValidTransferFunction(tf)) return false;
        curve->parametric = tf;
        return true;
    }
    return false;
}

bool parseTagCurve(const Tag& tag, ICCCurve* curve) {
    uint64_t used = 0;
    return parseCurve(tag.data, tag.size, curve, &used);
}

// `count` curves packed one after another from `offset` inside an element of
// `size` bytes, each padded to a multiple of four bytes.
bool parseCurveChain(const uint8_t* element, uint64_t size, uint64_t offset, uint32_t count,
                     ICCCurve* curves) {
    for (uint32_t i = 0; i < count; ++i) {
        if (offset >= size) return false;
        uint64_t used = 0;
        if (!parseCurve(element + offset, size - offset, &curves[i], &used)) return false;
        offset += (used + 3) & ~uint64_t(3);
    }
    return true;
}

// "mft1" (8-bit) and "mft2" (16-bit) elements, for either direction.
bool parseMft(const Tag& tag, bool isB2A, ICCLut* lut) {
    const bool wide = tag.type == iccSignature('m', 'f', 't', '2');
    const uint64_t header = wide ? 52 : 48;
    if (tag.size < header) return false;
    const uint32_t inputs = tag.data[8], outputs = tag.data[9], grid = tag.data[10];
    if (isB2A) {
        if (inputs != 3 || (outputs != 3 && outputs != 4)) return false;
    } else {
        if (inputs < 1 || inputs > 4 || outputs != 3) return false;
    }
    if (grid < 2) return false;
    uint32_t inEntries = 256, outEntries = 256;
    if (wide) {
        inEntries = readU16(tag.data + 48);
        outEntries = readU16(tag.data + 50);
        if (inEntries < 2 || inEntries > 4096 || outEntries < 2 || outEntries > 4096) return false;
    }
    const uint64_t width = wide ? 2 : 1;
    uint64_t gridEntries = 1;
    for (uint32_t i = 0; i < inputs; ++i) gridEntries *= grid;
    const uint64_t inBytes = inputs * inEntries * width;
    const uint64_t clutBytes = gridEntries * outputs * width;
    const uint64_t outBytes = outputs * outEntries * width;
    if (tag.size - header < inBytes + clutBytes + outBytes) return false;

    const uint8_t* p = tag.data + header;
    *lut = ICCLut{};
    lut->inputChannels = inputs;
    for (uint32_t i = 0; i < inputs; ++i) {
        ICCCurve& c = lut->inputCurves[i];
        c.tableEntries = inEntries;
        (wide ? c.table16 : c.table8) = p + i * inEntries * width;
        lut->gridPoints[i] = static_cast<uint8_t>(grid);
    }
    p += inBytes;
    (wide ? lut->grid16 : lut->grid8) = p;
    p += clutBytes;
    lut->outputChannels = outputs;
    for (uint32_t i = 0; i < outputs; ++i) {
        ICCCurve& c = lut->outputCurves[i];
        c.tableEntries = outEntries;
        (wide ? c.table16 : c.table8) = p + i * outEntries * width;
    }
    return true;
}

// The lookup-table header of "mAB "/"mBA ": grid points per input, entry
// width, then the entries.
bool parseClut(const Tag& tag, uint64_t offset, uint32_t inputs, uint32_t outputs, ICCLut* lut) {
    if (offset >= tag.size || tag.size - offset < 20) return false;
    const uint8_t* p = tag.data + offset;
    uint64_t entries = outputs;
    for (uint32_t i = 0; i < inputs; ++i) {
        if (p[i] < 2) return false;
        lut->gridPoints[i] = p[i];
        entries *= p[i];
    }
    const uint32_t width = p[16];
    if (width != 1 && width != 2) return false;
    if (tag.size - offset - 20 < entries * width) return false;
    (width == 2 ? lut->grid16 : lut->grid8) = p + 20;
    return true;
}

bool parseMatrix(const Tag& tag, uint64_t offset, float scale, ICCLut* lut) {
    if (offset >= tag.size || tag.size - offset < 48) return false;
    const uint8_t* p = tag.data + offset;
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) lut->matrix[r][c] = readS15Fixed16(p + 4 * (3 * r + c)) * scale;
        lut->matrix[r][3] = readS15Fixed16(p + 36 + 4 * r) * scale;
    }
    lut->matrixChannels = 3;
    return true;
}

// "mAB " (A2B: A curves, lookup, M curves, matrix, B curves) and "mBA "
// (B2A: B curves, matrix, M curves, lookup, A curves).
bool parseMabMba(const Tag& tag, bool isB2A, bool xyzPCS, ICCLut* lut) {
    if (tag.size < 32) return false;
    const uint32_t inputs = tag.data[8], outputs = tag.data[9];
    if (isB2A) {
        if (inputs != 3 || (outputs != 3 && outputs != 4)) return false;
    } else {
        if (inputs < 1 || inputs > 4 || outputs != 3) return false;
    }
    const uint32_t offB = readU32(tag.data + 12), offMatrix = readU32(tag.data + 16),
                   offM = readU32(tag.data + 20), offClut = readU32(tag.data + 24),
                   offA = readU32(tag.data + 28);
    *lut = ICCLut{};
    if (offB == 0) return false;
    ICCCurve* bCurves = isB2A ? lut->inputCurves : lut->outputCurves;
    if (!parseCurveChain(tag.data, tag.size, offB, 3, bCurves)) return false;

    if ((offMatrix == 0) != (offM == 0)) return false;
    if (offMatrix != 0) {
        // With an XYZ connection space the matrix works on the 1.15 fixed
        // point PCS encoding, so it is rescaled to plain XYZ and back.
        const float scale = xyzPCS ? (isB2A ? 32768.0f / 65535.0f : 65535.0f / 32768.0f) : 1.0f;
        if (!parseMatrix(tag, offMatrix, scale, lut)) return false;
        if (!parseCurveChain(tag.data, tag.size, offM, 3, lut->matrixCurves)) return false;
    }

    if ((offA == 0) != (offClut == 0)) return false;
    if (isB2A) {
        lut->inputChannels = 3;
        if (offA != 0) {
            if (!parseCurveChain(tag.data, tag.size, offA, outputs, lut->outputCurves)) return false;
            if (!parseClut(tag, offClut, 3, outputs, lut)) return false;
            lut->outputChannels = outputs;
        } else if (outputs != 3) {
            return false;
        }
    } else {
        lut->outputChannels = 3;
        if (offA != 0) {
            if (!parseCurveChain(tag.data, tag.size, offA, inputs, lut->inputCurves)) return false;
            if (!parseClut(tag, offClut, inputs, 3, lut)) return false;
            lut->inputChannels = inputs;
        } else if (inputs != 3) {
            return false;
        }
    }
    return true;
}

bool parseLut(const Tag& tag, bool isB2A, bool xyzPCS, ICCLut* lut) {
    bool ok = false;
    if (tag.type == iccSignature('m', 'f', 't', '1') || tag.type == iccSignature('m', 'f', 't', '2'))
        ok = parseMft(tag, isB2A, lut);
    else if (tag.type == (isB2A ? iccSignature('m', 'B', 'A', ' ') : iccSignature('m', 'A', 'B', ' ')))
        ok = parseMabMba(tag, isB2A, xyzPCS, lut);
    if (!ok) return false;
    for (ICCCurve& c : lut->inputCurves) replaceIdentityTable(c);
    for (ICCCurve& c : lut->matrixCurves) replaceIdentityTable(c);
    for (ICCCurve& c : lut->outputCurves) replaceIdentityTable(c);
    return true;
}

bool parseDirection(const ICCProfile& p, const int* priorities, int count, bool isB2A, ICCLut* lut,
                    bool* found) {
    *found = false;
    for (int i = 0; i < count; ++i) {
        const int priority = priorities[i];
        if (priority < 0 || priority > 2) return false;
        const uint32_t base = isB2A ? iccSignature('B', '2', 'A', '0') : iccSignature('A', '2', 'B', '0');
        Tag tag;
        if (!findTag(p, base + static_cast<uint32_t>(priority), &tag)) continue;
        if (!parseLut(tag, isB2A, p.pcs == kICCSigXYZ, lut)) return false;
        *found = true;
        return true;
    }
    return true;
}

bool parseColorant(const ICCProfile& p, uint32_t signature, float column[3]) {
    Tag tag;
    findTag(p, signature, &tag);
    if (tag.type != kICCSigXYZ || tag.size < 20) return false;
    for (int i = 0; i < 3; ++i) column[i] = readS15Fixed16(tag.data + 8 + 4 * i);
    return true;
}

}  // namespace

bool parseICCProfile(const uint8_t* bytes, size_t length, const int* priorities, int priorityCount,
                     ICCProfile* profile) {
    if (!bytes || !profile || length < kTagTableStart) return false;
    if (priorityCount > 0 && !priorities) return false;
    ICCProfile p{};
    p.buffer = bytes;
    p.size = readU32(bytes);
    const uint32_t version = readU32(bytes + 8);
    p.dataColorSpace = readU32(bytes + 16);
    p.pcs = readU32(bytes + 20);
    const uint32_t signature = readU32(bytes + 36);
    float illuminant[3];
    for (int i = 0; i < 3; ++i) illuminant[i] = readS15Fixed16(bytes + 68 + 4 * i);
    p.tagCount = readU32(bytes + kHeaderSize);

    if (signature != iccSignature('a', 'c', 's', 'p')) return false;
    if (p.size > length) return false;
    if (uint64_t(p.size) < kTagTableStart + 12 * uint64_t(p.tagCount)) return false;
    if ((version >> 24) > 4) return false;

    // Only D50-relative profiles are taken (the ICC PCS illuminant).
    const float d50[3] = {0.9642f, 1.0f, 0.8249f};
    for (int i = 0; i < 3; ++i)
        if (!(std::fabs(illuminant[i] - d50[i]) <= 0.01f)) return false;

    for (uint32_t i = 0; i < p.tagCount; ++i) {
        const uint8_t* entry = bytes + kTagTableStart + 12 * i;
        const uint64_t offset = readU32(entry + 4), size = readU32(entry + 8);
        if (size < 4 || offset + size > p.size) return false;
    }

    if (p.pcs != kICCSigXYZ && p.pcs != kICCSigLab) return false;

    Tag kTRC;
    if (p.dataColorSpace == kICCSigGray && findTag(p, iccSignature('k', 'T', 'R', 'C'), &kTRC)) {
        if (!parseTagCurve(kTRC, &p.trc[0])) return false;
        p.trc[1] = p.trc[2] = p.trc[0];
        p.hasTRC = true;
        if (p.pcs == kICCSigXYZ) {
            for (int r = 0; r < 3; ++r)
                for (int c = 0; c < 3; ++c) p.toXYZD50[r][c] = r == c ? illuminant[r] : 0.0f;
            p.hasToXYZD50 = true;
        }
    } else {
        Tag trc[3];
        if (findTag(p, iccSignature('r', 'T', 'R', 'C'), &trc[0]) &&
            findTag(p, iccSignature('g', 'T', 'R', 'C'), &trc[1]) &&
            findTag(p, iccSignature('b', 'T', 'R', 'C'), &trc[2])) {
            for (int i = 0; i < 3; ++i)
                if (!parseTagCurve(trc[i], &p.trc[i])) return false;
            p.hasTRC = true;
        }
        Tag colorant;
        if (findTag(p, iccSignature('r', 'X', 'Y', 'Z'), &colorant) &&
            findTag(p, iccSignature('g', 'X', 'Y', 'Z'), &colorant) &&
            findTag(p, iccSignature('b', 'X', 'Y', 'Z'), &colorant)) {
            const uint32_t sigs[3] = {iccSignature('r', 'X', 'Y', 'Z'), iccSignature('g', 'X', 'Y', 'Z'),
                                      iccSignature('b', 'X', 'Y', 'Z')};
            for (int c = 0; c < 3; ++c) {
                float column[3];
                if (!parseColorant(p, sigs[c], column)) return false;
                for (int r = 0; r < 3; ++r) p.toXYZD50[r][c] = column[r];
            }
            p.hasToXYZD50 = true;
        }
    }

    bool found = false;
    if (!parseDirection(p, priorities, priorityCount, false, &p.A2B, &found)) return false;
    p.hasA2B = found;
    if (!parseDirection(p, priorities, priorityCount, true, &p.B2A, &found)) return false;
    p.hasB2A = found;

    Tag cicp;
    if (findTag(p, iccSignature('c', 'i', 'c', 'p'), &cicp)) {
        if (cicp.type != iccSignature('c', 'i', 'c', 'p') || cicp.size < 12) return false;
        std::memcpy(p.cicp, cicp.data + 8, 4);
        p.hasCICP = true;
    }

    if (!p.hasA2B && !(p.hasTRC && p.hasToXYZD50)) return false;
    *profile = p;
    return true;
}

}  // namespace KROCOLOR
