// D3D11ColorTransfer_CS: the compute program of the Direct3D 11 convertor.
//
// colorTransfer converts every pixel of one texture into another of the same
// size; scaleTransfer resamples a texture into one of another size with the
// same format and range. Both run in groups of 32 x 16 threads, one thread per
// written pixel. Compiled at run time with target "cs_5_0".
//
// The build splices the library's colour tables in place of the #include
// below and stores the whole text with CR LF line ends, so the compiler gets
// one self-contained source and needs no include handler.
#include "generated/color_constants.hlsli"

// Texture formats the program reads and writes (the KROPixelFormat codes).
static const int kKRORGBA8888D3D11Texture2DFormat = 401;
static const int kKROBGRA8888D3D11Texture2DFormat = 402;
static const int kKRONV12D3D11Texture2DFormat = 403;
static const int kKRONV1210LED3D11Texture2DFormat = 404;
static const int kKRORGBA16LED3D11Texture2DFormat = 406;

// Colour description values (ITU-T H.273 numbering).
static const int kColorRangeMpeg = 1;
static const int kColorRangeJpeg = 2;

static const int kColorPrimariesRESERVED0 = 0;
static const int kColorPrimariesBT709 = 1;
static const int kColorPrimariesUNSPECIFIED = 2;
static const int kColorPrimariesRESERVED = 3;
static const int kColorPrimariesBT470M = 4;
static const int kColorPrimariesBT470BG = 5;
static const int kColorPrimariesSMPTE170M = 6;
static const int kColorPrimariesSMPTE240M = 7;
static const int kColorPrimariesFILM = 8;
static const int kColorPrimariesBT2020 = 9;
static const int kColorPrimariesSMPTE428 = 10;
static const int kColorPrimariesSMPTEST428_1 = 10;
static const int kColorPrimariesSMPTE431 = 11;
static const int kColorPrimariesSMPTE432 = 12;
static const int kColorPrimariesEBU3213 = 22;
static const int kColorPrimariesJEDEC_P22 = 22;
static const int kColorPrimariesAdobeRGB = 23;

static const int kColorMatrixRGB = 0;
static const int kColorMatrixBT709 = 1;
static const int kColorMatrixUNSPECIFIED = 2;
static const int kColorMatrixRESERVED = 3;
static const int kColorMatrixFCC = 4;
static const int kColorMatrixBT470BG = 5;
static const int kColorMatrixSMPTE170M = 6;
static const int kColorMatrixSMPTE240M = 7;
static const int kColorMatrixYCGCO = 8;
static const int kColorMatrixYCOCG = 8;
static const int kColorMatrixBT2020_NCL = 9;
static const int kColorMatrixBT2020_CL = 10;
static const int kColorMatrixSMPTE2085 = 11;
static const int kColorMatrixCHROMA_DERIVED_NCL = 12;
static const int kColorMatrixCHROMA_DERIVED_CL = 13;
static const int kColorMatrixICTCP = 14;

static const int kColorTransferRESERVED0 = 0;
static const int kColorTransferBT709 = 1;
static const int kColorTransferUNSPECIFIED = 2;
static const int kColorTransferRESERVED = 3;
static const int kColorTransferGAMMA22 = 4;
static const int kColorTransferGAMMA28 = 5;
static const int kColorTransferSMPTE170M = 6;
static const int kColorTransferSMPTE240M = 7;
static const int kColorTransferLINEAR = 8;
static const int kColorTransferLOG = 9;
static const int kColorTransferLOG_SQRT = 10;
static const int kColorTransferIEC61966_2_4 = 11;
static const int kColorTransferBT1361_ECG = 12;
static const int kColorTransferIEC61966_2_1 = 13;
static const int kColorTransferBT2020_10 = 14;
static const int kColorTransferBT2020_12 = 15;
static const int kColorTransferSMPTE2084 = 16;
static const int kColorTransferSMPTEST2084 = 16;
static const int kColorTransferSMPTE428 = 17;
static const int kColorTransferSMPTEST428_1 = 17;
static const int kColorTransferARIB_STD_B67 = 18;

// The library's table kAdobeRGBtoBT709 under the name this program uses.
static const float3x3 kAdobeRGBToBT709 = kAdobeRGBtoBT709;

// Colour pass parameters: twelve 32-bit integers, 48 bytes, no gaps. The
// host side mirrors this layout field for field.
cbuffer CS_COLROTRANSFER_BUFFER : register(b0)
{
    int src_format;
    int src_color_range;
    int src_color_primaries;
    int src_color_transfer;
    int src_color_matrix;
    int dst_format;
    int dst_color_range;
    int dst_color_primaries;
    int dst_color_transfer;
    int dst_color_matrix;
    int width;
    int height;
};

// Scaling pass parameters: eight 32-bit integers, 32 bytes.
cbuffer CS_SCALING_BUFFER : register(b1)
{
    int s_format;
    int s_color_range;
    int d_format;
    int d_color_range;
    int src_width;
    int src_height;
    int dst_width;
    int dst_height;
};

// The texture read: RGBA texels, or the luma (t0) and interleaved chroma (t1)
// planes of NV12 and P010.
Texture2D g_texture0 : register(t0);
Texture2D g_texture1 : register(t1);

// The texture written, one slot per view format; unused slots stay unbound.
RWTexture2D<unorm float4> g_OutputR8G8B8A8_UNORM : register(u0);
RWTexture2D<unorm float> g_OutputNV12_Y_R8_UNORM : register(u1);
RWTexture2D<unorm float2> g_OutputNV12_UV_R8G8_UNORM : register(u2);
RWTexture2D<unorm float> g_OutputNV12_Y_R16_UNORM : register(u3);
RWTexture2D<unorm float2> g_OutputNV12_UV_R16G16_UNORM : register(u4);
RWTexture2D<unorm float4> g_OutputR16G16B16A16_UNORM : register(u5);

int getDepth(int format)
{
    if (format == kKRONV1210LED3D11Texture2DFormat)
        return 10;
    if (format == kKRORGBA16LED3D11Texture2DFormat)
        return 16;
    return 8;
}

bool isYUVFormat(int format)
{
    return format == kKRONV12D3D11Texture2DFormat || format == kKRONV1210LED3D11Texture2DFormat;
}

bool isRGBFormat(int format)
{
    return format == kKRORGBA8888D3D11Texture2DFormat || format == kKROBGRA8888D3D11Texture2DFormat ||
           format == kKRORGBA16LED3D11Texture2DFormat;
}

// Sample codes of one pixel. Texels are addressed, never sampled; a load
// outside the texture returns zeros.
float4 readData(uint x, uint y, int format)
{
    if (format == kKRORGBA8888D3D11Texture2DFormat || format == kKROBGRA8888D3D11Texture2DFormat)
        return g_texture0[uint2(x, y)] * 255.0f;
    if (format == kKRORGBA16LED3D11Texture2DFormat)
        return g_texture0[uint2(x, y)] * 65535.0f;
    if (isYUVFormat(format))
    {
        // The R16 and R16G16 views of P010 return word / 65535, so scaling by
        // 1023 gives the 10-bit code of a word written as round(c * 65535 / 1023).
        float scale = format == kKRONV12D3D11Texture2DFormat ? 255.0f : 1023.0f;
        float luma = g_texture0[uint2(x, y)].r;
        float2 chroma = g_texture1[uint2(x / 2, y / 2)].rg;
        return float4(luma, chroma.x, chroma.y, 0.0f) * scale;
    }
    return float4(0.0f, 0.0f, 0.0f, 0.0f);
}

// Codes to the working pixel: RGB in [0, 1], or Y in [0, 1] with U and V in
// [-0.5, 0.5]. Only kColorRangeJpeg is full range.
float4 normalized(float4 codes, int format, int range)
{
    if (format == kKRORGBA8888D3D11Texture2DFormat || format == kKROBGRA8888D3D11Texture2DFormat)
        return saturate(codes / 255.0f);
    if (format == kKRORGBA16LED3D11Texture2DFormat)
        return saturate(codes / 65535.0f);
    if (isYUVFormat(format))
    {
        float depth = (float)getDepth(format);
        float4 p;
        if (range == kColorRangeJpeg)
        {
            float a = exp2(depth) - 1.0f;
            float b = exp2(depth - 1.0f);
            p = float4(codes.x / a, (codes.y - b) / a, (codes.z - b) / a, 1.0f);
        }
        else
        {
            float s = exp2(depth - 8.0f);
            p = float4((codes.x / s - kVideoBlack) / kVideoLumaSpan, (codes.y / s - kVideoChromaZero) / kVideoChromaSpan,
                       (codes.z / s - kVideoChromaZero) / kVideoChromaSpan, 1.0f);
        }
        p.x = saturate(p.x);
        p.yz = clamp(p.yz, -0.5f, 0.5f);
        return p;
    }
    return float4(0.0f, 0.0f, 0.0f, 0.0f);
}

// Stores the working pixel. YUV formats are quantised here and written as
// code / (2^depth - 1), which the unorm view turns back into the code; the
// chroma of a 2 x 2 block is that of its top-left pixel.
void writeData(float4 pixel, uint x, uint y, int format, int range)
{
    if (format == kKRORGBA8888D3D11Texture2DFormat || format == kKROBGRA8888D3D11Texture2DFormat)
    {
        g_OutputR8G8B8A8_UNORM[uint2(x, y)] = pixel;
    }
    else if (format == kKRORGBA16LED3D11Texture2DFormat)
    {
        g_OutputR16G16B16A16_UNORM[uint2(x, y)] = pixel;
    }
    else if (isYUVFormat(format))
    {
        float3 codes;
        if (format == kKRONV12D3D11Texture2DFormat)
        {
            if (range == kColorRangeJpeg)
                codes = round(float3(pixel.x * kFullScale8, pixel.y * kFullScale8 + kVideoChromaZero,
                                     pixel.z * kFullScale8 + kVideoChromaZero));
            else
                codes = round(float3(pixel.x * kVideoLumaSpan + kVideoBlack, pixel.y * kVideoChromaSpan + kVideoChromaZero,
                                     pixel.z * kVideoChromaSpan + kVideoChromaZero));
            g_OutputNV12_Y_R8_UNORM[uint2(x, y)] = codes.x / 255.0f;
            if ((x & 1) == 0 && (y & 1) == 0)
                g_OutputNV12_UV_R8G8_UNORM[uint2(x / 2, y / 2)] = codes.yz / 255.0f;
        }
        else
        {
            if (range == kColorRangeJpeg)
                codes = round(float3(pixel.x * 1023.0f, pixel.y * 1023.0f + 512.0f, pixel.z * 1023.0f + 512.0f));
            else
                codes = round(float3((pixel.x * kVideoLumaSpan + kVideoBlack) * 4.0f,
                                     (pixel.y * kVideoChromaSpan + kVideoChromaZero) * 4.0f,
                                     (pixel.z * kVideoChromaSpan + kVideoChromaZero) * 4.0f));
            g_OutputNV12_Y_R16_UNORM[uint2(x, y)] = codes.x / 1023.0f;
            if ((x & 1) == 0 && (y & 1) == 0)
                g_OutputNV12_UV_R16G16_UNORM[uint2(x / 2, y / 2)] = codes.yz / 1023.0f;
        }
    }
    else
    {
        g_OutputR8G8B8A8_UNORM[uint2(x, y)] = float4(1.0f, 1.0f, 0.0f, 1.0f);
    }
}

// YUV to RGB by matrix value; the BT.2020 constant-luminance matrix picks its
// table by the signs of U and V (0: at most zero, 1: above zero).
float3x3 getYUVtoRGBMatrix(int colorMatrix, float u, float v)
{
    if (colorMatrix == kColorMatrixBT470BG || colorMatrix == kColorMatrixSMPTE170M || colorMatrix == kColorMatrixSMPTE2085 ||
        colorMatrix == kColorMatrixCHROMA_DERIVED_NCL)
        return kBT601YUVtoRGB;
    if (colorMatrix == kColorMatrixBT2020_NCL)
        return kBT2020YUVtoRGB;
    if (colorMatrix == kColorMatrixBT2020_CL)
    {
        if (u <= 0.0f)
            return v <= 0.0f ? kBT2020YUVtoRGB_00 : kBT2020YUVtoRGB_01;
        return v <= 0.0f ? kBT2020YUVtoRGB_10 : kBT2020YUVtoRGB_11;
    }
    if (colorMatrix == kColorMatrixYCGCO)
        return kYCGCOYUVtoRGB;
    return kBT709YUVtoRGB;
}

// RGB to YUV with the same choice; the constant-luminance class comes from
// the signs of B - Y' and R - Y'.
float3x3 getRGBtoYUVMatrix(int colorMatrix, float3 rgb)
{
    if (colorMatrix == kColorMatrixBT470BG || colorMatrix == kColorMatrixSMPTE170M || colorMatrix == kColorMatrixSMPTE2085 ||
        colorMatrix == kColorMatrixCHROMA_DERIVED_NCL)
        return kBT601RGBtoYUV;
    if (colorMatrix == kColorMatrixBT2020_NCL)
        return kBT2020RGBtoYUV;
    if (colorMatrix == kColorMatrixBT2020_CL)
    {
        float luma = kBT2020LumaR * rgb.r + kBT2020LumaG * rgb.g + kBT2020LumaB * rgb.b;
        if (rgb.b - luma <= 0.0f)
            return rgb.r - luma <= 0.0f ? kBT2020RGBtoYUV_00 : kBT2020RGBtoYUV_01;
        return rgb.r - luma <= 0.0f ? kBT2020RGBtoYUV_10 : kBT2020RGBtoYUV_11;
    }
    if (colorMatrix == kColorMatrixYCGCO)
        return kYCGCORGBtoYUV;
    return kBT709RGBtoYUV;
}

float4 convertYUVToRGBA(float4 pixel, int format, int colorMatrix)
{
    if (isRGBFormat(format))
        return pixel;
    float3 rgb = mul(getYUVtoRGBMatrix(colorMatrix, pixel.y, pixel.z), pixel.xyz);
    return float4(saturate(rgb), 1.0f);
}

float4 convertRGBAToFormat(float4 pixel, int format, int colorMatrix)
{
    if (isRGBFormat(format))
        return pixel;
    float3 yuv = mul(getRGBtoYUVMatrix(colorMatrix, pixel.rgb), pixel.rgb);
    return float4(saturate(yuv.x), clamp(yuv.yz, -0.5f, 0.5f), pixel.a);
}

// Transfer curves, per channel. The BT.709 family is not clamped except the
// BT.709 OETF. Both sides of a vector select are evaluated, so the power of
// the side not taken gets a non-negative base (the side taken always has one).
float3 BT709_EOTF(float3 x)
{
    float3 curve = pow(max((x + kBT709Offset) / kBT709Alpha, 0.0f), kBT709EotfPowerSingle);
    return x < kBT709SignalThreshold ? x / kBT709Slope : curve;
}

float3 BT709_OETF(float3 x)
{
    float3 curve = kBT709Alpha * pow(max(x, 0.0f), kBT709OetfPower) - kBT709Offset;
    return saturate(x < kBT709LinearThreshold ? kBT709Slope * x : curve);
}

float3 BT601_EOTF(float3 x)
{
    return BT709_EOTF(x);
}

float3 BT601_OETF(float3 x)
{
    float3 curve = kBT709Alpha * pow(max(x, 0.0f), kBT709OetfPower) - kBT709Offset;
    return x < kBT709LinearThreshold ? kBT709Slope * x : curve;
}

float3 BT2020_EOTF(float3 x)
{
    return BT709_EOTF(x);
}

float3 BT2020_OETF(float3 x)
{
    return BT601_OETF(x);
}

float3 BT2020_EOTF_12(float3 x)
{
    float3 curve = pow(max((x + kBT2020_12Offset) / kBT2020_12Alpha, 0.0f), kBT709EotfPowerSingle);
    return x < kBT2020_12SignalThreshold ? x / kBT709Slope : curve;
}

float3 BT2020_OETF_12(float3 x)
{
    float3 curve = kBT2020_12Alpha * pow(max(x, 0.0f), kBT709OetfPower) - kBT2020_12Offset;
    return x < kBT2020_12LinearThreshold ? kBT709Slope * x : curve;
}

// xvYCC extends the BT.709 curve to negative signals.
float3 XVYCC_EOTF(float3 x)
{
    float3 negative = -pow(abs(x) / kBT709Alpha, kBT709EotfPowerSingle);
    float3 positive = BT709_EOTF(x);
    return x <= 0.0f ? negative : positive;
}

float3 XVYCC_OETF(float3 x)
{
    float3 negative = kBT709Offset - kBT709Alpha * pow(abs(x), kBT709OetfPower);
    float3 positive = BT601_OETF(x);
    return x <= -kBT709LinearThreshold ? negative : positive;
}

// Hybrid log-gamma with a nominal peak of 203 cd/m2, black 0.005 cd/m2 and
// gain 1; kHlgGamma and kHlgBeta are the system gamma and black lift these
// give.
float3 HLGInverseOETF(float3 x)
{
    float3 upper = (exp((x - kHlgC) / kHlgA) + kHlgB) / 12.0f;
    return x > kHlgSignalThreshold ? upper : x * x / 3.0f;
}

float4 HLG_EOTF(float4 pixel)
{
    float3 e = HLGInverseOETF(max(0.0f, (1.0f - kHlgBeta) * pixel.rgb + kHlgBeta));
    float ys = kBT2020LumaR * e.r + kBT2020LumaG * e.g + kBT2020LumaB * e.b;
    return float4(pow(max(ys, 0.0f), kHlgGamma - 1.0f) * e, 1.0f);
}

float4 HLG_OETF(float4 pixel)
{
    float3 x = pixel.rgb;
    float3 upper = kHlgA * log(max(12.0f * x - kHlgB, 1e-30f)) + kHlgC;
    float3 lower = sqrt(max(3.0f * x, 0.0f));
    return float4(x > kHlgLinearThreshold ? upper : lower, pixel.a);
}

// The program's own curve choice: PQ is read as BT.709-coded, gamma 2.2 and
// 2.8 take the BT.601 curves, and sRGB takes the BT.709 ones.
float4 EOTF(float4 pixel, int transfer)
{
    float3 x = pixel.rgb;
    if (transfer == kColorTransferSMPTE170M || transfer == kColorTransferGAMMA22 || transfer == kColorTransferGAMMA28)
        x = BT601_EOTF(x);
    else if (transfer == kColorTransferBT2020_10)
        x = BT2020_EOTF(x);
    else if (transfer == kColorTransferBT2020_12)
        x = BT2020_EOTF_12(x);
    else if (transfer == kColorTransferIEC61966_2_4)
        x = XVYCC_EOTF(x);
    else
        x = BT709_EOTF(x);
    return float4(x, pixel.a);
}

float4 OETF(float4 pixel, int transfer)
{
    float3 x = pixel.rgb;
    if (transfer == kColorTransferSMPTE170M || transfer == kColorTransferGAMMA22 || transfer == kColorTransferGAMMA28)
        x = BT601_OETF(x);
    else if (transfer == kColorTransferBT2020_10)
        x = BT2020_OETF(x);
    else if (transfer == kColorTransferBT2020_12)
        x = BT2020_OETF_12(x);
    else if (transfer == kColorTransferIEC61966_2_4)
        x = XVYCC_OETF(x);
    else
        x = BT709_OETF(x);
    return float4(x, pixel.a);
}

// Linear-light primaries conversion for the eleven pairs the program knows;
// every other pair, equal pairs included, keeps the values.
float3x3 getColorPrimariesMatrix(int src, int dst)
{
    if (src == kColorPrimariesBT2020)
    {
        if (dst == kColorPrimariesBT709)
            return kBT2020ToBT709;
        if (dst == kColorPrimariesBT470BG)
            return kBT2020ToBT601;
        if (dst == kColorPrimariesSMPTE170M)
            return kBT2020ToBT601_525;
    }
    else if (src == kColorPrimariesBT470BG)
    {
        if (dst == kColorPrimariesBT709)
            return kBT601ToBT709;
        if (dst == kColorPrimariesBT2020)
            return kBT601ToBT2020;
    }
    else if (src == kColorPrimariesBT709)
    {
        if (dst == kColorPrimariesSMPTE170M)
            return kBT709ToBT601_525;
        if (dst == kColorPrimariesBT470BG)
            return kBT709ToBT601;
        if (dst == kColorPrimariesBT2020)
            return kBT709ToBT2020;
    }
    else if (src == kColorPrimariesSMPTE170M)
    {
        if (dst == kColorPrimariesBT709)
            return kBT601_525toBT709;
        if (dst == kColorPrimariesBT2020)
            return kBT601_525toBT2020;
    }
    else if (src == kColorPrimariesAdobeRGB)
    {
        if (dst == kColorPrimariesBT709)
            return kAdobeRGBToBT709;
    }
    return kIdentity;
}

// Clamps the converted light and drops alpha to 1.
float4 convertRGBA(float4 pixel, int srcPrimaries, int dstPrimaries)
{
    float3 rgb = mul(getColorPrimariesMatrix(srcPrimaries, dstPrimaries), pixel.rgb);
    return float4(saturate(rgb), 1.0f);
}

[numthreads(32, 16, 1)]
void colorTransfer(uint3 id : SV_DispatchThreadID)
{
    if (id.x >= (uint)width || id.y >= (uint)height)
        return;
    float4 pixel = normalized(readData(id.x, id.y, src_format), src_format, src_color_range);
    bool identical = src_format == dst_format && src_color_range == dst_color_range &&
                     src_color_primaries == dst_color_primaries && src_color_transfer == dst_color_transfer &&
                     src_color_matrix == dst_color_matrix;
    if (!identical)
    {
        pixel = convertYUVToRGBA(pixel, src_format, src_color_matrix);
        if (src_color_primaries != dst_color_primaries || src_color_transfer != dst_color_transfer)
        {
            if (src_color_transfer == kColorTransferARIB_STD_B67)
                pixel = HLG_EOTF(pixel);
            else
                pixel = EOTF(pixel, src_color_transfer);
            pixel = convertRGBA(pixel, src_color_primaries, dst_color_primaries);
            if (dst_color_transfer == kColorTransferARIB_STD_B67)
                pixel = HLG_OETF(pixel);
            else
                pixel = OETF(pixel, dst_color_transfer);
        }
        pixel = convertRGBAToFormat(pixel, dst_format, dst_color_matrix);
    }
    writeData(pixel, id.x, id.y, dst_format, dst_color_range);
}

// A three-tap tent {w, 1, w} per axis, folded into two bilinear taps at
// +-d; when enlarging the taps coincide on the texel under the centre.
[numthreads(32, 16, 1)]
void scaleTransfer(uint3 id : SV_DispatchThreadID)
{
    if (id.y >= (uint)dst_height || id.x >= (uint)dst_width)
        return;
    float hscale = (float)src_width / (float)dst_width;
    float vscale = (float)src_height / (float)dst_height;
    float xi = ((float)id.x + 0.5f) * hscale;
    float yi = ((float)id.y + 0.5f) * vscale;
    float wh = min(max(0.5f * (hscale - 1.0f), 0.0f), 1.0f);
    float wv = min(max(0.5f * (vscale - 1.0f), 0.0f), 1.0f);
    float dx = wh / (0.5f + wh);
    float dy = wv / (0.5f + wv);
    float4 sum = normalized(readData((uint)(xi - dx), (uint)(yi - dy), s_format), s_format, s_color_range);
    sum += normalized(readData((uint)(xi + dx), (uint)(yi - dy), s_format), s_format, s_color_range);
    sum += normalized(readData((uint)(xi - dx), (uint)(yi + dy), s_format), s_format, s_color_range);
    sum += normalized(readData((uint)(xi + dx), (uint)(yi + dy), s_format), s_format, s_color_range);
    writeData(sum / 4.0f, id.x, id.y, d_format, d_color_range);
}
