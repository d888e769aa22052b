// KROColorFunctions: settings, lazy convertor construction and transcode.
#include <cstring>
#include <new>

#include "api/api_guard.h"
#include "api/backend_selection.h"
#include "core/convertor.h"
#include "core/frame.h"
#include "icc/icc_path.h"

namespace KROCOLOR {

namespace {

// Copies `size` bytes into a new buffer; null for no bytes or no memory.
uint8_t* duplicateBytes(const uint8_t* bytes, int size) {
    if (!bytes || size < 1) return nullptr;
    auto* copy = new (std::nothrow) uint8_t[static_cast<size_t>(size)];
    if (copy) std::memcpy(copy, bytes, static_cast<size_t>(size));
    return copy;
}

KROHWContext* duplicateContext(const KROHWContext* context) {
    if (!context) return nullptr;
    auto* copy = new (std::nothrow) KROHWContext();
    if (copy) *copy = *context;
    return copy;
}

bool sameContext(const KROHWContext& a, const KROHWContext& b) {
    return a.srcType == b.srcType && a.srcHandle == b.srcHandle && a.srcQueue == b.srcQueue &&
           a.dstType == b.dstType && a.dstHandle == b.dstHandle && a.dstQueue == b.dstQueue;
}

}  // namespace

KROColorFunctions* KROColorFunctions::create(int srcW, int srcH, KROPixelFormat srcFmt, int dstW,
                                             int dstH, KROPixelFormat dstFmt) {
    return new (std::nothrow) KROColorFunctions(srcW, srcH, srcFmt, dstW, dstH, dstFmt);
}

KROColorFunctions* KROColorFunctions::create(KROPixelFormat srcFmt, KROPixelFormat dstFmt) {
    return create(0, 0, srcFmt, 0, 0, dstFmt);
}

KROColorFunctions::KROColorFunctions(int srcW, int srcH, KROPixelFormat srcFmt, int dstW, int dstH,
                                     KROPixelFormat dstFmt)
    : profileType(kKROProfileTypeColorSpace),
      srcWidth(srcW), srcHeight(srcH), srcFormat(srcFmt),
      srcPrimaries(0), srcTransfer(0), srcMatrix(0), srcRange(kColorRangeMpeg),
      dstWidth(dstW), dstHeight(dstH), dstFormat(dstFmt),
      dstPrimaries(0), dstTransfer(0), dstMatrix(0), dstRange(kColorRangeMpeg),
      rebuild(true), hwContext(nullptr), convertor(nullptr), hwSync(true),
      srcICC(nullptr), srcICCSize(0), dstICC(nullptr), dstICCSize(0), keepSourceColor(false) {}

KROColorFunctions::~KROColorFunctions() {
    delete hwContext;
    delete convertor;
    delete[] srcICC;
    delete[] dstICC;
}

// A copy shares no owned resource: it gets its own HW context record and ICC
// buffers, and builds its own convertor on first use.
KROColorFunctions::KROColorFunctions(const KROColorFunctions& o)
    : profileType(o.profileType),
      srcWidth(o.srcWidth), srcHeight(o.srcHeight), srcFormat(o.srcFormat),
      srcPrimaries(o.srcPrimaries), srcTransfer(o.srcTransfer), srcMatrix(o.srcMatrix),
      srcRange(o.srcRange),
      dstWidth(o.dstWidth), dstHeight(o.dstHeight), dstFormat(o.dstFormat),
      dstPrimaries(o.dstPrimaries), dstTransfer(o.dstTransfer), dstMatrix(o.dstMatrix),
      dstRange(o.dstRange),
      rebuild(true), hwContext(duplicateContext(o.hwContext)), convertor(nullptr),
      metaData(o.metaData), hwSync(o.hwSync),
      srcICC(duplicateBytes(o.srcICC, o.srcICCSize)), srcICCSize(srcICC ? o.srcICCSize : 0),
      dstICC(duplicateBytes(o.dstICC, o.dstICCSize)), dstICCSize(dstICC ? o.dstICCSize : 0),
      keepSourceColor(o.keepSourceColor) {}

KROColorFunctions& KROColorFunctions::operator=(const KROColorFunctions& o) {
    if (this == &o) return *this;
    KROColorFunctions copy(o);
    std::swap(profileType, copy.profileType);
    std::swap(srcWidth, copy.srcWidth);
    std::swap(srcHeight, copy.srcHeight);
    std::swap(srcFormat, copy.srcFormat);
    std::swap(srcPrimaries, copy.srcPrimaries);
    std::swap(srcTransfer, copy.srcTransfer);
    std::swap(srcMatrix, copy.srcMatrix);
    std::swap(srcRange, copy.srcRange);
    std::swap(dstWidth, copy.dstWidth);
    std::swap(dstHeight, copy.dstHeight);
    std::swap(dstFormat, copy.dstFormat);
    std::swap(dstPrimaries, copy.dstPrimaries);
    std::swap(dstTransfer, copy.dstTransfer);
    std::swap(dstMatrix, copy.dstMatrix);
    std::swap(dstRange, copy.dstRange);
    std::swap(rebuild, copy.rebuild);
    std::swap(hwContext, copy.hwContext);
    std::swap(convertor, copy.convertor);
    std::swap(metaData, copy.metaData);
    std::swap(hwSync, copy.hwSync);
    std::swap(srcICC, copy.srcICC);
    std::swap(srcICCSize, copy.srcICCSize);
    std::swap(dstICC, copy.dstICC);
    std::swap(dstICCSize, copy.dstICCSize);
    std::swap(keepSourceColor, copy.keepSourceColor);
    return *this;
}

KROReturn KROColorFunctions::setColorspaceDetails(
    KROColorPrimaries sp, KROColorTransfer st, KROColorMatrix sm, KROColorRange sr,
    KROColorPrimaries dp, KROColorTransfer dt, KROColorMatrix dm, KROColorRange dr) {
    if (sp == kColorPrimariesNB || dp == kColorPrimariesNB) return kKROColorPrimariesError;
    if (sm == kColorMatrixNB || dm == kColorMatrixNB) return kKROColorMatrixError;
    if (st == kColorTransferNB || dt == kColorTransferNB) return kKROColorTransferError;
    const int32_t next[8] = {sp, st, sm, sr, dp, dt, dm, dr};
    int32_t* members[8] = {&srcPrimaries, &srcTransfer, &srcMatrix, &srcRange,
                           &dstPrimaries, &dstTransfer, &dstMatrix, &dstRange};
    for (int i = 0; i < 8; ++i) {
        if (*members[i] != next[i]) rebuild = true;
        *members[i] = next[i];
    }
    return kKROSuccess;
}

void KROColorFunctions::setSrcDimensions(int width, int height) {
    srcWidth = width;
    srcHeight = height;
}

void KROColorFunctions::setDstDimensions(int width, int height) {
    dstWidth = width;
    dstHeight = height;
}

int KROColorFunctions::getSrcW() const { return srcWidth; }
int KROColorFunctions::getSrcH() const { return srcHeight; }
int KROColorFunctions::getDstW() const { return dstWidth; }
int KROColorFunctions::getDstH() const { return dstHeight; }
KROPixelFormat KROColorFunctions::getSrcFormat() const { return static_cast<KROPixelFormat>(srcFormat); }
KROPixelFormat KROColorFunctions::getDstFormat() const { return static_cast<KROPixelFormat>(dstFormat); }

KROReturn KROColorFunctions::setHWContext(const KROHWContext& context) {
    if (!hwContext) {
        hwContext = new (std::nothrow) KROHWContext();
        if (!hwContext) return kKROUnknownError;
        *hwContext = context;
        return kKROSuccess;
    }
    if (!sameContext(*hwContext, context)) {
        *hwContext = context;
        rebuild = true;
    }
    return kKROSuccess;
}

KROReturn KROColorFunctions::setHWSync(bool sync) {
    hwSync = sync;
    return kKROSuccess;
}

void KROColorFunctions::setKeepSourceColor(bool keep) { keepSourceColor = keep; }

KROReturn KROColorFunctions::setType(KROProfileType type) {
    if (type != profileType) {
        profileType = type;
        rebuild = true;
    }
    return kKROSuccess;
}

KROReturn KROColorFunctions::setICCProfile(const uint8_t* src, int srcSize, const uint8_t* dst,
                                           int dstSize) {
    delete[] srcICC;
    delete[] dstICC;
    srcICC = duplicateBytes(src, srcSize);
    srcICCSize = srcICC ? srcSize : 0;
    dstICC = duplicateBytes(dst, dstSize);
    dstICCSize = dstICC ? dstSize : 0;
    return kKROSuccess;
}

void KROColorFunctions::setMetaData(const char* key, const char* value) {
    if (!key || !value) return;
    guarded([&] {
        metaData[key] = value;
        return kKROSuccess;
    });
}

void KROColorFunctions::cleanup() {
    delete hwContext;
    hwContext = nullptr;
    delete convertor;
    convertor = nullptr;
}

KROReturn KROColorFunctions::transcode(const uint8_t* const srcPlanes[], const int srcStrides[],
                                       uint8_t* const dstPlanes[], const int dstStrides[]) {
    if (!srcPlanes || !srcStrides || !dstPlanes || !dstStrides || srcWidth <= 0 ||
        srcHeight <= 0 || dstWidth <= 0 || dstHeight <= 0)
        return kKROInputParamError;
    return guarded([&]() -> KROReturn {
        if (rebuild) {
            delete convertor;
            convertor = nullptr;
            rebuild = false;
        }
        if (profileType == kKROProfileTypeICC) {
            const ICCImage src{srcPlanes[0], srcStrides[0], srcFormat, srcWidth, srcHeight,
                               srcICC, srcICCSize};
            const ICCImage dst{dstPlanes[0], dstStrides[0], dstFormat, dstWidth, dstHeight,
                               dstICC, dstICCSize};
            return convertWithICCProfiles(src, dst, dstPlanes[0]);
        }

        // Formats the descriptor cannot carry are refused before any backend
        // sees a half-built frame.
        KROFrame src;
        src.width = srcWidth;
        src.height = srcHeight;
        src.format = srcFormat;
        KROFrame dst;
        dst.width = dstWidth;
        dst.height = dstHeight;
        dst.format = dstFormat;
        if (!buildFrame(src, srcPlanes, srcStrides) ||
            !buildFrame(dst, const_cast<const uint8_t* const*>(dstPlanes), dstStrides))
            return kKROInputPixelFormatNotSupported;
        if (validateHostFrame(src) != kKROSuccess || validateHostFrame(dst) != kKROSuccess)
            return kKROInputParamError;
        // A convertor may stage the source in the destination's format before
        // scaling; that frame's rows must fit a stride too.
        if (!hostRowsFit(dstFormat, srcWidth)) return kKROInputParamError;

        if (!hwContext) {
            hwContext = new (std::nothrow) KROHWContext();
            if (!hwContext) return kKROUnknownError;
        }
        if (!convertor) {
            Selection chosen = selectConvertor(srcFormat, dstFormat, *hwContext);
            if (!chosen.convertor) {
                takeSelectionError();  // the shared copy is cleared as it always was
                return chosen.code;
            }
            chosen.convertor->setHWSync(hwSync);
            convertor = chosen.convertor.release();
        }

        const ColorDescription s = describeColor({srcPrimaries, srcTransfer, srcMatrix, srcRange},
                                                 srcWidth, srcHeight, keepSourceColor);
        const ColorDescription d = describeColor({dstPrimaries, dstTransfer, dstMatrix, dstRange},
                                                 dstWidth, dstHeight, keepSourceColor);
        src.primaries = s.primaries;
        src.transfer = s.transfer;
        src.matrix = s.matrix;
        src.range = s.range;
        dst.primaries = d.primaries;
        dst.transfer = d.transfer;
        dst.matrix = d.matrix;
        dst.range = d.range;

        convertor->setMetaData(metaData);
        return convertor->convertColor(&src, &dst);
    });
}

}  // namespace KROCOLOR
