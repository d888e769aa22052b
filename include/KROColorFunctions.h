// libKROColorFunctions public interface.
//
// Converts video frames and still images between pixel formats and colour
// spaces. Every declaration lives in namespace KROCOLOR. All enumerations are
// plain 32-bit signed integers on the interface: any value may be passed and
// each operation documents which values it accepts.
//
// Thread-safety: one conversion object serves one thread at a time. Distinct
// objects may be used concurrently. No exception ever leaves the library:
// failures are reported as KROReturn codes, false or null.
#ifndef KRO_COLOR_FUNCTIONS_H
#define KRO_COLOR_FUNCTIONS_H

#include <cstdint>
#include <map>
#include <string>

#if defined(_WIN32)
#  if defined(KRO_BUILDING_LIBRARY)
#    define KRO_API __declspec(dllexport)
#  else
#    define KRO_API __declspec(dllimport)
#  endif
#else
#  define KRO_API __attribute__((visibility("default")))
#endif

// Direct3D 11 interfaces, forward-declared so that this header needs no
// Windows header. They are only ever handled through pointers.
struct ID3D11Device;
struct ID3D11DeviceContext;
struct ID3D11Texture2D;
struct ID3D11ShaderResourceView;
struct ID3D11UnorderedAccessView;
struct ID3D11Buffer;
struct ID3D11ComputeShader;
struct ID3D11Query;
struct IDXGIAdapter;
// DXGI_FORMAT is a plain enumeration that cannot be forward-declared: on
// Windows it comes from the SDK's small dxgiformat.h; elsewhere (the library's
// Vulkan-backed Direct3D 11 layer) it is declared with a fixed underlying type.
#if defined(_WIN32)
#include <dxgiformat.h>
#else
enum DXGI_FORMAT : int;
#endif

namespace KROCOLOR {

// ---------------------------------------------------------------------------
// Return codes. queryKROReturn() gives the fixed English message of each.
enum KROReturn : int32_t {
    kKROSuccess = 0,
    kKROUnknownError = 1,
    kKROInputParamError = 2,
    kKROColorPrimariesError = 3,
    kKROColorMatrixError = 4,
    kKROColorTransferError = 5,
    kKROMissingHWContext = 6,
    kKROFormatHWContextMismatch = 7,
    kKRODifferentCUContext = 8,
    kKROLoadCUDAError = 9,
    kKROCUCtxPushCurrentError = 10,
    kKROLoadCUDAKernelError = 11,
    kKRORunCUDAKernelError = 12,
    kKRORunCPUKernelError = 13,
    kKROPlatformFormatNotSupported = 14,
    kKROInputTextureBindError = 15,
    kKROOutputTextureBindError = 16,
    kKRORunD3D11KernelError = 17,
    kKROLoadMetalFunctionError = 18,
    kKROLoadD3D11FunctionError = 19,
    kKROLoadGLES31FunctionError = 20,
    kKROInputTextureNotImmutable = 21,
    kKROOutputTextureNotImmutable = 22,
    kKROLoadMetalKernelError = 23,
    kKROLoadOpenGLFunctionError = 24,
    kKROInputPixelFormatNotSupported = 25,
    kKROInputSizeMismatch = 26,
    kKROInvalidICCProfile = 27,
};

// Message text of a code; static storage, never freed by the caller.
// Codes outside 0-27 give "Unknown error.".
KRO_API const char* queryKROReturn(KROReturn code);

// ---------------------------------------------------------------------------
// Colour description, numbered as in ITU-T H.273 with a few additions.
enum KROColorPrimaries : int32_t {
    kColorPrimariesRESERVED0 = 0,
    kColorPrimariesBT709 = 1,
    kColorPrimariesUNSPECIFIED = 2,
    kColorPrimariesRESERVED = 3,
    kColorPrimariesBT470M = 4,
    kColorPrimariesBT470BG = 5,
    kColorPrimariesSMPTE170M = 6,
    kColorPrimariesSMPTE240M = 7,
    kColorPrimariesFILM = 8,
    kColorPrimariesBT2020 = 9,
    kColorPrimariesSMPTE428 = 10,
    kColorPrimariesSMPTEST428_1 = kColorPrimariesSMPTE428,
    kColorPrimariesSMPTE431 = 11,  // DCI-P3
    kColorPrimariesSMPTE432 = 12,  // P3 with D65 white (Display P3)
    kColorPrimariesEBU3213 = 22,
    kColorPrimariesJEDEC_P22 = kColorPrimariesEBU3213,
    kColorPrimariesAdobeRGB = 23,  // Adobe RGB (1998)
    kColorPrimariesProPhoto = 24,  // ProPhoto RGB
    kColorPrimariesNB = 25,        // end marker, refused by setColorspaceDetails
};

enum KROColorTransfer : int32_t {
    kColorTransferRESERVED0 = 0,
    kColorTransferBT709 = 1,
    kColorTransferUNSPECIFIED = 2,
    kColorTransferRESERVED = 3,
    kColorTransferGAMMA22 = 4,
    kColorTransferGAMMA28 = 5,
    kColorTransferSMPTE170M = 6,
    kColorTransferSMPTE240M = 7,
    kColorTransferLINEAR = 8,
    kColorTransferLOG = 9,
    kColorTransferLOG_SQRT = 10,
    kColorTransferIEC61966_2_4 = 11,
    kColorTransferBT1361_ECG = 12,
    kColorTransferIEC61966_2_1 = 13,  // sRGB
    kColorTransferBT2020_10 = 14,
    kColorTransferBT2020_12 = 15,
    kColorTransferSMPTE2084 = 16,     // PQ
    kColorTransferSMPTEST2084 = kColorTransferSMPTE2084,
    kColorTransferSMPTE428 = 17,
    kColorTransferSMPTEST428_1 = kColorTransferSMPTE428,
    kColorTransferARIB_STD_B67 = 18,  // HLG
    kColorTransferGAMMA18 = 19,       // pure power 1.8
    kColorTransferDCIP3 = 100,        // pure power 2.6
    kColorTransferNB = 101,           // end marker, refused by setColorspaceDetails
};

enum KROColorMatrix : int32_t {
    kColorMatrixRGB = 0,
    kColorMatrixBT709 = 1,
    kColorMatrixUNSPECIFIED = 2,
    kColorMatrixRESERVED = 3,
    kColorMatrixFCC = 4,
    kColorMatrixBT470BG = 5,
    kColorMatrixSMPTE170M = 6,
    kColorMatrixSMPTE240M = 7,
    kColorMatrixYCGCO = 8,
    kColorMatrixYCOCG = kColorMatrixYCGCO,
    kColorMatrixBT2020_NCL = 9,
    kColorMatrixBT2020_CL = 10,
    kColorMatrixSMPTE2085 = 11,
    kColorMatrixCHROMA_DERIVED_NCL = 12,
    kColorMatrixCHROMA_DERIVED_CL = 13,
    kColorMatrixICTCP = 14,
    kColorMatrixNB = 15,  // end marker, refused by setColorspaceDetails
};

enum KROColorRange : int32_t {
    kColorRangeUNSPECIFIED = 0,
    kColorRangeMpeg = 1,  // limited (video) range
    kColorRangeJpeg = 2,  // full range
};

// How a KROColorFunctions object converts colour. Any other value behaves as 0.
enum KROProfileType : int32_t {
    kKROProfileTypeColorSpace = 0,  // by the colour description (default)
    kKROProfileTypeICC = 1,         // by the two ICC profiles of setICCProfile
};

// ---------------------------------------------------------------------------
// Pixel formats, in families by hundreds: 101-126 host memory, 201-203 OpenGL
// ES textures, 301-321 CUDA device memory, 401-406 Direct3D 11 textures,
// 501-507 and 601-607 other platforms (refused by this build).
enum KROPixelFormat : int32_t {
    kKRORGB888Format = 101,
    kKRORGBA8888Format = 102,
    kKRONV12Format = 103,
    kKROYUV420PFormat = 104,
    kKROYUV422PFormat = 105,
    kKROYUV444PFormat = 106,
    kKROYUV420P10LEFormat = 107,
    kKRONV1210LEFormat = 108,  // P010: samples in the high 10 bits of each word
    kKRONV1216LEFormat = 109,
    kKROYUV422P10LEFormat = 110,
    kKROYUV444P10LEFormat = 111,
    kKROYUV444P12LEFormat = 112,
    kKROYUV444P16LEFormat = 113,
    kKRORGBA16LEFormat = 114,
    kKRORGBA16BEFormat = 115,
    kKROYUV411PFormat = 116,
    kKRORGB16LEFormat = 117,
    kKRORGB16BEFormat = 118,
    kKROBGR888Format = 119,
    kKROBGRA8888Format = 120,
    kKROA8Format = 121,    // byte formats of KROImageConvert only
    kKROI8Format = 122,
    kKROAI88Format = 123,
    kKROYUVA444P10LEFormat = 124,
    kKROYUVA444P12LEFormat = 125,
    kKROCMYK8888Format = 126,

    kKRORGBA8888Texture2DFormat = 201,
    kKRORGBAFloat16Texture2DFormat = 202,
    kKRORGB888Texture2DFormat = 203,  // source only

    kKRORGB888CUDAFormat = 301,
    kKRORGBA8888CUDAFormat = 302,
    kKRONV12CUDAFormat = 303,
    kKROYUV420PCUDAFormat = 304,
    kKROYUV444PCUDAFormat = 305,
    kKROYUV420P10LECUDAFormat = 306,
    kKRONV1210LECUDAFormat = 307,
    kKRONV1216LECUDAFormat = 308,
    kKROYUV422P10LECUDAFormat = 309,
    kKROBGR888CUDAFormat = 310,
    kKROBGRA8888CUDAFormat = 311,
    kKRORGB888PlanarCUDAFormat = 312,
    kKRORGB16LECUDAFormat = 313,
    kKRORGBA16LECUDAFormat = 314,
    kKRORGB16PlanarCUDAFormat = 315,
    kKRORGB10PlanarCUDAFormat = 316,
    kKROYUV444P10LECUDAFormat = 317,
    kKROYUV444P12LECUDAFormat = 318,
    kKROYUV444P16LECUDAFormat = 319,
    kKROYUVA444P10LECUDAFormat = 320,
    kKROYUVA444P12LECUDAFormat = 321,

    kKRORGBA8888D3D11Texture2DFormat = 401,
    kKROBGRA8888D3D11Texture2DFormat = 402,
    kKRONV12D3D11Texture2DFormat = 403,
    kKRONV1210LED3D11Texture2DFormat = 404,
    kKRORGBA16LED3D11Texture2DFormat = 406,
};

// ---------------------------------------------------------------------------
// Hardware types named by KROHWContext for each side of a conversion.
enum KROHWType : int32_t {
    kKROHWTypeCPU = 0,       // host memory, scalar CPU convertor
    kKROHWTypeSwscale = 1,   // host memory, converted through libswscale
    kKROHWTypeGLES = 2,      // OpenGL ES textures
    kKROHWTypeReserved = 3,  // texture families of other platforms
    kKROHWTypeCUDA = 4,      // CUDA device memory
    kKROHWTypeD3D11 = 5,     // Direct3D 11 textures
    kKROHWTypeXSimd = 6,     // host memory, SIMD CPU convertor
};

// Where each side's buffers live. Handles are borrowed: neither this record
// nor any object holding a copy adds or drops a reference.
struct KRO_API KROHWContext {
    void* srcHandle = nullptr;  // CUcontext (4), ID3D11Device* (5), opaque (2)
    void* srcQueue = nullptr;   // CUstream (4), ID3D11DeviceContext* (5), opaque (2)
    int32_t srcType = 0;        // KROHWType
    void* dstHandle = nullptr;
    void* dstQueue = nullptr;
    int32_t dstType = 0;

    KROHWContext() = default;
    KROHWContext(const KROHWContext& other) = default;
    KROHWContext& operator=(const KROHWContext& other);
    KROHWContext& operator=(KROHWContext&& other) noexcept;
};

// A Direct3D 11 device and its immediate context; both pointers are borrowed.
struct KRO_API ID3D11Manager {
    ID3D11Device* device = nullptr;
    ID3D11DeviceContext* context = nullptr;

    ID3D11Manager() = default;
    ID3D11Manager(const ID3D11Manager& other) = default;
    ID3D11Manager& operator=(const ID3D11Manager& other);
    ID3D11Manager& operator=(ID3D11Manager&& other) noexcept;
};

class IConvertor;

// ---------------------------------------------------------------------------
// Converts frames of one source description into frames of one destination
// description. Build it with create(), describe both sides, then call
// transcode() once per frame. Not thread-safe: one thread at a time.
class KRO_API KROColorFunctions {
public:
    // Returns null when the allocation fails. Delete the object with delete.
    static KROColorFunctions* create(int srcW, int srcH, KROPixelFormat srcFmt,
                                     int dstW, int dstH, KROPixelFormat dstFmt);
    // Sizes start at 0 and must be set before transcode() succeeds.
    static KROColorFunctions* create(KROPixelFormat srcFmt, KROPixelFormat dstFmt);

    virtual ~KROColorFunctions();
    // Copies every setting and the metadata; the copy builds its own
    // convertor and holds its own copies of the ICC profiles and HW context.
    KROColorFunctions(const KROColorFunctions& other);
    KROColorFunctions& operator=(const KROColorFunctions& other);

    // Refuses primaries 25 (3), matrix 15 (4) or transfer 101 (5); stores
    // every other value and requests a rebuild when anything changed.
    KROReturn setColorspaceDetails(KROColorPrimaries srcPrimaries, KROColorTransfer srcTransfer,
                                   KROColorMatrix srcMatrix, KROColorRange srcRange,
                                   KROColorPrimaries dstPrimaries, KROColorTransfer dstTransfer,
                                   KROColorMatrix dstMatrix, KROColorRange dstRange);

    void setSrcDimensions(int width, int height);
    void setDstDimensions(int width, int height);
    int getSrcW() const;
    int getSrcH() const;
    int getDstW() const;
    int getDstH() const;
    KROPixelFormat getSrcFormat() const;
    KROPixelFormat getDstFormat() const;

    KROReturn setHWContext(const KROHWContext& context);
    // Applies to convertors built after the call.
    KROReturn setHWSync(bool sync);
    // When true, both colour descriptions reach the convertor unchanged.
    void setKeepSourceColor(bool keep);
    KROReturn setType(KROProfileType type);
    // Copies both profiles (null or size < 1: none); validated at conversion.
    KROReturn setICCProfile(const uint8_t* src, int srcSize, const uint8_t* dst, int dstSize);
    // The only key the convertors read is "src_max_luminance" (cd/m2).
    void setMetaData(const char* key, const char* value);
    // Releases the HW context copy and the convertor; settings stay.
    void cleanup();

    // Converts one frame. Plane and stride arrays hold as many entries as the
    // format has planes; strides are in bytes. Each plane must hold
    // stride x rows bytes, the last row's padding included (rows: the frame
    // height, or the chroma row count, rounded up, of a subsampled plane):
    // when both descriptions and all strides are equal, the planes are copied
    // as whole blocks of that size. Every other path reads and writes only the
    // bytes of each row's own samples.
    KROReturn transcode(const uint8_t* const srcPlanes[], const int srcStrides[],
                        uint8_t* const dstPlanes[], const int dstStrides[]);

    // Embedded ICC profiles (static data, never freed by the caller).
    static const uint8_t* getSRGBICCProfile();
    static int getSRGBICCProfileSize();
    static const uint8_t* getDisplayP3ICCProfile();
    static int getDisplayP3ICCProfileSize();
    static const uint8_t* getAdobeRGBICCProfile();
    static int getAdobeRGBICCProfileSize();

    int32_t profileType;
    int32_t srcWidth, srcHeight;
    int32_t srcFormat;
    int32_t srcPrimaries, srcTransfer, srcMatrix, srcRange;
    int32_t dstWidth, dstHeight;
    int32_t dstFormat;
    int32_t dstPrimaries, dstTransfer, dstMatrix, dstRange;
    bool rebuild;
    KROHWContext* hwContext;
    IConvertor* convertor;
    std::map<std::string, std::string> metaData;
    bool hwSync;
    uint8_t* srcICC;
    int32_t srcICCSize;
    uint8_t* dstICC;
    int32_t dstICCSize;
    bool keepSourceColor;

private:
    KROColorFunctions(int srcW, int srcH, KROPixelFormat srcFmt,
                      int dstW, int dstH, KROPixelFormat dstFmt);
};

// Cuts a fixed rectangle out of frames of one size and format.
class KRO_API KROCropFunctions {
public:
    // Null when the rectangle is empty or not inside srcW x srcH.
    static KROCropFunctions* create(int srcW, int srcH, KROPixelFormat format,
                                    int x, int y, int width, int height);
    virtual ~KROCropFunctions();
    KROCropFunctions(const KROCropFunctions& other);
    KROCropFunctions& operator=(const KROCropFunctions& other);

    KROReturn getcropRect(int* x, int* y, int* width, int* height);
    KROReturn setHWContext(const KROHWContext& context);
    KROReturn setHWSync(bool sync);
    KROReturn transcode(const uint8_t* const srcPlanes[], const int srcStrides[],
                        uint8_t* const dstPlanes[], const int dstStrides[]);

    int32_t srcWidth, srcHeight;
    int32_t format;
    int32_t cropX, cropY;
    int32_t cropWidth, cropHeight;
    bool rebuild;
    KROHWContext* hwContext;
    IConvertor* convertor;
    bool hwSync;

private:
    KROCropFunctions(int srcW, int srcH, KROPixelFormat format, int x, int y, int width, int height);
};

// Re-orients frames by one of the eight EXIF orientations (1-8).
class KRO_API KRORotateFunctions {
public:
    // Null unless 1 <= orientation <= 8.
    static KRORotateFunctions* create(int srcW, int srcH, KROPixelFormat format, int orientation);
    virtual ~KRORotateFunctions();
    KRORotateFunctions(const KRORotateFunctions& other);
    KRORotateFunctions& operator=(const KRORotateFunctions& other);

    // The destination size: the source size, swapped for orientations 5-8.
    KROReturn getDstWH(int* width, int* height);
    KROReturn setHWContext(const KROHWContext& context);
    KROReturn setHWSync(bool sync);
    KROReturn transcode(const uint8_t* const srcPlanes[], const int srcStrides[],
                        uint8_t* const dstPlanes[], const int dstStrides[]);

    int32_t srcWidth, srcHeight;
    int32_t format;
    int32_t orientation;
    int32_t dstWidth, dstHeight;
    bool rebuild;
    KROHWContext* hwContext;
    IConvertor* convertor;
    bool hwSync;

private:
    KRORotateFunctions(int srcW, int srcH, KROPixelFormat format, int orientation);
};

// ---------------------------------------------------------------------------
// Conversions between simple packed 8-bit byte layouts (RGB888, RGBA8888,
// BGRA8888, I8 grey, A8 alpha, AI88 grey+alpha). Sizes are byte counts; only
// whole pixels of the source layout are converted. Grey is
// (299 R + 587 G + 114 B + 500) / 1000. Buffers returned through out-pointers
// come from malloc; the caller releases them with free.
class KRO_API KROImageConvert {
public:
    KROImageConvert& operator=(const KROImageConvert&) { return *this; }
    KROImageConvert& operator=(KROImageConvert&&) noexcept { return *this; }

    static void convertAI88ToA8(const uint8_t* src, unsigned int srcSize, uint8_t* dst);
    static void convertAI88ToI8(const uint8_t* src, unsigned int srcSize, uint8_t* dst);
    static void convertAI88ToRGB888(const uint8_t* src, unsigned int srcSize, uint8_t* dst);
    static void convertAI88ToRGBA8888(const uint8_t* src, unsigned int srcSize, uint8_t* dst);
    static void convertI8ToAI88(const uint8_t* src, unsigned int srcSize, uint8_t* dst);
    static void convertI8ToRGB888(const uint8_t* src, unsigned int srcSize, uint8_t* dst);
    static void convertI8ToRGBA8888(const uint8_t* src, unsigned int srcSize, uint8_t* dst);
    static void convertRGB888ToA8(const uint8_t* src, unsigned int srcSize, uint8_t* dst);
    static void convertRGB888ToI8(const uint8_t* src, unsigned int srcSize, uint8_t* dst);
    static void convertRGB888ToAI88(const uint8_t* src, unsigned int srcSize, uint8_t* dst);
    static void convertRGB888ToRGBA8888(const uint8_t* src, unsigned int srcSize, uint8_t* dst);
    static void convertRGBA8888ToA8(const uint8_t* src, unsigned int srcSize, uint8_t* dst);
    static void convertRGBA8888ToI8(const uint8_t* src, unsigned int srcSize, uint8_t* dst);
    static void convertRGBA8888ToAI88(const uint8_t* src, unsigned int srcSize, uint8_t* dst);
    static void convertRGBA8888ToRGB888(const uint8_t* src, unsigned int srcSize, uint8_t* dst);
    static void convertBGRA8888ToAI88(const uint8_t* src, unsigned int srcSize, uint8_t* dst);
    static void convertBGRA8888ToI8(const uint8_t* src, unsigned int srcSize, uint8_t* dst);
    // Rows of `width` BGRA pixels, `stride` bytes apart; writes width grey
    // bytes per row, rows packed. Does nothing for a null source, a byte
    // count of 0 or a stride smaller than width * 4.
    static void convertBGRA8888ToI8(const uint8_t* src, unsigned int srcSize, int width, int stride,
                                    uint8_t* dst);

    static KROReturn convertRGB888ToFormat(const uint8_t* src, unsigned int srcSize,
                                           KROPixelFormat target, uint8_t** dst, unsigned int* dstSize);
    static KROReturn convertRGBA8888ToFormat(const uint8_t* src, unsigned int srcSize,
                                             KROPixelFormat target, uint8_t** dst, unsigned int* dstSize);
    static KROReturn convertI8ToFormat(const uint8_t* src, unsigned int srcSize,
                                       KROPixelFormat target, uint8_t** dst, unsigned int* dstSize);
    static KROReturn convertAI88ToFormat(const uint8_t* src, unsigned int srcSize,
                                         KROPixelFormat target, uint8_t** dst, unsigned int* dstSize);
    static KROReturn transcodeFormat(KROPixelFormat srcFormat, const uint8_t* src, unsigned int srcSize,
                                     KROPixelFormat dstFormat, uint8_t** dst, unsigned int* dstSize);
};

// One non-linear RGB colour of the named colour space to CIE L*a*b* (D65).
// Always returns kKROSuccess.
KRO_API KROReturn convertToLab(KROColorPrimaries primaries, KROColorTransfer transfer,
                               float r, float g, float b, float* L, float* A, float* B);

// Direct3D 11 operations: devices, textures, views, constant buffers, compute
// shaders, event queries and copies between CPU memory and textures. Every
// object returned comes with one reference owned by the caller. Operations
// that use a manager's context must not run concurrently with other use of
// that context; creation calls only use the device. Compiled shader bytecode
// is cached per process by entry-point name (guarded by a mutex).
class KRO_API KRODirectX {
public:
    KRODirectX& operator=(const KRODirectX&) { return *this; }
    KRODirectX& operator=(KRODirectX&&) noexcept { return *this; }

    // Device and immediate context on adapter `adapterIndex`; null when there
    // is no such adapter or no device can be made there.
    static ID3D11Manager* createID3D11Device(int adapterIndex);
    // Releases the device and context, deletes the manager, sets *manager to null.
    static void releaseID3D11Device(ID3D11Manager** manager);
    static IDXGIAdapter* queryIDXGIAdapter(ID3D11Device* device);
    // Whether both devices sit on adapters with the same description string.
    static bool canInteroperability(ID3D11Manager* a, ID3D11Manager* b);

    // Default usage, bound for shader resource, render target and unordered
    // access, shared between devices of one adapter.
    static ID3D11Texture2D* createID3D11Texture2D(ID3D11Manager* manager, int width, int height, DXGI_FORMAT format);
    // Staging usage with CPU read and write access.
    static ID3D11Texture2D* createStagingID3D11Texture2D(ID3D11Manager* manager, int width, int height,
                                                         DXGI_FORMAT format);
    // A texture of another device (made by createID3D11Texture2D) opened on the manager's device.
    static ID3D11Texture2D* createSharedID3D11Texture2D(ID3D11Manager* manager, ID3D11Texture2D* texture);

    // One view per plane of array slice `arraySlice`: NV12 R8 + R8G8, P010
    // R16 + R16G16; RGBA8, BGRA8 and RGBA16 one view and views[1] null.
    static bool createID3D11ShaderResourceView(ID3D11Manager* manager, ID3D11Texture2D* texture, long long arraySlice,
                                               ID3D11ShaderResourceView* views[2]);
    static bool createID3D11UnorderedAccessView(ID3D11Manager* manager, ID3D11Texture2D* texture,
                                                long long arraySlice, ID3D11UnorderedAccessView* views[2]);
    // A dynamic constant buffer holding `size` bytes of `data` (size a multiple of 16).
    static bool createBuffer(ID3D11Manager* manager, void* data, unsigned long long size, ID3D11Buffer** buffer);
    // Compiles HLSL `source` for target cs_5_0 (once per entry point per
    // process) and makes the shader object on the manager's device.
    static bool createID3D11ComputeShader(ID3D11Manager* manager, const char* source, unsigned long long sourceLength,
                                          const std::string& entryPoint, ID3D11ComputeShader** shader);
    static bool createID3D11EventQuery(ID3D11Manager* manager, ID3D11Query** query);
    // Polls the query until it signals (true) or `timeoutMs` milliseconds pass (false).
    static bool queryID3D11GetDataWithTimeout(ID3D11Manager* manager, ID3D11Query* query, unsigned long timeoutMs);

    // Queue a copy of a whole subresource; false when the formats differ.
    static bool copyID3D11Texture2D(ID3D11Manager* manager, ID3D11Texture2D* dst, int dstSubresource,
                                    ID3D11Texture2D* src, int srcSubresource);
    // Both copy `src` into `dst` (the texture named second into the one named fourth).
    static bool readDataFromID3D11Texture2D(ID3D11Manager* manager, ID3D11Texture2D* src, int srcSubresource,
                                            ID3D11Texture2D* dst, int dstSubresource);
    static bool writeDataToID3D11Texture2D(ID3D11Manager* manager, ID3D11Texture2D* src, int srcSubresource,
                                           ID3D11Texture2D* dst, int dstSubresource);

    // Rows between CPU memory (`stride` bytes apart) and a staging texture of
    // exactly width x height; NV12 moves its luma and chroma rows.
    static bool readDataFromStagingID3D11Texture2D(ID3D11Manager* manager, unsigned char* dst, int dstStride,
                                                   int width, int height, ID3D11Texture2D* staging, int subresource);
    static bool writeDataToStagingID3D11Texture2D(ID3D11Manager* manager, ID3D11Texture2D* staging, int subresource,
                                                  const unsigned char* src, int srcStride, int width, int height);
    // Packed RGB to and from an R8G8B8A8 staging texture (alpha written as 255, dropped on reading).
    static bool readRGBDataFromRGBAStagingID3D11Texture2D(ID3D11Manager* manager, unsigned char* dst, int dstStride,
                                                          int width, int height, ID3D11Texture2D* staging,
                                                          int subresource);
    static bool writeRGBDataToRGBAStagingID3D11Texture2D(ID3D11Manager* manager, ID3D11Texture2D* staging,
                                                         int subresource, const unsigned char* src, int srcStride,
                                                         int width, int height);
};

// 64-byte-aligned memory for SIMD buffers.
class KRO_API KROXSimd {
public:
    KROXSimd& operator=(const KROXSimd&) { return *this; }
    KROXSimd& operator=(KROXSimd&&) noexcept { return *this; }

    // Null when the allocation fails; size 0 gives a valid pointer.
    static void* malloc(uint64_t size);
    // Accepts null.
    static void free(void* ptr);
    static bool isAligned(const void* ptr, uint64_t alignment);
};

// CUDA services around the convertors: the driver is loaded at run time on
// first use (never linked), and every operation works in the context the
// calling thread has made current. Failures give false, 0 or null.
class KRO_API KROCuda {
public:
    KROCuda& operator=(const KROCuda&) { return *this; }
    KROCuda& operator=(KROCuda&&) noexcept { return *this; }

    static bool init();
    static int getDeviceCount();
    static void* retainDevicePrimaryCtx(uint64_t device);
    static bool releaseDevicePrimaryCtx(uint64_t device);
    static bool pushContext(void* context);
    static bool popContext(void** context);
    static void* malloc(uint64_t size);
    static void free(void* devicePtr);
    static bool memcpy(void* dst, const void* src, uint64_t size);
    static bool memcpyHtoD(void* deviceDst, const void* hostSrc, uint64_t size);
    static bool memcpyDtoH(void* hostDst, const void* deviceSrc, uint64_t size);
    // Direct3D 11 interop; drivers without it give null / false.
    static void* cuGraphicsD3D11RegisterResource(void* resource);
    static void cuGraphicsUnregisterResource(void* resource);
    static bool copyCUdeviceptrToCUResource(const void* src, int srcPitch, void* resource, int dstPitch, int height);
    static bool copyD3D11Texture2DToCUResource(void* texture, int srcPitch, unsigned char* dst, int dstPitch,
                                               int height, void* resource);
    // Whether the driver compiles the embedded kernel program (needs a
    // current context).
    static bool checkCUDAPTXSupported();
    // NVIDIA display-driver version times 100 (550.54 gives 55054).
    static bool getNVIDIADriverVersion(double& version);
    static bool isNVIDIADriverBelowTheMinimumVersion();

    static void* _cu;
    static double _NVIDIA_DriverVersion;
    static const double _NVIDIA_LOW_DriverVersion;
};

// Static OpenGL ES operations on the GL context current on the calling
// thread (the host makes one current; nothing here creates or switches
// contexts). GL objects are named by their integer names and belong to the
// caller, who deletes them. Uploads and reads of RGBA16F textures and
// strided uploads need an OpenGL ES 3.0 context. Messages go to standard
// output; GL errors are printed, never turned into failures.
class KRO_API KROOpenGL {
public:
    KROOpenGL& operator=(const KROOpenGL&) { return *this; }
    KROOpenGL& operator=(KROOpenGL&&) noexcept { return *this; }

    // Links an already compiled compute shader into a new program (the
    // shader is neither detached nor deleted). False for shader 0 or a
    // failed link, in which case no program is left behind.
    static bool createComputeProgram(int shader, int* program);
    // Compiles both zero-terminated sources and links them. False, with no
    // shader or program object left behind, when either fails.
    static bool createRenderProgram(const char* vertexSource, const char* fragmentSource, int* program);
    // A 2D texture with clamp-to-edge wrapping and linear filtering, left
    // bound to GL_TEXTURE_2D. Storage for GL_RGBA (6408), GL_RGBA16F (34842)
    // or GL_RGB (6407); any other value gives a name without storage.
    // 0 when no name could be generated.
    static int createTexture2D(int width, int height, int internalFormat);
    // Read the whole texture through a temporary framebuffer into rows
    // packed without padding: 4 bytes per pixel, or 4 floats per pixel for
    // the RGBA16 variant. The caller's framebuffer binding is restored.
    // False for texture 0 or a null destination.
    static bool readRGBADataFromTexture2D(int texture, int width, int height, void* destination);
    static bool readRGBA16DataFromTexture2D(int texture, int width, int height, void* destination);
    // Upload rows `stride` bytes apart (the row length is stride divided by
    // the pixel size, rounded down) into the texture, left bound. RGBA: 4
    // bytes per pixel; RGBA16: 4 floats per pixel; RGB: 3 bytes per pixel.
    // False for texture 0 or a null source.
    static bool writeRGBADataToTexture2D(void* source, int stride, int width, int height, int texture);
    static bool writeRGBA16DataToTexture2D(void* source, int stride, int width, int height, int texture);
    static bool writeRGBDataToTexture2D(void* source, int stride, int width, int height, int texture);
};

}  // namespace KROCOLOR

#endif  // KRO_COLOR_FUNCTIONS_H
