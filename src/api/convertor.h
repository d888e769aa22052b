// The backend interface: every convertor (scalar CPU, SIMD CPU, CUDA,
// Direct3D 11, OpenGL ES) derives from IConvertor. The front objects create
// one through the backend selection and call it once per frame.
#pragma once

#include <map>
#include <string>

#include "KROColorFunctions.h"
#include "api/frame.h"

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

}  // namespace KROCOLOR
