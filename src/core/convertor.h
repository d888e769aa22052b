// The backend interface: every convertor (scalar CPU, SIMD CPU, CUDA,
// Direct3D 11, OpenGL ES) derives from IConvertor. The front objects create
// one through the backend selection and call it once per frame.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "KROColorFunctions.h"
#include "core/frame.h"

namespace KROCOLOR {

using MetaData = std::map<std::string, std::string>;

class IConvertor {
public:
    IConvertor() = default;
    IConvertor(const IConvertor&) = delete;
    IConvertor& operator=(const IConvertor&) = delete;
    virtual ~IConvertor() = default;

    virtual KROReturn convertColor(const KROFrame* src, KROFrame* dst) {
        (void)src;
        (void)dst;
        return kKROUnknownError;
    }
    // Called once per frame; an unchanged map is not copied again, so steady
    // state conversion does not allocate here.
    virtual void setMetaData(const MetaData& metaData) {
        if (metaData_ != metaData) metaData_ = metaData;
    }
    virtual KROReturn rotate(const KROFrame* src, KROFrame* dst, int orientation) {
        (void)src;
        (void)dst;
        (void)orientation;
        return kKROUnknownError;
    }
    virtual KROReturn crop(const KROFrame* src, KROFrame* dst, int left, int top) {
        (void)src;
        (void)dst;
        (void)left;
        (void)top;
        return kKROUnknownError;
    }

    KROReturn setHWSync(bool sync) {
        hwSync_ = sync;
        return kKROSuccess;
    }
    bool hwSync() const { return hwSync_; }
    const MetaData& metaData() const { return metaData_; }

protected:
    MetaData metaData_;
    bool hwSync_ = true;
};

// Backend factories, one per convertor, each defined by its backend. Each
// returns null with `error` set when it cannot build its convertor (a backend
// missing from this build reports kKROPlatformFormatNotSupported).
std::unique_ptr<IConvertor> createCPUConvertor(bool useSwscale, KROReturn& error);
std::unique_ptr<IConvertor> createSimdConvertor(KROReturn& error);
std::unique_ptr<IConvertor> createCudaConvertor(void* context, void* stream, KROReturn& error);
std::unique_ptr<IConvertor> createD3D11Convertor(void* device, void* deviceContext, KROReturn& error);
std::unique_ptr<IConvertor> createGLConvertor(void* handle, void* queue, KROReturn& error);

}  // namespace KROCOLOR
