// An outside program: converts one grey NV12 frame to RGBA through the
// installed library and checks a pixel.
#include <KROColorFunctions.h>

#include <cstdio>
#include <vector>

int main() {
    using namespace KROCOLOR;
    const int w = 16, h = 16;
    std::vector<uint8_t> y(w * h, 126), uv(w * h / 2, 128), rgba(w * h * 4, 0);
    KROColorFunctions* f = KROColorFunctions::create(w, h, kKRONV12Format, w, h, kKRORGBA8888Format);
    if (!f) return 1;
    f->setColorspaceDetails(kColorPrimariesBT709, kColorTransferBT709, kColorMatrixBT709, kColorRangeMpeg,
                            kColorPrimariesBT709, kColorTransferBT709, kColorMatrixRGB, kColorRangeJpeg);
    const uint8_t* src[] = {y.data(), uv.data()};
    const int srcStrides[] = {w, w};
    uint8_t* dst[] = {rgba.data()};
    const int dstStrides[] = {w * 4};
    const KROReturn rc = f->transcode(src, srcStrides, dst, dstStrides);
    delete f;
    // Y 126 limited range is (126 - 16) / 219 = 0.5023 -> code 128.
    if (rc != kKROSuccess || rgba[0] != 128 || rgba[3] != 255) {
        std::printf("unexpected result %d: %s %u\n", rc, queryKROReturn(rc), rgba[0]);
        return 1;
    }
    std::printf("consumer ok\n");
    return 0;
}
