#include "frame_pipeline.h"

#include "cli_error.h"
#include "gles_conversion.h"

namespace krocolor {

using namespace KROCOLOR;

namespace {

KROHWContext contextFor(int hwType) {
    KROHWContext context;
    context.srcType = hwType;
    context.dstType = hwType;
    return context;
}

// The crop and rotate objects accept host memory through the scalar (0) and
// SIMD (6) CPU convertors only; with swscale they run on the scalar one.
int geometryHwType(int hwType) { return hwType == 6 ? 6 : 0; }

std::string sizeText(int w, int h) { return std::to_string(w) + "x" + std::to_string(h); }

}  // namespace

FramePipeline::FramePipeline(const PipelineSettings& s) : settings_(s) {
    const int hwType = s.backend ? s.backend->hwType : 0;
    int w = s.inWidth, h = s.inHeight;
    const auto inCode = static_cast<KROPixelFormat>(s.inFormat->code);
    const auto outCode = static_cast<KROPixelFormat>(s.outFormat->code);

    if (s.crop.enabled) {
        crop_.reset(KROCropFunctions::create(w, h, inCode, s.crop.x, s.crop.y, s.crop.width, s.crop.height));
        if (!crop_)
            usageError("crop " + std::to_string(s.crop.x) + ":" + std::to_string(s.crop.y) + ":" +
                       std::to_string(s.crop.width) + ":" + std::to_string(s.crop.height) +
                       " is empty or does not fit inside the " + sizeText(w, h) + " input");
        crop_->setHWContext(contextFor(geometryHwType(hwType)));
        w = s.crop.width;
        h = s.crop.height;
        cropped_ = Image(*s.inFormat, w, h);
    }

    const int sw = s.scaleWidth > 0 ? s.scaleWidth : w;
    const int sh = s.scaleHeight > 0 ? s.scaleHeight : h;
    if (hwType == kKROHWTypeCUDA) cuda_.reset(new CudaFrames(*s.inFormat, w, h, *s.outFormat, sw, sh));
    color_.reset(KROColorFunctions::create(w, h, cuda_ ? cuda_->inFormat() : inCode, sw, sh,
                                           cuda_ ? cuda_->outFormat() : outCode));
    if (!color_) failure("out of memory creating the colour conversion");
    const KROReturn rc = color_->setColorspaceDetails(
        static_cast<KROColorPrimaries>(s.inColor.primaries), static_cast<KROColorTransfer>(s.inColor.transfer),
        static_cast<KROColorMatrix>(s.inColor.matrix), static_cast<KROColorRange>(s.inColor.range),
        static_cast<KROColorPrimaries>(s.outColor.primaries), static_cast<KROColorTransfer>(s.outColor.transfer),
        static_cast<KROColorMatrix>(s.outColor.matrix), static_cast<KROColorRange>(s.outColor.range));
    if (rc != kKROSuccess) libraryFailure("the library refused the colour description", rc);
    if (!cuda_ && s.backend && s.backend->needsDevice) {
        std::string reason;
        device_ = BackendDevice::open(*s.backend, reason);
        if (!device_) failure("backend " + std::string(s.backend->name) + " is not available: " + reason);
    }
    color_->setHWContext(cuda_ ? cuda_->hwContext() : device_ ? device_->context() : contextFor(hwType));
    color_->setKeepSourceColor(s.keepSourceColor);
    for (const auto& kv : s.metadata) color_->setMetaData(kv.first.c_str(), kv.second.c_str());
    // OpenGL ES converts texture to texture on krocolor's own context;
    // color_ has checked the description, gles_ converts the frames.
    if (hwType == kKROHWTypeGLES) gles_.reset(new GlesConversion(s, w, h, sw, sh));

    outWidth_ = sw;
    outHeight_ = sh;
    if (s.orientation != 1) {
        rotate_.reset(KRORotateFunctions::create(sw, sh, outCode, s.orientation));
        if (!rotate_) usageError("orientation " + std::to_string(s.orientation) + " is not 1 to 8");
        rotate_->setHWContext(contextFor(geometryHwType(hwType)));
        rotate_->getDstWH(&outWidth_, &outHeight_);
        converted_ = Image(*s.outFormat, sw, sh);
    }
}

FramePipeline::~FramePipeline() = default;

void FramePipeline::run(Image& in, Image& out) {
    Image* source = &in;
    if (crop_) {
        auto a = in.pointers();
        auto b = cropped_.pointers();
        const KROReturn rc = crop_->transcode(a.src, a.strides, b.dst, b.strides);
        if (rc != kKROSuccess) libraryFailure(std::string("crop of ") + in.format().name + " failed", rc);
        source = &cropped_;
    }
    Image* target = rotate_ ? &converted_ : &out;
    if (gles_) {
        gles_->run(*source, *target);
    } else {
        auto a = source->pointers();
        auto b = target->pointers();
        const KROReturn rc = cuda_ ? cuda_->convert(*color_, *source, *target)
                                   : color_->transcode(a.src, a.strides, b.dst, b.strides);
        if (rc != kKROSuccess)
            libraryFailure(std::string("conversion ") + settings_.inFormat->name + " to " +
                               settings_.outFormat->name + " on backend " +
                               (settings_.backend ? settings_.backend->name : "cpu") + " failed",
                           rc);
    }
    if (rotate_) {
        auto a = converted_.pointers();
        auto b = out.pointers();
        const KROReturn rc = rotate_->transcode(a.src, a.strides, b.dst, b.strides);
        if (rc != kKROSuccess)
            libraryFailure("orientation " + std::to_string(settings_.orientation) + " of " +
                               settings_.outFormat->name + " failed",
                           rc);
    }
}

}  // namespace krocolor
