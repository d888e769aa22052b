#include "media_io.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "cli_error.h"

namespace krocolor {

const char* fileTypeName(FileType type) {
    switch (type) {
        case FileType::Raw: return "raw";
        case FileType::Y4M: return "y4m";
        case FileType::PNG: return "png";
    }
    return "?";
}

FileType detectInputType(const std::string& path) {
    unsigned char head[10] = {};
    FILE* f = std::fopen(path.c_str(), "rb");
    if (!f) return FileType::Raw;  // the raw reader reports the open error
    const size_t got = std::fread(head, 1, sizeof head, f);
    std::fclose(f);
    static const unsigned char kPng[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    if (got >= 8 && std::memcmp(head, kPng, 8) == 0) return FileType::PNG;
    if (got >= 10 && std::memcmp(head, "YUV4MPEG2 ", 10) == 0) return FileType::Y4M;
    return FileType::Raw;
}

static bool endsWith(const std::string& s, const char* suffix) {
    const size_t n = std::strlen(suffix);
    if (s.size() < n) return false;
    for (size_t i = 0; i < n; ++i) {
        char c = s[s.size() - n + i];
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        if (c != suffix[i]) return false;
    }
    return true;
}

FileType outputTypeFor(const std::string& path) {
    if (endsWith(path, ".png")) return FileType::PNG;
    if (endsWith(path, ".y4m")) return FileType::Y4M;
    return FileType::Raw;
}

bool formatFitsFileType(const PixelFormatInfo& f, FileType type) {
    if (f.memory != Memory::Host) return false;
    switch (type) {
        case FileType::Raw: return true;
        case FileType::Y4M: return f.y4mTag != nullptr;
        case FileType::PNG: return f.model == ColorModel::RGB;
    }
    return false;
}

std::string formatsForFileType(FileType type) {
    std::string list;
    for (const auto& f : pixelFormats()) {
        if (!formatFitsFileType(f, type)) continue;
        if (!list.empty()) list += ", ";
        list += f.name;
    }
    return list;
}

std::unique_ptr<FrameReader> openReader(const std::string& path, const InputHints& hints) {
    if (hints.format && hints.format->memory != Memory::Host)
        usageError(std::string("format ") + hints.format->name +
                   " lives in GPU memory; krocolor reads and writes host-memory frames");
    if (FILE* f = std::fopen(path.c_str(), "rb"))
        std::fclose(f);
    else
        failure(path + ": cannot open: " + std::strerror(errno));
    switch (detectInputType(path)) {
        case FileType::PNG: return openPngReader(path, hints);
        case FileType::Y4M: return openY4mReader(path, hints);
        case FileType::Raw: break;
    }
    return openRawReader(path, hints);
}

std::unique_ptr<FrameWriter> openWriter(const std::string& path, const OutputSpec& target) {
    const FileType type = outputTypeFor(path);
    if (!formatFitsFileType(*target.format, type))
        usageError(std::string("output format ") + target.format->name + " does not fit a " + fileTypeName(type) +
                   " file (" + path + "); " + fileTypeName(type) + " takes " + formatsForFileType(type));
    switch (type) {
        case FileType::PNG: return openPngWriter(path, target);
        case FileType::Y4M: return openY4mWriter(path, target);
        case FileType::Raw: break;
    }
    return openRawWriter(path, target);
}

}  // namespace krocolor
