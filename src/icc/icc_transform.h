// A conversion between two parsed profiles, planned once and run over any
// number of pixel runs. The plan is a short list of stages, each applied to a
// block of pixels held as four float planes, so every decision about formats,
// curves and matrices is taken when planning, not per pixel.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "icc/icc_types.h"

namespace KROCOLOR {
namespace icc {

constexpr int kBlockPixels = 64;

// Channels 0..3 hold R, G, B, A (or C, M, Y, K, or the PCS values).
struct PixelBlock {
    alignas(32) float c[4][kBlockPixels];
};

// Integer codes of a block on their way to the destination layout.
struct CodeBlock {
    alignas(32) uint32_t c[4][kBlockPixels];
};

struct StageData;
using StageFn = void (*)(const StageData& data, PixelBlock& block, int n);
using LoadFn = void (*)(const uint8_t* src, PixelBlock& block, int n, const StageData& data);
using QuantiseFn = void (*)(const PixelBlock& block, int channels, float maxCode, CodeBlock& codes, int n);
using StoreFn = void (*)(const PixelBlock& block, uint8_t* dst, int n, QuantiseFn quantise);

// The vectorised stages of one instruction set (see vectorStages()).
struct VectorStages {
    StageFn transferFunctions, matrix, clamp;
    QuantiseFn quantise;
    int lanes;
};

// Parameters of one stage; the plan owns them.
struct StageData {
    StageFn fn = nullptr;
    int channels = 0;  // channels a stage works on (inputs of a lookup)
    int outputs = 0;   // outputs of a lookup
    ICCCurve curves[4] = {};
    float matrix[3][4] = {};
    const ICCLut* lut = nullptr;
    const float* tables[3] = {nullptr, nullptr, nullptr};  // curves tabulated per input code
};

struct PixelLayout {
    int channels;        // 3 or 4
    int bytesPerSample;  // 1 or 2
    bool bigEndian;
    bool swapRedBlue;
    int bytesPerPixel() const { return channels * bytesPerSample; }
};

// True when `count` pixels of `bytesPerPixel` bytes stay below 2^31 bytes.
bool runFits(size_t count, uint64_t bytesPerPixel);

// False for a value that is not one of the engine's layouts.
bool describeLayout(ICCPixelFormat format, PixelLayout* layout);

// kFast plans tabulate curves fed by integer codes and run the vectorised
// stages with the widest vectors the processor has (kFastFourLanes: SSE2
// only); kPlain plans evaluate every stage value by value. All give the same
// bytes; kPlain is the reference the fast plans are tested against.
enum class ICCPlanKind { kFast, kFastFourLanes, kPlain };

class ICCTransform {
public:
    ICCTransform() = default;
    ICCTransform(const ICCTransform&) = delete;
    ICCTransform& operator=(const ICCTransform&) = delete;

    // Plans the conversion. `expectedPixels` only decides whether tabulating
    // the source curves per 16-bit code pays off. Null profiles mean sRGB.
    bool build(ICCPixelFormat srcFormat, ICCAlphaFormat srcAlpha, const ICCProfile* srcProfile,
               ICCPixelFormat dstFormat, ICCAlphaFormat dstAlpha, const ICCProfile* dstProfile,
               size_t expectedPixels, ICCPlanKind kind = ICCPlanKind::kFast);

    // Converts `count` pixels; may run concurrently on disjoint runs.
    bool run(const void* src, void* dst, size_t count) const;

    const PixelLayout& srcLayout() const { return srcLayout_; }
    const PixelLayout& dstLayout() const { return dstLayout_; }

private:
    StageData& addStage(StageFn fn);
    StageData& addClamp(int channels);
    bool addSourceStages(const ICCProfile& src, ICCAlphaFormat srcAlpha, size_t expectedPixels);
    bool addColorStages(const ICCProfile& src, const ICCProfile& dst);
    void addDestinationStages(const ICCProfile& dst, ICCAlphaFormat dstAlpha);
    void addCurves(const ICCCurve* curves, int channels);
    void addMatrix(const float m[3][4]);
    void tabulateCurve(const ICCCurve& curve, float scale, std::vector<float>& table) const;

    PixelLayout srcLayout_{}, dstLayout_{};
    LoadFn load_ = nullptr;
    StoreFn store_ = nullptr;
    QuantiseFn quantise_ = nullptr;
    StageData loadData_;
    std::vector<std::unique_ptr<StageData>> stages_;
    std::vector<std::vector<uint8_t>> invertedTables_;
    std::vector<std::vector<float>> curveTables_;
    bool fusedFirstCurves_ = false;
    bool fast_ = true;
    VectorStages vector_{};
    bool built_ = false;
};

}  // namespace icc
}  // namespace KROCOLOR
