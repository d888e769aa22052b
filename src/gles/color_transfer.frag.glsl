// Colour conversion of one RGBA sample per fragment: remove the source
// transfer, change primaries in linear light, apply the destination
// transfer. Range and matrix never enter (the program sees RGBA only); the
// render target quantises to 8 bits or keeps half floats. Written in the
// OpenGL ES 2 dialect so that it runs on every ES 2/3 driver and, with the
// precision qualifiers defined away, on desktop GL.
#ifdef GL_ES
precision highp float;
precision highp int;
#else
#define highp
#define mediump
#define lowp
#endif

// The colour tables and curve constants of the CPU pipeline, spliced in
// here at build time from the generated file beside this program.
// @COLOR_CONSTANTS@

// Texture formats this program is drawn for.
const int kKRORGBA8888Texture2DFormat = 201;
const int kKRORGBAFloat16Texture2DFormat = 202;
const int kKRORGB888Texture2DFormat = 203;

// Colour primaries and transfer characteristics (ITU-T H.273 numbering).
const int kColorPrimariesBT709 = 1;
const int kColorPrimariesBT470BG = 5;
const int kColorPrimariesSMPTE170M = 6;
const int kColorPrimariesBT2020 = 9;
const int kColorPrimariesSMPTE431 = 11;
const int kColorPrimariesSMPTE432 = 12;
const int kColorPrimariesAdobeRGB = 23;
const int kColorTransferBT709 = 1;
const int kColorTransferSMPTE170M = 6;
const int kColorTransferIEC61966_2_1 = 13;
const int kColorTransferBT2020_10 = 14;
const int kColorTransferBT2020_12 = 15;
const int kColorTransferSMPTE2084 = 16;
const int kColorTransferARIB_STD_B67 = 18;

uniform sampler2D uTexture0;
uniform int src_format;
uniform int src_color_range;
uniform int src_color_primaries;
uniform int src_color_transfer;
uniform int src_color_matrix;
uniform int dst_format;
uniform int dst_color_range;
uniform int dst_color_primaries;
uniform int dst_color_transfer;
uniform int dst_color_matrix;
uniform highp int src_lw;  // source peak luminance, cd/m2

varying vec2 vTexCoord;

float log10(float x) { return log(x) / log(10.0); }

// BT.709, BT.601 and BT.2020 share one curve shape; only the constants and
// the final clamp differ.
vec3 videoEOTF(vec3 x, float threshold, float alpha, float offset) {
    vec3 linear = x / kBT709Slope;
    vec3 power = pow(max((x + offset) / alpha, 0.0), vec3(kBT709EotfPower));
    return mix(power, linear, vec3(lessThan(x, vec3(threshold))));
}

vec3 videoOETF(vec3 x, float threshold, float alpha, float offset) {
    vec3 linear = kBT709Slope * x;
    vec3 power = alpha * pow(max(x, 0.0), vec3(kBT709OetfPower)) - offset;
    return mix(power, linear, vec3(lessThan(x, vec3(threshold))));
}

vec3 sRGB_EOTF(vec3 x) {
    vec3 linear = x / kSRGBSlope;
    vec3 power = pow(max((x + kSRGBOffset) / kSRGBAlpha, 0.0), vec3(kSRGBPower));
    return clamp(mix(power, linear, vec3(lessThan(x, vec3(kSRGBSignalThreshold)))), 0.0, 1.0);
}

vec3 sRGB_OETF(vec3 x) {
    vec3 linear = kSRGBSlope * x;
    vec3 power = kSRGBAlpha * pow(max(x, 0.0), vec3(kSRGBInversePower)) - kSRGBOffset;
    return clamp(mix(power, linear, vec3(lessThan(x, vec3(kSRGBLinearThreshold)))), 0.0, 1.0);
}

vec3 HLGInverseOETF(vec3 x) {
    vec3 upper = (exp((x - kHlgC) / kHlgA) + kHlgB) / 12.0;
    vec3 lower = x * x / 3.0;
    return mix(lower, upper, vec3(greaterThan(x, vec3(kHlgSignalThreshold))));
}

// HLG signal to display light with a nominal 203 cd/m2 peak: black level
// lift, inverse OETF, then the OOTF on the BT.2020 luminance. Alpha is 1.
vec4 HLG_EOTF(vec4 p) {
    vec3 e = HLGInverseOETF(max((1.0 - kHlgBeta) * p.rgb + kHlgBeta, 0.0));
    float ys = kBT2020LumaR * e.r + kBT2020LumaG * e.g + kBT2020LumaB * e.b;
    return vec4(pow(ys, kHlgGamma - 1.0) * e, 1.0);
}

vec4 HLG_OETF(vec4 p) {
    vec3 x = p.rgb;
    vec3 upper = kHlgA * log(max(12.0 * x - kHlgB, 1e-30)) + kHlgC;
    vec3 lower = sqrt(max(3.0 * x, 0.0));
    return vec4(mix(lower, upper, vec3(greaterThan(x, vec3(kHlgLinearThreshold)))), p.a);
}

// PQ signal to linear light relative to the destination's reference: 20
// (SDR, 500 cd/m2 at 1), 10 (HLG, 1000 cd/m2 at 1) or 10000 / peak (PQ,
// keeping luminance for a source mastered at that peak); clamped to [0, 1].
vec4 PQ_EOTF(vec4 p, int lw, int dstTransfer) {
    vec3 f = pow(max(p.rgb, 0.0), vec3(kPqInverseM2));
    vec3 l = pow(max(f - kPqC1, 0.0) / (kPqC2 - kPqC3 * f), vec3(kPqInverseM1));
    float ratio = kPqRatioToSdr;
    if (dstTransfer == kColorTransferARIB_STD_B67) ratio = kPqRatioToHlg;
    else if (dstTransfer == kColorTransferSMPTE2084) ratio = kPqReferencePeak / float(lw);
    return vec4(clamp(l * ratio, 0.0, 1.0), p.a);
}

vec4 PQ_OETF(vec4 p, int srcTransfer) {
    float scale = (srcTransfer == kColorTransferARIB_STD_B67 || srcTransfer == kColorTransferSMPTE2084)
                      ? kPqScaleFromHdr : kPqScaleFromSdr;
    vec3 f = pow(max(p.rgb * scale, 0.0), vec3(kPqM1));
    vec3 v = pow((kPqC1 + kPqC2 * f) / (1.0 + kPqC3 * f), vec3(kPqM2));
    return vec4(clamp(v, 0.0, 1.0), p.a);
}

// Transfers without a curve of their own here pass values unchanged.
vec4 EOTF(vec4 p, int transfer) {
    if (transfer == kColorTransferBT709 || transfer == kColorTransferSMPTE170M || transfer == kColorTransferBT2020_10)
        return vec4(videoEOTF(p.rgb, kBT709SignalThreshold, kBT709Alpha, kBT709Offset), p.a);
    if (transfer == kColorTransferBT2020_12)
        return vec4(videoEOTF(p.rgb, kBT2020_12SignalThreshold, kBT2020_12Alpha, kBT2020_12Offset), p.a);
    if (transfer == kColorTransferIEC61966_2_1) return vec4(sRGB_EOTF(p.rgb), p.a);
    if (transfer == kColorTransferARIB_STD_B67) return HLG_EOTF(p);
    return p;
}

// Only the BT.709 curve clamps its signal; BT.601 and BT.2020 do not.
vec4 OETF(vec4 p, int transfer) {
    if (transfer == kColorTransferBT709)
        return vec4(clamp(videoOETF(p.rgb, kBT709LinearThreshold, kBT709Alpha, kBT709Offset), 0.0, 1.0), p.a);
    if (transfer == kColorTransferSMPTE170M || transfer == kColorTransferBT2020_10)
        return vec4(videoOETF(p.rgb, kBT709LinearThreshold, kBT709Alpha, kBT709Offset), p.a);
    if (transfer == kColorTransferBT2020_12)
        return vec4(videoOETF(p.rgb, kBT2020_12LinearThreshold, kBT2020_12Alpha, kBT2020_12Offset), p.a);
    if (transfer == kColorTransferIEC61966_2_1) return vec4(sRGB_OETF(p.rgb), p.a);
    if (transfer == kColorTransferARIB_STD_B67) return HLG_OETF(p);
    return p;
}

// The pairs this program converts; every other pair keeps its values.
mat3 getColorPrimariesMatrix(int src, int dst) {
    if (src == kColorPrimariesBT2020) {
        if (dst == kColorPrimariesBT709) return kBT2020ToBT709;
        if (dst == kColorPrimariesBT470BG) return kBT2020ToBT601;
        if (dst == kColorPrimariesSMPTE170M) return kBT2020ToBT601_525;
    } else if (src == kColorPrimariesBT470BG) {
        if (dst == kColorPrimariesBT709) return kBT601ToBT709;
        if (dst == kColorPrimariesBT2020) return kBT601ToBT2020;
    } else if (src == kColorPrimariesBT709) {
        if (dst == kColorPrimariesSMPTE170M) return kBT709ToBT601_525;
        if (dst == kColorPrimariesBT470BG) return kBT709ToBT601;
        if (dst == kColorPrimariesBT2020) return kBT709ToBT2020;
    } else if (src == kColorPrimariesSMPTE170M) {
        if (dst == kColorPrimariesBT709) return kBT601_525toBT709;
        if (dst == kColorPrimariesBT2020) return kBT601_525toBT2020;
    } else if (src == kColorPrimariesSMPTE431) {
        if (dst == kColorPrimariesSMPTE170M) return kDCIP3toBT601_525;
        if (dst == kColorPrimariesBT470BG) return kDCIP3toBT601;
        if (dst == kColorPrimariesBT709) return kDCIP3toBT709;
        if (dst == kColorPrimariesBT2020) return kDCIP3toBT2020;
        if (dst == kColorPrimariesSMPTE432) return kDCIP3toDisplayP3;
    } else if (src == kColorPrimariesSMPTE432) {
        if (dst == kColorPrimariesSMPTE170M) return kDisplayP3toBT601_525;
        if (dst == kColorPrimariesBT470BG) return kDisplayP3toBT601;
        if (dst == kColorPrimariesBT709) return kDisplayP3toBT709;
        if (dst == kColorPrimariesBT2020) return kDisplayP3toBT2020;
        if (dst == kColorPrimariesSMPTE431) return kDisplayP3toDCIP3;
    } else if (src == kColorPrimariesAdobeRGB) {
        if (dst == kColorPrimariesBT709) return kAdobeRGBtoBT709;
    }
    return kIdentity;
}

vec4 convertRGBA(vec4 p, int src, int dst) {
    return vec4(clamp(getColorPrimariesMatrix(src, dst) * p.rgb, 0.0, 1.0), p.a);
}

void main() {
    vec4 p = texture2D(uTexture0, vTexCoord);
    bool sameDescription = src_format == dst_format && src_color_range == dst_color_range &&
                           src_color_primaries == dst_color_primaries &&
                           src_color_transfer == dst_color_transfer && src_color_matrix == dst_color_matrix;
    bool sameLight = src_color_primaries == dst_color_primaries && src_color_transfer == dst_color_transfer;
    if (!sameDescription && !sameLight) {
        if (src_color_transfer == kColorTransferARIB_STD_B67) p = HLG_EOTF(p);
        else if (src_color_transfer == kColorTransferSMPTE2084) p = PQ_EOTF(p, src_lw, dst_color_transfer);
        else p = EOTF(p, src_color_transfer);
        p = convertRGBA(p, src_color_primaries, dst_color_primaries);
        if (dst_color_transfer == kColorTransferARIB_STD_B67) p = HLG_OETF(p);
        else if (dst_color_transfer == kColorTransferSMPTE2084) p = PQ_OETF(p, src_color_transfer);
        else p = OETF(p, dst_color_transfer);
    }
    gl_FragColor = p;
}
