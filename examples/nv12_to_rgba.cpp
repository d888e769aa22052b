// Generates a 1280x720 NV12 frame (luma ramp left to right, chroma sweep top
// to bottom), converts it to full-range RGBA with the library and writes the
// result as a binary PPM. Usage: nv12_to_rgba [output.ppm]
#include <KROColorFunctions.h>

#include <cstdio>
#include <vector>

int main(int argc, char** argv) {
    using namespace KROCOLOR;
    const char* path = argc > 1 ? argv[1] : "nv12_to_rgba.ppm";
    const int w = 1280, h = 720;
    std::vector<uint8_t> luma(w * h), chroma(w * h / 2), rgba(w * h * 4);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) luma[y * w + x] = static_cast<uint8_t>(16 + x * 219 / (w - 1));
    for (int y = 0; y < h / 2; ++y)
        for (int x = 0; x < w / 2; ++x) {
            chroma[y * w + 2 * x] = static_cast<uint8_t>(16 + y * 224 / (h / 2 - 1));
            chroma[y * w + 2 * x + 1] = static_cast<uint8_t>(240 - y * 224 / (h / 2 - 1));
        }

    KROColorFunctions* convert = KROColorFunctions::create(w, h, kKRONV12Format, w, h, kKRORGBA8888Format);
    if (!convert) return 1;
    convert->setColorspaceDetails(kColorPrimariesBT709, kColorTransferBT709, kColorMatrixBT709,
                                  kColorRangeMpeg, kColorPrimariesBT709, kColorTransferBT709,
                                  kColorMatrixRGB, kColorRangeJpeg);
    const uint8_t* src[] = {luma.data(), chroma.data()};
    const int srcStrides[] = {w, w};
    uint8_t* dst[] = {rgba.data()};
    const int dstStrides[] = {w * 4};
    const KROReturn rc = convert->transcode(src, srcStrides, dst, dstStrides);
    delete convert;
    if (rc != kKROSuccess) {
        std::fprintf(stderr, "transcode failed: %s\n", queryKROReturn(rc));
        return 1;
    }

    FILE* out = std::fopen(path, "wb");
    if (!out) {
        std::perror(path);
        return 1;
    }
    std::fprintf(out, "P6\n%d %d\n255\n", w, h);
    for (int i = 0; i < w * h; ++i) std::fwrite(&rgba[i * 4], 1, 3, out);
    const bool ok = std::fclose(out) == 0;
    std::printf("wrote %s (%dx%d RGBA converted from NV12 BT.709 limited range)\n", path, w, h);
    return ok ? 0 : 1;
}
