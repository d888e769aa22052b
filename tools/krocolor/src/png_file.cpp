// PNG through libpng: 8- and 16-bit RGB and RGBA. Reading can hand the
// pixels out in any packed RGB layout of the format table (libpng adds or
// strips alpha, widens or narrows samples, swaps byte order or R and B), so
// --in-format picks the layout the conversion starts from. Grey and palette
// images are expanded to RGB.
//
// libpng reports errors by longjmp; the functions that call it keep only
// plain data in their frames and turn a jump into a CliError afterwards.
#include <png.h>

#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <vector>

#include "atomic_output.h"
#include "cli_error.h"
#include "file_handle.h"
#include "media_io.h"

namespace krocolor {
namespace {

struct PngErrorSink {
    char message[256] = {};
};

void onPngError(png_structp png, png_const_charp text) {
    auto* sink = static_cast<PngErrorSink*>(png_get_error_ptr(png));
    std::snprintf(sink->message, sizeof sink->message, "%s", text);
    png_longjmp(png, 1);
}
void onPngWarning(png_structp, png_const_charp) {}

// Layout of a packed RGB format as libpng transforms describe it.
struct PngLayout {
    int channels;  // 3 or 4
    int depth;     // 8 or 16
    bool swapBytes;
    bool bgr;
};

bool pngLayoutOf(const PixelFormatInfo& f, PngLayout& out) {
    if (f.memory != Memory::Host || f.model != ColorModel::RGB) return false;
    out.channels = f.componentCount;
    out.depth = f.bytesPerSample * 8;
    out.swapBytes = f.bytesPerSample == 2 && !f.bigEndian;  // PNG stores big-endian
    out.bgr = f.components[0].slot == 2;
    return true;
}

const PixelFormatInfo* naturalFormat(int channels, int depth) {
    if (depth == 16) return pixelFormatByCode(channels == 4 ? 115 : 118);
    return pixelFormatByCode(channels == 4 ? 102 : 101);
}

class PngReader : public FrameReader {
public:
    PngReader(const std::string& path, const InputHints& hints) : path_(path) {
        file_.reset(std::fopen(path.c_str(), "rb"));
        if (!file_) failure(path + ": cannot open: " + std::strerror(errno));
        png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, &sink_, onPngError, onPngWarning);
        handle_.png = png_;
        if (png_) pngInfo_ = handle_.info = png_create_info_struct(png_);
        if (!png_ || !pngInfo_) failure(path + ": out of memory for the PNG reader");
        uint32_t w = 0, h = 0;
        int depth = 0, colorType = 0;
        if (!readHeader(w, h, depth, colorType)) failure(path + ": bad PNG: " + sink_.message);
        const int channels = (colorType & PNG_COLOR_MASK_ALPHA) || hasTrns_ ? 4 : 3;
        const PixelFormatInfo* format = hints.format ? hints.format : naturalFormat(channels, depth > 8 ? 16 : 8);
        if (!pngLayoutOf(*format, layout_))
            usageError(path + ": a PNG holds RGB or RGBA; --in-format " + format->name +
                       " does not fit it (PNG input takes " + formatsForFileType(FileType::PNG) + ")");
        if (hints.width > 0 && (uint32_t(hints.width) != w || uint32_t(hints.height) != h))
            usageError(path + ": the file holds a " + std::to_string(w) + "x" + std::to_string(h) + " image; -s " +
                       std::to_string(hints.width) + "x" + std::to_string(hints.height) + " does not fit it");
        if (w > uint32_t(kMaxSide) || h > uint32_t(kMaxSide))
            failure(path + ": " + std::to_string(w) + "x" + std::to_string(h) + " exceeds " +
                    std::to_string(kMaxSide) + " pixels a side");
        sourceChannels_ = channels;
        sourceDepth_ = depth;
        colorType_ = colorType;
        info_.format = format;
        info_.width = static_cast<int>(w);
        info_.height = static_cast<int>(h);
        info_.frameCount = 1;
        info_.range = 2;
    }

    bool next(Image& frame) override {
        if (done_) return false;
        done_ = true;
        rows_.resize(static_cast<size_t>(frame.height()));
        for (int y = 0; y < frame.height(); ++y) rows_[y] = frame.plane(0) + static_cast<size_t>(y) * frame.stride(0);
        if (!readPixels()) failure(path_ + ": bad PNG: " + sink_.message);
        return true;
    }

private:
    bool readHeader(uint32_t& w, uint32_t& h, int& depth, int& colorType) {
        if (setjmp(png_jmpbuf(png_))) return false;
        png_init_io(png_, file_.get());
        png_read_info(png_, pngInfo_);
        w = png_get_image_width(png_, pngInfo_);
        h = png_get_image_height(png_, pngInfo_);
        depth = png_get_bit_depth(png_, pngInfo_);
        colorType = png_get_color_type(png_, pngInfo_);
        hasTrns_ = png_get_valid(png_, pngInfo_, PNG_INFO_tRNS) != 0;
        return true;
    }

    bool readPixels() {
        if (setjmp(png_jmpbuf(png_))) return false;
        // Expand everything to 8- or 16-bit RGB(A) first.
        if (colorType_ == PNG_COLOR_TYPE_PALETTE) png_set_palette_to_rgb(png_);
        if (colorType_ == PNG_COLOR_TYPE_GRAY && sourceDepth_ < 8) png_set_expand_gray_1_2_4_to_8(png_);
        if (hasTrns_) png_set_tRNS_to_alpha(png_);
        if (!(colorType_ & PNG_COLOR_MASK_COLOR)) png_set_gray_to_rgb(png_);
        // Then shape it into the layout asked for.
        const int depth = sourceDepth_ > 8 ? 16 : 8;
        if (depth == 16 && layout_.depth == 8) png_set_scale_16(png_);
        if (depth == 8 && layout_.depth == 16) png_set_expand_16(png_);
        if (sourceChannels_ == 4 && layout_.channels == 3) png_set_strip_alpha(png_);
        if (sourceChannels_ == 3 && layout_.channels == 4)
            png_set_add_alpha(png_, layout_.depth == 16 ? 0xFFFF : 0xFF, PNG_FILLER_AFTER);
        if (layout_.swapBytes) png_set_swap(png_);
        if (layout_.bgr) png_set_bgr(png_);
        png_set_interlace_handling(png_);
        png_read_update_info(png_, pngInfo_);
        if (png_get_rowbytes(png_, pngInfo_) != static_cast<size_t>(info_.width) * layout_.channels * layout_.depth / 8)
            png_error(png_, "unexpected row size after conversion");
        png_read_image(png_, rows_.data());
        png_read_end(png_, nullptr);
        return true;
    }

    // Destroys the libpng read state, also when the constructor throws.
    struct ReadHandle {
        png_structp png = nullptr;
        png_infop info = nullptr;
        ~ReadHandle() {
            if (png) png_destroy_read_struct(&png, &info, nullptr);
        }
    };

    std::string path_;
    FileHandle file_;
    ReadHandle handle_;
    png_structp png_ = nullptr;
    png_infop pngInfo_ = nullptr;
    PngErrorSink sink_;
    PngLayout layout_{};
    bool hasTrns_ = false;
    int sourceChannels_ = 3, sourceDepth_ = 8, colorType_ = 0;
    bool done_ = false;
    std::vector<png_bytep> rows_;
};

class PngWriter : public FrameWriter {
public:
    PngWriter(const std::string& path, const OutputSpec& target) : out_(path), spec_(target) {
        pngLayoutOf(*target.format, layout_);
    }

    void write(const Image& frame) override {
        if (written_)
            usageError(out_.path() + ": a PNG holds one frame and the input has more; write .y4m or raw, or "
                                     "limit the input with --frames 1");
        written_ = true;
        rows_.resize(static_cast<size_t>(frame.height()));
        for (int y = 0; y < frame.height(); ++y)
            rows_[y] = const_cast<uint8_t*>(frame.plane(0)) + static_cast<size_t>(y) * frame.stride(0);
        png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &sink_, onPngError, onPngWarning);
        png_infop info = png ? png_create_info_struct(png) : nullptr;
        const bool ok = png && info && writeAll(png, info, frame.width(), frame.height());
        png_destroy_write_struct(&png, &info);
        if (!ok) failure(out_.path() + ": PNG write failed: " + sink_.message);
    }

    void finish() override {
        if (!written_) failure(out_.path() + ": no frame to write");
        out_.commit();
    }

private:
    bool writeAll(png_structp png, png_infop info, int width, int height) {
        if (setjmp(png_jmpbuf(png))) return false;
        png_init_io(png, out_.file());
        // Fast filtering and compression: the files are for inspection.
        png_set_compression_level(png, 3);
        png_set_IHDR(png, info, static_cast<uint32_t>(width), static_cast<uint32_t>(height), layout_.depth,
                     layout_.channels == 4 ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_write_info(png, info);
        if (layout_.swapBytes) png_set_swap(png);
        if (layout_.bgr) png_set_bgr(png);
        png_write_image(png, rows_.data());
        png_write_end(png, nullptr);
        return true;
    }

    AtomicOutput out_;
    OutputSpec spec_;
    PngLayout layout_{};
    PngErrorSink sink_;
    bool written_ = false;
    std::vector<png_bytep> rows_;
};

}  // namespace

std::unique_ptr<FrameReader> openPngReader(const std::string& path, const InputHints& hints) {
    return std::make_unique<PngReader>(path, hints);
}

std::unique_ptr<FrameWriter> openPngWriter(const std::string& path, const OutputSpec& target) {
    return std::make_unique<PngWriter>(path, target);
}

}  // namespace krocolor
