// krocolor describes every pixel format a second time, for its file readers
// and writers. Both tables claim to describe the same memory layouts, so any
// disagreement is a bug in one of them.
#include <gtest/gtest.h>

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

#include "core/frame.h"
#include "core/pixel_format_table.h"
#include "pixel_formats.h"

namespace KROCOLOR {
namespace {

// Position of component `name` within the interleave of plane 0, or
// kNoComponent when krocolor's row lacks it.
uint8_t slotOf(const krocolor::PixelFormatInfo& f, char name) {
    for (int c = 0; c < f.componentCount; ++c)
        if (f.components[c].name == name && f.components[c].plane == 0) return f.components[c].slot;
    return kNoComponent;
}

TEST(FormatTablesAgree, KrocolorDescribesEveryCpuLayoutAsTheLibraryDoes) {
    int compared = 0;
    for (int32_t code = 101; code <= 321; ++code) {
        const FormatTraits* t = formatTraits(code);
        if (!t || t->layout == PlaneLayout::None || t->layout == PlaneLayout::PlanarRGB) continue;
        const krocolor::PixelFormatInfo* f = krocolor::pixelFormatByCode(code);
        ASSERT_NE(f, nullptr) << "krocolor has no row for " << code;
        SCOPED_TRACE(f->name);
        EXPECT_EQ(f->planeCount, planeCount(*t));
        EXPECT_EQ(f->depth, t->depth);
        EXPECT_EQ(f->bytesPerSample, t->bytesPerSample);
        EXPECT_EQ(f->bigEndian, t->bigEndian);
        EXPECT_EQ(f->shift, t->msbShift);
        for (int p = 0; p < f->planeCount; ++p) {
            const bool chroma = t->layout != PlaneLayout::Packed && (p == 1 || p == 2);
            EXPECT_EQ(f->planes[p].xShift, chroma ? t->chromaShiftX : 0) << "plane " << p;
            EXPECT_EQ(f->planes[p].yShift, chroma ? t->chromaShiftY : 0) << "plane " << p;
            // Row bytes of a 12-pixel-wide frame follow from both descriptions.
            const int64_t samples = (12 >> f->planes[p].xShift) * f->planes[p].interleave;
            EXPECT_EQ(samples * f->bytesPerSample, planeRowBytes(*t, p, 12)) << "plane " << p;
        }
        if (t->layout == PlaneLayout::Packed) {
            const char* names = t->colorClass == ColorClass::CMYK ? "CMYK" : "RGBA";
            for (int k = 0; k < 4; ++k) EXPECT_EQ(slotOf(*f, names[k]), t->order[k]) << names[k];
        }
        ++compared;
    }
    EXPECT_EQ(compared, 23 + 18) << "host and CUDA formats with a CPU layout";
}

TEST(FormatTablesAgree, KrocolorKnowsExactlyTheLibrarysCodes) {
    for (const krocolor::PixelFormatInfo& f : krocolor::pixelFormats()) {
        EXPECT_NE(formatTraits(f.code), nullptr) << f.name;
    }
    // 405 is a Direct3D 11 code without a public name; the command line lists
    // only named formats.
    for (int32_t code = 101; code <= 406; ++code) {
        if (formatTraits(code) && code != 405) {
            EXPECT_NE(krocolor::pixelFormatByCode(code), nullptr) << code;
        }
    }
}

// krocolor names its host formats as FFmpeg does (that is what users type),
// so FFmpeg's own descriptor of each name is the reference for the layout
// the name stands for, down to the bytes of a frame of odd size.
TEST(FormatTablesAgree, KrocolorLaysOutEachFfmpegNameAsFfmpegDoes) {
    int compared = 0;
    for (const krocolor::PixelFormatInfo& f : krocolor::pixelFormats()) {
        const AVPixelFormat av = av_get_pix_fmt(f.name);
        if (f.memory != krocolor::Memory::Host || av == AV_PIX_FMT_NONE) continue;
        SCOPED_TRACE(f.name);
        EXPECT_EQ(krocolor::findPixelFormat(f.name), &f);
        EXPECT_EQ(krocolor::findPixelFormat(std::to_string(f.code)), &f);
        const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(av);
        ASSERT_EQ(f.componentCount, d->nb_components);
        EXPECT_EQ(f.bigEndian, (d->flags & AV_PIX_FMT_FLAG_BE) != 0);
        for (int c = 0; c < f.componentCount; ++c) {
            const krocolor::ComponentLayout& k = f.components[c];
            EXPECT_EQ(k.plane, d->comp[c].plane) << "component " << c;
            EXPECT_EQ(k.slot * f.bytesPerSample, d->comp[c].offset) << "component " << c;
            EXPECT_EQ(f.planes[k.plane].interleave * f.bytesPerSample, d->comp[c].step) << "component " << c;
            EXPECT_EQ(f.depth, d->comp[c].depth) << "component " << c;
            EXPECT_EQ(f.shift, d->comp[c].shift) << "component " << c;
        }
        krocolor::FrameGeometry g;
        std::string why;
        ASSERT_TRUE(krocolor::computeGeometry(f, 13, 7, g, why)) << why;
        EXPECT_EQ(int64_t(g.frameBytes), av_image_get_buffer_size(av, 13, 7, 1));
        ++compared;
    }
    EXPECT_EQ(compared, 24) << "host formats FFmpeg has a name for";
}

}  // namespace
}  // namespace KROCOLOR
